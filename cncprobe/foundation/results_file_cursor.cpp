// kptResultsFileCursor: reading a results file into its list of lines, and stepping through it.
#include "cncprobe/foundation/results_file_cursor.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fstream>
#include <limits>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cncprobe/foundation/internal/side_by_side.h"
#include "cncprobe/platform/text/wide_string.h"

#if defined(_WIN32)
#include <windows.h>
#define CNCPROBE_CAN_RELEASE_PAGES 1
#elif defined(__unix__) || defined(__APPLE__)
#include <sys/mman.h>
#include <unistd.h>
#define CNCPROBE_CAN_RELEASE_PAGES 1
#endif

namespace {
#if defined(_WIN32)
std::size_t page_size() noexcept {
  SYSTEM_INFO info{};
  GetSystemInfo(&info);
  return info.dwPageSize;
}
// The pages' contents are no longer wanted, and they leave the process's working set: Windows'
// documented way for memory that stays allocated.
bool give_back(std::uintptr_t from, std::size_t size) noexcept {
  void* const address = reinterpret_cast<void*>(from);
  if (VirtualAlloc(address, size, MEM_RESET, PAGE_READWRITE) == nullptr) return false;
  VirtualUnlock(address, size);  // fails as "not locked", and takes the pages out all the same
  return true;
}
#elif defined(CNCPROBE_CAN_RELEASE_PAGES)
std::size_t page_size() noexcept { return static_cast<std::size_t>(sysconf(_SC_PAGESIZE)); }
// The pages read as zeros if touched again.
bool give_back(std::uintptr_t from, std::size_t size) noexcept {
  return madvise(reinterpret_cast<void*>(from), size, MADV_DONTNEED) == 0;
}
#endif
}  // namespace

namespace {
// The longest line a utString holds; a longer run of bytes is cut into lines of this length.
constexpr std::size_t kMaxLineLength = std::numeric_limits<std::uint32_t>::max() - 1;

constexpr bool is_line_end(char c) noexcept { return c == '\0' || c == '\n' || c == '\r'; }

// The first NUL, LF or CR in [p, end), or end. Eight bytes at a time: a word without any byte
// below 0x0E holds no line end, which is the common case inside a line. `ascii` is set to whether
// every byte before the line end is below 0x80, which the words looked at show on the way.
const char* find_line_end(const char* p, const char* end, bool& ascii) noexcept {
  constexpr std::uint64_t kOnes = 0x0101010101010101ULL;
  constexpr std::uint64_t kHighs = 0x8080808080808080ULL;
  std::uint64_t seen = 0;
  while (end - p >= 8) {
    std::uint64_t word;
    std::memcpy(&word, p, 8);
    if (((word - kOnes * 0x0E) & ~word & kHighs) != 0) break;
    seen |= word;
    p += 8;
  }
  while (p != end && !is_line_end(*p)) seen |= static_cast<unsigned char>(*p++);
  ascii = (seen & kHighs) == 0;
  return p;
}

// A line that is not UTF-8 survives when it is text in the current C locale's multibyte encoding
// (a machine configured for a legacy code page); anything else is noise and is dropped.
bool readable_in_c_locale(const utString& line) {
  return std::mbstowcs(nullptr, line.c_str(), 2147483647) != static_cast<std::size_t>(-1);
}

// Grows a malloc'd block to hold at least `wanted` bytes; false when memory ran out, with the
// block unchanged.
bool reserve_bytes(char*& bytes, std::size_t& capacity, std::size_t wanted) noexcept {
  if (wanted <= capacity) return true;
  const std::size_t grown = std::max(wanted, capacity + capacity / 2);
  void* const fresh = std::realloc(bytes, grown);
  if (fresh == nullptr) return false;
  bytes = static_cast<char*>(fresh);
  capacity = grown;
  return true;
}

// Whether a run of bytes between two line ends is kept as a line; `ascii` when it is known to
// hold only bytes below 0x80, which is valid UTF-8.
bool kept(const char* p, std::size_t length, bool ascii) {
  if (length == 0) return false;
  if (ascii) return true;
  // Valid UTF-8 is the common case beyond ASCII: test it without decoding.
  return apString::is_valid_utf8(std::string_view(p, length)) ||
         readable_in_c_locale(utString(p, length));
}

// Cuts the raw bytes in [from, end) of `block` into its kept lines, moved down to `from` one
// after the other without their line ends: the write position never passes the read position,
// so the bytes are cut in place. Calls add_start(offset) with where the line after each kept one
// begins, and returns the end of the kept bytes.
template <class AddStart>
std::size_t compact_lines(char* block, std::size_t from, std::size_t end, AddStart&& add_start) {
  std::size_t write = from;
  const auto keep = [&](const char* p, std::size_t length, bool ascii) {
    // A run longer than a utString can hold is cut into lines of the longest length.
    while (length != 0) {
      const std::size_t piece = std::min(length, kMaxLineLength);
      if (kept(p, piece, ascii)) {
        std::memmove(block + write, p, piece);
        write += piece;
        add_start(write);
      }
      p += piece;
      length -= piece;
    }
  };
  const char* p = block + from;
  const char* const stop = block + end;
  while (p != stop) {
    bool ascii = false;
    const char* const line_end = find_line_end(p, stop, ascii);
    keep(p, static_cast<std::size_t>(line_end - p), ascii);
    if (line_end == stop) break;
    p = line_end + 1;
  }
  return write;
}
}  // namespace

