// What every function of the C interface does at its edge: catch everything, check its
// arguments, hand handles and text out. Not installed: a host includes cncprobe/cncprobe_c.h.
#pragma once

#include <cstddef>
#include <memory>
#include <new>
#include <string>
#include <string_view>

#include "cncprobe/cncprobe_c.h"
#include "cncprobe/foundation/input_file.h"

namespace capi_internal {

// Runs `body` (returning a cncprobe_error) so that nothing it throws crosses into the host: the
// host may be C, or C++ built by another compiler, and an exception there would end it.
template <class Body>
cncprobe_error guarded(Body&& body) noexcept {
  try {
    return body();
  } catch (const std::bad_alloc&) {
    return CNCPROBE_ERROR_OUT_OF_MEMORY;
  } catch (...) {
    return CNCPROBE_ERROR_INTERNAL;
  }
}

// Makes a handle with `make(std::unique_ptr<Handle>&)` and gives it to the host only when `make`
// answers CNCPROBE_OK; *out is NULL otherwise, so a host that forgets to look at the error still
// holds no dangling pointer.
template <class Handle, class Make>
cncprobe_error hand_out(Handle** out, Make&& make) noexcept {
  if (out == nullptr) return CNCPROBE_ERROR_INVALID_ARGUMENT;
  *out = nullptr;
  return guarded([&] {
    std::unique_ptr<Handle> handle;
    const cncprobe_error error = make(handle);
    if (error == CNCPROBE_OK) *out = handle.release();
    return error;
  });
}

// Refuses a call that would make a handle: *out (when there is one) is NULL.
template <class Handle>
cncprobe_error refuse(Handle** out) noexcept {
  if (out != nullptr) *out = nullptr;
  return CNCPROBE_ERROR_INVALID_ARGUMENT;
}

// A copy of the host's bytes as an input the readers take; bytes may be NULL when size is 0.
inline kptInputFile memory_input(const void* bytes, std::size_t size) {
  return kptInputFile::from_text(size > 0 ? std::string(static_cast<const char*>(bytes), size)
                                          : std::string());
}

// Frees the host's handle and clears its variable, so a second free of it is harmless.
template <class Handle>
void free_handle(Handle** handle) noexcept {
  if (handle == nullptr) return;
  delete *handle;
  *handle = nullptr;
}

// A getter: `body(handle, out)` runs only when neither pointer is NULL.
template <class Handle, class Out, class Body>
cncprobe_error get(const Handle* handle, Out* out, Body&& body) noexcept {
  if (handle == nullptr || out == nullptr) return CNCPROBE_ERROR_INVALID_ARGUMENT;
  return guarded([&] { return body(*handle, *out); });
}

// Copies `text` into the host's buffer as UTF-8 (see the header's rule on text), cut at a
// character boundary when it does not fit.
cncprobe_error copy_text(std::string_view text, char* buffer, std::size_t capacity,
                         std::size_t* needed);

// A text getter: `body(handle, text)` sets a std::string_view (or returns an error), which is
// then copied into the buffer.
template <class Handle, class Body>
cncprobe_error get_text(const Handle* handle, char* buffer, std::size_t capacity,
                        std::size_t* needed, Body&& body) noexcept {
  if (handle == nullptr || (buffer == nullptr && capacity > 0)) {
    return CNCPROBE_ERROR_INVALID_ARGUMENT;
  }
  return guarded([&] {
    std::string_view text;
    const cncprobe_error error = body(*handle, text);
    return error == CNCPROBE_OK ? copy_text(text, buffer, capacity, needed) : error;
  });
}

// The error code of an input the library could not read; CNCPROBE_OK when it was read.
cncprobe_error input_error(kptInputProblem problem) noexcept;

// True for the two values of the units and of the true-position convention.
inline bool known_units(std::int32_t units) noexcept {
  return units == CNCPROBE_UNITS_MM || units == CNCPROBE_UNITS_INCH;
}
inline bool known_convention(std::int32_t convention) noexcept {
  return convention == CNCPROBE_TRUE_POSITION_DIAMETRAL ||
         convention == CNCPROBE_TRUE_POSITION_RADIAL;
}

}  // namespace capi_internal
