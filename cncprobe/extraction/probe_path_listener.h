// kptProbePathListener: told of each probe path of an extraction as soon as no later record can
// change it, so a host stores or shows the paths of a large file while the rest is still read.
//
// Only the newest probe path of a run ever grows: a point record continues it or opens a new one.
// So a path is complete when the next one opens, and the last one when the file ends. A second
// START discards everything gathered, the paths already handed over included.
//
//   class Rows : public kptProbePathListener {
//     void on_path_completed(const std::shared_ptr<const mtrProbePath>& path) override {
//       queue.push(path);  // stored on another thread while the extraction goes on
//     }
//     void on_results_discarded() override { queue.clear(); }
//   };
//   Rows rows;
//   extractor.set_path_listener(&rows);
//   (void)extractor.extract_data(utString("run.res"));
#pragma once

#include <memory>

#include "cncprobe/export.h"
#include "cncprobe/platform/model/probe_path.h"

class CNCPROBE_API kptProbePathListener {
 public:
  virtual ~kptProbePathListener();

  // `path` is complete: the extraction never changes it again. Paths arrive in the order of the
  // extractor's measured_paths(), on the thread that extracts; the listener may keep `path` and
  // read it on any thread, while the extraction goes on.
  virtual void on_path_completed(const std::shared_ptr<const mtrProbePath>& path) = 0;
  // A second START discarded every result gathered so far: the paths handed over since the
  // extraction began, or since the last discard, are not among its results.
  virtual void on_results_discarded() = 0;
};
