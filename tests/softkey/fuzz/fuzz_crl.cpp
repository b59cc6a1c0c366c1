// Fuzzer: any bytes are a bundle of revocation lists that revokes somebody or nobody, or bad data. Lists that
// its issuer did not sign revoke nobody.
#include <openssl/x509.h>

#include <cstdlib>

#include "base/Failure.h"
#include "x509/Authority.h"
#include "x509/RevocationList.h"
#include "x509/Validation.h"

namespace {

using namespace kzr::softkey;

struct Chain {
    KeyHandle key = GenerateKey(KeyType::Sm2);
    Certificate root;
    Certificate user;
    Chain()
    {
        Subject subject;
        subject.commonName = "Fuzzed";
        root = MakeRoot(key.get(), subject, 1000);
        subject.commonName = "User";
        user = IssueUser({root, key.get()}, key.get(), subject, Usage::Signing, 0, 500);
    }
};

// A changed list has no valid signature, so the store never looks at its entries; this does.
void LookInto(const Chain& chain, View der, std::time_t now)
{
    const std::shared_ptr<X509_CRL> list = ReadRevocationList(der);
    if (!list) {
        return;
    }
    ListCounts(list.get(), chain.root.Get(), now);
    SameScope(list.get(), list.get());
    X509_REVOKED* entry = nullptr;
    X509_CRL_get0_by_cert(list.get(), &entry, chain.user.Get());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const Chain* const chain = new Chain;
    const std::time_t now = std::time(nullptr);
    const View bytes(data, size);
    LookInto(*chain, bytes, now);
    TrustStore store;
    const Bytes root = chain->root.Der();
    store.AddCertificates(root, true);
    try {
        store.AddRevocationLists(bytes);
    } catch (const Failure& failure) {
        if (failure.Why() != Cause::BadData) {
            std::abort();
        }
    }
    if (store.Check(chain->user, now) != Validity::Valid) {
        std::abort();
    }
    return 0;
}
