// axmValidateMode: how far a loaded XML document is checked beyond being well formed.
#pragma once

// Every document is checked to be well-formed XML; no mode fetches a document type or schema.
enum axmValidateMode : int {
  // Well-formedness only: a document type declared by the document is not validated against,
  // so a file that is well formed always loads (unless the loader refuses it for safety).
  axmValidateWellFormed = 1,
};
