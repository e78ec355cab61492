// Tests of kptInputFile and kptInputStream: why an input could not be read, and what is read.
#include "cncprobe/foundation/input_file.h"

#include <gtest/gtest.h>
#if !defined(_WIN32)
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#endif

#include <cstring>
#include <functional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/scratch_directory.h"
#if !defined(_WIN32)
#include "tests/support/unprivileged_user.h"
#endif

namespace {
struct Reason {
  const char* what;
  // Makes the input in `dir` and returns its name.
  std::function<std::string(const ScratchDirectory& dir)> make;
  kptInputProblem problem;
  std::string bytes;
};

#if !defined(_WIN32)
std::string fifo(const ScratchDirectory& dir) {
  const std::string name = dir.file("pipe");
  EXPECT_EQ(::mkfifo(name.c_str(), 0600), 0) << std::strerror(errno);
  return name;
}

std::string socket_file(const ScratchDirectory& dir) {
  const std::string name = dir.file("sock");
  const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, name.c_str(), sizeof address.sun_path - 1);
  EXPECT_EQ(::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  ::close(fd);  // the name stays in the directory
  return name;
}
#endif
}  // namespace

TEST(InputFile, EveryReasonAFileNameCanGive) {
  const std::string big(3 << 20, 'x');  // more than one block
  std::vector<Reason> reasons = {
      {"regular file", [](auto& d) { return d.write("run.res", "START\r\nEND"); }, kptInputReadable,
       "START\r\nEND"},
      {"large file", [&](auto& d) { return d.write("big.res", big); }, kptInputReadable, big},
      {"empty file", [](auto& d) { return d.write("empty.res", ""); }, kptInputReadable, ""},
      {"missing", [](auto& d) { return d.file("none.res"); }, kptInputMissing, ""},
      {"below a file", [](auto& d) { return d.write("f", "x") + "/run.res"; }, kptInputMissing, ""},
      {"empty name", [](auto&) { return std::string(); }, kptInputMissing, ""},
      {"directory", [](auto& d) { return d.path().string(); }, kptInputDirectory, ""},
  };
#if defined(_WIN32)
  // Windows names files in UTF-16: a name that is not UTF-8 names no file at all.
  reasons.push_back(
      {"device", [](auto&) { return std::string("NUL"); }, kptInputNotRegularFile, ""});
  reasons.push_back(
      {"name not UTF-8", [](auto& d) { return d.file("caf\xE9.res"); }, kptInputReadError, ""});
  reasons.push_back({"name in UTF-8", [](auto& d) { return d.write("caf\xC3\xA9.res", "A"); },
                     kptInputReadable, "A"});
#else
  reasons.push_back({"name too long", [](auto& d) { return d.file(std::string(5000, 'n')); },
                     kptInputReadError, ""});
  reasons.push_back({"FIFO without a writer", fifo, kptInputNotRegularFile, ""});
  reasons.push_back(
      {"device", [](auto&) { return std::string("/dev/null"); }, kptInputNotRegularFile, ""});
  reasons.push_back({"socket", socket_file, kptInputNotRegularFile, ""});
  reasons.push_back({"name not UTF-8", [](auto& d) { return d.write("caf\xE9.res", "A"); },
                     kptInputReadable, "A"});
#endif
  for (const Reason& reason : reasons) {
    SCOPED_TRACE(reason.what);
    const ScratchDirectory dir;
    const std::string name = reason.make(dir);
    const kptInputFile input = kptInputFile::read(utString(name));
    EXPECT_EQ(input.problem(), reason.problem);
    EXPECT_EQ(input.ok(), reason.problem == kptInputReadable);
    EXPECT_EQ(input.bytes(), reason.bytes);
    const kptInputStream stream = kptInputStream::open(utString(name));
    EXPECT_EQ(stream.problem(), reason.problem);
  }
}

TEST(InputFile, NamesThatCannotBeGivenToTheFileSystemAreReadErrors) {
  const ScratchDirectory dir;
  const std::string name = dir.write("run.res", "A");
  EXPECT_EQ(kptInputFile::read(utString()).problem(), kptInputReadError);
  // A NUL would cut the name short and open another file ("run.res" here).
  EXPECT_EQ(kptInputFile::read(utString(name + std::string("\0.bak", 5))).problem(),
            kptInputReadError);
}

