// Measures one part per run, so that no part disturbs another:
//     kzr_bench FOLDER cpu|server|load|table|growth|exact|planted [ROUNDS]
//     kzr_bench FOLDER profile|profile.log|profile.create
// FOLDER holds quiet\ (the component and a log library that drops everything), plain\ (the component alone),
// Empty.dll and Planted.dll. Ends with the line END.
#include <windows.h>

#include <psapi.h>
#include <shlobj.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include "Clock.h"
#include "Component.h"
#include "Imports.h"
#include "NullBackend.h"
#include "Table.h"
#include "hardening/Holdings.h"
#include "resources/DispIds.h"

namespace kzr::bench {
namespace {

std::wstring g_folder;
int g_rounds = 200;
NullBackend g_backend;

std::wstring Quiet() { return g_folder + L"\\quiet\\KzrSecX_x64.dll"; }
std::wstring Plain() { return g_folder + L"\\plain\\KzrSecX_x64.dll"; }

BSTR Text()
{
    static const BSTR text = SysAllocString(L"a text of some thirty-two units.");
    return text;
}

void Hash(ICrypto* crypto)
{
    BSTR answer = nullptr;
    crypto->Hash(Text(), &answer);
    if (SysStringLen(answer) == 0) Component::Quit("Hash gave no answer");
    SysFreeString(answer);
}

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
    // What the platform does for such a call, with an object behind it that does nothing.
    ComPtr<ITypeInfo> info;
    if (FAILED(crypto->GetTypeInfo(0, LOCALE_USER_DEFAULT, info.put())))
        Component::Quit("no type information");
    const auto typeInfoAlone = [&] {
        static HRESULT (*const nothing)() = [] { return S_OK; };
        static void* table[64];
        for (void*& entry : table) entry = reinterpret_cast<void*>(nothing);
        static void* object = table;
        VARIANT argument{};
        argument.vt = VT_I4;
        DISPPARAMS parameters{&argument, nullptr, 1, 0};
        VARIANT result{};
        if (FAILED(info->Invoke(&object, DISPID_ICrypto_SetPinFlag, DISPATCH_METHOD, &parameters, &result,
                                nullptr, nullptr)))
            Component::Quit("a call failed");
    };
    const auto setPinFlag = [&] {
        InvokeNumber(crypto.Get(), DISPID_ICrypto_SetPinFlag, DISPATCH_METHOD, 1);
    };
    long flag = 0;
    Measure({{"SetPinFlag", setPinFlag},
             {"dictionary.Item", [&] { dictionary.Item(); }},
             {"typeinfo", typeInfoAlone},
             {"name+SetPinFlag", [&] { lookUp(), setPinFlag(); }},
             {"SetPinFlag.vtable", [&] { crypto->SetPinFlag(1, &flag); }},
             {"Hash", [&] { Hash(crypto.Get()); }},
             {"backend", [] { BackendDirectly(); }},
             {"create", [&] { MakeAndRelease(factory.Get()); }},
             {"dictionary.create", [&] { MakeAndRelease(dictionaries.Get()); }}},
            g_rounds);
}

// ---- The log: its folder, its file, and the same appends made directly.

std::wstring LogFolder()
{
    wchar_t path[MAX_PATH] = {};
    SHGetFolderPathW(nullptr, CSIDL_LOCAL_APPDATA, nullptr, 0, path);
    return std::wstring(path) + L"Low\\TOLV\\log";
}

std::wstring LogFile()
{
    return LogFolder() + L"\\KzrSecX_kzr_bench_exe_PID_" + std::to_wstring(GetCurrentProcessId()) + L".log";
}

// Of the files of this program's earlier processes, too.
void EmptyLogFolder()
{
    WIN32_FIND_DATAW found;
    const HANDLE search = FindFirstFileW((LogFolder() + L"\\KzrSecX_kzr_bench_*").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return;
    do {
        DeleteFileW((LogFolder() + L"\\" + found.cFileName).c_str());
    } while (FindNextFileW(search, &found));
    FindClose(search);
}

HANDLE OpenAppending(const std::wstring& path)
{
    return CreateFileW(path.c_str(), GENERIC_READ | FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE,
                       nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
}

std::vector<std::string> LinesOf(const std::wstring& path)
{
    std::vector<std::string> lines;
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                    OPEN_EXISTING, 0, nullptr);
    std::string all(1 << 20, '\0');
    DWORD length = 0;
    if (file != INVALID_HANDLE_VALUE)
        ReadFile(file, all.data(), static_cast<DWORD>(all.size()), &length, nullptr);
    CloseHandle(file);
    all.resize(length);
    for (std::size_t start = 0, end; (end = all.find("\r\n", start)) != all.npos; start = end + 2)
        lines.push_back(all.substr(start, end + 2 - start));
    return lines;
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
    const std::wstring raw = LogFolder() + L"\\raw.log", missing = LogFolder() + L"\\none\\raw.log";
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
    const std::wstring output = g_folder + L"\\output.txt";
    const HANDLE file = CreateFileW(output.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    const HANDLE before = GetStdHandle(STD_OUTPUT_HANDLE);
    SetStdHandle(STD_OUTPUT_HANDLE, file);
    const auto failing = [&] {
        for (const std::string& line : lines) {
            if (OpenAppending(missing) != INVALID_HANDLE_VALUE) Component::Quit("there was a folder");
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
    const std::wstring empty = g_folder + L"\\Empty.dll", plain = Plain();
    const auto loadEmpty = [&] {
        const HMODULE module = LoadLibraryW(empty.c_str());
        if (!module) Component::Quit("Empty.dll cannot be loaded");
        FreeLibrary(module);
    };
    Measure({{"load", [&] { Component(plain).Factory(CLSID_Crypto); }}, {"load.empty", loadEmpty}}, g_rounds);
}

// ---- What does not depend on the clock.

void TellGrowth(const char* name, const test::Holdings& before, const test::Holdings& after)
{
    std::printf(
        "grown %s bytes %lld handles %lld texts %ld\n", name,
        static_cast<long long>(after.resources.heapBytes) -
            static_cast<long long>(before.resources.heapBytes),
        static_cast<long long>(after.resources.handles) - static_cast<long long>(before.resources.handles),
        after.texts - before.texts);
    std::fflush(stdout);
}

// Twice the warm-up settles what the platform keeps for itself.
void TellGrowthOf(const char* name, long warmUp, long times, const std::function<void()>& step)
{
    test::CountHoldings();
    for (long i = 0; i < warmUp; ++i) step();
    const test::Holdings before = test::CountHoldings();
    for (long i = 0; i < times; ++i) step();
    TellGrowth(name, before, test::CountHoldings());
}

void Reload()
{
    const Component component(Quiet());
    const ComPtr<ICrypto> crypto = component.Make<ICrypto>(CLSID_Crypto);
    Hash(crypto.Get());
}

void MeasureGrowth(long calls, long reloads)
{
    {
        const Component component(Quiet());
        const ComPtr<ICrypto> crypto = component.Make<ICrypto>(CLSID_Crypto);
        TellGrowthOf("calls", 1000, calls / 2, [&] {
            Hash(crypto.Get());
            InvokeNumber(crypto.Get(), DISPID_ICrypto_SetPinFlag, DISPATCH_METHOD, 1);
        });
    }
    TellGrowthOf("reloads", 20, reloads, Reload);
}

// `times` runs with their lines; the file tells how many there were.
void TellCounts(const char* name, long times, const std::function<void()>& step)
{
    DeleteFileW(LogFile().c_str());
    TakeCounts();
    for (long i = 0; i < times; ++i) step();
    const Asked asked = TakeCounts();
    std::printf("asked %s times %ld lines %u opens %ld writes %ld closes %ld blocks %ld texts %ld\n", name,
                times, static_cast<unsigned>(LinesOf(LogFile()).size()), asked.opens, asked.writes,
                asked.closes, asked.blocks, asked.texts);
    std::fflush(stdout);
}

void CountExactly()
{
    CreateDirectoryW(LogFolder().c_str(), nullptr);
    const Component component(Plain());
    if (!CountImportsOf(component.Module())) Component::Quit("nothing to count");
    const ComPtr<ICrypto> crypto = component.Make<ICrypto>(CLSID_Crypto);
    long flag = 0;
    TellCounts("SetPinFlag", 100, [&] { crypto->SetPinFlag(1, &flag); });
    TellCounts("Hash", 100, [&] { Hash(crypto.Get()); });
}

// The same counts of a library that does it all wrong.
void CountPlanted()
{
    {
        const Component component(Plain());  // makes the folder above
    }
    CreateDirectoryW(LogFolder().c_str(), nullptr);
    const HMODULE planted = LoadLibraryW((g_folder + L"\\Planted.dll").c_str());
    const auto line = reinterpret_cast<void (*)(const wchar_t*)>(
        reinterpret_cast<void*>(GetProcAddress(planted, "PlantedLine")));
    const auto growth =
        reinterpret_cast<void (*)()>(reinterpret_cast<void*>(GetProcAddress(planted, "PlantedGrowth")));
    if (!line || !growth || !CountImportsOf(planted)) Component::Quit("nothing is planted");
    const std::wstring path = LogFile();
    TellCounts("planted", 100, [&] { line(path.c_str()); });
    TellGrowthOf("planted-growth", 10, 10, growth);
}

// ---- For a profiler: the same step for five seconds, with what it costs and where the modules lie.

void TellModules()
{
    HMODULE modules[256];
    DWORD bytes = 0;
    K32EnumProcessModules(GetCurrentProcess(), modules, sizeof(modules), &bytes);
    for (DWORD i = 0; i < bytes / sizeof(HMODULE); ++i) {
        MODULEINFO facts{};
        char name[MAX_PATH] = {};
        K32GetModuleInformation(GetCurrentProcess(), modules[i], &facts, sizeof(facts));
        K32GetModuleBaseNameA(GetCurrentProcess(), modules[i], name, MAX_PATH);
        std::printf("module %s %p %lx\n", name, facts.lpBaseOfDll, facts.SizeOfImage);
    }
    std::fflush(stdout);
}

void RepeatForSeconds(const std::function<void()>& step)
{
    constexpr double kSeconds = 5;
    TellModules();
    long times = 0;
    double spent = 0;
    for (; spent < kSeconds; times += 1000)
        spent += SecondsOf([&] {
            for (int i = 0; i < 1000; ++i) step();
        });
    std::printf("time step %.1f\n", spent * 1e9 / static_cast<double>(times));
}

// One call through the type information.
void RepeatHash(const std::wstring& path)
{
    const Component component(path);
    const ComPtr<ICrypto> crypto = component.Make<ICrypto>(CLSID_Crypto);
    VARIANT argument{};
    argument.vt = VT_BSTR;
    argument.bstrVal = Text();
    DISPPARAMS parameters{&argument, nullptr, 1, 0};
    RepeatForSeconds([&] {
        VARIANT result{};
        crypto->Invoke(DISPID_ICrypto_Hash, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &parameters,
                       &result, nullptr, nullptr);
        VariantClear(&result);
    });
}

void RepeatHashWithLog()
{
    {
        const Component component(Plain());
    }  // makes the folder above
    CreateDirectoryW(LogFolder().c_str(), nullptr);
    RepeatHash(Plain());
}

void RepeatMaking()
{
    const Component component(Quiet());
    const ComPtr<ICrypto> first = component.Make<ICrypto>(CLSID_Crypto);
    const ComPtr<IClassFactory> factory = component.Factory(CLSID_Crypto);
    RepeatForSeconds([&] { MakeAndRelease(factory.Get()); });
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
        MeasureTable(isShort ? 5 : 40);
    else if (part == L"growth")
        MeasureGrowth(isShort ? 50000 : 1000000, isShort ? 60 : 300);
    else if (part == L"exact")
        CountExactly();
    else if (part == L"profile")
        RepeatHash(Quiet());
    else if (part == L"profile.log")
        RepeatHashWithLog();
    else if (part == L"profile.create")
        RepeatMaking();
    else if (part == L"planted")
        CountPlanted();
    else
        Component::Quit("there is no such part");
    EmptyLogFolder();
    RemoveDirectoryW(LogFolder().c_str());
    std::puts("END");
    std::fflush(stdout);
    // The connection to the backend may go with its module.
    return 0;
}

}  // namespace
}  // namespace kzr::bench

int wmain(int count, wchar_t** arguments)
{
    if (count < 3) return 2;
    kzr::bench::g_folder = arguments[1];
    if (count > 3) kzr::bench::g_rounds = _wtoi(arguments[3]);
    CoInitialize(nullptr);
    return kzr::bench::Run(arguments[2]);
}
