// Records to JSON and back.
#include "store/Records.h"

#define JSON_NO_IO
#include <nlohmann/json.hpp>

#include "base/Base64.h"
#include "base/Failure.h"
#include "store/Names.h"
#include "store/Wrap.h"

namespace kzr::softkey {
namespace {

using Json = nlohmann::ordered_json;

constexpr int kFormat = 1;
constexpr int kMostIterations = 10 * kPinIterations;
constexpr int kMostTries = 100;
constexpr std::size_t kSaltSize = 16;
// Nonce and check value around the key.
constexpr std::size_t kWrappedSize = 12 + kWrapKeySize + 16;
constexpr std::size_t kLongestText = 128;

Failure Bad(const std::string& why) { return Failure(Cause::BadData, why); }

// What the library throws about missing members and wrong types becomes a failure of ours.
template <typename Read>
auto Parse(View text, const char* what, Read&& read)
{
    try {
        const Json json = Json::parse(text.begin(), text.end());
        if (!json.is_object() || !json.contains("format")) throw Bad(std::string(what) + " is none");
        if (json.at("format") != kFormat)
            throw Bad(std::string(what) + " was written by another version of the software key");
        return read(json);
    } catch (const Json::exception& error) {
        throw Bad(std::string(what) + " cannot be read: " + error.what());
    }
}

int Number(const Json& json, const char* name, int least, int most)
{
    const Json& value = json.at(name);
    if (value.is_number_integer()) {
        const auto number = value.get<std::int64_t>();
        if (number >= least && number <= most) return static_cast<int>(number);
    }
    throw Bad(std::string("\"") + name + "\" is no number that can stand there");
}

std::string ShortText(const Json& json, const char* name)
{
    std::string text = json.at(name).get<std::string>();
    if (text.size() > kLongestText || !IsPlainText(text))
        throw Bad(std::string("\"") + name + "\" is no text");
    return text;
}

Bytes FromBase64(const Json& json, const char* name)
{
    return Base64Decode(json.at(name).get_ref<const std::string&>());
}

Bytes OfSize(Bytes bytes, std::size_t size)
{
    if (bytes.size() != size) throw Bad("the PIN record holds something of a wrong size");
    return bytes;
}

std::string Text(const Json& json) { return json.dump(2) + "\n"; }

Json LockToJson(const PinLock& lock)
{
    return {{"tries", lock.tries},
            {"left", lock.left},
            {"salt", Base64Encode(lock.salt)},
            {"deviceKey", Base64Encode(lock.deviceKey)}};
}

PinLock LockFromJson(const Json& json)
{
    PinLock lock;
    lock.tries = Number(json, "tries", 1, kMostTries);
    lock.left = Number(json, "left", 0, lock.tries);
    lock.salt = OfSize(FromBase64(json, "salt"), kSaltSize);
    lock.deviceKey = OfSize(FromBase64(json, "deviceKey"), kWrappedSize);
    return lock;
}

Json PairToJson(const Certificate& certificate, const Bytes& key)
{
    return {{"certificate", certificate.Text()}, {"key", Base64Encode(key)}};
}

Certificate CertificateIn(const Json& pair)
{
    return Certificate::FromText(pair.at("certificate").get_ref<const std::string&>());
}

}  // namespace

std::string FormatDescription(const DeviceDescription& description)
{
    return Text({{"format", kFormat},
                 {"type", description.type},
                 {"library", description.extensionLibrary},
                 {"provider", description.provider}});
}

DeviceDescription ParseDescription(View json, const std::string& serialNumber)
{
    return Parse(json, "the key's description", [&](const Json& root) {
        return DeviceDescription{serialNumber, ShortText(root, "type"), ShortText(root, "library"),
                                 ShortText(root, "provider")};
    });
}

std::string FormatPins(const PinRecord& record)
{
    return Text({{"format", kFormat},
                 {"stretching", "PBKDF2-SHA256"},
                 {"iterations", record.iterations},
                 {"user", LockToJson(record.user)},
                 {"admin", LockToJson(record.admin)},
                 {"proof", Base64Encode(record.proof)}});
}

PinRecord ParsePins(View json)
{
    return Parse(json, "the PIN record", [](const Json& root) {
        if (root.at("stretching") != "PBKDF2-SHA256") throw Bad("the PIN record names an unknown stretching");
        PinRecord record;
        // More would keep everybody waiting, fewer would make trying PINs cheap.
        record.iterations = Number(root, "iterations", kPinIterations, kMostIterations);
        record.user = LockFromJson(root.at("user"));
        record.admin = LockFromJson(root.at("admin"));
        record.proof = OfSize(FromBase64(root, "proof"), kWrappedSize);
        return record;
    });
}

std::string FormatContainer(const ContainerRecord& record)
{
    const ContainerDescription& description = record.description;
    Json json = {{"format", kFormat},
                 {"name", description.name},
                 {"user", description.user},
                 {"type", description.type == KeyType::Sm2 ? "SM2" : "RSA"},
                 {"signing", PairToJson(description.signing, record.signingKey)}};
    if (description.exchange) json["exchange"] = PairToJson(*description.exchange, record.exchangeKey);
    return Text(json);
}

ContainerRecord ParseContainer(View json)
{
    return Parse(json, "the container", [](const Json& root) {
        ContainerRecord record;
        ContainerDescription& description = record.description;
        description.name = ShortText(root, "name");
        description.user = ShortText(root, "user");
        try {
            CheckContainerName(description.name);
            CheckUserName(description.user);
        } catch (const Failure& failure) {
            throw Bad(failure.what());
        }
        const Json& type = root.at("type");
        if (type != "SM2" && type != "RSA") throw Bad("the container is of an unknown type");
        description.type = type == "SM2" ? KeyType::Sm2 : KeyType::Rsa;
        description.signing = CertificateIn(root.at("signing"));
        record.signingKey = FromBase64(root.at("signing"), "key");
        if (root.contains("exchange")) {
            description.exchange = CertificateIn(root.at("exchange"));
            record.exchangeKey = FromBase64(root.at("exchange"), "key");
        }
        return record;
    });
}

}  // namespace kzr::softkey
