#include "native/shim/Shim.h"

#include <oleauto.h>
#include <sched.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "com/Text.h"
#include "fault/Frames.h"
#include "log/Log.h"

namespace {

// Index of the lock that does nothing, in the order of their creation; -1: all work.
int g_missingLock = -1;
int g_locksMade = 0;
const CRITICAL_SECTION* g_missing = nullptr;

long g_messages = 0;
DWORD g_threadOfWindows = 1;

// As automation does it: the bytes behind their count, with an end of their own.
BSTR Allocate(const void* bytes, std::size_t count)
{
    auto* const block = static_cast<char*>(std::malloc(sizeof(std::uint64_t) + count + sizeof(wchar_t)));
    const std::uint64_t stored = count;
    std::memcpy(block, &stored, sizeof(stored));
    if (bytes) std::memcpy(block + sizeof(stored), bytes, count);
    std::memset(block + sizeof(stored) + count, 0, sizeof(wchar_t));
    return reinterpret_cast<BSTR>(block + sizeof(stored));
}

}  // namespace

namespace kzr::shim {

void LeaveOutLock(int index)
{
    g_missingLock = index;
    g_locksMade = 0;
}

void MoveWindowsToThread(DWORD thread) { __atomic_store_n(&g_threadOfWindows, thread, __ATOMIC_SEQ_CST); }
long MessagesPosted() { return __atomic_load_n(&g_messages, __ATOMIC_SEQ_CST); }

HWND WindowOf(int number) { return reinterpret_cast<HWND>(static_cast<std::uintptr_t>(number)); }

}  // namespace kzr::shim

namespace kzr {

void RunForeignCode(Thunk thunk, void* context) { thunk(context); }
bool RunForeignCodeQuietly(Thunk thunk, void* context) noexcept { return thunk(context), true; }
bool HasStackLeft(std::size_t) noexcept { return true; }
void WriteLog(const char*, std::uint32_t, std::int32_t, std::uint32_t, const char*, ...) {}
void WriteText(const char*, const LogText&, std::int32_t, std::uint32_t) {}
void TraceText(const char*, const LogText&) {}

std::string BstrToString(BSTR wide) { return wide ? BstrToString(std::wstring_view(wide)) : std::string(); }
std::string BstrToString(std::wstring_view wide)
{
    std::string narrow;
    AppendAnsi(narrow, wide);
    return narrow;
}
void AppendAnsi(std::string& narrow, std::wstring_view wide)
{
    for (const wchar_t c : wide) narrow += static_cast<char>(c);
}

}  // namespace kzr

DWORD GetCurrentThreadId() { return static_cast<DWORD>(gettid()); }
BOOL SwitchToThread() { return sched_yield() == 0; }

void InitializeCriticalSection(CRITICAL_SECTION* section)
{
    if (g_locksMade++ == g_missingLock) g_missing = section;
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(&section->mutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
    section->owner = 0;
    section->depth = 0;
}

void DeleteCriticalSection(CRITICAL_SECTION* section)
{
    pthread_mutex_destroy(&section->mutex);
    if (g_missing == section) g_missing = nullptr;
}

namespace {

void Entered(CRITICAL_SECTION* section)
{
    __atomic_store_n(&section->owner, GetCurrentThreadId(), __ATOMIC_RELAXED);
    ++section->depth;
}

}  // namespace

void EnterCriticalSection(CRITICAL_SECTION* section)
{
    if (section == g_missing) return;
    pthread_mutex_lock(&section->mutex);
    Entered(section);
}

BOOL TryEnterCriticalSection(CRITICAL_SECTION* section)
{
    if (section == g_missing) return 1;
    if (pthread_mutex_trylock(&section->mutex) != 0) return 0;
    Entered(section);
    return 1;
}

void LeaveCriticalSection(CRITICAL_SECTION* section)
{
    if (section == g_missing) return;
    if (--section->depth == 0) __atomic_store_n(&section->owner, 0, __ATOMIC_RELAXED);
    pthread_mutex_unlock(&section->mutex);
}

DWORD GetWindowThreadProcessId(HWND, DWORD*) { return __atomic_load_n(&g_threadOfWindows, __ATOMIC_SEQ_CST); }
ULONG_PTR GetClassLongPtrW(HWND, int) { return 1; }
BOOL PostMessageW(HWND, UINT, ULONG_PTR, ULONG_PTR)
{
    return __atomic_add_fetch(&g_messages, 1, __ATOMIC_SEQ_CST) > 0;
}

BSTR SysAllocString(const wchar_t* text)
{
    return text ? Allocate(text, std::wstring_view(text).size() * sizeof(wchar_t)) : nullptr;
}
BSTR SysAllocStringLen(const wchar_t* text, UINT length) { return Allocate(text, length * sizeof(wchar_t)); }
BSTR SysAllocStringByteLen(const char* bytes, UINT count) { return Allocate(bytes, count); }
void SysFreeString(BSTR text)
{
    if (text) std::free(reinterpret_cast<char*>(text) - sizeof(std::uint64_t));
}
UINT SysStringByteLen(BSTR text)
{
    if (!text) return 0;
    std::uint64_t stored;
    std::memcpy(&stored, reinterpret_cast<char*>(text) - sizeof(stored), sizeof(stored));
    return static_cast<UINT>(stored);
}
UINT SysStringLen(BSTR text) { return static_cast<UINT>(SysStringByteLen(text) / sizeof(wchar_t)); }

HRESULT VariantClear(VARIANT* value)
{
    if (value->vt == VT_BSTR) SysFreeString(value->bstrVal);
    *value = VARIANT{};
    return S_OK;
}

HRESULT VariantCopy(VARIANT* to, VARIANT* from)
{
    VariantClear(to);
    *to = *from;
    if (from->vt == VT_BSTR)
        to->bstrVal =
            SysAllocStringByteLen(reinterpret_cast<char*>(from->bstrVal), SysStringByteLen(from->bstrVal));
    return S_OK;
}

HRESULT VariantChangeType(VARIANT* to, VARIANT* from, WORD, VARTYPE type)
{
    return from->vt == type ? VariantCopy(to, from) : DISP_E_TYPEMISMATCH;
}
