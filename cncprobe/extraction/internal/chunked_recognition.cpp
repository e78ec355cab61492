// kptChunkedRecognition: chunks recognised into lists of events, and the replay that joins them.
#include "cncprobe/extraction/internal/chunked_recognition.h"

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
#include <variant>

#include "cncprobe/platform/support/observer_ptr.h"
#include "cncprobe/resultsfile/results_file_parser.h"

namespace {

// The events of the parser interface, with their arguments held by value.
struct Start {};
struct End {};
struct Workplane {
  giWorkplane3 workplane;
  bool cad;
};
struct NominalPoint {
  giPoint3 point;
  giVector3 direction;
  double o, u, l;
};
struct MeasuredPoint {
  giPoint3 point;
  double r;
};
struct Toolpath {
  unsigned int id;
  std::optional<unsigned int> instance;
};
struct CycleDepth {
  double depth;
};
struct ResultsFile {
  utString name;
};
struct Circle {
  mtrInspectionPrintData print_data;
  giCircle2 nominal, actual;
  std::optional<double> diameter_tolerance, true_position_tolerance;
};
struct Rectangle {
  mtrInspectionPrintData print_data;
  kptParsedDimension x_width, y_width;
  kptParsedPosition x_position, y_position;
};
struct XWallChannel {
  mtrInspectionPrintData print_data;
  kptParsedDimension width;
  kptParsedPosition x_position;
  double y_nominal;
};
struct YWallChannel {
  mtrInspectionPrintData print_data;
  kptParsedDimension width;
  double x_nominal;
  kptParsedPosition y_position;
};
struct Surface {
  mtrInspectionPrintData print_data;
  mtrProbeWCSAxis axis;
  giPlane nominal, actual;
  std::optional<double> tolerance;
};
struct Corner {
  mtrInspectionPrintData print_data;
  giPoint2 nominal, actual;
  std::optional<double> true_position_tolerance;
};
struct Angle {
  mtrInspectionPrintData print_data;
  kptParsedAngle angle;
};
using Event = std::variant<NominalPoint, MeasuredPoint, Start, End, Workplane, Toolpath, CycleDepth,
                           ResultsFile, Circle, Rectangle, XWallChannel, YWallChannel, Surface,
                           Corner, Angle>;

// Fires one recorded event at the receiver.
struct Replay {
  kptResultsFileParserCallback& r;
  void operator()(const NominalPoint& e) const {
    r.on_nominal_point(e.point, e.direction, e.o, e.u, e.l);
  }
  void operator()(const MeasuredPoint& e) const { r.on_measured_point(e.point, e.r); }
  void operator()(const Start&) const { r.on_start(); }
  void operator()(const End&) const { r.on_end(); }
  void operator()(const Workplane& e) const {
    if (e.cad) {
      r.on_cad_workplane(e.workplane);
    } else {
      r.on_workplane(e.workplane);
    }
  }
  void operator()(const Toolpath& e) const { r.on_toolpath_instance(e.id, e.instance); }
  void operator()(const CycleDepth& e) const { r.on_cycle_depth(e.depth); }
  void operator()(const ResultsFile& e) const { r.on_results_file(e.name); }
  void operator()(const Circle& e) const {
    r.on_circle_measurement(e.print_data, e.nominal, e.actual, e.diameter_tolerance,
                            e.true_position_tolerance);
  }
  void operator()(const Rectangle& e) const {
    r.on_rectangle_measurement(e.print_data, e.x_width, e.y_width, e.x_position, e.y_position);
  }
  void operator()(const XWallChannel& e) const {
    r.on_x_wall_channel_measurement(e.print_data, e.width, e.x_position, e.y_nominal);
  }
  void operator()(const YWallChannel& e) const {
    r.on_y_wall_channel_measurement(e.print_data, e.width, e.x_nominal, e.y_position);
  }
  void operator()(const Surface& e) const {
    r.on_surface_measurement(e.print_data, e.axis, e.nominal, e.actual, e.tolerance);
  }
  void operator()(const Corner& e) const {
    r.on_corner_measurement(e.print_data, e.nominal, e.actual, e.true_position_tolerance);
  }
  void operator()(const Angle& e) const { r.on_angle_measurement(e.print_data, e.angle); }
};

// A receiver that writes every event down, for a chunk recognised away from the real receiver.
class Recorder final : public kptResultsFileParserCallback {
 public:
  std::vector<Event>* events = nullptr;

