// What several commands need.
#include "Shared.h"

#include "ExitCodes.h"
#include "base/Failure.h"
#include "base/File.h"

namespace kzr::softkey::tool {

Store OpenStore(const Options& options)
{
    return Store(options.store.empty() ? Store::DefaultRoot() : options.store);
}

Device FindKey(const Store& store, const std::string& serialNumber)
{
    if (auto device = store.Find(serialNumber)) return *device;
    if (auto device = store.FindParked(serialNumber)) return *device;
    throw Failure(Cause::UnknownKey, "there is no key " + serialNumber + " in " + store.Root());
}

bool IsPlugged(const Store& store, const std::string& serialNumber)
{
    return store.Find(serialNumber).has_value();
}

void CheckPinAnswer(const PinAnswer& answer, const char* which)
{
    if (answer.result == PinResult::Right) return;
    const std::string name = std::string("the ") + which + "PIN";
    if (answer.result == PinResult::Locked) throw ToolError(kPin, name + " is locked");
    throw ToolError(kPin, name + " is wrong; tries left: " + std::to_string(answer.triesLeft));
}

void CheckMayWrite(const std::string& path, bool force)
{
    if (!force && FileExists(path)) throw ToolError(kExists, path + " is there already; --force replaces it");
}

const char* NameOf(KeyType type) { return type == KeyType::Sm2 ? "SM2" : "RSA"; }

}  // namespace kzr::softkey::tool
