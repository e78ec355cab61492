// utString: the 8-bit string every line, captured text, file name and label is held in.
//
// A utString is either valid (holding a text, possibly empty) or invalid (no text at all, the
// state of a default-constructed string). Copies share one character array through a reference
// count, so handing lines to cursors, lists and callbacks costs no character copy; every changing
// operation detaches first, so it never changes another string that shared the storage.
//
//   utString line("G800 X1 Y2");
//   utString copy = line;          // shares the characters
//   copy << ' ' << 42;             // copy detaches; line is unchanged
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "cncprobe/export.h"

// Tag for the literal constructor; both literal and plain constructors give the same string.
struct utStringLit {};
// The tag passed to the literal constructor.
inline constexpr utStringLit utStringLiteral{};

// utRef: the reference-counted handle to a shared character array. Internal to utString.
class CNCPROBE_API utRef {
 public:
  utRef() noexcept = default;
  utRef(const utRef& other) noexcept : rep_(other.rep_) {
    if (rep_) add_ref();
  }
  // Moving and destroying an empty handle cost no call: lists of lines move their strings.
  utRef(utRef&& other) noexcept : rep_(std::exchange(other.rep_, nullptr)) {}
  utRef& operator=(const utRef& other) noexcept;
  utRef& operator=(utRef&& other) noexcept {
    if (this != &other) {
      utRef old(std::move(*this));
      rep_ = std::exchange(other.rep_, nullptr);
    }
    return *this;
  }
  ~utRef() {
    if (rep_) release();
  }

  // A fresh, unshared array holding `length` bytes copied from `bytes` (which may be null when
  // length is 0) with room for at least `capacity` bytes plus the terminating NUL.
  static utRef allocate(const char* bytes, std::uint32_t length, std::uint32_t capacity);

  // The accessors are inline: every look at a line's characters goes through them.
  bool null() const noexcept { return rep_ == nullptr; }
  // True when more than one handle shares the array.
  bool shared() const noexcept { return rep_ && rep_->refs.load(std::memory_order_acquire) > 1; }
  // The characters, NUL-terminated; not for a null handle.
  char* data() const noexcept { return rep_->chars(); }
  // The length in bytes, without the NUL.
  std::uint32_t length() const noexcept { return rep_->length; }
  // How many bytes fit without a new array, without the NUL.
  std::uint32_t capacity() const noexcept { return rep_->capacity; }
  // Also writes the terminating NUL.
  void set_length(std::uint32_t length) noexcept {
    rep_->length = length;
    rep_->chars()[length] = '\0';
  }

 private:
  friend class utStringArena;
  // The storage: the count of handles sharing it, then the characters and their NUL.
  struct Rep {
    std::atomic<std::uint32_t> refs;
    std::uint32_t length;
    std::uint32_t capacity;
    // 0 for a string allocated alone; otherwise how far behind it its arena block begins.
    std::uint32_t block_offset;
    char* chars() noexcept { return reinterpret_cast<char*>(this + 1); }
  };
  explicit utRef(Rep* rep) noexcept : rep_(rep) {}
  void add_ref() const noexcept;
  void release() noexcept;  // gives up this handle's share; the last one frees the storage
  Rep* rep_ = nullptr;
};

class CNCPROBE_API utString {
 public:
  // An invalid string: no text, null character pointer, length 0.
  utString() noexcept = default;
  // The characters of a NUL-terminated text; a null pointer gives an invalid string.
  utString(const char* text);  // NOLINT(google-explicit-constructor): literals read naturally
  utString(utStringLit, const char* text) : utString(text) {}
  // The given bytes, which may contain NUL bytes; always valid.
  utString(const char* bytes, std::size_t length);
  explicit utString(std::string_view text) : utString(text.data(), text.size()) {}

  utString(const utString&) noexcept = default;
  utString(utString&&) noexcept = default;
  utString& operator=(const utString&) noexcept = default;
  utString& operator=(utString&&) noexcept = default;
  ~utString() = default;

