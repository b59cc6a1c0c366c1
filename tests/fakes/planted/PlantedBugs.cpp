// An object whose every method has one bug. It answers S_OK whatever it did, as a component behind a guard
// does.
#include "fakes/planted/PlantedBugs.h"

#include <atomic>
#include <cstdlib>
#include <stdexcept>

#include "fault/Frames.h"

namespace kzr::planted {
namespace {

CRITICAL_SECTION g_lock;
// An address that the compiler cannot see through.
volatile std::size_t g_nowhere = 16;
volatile wchar_t g_lastRead;
std::atomic<bool> g_faultsAtEnd{false};

class Locked {
  public:
    explicit Locked(bool forgets) : m_forgets(forgets) { EnterCriticalSection(&g_lock); }
    Locked(const Locked&) = delete;
    Locked& operator=(const Locked&) = delete;
    ~Locked()
    {
        if (!m_forgets) LeaveCriticalSection(&g_lock);
    }

  private:
    const bool m_forgets;
};

void ReadBeyond(const DISPPARAMS* parameters)
{
    const BSTR text = parameters->rgvarg[0].bstrVal;
    const UINT length = SysStringLen(text);
    // The null at the end belongs to the text; what follows does not.
    for (UINT i = 0; i <= length + 1; ++i) g_lastRead = static_cast<const volatile wchar_t*>(text)[i];
}

void Do(Bug bug, const DISPPARAMS* parameters)
{
    switch (bug) {
        case Bug::HeapLeak:
            static_cast<volatile char*>(std::malloc(24))[0] = 1;
            break;
        case Bug::TextLeak:
            g_lastRead = SysAllocString(L"lost")[0];
            break;
        case Bug::HandleLeak:
            CreateEventW(nullptr, TRUE, FALSE, nullptr);
            break;
        case Bug::SlotLeak:
            TlsAlloc();
            break;
        case Bug::WindowLeak:
            CreateWindowExW(0, L"STATIC", nullptr, 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
            break;
        case Bug::OverRead:
            CallForeignQuietly([&] { return ReadBeyond(parameters), 0; }, 0);
            break;
        case Bug::Hang:
            Sleep(INFINITE);
            break;
        case Bug::Throw:
            throw std::runtime_error("thrown on purpose");
        case Bug::HiddenFault:
            CallForeignQuietly([] { return *reinterpret_cast<volatile int*>(g_nowhere); }, 0);
            break;
        case Bug::FaultAtEnd:
            g_faultsAtEnd = true;
            break;
        case Bug::None:
        case Bug::LostLock:
            break;
    }
}

class Planted final : public IDispatch {
  public:
    virtual ~Planted() = default;
    STDMETHODIMP QueryInterface(REFIID iid, void** object) override
    {
        *object = IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IDispatch) ? this : nullptr;
        if (!*object) return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_references; }
    STDMETHODIMP_(ULONG) Release() override
    {
        const ULONG left = --m_references;
        if (left == 0) delete this;
        return left;
    }
    STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    STDMETHODIMP Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* parameters, VARIANT*, EXCEPINFO*,
                        UINT*) override
    {
        const Locked held(id == static_cast<DISPID>(Bug::LostLock));
        Do(static_cast<Bug>(id), parameters);
        return S_OK;
    }

  private:
    std::atomic<ULONG> m_references{1};
};

}  // namespace
}  // namespace kzr::planted

extern "C" __declspec(dllexport) HRESULT MakePlanted(IDispatch** object)
{
    *object = new kzr::planted::Planted();
    return S_OK;
}

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void*)
{
    if (reason == DLL_PROCESS_ATTACH) InitializeCriticalSection(&kzr::planted::g_lock);
    if (reason == DLL_PROCESS_DETACH && kzr::planted::g_faultsAtEnd)
        *reinterpret_cast<volatile int*>(kzr::planted::g_nowhere) = 1;
    return TRUE;
}
