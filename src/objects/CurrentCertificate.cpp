#include "objects/CurrentCertificate.h"

#include <windows.h>

#include <utility>

#include "com/Immortal.h"

namespace kzr {
namespace {

// Two apartments may read and replace at once; each copies under this lock and calls nothing while it holds
// it.
SRWLOCK g_lock = SRWLOCK_INIT;
Immortal<std::wstring> g_certificate;

class Exclusive {
  public:
    Exclusive() noexcept { AcquireSRWLockExclusive(&g_lock); }
    Exclusive(const Exclusive&) = delete;
    Exclusive& operator=(const Exclusive&) = delete;
    ~Exclusive() { ReleaseSRWLockExclusive(&g_lock); }
};

}  // namespace

std::wstring CurrentCertificate()
{
    const Exclusive held;
    return *g_certificate;
}

void SetCurrentCertificate(std::wstring certificate)
{
    const Exclusive held;
    std::swap(*g_certificate, certificate);
}

void ForgetCurrentCertificate() noexcept { std::wstring().swap(*g_certificate); }

}  // namespace kzr
