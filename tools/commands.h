// The three commands of the cncprobe tool, each printing one file's outcome as text or JSON.
#pragma once

#include <stdexcept>
#include <string>

#include "cncprobe/foundation/units.h"
#include "tools/output.h"

namespace tool {

// Exit codes of the tool.
inline constexpr int kExitSuccess = 0;     // done, and the outcome is a success
inline constexpr int kExitProblem = 1;     // done, output printed, the outcome reports a problem
inline constexpr int kExitUsage = 2;       // unknown command or option, missing argument
inline constexpr int kExitUnreadable = 3;  // the input file cannot be read
inline constexpr int kExitFailure = 4;     // the tool itself failed (out of memory, output refused)

enum class Format { kText, kJson };

// Thrown when the input passed the file checks but the library still could not open it; main
// prints "cncprobe: FILE: <what()>" and exits with kExitUnreadable.
class UnreadableInput : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct ExtractOptions {
  std::string file;
  kptUnitsType units = kptUnitsMillimetres;
  Format format = Format::kText;
  bool points = false;  // text: list every inspection point, not only a row per probe path
};

// Each command reads `file`, which main has already checked is a readable regular file, prints
// to `out` and returns the exit code.
int run_extract(const ExtractOptions& options, Output& out);
int run_refs(const std::string& file, Format format, Output& out);
int run_settings(const std::string& file, kptUnitsType units, Format format, Output& out);

// "mm" or "in".
inline const char* units_name(kptUnitsType units) { return units == kptUnitsInches ? "in" : "mm"; }

}  // namespace tool
