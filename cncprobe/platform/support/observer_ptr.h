// utObserverPtr: a non-owning pointer, the way parsers reach the receiver of their events.
#pragma once

#include <type_traits>

// Holds a T* without owning it: copying copies the pointer and destruction does nothing. The
// object pointed at must outlive every observer of it; nothing checks that.
template <typename T>
class utObserverPtr {
 public:
  utObserverPtr() noexcept = default;
  // Observes `pointer`, which may be null.
  explicit utObserverPtr(T* pointer) noexcept : pointer_(pointer) {}
  // An observer of a derived object converts to an observer of its base, pointing at the same
  // object.
  template <typename D, typename = std::enable_if_t<std::is_convertible_v<D*, T*>>>
  utObserverPtr(const utObserverPtr<D>& other) noexcept : pointer_(other.get()) {}  // NOLINT

  // The object observed.
  T* operator->() const noexcept { return pointer_; }
  // The object observed; not for a null pointer.
  T& operator*() const noexcept { return *pointer_; }
  // The pointer observed; may be null.
  T* get() const noexcept { return pointer_; }
  // True when it observes an object.
  explicit operator bool() const noexcept { return pointer_ != nullptr; }

 private:
  T* pointer_ = nullptr;
};
