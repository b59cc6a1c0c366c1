#include "softkey/core/TestAuthorities.h"

#include <map>
#include <utility>

namespace kzr::softkey::test {

EVP_PKEY* KeyOf(KeyType type, int number)
{
    static std::map<std::pair<KeyType, int>, KeyHandle> keys;
    KeyHandle& key = keys[{type, number}];
    if (!key) {
        key = GenerateKey(type);
    }
    return key.get();
}

Subject Named(const std::string& commonName)
{
    Subject subject;
    subject.country = "CN";
    subject.organization = "Demonstration";
    subject.commonName = commonName;
    return subject;
}

Family::Family(KeyType keyType)
    : type(keyType),
      root(MakeRoot(KeyOf(type, 0), Named("Root"), 3650)),
      between(IssueAuthority(Root(), KeyOf(type, 1), Named("Between"), 3650)),
      user(IssueUser(Between(), KeyOf(type, 2), Named("User"), Usage::Signing, 0, 365))
{}

const Family& FamilyOf(KeyType type)
{
    static std::map<KeyType, Family> families;
    return families.try_emplace(type, type).first->second;
}

}  // namespace kzr::softkey::test
