// The fields of a certificate as text.
#include <openssl/err.h>
#include <openssl/objects.h>

#include <algorithm>
#include <ctime>
#include <iterator>

#include "base/Base64.h"
#include "base/Failure.h"
#include "x509/Certificate.h"
#include "x509/Handles.h"

namespace kzr::softkey {

namespace {

// Longer ones take the library quadratic time.
constexpr std::size_t kOidLimit = 128;

[[noreturn]] void ThrowNoText(const char* what)
{
    ERR_clear_error();
    throw Failure(Cause::BadData, std::string("The certificate's ") + what + " cannot be read");
}

// UTF-8 of any of the string types.
std::string TextOfString(const ASN1_STRING* value)
{
    unsigned char* memory = nullptr;
    const int size = ASN1_STRING_to_UTF8(&memory, value);
    const MemoryHandle owner(memory);
    if (size < 0) {
        ThrowNoText("text");
    }
    std::string text(reinterpret_cast<const char*>(memory), static_cast<std::size_t>(size));
    if (text.find('\0') != std::string::npos) {
        ThrowNoText("text");
    }
    return text;
}

std::string NameAttribute(const X509_NAME* name, const ASN1_OBJECT* attribute)
{
    std::string joined;
    for (int at = -1; (at = X509_NAME_get_index_by_OBJ(name, attribute, at)) >= 0;) {
        if (!joined.empty()) {
            joined += ',';
        }
        joined += TextOfString(X509_NAME_ENTRY_get_data(X509_NAME_get_entry(name, at)));
    }
    return joined;
}

// Everything that the library wrote to memory.
std::string Written(BIO* memory)
{
    char* data = nullptr;
    const long size = BIO_get_mem_data(memory, &data);
    return size > 0 ? std::string(data, static_cast<std::size_t>(size)) : std::string();
}

// In the certificate's own order. Control characters and separators inside values are escaped.
std::string NameText(const X509_NAME* name)
{
    constexpr unsigned long kForm =
        (XN_FLAG_RFC2253 & ~XN_FLAG_DN_REV & ~static_cast<unsigned long>(ASN1_STRFLGS_ESC_MSB));
    const BioHandle memory(BIO_new(BIO_s_mem()));
    if (!memory || X509_NAME_print_ex(memory.get(), name, 0, kForm) < 0) {
        ThrowNoText("name");
    }
    return Written(memory.get());
}

std::string SerialText(const X509* certificate)
{
    const BignumHandle number(ASN1_INTEGER_to_BN(X509_get0_serialNumber(certificate), nullptr));
    char* text = number ? BN_bn2hex(number.get()) : nullptr;
    const MemoryHandle owner(reinterpret_cast<unsigned char*>(text));
    if (text == nullptr) {
        ThrowNoText("serial number");
    }
    return text;
}

std::string DottedText(const ASN1_OBJECT* object)
{
    char text[kOidLimit * 2];
    const int size = OBJ_obj2txt(text, sizeof text, object, 1);
    if (size <= 0 || static_cast<std::size_t>(size) >= sizeof text) {
        ThrowNoText("algorithm");
    }
    return text;
}

std::string SignatureText(const X509* certificate)
{
    const int nid = X509_get_signature_nid(certificate);
    if (nid != NID_undef) {
        return OBJ_nid2ln(nid);
    }
    const X509_ALGOR* algorithm = X509_get0_tbs_sigalg(certificate);
    const ASN1_OBJECT* object = nullptr;
    X509_ALGOR_get0(&object, nullptr, nullptr, algorithm);
    return DottedText(object);
}

void AppendNumber(std::string& text, int value, int digits)
{
    const std::string number = std::to_string(value);
    text.append(static_cast<std::size_t>(std::max(0, digits - static_cast<int>(number.size()))), '0');
    text += number;
}

std::string TimeText(const ASN1_TIME* time)
{
    std::tm parts{};
    if (time == nullptr || ASN1_TIME_to_tm(time, &parts) != 1) {
        ThrowNoText("validity");
    }
    std::string text;
    AppendNumber(text, parts.tm_year + 1900, 4);
    AppendNumber(text, parts.tm_mon + 1, 2);
    for (const int part : {parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec}) {
        AppendNumber(text, part, 2);
    }
    return text + 'Z';
}

bool IsDottedOid(std::string_view oid)
{
    if (oid.empty() || oid.size() > kOidLimit || oid.find('.') == std::string_view::npos) {
        return false;
    }
    char before = '.';
    for (const char c : oid) {
        const bool digit = c >= '0' && c <= '9';
        if (!digit && (c != '.' || before == '.')) {
            return false;
        }
        before = c;
    }
    return before != '.';
}

bool IsStringType(int type)
{
    constexpr int kTypes[] = {V_ASN1_UTF8STRING,    V_ASN1_NUMERICSTRING, V_ASN1_PRINTABLESTRING,
                              V_ASN1_T61STRING,     V_ASN1_IA5STRING,     V_ASN1_VISIBLESTRING,
                              V_ASN1_GENERALSTRING, V_ASN1_BMPSTRING,     V_ASN1_UNIVERSALSTRING};
    return std::ranges::find(kTypes, type) != std::end(kTypes);
}

std::string UnknownExtensionText(View content)
{
    const unsigned char* at = content.data();
    const Handle<ASN1_TYPE, ASN1_TYPE_free> value(
        d2i_ASN1_TYPE(nullptr, &at, static_cast<long>(content.size())));
    ERR_clear_error();
    if (value && at == content.data() + content.size() && IsStringType(ASN1_TYPE_get(value.get()))) {
        return TextOfString(value->value.asn1_string);
    }
    const bool printable =
        std::ranges::all_of(content, [](std::uint8_t byte) { return byte >= 0x20 && byte < 0x7f; });
    return printable ? std::string(TextOf(content)) : HexUpper(content);
}

// What the library prints may hold bytes of the certificate as they came.
std::string WithoutStrayBytes(std::string text)
{
    while (!text.empty() && text.back() == '\n') {
        text.pop_back();
    }
    std::ranges::replace_if(
        text,
        [](char c) { return c != '\n' && (static_cast<unsigned char>(c) < 0x20 || c < 0 || c == 0x7f); },
        '?');
    return text;
}

std::string ExtensionText(X509_EXTENSION* extension)
{
    const ASN1_OCTET_STRING* content = X509_EXTENSION_get_data(extension);
    if (X509V3_EXT_get(extension) == nullptr) {
        return UnknownExtensionText(
            {ASN1_STRING_get0_data(content), static_cast<std::size_t>(ASN1_STRING_length(content))});
    }
    const BioHandle memory(BIO_new(BIO_s_mem()));
    if (!memory || X509V3_EXT_print(memory.get(), extension, 0, 0) != 1) {
        ThrowNoText("extension");
    }
    return WithoutStrayBytes(Written(memory.get()));
}

X509* Required(const Certificate& certificate)
{
    if (!certificate) {
        throw Failure(Cause::BadData, "There is no certificate");
    }
    return certificate.Get();
}

// "" when the certificate has neither.
std::string FieldOfObject(X509* certificate, const ASN1_OBJECT* object)
{
    const int index = X509_get_ext_by_OBJ(certificate, object, -1);
    if (index >= 0) {
        return ExtensionText(X509_get_ext(certificate, index));
    }
    return NameAttribute(X509_get_subject_name(certificate), object);
}

}  // namespace

std::string CertificateField(const Certificate& certificate, int type)
{
    constexpr int kNames[] = {NID_countryName,         NID_organizationName, NID_organizationalUnitName,
                              NID_stateOrProvinceName, NID_commonName,       NID_localityName,
                              NID_pkcs9_emailAddress};
    constexpr int kCount = static_cast<int>(std::size(kNames));
    constexpr int kFirstOfIssuer = 4;
    constexpr int kFirstOfSubject = 13;
    X509* x509 = Required(certificate);
    switch (type) {
        case 1:
            return std::to_string(X509_get_version(x509) + 1);
        case 2:
            return SerialText(x509);
        case 3:
            return SignatureText(x509);
        case 11:
            return TimeText(X509_get0_notBefore(x509));
        case 12:
            return TimeText(X509_get0_notAfter(x509));
        case 20:
            return NameText(X509_get_subject_name(x509));
        default:
            break;
    }
    if (type >= kFirstOfIssuer && type < kFirstOfIssuer + kCount) {
        return NameAttribute(X509_get_issuer_name(x509), OBJ_nid2obj(kNames[type - kFirstOfIssuer]));
    }
    if (type >= kFirstOfSubject && type < kFirstOfSubject + kCount) {
        return NameAttribute(X509_get_subject_name(x509), OBJ_nid2obj(kNames[type - kFirstOfSubject]));
    }
    throw Failure(Cause::BadArgument, "There is no certificate field " + std::to_string(type));
}

std::string CertificateFieldByOid(const Certificate& certificate, std::string_view oid)
{
    X509* x509 = Required(certificate);
    const ObjectHandle object(IsDottedOid(oid) ? OBJ_txt2obj(std::string(oid).c_str(), 1) : nullptr);
    if (!object) {
        ERR_clear_error();
        throw Failure(Cause::BadArgument, "An oid is numbers with dots between them");
    }
    return FieldOfObject(x509, object.get());
}

std::string CertificateEntity(const Certificate& certificate)
{
    X509* x509 = Required(certificate);
    const ObjectHandle identity(OBJ_txt2obj(kIdentityOid, 1));
    if (!identity) {
        ThrowCrypto("naming the identity extension");
    }
    std::string entity = FieldOfObject(x509, identity.get());
    if (entity.empty()) {
        entity = NameAttribute(X509_get_subject_name(x509), OBJ_nid2obj(NID_serialNumber));
    }
    if (!entity.empty()) {
        return entity;
    }
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int size = 0;
    if (X509_pubkey_digest(x509, EVP_sha256(), digest, &size) != 1) {
        ThrowNoText("public key");
    }
    return HexUpper({digest, size});
}

}  // namespace kzr::softkey
