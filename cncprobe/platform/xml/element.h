// axmElement: an element of a loaded XML document: its attributes and the elements below it.
#pragma once

#include <memory>

#include "cncprobe/export.h"
#include "cncprobe/platform/text/wide_string.h"
#include "cncprobe/platform/xml/node.h"

class CNCPROBE_API axmElement : public axmNode {
 public:
  ~axmElement() override = default;

  // The element's name as written, prefix included.
  [[nodiscard]] virtual apString name() const = 0;

  // True when the element carries the attribute `name` (as written, prefix included).
  [[nodiscard]] virtual bool has_attribute(const apString& name) const = 0;
  // The attribute's text; an invalid string when the element has no such attribute.
  [[nodiscard]] virtual apString attribute_value(const apString& name) const = 0;

  // The first element, in document order, that the relative path leads to from this element:
  // steps separated by "/", each "." (this element), ".." (its parent), "*" (any child element)
  // or a child element's name, as in "./data/precision/linear_digits". Empty when no element
  // fits, or when the path is empty, absolute or has an empty step.
  [[nodiscard]] virtual std::shared_ptr<axmElement> select_element(const apString& path) const = 0;

 protected:
  axmElement() = default;
  axmElement(const axmElement&) = default;
  axmElement& operator=(const axmElement&) = default;
};
