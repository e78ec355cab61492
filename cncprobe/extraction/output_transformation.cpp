// kptOutputTransformation: the output and CAD workplanes composed into one frame change.
#include "cncprobe/extraction/output_transformation.h"

kptOutputTransformation::kptOutputTransformation()
    : output_workplane_(giWorkplaneWorld),
      cad_workplane_(giWorkplaneWorld),
      combined_workplane_(giWorkplaneWorld) {}

kptOutputTransformation::~kptOutputTransformation() = default;

void kptOutputTransformation::set_output_workplane(const giWorkplane3& workplane) {
  output_workplane_ = workplane;
  update_combined_workplane();
}

void kptOutputTransformation::set_cad_workplane(const giWorkplane3& workplane) {
  cad_workplane_ = workplane;
  update_combined_workplane();
}

void kptOutputTransformation::reset() {
  cad_workplane_ = giWorkplane3(giWorkplaneWorld);
  output_workplane_ = giWorkplane3(giWorkplaneWorld);
  update_combined_workplane();
}

giPoint3 kptOutputTransformation::local_to_cad(const giPoint3& point) const noexcept {
  return combined_workplane_.to_work(point);
}

giVector3 kptOutputTransformation::local_to_cad(const giVector3& vector) const noexcept {
  return combined_workplane_.to_work(vector);
}

void kptOutputTransformation::update_combined_workplane() {
  // The combined frame map is F_out⁻¹ ∘ F_cad⁻¹, so its to_work (the inverse) first takes an
  // output point into machine coordinates and then the machine point into CAD coordinates.
  const giXform3 to_output = output_workplane_.get_transform_to_work();
  const giXform3 to_cad_frame = cad_workplane_.get_transform_to_work();
  combined_workplane_.become(giWorkplaneWorld);
  combined_workplane_.transform(to_cad_frame);
  combined_workplane_.transform(to_output);
}
