// The parser takes quadratic time for attributes and the canonical form for namespaces; both are counted
// before they are let loose on a document that a stranger wrote.
#include "xml/XmlDocument.h"

#include <libxml/c14n.h>
#include <libxml/parser.h>
#include <libxml/parserInternals.h>
#include <libxml/xmlerror.h>
#include <libxml/xmlsave.h>

#include <algorithm>

#include "base/Failure.h"

namespace kzr::softkey {

namespace {

constexpr std::size_t kTextLimit = std::size_t{8} << 20;
// Of an element, namespaces included.
constexpr std::size_t kMostAttributes = 256;
// In scope of an element.
constexpr std::size_t kMostNamespaces = 256;
// Steps of the canonical form, about a second.
constexpr std::size_t kMostWork = std::size_t{1} << 28;

[[noreturn]] void ThrowUnreadable(const std::string& why)
{
    throw Failure(Cause::BadData, "The XML document cannot be read: " + why);
}

// The library writes to the standard error stream unless told otherwise, thread by thread.
class SilentErrors {
  public:
    SilentErrors() : m_handler(xmlStructuredError), m_context(xmlStructuredErrorContext)
    {
        xmlSetStructuredErrorFunc(nullptr, [](void*, xmlErrorPtr) {});
    }
    ~SilentErrors()
    {
        xmlSetStructuredErrorFunc(m_context, m_handler);
        xmlResetLastError();
    }
    SilentErrors(const SilentErrors&) = delete;
    SilentErrors& operator=(const SilentErrors&) = delete;

  private:
    xmlStructuredErrorFunc m_handler;
    void* m_context;
};

// Counts what the parser takes quadratic time for, before the parser sees it. What is not well-formed may be
// counted wrongly: the parser stops there.
class Counter {
  public:
    explicit Counter(std::string_view text) : m_text(text) {}

    void Count()
    {
        while ((m_at = m_text.find('<', m_at)) != std::string_view::npos) {
            const std::string_view rest = m_text.substr(m_at);
            if (rest.starts_with("<!--")) {
                PassBy(4, "-->");
            } else if (rest.starts_with("<![CDATA[")) {
                PassBy(0, "]]>");
            } else if (rest.starts_with("<?")) {
                PassBy(0, "?>");
            } else if (rest.starts_with("</")) {
                PassBy(0, ">");
                if (m_inScope.size() > 1) {
                    m_inScope.pop_back();
                }
            } else {
                CountTag();
            }
        }
    }

  private:
    void PassBy(std::size_t begin, std::string_view end)
    {
        const std::size_t found = m_text.find(end, m_at + begin);
        m_at = found == std::string_view::npos ? m_text.size() : found + end.size();
    }

    void CountTag()
    {
        std::size_t attributes = 0;
        std::size_t namespaces = m_inScope.back();
        std::size_t name = ++m_at;
        for (; m_at < m_text.size() && m_text[m_at] != '>'; ++m_at) {
            const char c = m_text[m_at];
            if (c == '"' || c == '\'') {
                m_at = std::min(m_text.find(c, m_at + 1), m_text.size() - 1);
            } else if (c == '=') {
                ++attributes;
                namespaces += m_text.substr(name, m_at - name).starts_with("xmlns") ? 1 : 0;
            } else if (IsBlank(c) && m_at + 1 < m_text.size() && !IsBlank(m_text[m_at + 1]) &&
                       m_text[m_at + 1] != '=') {
                name = m_at + 1;
            }
            if (attributes > kMostAttributes || namespaces > kMostNamespaces) {
                ThrowUnreadable("an element has too many attributes or namespaces");
            }
        }
        if (m_text[m_at - 1] != '/') {
            m_inScope.push_back(namespaces);
        }
    }

    static bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

