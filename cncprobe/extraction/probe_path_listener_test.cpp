// A listener hears of every probe path once, in order, when nothing can change it any more; a
// second START takes back what it heard.
#include "cncprobe/extraction/probe_path_listener.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "cncprobe/extraction/results_data_extractor.h"
#include "cncprobe/platform/model/inspection_point.h"

namespace {

// What a path looked like when it was handed over.
struct Heard {
  std::shared_ptr<const mtrProbePath> path;
  unsigned int points = 0;
  bool last_measured = false;
};

class Recorder : public kptProbePathListener {
 public:
  void on_path_completed(const std::shared_ptr<const mtrProbePath>& path) override {
    const unsigned int points = path->inspection_points_count();
    kept.push_back({path, points, points > 0 && path->last_point_measured()});
  }
  void on_results_discarded() override {
    ++discards;
    kept.clear();
  }
  std::vector<Heard> kept;  // what was heard since the last discard
  int discards = 0;
};

// The paths heard are the extractor's paths, in its order, and none changed after it was heard.
void expect_heard_the_results(const Recorder& recorder, const kptResultsDataExtractor& extractor) {
  ASSERT_EQ(recorder.kept.size(), extractor.measured_paths_count());
  itIterator<std::shared_ptr<mtrProbePath>> paths = extractor.measured_paths();
  for (const Heard& heard : recorder.kept) {
    ASSERT_TRUE(++paths);
    EXPECT_EQ(heard.path.get(), paths().get());
    EXPECT_EQ(heard.points, paths()->inspection_points_count());
    EXPECT_EQ(heard.last_measured, heard.points > 0 && paths()->last_point_measured());
  }
}

std::string nominal(int n) {
  return "G800 N" + std::to_string(n) + " X" + std::to_string(n) + " Y2 Z3 I0 J0 K1 O0 U0.1 L-0.1";
}
std::string measured(int n) {
  return "G801 N" + std::to_string(n) + " X" + std::to_string(n) + ".001 Y2 Z3 R2.5";
}

kptInputFile file_of(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += line + "\n";
  return kptInputFile::from_text(text);
}

}  // namespace

