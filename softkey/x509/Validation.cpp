// The chain is the library's work; dates are collected on the way instead of ending it, and the lists are
// looked at afterwards, along the chain that was found.
#include "x509/Validation.h"

#include <openssl/err.h>
#include <openssl/x509_vfy.h>

#include <algorithm>

#include "base/Failure.h"
#include "x509/Bundle.h"
#include "x509/Handles.h"
#include "x509/RevocationList.h"

namespace kzr::softkey {

namespace {

constexpr std::size_t kCertificateBundleLimit = std::size_t{1} << 20;
constexpr std::size_t kListBundleLimit = std::size_t{16} << 20;
// More would only make the search for a chain slow.
constexpr std::size_t kMostCertificates = 256;
constexpr std::size_t kMostLists = 256;
// Authorities between a certificate and its anchor.
constexpr int kMostBetween = 8;
// 80 bits and more: RSA from 1,024 bits, no MD5, no SHA-1.
constexpr int kSecurityLevel = 1;

using StoreHandle = Handle<X509_STORE, X509_STORE_free>;
using ContextHandle = Handle<X509_STORE_CTX, X509_STORE_CTX_free>;

struct FreeStack {
    // Its certificates belong to others.
    void operator()(STACK_OF(X509) * stack) const noexcept { sk_X509_free(stack); }
};
using StackHandle = std::unique_ptr<STACK_OF(X509), FreeStack>;

bool IsSelfSigned(const Certificate& certificate)
{
    const bool is = X509_self_signed(certificate.Get(), 1) == 1;
    ERR_clear_error();
    return is;
}

bool Holds(const std::vector<Certificate>& certificates, const Certificate& wanted)
{
    return std::ranges::any_of(
        certificates, [&wanted](const Certificate& one) { return X509_cmp(one.Get(), wanted.Get()) == 0; });
}

// Lets a chain be found whose dates are wrong, and remembers that they were.
int OnChainError(int ok, X509_STORE_CTX* context)
{
    if (ok == 1) {
        return 1;
    }
    const int error = X509_STORE_CTX_get_error(context);
    if (error != X509_V_ERR_CERT_NOT_YET_VALID && error != X509_V_ERR_CERT_HAS_EXPIRED) {
        return 0;
    }
    *static_cast<bool*>(X509_STORE_CTX_get_app_data(context)) = true;
    return 1;
}

StoreHandle StoreOf(const std::vector<Certificate>& anchors)
{
    StoreHandle store(X509_STORE_new());
    for (const Certificate& anchor : anchors) {
        if (!store || X509_STORE_add_cert(store.get(), anchor.Get()) != 1) {
            ThrowCrypto("collecting anchors");
        }
    }
    return store;
}

StackHandle StackOf(const std::vector<Certificate>& certificates)
{
    StackHandle stack(sk_X509_new_null());
    for (const Certificate& certificate : certificates) {
        if (!stack || sk_X509_push(stack.get(), certificate.Get()) <= 0) {
            ThrowCrypto("collecting certificates");
        }
    }
    return stack;
}

// The library takes a certificate without basic constraints for an authority when its key usage says so; here
// only an anchor of version 1, which cannot have them, goes without.
bool AuthoritiesAreOnes(const STACK_OF(X509) * chain)
{
    constexpr int kByConstraints = 1;
    constexpr int kByOldVersion = 3;
    const int count = sk_X509_num(chain);
    for (int i = 1; i < count; ++i) {
        const int kind = X509_check_ca(sk_X509_value(chain, i));
        if (kind != kByConstraints && (kind != kByOldVersion || i != count - 1)) {
            return false;
        }
    }
    return true;
}

// Those that count for the issuer, without the ones that a newer list replaces.
std::vector<X509_CRL*> ListsOf(const std::vector<std::shared_ptr<X509_CRL>>& lists, X509* issuer,
                               std::time_t now)
{
    std::vector<X509_CRL*> counting;
    for (const auto& list : lists) {
        if (!ListCounts(list.get(), issuer, now)) {
            continue;
        }
        const auto same = std::ranges::find_if(
            counting, [&list](const X509_CRL* other) { return SameScope(list.get(), other); });
        if (same == counting.end()) {
            counting.push_back(list.get());
        } else if (ASN1_TIME_compare(X509_CRL_get0_lastUpdate(list.get()), X509_CRL_get0_lastUpdate(*same)) >
                   0) {
            *same = list.get();
        }
    }
    return counting;
}

bool AnyRevoked(const STACK_OF(X509) * chain, const std::vector<std::shared_ptr<X509_CRL>>& lists,
                std::time_t now)
{
    for (int i = 0; i + 1 < sk_X509_num(chain); ++i) {
        for (X509_CRL* list : ListsOf(lists, sk_X509_value(chain, i + 1), now)) {
            X509_REVOKED* entry = nullptr;
            if (X509_CRL_get0_by_cert(list, &entry, sk_X509_value(chain, i)) == 1) {
                return true;
            }
        }
    }
    return false;
}

bool KeyIsReadable(const Certificate& certificate)
{
    const bool readable = certificate && X509_get0_pubkey(certificate.Get()) != nullptr;
    ERR_clear_error();
    return readable;
}

}  // namespace

void TrustStore::AddCertificates(View bundle, bool anchors)
{
    Bundle pieces = TakeApart(bundle, kCertificateBundleLimit);
    std::ranges::move(pieces.either, std::back_inserter(pieces.certificates));
    std::size_t read = 0;
    for (const Bytes& der : pieces.certificates) {
        Certificate certificate;
        try {
            certificate = Certificate::FromDer(der);
        } catch (const Failure&) {
            continue;
        }
        ++read;
        std::vector<Certificate>& to = anchors && IsSelfSigned(certificate) ? m_anchors : m_intermediates;
        if (!Holds(to, certificate) && to.size() < kMostCertificates) {
            to.push_back(std::move(certificate));
        }
    }
    if (read == 0) {
        throw Failure(Cause::BadData, "The bundle holds no certificate that can be read");
    }
}

void TrustStore::AddRevocationLists(View bundle)
{
    Bundle pieces = TakeApart(bundle, kListBundleLimit);
    std::ranges::move(pieces.either, std::back_inserter(pieces.lists));
    std::size_t read = 0;
    for (const Bytes& der : pieces.lists) {
        std::shared_ptr<X509_CRL> list = ReadRevocationList(der);
        if (!list) {
            continue;
        }
        ++read;
        const bool known = std::ranges::any_of(
            m_lists, [&list](const auto& other) { return X509_CRL_match(list.get(), other.get()) == 0; });
        if (!known && m_lists.size() < kMostLists) {
            m_lists.push_back(std::move(list));
        }
    }
    if (read == 0) {
        throw Failure(Cause::BadData, "The bundle holds no revocation list that can be read");
    }
}

Validity TrustStore::Check(const Certificate& certificate, std::time_t now) const
{
    if (!KeyIsReadable(certificate)) {
        return Validity::Unreadable;
    }
    const StoreHandle store = StoreOf(m_anchors);
    const StackHandle between = StackOf(m_intermediates);
    const ContextHandle context(X509_STORE_CTX_new());
    bool outsideDates = false;
    if (!store || !context ||
        X509_STORE_CTX_init(context.get(), store.get(), certificate.Get(), between.get()) != 1 ||
        X509_STORE_CTX_set_app_data(context.get(), &outsideDates) != 1) {
        ThrowCrypto("beginning to check a chain");
    }
    X509_VERIFY_PARAM* parameters = X509_STORE_CTX_get0_param(context.get());
    X509_VERIFY_PARAM_set_time(parameters, now);
    X509_VERIFY_PARAM_set_depth(parameters, kMostBetween);
    X509_VERIFY_PARAM_set_auth_level(parameters, kSecurityLevel);
    X509_STORE_CTX_set_verify_cb(context.get(), OnChainError);

    const bool found = X509_verify_cert(context.get()) == 1;
    ERR_clear_error();
    const STACK_OF(X509)* chain = X509_STORE_CTX_get0_chain(context.get());
    if (!found || chain == nullptr || !AuthoritiesAreOnes(chain)) {
        return Validity::Untrusted;
    }
    if (AnyRevoked(chain, m_lists, now)) {
        return Validity::Revoked;
    }
    return outsideDates ? Validity::OutsideDates : Validity::Valid;
}

}  // namespace kzr::softkey
