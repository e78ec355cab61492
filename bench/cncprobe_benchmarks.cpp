// Benchmarks of the library's entry points over synthetic results files of 10k to 1M points:
// reading the lines, extracting the results, scanning the reference lines, reading settings;
// and of the two steps every point record costs, recognising the record and reading a number.
// Each reports throughput (over wall-clock time: reading the file is part of the work) and the
// peak memory the run added, also as a multiple of the file size.
#include <benchmark/benchmark.h>
#include <malloc.h>
#include <unistd.h>

#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "bench/results_file_generator.h"
#include "cncprobe/cncprobe.h"
#include "cncprobe/foundation/results_file_cursor.h"
#include "cncprobe/foundation/string_data_parsing.h"
#include "cncprobe/resultsfile/results_file_parser.h"

namespace {

// The generated files, one per size, written on first use and removed at exit.
class BenchFiles {
 public:
  BenchFiles()
      : dir_(std::filesystem::temp_directory_path() /
             ("cncprobe-bench-" + std::to_string(getpid()))) {
    std::filesystem::create_directories(dir_);
  }
  ~BenchFiles() {
    std::error_code ignored;
    std::filesystem::remove_all(dir_, ignored);
  }

  const GeneratedResultsFile* results_file(std::size_t points) {
    auto found = files_.find(points);
    if (found != files_.end()) return &found->second;
    GeneratedResultsFile file;
    const std::string path = (dir_ / ("run_" + std::to_string(points) + ".res")).string();
    if (!write_results_file(path, points, file)) return nullptr;
    return &files_.emplace(points, file).first->second;
  }

  // `copies` copies of the bracket example (4.3 KB, 22 points and reports): the small files a
  // shop has thousands of. Their total size in `bytes`.
  const std::vector<utString>& small_files(std::size_t copies, std::size_t& bytes) {
    if (small_files_.size() != copies) {
      small_files_.clear();
      const std::filesystem::path source =
          std::filesystem::path(CNCPROBE_EXAMPLES_DIR) / "bracket_mm.txt";
      std::filesystem::create_directories(dir_ / "small");
      for (std::size_t i = 0; i < copies; ++i) {
        const std::filesystem::path copy =
            dir_ / "small" / ("bracket_" + std::to_string(i) + ".txt");
        std::filesystem::copy_file(source, copy, std::filesystem::copy_options::overwrite_existing);
        small_files_.emplace_back(copy.string().c_str());
      }
      small_bytes_ = copies * static_cast<std::size_t>(std::filesystem::file_size(source));
    }
    bytes = small_bytes_;
    return small_files_;
  }

  std::string settings_file() {
    const std::filesystem::path path = dir_ / "settings.xml";
    std::ofstream(path) << "<?xml version=\"1.0\"?>\n<settings version=\"1\"><units>inches</units>"
                           "<projection><proximity_criteria>0.1</proximity_criteria></projection>"
                           "<confetti><diameter>0.25</diameter></confetti><data><precision>"
                           "<linear_digits>4</linear_digits><angle_digits>2</angle_digits>"
                           "<unitless_digits>6</unitless_digits></precision><labels>"
                           "<surface_point_label>Pt </surface_point_label></labels></data>"
                           "</settings>\n";
    return path.string();
  }

