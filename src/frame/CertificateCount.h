// How many different certificates a container holds, told from the two exports' results.
#pragma once

#include "com/Variant.h"

namespace kzr {

// L"0" none, L"1" one or the same twice, L"2" two that differ.
const wchar_t* CertificateCountText(const Variant& signing, const Variant& exchange);

}  // namespace kzr
