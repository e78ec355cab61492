// utOptionalArg: an optional value held in place, tested for presence through a pointer conversion.
#pragma once

#include <new>
#include <utility>

// Tag: an empty optional.
struct utNone {};
// The empty optional, for passing where a utOptionalArg is expected.
inline constexpr utNone utNoneValue{};

// An optional value of T, passed as an argument; converts to a null pointer when absent.
template <typename T>
class utOptionalArg {
 public:
  utOptionalArg() noexcept = default;
  utOptionalArg(utNone) noexcept {}  // NOLINT(google-explicit-constructor)
  utOptionalArg(T value) : present_(true) { new (storage_) T(std::move(value)); }  // NOLINT
  utOptionalArg(const utOptionalArg& other) : present_(other.present_) {
    if (present_) new (storage_) T(*other.get());
  }
  utOptionalArg& operator=(const utOptionalArg& other) {
    if (this == &other) return *this;
    if (other.present_) {
      if (present_) {
        *get() = *other.get();
      } else {
        new (storage_) T(*other.get());
      }
    } else if (present_) {
      get()->~T();
    }
    present_ = other.present_;
    return *this;
  }
  ~utOptionalArg() {
    if (present_) get()->~T();
  }

  // A copy of the held value; only meaningful when present.
  T value() const { return *get(); }
  // Non-null (this object's address) when present, null when empty.
  operator const void*() const noexcept { return present_ ? this : nullptr; }  // NOLINT
  // True when it holds a value.
  bool has_value() const noexcept { return present_; }

 private:
  T* get() noexcept { return std::launder(reinterpret_cast<T*>(storage_)); }
  const T* get() const noexcept { return std::launder(reinterpret_cast<const T*>(storage_)); }

  alignas(T) unsigned char storage_[sizeof(T)];
  bool present_ = false;
};
