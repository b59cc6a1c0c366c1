// The little of the platform that the rooms com, log, backend and cache stand on, for the build machine:
// types, automation strings, and locks over the machine's own. For sanitizers only; nothing here is ever
// shipped.
#pragma once

#include <pthread.h>

#include <atomic>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

#ifdef KZR_PLAIN_ATOMICS
// The planted bug of the listener list: what should be atomic is not.
namespace std {
template <class T>
class PlainAtomic {
  public:
    PlainAtomic() = default;
    constexpr PlainAtomic(T value) : m_value(value) {}
    T load(memory_order = memory_order_seq_cst) const { return m_value; }
    T fetch_add(T by, memory_order = memory_order_seq_cst) { return exchange_(m_value + by); }
    T fetch_sub(T by, memory_order = memory_order_seq_cst) { return exchange_(m_value - by); }
    bool compare_exchange_strong(T& expected, T wanted, memory_order = memory_order_seq_cst)
    {
        if (m_value == expected) return m_value = wanted, true;
        expected = m_value;
        return false;
    }
    bool compare_exchange_weak(T& expected, T wanted, memory_order order = memory_order_seq_cst)
    {
        return compare_exchange_strong(expected, wanted, order);
    }

  private:
    T exchange_(T value) { return std::exchange(m_value, value); }
    T m_value{};
};
}  // namespace std
#define atomic PlainAtomic
#endif

using BOOL = int;
using WORD = unsigned short;
using DWORD = std::uint32_t;
using LONG = std::int32_t;
using ULONG = std::uint32_t;
using UINT = unsigned;
using ULONG_PTR = std::uintptr_t;
using ULONGLONG = unsigned long long;
using HRESULT = std::int32_t;
using SCODE = HRESULT;
using LCID = DWORD;
using DISPID = LONG;
using VARTYPE = unsigned short;
using HWND = struct WindowOfTheShim*;
using BSTR = wchar_t*;
using LPOLESTR = wchar_t*;

#define STDMETHODCALLTYPE
#define STDMETHODIMP HRESULT
#define STDMETHODIMP_(type) type

inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT E_FAIL = static_cast<HRESULT>(0x80004005);
inline constexpr HRESULT E_NOTIMPL = static_cast<HRESULT>(0x80004001);
inline constexpr HRESULT E_NOINTERFACE = static_cast<HRESULT>(0x80004002);
inline constexpr HRESULT E_POINTER = static_cast<HRESULT>(0x80004003);
inline constexpr HRESULT E_OUTOFMEMORY = static_cast<HRESULT>(0x8007000E);
inline constexpr HRESULT DISP_E_TYPEMISMATCH = static_cast<HRESULT>(0x80020005);
inline constexpr bool SUCCEEDED(HRESULT result) { return result >= 0; }
inline constexpr bool FAILED(HRESULT result) { return result < 0; }

struct GUID {
    std::uint32_t data1;
    std::uint16_t data2, data3;
    std::uint8_t data4[8];
};
using IID = GUID;
using CLSID = GUID;
using REFIID = const GUID&;
using REFCLSID = const GUID&;
inline bool IsEqualIID(REFIID left, REFIID right) { return std::memcmp(&left, &right, sizeof(GUID)) == 0; }

struct SYSTEMTIME {
    WORD wYear, wMonth, wDayOfWeek, wDay, wHour, wMinute, wSecond, wMilliseconds;
};

DWORD GetCurrentThreadId();
inline DWORD GetLastError() { return 0; }
BOOL SwitchToThread();

// A lock over the machine's own. The owner is asked for by threads that do not hold it, as the platform
// allows.
struct CRITICAL_SECTION {
    pthread_mutex_t mutex;
    std::uintptr_t owner;
    int depth;
    void* OwnerOf() const { return reinterpret_cast<void*>(__atomic_load_n(&owner, __ATOMIC_RELAXED)); }
};
#define OwningThread OwnerOf()
void InitializeCriticalSection(CRITICAL_SECTION* section);
void DeleteCriticalSection(CRITICAL_SECTION* section);
void EnterCriticalSection(CRITICAL_SECTION* section);
BOOL TryEnterCriticalSection(CRITICAL_SECTION* section);
void LeaveCriticalSection(CRITICAL_SECTION* section);

// A window is a number of the class 1; which thread has them, Shim.h says. Messages are counted.
inline constexpr int GCW_ATOM = -32;
DWORD GetWindowThreadProcessId(HWND window, DWORD* process);
ULONG_PTR GetClassLongPtrW(HWND window, int index);
BOOL PostMessageW(HWND window, UINT message, ULONG_PTR, ULONG_PTR);

// The platform's formatter, which counts its end only where it fits and answers -1 for a text that is too
// long.
int _vsnprintf(char* buffer, std::size_t size, const char* format, va_list arguments)
    __attribute__((format(printf, 3, 0)));
