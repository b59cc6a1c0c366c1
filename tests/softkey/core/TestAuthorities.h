// Keys and authorities that the tests of certificates, chains and XML share; making them takes time.
#pragma once

#include <openssl/evp.h>

#include <ctime>
#include <optional>

#include "base/Failure.h"
#include "x509/Authority.h"

namespace kzr::softkey::test {

// The same one for the same number, made on first use. Callers do not free it.
EVP_PKEY* KeyOf(KeyType type, int number = 0);

Subject Named(const std::string& commonName);

// A root, an authority below it and a user below that; keys 0, 1 and 2.
struct Family {
    explicit Family(KeyType type);
    Issuer Root() const { return {root, KeyOf(type, 0)}; }
    Issuer Between() const { return {between, KeyOf(type, 1)}; }

    KeyType type;
    Certificate root;
    Certificate between;
    Certificate user;
};

const Family& FamilyOf(KeyType type);

// Why the action failed; none when it did not.
template <typename Action>
std::optional<Cause> CauseOf(Action action)
{
    try {
        action();
    } catch (const Failure& failure) {
        return failure.Why();
    }
    return std::nullopt;
}

inline const char* NameOf(KeyType type) { return type == KeyType::Sm2 ? "Sm2" : "Rsa"; }

}  // namespace kzr::softkey::test
