// Measures one part per run, so that no part disturbs another:
//     kzr_bench FOLDER cpu|server|load|table|growth|exact|planted [ROUNDS]
// FOLDER holds quiet\ (the component and a log library that drops everything), plain\ (the component alone),
// Empty.dll and Planted.dll. Ends with the line END.
#include <windows.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "Clock.h"
#include "Component.h"
#include "Exact.h"
#include "NullBackend.h"
#include "Places.h"
#include "Table.h"
#include "resources/DispIds.h"

namespace kzr::bench {
namespace {

int g_rounds = 200;
NullBackend g_backend;

void BackendDirectly()
{
    IDispatch* const backend = g_backend.Dispatch();
    wchar_t name[] = L"SOF_HashData";
    LPOLESTR names = name;
    DISPID id = 0;
    backend->GetIDsOfNames(IID_NULL, &names, 1, LOCALE_USER_DEFAULT, &id);
    VARIANT arguments[2] = {};
    arguments[0].vt = VT_BSTR;
    arguments[0].bstrVal = SysAllocString(Text());
    arguments[1].vt = VT_I2;
    arguments[1].iVal = 8;
    DISPPARAMS parameters{arguments, nullptr, 2, 0};
    VARIANT result{};
    backend->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &parameters, &result, nullptr,
                    nullptr);
    VariantClear(&arguments[0]);
    VariantClear(&result);
}

void MakeAndRelease(IClassFactory* factory)
{
    IDispatch* made = nullptr;
    if (FAILED(factory->CreateInstance(nullptr, IID_IDispatch, reinterpret_cast<void**>(&made))))
        Component::Quit("an object could not be made");
    made->Release();
}

// The least that any object with a type library can do: its Invoke goes through the type information and to a
// method that does nothing.
class PlatformAlone {
  public:
    explicit PlatformAlone(IDispatch* like)
    {
        if (FAILED(like->GetTypeInfo(0, LOCALE_USER_DEFAULT, m_info.put())))
            Component::Quit("no type information");
        m_table.fill(reinterpret_cast<void*>(&Nothing));
        m_table[kInvoke] = reinterpret_cast<void*>(&Invoke);
    }
    PlatformAlone(const PlatformAlone&) = delete;
    PlatformAlone& operator=(const PlatformAlone&) = delete;

    IDispatch* Dispatch() { return reinterpret_cast<IDispatch*>(this); }
    void CallOn(void* object)
    {
        VARIANT argument{};
        argument.vt = VT_I4;
        argument.lVal = 1;
        DISPPARAMS parameters{&argument, nullptr, 1, 0};
        VARIANT result{};
        if (FAILED(m_info->Invoke(object, DISPID_ICrypto_SetPinFlag, DISPATCH_METHOD, &parameters, &result,
                                  nullptr, nullptr)))
            Component::Quit("a call failed");
        VariantClear(&result);
    }
    // What keeping the type information alive takes.
    void Reference() { const ComPtr<ITypeInfo> held = m_info; }

  private:
    static constexpr std::size_t kInvoke = 6;  // after IUnknown's three and three of IDispatch's

    static HRESULT STDMETHODCALLTYPE Nothing() { return S_OK; }
    static HRESULT STDMETHODCALLTYPE Invoke(PlatformAlone* self, DISPID id, REFIID, LCID, WORD flags,
                                            DISPPARAMS* parameters, VARIANT* result, EXCEPINFO* exception,
                                            UINT* wrong)
    {
        return self->m_info->Invoke(self, id, flags, parameters, result, exception, wrong);
    }