 private:
  std::filesystem::path dir_;
  std::map<std::size_t, GeneratedResultsFile> files_;
  std::vector<utString> small_files_;
  std::size_t small_bytes_ = 0;
};

BenchFiles& files() {
  static BenchFiles instance;
  return instance;
}

// A field of /proc/self/status in bytes (VmRSS, VmHWM); 0 when unreadable.
std::size_t status_bytes(const char* field) {
  std::ifstream status("/proc/self/status");
  std::string name;
  std::size_t kib = 0;
  while (status >> name) {
    if (name == std::string(field) + ":") {
      status >> kib;
      return kib * 1024;
    }
    status.ignore(4096, '\n');
  }
  return 0;
}

// The peak resident memory of one benchmark run, above what the process held when it started:
// hands the heap's free memory back first (so that memory freed by earlier runs is not counted as
// held), resets the kernel's high-water mark (VmHWM) and remembers the resident size.
class PeakMemory {
 public:
  PeakMemory() {
    malloc_trim(0);
    std::ofstream("/proc/self/clear_refs") << "5";
    baseline_ = status_bytes("VmRSS");
  }
  // Sets the counters peak_MiB and, for a run over a file, peak_per_file_byte.
  void report(benchmark::State& state, std::size_t file_bytes = 0) const {
    const std::size_t peak = status_bytes("VmHWM");
    const double added = peak > baseline_ ? static_cast<double>(peak - baseline_) : 0.0;
    state.counters["peak_MiB"] = added / (1024.0 * 1024.0);
    if (file_bytes > 0)
      state.counters["peak_per_file_byte"] = added / static_cast<double>(file_bytes);
  }

 private:
  std::size_t baseline_ = 0;
};

const GeneratedResultsFile* file_or_skip(benchmark::State& state) {
  const GeneratedResultsFile* file = files().results_file(static_cast<std::size_t>(state.range(0)));
  if (file == nullptr) state.SkipWithError("cannot write the generated results file");
  return file;
}

void set_throughput(benchmark::State& state, const GeneratedResultsFile& file, std::size_t items) {
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * file.bytes));
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * items));
  state.counters["file_MiB"] = static_cast<double>(file.bytes) / (1024.0 * 1024.0);
}

// Reading a file into the cursor's shared list of lines and stepping over every line.
void BM_CursorRead(benchmark::State& state) {
  const GeneratedResultsFile* file = file_or_skip(state);
  if (file == nullptr) return;
  const utString name(file->path.c_str());
  const PeakMemory memory;
  for (auto _ : state) {
    kptResultsFileCursor cursor(name);
    std::size_t lines = 0;
    while (++cursor) ++lines;
    if (lines != file->lines) state.SkipWithError("the cursor lost lines");
    benchmark::DoNotOptimize(lines);
  }
  set_throughput(state, *file, file->lines);
  memory.report(state, file->bytes);
}

// A whole extraction: cursor, record and report parsing, probe paths and features in CAD
// coordinates. Items are probed points.
void BM_ExtractData(benchmark::State& state) {
  const GeneratedResultsFile* file = file_or_skip(state);
  if (file == nullptr) return;
  const utString name(file->path.c_str());
  const PeakMemory memory;
  for (auto _ : state) {
    kptResultsDataExtractor extractor;
    const kptResultsExtractionStatus status = extractor.extract_data(name, kptUnits());
    if (status != kptExtractionSuccess ||
        extractor.number_of_results() != file->probe_paths + file->features) {
      state.SkipWithError("the extraction did not read the generated file completely");
    }
    benchmark::DoNotOptimize(extractor.number_of_results());
  }
  set_throughput(state, *file, file->points);
  memory.report(state, file->bytes);
}

// The reference-line scan; one reference is missing from the generated files, so it reads to
// the end of the file, its worst case.
void BM_FileReferences(benchmark::State& state) {
  const GeneratedResultsFile* file = file_or_skip(state);
  if (file == nullptr) return;
  const apPath path(file->path);
  const PeakMemory memory;
  for (auto _ : state) {
    kptFileReferenceExtractor references;
    if (!references.extract(path).ok() || references.cad_filename().invalid()) {
      state.SkipWithError("the reference scan failed");
    }
    benchmark::DoNotOptimize(references.results_file_version());
  }
  set_throughput(state, *file, file->lines);
  memory.report(state, file->bytes);
}

// Reading a complete settings file, the XML document factory included.
void BM_SettingsRead(benchmark::State& state) {
  const apPath path(files().settings_file());
  const kptInspectionSettingsReader reader;
  for (auto _ : state) {
    kptInspectionSettings settings;
    if (reader.update_settings(path, settings).code() != kptSettingsSuccess) {
      state.SkipWithError("the settings file was rejected");
    }
    benchmark::DoNotOptimize(settings.confetti_diameter_mm());
  }
  state.SetItemsProcessed(state.iterations());
}

