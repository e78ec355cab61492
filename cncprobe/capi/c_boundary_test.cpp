// Text handed to C hosts: always terminated, never cut inside a character, always UTF-8; and why a
// file could not be read, as the error code a host tells its user.
#include "cncprobe/capi/internal/c_boundary.h"

#include <gtest/gtest.h>
#if !defined(_WIN32)
#include <sys/stat.h>
#endif

#include <algorithm>
#include <iterator>
#include <new>
#include <string>
#include <string_view>

#include "tests/support/scratch_directory.h"

namespace {

using capi_internal::copy_text;

TEST(CBoundary, CopyTextFitsCutsAndRepairs) {
  struct Case {
    std::string_view text;
    std::size_t capacity;
    cncprobe_error error;
    std::string_view written;
    std::size_t needed;
  };
  const Case cases[] = {
      {"BORE", 5, CNCPROBE_OK, "BORE", 5},
      {"BORE", 4, CNCPROBE_ERROR_BUFFER_TOO_SMALL, "BOR", 5},
      {"", 1, CNCPROBE_OK, "", 1},
      // "Ø12" is 4 bytes: a cut that would split the Ø drops it whole.
      {"\xC3\x98"
       "12",
       2, CNCPROBE_ERROR_BUFFER_TOO_SMALL, "", 5},
      {"\xC3\x98"
       "12",
       3, CNCPROBE_ERROR_BUFFER_TOO_SMALL, "\xC3\x98", 5},
      // A label in a legacy code page (Latin-1 é), a lone continuation byte and a cut-off
      // sequence become U+FFFD each, as in the tool's JSON.
      {"BOSS\xE9", 16, CNCPROBE_OK, "BOSS\xEF\xBF\xBD", 8},
      {"\x80X\xE2\x82", 16, CNCPROBE_OK, "\xEF\xBF\xBDX\xEF\xBF\xBD\xEF\xBF\xBD", 11},
      // An encoded surrogate is no character either.
      {"\xED\xA0\x80", 16, CNCPROBE_OK, "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD", 10},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << "text \"" << c.text << "\" capacity " << c.capacity);
    char buffer[32];
    std::fill(std::begin(buffer), std::end(buffer), '#');
    std::size_t needed = 0;
    EXPECT_EQ(copy_text(c.text, buffer, c.capacity, &needed), c.error);
    EXPECT_EQ(std::string_view(buffer), c.written);
    EXPECT_EQ(needed, c.needed);
    EXPECT_EQ(buffer[c.capacity], '#');  // nothing past the capacity
  }
}

TEST(CBoundary, EachInputProblemHasItsOwnCode) {
  const struct {
    kptInputProblem problem;
    cncprobe_error error;
  } cases[] = {
      {kptInputReadable, CNCPROBE_OK},
      {kptInputMissing, CNCPROBE_ERROR_FILE_MISSING},
      {kptInputDirectory, CNCPROBE_ERROR_FILE_IS_DIRECTORY},
      {kptInputNotRegularFile, CNCPROBE_ERROR_FILE_NOT_REGULAR},
      {kptInputPermissionDenied, CNCPROBE_ERROR_PERMISSION_DENIED},
      {kptInputReadError, CNCPROBE_ERROR_READ_ERROR},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(capi_internal::input_error(c.problem), c.error) << kpt_input_problem_text(c.problem);
    if (c.problem != kptInputReadable) {
      EXPECT_STREQ(cncprobe_error_text(c.error), kpt_input_problem_text(c.problem));
    }
  }
}

#if !defined(_WIN32)
TEST(CBoundary, FifoIsNotARegularFileForEveryReader) {
  // Nobody writes to it: a reader that opened it as a file would wait for ever.
  const ScratchDirectory dir;
  const std::string fifo = dir.file("results.fifo");
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  cncprobe_extraction* run = nullptr;
  cncprobe_references* refs = nullptr;
  cncprobe_settings* settings = nullptr;
  EXPECT_EQ(cncprobe_extract_file(fifo.c_str(), CNCPROBE_UNITS_MM, 0, &run),
            CNCPROBE_ERROR_FILE_NOT_REGULAR);
  EXPECT_EQ(cncprobe_references_read(fifo.c_str(), &refs), CNCPROBE_ERROR_FILE_NOT_REGULAR);
  EXPECT_EQ(cncprobe_settings_read(fifo.c_str(), 0, &settings), CNCPROBE_ERROR_FILE_NOT_REGULAR);
  EXPECT_TRUE(run == nullptr && refs == nullptr && settings == nullptr);
}
#endif

TEST(CBoundary, ExceptionsBecomeErrorCodes) {
  EXPECT_EQ(capi_internal::guarded([]() -> cncprobe_error { throw std::bad_alloc(); }),
            CNCPROBE_ERROR_OUT_OF_MEMORY);
  EXPECT_EQ(capi_internal::guarded([]() -> cncprobe_error { throw 42; }), CNCPROBE_ERROR_INTERNAL);
}

}  // namespace
