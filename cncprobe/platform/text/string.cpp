// utString and its shared, reference-counted character storage.
#include "cncprobe/platform/text/string.h"

#include <algorithm>
#include <atomic>
#include <charconv>
#include <climits>
#include <cstring>
#include <limits>
#include <new>
#include <stdexcept>

namespace {
// An arena block: a count of the strings alive in it (plus one while the arena still fills it),
// then the strings, each a Rep followed by its characters and NUL.
struct ArenaBlock {
  std::atomic<std::uint32_t> live;
};

constexpr std::size_t kMaxLength = std::numeric_limits<std::uint32_t>::max() - 1;

// Blocks of 64 KiB: a few hundred lines each, so a line kept long after its file was read holds
// little memory with it. A string too long to share a block is allocated alone.
constexpr std::size_t kBlockSize = std::size_t{64} << 10;
constexpr std::size_t kBlockHeader = 16;
constexpr std::size_t kLongestInBlock = kBlockSize / 8;
static_assert(kBlockHeader >= sizeof(ArenaBlock) && kBlockHeader % 8 == 0);

void release_block(void* memory) noexcept {
  auto* block = static_cast<ArenaBlock*>(memory);
  if (block->live.fetch_sub(1, std::memory_order_acq_rel) == 1) {
    block->~ArenaBlock();
    ::operator delete(memory);
  }
}
}  // namespace

void utRef::add_ref() const noexcept { rep_->refs.fetch_add(1, std::memory_order_relaxed); }

utRef& utRef::operator=(const utRef& other) noexcept {
  utRef copy(other);
  std::swap(rep_, copy.rep_);
  return *this;
}

void utRef::release() noexcept {
  if (rep_->refs.fetch_sub(1, std::memory_order_acq_rel) == 1) {
    const std::uint32_t offset = rep_->block_offset;
    char* const memory = reinterpret_cast<char*>(rep_);
    rep_->~Rep();
    if (offset == 0) {
      ::operator delete(memory);
    } else {
      release_block(memory - offset);
    }
  }
}

utRef utRef::allocate(const char* bytes, std::uint32_t length, std::uint32_t capacity) {
  // Every allocator hands out multiples of 8 bytes: the bytes up to the next one are room too.
  const std::size_t wanted = sizeof(Rep) + std::size_t{std::max(capacity, length)} + 1;
  const std::size_t size = (wanted + 7) & ~std::size_t{7};
  capacity = static_cast<std::uint32_t>(std::min(size - sizeof(Rep) - 1, kMaxLength));
  void* memory = ::operator new(size);
  Rep* rep = new (memory) Rep{{1}, length, capacity, 0};
  if (length) std::memcpy(rep->chars(), bytes, length);
  rep->chars()[length] = '\0';
  return utRef(rep);
}

utString::utString(const char* text) {
  if (text) append(text, std::strlen(text));
}

utString::utString(const char* bytes, std::size_t length) { append(bytes, length); }

void utString::make_unique_valid() {
  if (ref_.null()) {
    ref_ = utRef::allocate(nullptr, 0, 0);
  } else if (ref_.shared()) {
    ref_ = utRef::allocate(ref_.data(), ref_.length(), ref_.length());
  }
}

void utString::append(const char* bytes, std::size_t count) {
  const std::size_t old_length = length();
  if (count > kMaxLength - old_length) throw std::length_error("utString: text too long");
  const auto new_length = static_cast<std::uint32_t>(old_length + count);
  const bool outgrown = !ref_.null() && !ref_.shared() && ref_.capacity() < new_length;
  if (ref_.null() || ref_.shared() || outgrown) {
    // A string that outgrows its own storage grows geometrically, so that byte-by-byte appends
    // stay linear. A new string, or a copy that detaches from shared storage (a point label made
    // from its path's prefix), takes just what it holds: most are appended to once, if at all.
    std::size_t capacity =
        outgrown ? std::max<std::size_t>(new_length, old_length * 2) : new_length;
    capacity = std::min(capacity, kMaxLength);
    utRef fresh =
        utRef::allocate(ref_.null() ? nullptr : ref_.data(), static_cast<std::uint32_t>(old_length),
                        static_cast<std::uint32_t>(capacity));
    // The bytes may lie in the old storage (a string appending its own text): copy them before
    // that storage is released.
    if (count) std::memcpy(fresh.data() + old_length, bytes, count);
    fresh.set_length(new_length);
    ref_ = std::move(fresh);
    return;
  }
  if (count) std::memmove(ref_.data() + old_length, bytes, count);
  ref_.set_length(new_length);
}