kptResultsFileCursor::kptResultsFileCursor() : lines_(std::make_shared<LineStore>()) {}

kptResultsFileCursor::kptResultsFileCursor(const utString& file_name) : kptResultsFileCursor() {
  read_file(file_name);
}

kptResultsFileCursor::kptResultsFileCursor(const kptInputFile& input) : kptResultsFileCursor() {
  const std::string_view bytes = input.bytes();
  LineStore& lines = *lines_;
  if (!reserve_bytes(lines.bytes, lines.capacity, bytes.size())) return;
  if (!bytes.empty()) std::memcpy(lines.bytes, bytes.data(), bytes.size());
  cut_lines(0, bytes.size());
}

kptResultsFileCursor::kptResultsFileCursor(std::string_view bytes, unsigned int threads,
                                           std::size_t least_part)
    : kptResultsFileCursor() {
  LineStore& lines = *lines_;
  if (!reserve_bytes(lines.bytes, lines.capacity, bytes.size())) return;
  if (!bytes.empty()) std::memcpy(lines.bytes, bytes.data(), bytes.size());
  cut_lines(0, bytes.size(), threads, std::max<std::size_t>(least_part, 1));
}

kptResultsFileCursor::kptResultsFileCursor(kptInputStream& stream) : kptResultsFileCursor() {
  read_stream(stream);
}

kptResultsFileCursor::kptResultsFileCursor(kptInputStream& stream, unsigned int threads)
    : kptResultsFileCursor() {
  read_stream(stream, threads);
}

kptResultsFileCursor::kptResultsFileCursor(std::initializer_list<utString> lines)
    : kptResultsFileCursor() {
  LineStore& store = *lines_;
  std::size_t total = 0;
  for (const utString& line : lines) total += line.length();
  if (!reserve_bytes(store.bytes, store.capacity, total)) return;
  store.allow_offsets_to(total);
  store.add_start(0);
  for (const utString& line : lines) {
    if (line.length() == 0) continue;
    std::memcpy(store.bytes + store.size, line.c_str(), line.length());
    store.size += line.length();
    store.add_start(store.size);
  }
  store.settle();
}

void kptResultsFileCursor::LineStore::add_start(std::size_t offset) {
  if (wide) {
    wide_starts.push_back(offset);
  } else {
    starts.push_back(static_cast<std::uint32_t>(offset));
  }
}

void kptResultsFileCursor::LineStore::allow_offsets_to(std::size_t end) {
  if (wide || end <= std::numeric_limits<std::uint32_t>::max()) return;
  wide_starts.assign(starts.begin(), starts.end());
  wide = true;
  starts.clear();
  starts.shrink_to_fit();
}

void kptResultsFileCursor::LineStore::settle() {
  if (count() == 0) {
    starts.clear();
    wide_starts.clear();
  }
  starts.shrink_to_fit();
  wide_starts.shrink_to_fit();
}

