// axmNode: a node of a loaded XML document, as far as its text is concerned.
#pragma once

#include "cncprobe/export.h"
#include "cncprobe/platform/text/wide_string.h"

class CNCPROBE_API axmNode {
 public:
  virtual ~axmNode() = default;

  // The text the node holds, all its descendant text joined in document order, with blanks,
  // tabs, carriage returns and line feeds trimmed from both ends; a valid string, possibly empty.
  [[nodiscard]] virtual apString text_content() const = 0;

 protected:
  axmNode() = default;
  axmNode(const axmNode&) = default;
  axmNode& operator=(const axmNode&) = default;
};
