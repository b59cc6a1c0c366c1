// A store of its own for each test, key material that is made once, and a look at the files behind it.
#pragma once

#include <string>
#include <vector>

#include "softkey/core/Support.h"
#include "store/Store.h"
#include "support/TempFolder.h"

namespace kzr::softkey::test {

inline constexpr char kPin[] = "123456";
inline constexpr char kAdminPin[] = "87654321";
inline constexpr char kWrongPin[] = "000000";

// Self-signed, with both pairs or the signing pair alone; two types of two numbers exist.
NewContainer ContainerOf(const std::string& name, const std::string& user = "Alice",
                         KeyType type = KeyType::Sm2, bool exchange = true);

// SN01 with the container c1, plugged.
Device MakeKey(Store& store, const std::string& serialNumber = "SN01",
               const std::vector<NewContainer>& containers = {ContainerOf("c1")}, int tries = 10);

// The device key, by the PIN, which has to be right.
Secret LogIn(const Device& device, const char* pin = kPin);

// A PKCS#12 file with this key and certificate.
void WritePkcs12(const std::string& path, EVP_PKEY* key, const Certificate& certificate,
                 const std::vector<Certificate>& chain = {}, const char* password = "word");

std::vector<std::string> SerialNumbers(const std::vector<Device>& devices);
std::vector<std::string> ContainerNames(const Device& device);

class StoreTest : public testing::Test {
  protected:
    StoreTest();

    // Below the store's root, with '\'.
    std::string PathOf(const std::string& name) const { return m_store.Root() + "\\" + name; }
    std::string Read(const std::string& name) const;
    void Write(const std::string& name, const std::string& content) const;
    bool Exists(const std::string& name) const;
    // Temporary files, and what is being made, wherever they are.
    std::vector<std::string> Leftovers() const;

    const kzr::test::TempFolder m_folder;
    Store m_store;
};

}  // namespace kzr::softkey::test
