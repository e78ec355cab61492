// The command set and the options shared by the cncprobe tool's commands.
#include "tools/commands.h"

#include <cstdio>
#include <map>

namespace tool {

void error_line(const std::string& text) {
  const std::string line = "cncprobe: " + printable_text(text) + "\n";
  std::fwrite(line.data(), 1, line.size(), stderr);
  std::fflush(stderr);
}

std::string CommandSet::usage() const {
  std::string text;
  for (const Command& command : commands_) {
    // A usage of several lines continues under the first.
    text += (text.empty() ? "usage: cncprobe " : "       cncprobe ") + command.usage + "\n";
  }
  text += "       cncprobe --help | --version\n";
  return text;
}

std::string CommandSet::names() const {
  std::string text;
  for (std::size_t i = 0; i < commands_.size(); ++i) {
    if (i > 0) text += i + 1 == commands_.size() ? " or " : ", ";
    text += commands_[i].app->get_name();
  }
  return text;
}

const CommandAction* CommandSet::chosen() const {
  for (const Command& command : commands_) {
    if (command.app->parsed()) return &command.action;
  }
  return nullptr;
}

void add_file_argument(CLI::App& command, const std::string& name, std::string& file,
                       const std::string& description) {
  command.add_option(name, file, description)->required();
}

// A CheckedTransformer alone would also take the enum's numbers ("--units 1"): a name check runs
// first (CLI11 runs the transform added last first).
void add_format_option(CLI::App& command, Format& format) {
  static const std::map<std::string, Format> kFormats{{"text", Format::kText},
                                                      {"json", Format::kJson}};
  command.add_option("--format", format, "text for a person (default), json for a script")
      ->transform(CLI::CheckedTransformer(kFormats).description("text|json"))
      ->transform(CLI::IsMember({"text", "json"}))
      ->option_text("text|json");
}

void add_units_option(CLI::App& command, kptUnitsType& units, const std::string& description) {
  static const std::map<std::string, kptUnitsType> kUnits{{"mm", kptUnitsMillimetres},
                                                          {"in", kptUnitsInches}};
  command.add_option("--units", units, description)
      ->transform(CLI::CheckedTransformer(kUnits).description("mm|in"))
      ->transform(CLI::IsMember({"mm", "in"}))
      ->option_text("mm|in");
}

}  // namespace tool
