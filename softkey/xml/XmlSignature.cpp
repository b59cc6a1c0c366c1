// Signing, and taking signatures apart. A signature has one form here and no other: whatever else the
// standard allows (references to parts, further transforms, objects inside the signature) is what attacks are
// made of.
#include "xml/XmlSignature.h"

#include <openssl/err.h>

#include <algorithm>
#include <initializer_list>
#include <new>
#include <optional>

#include "base/Base64.h"
#include "base/Failure.h"
#include "crypto/Digest.h"
#include "crypto/Sign.h"
#include "xml/XmlDocument.h"

namespace kzr::softkey {

namespace {

constexpr char kNamespace[] = "http://www.w3.org/2000/09/xmldsig#";
constexpr char kC14n[] = "http://www.w3.org/TR/2001/REC-xml-c14n-20010315";
constexpr char kEnveloped[] = "http://www.w3.org/2000/09/xmldsig#enveloped-signature";
// What libxml2 notes of a document that has no XML declaration.
constexpr int kNoDeclaration = -1;

std::string_view TextOf(const xmlChar* text)
{
    return text != nullptr ? std::string_view(reinterpret_cast<const char*>(text)) : std::string_view();
}

const xmlChar* Xml(const char* text) { return reinterpret_cast<const xmlChar*>(text); }

struct Algorithms {
    KeyType key;
    HashCode hash;
    const char* signature;
    const char* digest;
};

constexpr Algorithms kAlgorithms[] = {
    {KeyType::Rsa, HashCode::Sha256, kRsaSha256Name, kSha256Name},
    {KeyType::Sm2, HashCode::Sm3, kSm2Sm3Name, kSm3Name},
};

bool IsElement(const xmlNode* node, std::string_view name)
{
    return node->type == XML_ELEMENT_NODE && TextOf(node->name) == name && node->ns != nullptr &&
           TextOf(node->ns->href) == kNamespace;
}

bool IsBlank(const xmlNode* node) { return node->type == XML_TEXT_NODE && xmlIsBlankNode(node) == 1; }

// The child elements when there is nothing but elements and blanks; none otherwise.
std::optional<std::vector<xmlNode*>> Elements(const xmlNode* parent)
{
    std::vector<xmlNode*> elements;
    for (xmlNode* child = parent->children; child != nullptr; child = child->next) {
        if (child->type == XML_ELEMENT_NODE) {
            elements.push_back(child);
        } else if (!IsBlank(child)) {
            return std::nullopt;
        }
    }
    return elements;
}

// The child elements when they are exactly these, in this order; an empty list otherwise.
std::vector<xmlNode*> Exactly(const xmlNode* parent, std::initializer_list<std::string_view> names)
{
    const auto elements = Elements(parent);
    if (!elements || !std::ranges::equal(*elements, names, IsElement)) {
        return {};
    }
    return *elements;
}

std::optional<std::string> Attribute(const xmlNode* element, const char* name)
{
    const xmlAttr* attribute = xmlHasNsProp(element, Xml(name), nullptr);
    // Without a DTD a value is one piece of text, or nothing at all.
    if (attribute == nullptr || (attribute->children != nullptr && attribute->children->next != nullptr)) {
        return std::nullopt;
    }
    return attribute->children == nullptr ? std::string() : std::string(TextOf(attribute->children->content));
}

// An element that only names an algorithm.
bool Names(const xmlNode* element, std::string_view algorithm)
{
    const auto elements = Elements(element);
    return elements && elements->empty() && Attribute(element, "Algorithm") == algorithm;
}

// The Base64 in an element that holds only text, without its blanks; none when it holds something else.
std::optional<std::string> Base64Of(const xmlNode* element)
{
    std::string text;
    for (const xmlNode* child = element->children; child != nullptr; child = child->next) {
        if (child->type != XML_TEXT_NODE) {
            return std::nullopt;
        }
        text += TextOf(child->content);
    }
    std::erase_if(text, [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; });
    return text;
}

struct Parts {
    xmlNode* signature = nullptr;
    xmlNode* signedInfo = nullptr;
    const Algorithms* algorithms = nullptr;
    std::string digest;
    std::string value;
    std::string certificate;
};

void CollectSignatures(xmlNode* element, std::vector<xmlNode*>& found)
{
    if (IsElement(element, "Signature")) {
        found.push_back(element);
    }
    for (xmlNode* child = element->children; child != nullptr; child = child->next) {
        if (child->type == XML_ELEMENT_NODE) {
            CollectSignatures(child, found);
        }
    }
}

std::vector<xmlNode*> SignaturesIn(xmlDoc* document)
{
    std::vector<xmlNode*> found;
    CollectSignatures(xmlDocGetRootElement(document), found);
    return found;
}

bool TransformsAreTheTwo(const xmlNode* transforms)
{
    const auto list = Exactly(transforms, {"Transform", "Transform"});
    return list.size() == 2 && Names(list[0], kEnveloped) && Names(list[1], kC14n);
}

bool ReadReference(const xmlNode* reference, const Algorithms& algorithms, Parts& parts)
{
    const auto list = Exactly(reference, {"Transforms", "DigestMethod", "DigestValue"});
    if (list.empty() || Attribute(reference, "URI") != "" || !TransformsAreTheTwo(list[0]) ||
        !Names(list[1], algorithms.digest)) {
        return false;
    }
    const auto digest = Base64Of(list[2]);
    parts.digest = digest.value_or("");
    return digest.has_value();
}

bool ReadSignedInfo(xmlNode* signedInfo, Parts& parts)
{
    const auto list = Exactly(signedInfo, {"CanonicalizationMethod", "SignatureMethod", "Reference"});
    if (list.empty() || !Names(list[0], kC14n)) {
        return false;
    }
    const auto algorithms = std::ranges::find_if(
        kAlgorithms, [&list](const Algorithms& one) { return Names(list[1], one.signature); });
    if (algorithms == std::end(kAlgorithms)) {
        return false;
    }
    parts.signedInfo = signedInfo;
    parts.algorithms = &*algorithms;
    return ReadReference(list[2], *algorithms, parts);
}

// Other hints at the key may stand beside the certificate; they are not looked at.
bool ReadKeyInfo(const xmlNode* keyInfo, Parts& parts)
{
    std::size_t certificates = 0;
    for (const xmlNode* data = keyInfo->children; data != nullptr; data = data->next) {
        if (!IsElement(data, "X509Data")) {
            continue;
        }
        for (const xmlNode* child = data->children; child != nullptr; child = child->next) {
            if (!IsElement(child, "X509Certificate")) {
                continue;
            }
            const auto text = Base64Of(child);
            if (!text || ++certificates > 1) {
                return false;
            }
            parts.certificate = *text;
        }
    }
    return certificates == 1;
}

// None when the document does not have exactly one signature of the one form.
std::optional<Parts> TakeApartSignature(xmlDoc* document)
{
    const std::vector<xmlNode*> signatures = SignaturesIn(document);
    if (signatures.size() != 1 || signatures[0]->parent != xmlDocGetRootElement(document)) {
        return std::nullopt;
    }
    Parts parts;
    parts.signature = signatures[0];
    const auto list = Exactly(parts.signature, {"SignedInfo", "SignatureValue", "KeyInfo"});
    if (list.empty() || !ReadSignedInfo(list[0], parts) || !ReadKeyInfo(list[2], parts)) {
        return std::nullopt;
    }
    const auto value = Base64Of(list[1]);
    parts.value = value.value_or("");
    return value ? std::optional(std::move(parts)) : std::nullopt;
}

// What the signature covers. The document has lost its signature afterwards.
Bytes CanonicalWithout(xmlDoc* document, xmlNode* signature)
{
    xmlUnlinkNode(signature);
    xmlFreeNode(signature);
    return Canonical(document);
}

xmlNode* AddElement(xmlNode* parent, const char* name, const char* content = nullptr)
{
    xmlNode* element =
        xmlNewTextChild(parent, parent->ns, Xml(name), content != nullptr ? Xml(content) : nullptr);
    if (element == nullptr) {
        throw std::bad_alloc();
    }
    return element;
}

xmlNode* AddAlgorithm(xmlNode* parent, const char* name, const char* algorithm)
{
    xmlNode* element = AddElement(parent, name);
    if (xmlNewProp(element, Xml("Algorithm"), Xml(algorithm)) == nullptr) {
        throw std::bad_alloc();
    }
    return element;
}

// An empty signature element at the end of the root.
xmlNode* AddSignature(xmlDoc* document)
{
    xmlNode* root = xmlDocGetRootElement(document);
    xmlNode* signature = xmlNewChild(root, nullptr, Xml("Signature"), nullptr);
    xmlNs* space = signature != nullptr ? xmlNewNs(signature, Xml(kNamespace), nullptr) : nullptr;
    if (space == nullptr) {
        throw std::bad_alloc();
    }
    xmlSetNs(signature, space);
    return signature;
}

xmlNode* AddSignedInfo(xmlNode* signature, const Algorithms& algorithms, View digest)
{
    xmlNode* signedInfo = AddElement(signature, "SignedInfo");
    AddAlgorithm(signedInfo, "CanonicalizationMethod", kC14n);
    AddAlgorithm(signedInfo, "SignatureMethod", algorithms.signature);
    xmlNode* reference = AddElement(signedInfo, "Reference");
    if (xmlNewProp(reference, Xml("URI"), Xml("")) == nullptr) {
        throw std::bad_alloc();
    }
    xmlNode* transforms = AddElement(reference, "Transforms");
    AddAlgorithm(transforms, "Transform", kEnveloped);
    AddAlgorithm(transforms, "Transform", kC14n);
    AddAlgorithm(reference, "DigestMethod", algorithms.digest);
    AddElement(reference, "DigestValue", Base64Encode(digest).c_str());
    return signedInfo;
}

void CheckKey(EVP_PKEY* key, const Certificate& certificate)
{
    const bool fits = certificate && X509_check_private_key(certificate.Get(), key) == 1;
    ERR_clear_error();
    if (!fits) {
        throw Failure(Cause::BadArgument, "The key is not that of the certificate");
    }
}

bool Fits(xmlDoc* document, const Parts& parts)
{
    const Certificate certificate = Certificate::FromText(parts.certificate);
    if (certificate.Type() != parts.algorithms->key) {
        return false;
    }
    const Bytes value = Base64Decode(parts.value);
    const Bytes digest = Base64Decode(parts.digest);
    const Bytes signedInfo = Canonical(document, parts.signedInfo);
    return Verify(certificate.PublicKey().get(), signedInfo, value) &&
           Digest(parts.algorithms->hash, CanonicalWithout(document, parts.signature)) == digest;
}

}  // namespace

std::string SignXml(EVP_PKEY* key, const Certificate& certificate, std::string_view xml)
{
    CheckKey(key, certificate);
    const KeyType type = KeyTypeOf(key);
    const Algorithms& algorithms = *std::ranges::find(kAlgorithms, type, &Algorithms::key);
    const DocumentHandle document = ParseXml(xml);
    if (!SignaturesIn(document.get()).empty()) {
        throw Failure(Cause::BadData, "The XML document is signed already");
    }
    const bool declaration = document->standalone != kNoDeclaration;
    const Bytes digest = Digest(algorithms.hash, Canonical(document.get()));
    xmlNode* signature = AddSignature(document.get());
    xmlNode* signedInfo = AddSignedInfo(signature, algorithms, digest);
    const Bytes value = Sign(key, Canonical(document.get(), signedInfo));
    AddElement(signature, "SignatureValue", Base64Encode(value).c_str());
    xmlNode* data = AddElement(AddElement(signature, "KeyInfo"), "X509Data");
    AddElement(data, "X509Certificate", certificate.Text().c_str());
    return XmlText(document.get(), declaration);
}

bool VerifyXml(std::string_view xml)
{
    const DocumentHandle document = ParseXml(xml);
    const auto parts = TakeApartSignature(document.get());
    if (!parts) {
        return false;
    }
    try {
        return Fits(document.get(), *parts);
    } catch (const Failure&) {
        // A certificate, a value or a canonical form that cannot be had fits nothing.
        return false;
    }
}

std::string XmlSignatureField(std::string_view xml, int type)
{
    const DocumentHandle document = ParseXml(xml);
    const auto parts = TakeApartSignature(document.get());
    if (!parts) {
        throw Failure(Cause::BadData, "The XML document has no signature that is understood here");
    }
    switch (type) {
        case 1:
            return std::string(softkey::TextOf(CanonicalWithout(document.get(), parts->signature)));
        case 2:
            return parts->digest;
        case 3:
            return parts->value;
        case 4:
            return parts->certificate;
        case 5:
            return parts->algorithms->digest;
        case 6:
            return parts->algorithms->signature;
        default:
            throw Failure(Cause::BadArgument,
                          "There is no field " + std::to_string(type) + " of XML signatures");
    }
}

}  // namespace kzr::softkey