  // True when the string holds a text (possibly empty).
  bool valid() const noexcept { return !ref_.null(); }
  // True for a string holding no text at all (default-constructed).
  bool invalid() const noexcept { return ref_.null(); }
  // Length in bytes; 0 for an invalid string.
  std::uint32_t length() const noexcept { return ref_.null() ? 0 : ref_.length(); }
  // True when the string holds no character; an invalid string is empty too.
  bool empty() const noexcept { return length() == 0; }
  // The NUL-terminated character data; null for an invalid string.
  const char* c_str() const noexcept { return ref_.null() ? nullptr : ref_.data(); }
  // The text as a view; empty for an invalid string.
  std::string_view view() const noexcept {
    return ref_.null() ? std::string_view() : std::string_view(ref_.data(), ref_.length());
  }
  // A copy of the bytes.
  std::string str() const { return std::string(view()); }
  // The byte at `index`, which must be below length().
  char operator[](std::uint32_t index) const noexcept { return ref_.data()[index]; }

  // Replaces the text by the given bytes (which may contain NUL bytes); always valid afterwards.
  // A string that shares its storage with no other and has room for them keeps its storage, so a
  // string refilled over and over, such as the line a reader stands on, allocates only when a
  // longer text comes or a copy of it was kept.
  void assign(const char* bytes, std::size_t length);

  // Appends; an invalid string becomes valid with what was appended.
  utString& operator<<(const utString& other);
  utString& operator<<(const char* text);
  utString& operator<<(char byte);
  // Appends the number in decimal: a leading "-" when negative, no leading zeros or blanks.
  utString& operator<<(int number);
  // Concatenation.
  utString operator+(const utString& other) const;
  // Appends `other`.
  utString& operator+=(const utString& other) { return *this << other; }

  // Replaces every byte by fn(byte), as with toupper.
  void convert(int (*fn)(int));

  // Index of the first occurrence of `needle`, negative when it does not occur.
  int locate_substring(const utString& needle) const;
  int locate_substring(const char* needle) const;

  // A copy without the leading run of bytes that occur in `set`; this string is unchanged.
  utString remove_leading_chars(const char* set) const;

  // Reads the whole string as a decimal integer: an optional sign, then digits only. Non-zero
  // with `value` set when it holds one that fits an int; zero otherwise. `second` is set to 0.
  int parse(int& value, int& second) const;

  // Moves the leading piece up to the first `delimiter` into `piece` and removes the piece and
  // the delimiter from this string; a last piece without delimiter is moved too and leaves this
  // string empty. Zero when nothing was left to move.
  int extract_string(const char* delimiter, utString& piece);

  // Same state and same bytes; an invalid string equals only an invalid string.
  bool operator==(const utString& other) const noexcept;
  bool operator!=(const utString& other) const noexcept { return !(*this == other); }

 private:
  friend class utStringArena;
  explicit utString(utRef ref) noexcept : ref_(std::move(ref)) {}
  void append(const char* bytes, std::size_t length);
  void make_unique_valid();

  utRef ref_;
};

// Makes many strings that are made together and mostly released together, such as the lines of
// one file, in shared blocks: one allocation per block instead of one per string. Each string is
// an ordinary utString (copies share it, a change detaches it); a block is freed when the last
// string in it is gone, so a string may outlive the arena. Not for use by two threads at once.
// Internal to the library (the cursor's line storage); hosts cannot link against it.
class utStringArena {
 public:
  utStringArena() noexcept = default;
  ~utStringArena();
  utStringArena(const utStringArena&) = delete;
  utStringArena& operator=(const utStringArena&) = delete;

  // A valid string of the given bytes, which may contain NUL bytes.
  utString make(const char* bytes, std::size_t length);

 private:
  void* block_ = nullptr;  // the block being filled
  std::size_t used_ = 0;   // bytes of it in use
};