bool kptResultsFileCursor::operator++() noexcept {
  const std::size_t count = lines_->count();
  if (index_ == kNone) {
    index_ = count ? 0 : kNone;
  } else if (++index_ >= count) {
    index_ = kNone;
  }
  return index_ != kNone;
}

bool kptResultsFileCursor::step_to(std::size_t line_number) noexcept {
  index_ = line_number >= 1 && line_number <= lines_->count() ? line_number - 1 : kNone;
  return index_ != kNone;
}

void kptResultsFileCursor::release_passed_lines() noexcept {
#ifdef CNCPROBE_CAN_RELEASE_PAGES
  if (index_ == kNone) return;
  LineStore& lines = *lines_;
  // Pages are given back a few hundred at a time: a call per line would cost more than it frees.
  constexpr std::size_t kAtLeast = std::size_t{1} << 20;
  static const std::size_t page = page_size();
  if (page == 0 || (page & (page - 1)) != 0) return;
  const auto base = reinterpret_cast<std::uintptr_t>(lines.bytes);
  // The pages wholly below the current line; the first may be shared with what the block lies
  // behind, so only pages that begin inside the block count.
  const std::uintptr_t from = (base + lines.released_bytes + page - 1) & ~(page - 1);
  const std::uintptr_t to = (base + lines.start(index_)) & ~(page - 1);
  if (to < from || to - from < kAtLeast) return;
  // No line below the current one is read again, whatever the system makes of its pages.
  lines.released_lines.store(std::max(lines.released_lines.load(std::memory_order_relaxed), index_),
                             std::memory_order_relaxed);
  if (give_back(from, to - from)) {
    lines.released_bytes = to - base;
  }
#endif
}

const utString& kptResultsFileCursor::make_line() const noexcept {
  if (index_ == kNone || index_ < lines_->released_lines.load(std::memory_order_relaxed)) {
    line_ = utString();
  } else {
    const std::size_t begin = lines_->start(index_);
    const std::size_t length = lines_->start(index_ + 1) - begin;
    try {
      // The line is refilled in place while no one kept a copy of it, so stepping through a file
      // allocates only for a line longer than any before it.
      line_.assign(lines_->bytes + begin, length);
    } catch (...) {
      // Out of memory: the line cannot be handed out and reads as no line, which no pattern
      // takes.
      line_ = utString();
    }
  }
  line_index_ = index_;
  return line_;
}

void kptResultsFileCursor::read_file(const utString& file_name) {
  // A file that cannot be opened or is no regular file gives no lines, as a missing file does.
  kptInputStream stream = kptInputStream::open(file_name);
  read_stream(stream);
}

void kptResultsFileCursor::read_stream(kptInputStream& stream, unsigned int threads) {
  if (stream.problem() != kptInputReadable) return;
  LineStore& lines = *lines_;
  const std::size_t from = lines.size;
  std::size_t end = from;
  // The whole rest of the file goes into the block behind the lines already held; the size the
  // file had when opened is a hint (it may still grow), so a read that fills the block grows it.
  // The end of the file or a read error ends the reading; the lines read so far, the last one
  // included, are kept. The size it had is read in one go, on several threads when asked.
  std::size_t wanted = from + std::max<std::size_t>(stream.size_hint() + 1, 4096);
  if (stream.size_hint() > 0 && reserve_bytes(lines.bytes, lines.capacity, wanted)) {
    end += stream.read_all(lines.bytes + end, stream.size_hint(), threads);
  }
  for (;;) {
    if (end == lines.capacity && !reserve_bytes(lines.bytes, lines.capacity, wanted)) break;
    const std::size_t got = stream.read_some(lines.bytes + end, lines.capacity - end);
    if (got == 0) break;
    end += got;
    wanted = lines.capacity + lines.capacity / 2;
  }
  cut_lines(from, end, threads);
}

