// kzr_test_backend.dll: a backend that script hosts and other foreign clients can create through the
// registry. It registers the backend's class, for a test prefix only.
#include <windows.h>

#include <cwchar>

#include "fakes/BackendControl.h"

namespace kzr::fake {

long g_objects = 0;

namespace {

constexpr CLSID kClass = {0x5D343B47, 0xFDD0, 0x4802, {0x93, 0x0B, 0xEA, 0xDD, 0xA0, 0xCE, 0x37, 0xD9}};
constexpr wchar_t kClassKey[] = L"Software\\Classes\\CLSID\\{5D343B47-FDD0-4802-930B-EADDA0CE37D9}";
constexpr wchar_t kServerKey[] =
    L"Software\\Classes\\CLSID\\{5D343B47-FDD0-4802-930B-EADDA0CE37D9}\\InprocServer32";

HINSTANCE g_module;

class Factory final : public IClassFactory {
  public:
    STDMETHODIMP QueryInterface(REFIID iid, void** object) override
    {
        *object = IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IClassFactory) ? this : nullptr;
        return *object ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID iid, void** object) override
    {
        *object = nullptr;
        if (outer) return CLASS_E_NOAGGREGATION;
        auto* const control = new BackendControl();
        control->AddRef();
        const HRESULT refused = control->CreationResult();
        const HRESULT result = FAILED(refused) ? refused : control->QueryInterface(iid, object);
        control->Release();
        return result;
    }
    STDMETHODIMP LockServer(BOOL lock) override
    {
        lock ? InterlockedIncrement(&g_objects) : InterlockedDecrement(&g_objects);
        return S_OK;
    }
};

Factory g_factory;

bool Set(HKEY key, const wchar_t* name, const wchar_t* text)
{
    const auto size = static_cast<DWORD>((wcslen(text) + 1) * sizeof(wchar_t));
    return RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text), size) == ERROR_SUCCESS;
}

}  // namespace
}  // namespace kzr::fake

using namespace kzr::fake;

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, void*)
{
    if (reason == DLL_PROCESS_ATTACH) g_module = module;
    return TRUE;
}

STDAPI DllGetClassObject(REFCLSID clsid, REFIID iid, void** object)
{
    *object = nullptr;
    if (!IsEqualCLSID(clsid, kClass)) return CLASS_E_CLASSNOTAVAILABLE;
    return g_factory.QueryInterface(iid, object);
}

STDAPI DllCanUnloadNow() { return g_objects > 0 ? S_FALSE : S_OK; }

STDAPI DllRegisterServer()
{
    wchar_t path[MAX_PATH];
    if (!GetModuleFileNameW(g_module, path, MAX_PATH)) return E_FAIL;
    HKEY key = nullptr;
    if (RegCreateKeyExW(HKEY_LOCAL_MACHINE, kServerKey, 0, nullptr, 0, KEY_WRITE, nullptr, &key, nullptr))
        return E_ACCESSDENIED;
    const bool written = Set(key, nullptr, path) && Set(key, L"ThreadingModel", L"Apartment");
    RegCloseKey(key);
    return written ? S_OK : E_FAIL;
}

STDAPI DllUnregisterServer()
{
    const LSTATUS removed = RegDeleteTreeW(HKEY_LOCAL_MACHINE, kClassKey);
    return removed == ERROR_SUCCESS || removed == ERROR_FILE_NOT_FOUND ? S_OK : E_FAIL;
}
