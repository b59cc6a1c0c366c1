// Keys, users, PINs and data files.
#include "base/Failure.h"
#include "server/Methods.h"
#include "server/PlugWatch.h"
#include "server/Selected.h"

namespace kzr::softkey {
namespace {

// A wrong PIN is an answer; a locked one is a failure, so that a page can tell them apart.
Answer TruthOf(const PinAnswer& answer)
{
    if (answer.result == PinResult::Locked) throw Failure(Cause::Locked, "the PIN is locked");
    return Answer::Truth(answer.result == PinResult::Right);
}

}  // namespace

Answer GetUserList(const Arguments&, ControlState&)
{
    std::string list;
    for (const Device& device : OpenStore().Plugged()) {
        try {
            for (const ContainerDescription& container : device.Containers())
                list +=
                    container.user + "||" + container.name + "/" + device.Description().serialNumber + "&&&";
        } catch (const Failure&) {
            // One that is pulled at this moment, or broken, does not hide the others.
        }
    }
    return Answer::Text(list);
}

Answer GetAllDeviceSN(const Arguments&, ControlState&)
{
    std::string list;
    for (const Device& device : OpenStore().Plugged()) list += device.Description().serialNumber + ";";
    return Answer::Text(list);
}

Answer GetDeviceInfo(const Arguments& arguments, ControlState&)
{
    const Device device = FindDevice(OpenStore(), arguments.Text(0));
    switch (arguments.Number(1)) {
        case 7:
            return Answer::Text(device.Description().type);
        case 8:
            return Answer::Text(device.Description().extensionLibrary);
        case 9:
            return Answer::Text(device.Description().provider);
        default:
            throw Failure(Cause::BadArgument, "there is no such information");
    }
}

Answer Login(const Arguments& arguments, ControlState&)
{
    const Selected selected = Select(arguments.Text(0));
    const std::string plugging = selected.device.Plugging();
    Secret deviceKey;
    const PinAnswer answer = selected.device.Login(arguments.Text(1), deviceKey);
    if (answer.result == PinResult::Right)
        PlugWatch::BeginLogin(selected.SerialNumber(), plugging, std::move(deviceKey));
    return TruthOf(answer);
}

Answer ChangePassWd(const Arguments& arguments, ControlState&)
{
    return TruthOf(Select(arguments.Text(0)).device.ChangePin(arguments.Text(1), arguments.Text(2)));
}

Answer GetPinRetryCount(const Arguments& arguments, ControlState&)
{
    return Answer::Number(Select(arguments.Text(0)).device.TriesLeft());
}

Answer ReadKeyFile(const Arguments& arguments, ControlState&)
{
    const auto data = FindDevice(OpenStore(), arguments.Text(0)).ReadData(arguments.Name(1));
    return Answer::Text(data ? TextOf(*data) : std::string_view());
}

Answer WriteKeyFile(const Arguments& arguments, ControlState&)
{
    if (arguments.Number(3) != 0) throw Failure(Cause::BadArgument, "there is no such way of writing");
    FindDevice(OpenStore(), arguments.Text(0)).WriteData(arguments.Name(1), arguments.Data(2));
    return Answer::Truth(true);
}

}  // namespace kzr::softkey
