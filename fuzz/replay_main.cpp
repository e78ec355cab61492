// Runs a fuzz target over the files and folders named on the command line, so every target
// builds and replays its corpus and regression inputs in a normal build, without a fuzzing engine.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

bool replay(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  if (!in) {
    std::fprintf(stderr, "cannot read %s\n", file.c_str());
    return false;
  }
  const std::vector<char> bytes((std::istreambuf_iterator<char>(in)),
                                std::istreambuf_iterator<char>());
  // A copy of exactly the input's size, so a read past its end is caught by the sanitizers.
  std::vector<std::uint8_t> input(bytes.begin(), bytes.end());
  LLVMFuzzerTestOneInput(input.data(), input.size());
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  std::size_t replayed = 0;
  bool ok = true;
  for (int i = 1; i < argc; ++i) {
    const std::filesystem::path arg(argv[i]);
    std::vector<std::filesystem::path> files;
    if (std::filesystem::is_directory(arg)) {
      for (const auto& entry : std::filesystem::directory_iterator(arg)) {
        if (entry.is_regular_file() && entry.path().filename() != ".gitkeep")
          files.push_back(entry.path());
      }
      std::sort(files.begin(), files.end());
    } else {
      files.push_back(arg);
    }
    for (const auto& file : files) {
      ok = replay(file) && ok;
      ++replayed;
    }
  }
  std::printf("replayed %zu inputs\n", replayed);
  return ok ? 0 : 1;
}
