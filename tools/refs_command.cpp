// cncprobe refs: the reference lines of a results file's header.
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cncprobe/filereferences/file_reference_extractor.h"
#include "cncprobe/filereferences/results_file_version.h"
#include "cncprobe/foundation/input_file.h"
#include "cncprobe/platform/text/path.h"
#include "tools/commands.h"
#include "tools/json_writer.h"

namespace tool {

namespace {

struct RefsOptions {
  std::string file;
  Format format = Format::kText;
};

// One of the six file and document references, with its JSON name and its text title.
struct Reference {
  const char* json_name;
  const char* title;
  const utString& value;
};

// In the order of the contract's document.
std::vector<Reference> references_of(const kptFileReferenceExtractor& refs) {
  return {
      {"settings_filename", "Settings file:    ", refs.settings_filename()},
      {"cad_filename", "CAD file:         ", refs.cad_filename()},
      {"cldata_filename", "CL data file:     ", refs.cldata_filename()},
      {"document_id", "Document id:      ", refs.document_id()},
      {"document_version", "Document version: ", refs.document_version()},
      {"model_version", "Model version:    ", refs.model_version()},
  };
}

void write_json(const std::string& file, const kptFileReferenceExtractor& refs, int status,
                Output& out) {
  JsonWriter json(out);
  json.begin_object();
  json.key("file");
  json.string(file);
  json.key("status");
  json.integer(status);

  const kptResultsFileVersion version = refs.results_file_version();
  json.key("results_file_version");
  json.begin_object(true);
  json.key("text");
  if (refs.results_file_version_text().valid()) {
    json.string(refs.results_file_version_text().view());
  } else {
    json.null();
  }
  json.key("major");
  json.integer(version.major_number());
  json.key("minor");
  json.integer(version.minor_number());
  json.key("build");
  json.integer(version.build_number());
  json.key("unversioned");
  json.boolean(version.unversioned());
  json.end_object();

  for (const Reference& reference : references_of(refs)) {
    json.key(reference.json_name);
    if (reference.value.valid()) {
      json.string(reference.value.view());
    } else {
      json.null();
    }
  }
  json.end_object();
  json.finish();
}

std::string shown(const utString& value) {
  if (value.invalid()) return "(not found)";
  if (value.empty()) return "(empty)";
  return printable_text(value.view());
}

void write_text(const std::string& file, const kptFileReferenceExtractor& refs, Output& out) {
  std::string version;
  if (refs.results_file_version_text().invalid()) {
    version = "(not found: an unversioned file)";
  } else {
    version = printable_text(refs.results_file_version_text().view());
    if (refs.results_file_version().unversioned()) version += " (too large: read as unversioned)";
  }
  std::string text = "File:             " + printable_text(file) + "\n";
  text += "Layout version:   " + version + "\n";
  for (const Reference& reference : references_of(refs)) {
    text += reference.title;
    text += shown(reference.value);
    text += '\n';
  }
  out.write(text);
}

int run_refs(const RefsOptions& options, Output& out) {
  const std::string& file = options.file;
  kptFileReferenceExtractor refs;
  const apStatus status = file == kStandardInput ? refs.extract(kptInputFile::read(std::cin))
                                                 : refs.extract(apPath(file));
  if (!status.ok()) throw UnreadableInput(file, kpt_input_problem_text(refs.input_problem()));
  if (options.format == Format::kJson) {
    write_json(file, refs, status.value(), out);
  } else {
    write_text(file, refs, out);
  }
  return kExitSuccess;
}

}  // namespace

void add_refs_command(CLI::App& app, CommandSet& commands) {
  auto options = std::make_shared<RefsOptions>();
  CLI::App* refs =
      app.add_subcommand("refs", "Print the reference lines of a results file's header");
  add_file_argument(*refs, "FILE", options->file, "The results file, - for standard input");
  add_format_option(*refs, options->format);
  commands.add(refs, "refs     FILE     [--format text|json]",
               [options](Output& out) { return run_refs(*options, out); });
}

}  // namespace tool
