// What an authority issues. Files that came from elsewhere are read in Pkcs12.cpp.
#include "x509/Authority.h"

#include <openssl/err.h>

#include <ctime>
#include <set>

#include "base/Failure.h"
#include "crypto/Digest.h"
#include "x509/Handles.h"

namespace kzr::softkey {

namespace {

constexpr int kMostDays = 36'525;
constexpr long kLateClocks = 5 * 60;

using SigningHandle = Handle<EVP_MD_CTX, EVP_MD_CTX_free>;
using ListHandle = Handle<X509_CRL, X509_CRL_free>;

void Demand(bool done, const char* doing)
{
    if (!done) {
        ThrowCrypto(doing);
    }
}

void CheckDays(int days)
{
    if (days < -kMostDays || days > kMostDays) {
        throw Failure(Cause::BadArgument, "Days are at most a hundred years");
    }
}

// Days and seconds from now: together they would be too many for the type of the seconds.
struct Moment {
    int days;
    long seconds;
};

struct Period {
    Moment start;
    Moment end;
};

// One that ended lasted a day.
Period PeriodOf(int days)
{
    CheckDays(days);
    return {days > 0 ? Moment{0, -kLateClocks} : Moment{days - 1, 0}, {days, 0}};
}

ASN1_TIME* Set(ASN1_TIME* time, Moment moment)
{
    return X509_time_adj_ex(time, moment.days, moment.seconds, nullptr);
}

void AddAttribute(X509_NAME* name, int nid, const std::string& value)
{
    if (value.empty()) {
        return;
    }
    if (X509_NAME_add_entry_by_NID(name, nid, MBSTRING_UTF8,
                                   reinterpret_cast<const unsigned char*>(value.data()),
                                   static_cast<int>(value.size()), -1, 0) != 1) {
        ERR_clear_error();
        throw Failure(Cause::BadArgument, std::string("A certificate cannot hold this ") + OBJ_nid2ln(nid) +
                                              ": " + value.substr(0, 80));
    }
}

NameHandle NameOf(const Subject& subject)
{
    if (subject.commonName.empty()) {
        throw Failure(Cause::BadArgument, "A certificate needs a common name");
    }
    NameHandle name(X509_NAME_new());
    Demand(name != nullptr, "making a name");
    AddAttribute(name.get(), NID_countryName, subject.country);
    AddAttribute(name.get(), NID_stateOrProvinceName, subject.state);
    AddAttribute(name.get(), NID_localityName, subject.locality);
    AddAttribute(name.get(), NID_organizationName, subject.organization);
    AddAttribute(name.get(), NID_organizationalUnitName, subject.unit);
    AddAttribute(name.get(), NID_commonName, subject.commonName);
    AddAttribute(name.get(), NID_serialNumber, subject.serialNumber);
    AddAttribute(name.get(), NID_pkcs9_emailAddress, subject.email);
    return name;
}

// A context that signs with the key: SM3 and the user id for SM2, SHA-256 for RSA.
SigningHandle SigningContext(EVP_PKEY* key)
{
    const bool sm2 = KeyTypeOf(key) == KeyType::Sm2;
    SigningHandle context(EVP_MD_CTX_new());
    EVP_PKEY_CTX* inner = nullptr;
    Demand(context &&
               EVP_DigestSignInit(context.get(), &inner, sm2 ? EVP_sm3() : EVP_sha256(), nullptr, key) == 1,
           "beginning a signature");
    if (sm2) {
        Demand(EVP_PKEY_CTX_set1_id(inner, kSm2UserId, static_cast<int>(sizeof kSm2UserId - 1)) == 1,
               "setting the user id");
    }
    return context;
}

void AddExtension(X509* certificate, X509* issuer, int nid, const std::string& value)
{
    X509V3_CTX context;
    X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
    const ExtensionHandle extension(X509V3_EXT_conf_nid(nullptr, &context, nid, value.c_str()));
    Demand(extension && X509_add_ext(certificate, extension.get(), -1) == 1, "adding an extension");
}

void AddIdentity(X509* certificate, const std::string& identity)
{
    if (identity.empty()) {
        return;
    }
    const Handle<ASN1_UTF8STRING, ASN1_UTF8STRING_free> text(ASN1_UTF8STRING_new());
    const Handle<ASN1_OCTET_STRING, ASN1_OCTET_STRING_free> content(ASN1_OCTET_STRING_new());
    const ObjectHandle oid(OBJ_txt2obj(kIdentityOid, 1));
    Demand(text && content && oid &&
               ASN1_STRING_set(text.get(), identity.data(), static_cast<int>(identity.size())) == 1,
           "making the identity extension");
    unsigned char* memory = nullptr;
    const int size = i2d_ASN1_UTF8STRING(text.get(), &memory);
    const MemoryHandle owner(memory);
    Demand(size > 0 && ASN1_OCTET_STRING_set(content.get(), memory, size) == 1,
           "making the identity extension");
    const ExtensionHandle extension(X509_EXTENSION_create_by_OBJ(nullptr, oid.get(), 0, content.get()));
    Demand(extension && X509_add_ext(certificate, extension.get(), -1) == 1, "adding the identity extension");
}

void SetRandomSerial(X509* certificate)
{
    constexpr int kSize = 16;
    Bytes number = RandomBytes(kSize);
    // Positive, and without leading zeros, so that its text always has the same length.
    number[0] = static_cast<std::uint8_t>((number[0] & 0x3f) | 0x40);
    const BignumHandle value(BN_bin2bn(number.data(), kSize, nullptr));
    Demand(value && BN_to_ASN1_INTEGER(value.get(), X509_get_serialNumber(certificate)) != nullptr,
           "setting a serial number");
}

// Everything but extensions and signature.
Certificate Begin(const X509_NAME* issuer, EVP_PKEY* publicKey, const Subject& subject, Period period)
{
    constexpr long kVersion3 = 2;
    Certificate certificate(X509_new());
    Demand(static_cast<bool>(certificate), "making a certificate");
    X509* x509 = certificate.Get();
    const NameHandle name = NameOf(subject);
    SetRandomSerial(x509);
    Demand(X509_set_version(x509, kVersion3) == 1 && X509_set_subject_name(x509, name.get()) == 1 &&
               X509_set_issuer_name(x509, issuer != nullptr ? issuer : name.get()) == 1 &&
               Set(X509_getm_notBefore(x509), period.start) != nullptr &&
               Set(X509_getm_notAfter(x509), period.end) != nullptr && X509_set_pubkey(x509, publicKey) == 1,
           "filling a certificate");
    return certificate;
}

// Reads it again, so that it is what any other reader gets, the user id included.
Certificate Signed(const Certificate& certificate, EVP_PKEY* key)
{
    const SigningHandle context = SigningContext(key);
    Demand(X509_sign_ctx(certificate.Get(), context.get()) > 0, "signing a certificate");
    return Certificate::FromDer(certificate.Der());
}

void CheckIssuer(const Issuer& issuer)
{
    const bool fits = issuer.certificate && issuer.key != nullptr &&
                      X509_check_private_key(issuer.certificate.Get(), issuer.key) == 1;
    ERR_clear_error();
    if (!fits) {
        throw Failure(Cause::BadArgument, "The issuer's key is not that of its certificate");
    }
}

void AddAuthorityExtensions(X509* certificate, X509* issuer, int pathLength)
{
    std::string constraints = "critical,CA:TRUE";
    if (pathLength >= 0) {
        constraints += ",pathlen:" + std::to_string(pathLength);
    }
    AddExtension(certificate, issuer, NID_basic_constraints, constraints);
    AddExtension(certificate, issuer, NID_key_usage, "critical,keyCertSign,cRLSign");
    AddExtension(certificate, issuer, NID_subject_key_identifier, "hash");
    AddExtension(certificate, issuer, NID_authority_key_identifier, "keyid:always");
}

void AddRevoked(X509_CRL* list, const std::string& serialNumber)
{
    constexpr std::size_t kLongest = 64;
    BIGNUM* read = nullptr;
    const bool whole = !serialNumber.empty() && serialNumber.size() <= kLongest &&
                       BN_hex2bn(&read, serialNumber.c_str()) == static_cast<int>(serialNumber.size());
    const BignumHandle number(read);
    if (!whole) {
        throw Failure(Cause::BadArgument, "This is no serial number: " + serialNumber.substr(0, kLongest));
    }
    Handle<X509_REVOKED, X509_REVOKED_free> entry(X509_REVOKED_new());
    const Handle<ASN1_INTEGER, ASN1_INTEGER_free> serial(BN_to_ASN1_INTEGER(number.get(), nullptr));
    const Handle<ASN1_TIME, ASN1_TIME_free> when(Set(nullptr, {0, 0}));
    Demand(entry && serial && when && X509_REVOKED_set_serialNumber(entry.get(), serial.get()) == 1 &&
               X509_REVOKED_set_revocationDate(entry.get(), when.get()) == 1 &&
               X509_CRL_add0_revoked(list, entry.get()) == 1,
           "filling a revocation list");
    static_cast<void>(entry.release());
}

// Lists are numbered by the time of their making, which counts up without being kept anywhere.
void AddListExtensions(X509_CRL* list, X509* issuer)
{
    X509V3_CTX context;
    X509V3_set_ctx(&context, issuer, nullptr, nullptr, list, 0);
    const ExtensionHandle key(
        X509V3_EXT_conf_nid(nullptr, &context, NID_authority_key_identifier, "keyid:always"));
    const Handle<ASN1_INTEGER, ASN1_INTEGER_free> number(ASN1_INTEGER_new());
    Demand(key && number && X509_CRL_add_ext(list, key.get(), -1) == 1 &&
               ASN1_INTEGER_set_int64(number.get(), std::time(nullptr)) == 1 &&
               X509_CRL_add1_ext_i2d(list, NID_crl_number, number.get(), 0, 0) == 1,
           "adding an extension to a revocation list");
}

}  // namespace

Certificate MakeRoot(EVP_PKEY* key, const Subject& subject, int days)
{
    const Certificate root = Begin(nullptr, key, subject, PeriodOf(days));
    AddAuthorityExtensions(root.Get(), root.Get(), -1);
    AddIdentity(root.Get(), subject.identity);
    return Signed(root, key);
}

Certificate IssueAuthority(const Issuer& issuer, EVP_PKEY* publicKey, const Subject& subject, int days,
                           int pathLength)
{
    CheckIssuer(issuer);
    const Certificate authority =
        Begin(X509_get_subject_name(issuer.certificate.Get()), publicKey, subject, PeriodOf(days));
    AddAuthorityExtensions(authority.Get(), issuer.certificate.Get(), pathLength);
    AddIdentity(authority.Get(), subject.identity);
    return Signed(authority, issuer.key);
}

Certificate IssueUser(const Issuer& issuer, EVP_PKEY* publicKey, const Subject& subject, Usage usage,
                      int startDays, int days)
{
    CheckIssuer(issuer);
    CheckDays(startDays);
    CheckDays(days);
    if (days < 1) {
        throw Failure(Cause::BadArgument, "A certificate lasts a day at least");
    }
    const Period period{{startDays, -kLateClocks}, {startDays + days, 0}};
    X509* above = issuer.certificate.Get();
    const Certificate user = Begin(X509_get_subject_name(above), publicKey, subject, period);
    AddExtension(user.Get(), above, NID_basic_constraints, "critical,CA:FALSE");
    AddExtension(user.Get(), above, NID_key_usage,
                 usage == Usage::Signing ? "critical,digitalSignature,nonRepudiation"
                                         : "critical,keyEncipherment,dataEncipherment,keyAgreement");
    AddExtension(user.Get(), above, NID_subject_key_identifier, "hash");
    AddExtension(user.Get(), above, NID_authority_key_identifier, "keyid:always");
    AddIdentity(user.Get(), subject.identity);
    return Signed(user, issuer.key);
}

Bytes MakeRevocationList(const Issuer& issuer, const std::vector<std::string>& serialNumbers, int days)
{
    constexpr long kVersion2 = 1;
    CheckIssuer(issuer);
    const Period period = PeriodOf(days);
    const ListHandle list(X509_CRL_new());
    const Handle<ASN1_TIME, ASN1_TIME_free> start(Set(nullptr, period.start));
    const Handle<ASN1_TIME, ASN1_TIME_free> end(Set(nullptr, period.end));
    X509* above = issuer.certificate.Get();
    Demand(list && start && end && X509_CRL_set_version(list.get(), kVersion2) == 1 &&
               X509_CRL_set_issuer_name(list.get(), X509_get_subject_name(above)) == 1 &&
               X509_CRL_set1_lastUpdate(list.get(), start.get()) == 1 &&
               X509_CRL_set1_nextUpdate(list.get(), end.get()) == 1,
           "making a revocation list");
    for (const std::string& number : std::set<std::string>(serialNumbers.begin(), serialNumbers.end())) {
        AddRevoked(list.get(), number);
    }
    AddListExtensions(list.get(), above);
    X509_CRL_sort(list.get());
    const SigningHandle context = SigningContext(issuer.key);
    Demand(X509_CRL_sign_ctx(list.get(), context.get()) > 0, "signing a revocation list");
    unsigned char* memory = nullptr;
    const int size = i2d_X509_CRL(list.get(), &memory);
    const MemoryHandle owner(memory);
    Demand(size > 0, "encoding a revocation list");
    return Bytes(memory, memory + size);
}

}  // namespace kzr::softkey
