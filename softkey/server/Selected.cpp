#include "server/Selected.h"

#include "base/Failure.h"
#include "server/Sessions.h"

namespace kzr::softkey {

Store OpenStore() { return Store(Store::DefaultRoot()); }

Device FindDevice(const Store& store, const std::string& serialNumber)
{
    std::optional<Device> device = store.Find(serialNumber);
    if (device) return *std::move(device);
    throw Failure(Cause::UnknownKey, "no key " + serialNumber + " is plugged");
}

KeyHandle Selected::PrivateKey(Pair pair) const
{
    return device.PrivateKey(Sessions::DeviceKey(SerialNumber(), device.Plugging()), container.name, pair);
}

Selected Select(const std::string& id)
{
    const Store store = OpenStore();
    const std::size_t slash = id.find('/');
    const std::string name = id.substr(0, slash);
    const auto deviceOf = [&]() -> Device {
        if (slash != std::string::npos) return FindDevice(store, id.substr(slash + 1));
        std::optional<Device> device = store.FindByContainer(name);
        if (!device) throw Failure(Cause::UnknownContainer, "no plugged key has the container " + name);
        return *std::move(device);
    };
    Device device = deviceOf();
    for (ContainerDescription& container : device.Containers()) {
        if (container.name == name) return {std::move(device), std::move(container)};
    }
    throw Failure(Cause::UnknownContainer, "the key has no container " + name);
}

}  // namespace kzr::softkey
