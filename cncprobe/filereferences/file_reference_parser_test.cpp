// Tests of kptFileReferenceParser: which lines are reference lines and which value each gives.
#include "cncprobe/filereferences/file_reference_parser.h"

#include <gtest/gtest.h>

TEST(FileReferenceParser, ValuesOfReferenceLines) {
  enum Ref { kVersion, kCad, kClData, kSettings, kDocumentId, kDocumentVersion, kModelVersion };
  struct Case {
    const char* line;
    Ref ref;
    const char* value;
  };  // value null: no reference
  const Case cases[] = {
      {"*** CADFILENAME C:\\jobs\\bracket.model ***", kCad, "C:\\jobs\\bracket.model"},
      {"CADFILENAME a CADFILENAME b", kCad, "b"},              // the last occurrence
      {"CADFILENAME a CADFILENAMEb", kCad, "a CADFILENAMEb"},  // ... that a blank follows
      {"CADFILENAME my part * v2.model. **\t", kCad, "my part * v2.model."},
      {"CADFILENAME  **", kCad, ""},  // found, with an empty value
      {"CADFILENAME", kCad, nullptr},
      {"CADFILENAME:x", kCad, nullptr},
      {"(SETTINGSFILENAME job.xml)", kSettings, "job.xml)"},
      {"CLDATAFILENAME op20.cl", kClData, "op20.cl"},
      {"DOCUMENTID BRK-42", kDocumentId, "BRK-42"},
      {"DOCUMENTVERSION 4", kDocumentVersion, "4"},
      {"XMODELVERSION 3", kModelVersion, "3"},  // text glued before the keyword
      {"RESULTSFILEVERSION 2.0.11", kVersion, "2.0.11"},
      {"**RESULTSFILEVERSION*10.200.0** ", kVersion, "10.200.0"},
      {"RESULTSFILEVERSION 1.0.0 RESULTSFILEVERSION 2.0.0", kVersion, "2.0.0"},
      {"RESULTSFILEVERSION 02.0.1", kVersion, nullptr},
      {"RESULTSFILEVERSION 2.01.1", kVersion, nullptr},
      {"RESULTSFILEVERSION 0.1.0", kVersion, nullptr},
      {"RESULTSFILEVERSION 2.0", kVersion, nullptr},
      {"RESULTSFILEVERSION 2.0.1 beta", kVersion, nullptr},
  };
  const kptFileReferenceParser parser;
  using Parse = utString (kptFileReferenceParser::*)(const utString&) const;
  const Parse parse[] = {&kptFileReferenceParser::parse_results_file_version,
                         &kptFileReferenceParser::parse_cad_filename,
                         &kptFileReferenceParser::parse_cldata_filename,
                         &kptFileReferenceParser::parse_settings_filename,
                         &kptFileReferenceParser::parse_document_id,
                         &kptFileReferenceParser::parse_document_version,
                         &kptFileReferenceParser::parse_model_version};
  for (const Case& c : cases) {
    for (int ref = kVersion; ref <= kModelVersion; ++ref) {
      // A line is the reference line of its own keyword only.
      const utString expected = ref == c.ref && c.value ? utString(c.value) : utString();
      EXPECT_EQ((parser.*parse[ref])(utString(c.line)), expected) << c.line << " ref " << ref;
    }
  }
}