    void** m_methods = m_table.data();  // first: this is an object of the platform's layout
    std::array<void*, 64> m_table;
    ComPtr<ITypeInfo> m_info;
};

void MeasureProcessor()
{
    const Component component(Quiet());
    const ComPtr<ICrypto> crypto = component.Make<ICrypto>(CLSID_Crypto);
    const ComPtr<IClassFactory> factory = component.Factory(CLSID_Crypto);
    Dictionary dictionary;
    const ComPtr<IClassFactory> dictionaries = dictionary.Factory();
    const auto lookUp = [&] {
        wchar_t name[] = L"setUserCfgEx";
        LPOLESTR names = name;
        DISPID id = 0;
        if (FAILED(crypto->GetIDsOfNames(IID_NULL, &names, 1, LOCALE_USER_DEFAULT, &id)))
            Component::Quit("a name is unknown");
    };
    PlatformAlone platform(crypto.Get());
    // The platform's part and the method itself, without what the component does round a call by number.
    const auto typeInfoCall = [&] { platform.CallOn(crypto.Get()); };
    const auto setPinFlag = [&] {
        InvokeNumber(crypto.Get(), DISPID_ICrypto_SetPinFlag, DISPATCH_METHOD, 1);
    };
    long flag = 0;
    Measure({{"SetPinFlag", setPinFlag},
             {"dictionary.Item", [&] { dictionary.Item(); }},
             {"platform",
              [&] { InvokeNumber(platform.Dispatch(), DISPID_ICrypto_SetPinFlag, DISPATCH_METHOD, 1); }},
             {"typeinfo+SetPinFlag", typeInfoCall},
             {"typeinfo.reference", [&] { platform.Reference(); }},
             {"name+SetPinFlag", [&] { lookUp(), setPinFlag(); }},
             {"SetPinFlag.vtable", [&] { crypto->SetPinFlag(1, &flag); }},
             {"Hash", [&] { Hash(crypto.Get()); }},
             {"backend", [] { BackendDirectly(); }},
             {"create", [&] { MakeAndRelease(factory.Get()); }},
             {"dictionary.create", [&] { MakeAndRelease(dictionaries.Get()); }}},
            g_rounds);
}

// ---- The log: its folder, its file, and the same appends made directly.

HANDLE OpenAppending(const std::wstring& path)
{
    return CreateFileW(path.c_str(), GENERIC_READ | FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE,
                       nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
}

void MeasureServer()
{
    CreateDirectoryW(LogFolder().c_str(), nullptr);
    const Component component(Plain());
    const ComPtr<ICrypto> crypto = component.Make<ICrypto>(CLSID_Crypto);
    DeleteFileW(LogFile().c_str());
    Hash(crypto.Get());
    const std::vector<std::string> lines = LinesOf(LogFile());
    if (lines.size() < 4) Component::Quit("Hash has written no lines");
    // In the same folder, its name as long as the component's.
    const std::wstring raw =
        LogFolder() + L"\\KzrSecX_kzr_bench_exe_RAW_" + std::to_wstring(GetCurrentProcessId()) + L".log";
    const auto append = [&] {
        for (const std::string& line : lines) {
            const HANDLE file = OpenAppending(raw);
            DWORD written = 0;
            WriteFile(file, line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
            CloseHandle(file);
        }
    };
    Measure({{"Hash.file", [&] { Hash(crypto.Get()); }}, {"appends", append}}, g_rounds);

    DeleteFileW(LogFile().c_str());
    DeleteFileW(raw.c_str());
    EmptyLogFolder();
    if (!RemoveDirectoryW(LogFolder().c_str())) Component::Quit("the log folder would not go");
    const std::wstring output = InFolder(L"output.txt");
    const HANDLE file = CreateFileW(output.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    const HANDLE before = GetStdHandle(STD_OUTPUT_HANDLE);
    SetStdHandle(STD_OUTPUT_HANDLE, file);
    const auto failing = [&] {
        for (const std::string& line : lines) {
            if (OpenAppending(raw) != INVALID_HANDLE_VALUE) Component::Quit("there was a folder");
            DWORD written = 0;
            WriteFile(file, line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
        }
    };
    Measure({{"Hash.output", [&] { Hash(crypto.Get()); }}, {"failing", failing}}, g_rounds);
    SetStdHandle(STD_OUTPUT_HANDLE, before);
    CloseHandle(file);
    DeleteFileW(output.c_str());
}

void MeasureLoad()
{
    const std::wstring empty = InFolder(L"Empty.dll"), plain = Plain();
    const auto loadEmpty = [&] {
        const HMODULE module = LoadLibraryW(empty.c_str());
        if (!module) Component::Quit("Empty.dll cannot be loaded");
        FreeLibrary(module);
    };
    Measure({{"load", [&] { Component(plain).Factory(CLSID_Crypto); }}, {"load.empty", loadEmpty}}, g_rounds);
}

int Run(const std::wstring& part)
{
    if (FAILED(g_backend.Register())) Component::Quit("the backend could not be registered");
    const bool isShort = g_rounds < 200;
    if (part == L"cpu")
        MeasureProcessor();
    else if (part == L"server")
        MeasureServer();
    else if (part == L"load")
        MeasureLoad();
    else if (part == L"table")
        MeasureTable(g_backend, isShort ? 5 : 100);
    else if (part == L"growth")
        MeasureGrowth(isShort ? 50000 : 1000000, isShort ? 60 : 300);
    else if (part == L"exact")
        CountExactly();
    else if (part == L"planted")
        CountPlanted();
    else
        Component::Quit("there is no such part");
    EmptyLogFolder();
    RemoveDirectoryW(LogFolder().c_str());
    std::puts("END");
    std::fflush(stdout);
    return 0;
}

}  // namespace
}  // namespace kzr::bench

int wmain(int count, wchar_t** arguments)
{
    if (count < 3) return 2;
    kzr::bench::SetFolder(arguments[1]);
    if (count > 3) kzr::bench::g_rounds = _wtoi(arguments[3]);
    CoInitialize(nullptr);
    return kzr::bench::Run(arguments[2]);
}
