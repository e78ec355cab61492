// mtrToolpathResult: the base of every result of one toolpath instance (probe path or feature).
//
// Results are handed out as std::shared_ptr<mtrToolpathResult>; a host finds the concrete class
// with kind() or dynamic_cast:
//
//   if (auto circle = std::dynamic_pointer_cast<mtrCircleFeature>(result)) ...
#pragma once

#include <optional>

#include "cncprobe/export.h"

// The concrete class of a result.
enum mtrResultKind : int {
  mtrResultProbePath = 0,
  mtrResultCircle = 1,
  mtrResultRectangle = 2,
  mtrResultCorner = 3,
  mtrResultSurface = 4,
  mtrResultAngleSurface = 5,
  mtrResultPerpendicularDistance = 6,
};

class CNCPROBE_API mtrToolpathResult {
 public:
  virtual ~mtrToolpathResult() = default;
  // Results are shared, never copied: a copy would lose its concrete class.
  mtrToolpathResult(const mtrToolpathResult&) = delete;
  mtrToolpathResult& operator=(const mtrToolpathResult&) = delete;

  // Which concrete class this result is.
  virtual mtrResultKind kind() const noexcept = 0;

  // The toolpath id given at construction.
  unsigned int id() const noexcept { return id_; }
  // The pattern instance last set; empty until set_pattern_instance is called.
  const std::optional<unsigned int>& pattern_instance() const noexcept { return pattern_instance_; }
  // Stores a copy, present or empty (an instance 0 stays present).
  void set_pattern_instance(const std::optional<unsigned int>& instance) noexcept {
    pattern_instance_ = instance;
  }

 protected:
  // A result of toolpath `id`, without a pattern instance.
  explicit mtrToolpathResult(unsigned int id) noexcept : id_(id) {}

 private:
  unsigned int id_;
  std::optional<unsigned int> pattern_instance_;
};
