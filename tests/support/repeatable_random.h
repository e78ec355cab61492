// RepeatableRandom: pseudo-random 64-bit words, the same ones from the same seed on every run and
// every system (xorshift), for tests that try many generated inputs: a failure shows up again.
//
//   RepeatableRandom next(0x9E3779B97F4A7C15ULL);
//   const std::uint64_t bits = next();
#pragma once

#include <cstdint>

class RepeatableRandom {
 public:
  explicit RepeatableRandom(std::uint64_t seed) noexcept : state_(seed) {}

  std::uint64_t operator()() noexcept {
    state_ ^= state_ << 13;
    state_ ^= state_ >> 7;
    state_ ^= state_ << 17;
    return state_;
  }

 private:
  std::uint64_t state_;
};
