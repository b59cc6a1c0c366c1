// An XML document as signatures see it: parsed with every door to the outside shut, and its canonical form.
#pragma once

#include <libxml/tree.h>

#include <functional>
#include <memory>

#include "base/Bytes.h"

namespace kzr::softkey {

struct FreeDocument {
    void operator()(xmlDoc* document) const noexcept { xmlFreeDoc(document); }
};
using DocumentHandle = std::unique_ptr<xmlDoc, FreeDocument>;

// UTF-8 whatever the document declares, since the text came through an interface of strings. Throws
// Failure(BadData) for what is not well-formed XML 1.0 with namespaces, holds a DOCTYPE, or is beyond the
// limits: 8 MiB, 256 levels, 256 attributes of an element and namespaces in its scope, and what would take
// the canonical form too long.
DocumentHandle ParseXml(std::string_view text);

// Canonical XML 1.0 without comments: of the whole document, or of one element with all it holds.
// Throws Failure(BadData) for a document that has none, such as one with relative namespace names.
Bytes Canonical(xmlDoc* document, xmlNode* element = nullptr);

// UTF-8, with a declaration when the document came with one.
std::string XmlText(xmlDoc* document, bool declaration);

}  // namespace kzr::softkey
