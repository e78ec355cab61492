// kptFileReferenceExtractor: opens a results file itself and scans it for the reference lines.
#include "cncprobe/filereferences/file_reference_extractor.h"

#include <cstdint>
#include <cstring>
#include <istream>
#include <memory>
#include <streambuf>
#include <string_view>

#include "cncprobe/filereferences/file_reference_parser.h"
#include "cncprobe/platform/text/internal/string_encoding.h"
#include "cncprobe/platform/text/internal/string_reader.h"

namespace {
// A stream over an open file, a block at a time: the scan of a large file without references
// holds one block, not the file.
class InputStreamBuffer : public std::streambuf {
 public:
  explicit InputStreamBuffer(kptInputStream& file) : file_(file) {}

 protected:
  int_type underflow() override {
    if (gptr() < egptr()) return traits_type::to_int_type(*gptr());
    const std::size_t got = file_.read_some(block_.get(), kBlockSize);
    if (got == 0) return traits_type::eof();
    setg(block_.get(), block_.get(), block_.get() + got);
    return traits_type::to_int_type(*gptr());
  }

 private:
  static constexpr std::size_t kBlockSize = 64 * 1024;
  kptInputStream& file_;
  std::unique_ptr<char[]> block_{new char[kBlockSize]};
};

// A stream over bytes already in memory, without copying them.
class ViewStreamBuffer : public std::streambuf {
 public:
  explicit ViewStreamBuffer(std::string_view bytes) {
    // The get area is only read from; streambuf merely wants non-const pointers.
    char* begin = const_cast<char*>(bytes.data());
    setg(begin, begin, begin + bytes.size());
  }
};

// Whether every byte is below 0x80; eight at a time.
bool is_ascii(std::string_view bytes) noexcept {
  std::size_t i = 0;
  for (; i + 8 <= bytes.size(); i += 8) {
    std::uint64_t word;
    std::memcpy(&word, bytes.data() + i, 8);
    if ((word & 0x8080808080808080ULL) != 0) return false;
  }
  for (; i < bytes.size(); ++i) {
    if ((static_cast<unsigned char>(bytes[i]) & 0x80) != 0) return false;
  }
  return true;
}
}  // namespace

apStatus kptFileReferenceExtractor::extract(const apPath& path) {
  // Forget first: a call that fails must not leave the references of an earlier file behind.
  forget_all();
  input_problem_ = kptInputReadError;  // until the name has been turned into an open file
  if (path.invalid() != 0) return apStatus(0);

  const apIStringEncoding* encoding = apStringEncodingChooser().ut_encoding();
  int error = 0;
  const utString name = encoding->to_ut_string(path.string(), error);
  if (error != 0 || name.invalid()) return apStatus(0);

  // Opened once, without blocking, and refused unless the open file is a regular file: a name
  // swapped for a FIFO after a check could otherwise block the host. Not locked: the machine or
  // another reader may have the file open at the same time.
  kptInputStream file = kptInputStream::open(name);
  input_problem_ = file.problem();
  if (input_problem_ != kptInputReadable) return apStatus(0);
  InputStreamBuffer buffer(file);
  std::istream stream(&buffer);
  const apStatus status = extract_from_stream(stream);
  input_problem_ = file.problem();  // a read error part way keeps the references found before it
  return status;
}

apStatus kptFileReferenceExtractor::extract(const kptInputFile& input) {
  forget_all();
  input_problem_ = input.problem();
  if (!input.ok()) return apStatus(0);
  ViewStreamBuffer buffer(input.bytes());
  std::istream stream(&buffer);
  return extract_from_stream(stream);
}

apStatus kptFileReferenceExtractor::extract_filenames(const apPath& path) { return extract(path); }

apStatus kptFileReferenceExtractor::extract_from_stream(std::istream& stream) {
  forget_all();
  const apIStringEncoding* encoding = apStringEncodingChooser().ut_encoding();
  // The line bound keeps one line of a file without line ends from being held whole in memory.
  apStringReaderUTF8 reader(kMaxLineBytes);
  const kptFileReferenceParser parser;

  // Each line is offered only to the patterns of the references still missing, so the first
  // line that gives a reference wins and a completed header ends the scan.
  struct Reference {
    utString& value;
    utString (kptFileReferenceParser::*parse)(const utString&) const;
  };
  const Reference references[] = {
      {results_file_version_text_, &kptFileReferenceParser::parse_results_file_version},
      {settings_filename_, &kptFileReferenceParser::parse_settings_filename},
      {cad_filename_, &kptFileReferenceParser::parse_cad_filename},
      {cldata_filename_, &kptFileReferenceParser::parse_cldata_filename},
      {document_id_, &kptFileReferenceParser::parse_document_id},
      {document_version_, &kptFileReferenceParser::parse_document_version},
      {model_version_, &kptFileReferenceParser::parse_model_version},
  };

  utString line;  // refilled in place, line after line
  while (stream.good()) {
    int error = 0;
    const std::string_view bytes = reader.read_line_bytes(stream, error);
    if (error != 0) break;
    if (is_ascii(bytes)) {
      // Nearly every line: ASCII reads the same as UTF-8 text and as the library's 8-bit text,
      // so the line is its bytes, without a trip through wide characters.
      line.assign(bytes.data(), bytes.size());
    } else {
      // A line that is not valid UTF-8, or whose text has no 8-bit form, ends the scan.
      const apString text(apStringFromUTF8, bytes, error);
      if (error != 0) break;
      line = encoding->to_ut_string(text, error);
      if (error != 0) break;
    }
    for (const Reference& reference : references) {
      if (reference.value.invalid()) reference.value = (parser.*reference.parse)(line);
    }
    if (all_found()) break;
  }
  return apStatus(1);
}

kptResultsFileVersion kptFileReferenceExtractor::results_file_version() const {
  if (results_file_version_text_.invalid()) return kptResultsFileVersion();
  utString rest = results_file_version_text_;  // a copy: the stored text stays as found
  utString pieces[3];
  for (utString& piece : pieces) {
    if (rest.extract_string(".", piece) == 0) return kptResultsFileVersion();
  }
  int numbers[3] = {0, 0, 0};
  for (int i = 0; i < 3; ++i) {
    int unused = 0;
    if (pieces[i].parse(numbers[i], unused) == 0) return kptResultsFileVersion();
  }
  const auto [major_number, minor_number, build_number] = numbers;
  if (major_number <= 0 || minor_number < 0 || build_number < 0) return kptResultsFileVersion();
  return kptResultsFileVersion(static_cast<unsigned int>(major_number),
                               static_cast<unsigned int>(minor_number),
                               static_cast<unsigned int>(build_number));
}

void kptFileReferenceExtractor::forget_all() {
  model_version_ = utString();
  document_id_ = utString();
  document_version_ = utString();
  cldata_filename_ = utString();
  cad_filename_ = utString();
  settings_filename_ = utString();
  results_file_version_text_ = utString();
}

bool kptFileReferenceExtractor::all_found() const noexcept {
  return results_file_version_text_.valid() && settings_filename_.valid() &&
         cad_filename_.valid() && cldata_filename_.valid() && document_version_.valid() &&
         document_id_.valid() && model_version_.valid();
}
