// Writes a synthetic results file of a given number of probed points, for benchmarks and
// profiling by hand:  generate_results_file 1000000 /tmp/run_1m.res
#include <cstdio>
#include <cstdlib>
#include <string>

#include "bench/results_file_generator.h"

int main(int argc, char** argv) {
  char* end = nullptr;
  const unsigned long long points = argc == 3 ? std::strtoull(argv[1], &end, 10) : 0;
  if (argc != 3 || end == argv[1] || *end != '\0') {
    std::fprintf(stderr, "usage: %s POINTS OUTPUT_FILE\n", argv[0]);
    return 2;
  }
  GeneratedResultsFile summary;
  if (!write_results_file(argv[2], points, summary)) {
    std::fprintf(stderr, "%s: cannot write %s\n", argv[0], argv[2]);
    return 1;
  }
  std::printf("%s: %zu points, %zu probe paths, %zu features, %zu lines, %zu bytes\n", argv[2],
              summary.points, summary.probe_paths, summary.features, summary.lines, summary.bytes);
  return 0;
}
