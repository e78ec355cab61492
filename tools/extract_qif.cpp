// cncprobe extract --format qif: the run as a QIF 3.0 results document, on standard output or
// into the file -o names.
#include "tools/extract_qif.h"

#include <iostream>
#include <map>

#include "cncprobe/exchange/qif_writer.h"
#include "cncprobe/filereferences/file_reference_extractor.h"
#include "cncprobe/foundation/input_file.h"
#include "cncprobe/inspection/inspection_summary.h"

namespace tool {

void add_extract_format_option(CLI::App& command, Format& format) {
  static const std::map<std::string, Format> kFormats{{"text", Format::kText},
                                                      {"json", Format::kJson},
                                                      {"jsonl", Format::kJsonLines},
                                                      {"qif", Format::kQif}};
  command
      .add_option("--format", format,
                  "text for a person (default), json for a script (an array for several files), "
                  "jsonl for one document per line, qif for a quality system (one file)")
      ->transform(CLI::CheckedTransformer(kFormats).description("text|json|jsonl|qif"))
      ->transform(CLI::IsMember({"text", "json", "jsonl", "qif"}))
      ->option_text("text|json|jsonl|qif");
}

void add_qif_options(CLI::App& command, QifOptions& options) {
  static const std::map<std::string, kptQifPoints> kPoints{
      {"all", kptQifPointsAll}, {"outside", kptQifPointsOutside}, {"none", kptQifPointsNone}};
  command
      .add_option("--qif-points", options.points,
                  "QIF: which inspection points become a feature of their own (default all)")
      ->transform(CLI::CheckedTransformer(kPoints).description("all|outside|none"))
      ->transform(CLI::IsMember({"all", "outside", "none"}))
      ->option_text("all|outside|none");
  static const std::map<std::string, kptDraftingStandard> kStandards{
      {"iso1101", kptDraftingIso1101}, {"asme-y14.5", kptDraftingAsmeY145}};
  command
      .add_option("--drafting-standard", options.standard,
                  "QIF: the standard the tolerances are read under (default iso1101)")
      ->transform(CLI::CheckedTransformer(kStandards).description("iso1101|asme-y14.5"))
      ->transform(CLI::IsMember({"iso1101", "asme-y14.5"}))
      ->option_text("iso1101|asme-y14.5");
  command
      .add_option("--time", options.time,
                  "QIF: the creation time written (default now), e.g. 2026-11-23T10:15:00Z")
      ->check([](const std::string& text) {
        return kptQifWriter::valid_time(text) ? std::string() : "not an XML date and time: " + text;
      })
      ->option_text("YYYY-MM-DDThh:mm:ssZ");
  command.add_option("-o,--output", options.output, "QIF: write the document into this file")
      ->option_text("FILE.qif");
}

int run_extract_qif(const std::string& file, kptUnitsType units, kptZoneConvention convention,
                    const QifOptions& options, Output& out, ExtractOutcome& outcome) {
  kptResultsDataExtractor extractor;
  kptFileReferenceExtractor references;
  kptQifDocument document;
  if (file == kStandardInput) {
    const kptInputFile input = kptInputFile::read(std::cin);
    outcome.status = extractor.extract_data(input, kptUnits(units));
    if (input.ok()) {
      (void)references.extract(input);
      document.content_digest = kptQifWriter::digest_of_bytes(input.bytes());
    }
  } else {
    const utString name{std::string_view(file)};
    outcome.status = extractor.extract_data(name, kptUnits(units));
    if (extractor.input_problem() == kptInputReadable) {
      (void)references.extract(apPath(file));
      document.content_digest = kptQifWriter::digest_of_file(name);
    }
  }
  if (extractor.input_problem() != kptInputReadable) {
    throw UnreadableInput(file, kpt_input_problem_text(extractor.input_problem()));
  }
  outcome.passed = kptInspection::summarize(extractor, convention).passed();
  document.file_name = file;
  document.units = units;
  document.convention = convention;
  document.standard = options.standard;
  document.points = options.points;
  document.time = options.time;

  if (options.output.empty()) {
    const kptQifOutcome written = kptQifWriter::write(extractor, outcome.status, references,
                                                      document, [&](std::string_view bytes) {
                                                        out.write(bytes);
                                                        return true;
                                                      });
    return written == kptQifWritten ? kExitSuccess : kExitFailure;
  }
  std::FILE* target = open_for_writing(options.output);
  if (!target) {
    error_line(options.output + ": cannot be written");
    return kExitFailure;
  }
  const kptQifOutcome written = kptQifWriter::write(
      extractor, outcome.status, references, document, [&](std::string_view bytes) {
        return std::fwrite(bytes.data(), 1, bytes.size(), target) == bytes.size();
      });
  const bool closed = std::fclose(target) == 0;
  if (written != kptQifWritten || !closed) {
    error_line(options.output + ": cannot be written");
    return kExitFailure;
  }
  return kExitSuccess;
}

}  // namespace tool
