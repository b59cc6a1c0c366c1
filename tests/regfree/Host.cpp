// A program that makes the four objects by its own manifest, where nothing is registered. It writes a line
// for each thing that it tried, and END.
#include <windows.h>

#include <oaidl.h>

#include <cstdio>
#include <cstring>
#include <string>

namespace {

struct Row {
    const char* name;
    CLSID clsid;
    const wchar_t* progIds[2];
    const wchar_t* method;
    const wchar_t* arguments[2];  // first to last; null where the method takes fewer
    const wchar_t* answer;
};

const Row kRows[] = {
    {"Certificate",
     {0xA2AC77FD, 0x36C6, 0x4C2A, {0xB2, 0x38, 0xF8, 0x9B, 0x35, 0xDA, 0xA5, 0x70}},
     {L"TOLVSecCOM.Certificate", L"TOLVSecCOM.Certificate.1"},
     L"importCert",
     {L"c1", L"5"},
     L"0"},
    {"Crypto",
     {0x5B584C94, 0x8FB4, 0x4647, {0xAF, 0xE6, 0x87, 0x90, 0x85, 0x60, 0x0D, 0xBF}},
     {L"TOLVSecCOM.Crypto", L"TOLVSecCOM.Crypto.1"},
     L"signedData",
     {L"hello", L"c1"},
     L"SOF_SignData(c1/SN01,hello)"},
    {"DeviceMgr",
     {0xE5E8F6BE, 0x7753, 0x4041, {0x88, 0x0B, 0x16, 0xD3, 0x1F, 0x61, 0x39, 0x7E}},
     {L"TOLVSecCOM.DeviceMgr", L"TOLVSecCOM.DeviceMgr.1"},
     L"enumUserCertificates",
     {L"CSP2", nullptr},
     L"c2&&&"},
    {"Util",
     {0xA49B9696, 0x751E, 0x4402, {0xA7, 0x33, 0x3A, 0xD4, 0x6F, 0x48, 0xA5, 0xA0}},
     {L"TOLVSecCOM.Util", L"TOLVSecCOM.Util.1"},
     L"base64EncodeString",
     {L"abc", nullptr},
     L"SOF_Base64Encode(abc)"},
};

int g_failed = 0;

void Report(const std::string& what, HRESULT result)
{
    if (FAILED(result)) ++g_failed;
    std::printf("%s - %s: %lx\n", FAILED(result) ? "not ok" : "ok", what.c_str(),
                static_cast<unsigned long>(result));
}

HRESULT CallMethod(IDispatch* object, const Row& row)
{
    std::wstring copy = row.method;
    LPOLESTR name = copy.data();
    DISPID id = 0;
    HRESULT result = object->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &id);
    if (FAILED(result)) return result;

    VARIANT reversed[2];
    UINT count = 0;
    for (int i = 1; i >= 0; --i) {
        if (!row.arguments[i]) continue;
        reversed[count].vt = VT_BSTR;
        reversed[count++].bstrVal = SysAllocString(row.arguments[i]);
    }
    DISPPARAMS parameters{reversed, nullptr, count, 0};
    VARIANT answer;
    VariantInit(&answer);
    result = object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &parameters, &answer, nullptr,
                            nullptr);
    for (UINT i = 0; i < count; ++i) VariantClear(&reversed[i]);
    if (SUCCEEDED(result)) result = VariantChangeType(&answer, &answer, 0, VT_BSTR);
    if (SUCCEEDED(result) && std::wstring(answer.bstrVal) != row.answer) result = E_UNEXPECTED;
    VariantClear(&answer);
    return result;
}

HRESULT MakeAndCall(REFCLSID clsid, const Row& row)
{
    IDispatch* object = nullptr;
    const HRESULT made = CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch,
                                          reinterpret_cast<void**>(&object));
    if (FAILED(made)) return made;
    const HRESULT called = CallMethod(object, row);
    object->Release();
    return called;
}

// The module must be the one beside this program.
HRESULT FindModule()
{
    char host[MAX_PATH] = {}, module[MAX_PATH] = {};
    GetModuleFileNameA(nullptr, host, MAX_PATH);
    if (!GetModuleFileNameA(GetModuleHandleA("KzrSecX_x64.dll"), module, MAX_PATH)) return E_FAIL;
    *std::strrchr(host, '\\') = '\0';
    *std::strrchr(module, '\\') = '\0';
    return _stricmp(host, module) == 0 ? S_OK : E_UNEXPECTED;
}

}  // namespace

int main()
{
    if (FAILED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) return 2;
    for (const Row& row : kRows) {
        Report(std::string(row.name) + " by its identifier", MakeAndCall(row.clsid, row));
        for (const wchar_t* progId : row.progIds) {
            CLSID clsid{};
            HRESULT result = CLSIDFromProgID(progId, &clsid);
            // It may be an alias that stands for the class in this manifest alone.
            if (SUCCEEDED(result)) result = MakeAndCall(clsid, row);
            Report(std::string(row.name) +
                       (progId == row.progIds[0] ? " by its name" : " by its versioned name"),
                   result);
        }
    }
    Report("the module beside the program", FindModule());
    CoUninitialize();
    std::puts("END");
    return g_failed ? 1 : 0;
}