void kptResultsFileCursor::cut_lines(std::size_t from, std::size_t end, unsigned int threads,
                                     std::size_t least_part) {
  LineStore& lines = *lines_;
  if (threads <= 1 || !cut_lines_in_parts(from, end, threads, least_part)) {
    lines.allow_offsets_to(end);
    if (lines.count() == 0) {
      lines.starts.clear();
      lines.wide_starts.clear();
      lines.add_start(from);
    }
    lines.size =
        compact_lines(lines.bytes, from, end, [&lines](std::size_t at) { lines.add_start(at); });
  }

  // What the line ends and dropped lines took is given back; so is the room of the index.
  const std::size_t write = lines.size;
  if (write == 0) {
    std::free(lines.bytes);
    lines.bytes = nullptr;
    lines.capacity = 0;
  } else if (lines.capacity > write) {
    if (void* const fitted = std::realloc(lines.bytes, write)) {
      lines.bytes = static_cast<char*>(fitted);
      lines.capacity = write;
    }
  }
  lines.settle();
}

bool kptResultsFileCursor::cut_lines_in_parts(std::size_t from, std::size_t end,
                                              unsigned int threads, std::size_t least_part) {
  LineStore& lines = *lines_;
  // A new list below 4 GiB (short offsets; no run of bytes long enough to be cut into several
  // lines) of two parts at least.
  constexpr std::size_t kMostParts = 16;
  if (lines.count() != 0 || lines.size != 0 || end > kMaxLineLength ||
      (end - from) / least_part < 2) {
    return false;
  }
  const std::size_t parts = std::min<std::size_t>({threads, (end - from) / least_part, kMostParts});
  char* const block = lines.bytes;

  // Each part ends just after a line end, so every line lies wholly in one part and is kept or
  // dropped there exactly as in one pass. Each part moves its kept lines down to its own start.
  struct Part {
    std::size_t begin = 0, end = 0, write = 0;
    std::vector<std::uint32_t> starts;  // where each line after a kept one begins
    std::exception_ptr failure;
  };
  std::array<Part, kMostParts> cut;
  std::size_t at = from;
  for (std::size_t k = 0; k < parts; ++k) {
    cut[k].begin = at;
    if (k + 1 < parts) {
      bool ascii = false;
      const char* const line_end = find_line_end(
          block + std::max(at, from + (end - from) / parts * (k + 1)), block + end, ascii);
      at = line_end == block + end ? end : static_cast<std::size_t>(line_end - block) + 1;
    } else {
      at = end;
    }
    cut[k].end = at;
  }
  run_side_by_side<kMostParts>(parts, [block, &cut](std::size_t k) {
    Part& part = cut[k];
    try {
      part.write = compact_lines(block, part.begin, part.end, [&part](std::size_t offset) {
        part.starts.push_back(static_cast<std::uint32_t>(offset));
      });
    } catch (...) {
      part.failure = std::current_exception();
    }
  });
  for (std::size_t k = 0; k < parts; ++k) {
    if (cut[k].failure) std::rethrow_exception(cut[k].failure);
  }

  // The parts joined: each part's lines move down behind the ones before, their starts with them.
  std::size_t count = 1;
  for (std::size_t k = 0; k < parts; ++k) count += cut[k].starts.size();
  lines.starts.clear();
  lines.wide_starts.clear();
  lines.starts.reserve(count);
  lines.starts.push_back(static_cast<std::uint32_t>(from));
  std::size_t write = from;
  for (std::size_t k = 0; k < parts; ++k) {
    Part& part = cut[k];
    const std::size_t shift = part.begin - write;
    if (shift != 0) std::memmove(block + write, block + part.begin, part.write - part.begin);
    for (const std::uint32_t start : part.starts) {
      lines.starts.push_back(static_cast<std::uint32_t>(start - shift));
    }
    write += part.write - part.begin;
    std::vector<std::uint32_t>().swap(part.starts);
  }
  lines.size = write;
  return true;
}

utString kptResultsFileCursor::read_line(std::ifstream& stream) {
  std::string bytes;
  while (bytes.size() < kMaxLineLength) {
    const std::ifstream::int_type c = stream.get();
    if (c == std::ifstream::traits_type::eof()) break;
    const char byte = std::ifstream::traits_type::to_char_type(c);
    if (is_line_end(byte)) break;
    bytes.push_back(byte);
  }
  utString line(bytes.data(), bytes.size());
  if (apString::is_valid_utf8(bytes) || readable_in_c_locale(line)) return line;
  return utString("");
}