// Small files, as a host that makes a new extractor for every file reads them: each extraction
// builds its parser's matchers (their compiled code is the process's). Items are files.
void BM_SmallFilesNewExtractorEach(benchmark::State& state) {
  std::size_t bytes = 0;
  const std::vector<utString>& small = files().small_files(400, bytes);
  for (auto _ : state) {
    for (const utString& name : small) {
      kptResultsDataExtractor extractor;
      if (extractor.extract_data(name, kptUnits()) != kptExtractionSuccess) {
        state.SkipWithError("a small file did not extract");
      }
      benchmark::DoNotOptimize(extractor.number_of_results());
    }
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(small.size()));
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
}
BENCHMARK(BM_SmallFilesNewExtractorEach)->Unit(benchmark::kMillisecond)->UseRealTime();

// The same files through the batch call on range(0) threads: one extractor per thread, reused.
// Items are files.
void BM_SmallFilesBatch(benchmark::State& state) {
  std::size_t bytes = 0;
  const std::vector<utString>& small = files().small_files(400, bytes);
  kptResultsBatchExtractor batch(static_cast<unsigned int>(state.range(0)));
  for (auto _ : state) {
    const std::vector<kptFileExtraction> outcomes = batch.extract(small, kptUnits());
    for (const kptFileExtraction& outcome : outcomes) {
      if (outcome.status() != kptExtractionSuccess)
        state.SkipWithError("a small file did not extract");
    }
    benchmark::DoNotOptimize(outcomes.data());
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(small.size()));
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
}
BENCHMARK(BM_SmallFilesBatch)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();

// One record line recognised and its numbers read, with no receiver: what a point costs before
// the result model sees it. The same line a thousand times over, so this is the floor of a warm
// loop.
void BM_RecordLine(benchmark::State& state, const char* line) {
  const kptResultsFileParser parser(kptUnits(),
                                    utObserverPtr<kptResultsFileParserCallback>(nullptr));
  constexpr int kLines = 1000;
  std::string text;
  for (int i = 0; i < kLines; ++i) (text += line) += '\n';
  const kptResultsFileCursor lines(kptInputFile::from_text(text));
  for (auto _ : state) {
    kptResultsFileCursor cursor = lines;
    while (++cursor) {
      if (!parser.parse_next_object(cursor)) state.SkipWithError("the record was not recognised");
    }
  }
  state.SetItemsProcessed(state.iterations() * kLines);
}
BENCHMARK_CAPTURE(BM_RecordLine, nominal_point,
                  "G800 N5 X39.518 Y-6.246 Z-4.000 I0.9877 J0.1564 K0.0000 O0.000 U0.100 L-0.100");
BENCHMARK_CAPTURE(BM_RecordLine, measured_point, "G801 N6 X39.509 Y-6.247 Z-4.000 R2.500");

// Reading the captured number texts of a nominal point, as the record parser reads them.
void BM_NumberReading(benchmark::State& state) {
  const kptStringDataParsing numbers{kptUnits()};
  const std::string_view texts[] = {"39.518", "-6.246", "-4.000", "0.9877", "0.1564",
                                    "0.0000", "0.000",  "0.100",  "-0.100"};
  for (auto _ : state) {
    for (const std::string_view text : texts) {
      benchmark::DoNotOptimize(numbers.string_to_double(text));
    }
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(std::size(texts)));
}
BENCHMARK(BM_NumberReading);

}  // namespace

BENCHMARK(BM_CursorRead)
    ->RangeMultiplier(10)
    ->Range(10'000, 1'000'000)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(BM_ExtractData)
    ->RangeMultiplier(10)
    ->Range(10'000, 1'000'000)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(BM_FileReferences)
    ->RangeMultiplier(10)
    ->Range(10'000, 1'000'000)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(BM_SettingsRead)->Unit(benchmark::kMicrosecond);

BENCHMARK_MAIN();
