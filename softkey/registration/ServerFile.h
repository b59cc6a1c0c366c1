// Whether a file can be registered as a server, from its bytes alone: nothing in it runs.
#pragma once

#include "base/Bytes.h"

namespace kzr::softkey {

// A 64-bit DLL that hands out class objects and registers itself.
bool IsServerFile(View content);

}  // namespace kzr::softkey
