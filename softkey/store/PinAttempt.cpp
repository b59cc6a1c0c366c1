// PINs: the record's cryptography and its counters.
#include "store/PinAttempt.h"

#include "base/Failure.h"
#include "base/File.h"
#include "crypto/Digest.h"
#include "store/Layout.h"
#include "store/Names.h"
#include "store/Wrap.h"

namespace kzr::softkey {
namespace {

constexpr std::size_t kRecordLimit = 65536;
constexpr std::string_view kProof = "proof";

std::string_view PurposeOf(PinLock PinRecord::*which)
{
    return which == &PinRecord::user ? "device key by user PIN" : "device key by administrator PIN";
}

Secret NewKey()
{
    Bytes random = RandomBytes(static_cast<int>(kWrapKeySize));
    Secret key(random.begin(), random.end());
    Wipe(random.data(), random.size());
    return key;
}

}  // namespace

void CheckPin(std::string_view pin)
{
    if (pin.size() >= 4 && pin.size() <= 32 && IsPlainText(pin)) return;
    throw Failure(Cause::BadArgument, "a PIN has 4 to 32 bytes of text");
}

PinRecord ReadPins(const std::string& folder)
{
    return ParsePins(ReadWholeFile(PinFile(folder), kRecordLimit));
}

void WritePins(const std::string& folder, const PinRecord& record)
{
    WriteWholeFile(PinFile(folder), ViewOf(FormatPins(record)));
}

void SetPin(PinRecord& record, PinLock PinRecord::*which, std::string_view pin, const Secret& deviceKey)
{
    PinLock& lock = record.*which;
    lock.salt = RandomBytes(16);
    lock.deviceKey = Wrap(StretchPin(pin, lock.salt, record.iterations), PurposeOf(which), deviceKey);
    lock.left = lock.tries;
}

PinRecord MakePins(const Pins& pins, Secret& deviceKey)
{
    CheckPin(pins.user);
    CheckPin(pins.admin);
    if (pins.tries < 1 || pins.tries > 100) throw Failure(Cause::BadArgument, "a PIN has 1 to 100 tries");
    deviceKey = NewKey();
    PinRecord record;
    record.user.tries = record.admin.tries = pins.tries;
    SetPin(record, &PinRecord::user, pins.user, deviceKey);
    SetPin(record, &PinRecord::admin, pins.admin, deviceKey);
    record.proof = Wrap(deviceKey, kProof, NewKey());
    return record;
}

PinAnswer TryPin(const std::string& folder, PinRecord& record, PinLock PinRecord::*which,
                 std::string_view pin, Secret& deviceKey)
{
    PinLock& lock = record.*which;
    if (lock.left == 0) return {PinResult::Locked, 0};
    --lock.left;
    WritePins(folder, record);
    const Secret key = StretchPin(pin, lock.salt, record.iterations);
    Secret opened;
    if (!Unwrap(key, PurposeOf(which), lock.deviceKey, opened)) return {PinResult::Wrong, lock.left};
    lock.left = lock.tries;
    deviceKey = std::move(opened);
    return {PinResult::Right, lock.left};
}

bool IsDeviceKeyOf(const PinRecord& record, const Secret& deviceKey)
{
    Secret ignored;
    return deviceKey.size() == kWrapKeySize && Unwrap(deviceKey, kProof, record.proof, ignored);
}

}  // namespace kzr::softkey
