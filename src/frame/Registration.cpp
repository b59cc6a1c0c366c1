// The steps of registration in their order. The scriptable classes' keys stand in the scripts of the
// resources, the control's and the page's in the two scripts below: one interpreter runs them all.
#include "frame/Registration.h"

#include <comcat.h>
#include <objsafe.h>
#include <oleauto.h>
#include <olectl.h>

#include <array>
#include <iterator>
#include <new>
#include <string>
#include <string_view>

#include "KzrSecX_h.h"
#include "com/ComPtr.h"
#include "com/Error.h"
#include "com/Handles.h"
#include "com/ModulePath.h"
#include "frame/ClassTable.h"
#include "frame/RegistryScript.h"
#include "resources/Identifiers.h"
#include "resources/ResourceIds.h"

namespace kzr {
namespace {

constexpr wchar_t kInitializingText[] = L"KzrUSBKeyPnPActiveX safty for Initializing!";
constexpr wchar_t kScriptingText[] = L"KzrUSBKeyPnPActiveX safty for Scripting!";
constexpr LCID kCategoryLocale = 0x0409;

// The class's key is not removed whole: its place in the safety categories stays behind.
constexpr char kControlScript[] =
    R"(
HKCR
{
    %PROGID% = s '%DESCRIPTION%'
    {
        CLSID = s '%CLSID%'
    }
    NoRemove CLSID
    {
        %CLSID% = s '%DESCRIPTION%'
        {
            ProgID = s '%PROGID%'
            InprocServer32 = s '%MODULE%'
            {
                val ThreadingModel = s 'Apartment'
            }
            ToolboxBitmap32 = s '%MODULE%, %BITMAP%'
            MiscStatus = s '0'
            {
                1 = s '%MISCSTATUS%'
            }
            Control
            TypeLib = s '%TYPELIB%'
            Version = s '%VERSION%'
        }
    }
}
)";

constexpr char kPropPageScript[] =
    R"(
HKCR
{
    %PROGID% = s '%DESCRIPTION%'
    {
        CLSID = s '%CLSID%'
    }
    NoRemove CLSID
    {
        %CLSID% = s '%DESCRIPTION%'
        {
            ProgID = s '%PROGID%'
            InprocServer32 = s '%MODULE%'
            {
                val ThreadingModel = s 'Apartment'
            }
        }
    }
}
)";

void Check(HRESULT result)
{
    if (FAILED(result)) Fail(result);
}

std::wstring OwnPath()
{
    std::wstring path = ModulePath();
    if (path.empty()) Fail(HRESULT_FROM_WIN32(GetLastError()));
    return path;
}

std::wstring GuidText(REFGUID guid)
{
    std::array<wchar_t, 39> text{};
    StringFromGUID2(guid, text.data(), static_cast<int>(text.size()));
    return text.data();
}

std::wstring Decimal(unsigned number)
{
    wchar_t digits[12];
    return _ultow(number, digits, 10);
}

std::wstring ResourceString(UINT number)
{
    // With no room given, the call answers the place of the text itself.
    const wchar_t* text = nullptr;
    const int length = LoadStringW(ThisModule(), number, reinterpret_cast<wchar_t*>(&text), 0);
    if (length <= 0) Fail(HRESULT_FROM_WIN32(GetLastError()));
    return std::wstring(text, static_cast<size_t>(length));
}

HRESULT RunResource(UINT number, Direction direction)
{
    const std::wstring path = OwnPath();
    const Replacement replacements[] = {{L"MODULE", path}, {L"APPID", kAppId}};
    return RunRegistryResource(number, replacements, direction);
}

HRESULT RunStandardScript(std::string_view script, const ClassEntry& entry, Direction direction)
{
    const std::wstring path = OwnPath();
    const std::wstring clsid = GuidText(*entry.clsid);
    const std::wstring description = ResourceString(entry.resource);
    const std::wstring bitmap = Decimal(KZR_BITMAP_TOOLBOX);
    const std::wstring miscStatus = Decimal(kControlMiscStatus);
    const std::wstring library = GuidText(LIBID_TOLVSECCOMLib);
    const std::wstring version = Decimal(kLibraryMajor) + L"." + Decimal(kLibraryMinor);
    const Replacement replacements[] = {
        {L"MODULE", path},         {L"CLSID", clsid},
        {L"PROGID", entry.progId}, {L"DESCRIPTION", description},
        {L"BITMAP", bitmap},       {L"MISCSTATUS", miscStatus},
        {L"TYPELIB", library},     {L"VERSION", version},
    };
    return RunRegistryScript(std::wstring(script.begin(), script.end()), replacements, direction);
}

