// The C interface to a results file's header references.
#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "cncprobe/capi/internal/c_boundary.h"
#include "cncprobe/cncprobe_c.h"
#include "cncprobe/filereferences/file_reference_extractor.h"
#include "cncprobe/filereferences/results_file_version.h"
#include "cncprobe/foundation/input_file.h"
#include "cncprobe/platform/text/path.h"

using namespace capi_internal;

static_assert(sizeof(cncprobe_results_file_version) == 16);

namespace {

// The references in the order the tool's JSON prints them, each with the getter of its value.
struct ReferenceKind {
  const char* name;
  const utString& (kptFileReferenceExtractor::*value)() const noexcept;
};

constexpr std::array<ReferenceKind, 7> kReferenceKinds{{
    {"results_file_version", &kptFileReferenceExtractor::results_file_version_text},
    {"settings_filename", &kptFileReferenceExtractor::settings_filename},
    {"cad_filename", &kptFileReferenceExtractor::cad_filename},
    {"cldata_filename", &kptFileReferenceExtractor::cldata_filename},
    {"document_id", &kptFileReferenceExtractor::document_id},
    {"document_version", &kptFileReferenceExtractor::document_version},
    {"model_version", &kptFileReferenceExtractor::model_version},
}};

}  // namespace

// The references of one file, and which of them it gave (the host counts only those).
struct cncprobe_references {
  kptFileReferenceExtractor refs;
  int status = 0;
  std::size_t found_count = 0;
  std::array<const ReferenceKind*, kReferenceKinds.size()> found{};

  const utString& value(std::size_t index) const { return (refs.*(found[index]->value))(); }
};

namespace {

// Reads the references with `extract`; an input that could not be read gives its error.
template <class Extract>
cncprobe_error make_references(cncprobe_references** out, Extract&& extract) noexcept {
  return hand_out(out, [&](std::unique_ptr<cncprobe_references>& handle) -> cncprobe_error {
    handle = std::make_unique<cncprobe_references>();
    const apStatus status = extract(handle->refs);
    if (!status.ok()) {
      const cncprobe_error error = input_error(handle->refs.input_problem());
      return error == CNCPROBE_OK ? CNCPROBE_ERROR_READ_ERROR : error;
    }
    handle->status = status.value();
    for (const ReferenceKind& kind : kReferenceKinds) {
      if ((handle->refs.*kind.value)().valid()) handle->found[handle->found_count++] = &kind;
    }
    return CNCPROBE_OK;
  });
}

}  // namespace

extern "C" {

cncprobe_error cncprobe_references_read(const char* path, cncprobe_references** references) {
  if (path == nullptr) return refuse(references);
  return make_references(references, [&](kptFileReferenceExtractor& refs) {
    return refs.extract(apPath(std::string(path)));
  });
}

cncprobe_error cncprobe_references_read_memory(const void* bytes, size_t size,
                                               cncprobe_references** references) {
  if (bytes == nullptr && size > 0) return refuse(references);
  return make_references(references, [&](kptFileReferenceExtractor& refs) {
    return refs.extract(memory_input(bytes, size));
  });
}

void cncprobe_references_free(cncprobe_references** references) { free_handle(references); }

cncprobe_error cncprobe_references_status(const cncprobe_references* references, int32_t* status) {
  return get(references, status, [](const cncprobe_references& r, int32_t& out) {
    out = r.status;
    return CNCPROBE_OK;
  });
}

cncprobe_error cncprobe_references_count(const cncprobe_references* references, size_t* count) {
  return get(references, count, [](const cncprobe_references& r, size_t& out) {
    out = r.found_count;
    return CNCPROBE_OK;
  });
}

cncprobe_error cncprobe_references_name(const cncprobe_references* references, size_t index,
                                        const char** name) {
  return get(references, name, [&](const cncprobe_references& r, const char*& out) {
    if (index >= r.found_count) return CNCPROBE_ERROR_INDEX_OUT_OF_RANGE;
    out = r.found[index]->name;
    return CNCPROBE_OK;
  });
}

cncprobe_error cncprobe_references_value(const cncprobe_references* references, size_t index,
                                         char* buffer, size_t capacity, size_t* needed) {
  return get_text(references, buffer, capacity, needed,
                  [&](const cncprobe_references& r, std::string_view& text) {
                    if (index >= r.found_count) return CNCPROBE_ERROR_INDEX_OUT_OF_RANGE;
                    text = r.value(index).view();
                    return CNCPROBE_OK;
                  });
}

cncprobe_error cncprobe_references_version(const cncprobe_references* references,
                                           cncprobe_results_file_version* version) {
  return get(references, version,
             [](const cncprobe_references& r, cncprobe_results_file_version& out) {
               const kptResultsFileVersion v = r.refs.results_file_version();
               out.major = v.major_number();
               out.minor = v.minor_number();
               out.build = v.build_number();
               out.unversioned = v.unversioned() ? 1 : 0;
               return CNCPROBE_OK;
             });
}

}  // extern "C"
