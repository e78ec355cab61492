// Iterator handles through which a host walks the probe paths, results and inspection points.
//
// An iterator stands either on an element or on the undefined position, which lies both before
// the first element and after the last. A new iterator is undefined, so a walk reads:
//
//   itIterator<std::shared_ptr<mtrProbePath>> it = extractor.measured_paths();
//   while (++it) use(it());
//
// Stepping from the last element leads back to the undefined position (++ returns false), and
// stepping from there starts again at the first element.
#pragma once

#include <memory>
#include <utility>

// The operations every iterator offers.
template <class T>
class itAbsIterator {
 public:
  // True when the iterator stands on no element.
  virtual bool undefined() const = 0;
  // Back to the undefined position.
  virtual void reset() = 0;
  // Steps to the next position; true when that position is an element.
  virtual bool operator++() = 0;
  // The current element; a value-initialised T (a null shared pointer) when undefined.
  virtual T operator()() const = 0;
  virtual ~itAbsIterator() = default;
};

// An iterator that can copy itself, position included, so that handles can be copied.
template <class T>
class itAbsCloneableIterator : public itAbsIterator<T> {
 public:
  // An independent iterator standing where this one stands.
  [[nodiscard]] virtual std::unique_ptr<itAbsCloneableIterator<T>> clone() const = 0;
};

// The iterator handle a host holds: owns one iterator; copies clone it, so each copy moves on
// its own. A default (empty) handle behaves as an iterator over an empty sequence.
template <class T>
class itIterator {
 public:
  itIterator() noexcept = default;
  // A handle owning `iterator`; a null one gives an empty handle.
  explicit itIterator(std::unique_ptr<itAbsCloneableIterator<T>> iterator) noexcept
      : iterator_(std::move(iterator)) {}
  itIterator(const itIterator& other)
      : iterator_(other.iterator_ ? other.iterator_->clone() : nullptr) {}
  itIterator(itIterator&&) noexcept = default;
  itIterator& operator=(const itIterator& other) {
    if (this != &other) iterator_ = other.iterator_ ? other.iterator_->clone() : nullptr;
    return *this;
  }
  itIterator& operator=(itIterator&&) noexcept = default;
  ~itIterator() = default;

  // See itAbsIterator; an empty handle is always undefined and never steps onto an element.
  bool undefined() const { return iterator_ ? iterator_->undefined() : true; }
  // Back to the undefined position; the next step goes to the first element.
  void reset() {
    if (iterator_) iterator_->reset();
  }
  // Steps to the next element; false past the last one.
  bool operator++() { return iterator_ ? ++*iterator_ : false; }
  // The current element; a default value on an empty handle.
  T operator()() const { return iterator_ ? (*iterator_)() : T(); }

 private:
  std::unique_ptr<itAbsCloneableIterator<T>> iterator_;
};

// An iterator over a standard container, holding its current, begin and end positions. It
// refers to the container, which must outlive it and must not change while it is in use.
template <class Container>
class itSTLIterator : public itAbsCloneableIterator<typename Container::value_type> {
 public:
  // The type of the elements.
  using value_type = typename Container::value_type;
  // The container's iterator.
  using const_iterator = typename Container::const_iterator;

  // An undefined iterator over `container` (current = end).
  explicit itSTLIterator(const Container& container)
      : current_(container.end()), begin_(container.begin()), end_(container.end()) {}

  bool undefined() const override { return current_ == end_; }
  void reset() override { current_ = end_; }
  bool operator++() override {
    if (current_ == end_) {
      current_ = begin_;
    } else {
      ++current_;
    }
    return current_ != end_;
  }
  value_type operator()() const override { return current_ == end_ ? value_type() : *current_; }
  [[nodiscard]] std::unique_ptr<itAbsCloneableIterator<value_type>> clone() const override {
    return std::make_unique<itSTLIterator>(*this);
  }

 private:
  const_iterator current_;
  const_iterator begin_;
  const_iterator end_;
};

namespace itIterators {

// An undefined iterator handle over `container`, which must outlive it and stay unchanged.
template <class Container>
itIterator<typename Container::value_type> make_iter(const Container& container) {
  return itIterator<typename Container::value_type>(
      std::make_unique<itSTLIterator<Container>>(container));
}

}  // namespace itIterators
