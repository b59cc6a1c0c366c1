#include "support/TestDll.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <utility>

namespace kzr::test {
namespace {

template <class Function>
Function ExportOf(const TestDll& dll, const char* name)
{
    const FARPROC found = dll ? dll.Export(name) : nullptr;
    EXPECT_NE(nullptr, found) << "the DLL has no " << name;
    return reinterpret_cast<Function>(reinterpret_cast<void*>(found));
}

HRESULT CallExport(const TestDll& dll, const char* name)
{
    const auto entry = ExportOf<HRESULT(STDAPICALLTYPE*)()>(dll, name);
    return entry ? entry() : E_FAIL;
}

}  // namespace

std::wstring DllPath()
{
    wchar_t path[1024];
    const DWORD length = GetEnvironmentVariableW(L"KZRSECX_DLL", path, 1024);
    if (length == 0 || length >= 1024) {
        std::fputs("KZRSECX_DLL does not name the DLL under test: nothing can be tested\n", stderr);
        std::exit(3);
    }
    return path;
}

std::wstring CopyDllTo(const std::wstring& folder)
{
    MakeFolders(folder);
    const std::wstring copy = folder + L"KzrSecX_x64.dll";
    if (!CopyFileW(DllPath().c_str(), copy.c_str(), FALSE))
        throw std::runtime_error("the DLL cannot be copied: error " + std::to_string(GetLastError()));
    return copy;
}

TestDll::TestDll(const std::wstring& path) : m_path(path) { Load(); }

TestDll::~TestDll() { Unload(); }

void TestDll::Load()
{
    if (m_module) return;
    m_module = LoadLibraryW(m_path.c_str());
    if (!m_module) ADD_FAILURE() << "the DLL cannot be loaded: error " << GetLastError();
}

void TestDll::Unload()
{
    if (const HMODULE module = std::exchange(m_module, nullptr)) FreeLibrary(module);
}

HRESULT TestDll::GetClassObject(REFCLSID clsid, REFIID iid, void** object) const
{
    using Entry = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**);
    const auto entry = ExportOf<Entry>(*this, "DllGetClassObject");
    return entry ? entry(clsid, iid, object) : E_FAIL;
}

HRESULT TestDll::CanUnloadNow() const { return CallExport(*this, "DllCanUnloadNow"); }

HRESULT TestDll::RegisterServer() const { return CallExport(*this, "DllRegisterServer"); }

HRESULT TestDll::UnregisterServer() const { return CallExport(*this, "DllUnregisterServer"); }

HRESULT TestDll::Create(REFCLSID clsid, REFIID iid, void** object, IUnknown* outer) const
{
    *object = nullptr;
    ComPtr<IClassFactory> factory;
    const HRESULT found = GetClassObject(clsid, IID_IClassFactory, factory.putVoid());
    if (FAILED(found)) return found;
    return factory->CreateInstance(outer, iid, object);
}

bool TestDll::Holds(const void* address) const
{
    HMODULE module = nullptr;
    const DWORD flags = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    return GetModuleHandleExW(flags, static_cast<LPCWSTR>(address), &module) && module == m_module;
}

}  // namespace kzr::test