 private:
  void on_start() override { events->emplace_back(Start{}); }
  void on_end() override { events->emplace_back(End{}); }
  void on_workplane(const giWorkplane3& w) override { events->emplace_back(Workplane{w, false}); }
  void on_cad_workplane(const giWorkplane3& w) override {
    events->emplace_back(Workplane{w, true});
  }
  void on_nominal_point(const giPoint3& point, const giVector3& direction, double o, double u,
                        double l) override {
    events->emplace_back(NominalPoint{point, direction, o, u, l});
  }
  void on_measured_point(const giPoint3& point, double r) override {
    events->emplace_back(MeasuredPoint{point, r});
  }
  void on_toolpath_instance(unsigned int id, std::optional<unsigned int> instance) override {
    events->emplace_back(Toolpath{id, instance});
  }
  void on_cycle_depth(double depth) override { events->emplace_back(CycleDepth{depth}); }
  void on_results_file(const utString& name) override { events->emplace_back(ResultsFile{name}); }
  void on_circle_measurement(const mtrInspectionPrintData& print_data, const giCircle2& nominal,
                             const giCircle2& actual, const std::optional<double>& diameter,
                             const std::optional<double>& position) override {
    events->emplace_back(Circle{print_data, nominal, actual, diameter, position});
  }
  void on_rectangle_measurement(const mtrInspectionPrintData& print_data,
                                const kptParsedDimension& x_width,
                                const kptParsedDimension& y_width,
                                const kptParsedPosition& x_position,
                                const kptParsedPosition& y_position) override {
    events->emplace_back(Rectangle{print_data, x_width, y_width, x_position, y_position});
  }
  void on_x_wall_channel_measurement(const mtrInspectionPrintData& print_data,
                                     const kptParsedDimension& width,
                                     const kptParsedPosition& x_position,
                                     double y_nominal) override {
    events->emplace_back(XWallChannel{print_data, width, x_position, y_nominal});
  }
  void on_y_wall_channel_measurement(const mtrInspectionPrintData& print_data,
                                     const kptParsedDimension& width, double x_nominal,
                                     const kptParsedPosition& y_position) override {
    events->emplace_back(YWallChannel{print_data, width, x_nominal, y_position});
  }
  void on_surface_measurement(const mtrInspectionPrintData& print_data, mtrProbeWCSAxis axis,
                              const giPlane& nominal, const giPlane& actual,
                              const std::optional<double>& tolerance) override {
    events->emplace_back(Surface{print_data, axis, nominal, actual, tolerance});
  }
  void on_corner_measurement(const mtrInspectionPrintData& print_data, const giPoint2& nominal,
                             const giPoint2& actual,
                             const std::optional<double>& position) override {
    events->emplace_back(Corner{print_data, nominal, actual, position});
  }
  void on_angle_measurement(const mtrInspectionPrintData& print_data,
                            const kptParsedAngle& angle) override {
    events->emplace_back(Angle{print_data, angle});
  }
};

// A recognised line: where it began, the last line it took (a report takes several), and its
// events among the chunk's.
struct Step {
  std::size_t first_line;
  std::size_t last_line;
  std::size_t first_event;
  std::size_t event_count;
};

// What one chunk's own parse gave.
struct ChunkParse {
  std::size_t begin = 0;  // the first line the parse stood on
  std::size_t end = 0;    // the chunk's lines end here
  std::size_t stop = 0;   // the first line at or past `end` the parse would stand on next
  std::vector<Step> steps;
  std::vector<Event> events;

