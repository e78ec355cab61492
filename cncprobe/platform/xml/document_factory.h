// axmDocumentFactory: the service that loads XML documents from files.
//
// The library registers a factory of its own under the service name "xml" when it is loaded; a
// host may register another under that name (or a more qualified one) to load documents its way.
#pragma once

#include <memory>

#include "cncprobe/export.h"
#include "cncprobe/platform/text/path.h"
#include "cncprobe/platform/xml/document.h"
#include "cncprobe/platform/xml/load_options.h"
#include "cncprobe/platform/xml/parse_error.h"
#include "cncprobe/platform/xml/service.h"

class CNCPROBE_API axmDocumentFactory : public utService {
 public:
  ~axmDocumentFactory() override = default;

  // The document in the file at `path`. On failure the result is empty and `error` says why and,
  // when known, where; on success `error` is left without error. Never throws for a bad file.
  [[nodiscard]] virtual std::shared_ptr<axmDocument> load_document(const apPath& path,
                                                                   const axmLoadOptions& options,
                                                                   axmParseError& error) const = 0;

  // A new factory of the library's own: a loader that never touches the network or any file but
  // the one it is asked to load, expands no entity and refuses documents that declare entities,
  // refer to an external document type, or exceed the options' size limit.
  [[nodiscard]] static std::shared_ptr<axmDocumentFactory> create_default();

 protected:
  axmDocumentFactory() = default;
  axmDocumentFactory(const axmDocumentFactory&) = default;
  axmDocumentFactory& operator=(const axmDocumentFactory&) = default;
};