void utString::assign(const char* bytes, std::size_t length) {
  if (!ref_.null() && !ref_.shared() && length <= ref_.capacity()) {
    // The bytes may lie in this string's own storage.
    if (length) std::memmove(ref_.data(), bytes, length);
    ref_.set_length(static_cast<std::uint32_t>(length));
    return;
  }
  if (length > kMaxLength) throw std::length_error("utString: text too long");
  const auto exact = static_cast<std::uint32_t>(length);
  ref_ = utRef::allocate(bytes, exact, exact);
}

utString& utString::operator<<(const utString& other) {
  if (other.valid()) {
    // Hold the other's storage: appending a string to itself must read the old bytes.
    const utString keep = other;
    append(keep.c_str(), keep.length());
  } else {
    make_unique_valid();
  }
  return *this;
}

utString& utString::operator<<(const char* text) {
  if (text) {
    append(text, std::strlen(text));
  } else {
    make_unique_valid();
  }
  return *this;
}

utString& utString::operator<<(char byte) {
  append(&byte, 1);
  return *this;
}

utString& utString::operator<<(int number) {
  char buffer[16];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, number);
  append(buffer, static_cast<std::size_t>(result.ptr - buffer));
  return *this;
}

utString utString::operator+(const utString& other) const {
  utString sum = *this;
  sum << other;
  return sum;
}

void utString::convert(int (*fn)(int)) {
  if (ref_.null()) return;
  make_unique_valid();
  char* chars = ref_.data();
  for (std::uint32_t i = 0, n = ref_.length(); i < n; ++i) {
    chars[i] = static_cast<char>(fn(static_cast<unsigned char>(chars[i])));
  }
}

int utString::locate_substring(const utString& needle) const {
  const std::size_t at = view().find(needle.view());
  if (at == std::string_view::npos || at > static_cast<std::size_t>(INT_MAX)) return -1;
  return static_cast<int>(at);
}

int utString::locate_substring(const char* needle) const {
  const std::size_t at = view().find(needle ? std::string_view(needle) : std::string_view());
  if (at == std::string_view::npos || at > static_cast<std::size_t>(INT_MAX)) return -1;
  return static_cast<int>(at);
}

utString utString::remove_leading_chars(const char* set) const {
  if (invalid()) return *this;
  const std::string_view text = view();
  const std::size_t first = set ? text.find_first_not_of(set) : 0;
  if (first == 0) return *this;
  if (first == std::string_view::npos) return utString("");
  return utString(text.substr(first));
}

int utString::parse(int& value, int& second) const {
  second = 0;
  std::string_view text = view();
  if (!text.empty() && text.front() == '+') {
    text.remove_prefix(1);
    if (!text.empty() && (text.front() == '-' || text.front() == '+')) return 0;
  }
  if (text.empty()) return 0;
  int parsed = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), parsed);
  if (result.ec != std::errc() || result.ptr != text.data() + text.size()) return 0;
  value = parsed;
  return 1;
}

int utString::extract_string(const char* delimiter, utString& piece) {
  if (empty()) return 0;
  const std::string_view text = view();
  const std::string_view delim = delimiter ? std::string_view(delimiter) : std::string_view();
  const std::size_t at = delim.empty() ? std::string_view::npos : text.find(delim);
  // Both results are made before either is stored: `piece` may be this very string.
  utString head = *this;
  utString rest("");
  if (at != std::string_view::npos) {
    head = utString(text.substr(0, at));
    rest = utString(text.substr(at + delim.size()));
  }
  *this = std::move(rest);
  piece = std::move(head);
  return 1;
}

bool utString::operator==(const utString& other) const noexcept {
  if (invalid() || other.invalid()) return invalid() == other.invalid();
  return view() == other.view();
}

utStringArena::~utStringArena() {
  if (block_) release_block(block_);
}

utString utStringArena::make(const char* bytes, std::size_t length) {
  if (length > kLongestInBlock) return utString(bytes, length);
  // Each string starts on a multiple of 4, as its reference count needs.
  const std::size_t size = (sizeof(utRef::Rep) + length + 1 + 3) & ~std::size_t{3};
  if (!block_ || used_ + size > kBlockSize) {
    void* memory = ::operator new(kBlockSize);
    if (block_) release_block(block_);
    block_ = new (memory) ArenaBlock{{1}};
    used_ = kBlockHeader;
  }
  char* const at = static_cast<char*>(block_) + used_;
  auto* rep = new (at) utRef::Rep{{1},
                                  static_cast<std::uint32_t>(length),
                                  static_cast<std::uint32_t>(length),
                                  static_cast<std::uint32_t>(used_)};
  if (length) std::memcpy(rep->chars(), bytes, length);
  rep->chars()[length] = '\0';
  static_cast<ArenaBlock*>(block_)->live.fetch_add(1, std::memory_order_relaxed);
  used_ += size;
  return utString(utRef(rep));
}
