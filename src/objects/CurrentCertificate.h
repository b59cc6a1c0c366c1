// The one certificate that all CCertificate objects of the process read and replace. It outlives the object
// that set it; empty means that none is loaded.
#pragma once

#include <string>

namespace kzr {

std::wstring CurrentCertificate();
void SetCurrentCertificate(std::wstring certificate);
void ForgetCurrentCertificate() noexcept;

}  // namespace kzr
