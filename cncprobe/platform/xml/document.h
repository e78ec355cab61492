// axmDocument: a loaded XML document.
#pragma once

#include <memory>

#include "cncprobe/export.h"
#include "cncprobe/platform/xml/element.h"

class CNCPROBE_API axmDocument {
 public:
  virtual ~axmDocument() = default;

  // The root element; empty only for a document that has none. Elements keep the document alive.
  [[nodiscard]] virtual std::shared_ptr<axmElement> root_element() const = 0;

 protected:
  axmDocument() = default;
  axmDocument(const axmDocument&) = default;
  axmDocument& operator=(const axmDocument&) = default;
};
