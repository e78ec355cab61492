// kptQifWriter's outcomes: the document is whole or the failure is said; times are checked before
// a byte is written. What the document says is checked end to end (tests/qif_export_e2e_test).
#include "cncprobe/exchange/qif_writer.h"

#include <gtest/gtest.h>

#include <string>

namespace {

struct Extracted {
  kptResultsDataExtractor extractor;
  kptFileReferenceExtractor references;
  kptResultsExtractionStatus status;
  explicit Extracted(const std::string& text)
      : status(extractor.extract_data(kptInputFile::from_text(text))) {}
};

const char* const kRun =
    "START\nTOOLPATHID 1\n"
    "G800 N1 X0 Y0 Z0 I0 J0 K1 O0 U0.1 L-0.1\nG801 N2 X0 Y0 Z0.05 R2\n"
    "G800 N3 X5 Y0 Z0 I0 J0 K1 O0 U0.1 L-0.1\nG801 N4 X5 Y0 Z0.5 R2\nEND\n";

TEST(KptQifWriter, ValidTimeAcceptsXmlDateTimesOnly) {
  const struct {
    const char* text;
    bool valid;
  } cases[] = {
      {"2026-11-23T10:15:00Z", true},
      {"2026-11-23T10:15:00", true},
      {"2026-11-23T10:15:00.125+01:00", true},
      {"2026-11-23T10:15:00-05:30", true},
      {"2026-11-23 10:15:00Z", false},
      {"2026-13-23T10:15:00Z", false},
      {"2026-11-23T24:15:00Z", false},
      {"2026-11-23T10:15:00.Z", false},
      {"2026-11-23T10:15:00+1:00", false},
      {"yesterday", false},
      {"", false},
      {"2026-11-23T10:15:00Zjunk", false},
  };
  for (const auto& c : cases) EXPECT_EQ(kptQifWriter::valid_time(c.text), c.valid) << c.text;
}

TEST(KptQifWriter, BadTimeWritesNothing) {
  const Extracted run(kRun);
  kptQifDocument document;
  document.time = "now";
  std::string bytes;
  EXPECT_EQ(kptQifWriter::write(run.extractor, run.status, run.references, document,
                                [&](std::string_view b) {
                                  bytes.append(b);
                                  return true;
                                }),
            kptQifBadTime);
  EXPECT_TRUE(bytes.empty());
}

TEST(KptQifWriter, ASinkThatRefusesStopsTheWrite) {
  const Extracted run(kRun);
  kptQifDocument document;
  document.time = "2026-11-23T10:15:00Z";
  std::string whole;
  ASSERT_EQ(kptQifWriter::write(run.extractor, run.status, run.references, document,
                                [&](std::string_view b) {
                                  whole.append(b);
                                  return true;
                                }),
            kptQifWritten);
  EXPECT_NE(whole.find("<InspectionStatusEnum>FAIL</InspectionStatusEnum>"), std::string::npos);
  int calls = 0;
  EXPECT_EQ(kptQifWriter::write(run.extractor, run.status, run.references, document,
                                [&](std::string_view) { return ++calls < 1; }),
            kptQifOutputRefused);
  EXPECT_EQ(calls, 1);  // asked once, never again after refusing
  EXPECT_EQ(kptQifWriter::write_file(run.extractor, run.status, run.references, document,
                                     utString("/nonexistent-folder/run.qif")),
            kptQifOutputRefused);
}

TEST(KptQifWriter, DigestOfAFileEqualsTheDigestOfItsBytes) {
  EXPECT_EQ(kptQifWriter::digest_of_bytes("abc"), "a9993e364706816aba3e25717850c26c9cd0d89d");
  EXPECT_EQ(kptQifWriter::digest_of_file(utString("/nonexistent-folder/run.res")), "");
  const std::string file = CNCPROBE_TEST_DATA_DIR "/extraction/worked_example.res";
  const kptInputFile input = kptInputFile::read(utString(file.c_str()));
  ASSERT_TRUE(input.ok());
  EXPECT_EQ(kptQifWriter::digest_of_file(utString(file.c_str())),
            kptQifWriter::digest_of_bytes(input.bytes()));
}

}  // namespace
