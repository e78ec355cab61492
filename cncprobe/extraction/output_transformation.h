// kptOutputTransformation: takes points and directions from output-workplane into CAD coordinates.
//
// A results file writes its points in the current output workplane (G330), which sits in machine
// coordinates; the CAD workplane (G331) places the machine coordinates in the part's CAD model.
// The two frames are composed once, whenever one of them changes, so that mapping a point costs
// one frame change however many points follow:
//
//   kptOutputTransformation t;
//   t.set_output_workplane(output);      // from G330
//   t.set_cad_workplane(cad);            // from G331
//   giPoint3 p = t.local_to_cad(giPoint3(1, 2, 3));   // F_cad(F_out(p))
#pragma once

#include "cncprobe/export.h"
#include "cncprobe/platform/geometry/point3.h"
#include "cncprobe/platform/geometry/vector3.h"
#include "cncprobe/platform/geometry/workplane3.h"

class CNCPROBE_API kptOutputTransformation {
 public:
  // Both workplanes at world: every point and vector maps to itself.
  kptOutputTransformation();
  ~kptOutputTransformation();

  // Replaces the output workplane (the frame the file's points are written in, in machine
  // coordinates) and recomposes the mapping. Any workplane is accepted as given.
  void set_output_workplane(const giWorkplane3& workplane);
  // Replaces the CAD workplane (the machine frame in CAD coordinates) and recomposes the mapping.
  void set_cad_workplane(const giWorkplane3& workplane);
  // Both workplanes back to world: the mapping becomes the identity again.
  void reset();

  // The point p of the output workplane in CAD coordinates: F_cad(F_out(p)).
  [[nodiscard]] giPoint3 local_to_cad(const giPoint3& point) const noexcept;
  // The vector v of the output workplane in CAD coordinates; only the rotations act on it.
  [[nodiscard]] giVector3 local_to_cad(const giVector3& vector) const noexcept;

  // The workplanes as last set (world when none was set since construction or reset()).
  const giWorkplane3& output_workplane() const noexcept { return output_workplane_; }
  // The CAD workplane as last set; world when none was set.
  const giWorkplane3& cad_workplane() const noexcept { return cad_workplane_; }

 private:
  void update_combined_workplane();

  giWorkplane3 output_workplane_;
  giWorkplane3 cad_workplane_;
  // The frame whose to_work is F_cad ∘ F_out; derived, never set from outside.
  giWorkplane3 combined_workplane_;
};
