// What several commands need: the store, a key wherever it is, new output files.
#pragma once

#include "Options.h"
#include "store/Store.h"

namespace kzr::softkey::tool {

Store OpenStore(const Options& options);

// Plugged or not; throws Failure(UnknownKey).
Device FindKey(const Store& store, const std::string& serialNumber);
bool IsPlugged(const Store& store, const std::string& serialNumber);

// Throws ToolError(kPin) unless the PIN was right.
void CheckPinAnswer(const PinAnswer& answer, const char* which);

// Throws ToolError(kExists) when the file is there and may not be replaced.
void CheckMayWrite(const std::string& path, bool force);

const char* NameOf(KeyType type);

}  // namespace kzr::softkey::tool
