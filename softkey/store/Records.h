// The records of a key as they stand in files: JSON, each with the number of its format. Reading them throws
// Failure(BadData) for whatever else stands there; nothing in a record is believed before it was checked.
#pragma once

#include <string>

#include "store/Store.h"

namespace kzr::softkey {

// One PIN's part of the record: its counter, and the device key wrapped by it.
struct PinLock {
    Bytes salt;
    Bytes deviceKey;
    int tries = 0;
    int left = 0;
};

struct PinRecord {
    int iterations = kPinIterations;
    PinLock user;
    PinLock admin;
    Bytes proof;  // wrapped by the device key: tells whether a device key is this key's
};

struct ContainerRecord {
    ContainerDescription description;
    Bytes signingKey;   // PKCS#8, wrapped by the device key
    Bytes exchangeKey;  // empty when there is none
};

std::string FormatDescription(const DeviceDescription& description);
// The serial number is the folder's name and not part of the record.
DeviceDescription ParseDescription(View json, const std::string& serialNumber);

std::string FormatPins(const PinRecord& record);
PinRecord ParsePins(View json);

std::string FormatContainer(const ContainerRecord& record);
ContainerRecord ParseContainer(View json);

}  // namespace kzr::softkey