  // Whether the parse stood on `line`: every line from `begin` up to `stop` but those a report
  // took after its first.
  bool stood_on(std::size_t line) const {
    if (line < begin || line >= stop) return false;
    const auto after = std::upper_bound(
        steps.begin(), steps.end(), line,
        [](std::size_t value, const Step& step) { return value < step.first_line; });
    if (after == steps.begin()) return true;
    const Step& step = *(after - 1);
    return line == step.first_line || line > step.last_line;
  }
};

// The last line of a step that recognised nothing.
constexpr std::size_t kNoLine = static_cast<std::size_t>(-1);

// One parse step at `line`: the line after the last one the step took, or `count` when the
// reading ends. `last_line` is the last line a recognised record or report took, kNoLine when the
// line was not recognised.
std::size_t parse_at(const kptResultsFileParser& parser, kptResultsFileCursor& cursor,
                     std::size_t line, std::size_t count, std::size_t& last_line) {
  last_line = kNoLine;
  if (!cursor.step_to(line + 1)) return count;
  if (!parser.parse_next_object(cursor)) return line + 1;
  // A cursor left on no line ends the reading, as it does in one pass.
  if (cursor.undefined()) return count;
  last_line = cursor.line_number() - 1;
  return last_line + 1;
}

// Recognises a chunk from its first line with `parser`, whose receiver is `recorder`.
void parse_chunk(const kptResultsFileParser& parser, Recorder& recorder,
                 kptResultsFileCursor cursor, ChunkParse& chunk) {
  const std::size_t count = cursor.line_count();
  chunk.steps.clear();
  chunk.events.clear();
  // A line fires at most one event, and most lines of a large file are point records that do.
  chunk.steps.reserve(chunk.end - chunk.begin);
  chunk.events.reserve(chunk.end - chunk.begin);
  recorder.events = &chunk.events;
  std::size_t line = chunk.begin;
  std::size_t last_line = kNoLine;
  while (line < chunk.end) {
    const std::size_t first_event = chunk.events.size();
    const std::size_t next = parse_at(parser, cursor, line, count, last_line);
    if (last_line != kNoLine) {
      chunk.steps.push_back({line, last_line, first_event, chunk.events.size() - first_event});
    }
    line = next;
  }
  chunk.stop = line;
}

// The state the threads of one recognition share, guarded by `mutex`.
struct Pipeline {
  const kptResultsFileCursor* lines = nullptr;
  kptUnits units;
  std::vector<ChunkParse> chunks;
  std::size_t window = 0;
  std::mutex mutex;
  std::condition_variable chunk_ready;
  std::condition_variable room_ahead;
  std::vector<char> done;
  std::size_t next = 0;      // the next chunk no thread has taken
  std::size_t replayed = 0;  // chunks the caller has finished with
  bool stop = false;
  std::exception_ptr failure;

  bool may_take() const { return next < chunks.size() && next < replayed + window; }

  // Parses chunk `index` with the thread's parser; false when the recognition must stop.
  bool parse(const kptResultsFileParser& parser, Recorder& recorder, std::size_t index,
             std::unique_lock<std::mutex>& lock) {
    lock.unlock();
    std::exception_ptr caught;
    try {
      parse_chunk(parser, recorder, *lines, chunks[index]);
    } catch (...) {
      caught = std::current_exception();
    }
    lock.lock();
    if (caught) {
      if (!failure) failure = caught;
      stop = true;
      chunk_ready.notify_all();
      room_ahead.notify_all();
      return false;
    }
    done[index] = 1;
    if (index == replayed) chunk_ready.notify_one();
    return true;
  }

  void work() {
    Recorder recorder;
    const kptResultsFileParser parser(units,
                                      utObserverPtr<kptResultsFileParserCallback>(
                                          static_cast<kptResultsFileParserCallback*>(&recorder)));
    std::unique_lock<std::mutex> lock(mutex);
    for (;;) {
      room_ahead.wait(lock, [this] { return stop || next >= chunks.size() || may_take(); });
      if (stop || next >= chunks.size()) return;
      if (!parse(parser, recorder, next++, lock)) return;
    }
  }
};

struct JoinOnExit {
  Pipeline& pipeline;
  std::vector<std::thread>& threads;
  ~JoinOnExit() {
    {
      const std::lock_guard<std::mutex> lock(pipeline.mutex);
      pipeline.stop = true;
    }
    pipeline.room_ahead.notify_all();
    for (std::thread& thread : threads) thread.join();
  }
};

// How many chunks past the oldest one not yet replayed may be parsed, per thread: enough to keep
// every thread busy, few enough that the events held stay small beside the file.
constexpr std::size_t kChunksAheadPerThread = 3;

}  // namespace

