// Work on many files spread over threads, delivered in file order.
//
// `cncprobe extract` of many files makes each file's output on any thread but must print the
// outputs in the order the files were named, exactly as one thread would:
//
//   run_in_order(files.size(), threads,
//                [&](std::size_t worker, std::size_t i, std::string& text) { ...render file i... },
//                [&](std::size_t i, std::string& text) { out.write(text); });
#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace tool {

// Makes the text of item `index` on the thread numbered `worker` (0 .. threads - 1); each worker
// runs one item at a time, so state kept per worker needs no lock.
using MakeItem = std::function<void(std::size_t worker, std::size_t index, std::string& text)>;
// Takes the text of item `index`, on the calling thread, in index order.
using TakeItem = std::function<void(std::size_t index, std::string& text)>;

// Makes items 0 .. count - 1 on `threads` threads (the calling thread alone when it is 1) and
// hands each to `take` in order as soon as it and every item before it are made. At most a few
// items per thread are made ahead of the one awaited, so memory stays bounded whatever the count.
// An exception thrown by `make` or `take` stops the work and is thrown again here, after every
// thread has ended; the items after it are neither made nor taken.
void run_in_order(std::size_t count, std::size_t threads, const MakeItem& make,
                  const TakeItem& take);

// The number of threads when none is asked for: the machine's cores, at least one.
std::size_t default_thread_count();

}  // namespace tool
