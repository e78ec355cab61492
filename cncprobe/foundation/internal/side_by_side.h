// Parts of one piece of work run side by side: a large file read, or cut into its lines, in parts.
// Internal to the library and not installed.
#pragma once

#include <array>
#include <cstddef>
#include <thread>

// Runs work(k) for every k below `parts` (at most kMostParts): part 0 on the caller's thread, each
// other on a thread of its own. A part whose thread cannot be had is run by the caller after
// part 0. Returns when every part has run. `work` must not throw.
template <std::size_t kMostParts, class Work>
void run_side_by_side(std::size_t parts, const Work& work) noexcept {
  std::array<std::thread, kMostParts> threads;
  for (std::size_t k = 1; k < parts; ++k) {
    try {
      threads[k] = std::thread(work, k);
    } catch (...) {
      break;  // no thread to be had: the caller runs the part itself
    }
  }
  if (parts > 0) work(std::size_t{0});
  for (std::size_t k = 1; k < parts; ++k) {
    if (threads[k].joinable()) {
      threads[k].join();
    } else {
      work(k);
    }
  }
}