HRESULT RunClass(const ClassEntry& entry, Direction direction)
{
    switch (entry.registering) {
        case Registering::AsControl:
            return RunStandardScript(kControlScript, entry, direction);
        case Registering::AsPropPage:
            return RunStandardScript(kPropPageScript, entry, direction);
        default:
            return RunResource(entry.resource, direction);
    }
}

// All classes that are, or are not, registered by a script of the resources.
void RunClasses(bool byScript, Direction direction)
{
    for (const ClassEntry& entry : Classes()) {
        if ((entry.registering == Registering::ByScript) == byScript) Check(RunClass(entry, direction));
    }
}

// The machine-wide functions on purpose: the per-user mode is off.
void RegisterLibrary()
{
    std::wstring path = OwnPath();
    ComPtr<ITypeLib> library;
    Check(LoadTypeLibEx(path.c_str(), REGKIND_NONE, library.put()));
    std::wstring folder = path.substr(0, path.find_last_of(L'\\'));
    Check(RegisterTypeLib(library.Get(), path.data(), folder.data()));
}

bool LibraryIsRegistered()
{
    const std::wstring name = L"TypeLib\\" + GuidText(LIBID_TOLVSECCOMLib) + L"\\" + Decimal(kLibraryMajor) +
                              L"." + Decimal(kLibraryMinor) + L"\\0\\win64";
    UniqueHkey key;
    return RegOpenKeyExW(HKEY_CLASSES_ROOT, name.c_str(), 0, KEY_READ, key.put()) != ERROR_FILE_NOT_FOUND;
}

// Systems differ in what they answer about a library that is already gone, so the registry is asked. And some
// open the registered file for what is to be removed: where the module has been moved, there is none at that
// place until the module is registered at its own.
void UnregisterLibrary()
{
    for (bool first = true;; first = false) {
        const HRESULT result =
            UnRegisterTypeLib(LIBID_TOLVSECCOMLib, kLibraryMajor, kLibraryMinor, LANG_NEUTRAL, SYS_WIN64);
        if (!LibraryIsRegistered()) return;
        if (!first || HRESULT_FACILITY(result) != FACILITY_DISPATCH) {
            Check(result);
            Fail(E_FAIL);
        }
        RegisterLibrary();
    }
}

// A new manager for every registration, released afterwards.
ComPtr<ICatRegister> CategoryManager()
{
    ComPtr<ICatRegister> manager;
    Check(CoCreateInstance(CLSID_StdComponentCategoriesMgr, nullptr, CLSCTX_INPROC_SERVER, IID_ICatRegister,
                           manager.putVoid()));
    return manager;
}

void RegisterCategory(REFCATID category, std::wstring_view description)
{
    CATEGORYINFO info{};
    info.catid = category;
    info.lcid = kCategoryLocale;
    description.copy(info.szDescription, std::size(info.szDescription) - 1);
    Check(CategoryManager()->RegisterCategories(1, &info));
}

void RegisterMembership(REFCATID category)
{
    CATID implemented = category;
    Check(CategoryManager()->RegisterClassImplCategories(CLSID_USBKeyPnPActiveX, 1, &implemented));
}

template <class Step>
HRESULT Result(Step&& step) noexcept
try {
    step();
    return S_OK;
} catch (const ComError& error) {
    return error.Result();
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
} catch (...) {
    return E_FAIL;
}

// A step whose failure has one documented code, whatever went wrong inside.
template <class Step>
void Named(HRESULT code, Step&& step)
{
    if (FAILED(Result(step))) Fail(code);
}

}  // namespace

HRESULT RegisterServer() noexcept
{
    Result([] { Check(RunResource(KZR_SCRIPT_APPID, Direction::Register)); });
    return Result([] {
        RunClasses(true, Direction::Register);
        RegisterLibrary();
        // Once more, as the control's own registration does: only the code of a failure differs.
        Named(SELFREG_E_TYPELIB, RegisterLibrary);
        Named(SELFREG_E_CLASS, [] { RunClasses(false, Direction::Register); });
        RegisterCategory(CATID_SafeForInitializing, kInitializingText);
        RegisterMembership(CATID_SafeForInitializing);
        RegisterCategory(CATID_SafeForScripting, kScriptingText);
        RegisterMembership(CATID_SafeForScripting);
    });
}

// The categories and the control's place in them stay on purpose: they tell what the class is, not that it is
// installed, and other controls share the categories.
HRESULT UnregisterServer() noexcept
{
    Result([] { Check(RunResource(KZR_SCRIPT_APPID, Direction::Unregister)); });
    return Result([] {
        RunClasses(true, Direction::Unregister);
        UnregisterLibrary();
        Named(SELFREG_E_TYPELIB, UnregisterLibrary);
        Named(SELFREG_E_CLASS, [] { RunClasses(false, Direction::Unregister); });
    });
}

}  // namespace kzr
