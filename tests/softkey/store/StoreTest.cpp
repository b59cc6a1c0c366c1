#include "softkey/store/StoreTest.h"

#include <openssl/pkcs12.h>

#include "base/File.h"
#include "base/Wide.h"
#include "softkey/core/TestAuthorities.h"
#include "store/Folder.h"

namespace kzr::softkey::test {
namespace {

struct Material {
    Certificate certificate;
    Secret key;
};

const Material& MaterialOf(KeyType type, Usage usage)
{
    static std::map<std::pair<KeyType, Usage>, Material> made;
    Material& material = made[{type, usage}];
    if (material.key.empty()) {
        EVP_PKEY* const key = KeyOf(type, usage == Usage::Signing ? 2 : 1);
        material = {IssueUser(FamilyOf(type).Between(), key, Named("User"), usage, 0, 30),
                    PrivateKeyToDer(key)};
    }
    return material;
}

void AddLeftovers(const std::string& folder, std::vector<std::string>& found)
{
    for (const std::string& name : FilesIn(folder)) {
        if (name.ends_with(kTemporaryEnding)) found.push_back(folder + "\\" + name);
    }
    for (const std::string& name : FoldersIn(folder)) {
        if (folder.ends_with("\\making")) found.push_back(folder + "\\" + name);
        AddLeftovers(folder + "\\" + name, found);
    }
}

}  // namespace

NewContainer ContainerOf(const std::string& name, const std::string& user, KeyType type, bool exchange)
{
    const Material& signing = MaterialOf(type, Usage::Signing);
    NewContainer container{{name, user, type, signing.certificate, {}}, signing.key, {}};
    if (!exchange) return container;
    container.description.exchange = MaterialOf(type, Usage::Exchange).certificate;
    container.exchangeKey = MaterialOf(type, Usage::Exchange).key;
    return container;
}

Device MakeKey(Store& store, const std::string& serialNumber, const std::vector<NewContainer>& containers,
               int tries)
{
    DeviceDescription description;
    description.serialNumber = serialNumber;
    return store.Create(description, {kPin, kAdminPin, tries}, containers);
}

Secret LogIn(const Device& device, const char* pin)
{
    Secret deviceKey;
    EXPECT_EQ(device.Login(pin, deviceKey).result, PinResult::Right);
    return deviceKey;
}

void WritePkcs12(const std::string& path, EVP_PKEY* key, const Certificate& certificate,
                 const std::vector<Certificate>& chain, const char* password)
{
    STACK_OF(X509)* const others = sk_X509_new_null();
    for (const Certificate& one : chain) sk_X509_push(others, one.Get());
    PKCS12* const made = PKCS12_create(password, "own", key, certificate.Get(), others, NID_aes_256_cbc,
                                       NID_aes_256_cbc, 2048, 2048, 0);
    ASSERT_TRUE(made);
    unsigned char* der = nullptr;
    const int size = i2d_PKCS12(made, &der);
    WriteWholeFile(path, View(der, static_cast<std::size_t>(size)));
    OPENSSL_free(der);
    PKCS12_free(made);
    sk_X509_free(others);
}

std::vector<std::string> SerialNumbers(const std::vector<Device>& devices)
{
    std::vector<std::string> numbers;
    for (const Device& device : devices) numbers.push_back(device.Description().serialNumber);
    return numbers;
}

std::vector<std::string> ContainerNames(const Device& device)
{
    std::vector<std::string> names;
    for (const ContainerDescription& container : device.Containers()) names.push_back(container.name);
    return names;
}

StoreTest::StoreTest() : m_store(ToUtf8(m_folder / L"store")) {}

std::string StoreTest::Read(const std::string& name) const { return StringOf(ReadWholeFile(PathOf(name))); }

void StoreTest::Write(const std::string& name, const std::string& content) const
{
    WriteWholeFile(PathOf(name), ViewOf(content));
}

bool StoreTest::Exists(const std::string& name) const
{
    return FileExists(PathOf(name)) || FolderExists(PathOf(name));
}

std::vector<std::string> StoreTest::Leftovers() const
{
    std::vector<std::string> found;
    AddLeftovers(m_store.Root(), found);
    return found;
}

}  // namespace kzr::softkey::test
