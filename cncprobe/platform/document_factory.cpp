// The anchors of the XML document interfaces: their destructors, so each has one vtable.
#include "cncprobe/platform/document_factory.h"

axmNode::~axmNode() = default;
axmElement::~axmElement() = default;
axmDocument::~axmDocument() = default;
axmDocumentFactory::~axmDocumentFactory() = default;
