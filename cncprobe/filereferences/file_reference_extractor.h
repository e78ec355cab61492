// kptFileReferenceExtractor: which files and versions a results file refers to, read from its
// reference lines without extracting the file.
//
//   kptFileReferenceExtractor refs;
//   if (refs.extract(apPath("/jobs/bracket/results.txt")).ok()) {
//     if (refs.cad_filename().valid()) open_model(refs.cad_filename().c_str());
//     kptResultsFileVersion layout = refs.results_file_version();
//   }
//
// The first line that gives a reference wins; later lines with the same keyword are ignored.
// The file is read as UTF-8 text, lines ending in LF, CR LF or CR (a byte-order mark at its
// start is skipped), until all seven references are known, the file ends, or a line is not
// UTF-8 text or is longer than kMaxLineBytes.
#pragma once

#include <cstddef>
#include <iosfwd>

#include "cncprobe/export.h"
#include "cncprobe/filereferences/results_file_version.h"
#include "cncprobe/foundation/input_file.h"
#include "cncprobe/platform/text/path.h"
#include "cncprobe/platform/text/status.h"
#include "cncprobe/platform/text/string.h"

class CNCPROBE_API kptFileReferenceExtractor {
 public:
  // The longest line the scan reads; a longer one ends the scan as an unreadable line does.
  // Reference lines hold a keyword and a file name or version, far below this.
  static constexpr std::size_t kMaxLineBytes = 1024 * 1024;

  // All seven references not found.
  kptFileReferenceExtractor() = default;

  // Forgets every reference of an earlier call, then scans the file. apStatus(1) when the file
  // could be opened, also when it holds no reference or reading stopped at a line that is not
  // UTF-8 text or is longer than kMaxLineBytes; the references found before that line are kept.
  // apStatus(0), with nothing found, when the path is not well formed, names no regular file
  // (a directory, a FIFO, a device) or nothing at all, or the file cannot be opened; then
  // input_problem() says why. The file is read in blocks, so a large file without references
  // is scanned in constant memory.
  [[nodiscard]] apStatus extract(const apPath& path);
  // Does exactly what extract does: all seven references, not only the file names.
  [[nodiscard]] apStatus extract_filenames(const apPath& path);
  // The header references of an input already read (standard input, memory), by the same rules.
  // apStatus(0), with nothing found, when the input could not be read (input.ok() is false).
  [[nodiscard]] apStatus extract(const kptInputFile& input);
  // Why the last extract could not read its file; kptInputReadable when it was read. A path that
  // is not well formed or cannot be named to the file system is a read error.
  [[nodiscard]] kptInputProblem input_problem() const noexcept { return input_problem_; }

  // Each reference as found on its line; an invalid utString when not found, a valid empty one
  // when its keyword was followed only by blanks or asterisks.
  const utString& cad_filename() const noexcept { return cad_filename_; }
  // The CL data file name; invalid when the header has no such line.
  const utString& cldata_filename() const noexcept { return cldata_filename_; }
  // The inspection-settings file name; invalid when the header has no such line.
  const utString& settings_filename() const noexcept { return settings_filename_; }
  // The document id; invalid when the header has no such line.
  const utString& document_id() const noexcept { return document_id_; }
  // The document version; invalid when the header has no such line.
  const utString& document_version() const noexcept { return document_version_; }
  // The model version; invalid when the header has no such line.
  const utString& model_version() const noexcept { return model_version_; }
  // The version text as found (for example 2.1.0); invalid when no version line was found.
  const utString& results_file_version_text() const noexcept { return results_file_version_text_; }

  // The version text as numbers; unversioned (0.0.0) when it was not found or a number does not
  // fit a signed 32-bit integer. Evaluated anew on every call.
  [[nodiscard]] kptResultsFileVersion results_file_version() const;

 protected:
  // Forgets every reference, then scans `stream` from where it stands as extract scans a file;
  // stops reading as soon as all seven are known. Always apStatus(1).
  apStatus extract_from_stream(std::istream& stream);

 private:
  void forget_all();
  bool all_found() const noexcept;

  utString results_file_version_text_;
  utString settings_filename_;
  utString cad_filename_;
  utString cldata_filename_;
  utString document_version_;
  utString document_id_;
  utString model_version_;
  kptInputProblem input_problem_ = kptInputReadable;
};