TEST(ProbePathListener, HearsEachPathOnceWhenItIsComplete) {
  const std::string circle[] = {
      "COMPONENT NO 1 FEATURE NO 4", "SIZE D 8.000 ACTUAL 8.010 DEV 0.010",
      "POSN X 1.000 ACTUAL 1.000 DEV 0.000", "POSN Y 2.000 ACTUAL 2.000 DEV 0.000"};
  struct Case {
    const char* name;
    std::vector<std::string> lines;
    int discards;
  };
  const Case cases[] = {
      {"no paths", {"START", "END"}, 0},
      {"one path of two points",
       {"START", "TOOLPATHID 4", nominal(1), measured(1), nominal(2), measured(2), "END"},
       0},
      // The path stays the newest path behind a report of another toolpath: it is heard at the
      // end of the file, not at the report.
      {"a report after a path",
       {"START", "TOOLPATHID 4", nominal(1), measured(1), "TOOLPATHID 5", circle[0], circle[1],
        circle[2], circle[3], "END"},
       0},
      {"pattern instances open paths of their own",
       {"START", "TOOLPATHID 4.0001", nominal(1), measured(1), "TOOLPATHID 4.0002", nominal(2),
        measured(2), "TOOLPATHID 6", nominal(3), "END"},
       0},
      // A nominal point left unmeasured and a measured point that completes nothing.
      {"gaps",
       {"START", "TOOLPATHID 4", nominal(1), nominal(2), measured(2), measured(3), "END"},
       0},
      {"a run without its END", {"START", "TOOLPATHID 4", nominal(1), measured(1)}, 0},
      {"a second START takes the first run's paths back",
       {"START", "TOOLPATHID 4", nominal(1), measured(1), "TOOLPATHID 5", nominal(2), "START",
        "TOOLPATHID 6", nominal(3), measured(3), "END"},
       1},
      {"a second START on nothing",
       {"START", "END", "START", "TOOLPATHID 6", nominal(3), "END"},
       1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    kptResultsDataExtractor extractor;
    Recorder recorder;
    extractor.set_path_listener(&recorder);
    (void)extractor.extract_data(file_of(c.lines));
    EXPECT_EQ(recorder.discards, c.discards);
    expect_heard_the_results(recorder, extractor);
  }
}

TEST(ProbePathListener, EachExtractionIsHeardAndTheListenerCanBeRemoved) {
  kptResultsDataExtractor extractor;
  Recorder recorder;
  extractor.set_path_listener(&recorder);
  const std::string text = "START\nTOOLPATHID 4\n" + nominal(1) + "\n" + measured(1) +
                           "\nTOOLPATHID 5\n" + nominal(2) + "\n" + measured(2) + "\nEND\n";
  (void)extractor.extract_data(kptInputFile::from_text(text));
  (void)extractor.extract_data(kptInputFile::from_text(text));
  EXPECT_EQ(recorder.kept.size(), 4u);  // twice the two paths, no discard between extractions
  extractor.set_path_listener(nullptr);
  (void)extractor.extract_data(kptInputFile::from_text(text));
  EXPECT_EQ(recorder.kept.size(), 4u);
}

// A large file read on several threads: the events are still replayed on the extracting thread,
// in order, and another thread may read every path it is handed while the extraction goes on
// (the thread sanitizer watches this test).
TEST(ProbePathListener, PathsCanBeReadOnAnotherThreadDuringALargeExtraction) {
  std::string text = "START\n";
  int n = 0;
  for (int toolpath = 1; toolpath <= 3000; ++toolpath) {
    text += "TOOLPATHID " + std::to_string(toolpath) + "\n";
    for (int point = 0; point < 4; ++point, ++n) text += nominal(n) + "\n" + measured(n) + "\n";
    // Halfway, the machine starts the run again.
    if (toolpath == 1500) text += "START\n";
  }
  text += "END\n";

  // Hands the paths to a thread that reads their labels and points as they come.
  class Reader : public kptProbePathListener {
   public:
    Reader()
        : thread_([this] {
            for (;;) {
              std::unique_lock<std::mutex> lock(mutex_);
              changed_.wait(lock, [this] { return !queue_.empty() || done_; });
              if (queue_.empty()) return;
              const std::shared_ptr<const mtrProbePath> path = queue_.front();
              queue_.pop_front();
              lock.unlock();
              std::string read;
              for (unsigned int i = 0; i < path->inspection_points_count(); ++i) {
                const mtrInspectionPoint& point = path->inspection_point_ref(i);
                read += std::string(point.label().view()) + " " +
                        std::to_string(point.measured_point().x()) + "\n";
              }
              lock.lock();
              labels_.push_back(std::move(read));
            }
          }) {}
    void on_path_completed(const std::shared_ptr<const mtrProbePath>& path) override {
      const std::lock_guard<std::mutex> lock(mutex_);
      queue_.push_back(path);
      ++heard_;
      changed_.notify_one();
    }
    void on_results_discarded() override {
      const std::lock_guard<std::mutex> lock(mutex_);
      discarded_at_.push_back(heard_);
    }
    // Waits for the thread; the text read of every path, and where the discards fell.
    std::vector<std::string> finish(std::vector<std::size_t>& discarded_at) {
      {
        const std::lock_guard<std::mutex> lock(mutex_);
        done_ = true;
        changed_.notify_one();
      }
      thread_.join();
      discarded_at = discarded_at_;
      return labels_;
    }

   private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::shared_ptr<const mtrProbePath>> queue_;
    std::vector<std::string> labels_;
    std::vector<std::size_t> discarded_at_;
    std::size_t heard_ = 0;
    bool done_ = false;
    std::thread thread_;
  };

  for (const unsigned int threads : {1u, 2u, 3u}) {
    SCOPED_TRACE(threads);
    kptResultsDataExtractor extractor;
    extractor.set_threads(threads);
    Reader reader;
    extractor.set_path_listener(&reader);
    ASSERT_EQ(extractor.extract_data(kptInputFile::from_text(text)), kptExtractionMultipleStarts);
    std::vector<std::size_t> discarded_at;
    const std::vector<std::string> read = reader.finish(discarded_at);
    // The START came while the 1,500th path was still open: it was never heard.
    ASSERT_EQ(discarded_at, std::vector<std::size_t>{1499});
    ASSERT_EQ(read.size(), 1499u + extractor.measured_paths_count());
    itIterator<std::shared_ptr<mtrProbePath>> paths = extractor.measured_paths();
    for (std::size_t i = 1499; i < read.size(); ++i) {
      ASSERT_TRUE(++paths);
      std::string expected;
      for (unsigned int p = 0; p < paths()->inspection_points_count(); ++p) {
        const mtrInspectionPoint& point = paths()->inspection_point_ref(p);
        expected += std::string(point.label().view()) + " " +
                    std::to_string(point.measured_point().x()) + "\n";
      }
      EXPECT_EQ(read[i], expected);
    }
  }
}