std::vector<std::size_t> kptChunkedRecognition::even_chunks(std::size_t line_count,
                                                            std::size_t chunk_lines) {
  std::vector<std::size_t> starts;
  const std::size_t step = std::max<std::size_t>(chunk_lines, 1);
  for (std::size_t start = 0; start < line_count || start == 0; start += step) {
    starts.push_back(start);
  }
  return starts;
}

void kptChunkedRecognition::run(const kptResultsFileCursor& lines, const kptUnits& units,
                                kptResultsFileParserCallback& receiver,
                                std::span<const std::size_t> chunk_starts, unsigned int threads,
                                const std::function<void(std::size_t)>& passed) {
  const std::size_t count = lines.line_count();
  if (count == 0 || chunk_starts.empty()) return;

  Pipeline pipeline;
  pipeline.lines = &lines;
  pipeline.units = units;
  for (std::size_t k = 0; k < chunk_starts.size(); ++k) {
    ChunkParse chunk;
    chunk.begin = k == 0 ? 0 : std::min(chunk_starts[k], count);
    chunk.end = k + 1 < chunk_starts.size() ? std::min(chunk_starts[k + 1], count) : count;
    if (chunk.end > chunk.begin) pipeline.chunks.push_back(std::move(chunk));
  }
  pipeline.done.assign(pipeline.chunks.size(), 0);
  threads = std::max(
      1u, std::min<unsigned int>(threads, static_cast<unsigned int>(pipeline.chunks.size())));
  pipeline.window = kChunksAheadPerThread * threads;

  // The caller's thread parses chunks too, into its own recorder, and replays every chunk; the
  // lines between a boundary and the place where the chunk's parse agrees are recognised by a
  // parser whose events go straight to the receiver.
  Recorder recorder;
  const kptResultsFileParser recording_parser(
      units, utObserverPtr<kptResultsFileParserCallback>(
                 static_cast<kptResultsFileParserCallback*>(&recorder)));
  const kptResultsFileParser direct_parser(units,
                                           utObserverPtr<kptResultsFileParserCallback>(&receiver));
  kptResultsFileCursor cursor = lines;

  std::vector<std::thread> workers;
  const JoinOnExit join{pipeline, workers};
  for (unsigned int t = 1; t < threads; ++t) {
    try {
      workers.emplace_back([&pipeline] { pipeline.work(); });
    } catch (const std::system_error&) {
      break;
    }
  }

  std::size_t line = 0;  // where the one pass stands
  std::size_t last_line = kNoLine;
  std::unique_lock<std::mutex> lock(pipeline.mutex);
  while (pipeline.replayed < pipeline.chunks.size()) {
    if (pipeline.failure) break;
    const std::size_t index = pipeline.replayed;
    if (!pipeline.done[index]) {
      if (pipeline.may_take()) {
        if (!pipeline.parse(recording_parser, recorder, pipeline.next++, lock)) break;
      } else {
        pipeline.chunk_ready.wait(lock, [&pipeline, index] {
          return pipeline.failure || pipeline.done[index] || pipeline.may_take();
        });
      }
      continue;
    }
    lock.unlock();
    ChunkParse& chunk = pipeline.chunks[index];
    // Back in step with the chunk's parse: the lines where they disagree, one by one.
    while (line < chunk.end && !chunk.stood_on(line)) {
      line = parse_at(direct_parser, cursor, line, count, last_line);
    }
    if (line < chunk.end) {
      const auto from = std::lower_bound(
          chunk.steps.begin(), chunk.steps.end(), line,
          [](const Step& step, std::size_t value) { return step.first_line < value; });
      for (auto step = from; step != chunk.steps.end(); ++step) {
        for (std::size_t e = 0; e < step->event_count; ++e) {
          std::visit(Replay{receiver}, chunk.events[step->first_event + e]);
        }
      }
      line = chunk.stop;
    }
    // The chunk's events are no longer needed.
    std::vector<Step>().swap(chunk.steps);
    std::vector<Event>().swap(chunk.events);
    // No thread reads below the next chunk's first line any more: the lines before it may go.
    if (passed) passed(std::min(line, chunk.end));
    lock.lock();
    ++pipeline.replayed;
    pipeline.room_ahead.notify_all();
  }
  const std::exception_ptr failure = pipeline.failure;
  lock.unlock();
  if (failure) std::rethrow_exception(failure);
}