    std::string_view m_text;
    std::size_t m_at = 0;
    std::vector<std::size_t> m_inScope = {0};
};

// The next node in document order below `top`, null behind the last.
xmlNode* Next(xmlNode* node, const xmlNode* top)
{
    if (node->type == XML_ELEMENT_NODE && node->children != nullptr) {
        return node->children;
    }
    while (node != top && node->next == nullptr) {
        node = node->parent;
    }
    return node == top ? nullptr : node->next;
}

std::size_t CountOf(const xmlNs* list)
{
    std::size_t count = 0;
    for (; list != nullptr; list = list->next) {
        ++count;
    }
    return count;
}

std::size_t CountOf(const xmlAttr* list)
{
    std::size_t count = 0;
    for (; list != nullptr; list = list->next) {
        ++count;
    }
    return count;
}

// Every element is compared with every namespace in scope, and its attributes with each other. The parser's
// limit keeps the depth of the recursion small.
void AddWork(const xmlNode* element, std::size_t namespaces, std::size_t& work)
{
    namespaces += CountOf(element->nsDef);
    const std::size_t attributes = CountOf(element->properties);
    work += 1 + namespaces * namespaces + attributes * attributes;
    if (work > kMostWork) {
        ThrowUnreadable("it has too many namespaces and attributes");
    }
    for (const xmlNode* child = element->children; child != nullptr; child = child->next) {
        if (child->type == XML_ELEMENT_NODE) {
            AddWork(child, namespaces, work);
        }
    }
}

void OnDoctype(void* context, const xmlChar*, const xmlChar*, const xmlChar*)
{
    auto* parser = static_cast<xmlParserCtxtPtr>(context);
    *static_cast<bool*>(parser->_private) = true;
    xmlStopParser(parser);
}

struct FreeParser {
    void operator()(xmlParserCtxt* parser) const noexcept { xmlFreeParserCtxt(parser); }
};

struct FreeBuffer {
    void operator()(xmlBuffer* buffer) const noexcept { xmlBufferFree(buffer); }
    void operator()(xmlOutputBuffer* buffer) const noexcept { xmlOutputBufferClose(buffer); }
};

// The elements of the part are marked, since asking each node for its ancestors would take long.
void Mark(xmlNode* element, void* mark)
{
    for (xmlNode* node = element; node != nullptr; node = Next(node, element)) {
        if (node->type == XML_ELEMENT_NODE) {
            node->_private = mark;
        }
    }
}

// Attributes, namespaces and text go with their element.
int IsMarked(void* mark, xmlNode* node, xmlNode* parent)
{
    const xmlNode* element = node != nullptr && node->type == XML_ELEMENT_NODE ? node : parent;
    return element != nullptr && element->type == XML_ELEMENT_NODE && element->_private == mark ? 1 : 0;
}

}  // namespace

DocumentHandle ParseXml(std::string_view text)
{
    if (text.size() > kTextLimit) {
        ThrowUnreadable("it is larger than 8 MiB");
    }
    Counter(text).Count();
    xmlInitParser();
    const SilentErrors silent;
    const std::unique_ptr<xmlParserCtxt, FreeParser> parser(xmlNewParserCtxt());
    if (!parser) {
        throw std::bad_alloc();
    }
    bool doctype = false;
    parser->_private = &doctype;
    parser->sax->internalSubset = OnDoctype;
    DocumentHandle document(
        xmlCtxtReadMemory(parser.get(), text.data(), static_cast<int>(text.size()), nullptr, "UTF-8",
                          XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_IGNORE_ENC));
    if (doctype) {
        ThrowUnreadable("it has a DOCTYPE");
    }
    const xmlNode* root = document ? xmlDocGetRootElement(document.get()) : nullptr;
    if (root == nullptr || parser->wellFormed != 1 || parser->nsWellFormed != 1) {
        ThrowUnreadable("it is not well-formed");
    }
    if (document->version == nullptr || xmlStrcmp(document->version, BAD_CAST "1.0") != 0) {
        ThrowUnreadable("it is not of XML version 1.0");
    }
    std::size_t work = 0;
    AddWork(root, 0, work);
    return document;
}

Bytes Canonical(xmlDoc* document, xmlNode* element)
{
    const SilentErrors silent;
    const std::unique_ptr<xmlBuffer, FreeBuffer> memory(xmlBufferCreate());
    std::unique_ptr<xmlOutputBuffer, FreeBuffer> output(
        memory ? xmlOutputBufferCreateBuffer(memory.get(), nullptr) : nullptr);
    if (!output) {
        throw std::bad_alloc();
    }
    if (element != nullptr) {
        Mark(element, document);
    }
    const int result = xmlC14NExecute(document, element != nullptr ? IsMarked : nullptr, document,
                                      XML_C14N_1_0, nullptr, 0, output.get());
    if (element != nullptr) {
        Mark(element, nullptr);
    }
    if (result < 0 || xmlOutputBufferClose(output.release()) < 0) {
        ThrowUnreadable("it has no canonical form");
    }
    const xmlChar* content = xmlBufferContent(memory.get());
    return Bytes(content, content + xmlBufferLength(memory.get()));
}

std::string XmlText(xmlDoc* document, bool declaration)
{
    const SilentErrors silent;
    const std::unique_ptr<xmlBuffer, FreeBuffer> memory(xmlBufferCreate());
    xmlSaveCtxt* save = memory ? xmlSaveToBuffer(memory.get(), "UTF-8",
                                                 XML_SAVE_AS_XML | (declaration ? 0 : XML_SAVE_NO_DECL))
                               : nullptr;
    if (save == nullptr) {
        throw std::bad_alloc();
    }
    const long written = xmlSaveDoc(save, document);
    if (xmlSaveClose(save) < 0 || written < 0) {
        ThrowUnreadable("it cannot be written");
    }
    return std::string(reinterpret_cast<const char*>(xmlBufferContent(memory.get())),
                       static_cast<std::size_t>(xmlBufferLength(memory.get())));
}

}  // namespace kzr::softkey
