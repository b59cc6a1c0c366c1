// The store's own certificate authorities for tests, one for SM2 and one for RSA, each a root and an
// intermediate that issues. They are made on first use; their keys lie in the store unprotected.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "x509/Authority.h"

namespace kzr::softkey::tool {

class TestAuthority {
  public:
    // Reads it; makes it when there is none, telling `making` to do the slow part.
    TestAuthority(const std::string& storeRoot, KeyType type, int rsaBits,
                  const std::function<void(const std::function<void()>&)>& making);

    static bool Exists(const std::string& storeRoot, KeyType type);

    Certificate Issue(EVP_PKEY* key, const Subject& subject, Usage usage, int startDays, int days) const;

    bool HasIssued(const Certificate& certificate) const;
    // Adds to the revocation list; true when it was not in it.
    bool Revoke(const Certificate& certificate);

    std::string ChainPem() const;
    std::string ListPem() const;

  private:
    struct Member {
        Certificate certificate;
        KeyHandle key;
    };
    void Make(int rsaBits);
    bool Read();
    void Write() const;
    void Publish() const;
    Bytes List() const;
    Issuer Issuing() const { return {m_issuing.certificate, m_issuing.key.get()}; }

    const std::string m_root;
    const KeyType m_type;
    Member m_anchor, m_issuing;
    std::vector<std::string> m_revoked;
};

}  // namespace kzr::softkey::tool
