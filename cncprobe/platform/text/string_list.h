// utStringcoSList: the list of strings that holds a results file's lines, with its iterator.
//
// Besides its elements a list has one more position, standing both before the first element and
// after the last one. A new iterator stands there; stepping from the last element leads back to it
// and stepping from it leads to the first element, so a reader can cycle through the lines.
//
//   utStringcoSList lines;
//   lines.insert_last("START");
//   utStringcoSListBcoIterator it(&lines);
//   while (++it) use(it());
#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include "cncprobe/export.h"
#include "cncprobe/platform/text/string.h"

// The list of strings in insertion order. Elements are copies that share the inserted strings'
// characters. Appending never moves an iterator off the element it stands on.
class CNCPROBE_API utStringcoSListB {
 public:
  // Iterates over the strings in order.
  using const_iterator = std::vector<utString>::const_iterator;

  // An empty list; destruction releases the elements.
  utStringcoSListB() = default;
  utStringcoSListB(const utStringcoSListB&) = default;
  utStringcoSListB& operator=(const utStringcoSListB&) = default;
  ~utStringcoSListB() = default;

  // Appends a copy of `text` (invalid and empty strings too) at the end; returns 1.
  int insert_last(const utString& text);
  int insert_last(utString&& text);

  // Number of elements.
  std::size_t size() const noexcept { return elements_.size(); }
  // True when the list holds no string.
  bool empty() const noexcept { return elements_.empty(); }
  // The element at `index`, counted from 0; an invalid string when the index is out of range.
  const utString& at(std::size_t index) const noexcept;
  // Room for `count` elements, for a reader that knows roughly how many lines are coming.
  void reserve(std::size_t count) { elements_.reserve(count); }

  // Plain traversal in insertion order, for hosts that want range-for.
  const_iterator begin() const noexcept { return elements_.begin(); }
  // Past the last string.
  const_iterator end() const noexcept { return elements_.end(); }

 private:
  std::vector<utString> elements_;
};

// The list's own cursor, through which the typed list appends to its untyped list.
class CNCPROBE_API utStringcoSListBcoCursor {
 public:
  // A cursor on `list`, which must outlive it; a null list makes every operation a no-op.
  explicit utStringcoSListBcoCursor(utStringcoSListB* list) noexcept : list_(list) {}

  // Appends a copy of `text` at the end of the list; returns 1, or 0 without a list.
  int insert_last(const utString& text) { return list_ ? list_->insert_last(text) : 0; }
  int insert_last(utString&& text) { return list_ ? list_->insert_last(std::move(text)) : 0; }
  // The list the cursor appends to; may be null.
  utStringcoSListB* list() const noexcept { return list_; }

 private:
  utStringcoSListB* list_;
};

// A position in a list: one of its elements or the extra position before the first element,
// which is also the position after the last. Copying copies two words.
class CNCPROBE_API utStringcoSListBcoIterator {
 public:
  // An iterator standing on the extra position of `list`, which must outlive it. A null list
  // behaves as an empty one.
  explicit utStringcoSListBcoIterator(const utStringcoSListB* list) noexcept : list_(list) {}

  // Steps to the next position: from the extra position to the first element (or back to the
  // extra position when the list is empty), from the last element to the extra position.
  // Returns true when the new position is an element.
  bool operator++() noexcept;

  // The element at the current position; an invalid string on the extra position.
  const utString& operator()() const noexcept;

  // True on the extra position (before the first, after the last element).
  bool undefined() const noexcept { return index_ == kNone; }
  // Index of the current element counted from 0; meaningless on the extra position.
  std::size_t index() const noexcept { return index_; }
  // The list the iterator walks.
  const utStringcoSListB* list() const noexcept { return list_; }

  // Same list and same position.
  bool operator==(const utStringcoSListBcoIterator& other) const noexcept {
    return list_ == other.list_ && index_ == other.index_;
  }
  bool operator!=(const utStringcoSListBcoIterator& other) const noexcept {
    return !(*this == other);
  }

 private:
  static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

  const utStringcoSListB* list_;
  std::size_t index_ = kNone;
};

// The typed list of strings: the list together with its own cursor, built on it. It cannot be
// copied, since the cursor refers to the list it was built with; share it instead.
class CNCPROBE_API utStringcoSList : public utStringcoSListB {
 public:
  utStringcoSList() : cursor_(this) {}
  utStringcoSList(const utStringcoSList&) = delete;
  utStringcoSList& operator=(const utStringcoSList&) = delete;
  ~utStringcoSList() = default;

  // Appends a copy of `text` at the end; returns 1.
  int insert_last(const utString& text) { return cursor_.insert_last(text); }
  int insert_last(utString&& text) { return cursor_.insert_last(std::move(text)); }

 private:
  utStringcoSListBcoCursor cursor_;
};
