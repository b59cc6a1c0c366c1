// Making keys: create, with certificates of the test authority, and import, from PKCS#12 files.
#include <optional>

#include "Commands.h"
#include "ExitCodes.h"
#include "Shared.h"
#include "TestAuthority.h"
#include "base/Base64.h"
#include "base/Failure.h"
#include "base/File.h"
#include "crypto/Digest.h"
#include "store/Folder.h"
#include "store/Layout.h"
#include "store/Names.h"
#include "store/PinAttempt.h"

namespace kzr::softkey::tool {
namespace {

constexpr std::size_t kPkcs12Limit = 1024 * 1024;

struct User {
    KeyType type;
    std::string name;
    std::string container;
    Subject subject;
};

// "NAME;field=value;...": the first part is the name.
User ParseUser(const UserOption& option, const std::string& container)
{
    User user{option.type, "", container, {}};
    Subject& subject = user.subject;
    const std::pair<const char*, std::string*> fields[] = {
        {"c", &subject.country},        {"o", &subject.organization},  {"ou", &subject.unit},
        {"st", &subject.state},         {"cn", &subject.commonName},   {"l", &subject.locality},
        {"mail", &subject.email},       {"sn", &subject.serialNumber}, {"id", &subject.identity},
        {"container", &user.container},
    };
    subject.country = "CN";
    for (std::size_t start = 0; start <= option.text.size();) {
        const std::size_t end = std::min(option.text.find(';', start), option.text.size());
        const std::string part = option.text.substr(start, end - start);
        const std::size_t equals = part.find('=');
        if (start == 0) {
            user.name = part;
        } else {
            const auto* field = std::find_if(std::begin(fields), std::end(fields), [&](const auto& row) {
                return part.substr(0, equals) == row.first;
            });
            if (equals == std::string::npos || field == std::end(fields))
                throw ToolError(kUsage,
                                "\"" + part + "\" in \"" + option.text +
                                    "\" is none of c, o, ou, st, cn, l, mail, sn, id, container with a "
                                    "\"=\" and a value");
            *field->second = part.substr(equals + 1);
        }
        start = end + 1;
    }
    if (subject.commonName.empty()) subject.commonName = user.name;
    CheckUserName(user.name);
    CheckContainerName(user.container);
    return user;
}

std::string Described(const User& user, const char* what)
{
    return std::string("Making ") + what + " for " + user.name + " (" + NameOf(user.type) + ")";
}

NewContainer MakeContainer(const Options& options, const User& user, const TestAuthority& authority)
{
    NewContainer container{{user.container, user.name, user.type, {}, {}}, {}, {}};
    const Progress progress(options.quiet);
    progress.Step(Described(user, "the signing pair"), [&] {
        const KeyHandle key = GenerateKey(user.type, options.rsaBits);
        container.description.signing =
            authority.Issue(key.get(), user.subject, Usage::Signing, options.startDays, options.days);
        container.signingKey = PrivateKeyToDer(key.get());
    });
    if (!options.exchange) return container;
    progress.Step(Described(user, "the exchange pair"), [&] {
        const KeyHandle key = GenerateKey(user.type, options.rsaBits);
        container.description.exchange =
            authority.Issue(key.get(), user.subject, Usage::Exchange, options.startDays, options.days);
        container.exchangeKey = PrivateKeyToDer(key.get());
    });
    return container;
}

std::vector<NewContainer> MakeContainers(const Options& options, const Store& store,
                                         const std::vector<User>& users)
{
    std::vector<NewContainer> containers;
    const Progress progress(options.quiet);
    std::optional<TestAuthority> authorities[2];
    for (const User& user : users) {
        auto& authority = authorities[user.type == KeyType::Sm2 ? 0 : 1];
        if (!authority)
            authority.emplace(
                store.Root(), user.type, options.rsaBits, [&](const std::function<void()>& make) {
                    progress.Step(std::string("Making the test CA (") + NameOf(user.type) + ")", make);
                });
        containers.push_back(MakeContainer(options, user, *authority));
    }
    return containers;
}

void CheckIsNew(const Store& store, const std::string& serialNumber)
{
    CheckSerialNumber(serialNumber);
    // The names are compared by the file system: "a" is taken by "A".
    if (FolderExists(KeysFolder(store.Root()) + "\\" + serialNumber) ||
        FolderExists(ParkedFolder(store.Root()) + "\\" + serialNumber))
        throw ToolError(kExists, "there is a key " + serialNumber + " already; it was left alone");
}

Json ContainersJson(const std::vector<NewContainer>& containers)
{
    Json list = Json::array();
    for (const NewContainer& container : containers)
        list.push_back({{"name", container.description.name},
                        {"user", container.description.user},
                        {"type", NameOf(container.description.type)},
                        {"exchange", container.description.exchange.has_value()}});
    return list;
}

struct Imported {
    KeyHandle key;
    Certificate certificate;
    std::vector<Certificate> chain;
};

Imported ReadImport(const std::string& path, const std::optional<Secret>& given)
{
    const Bytes content = ReadWholeFile(path, kPkcs12Limit);
    const Secret password = given ? *given : AskSecret("Password of " + path);
    Pkcs12 read = ReadPkcs12(content, TextOf(password));
    return {std::move(read.key), std::move(read.certificate), std::move(read.chain)};
}

// The serial number and the first number that no container has yet.
std::string FreeContainer(const Store& store, const std::string& serialNumber)
{
    for (int number = 1;; ++number) {
        std::string name = serialNumber + "-" + std::to_string(number);
        try {
            CheckContainerIsNew(store.Root(), name);
            return name;
        } catch (const Failure&) {  // taken
        }
    }
}

void CheckContainerIsFree(const Store& store, const std::string& container)
{
    try {
        CheckContainerIsNew(store.Root(), container);
    } catch (const Failure& failure) {
        throw ToolError(kExists, failure.what());
    }
}

}  // namespace

Report Create(const Options& options)
{
    Store store = OpenStore(options);
    DeviceDescription device = options.device;
    device.serialNumber =
        options.serialNumber.empty() ? "VK" + HexUpper(RandomBytes(5)) : options.serialNumber;
    CheckIsNew(store, device.serialNumber);
    std::vector<User> users;
    for (const UserOption& user : options.users) {
        users.push_back(ParseUser(user, device.serialNumber + "-" + std::to_string(users.size() + 1)));
        CheckContainerIsFree(store, users.back().container);
    }
    const Secret pin = options.pin ? *options.pin : AskNewSecret("PIN of the new key");
    const Secret adminPin = options.adminPin ? *options.adminPin : AskNewSecret("Administrator's PIN");
    const Pins pins{TextOf(pin), TextOf(adminPin), options.tries};
    CheckPin(pins.user);
    CheckPin(pins.admin);

    const std::vector<NewContainer> containers = MakeContainers(options, store, users);
    Progress(options.quiet).Step("Writing the key", [&] {
        store.Create(device, pins, containers);
        if (options.unplugged) store.Unplug(device.serialNumber);
    });

    Report report;
    report.text = "Made the key " + device.serialNumber +
                  (options.unplugged ? ", which is not plugged" : ", which is plugged") + "\n";
    for (const NewContainer& container : containers)
        report.text += "  " + container.description.user + "  " + NameOf(container.description.type) +
                       "  container " + container.description.name + "\n";
    report.json = {{"serialNumber", device.serialNumber},
                   {"plugged", !options.unplugged},
                   {"store", store.Root()},
                   {"containers", ContainersJson(containers)}};
    return report;
}

Report Import(const Options& options)
{
    Store store = OpenStore(options);
    const Device device = FindKey(store, options.serialNumber);
    if (!options.container.empty()) CheckContainerIsFree(store, options.container);
    Imported signing = ReadImport(options.input, options.password);
    NewContainer container;
    container.description = {
        options.container.empty() ? FreeContainer(store, options.serialNumber) : options.container,
        options.user.empty() ? CertificateField(signing.certificate, 17) : options.user,
        KeyTypeOf(signing.key.get()),
        signing.certificate,
        {}};
    container.signingKey = PrivateKeyToDer(signing.key.get());
    std::vector<Certificate> chain = std::move(signing.chain);
    if (!options.exchangeInput.empty()) {
        Imported exchange = ReadImport(options.exchangeInput, options.exchangePassword);
        container.description.exchange = exchange.certificate;
        container.exchangeKey = PrivateKeyToDer(exchange.key.get());
        chain.insert(chain.end(), exchange.chain.begin(), exchange.chain.end());
    }

    Secret deviceKey;
    const Secret pin = options.pin ? *options.pin : AskSecret("PIN");
    CheckPinAnswer(device.Login(TextOf(pin), deviceKey), "");
    device.AddContainer(deviceKey, container);
    const bool trusted = options.trust && !chain.empty();
    if (trusted) {
        std::string pem;
        for (const Certificate& certificate : chain) pem += certificate.Pem();
        WriteWholeFile(
            TrustFolder(store.Root()) + "\\imported" + FileNameFor(container.description.name) + ".pem",
            ViewOf(pem));
    }

    Report report;
    report.text = "Put " + container.description.user + " into the key " + options.serialNumber +
                  " as container " + container.description.name + "\n";
    if (trusted)
        report.text += "Its " + std::to_string(chain.size()) + " chain certificate(s) are trusted now\n";
    report.json = {{"serialNumber", options.serialNumber},
                   {"containers", ContainersJson({container})},
                   {"chain", chain.size()},
                   {"trusted", trusted}};
    return report;
}

}  // namespace kzr::softkey::tool
