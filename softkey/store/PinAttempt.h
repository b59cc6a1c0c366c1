// Trying a PIN of a key, under the key's lock: spending a try, and what a right PIN opens.
#pragma once

#include "store/Records.h"

namespace kzr::softkey {

// 4 to 32 bytes of UTF-8; throws Failure(BadArgument).
void CheckPin(std::string_view pin);

PinRecord ReadPins(const std::string& folder);
void WritePins(const std::string& folder, const PinRecord& record);

// A record for a new key; `deviceKey` is made.
PinRecord MakePins(const Pins& pins, Secret& deviceKey);
// Wraps the device key by this PIN, with all its tries.
void SetPin(PinRecord& record, PinLock PinRecord::*which, std::string_view pin, const Secret& deviceKey);

// The try is on the disk before the PIN is looked at. When it was right, `record` has all tries again; the
// caller writes it, together with what else changes.
PinAnswer TryPin(const std::string& folder, PinRecord& record, PinLock PinRecord::*which,
                 std::string_view pin, Secret& deviceKey);

bool IsDeviceKeyOf(const PinRecord& record, const Secret& deviceKey);

}  // namespace kzr::softkey
