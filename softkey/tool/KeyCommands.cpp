// Handling keys: plug, unplug, delete, pin set, pin unblock.
#include "Commands.h"
#include "ExitCodes.h"
#include "Shared.h"
#include "store/PinAttempt.h"

namespace kzr::softkey::tool {
namespace {

// All keys are looked for first, so that a wrong name changes nothing.
Report Move(const Options& options, bool plug)
{
    Store store = OpenStore(options);
    for (const std::string& serialNumber : options.serialNumbers) FindKey(store, serialNumber);
    Report report;
    report.json["keys"] = Json::array();
    for (const std::string& serialNumber : options.serialNumbers) {
        const bool before = IsPlugged(store, serialNumber);
        plug ? store.Plug(serialNumber) : store.Unplug(serialNumber);
        report.text += serialNumber + (before == plug ? " was " : " is now ") +
                       (plug ? "plugged" : "unplugged") + (before == plug ? " already\n" : "\n");
        report.json["keys"].push_back(
            {{"serialNumber", serialNumber}, {"plugged", plug}, {"changed", before != plug}});
    }
    return report;
}

Secret Given(const std::optional<Secret>& pin, const char* question)
{
    return pin ? *pin : AskSecret(question);
}

Secret GivenNew(const Options& options)
{
    Secret pin = options.newPin ? *options.newPin : AskNewSecret("New PIN");
    CheckPin(TextOf(pin));
    return pin;
}

Report PinReport(const Options& options, const char* text, int tries)
{
    return {std::string(text) + options.serialNumber + "\n",
            {{"serialNumber", options.serialNumber}, {"triesLeft", tries}}};
}

}  // namespace

Report Plug(const Options& options) { return Move(options, true); }
Report Unplug(const Options& options) { return Move(options, false); }

Report Delete(const Options& options)
{
    Store store = OpenStore(options);
    const Device device = FindKey(store, options.serialNumber);
    if (!options.yes) {
        const std::string question = "Delete the key " + options.serialNumber + " with " +
                                     std::to_string(device.Containers().size()) +
                                     " container(s) and all its files? Answer yes:";
        if (!IsInteractive() || AskLine(question) != "yes")
            throw ToolError(kNotConfirmed, "the key " + options.serialNumber +
                                               " was left alone; --yes deletes it without a question");
    }
    store.Delete(options.serialNumber);
    return {"Deleted the key " + options.serialNumber + "\n", {{"serialNumber", options.serialNumber}}};
}

Report SetPin(const Options& options)
{
    const Device device = FindKey(OpenStore(options), options.serialNumber);
    if (options.administrator) {
        const Secret old = Given(options.adminPin, "Administrator's PIN");
        const Secret pin = GivenNew(options);
        const PinAnswer answer = device.ChangeAdminPin(TextOf(old), TextOf(pin));
        CheckPinAnswer(answer, "administrator's ");
        return PinReport(options, "Changed the administrator's PIN of ", answer.triesLeft);
    }
    const Secret old = Given(options.pin, "Old PIN");
    const Secret pin = GivenNew(options);
    const PinAnswer answer = device.ChangePin(TextOf(old), TextOf(pin));
    CheckPinAnswer(answer, "");
    return PinReport(options, "Changed the PIN of ", answer.triesLeft);
}

Report UnblockPin(const Options& options)
{
    const Device device = FindKey(OpenStore(options), options.serialNumber);
    const Secret admin = Given(options.adminPin, "Administrator's PIN");
    const Secret pin = GivenNew(options);
    CheckPinAnswer(device.Unblock(TextOf(admin), TextOf(pin)), "administrator's ");
    return PinReport(options, "Unblocked the PIN of ", device.TriesLeft());
}

}  // namespace kzr::softkey::tool
