#include "softkey/store/StoreTest.h"

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