TEST(InputFile, PermissionDenied) {
#if defined(_WIN32)
  GTEST_SKIP() << "Windows has no permission bits that forbid the owner to read";
#else
  // Root reads a file whatever its mode, so the reading is done as a user who cannot.
  const ScratchDirectory dir;
  const std::string name = dir.write("secret.res", "A");
  ASSERT_EQ(::chmod(name.c_str(), 0), 0);
  EXPECT_TRUE(as_unprivileged_user([&] {
    const kptInputFile file = kptInputFile::read(utString(name));
    return file.problem() == kptInputPermissionDenied && file.bytes().empty();
  }));
#endif
}

TEST(InputFile, StreamsAndText) {
  std::istringstream text(std::string("A\0B\n", 4));
  const kptInputFile from_stream = kptInputFile::read(text);
  EXPECT_TRUE(from_stream.ok());
  EXPECT_EQ(from_stream.bytes(), std::string_view("A\0B\n", 4));

  std::istringstream failed("A");
  failed.setstate(std::ios_base::badbit);
  EXPECT_EQ(kptInputFile::read(failed).problem(), kptInputReadError);

  // A stream whose buffer fails part way, and one set to throw when it does.
  struct Failing : std::streambuf {
    int calls = 0;
    int_type underflow() override {
      if (calls++ > 0) throw std::runtime_error("device gone");
      setg(block, block, block + 2);
      return traits_type::to_int_type(block[0]);
    }
    char block[2] = {'O', 'K'};
  };
  Failing quiet;
  std::istream breaks(&quiet);
  EXPECT_EQ(kptInputFile::read(breaks).problem(), kptInputReadError);
  Failing loud;
  std::istream throws(&loud);
  throws.exceptions(std::ios_base::badbit);
  EXPECT_EQ(kptInputFile::read(throws).problem(), kptInputReadError);

  const kptInputFile held = kptInputFile::from_text(std::string("x\0y", 3));
  EXPECT_TRUE(held.ok());
  EXPECT_EQ(held.bytes(), std::string_view("x\0y", 3));
}

TEST(InputFile, ProblemTexts) {
  EXPECT_STREQ(kpt_input_problem_text(kptInputReadable), "");
  EXPECT_STREQ(kpt_input_problem_text(kptInputMissing), "no such file");
  EXPECT_STREQ(kpt_input_problem_text(kptInputDirectory), "is a directory");
  EXPECT_STREQ(kpt_input_problem_text(kptInputNotRegularFile), "not a regular file");
  EXPECT_STREQ(kpt_input_problem_text(kptInputPermissionDenied), "permission denied");
  EXPECT_STREQ(kpt_input_problem_text(kptInputReadError), "read error");
}

// A large file read in parts side by side gives the bytes one reader gives, and the stream goes
// on after them; a read past the end gives the file.
TEST(InputFile, ReadAllOnThreads) {
  ScratchDirectory dir;
  std::string bytes(13 << 20, '\0');
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>('a' + i * 7 % 26);
  const std::string name = dir.write("large", bytes);
  struct Case {
    std::size_t first, threads;  // bytes asked of read_all, threads it may use
  };
  const Case cases[] = {{bytes.size(), 1},      {bytes.size(), 2},         {bytes.size(), 3},
                        {bytes.size() + 99, 7}, {bytes.size() / 2 + 5, 2}, {1000, 4}};
  for (const Case& c : cases) {
    kptInputStream stream = kptInputStream::open(utString(std::string_view(name)));
    std::string read(bytes.size() + 100, '-');
    const std::size_t got = stream.read_all(read.data(), c.first, static_cast<unsigned>(c.threads));
    EXPECT_EQ(got, std::min(c.first, bytes.size())) << c.first << " on " << c.threads;
    std::size_t used = got;
    while (const std::size_t more = stream.read_some(read.data() + used, read.size() - used)) {
      used += more;
    }
    read.resize(used);
    EXPECT_TRUE(read == bytes) << c.first << " on " << c.threads;
    EXPECT_EQ(stream.problem(), kptInputReadable);
  }
}
