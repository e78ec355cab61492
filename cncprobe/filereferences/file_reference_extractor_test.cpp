// Tests of kptFileReferenceExtractor: scanning real files for the header references.
#include "cncprobe/filereferences/file_reference_extractor.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <climits>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/scratch_directory.h"

namespace {
namespace fs = std::filesystem;

const fs::path kSample = fs::path(CNCPROBE_TEST_DATA_DIR) / "references" / "header_all_seven.txt";

// The seven references in member order; invalid ones as "<none>".
std::array<std::string, 7> all(const kptFileReferenceExtractor& x) {
  std::array<std::string, 7> out;
  const utString* refs[] = {&x.results_file_version_text(),
                            &x.settings_filename(),
                            &x.cad_filename(),
                            &x.cldata_filename(),
                            &x.document_version(),
                            &x.document_id(),
                            &x.model_version()};
  for (int i = 0; i < 7; ++i) out[i] = refs[i]->valid() ? refs[i]->str() : "<none>";
  return out;
}
const std::array<std::string, 7> kNone = {"<none>", "<none>", "<none>", "<none>",
                                          "<none>", "<none>", "<none>"};

std::string slurp(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

// A directory of this test's own, removed with everything in it.
struct Scratch {
  ScratchDirectory scratch;
  const fs::path& dir = scratch.path();
  apPath write(const std::string& name, const std::string& bytes) const {
    return apPath(scratch.write(name, bytes));
  }
};

// Scans a stream directly, so a test can see how far the scan read.
struct StreamExtractor : kptFileReferenceExtractor {
  using kptFileReferenceExtractor::extract_from_stream;
};
}  // namespace

TEST(FileReferenceExtractor, SampleHeaderWithAnyLineEnds) {
  const std::array<std::string, 7> expected = {"2.1.0",
                                               "C:\\jobs\\bracket\\inspection settings.xml",
                                               "C:\\jobs\\bracket\\bracket.model",
                                               "C:\\jobs\\bracket\\op20 probe.cl",
                                               "7",
                                               "BRK-0042 (rev B)",
                                               "3.2."};
  const std::string lf = slurp(kSample);
  std::string crlf, cr;
  for (const char c : lf) crlf += c == '\n' ? std::string("\r\n") : std::string(1, c);
  for (const char c : lf) cr += c == '\n' ? '\r' : c;
  const Scratch scratch;
  for (const std::string& bytes : {lf, crlf, cr, "\xEF\xBB\xBF" + crlf}) {
    kptFileReferenceExtractor refs;
    EXPECT_EQ(refs.extract(scratch.write("sample.txt", bytes)).value(), 1);
    EXPECT_EQ(all(refs), expected);
    EXPECT_TRUE(refs.results_file_version() == kptResultsFileVersion(2, 1, 0));
    EXPECT_EQ(refs.extract(kptInputFile::from_text(bytes)).value(), 1);
    EXPECT_EQ(all(refs), expected);
  }
}

TEST(FileReferenceExtractor, FirstValueWinsAndWhatEndsTheScan) {
  struct Case {
    std::string bytes;
    std::array<std::string, 7> refs;
  };
  const std::string long_line(kptFileReferenceExtractor::kMaxLineBytes + 1, 'x');
  const std::string blanks(400000, ' ');  // inner blanks of any length stay in the value
  const Case cases[] = {
      {"RESULTSFILEVERSION 02.0.1\nDOCUMENTID first\nRESULTSFILEVERSION 2.0.11\nDOCUMENTID second\n"
       "CADFILENAME  \nCADFILENAME later\nXMODELVERSION 3 DOCUMENTVERSION 9\n",
       {"2.0.11", "<none>", "", "<none>", "9", "first", "3 DOCUMENTVERSION 9"}},
      {"CADFILENAME a\nx\xE9y\nMODELVERSION 3\n",  // a line of Latin-1 text ends the scan
       {"<none>", "<none>", "a", "<none>", "<none>", "<none>", "<none>"}},
      {"CADFILENAME a\n" + long_line + "\nMODELVERSION 3\n",
       {"<none>", "<none>", "a", "<none>", "<none>", "<none>", "<none>"}},
      {"CADFILENAME a" + blanks + "b\nMODELVERSION 3",  // a last line without line end counts
       {"<none>", "<none>", "a" + blanks + "b", "<none>", "<none>", "<none>", "3"}},
      {std::string("\x7F"
                   "ELF\x02\x01\x00\x00\xFF\xFE\nCADFILENAME a\n",
                   17),
       kNone},
      {"", kNone},
      {"START\nEND\n", kNone},
      // Text beyond ASCII is kept as it was written, a NUL inside a line too.
      {std::string("CADFILENAME W\xC3\xBCrfel \xE2\x80\x93 op30\nDOCUMENTID a\0b\n", 44),
       {"<none>", "<none>", "W\xC3\xBCrfel \xE2\x80\x93 op30", "<none>", "<none>",
        std::string("a\0b", 3), "<none>"}},
  };
  const Scratch scratch;
  for (const Case& c : cases) {
    kptFileReferenceExtractor refs;
    EXPECT_EQ(refs.extract_filenames(scratch.write("case.txt", c.bytes)).value(), 1);
    EXPECT_EQ(all(refs), c.refs) << c.bytes.substr(0, 40);
    EXPECT_EQ(refs.input_problem(), kptInputReadable);
    // The same bytes already in memory give the same references.
    EXPECT_EQ(refs.extract(kptInputFile::from_text(c.bytes)).value(), 1);
    EXPECT_EQ(all(refs), c.refs) << c.bytes.substr(0, 40);
  }
}

TEST(FileReferenceExtractor, RefusedPathsForgetEarlierReferencesAndSayWhy) {
  const Scratch scratch;
  struct Case {
    apPath path;
    kptInputProblem problem;
  };
  std::vector<Case> cases = {
      {apPath((scratch.dir / "missing.txt").string()), kptInputMissing},
      {apPath(scratch.dir.string()), kptInputDirectory},
      {apPath(""), kptInputReadError},                       // no name at all
      {apPath(std::string("\xFF.txt")), kptInputReadError},  // not a name in UTF-8
  };
#if defined(_WIN32)
  cases.push_back({apPath("NUL"), kptInputNotRegularFile});
#else
  ASSERT_EQ(::mkfifo((scratch.dir / "fifo").c_str(), 0600), 0);
  cases.push_back({apPath((scratch.dir / "fifo").string()), kptInputNotRegularFile});
  cases.push_back({apPath("/dev/null"), kptInputNotRegularFile});
  const apPath unreadable = scratch.write("unreadable.txt", "CADFILENAME a\n");
  fs::permissions(unreadable.native(), fs::perms::none);
  // root reads a file whatever its permissions
  if (::access(unreadable.native().c_str(), R_OK) != 0) {
    cases.push_back({unreadable, kptInputPermissionDenied});
  }
#endif
  for (const Case& c : cases) {
    SCOPED_TRACE(c.path.native());
    kptFileReferenceExtractor refs;
    ASSERT_EQ(refs.extract(apPath(kSample.string())).value(), 1);
    EXPECT_EQ(refs.input_problem(), kptInputReadable);
    EXPECT_EQ(refs.extract(c.path).value(), 0);
    EXPECT_EQ(refs.input_problem(), c.problem);
    EXPECT_EQ(all(refs), kNone);
    EXPECT_TRUE(refs.results_file_version().unversioned());
    // An input that could not be read gives the same through extract(kptInputFile).
    ASSERT_EQ(refs.extract(apPath(kSample.string())).value(), 1);
    EXPECT_EQ(refs.extract(kptInputFile::read(utString(c.path.native()))).value(), 0);
    EXPECT_EQ(all(refs), kNone);
  }
}

TEST(FileReferenceExtractor, ScanEndsOnceAllSevenAreKnown) {
  const std::string seven = slurp(kSample).substr(33);  // from the version line
  const std::string header = seven.substr(0, seven.find("********"));
  std::istringstream in(header + "MODELVERSION 4\n");
  StreamExtractor refs;
  EXPECT_EQ(refs.extract_from_stream(in).value(), 1);
  EXPECT_EQ(static_cast<std::size_t>(in.tellg()), header.size()) << "read beyond the seventh";

  std::istringstream six("DOCUMENTID a\nCADFILENAME b\nTAIL\n");
  EXPECT_EQ(refs.extract_from_stream(six).value(), 1);
  EXPECT_TRUE(six.eof()) << "a missing reference is looked for to the end of the file";
}

TEST(FileReferenceExtractor, VersionTextToNumbers) {
  struct Case {
    const char* text;
    kptResultsFileVersion version;
  };
  const Case cases[] = {
      {"2.0.11", kptResultsFileVersion(2, 0, 11)},
      {"2147483647.0.0", kptResultsFileVersion(INT_MAX, 0, 0)},
      {"2147483648.0.0", kptResultsFileVersion()},  // beyond a signed 32-bit number
      {"1.0.99999999999", kptResultsFileVersion()},
  };
  for (const Case& c : cases) {
    std::istringstream in(std::string("RESULTSFILEVERSION ") + c.text);
    StreamExtractor refs;
    (void)refs.extract_from_stream(in);
    EXPECT_TRUE(refs.results_file_version() == c.version) << c.text;
    EXPECT_EQ(refs.results_file_version_text().str(), c.text) << "the text stays as found";
  }
}
