// axmLoadOptions: what a caller asks of an XML document factory when it loads a document.
#pragma once

#include <cstdint>

#include "cncprobe/export.h"
#include "cncprobe/platform/xml/validate_mode.h"

// The library's own factory (axmDocumentFactory::create_default) is stricter than any setting here
// allows: it never fetches anything and never expands an entity; it honours the size limit.
class CNCPROBE_API axmLoadOptions {
 public:
  // The largest document a loader reads by default: 16 MiB.
  static constexpr std::uint64_t default_max_document_size = std::uint64_t{16} << 20;

  // Options with the given validation mode, entity resolution disabled, an entity expansion limit
  // of 0 and the default size limit.
  explicit axmLoadOptions(axmValidateMode mode) noexcept : validate_mode_(mode) {}

  // Whether and how the document is validated.
  axmValidateMode validate_mode() const noexcept { return validate_mode_; }

  // When true (the default), no external entity, external document type or other resource
  // named by the document is ever fetched.
  void set_disable_entity_resolution(bool disable) noexcept {
    disable_entity_resolution_ = disable;
  }
  // True when nothing named by the document is fetched.
  bool disable_entity_resolution() const noexcept { return disable_entity_resolution_; }

  // How many entity expansions a document may cause; 0 (the default) means none, so a document
  // that declares an entity or refers to one that is not predefined is refused.
  void set_entity_expansion_limit(int limit) noexcept { entity_expansion_limit_ = limit; }
  // How many entity expansions a document may cause.
  int entity_expansion_limit() const noexcept { return entity_expansion_limit_; }

  // A file larger than this many bytes is refused without being parsed.
  void set_max_document_size(std::uint64_t bytes) noexcept { max_document_size_ = bytes; }
  // The size in bytes above which a file is refused.
  std::uint64_t max_document_size() const noexcept { return max_document_size_; }

 private:
  axmValidateMode validate_mode_;
  bool disable_entity_resolution_ = true;
  int entity_expansion_limit_ = 0;
  std::uint64_t max_document_size_ = default_max_document_size;
};
