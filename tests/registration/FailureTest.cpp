// The codes of every step that can fail, and how far the steps have come by then.
#include <comcat.h>
#include <objsafe.h>
#include <olectl.h>

#include <functional>
#include <thread>
#include <vector>

#include "registration/CleanRegistry.h"

namespace kzr::test {
namespace {

constexpr HRESULT kOwnFailure = MAKE_HRESULT(SEVERITY_ERROR, FACILITY_ITF, 0x1234);
constexpr HRESULT kNoLastingKey = HRESULT_FROM_WIN32(ERROR_CHILD_MUST_BE_VOLATILE);

// Says, for the count of a call (from 1), what the call answers instead of being made; S_OK lets it through.
std::function<HRESULT(int)> g_answer;
int g_calls = 0;
std::vector<std::string> g_record;

HRESULT NextAnswer()
{
    ++g_calls;
    return g_answer ? g_answer(g_calls) : S_OK;
}

HRESULT WINAPI HookedRegisterTypeLib(ITypeLib* library, LPOLESTR path, LPOLESTR helpFolder)
{
    const HRESULT answer = NextAnswer();
    return FAILED(answer) ? answer : RegisterTypeLib(library, path, helpFolder);
}

HRESULT WINAPI HookedUnRegisterTypeLib(REFGUID id, WORD major, WORD minor, LCID locale, SYSKIND system)
{
    const HRESULT answer = NextAnswer();
    return FAILED(answer) ? answer : UnRegisterTypeLib(id, major, minor, locale, system);
}

HRESULT WINAPI HookedCoCreateInstance(REFCLSID clsid, IUnknown* outer, DWORD context, REFIID iid,
                                      void** object)
{
    const HRESULT answer = NextAnswer();
    return FAILED(answer) ? answer : CoCreateInstance(clsid, outer, context, iid, object);
}

const wchar_t* g_deniedKey = nullptr;

LSTATUS WINAPI DenyingRegCreateKeyExW(HKEY parent, LPCWSTR name, DWORD reserved, LPWSTR type, DWORD options,
                                      REGSAM access, SECURITY_ATTRIBUTES* security, HKEY* key, DWORD* made)
{
    if (_wcsicmp(name, g_deniedKey) == 0) return ERROR_ACCESS_DENIED;
    return RegCreateKeyExW(parent, name, reserved, type, options, access, security, key, made);
}

LSTATUS WINAPI DenyingRegOpenKeyExW(HKEY parent, LPCWSTR name, DWORD options, REGSAM access, HKEY* key)
{
    if (_wcsicmp(name, g_deniedKey) == 0) return ERROR_ACCESS_DENIED;
    return RegOpenKeyExW(parent, name, options, access, key);
}

LSTATUS WINAPI DenyingRegDeleteTreeW(HKEY parent, LPCWSTR name)
{
    if (_wcsicmp(name, g_deniedKey) == 0) return ERROR_ACCESS_DENIED;
    return RegDeleteTreeW(parent, name);
}

class RegistrationFailure : public CleanRegistry {
  protected:
    void SetUp() override
    {
        g_answer = nullptr;
        g_calls = 0;
        g_record.clear();
        CleanRegistry::SetUp();
    }

    bool LibraryStands() const { return KeyExists(L"TypeLib\\{B006C93F-3057-4F95-8184-9382035E26FB}\\1.0"); }
    bool ControlStands() const
    {
        return KeyExists(L"CLSID\\{565B8FB4-EE30-4EE3-9B5B-E285678F1F9D}\\Control");
    }
    bool ControlIsIn(const std::wstring& category) const
    {
        return KeyExists(L"CLSID\\{565B8FB4-EE30-4EE3-9B5B-E285678F1F9D}\\Implemented Categories\\" +
                         category);
    }

    const std::wstring m_path = DllPath();
    const ServerModule m_server{m_path};
};

template <class Function>
void* Pointer(Function* function)
{
    return reinterpret_cast<void*>(function);
}

TEST_F(RegistrationFailure, AFailureOfTheAppIdDoesNotStopTheRest)
{
    g_deniedKey = L"AppID";
    const ImportHook hook(m_server.Handle(), "RegCreateKeyExW", Pointer(DenyingRegCreateKeyExW));
    EXPECT_EQ(m_server.Register(), S_OK);
    Snapshot golden = GoldenKeys(m_path);
    std::erase_if(golden, [](const auto& entry) { return entry.first.starts_with(L"\\appid\\"); });
    EXPECT_EQ(DifferenceFrom(golden), "");
}

TEST_F(RegistrationFailure, AFailureToRemoveTheAppIdDoesNotStopTheRest)
{
    ASSERT_EQ(m_server.Register(), S_OK);
    g_deniedKey = L"AppID";
    const ImportHook hook(m_server.Handle(), "RegOpenKeyExW", Pointer(DenyingRegOpenKeyExW));
    EXPECT_EQ(m_server.Unregister(), S_OK);
    Snapshot golden = GoldenRemains();
    for (const auto& entry : GoldenKeys(m_path)) {
        if (entry.first.starts_with(L"\\appid")) golden.insert(entry);
    }
    EXPECT_EQ(DifferenceFrom(golden), "");
}

TEST_F(RegistrationFailure, AScriptsFailureIsAnsweredAsItStandsAndEndsTheSteps)
{
    const UniqueHkey blocked = MakeVolatileKey(HKEY_CLASSES_ROOT, L"TOLVSecCOM.Crypto.1");
    EXPECT_EQ(m_server.Register(), kNoLastingKey);
    EXPECT_TRUE(KeyExists(L"TOLVSecCOM.Certificate.1\\CLSID"));
    EXPECT_FALSE(KeyExists(L"TOLVSecCOM.Crypto"));
    EXPECT_FALSE(KeyExists(L"TOLVSecCOM.Util"));
    EXPECT_FALSE(LibraryStands());
    EXPECT_FALSE(ControlStands());
}

TEST_F(RegistrationFailure, AnUnwritableRegistryIsAnswered)
{
    UniqueHkey root = MakeVolatileKey(HKEY_CURRENT_USER, L"Software\\KzrSecXTestRoot");
    ASSERT_EQ(RegOverridePredefKey(HKEY_CLASSES_ROOT, root.Get()), ERROR_SUCCESS);
    const HRESULT registered = m_server.Register();
    const HRESULT unregistered = m_server.Unregister();
    RegOverridePredefKey(HKEY_CLASSES_ROOT, nullptr);
    EXPECT_EQ(registered, kNoLastingKey);
    EXPECT_EQ(unregistered, S_OK);
    EXPECT_EQ(SnapshotOf(root.Get(), L"").size(), 1u);
    RegDeleteTreeW(HKEY_CURRENT_USER, L"Software\\KzrSecXTestRoot");
    EXPECT_EQ(DifferenceFrom({}), "");
}

TEST_F(RegistrationFailure, TheTypeLibraryIsRegisteredTwice)
{
    const ImportHook hook(m_server.Handle(), "RegisterTypeLib", Pointer(HookedRegisterTypeLib));
    EXPECT_EQ(m_server.Register(), S_OK);
    EXPECT_EQ(g_calls, 2);
}

TEST_F(RegistrationFailure, TheFirstTypeLibraryStepAnswersTheFailureAsItStands)
{
    g_answer = [](int) { return kOwnFailure; };
    const ImportHook hook(m_server.Handle(), "RegisterTypeLib", Pointer(HookedRegisterTypeLib));
    EXPECT_EQ(m_server.Register(), kOwnFailure);
    EXPECT_EQ(g_calls, 1);
    EXPECT_TRUE(KeyExists(L"TOLVSecCOM.Util.1\\CLSID"));
    EXPECT_FALSE(ControlStands());
}

TEST_F(RegistrationFailure, TheSecondTypeLibraryStepAnswersItsOwnCode)
{
    g_answer = [](int call) { return call == 2 ? kOwnFailure : S_OK; };
    const ImportHook hook(m_server.Handle(), "RegisterTypeLib", Pointer(HookedRegisterTypeLib));
    EXPECT_EQ(m_server.Register(), SELFREG_E_TYPELIB);
    EXPECT_EQ(g_calls, 2);
    EXPECT_TRUE(LibraryStands());
    EXPECT_FALSE(ControlStands());
}

TEST_F(RegistrationFailure, AControlThatCannotBeWrittenAnswersItsOwnCode)
{
    const UniqueHkey blocked = MakeVolatileKey(HKEY_CLASSES_ROOT, L"USBKEYPNPACTIVEX.USBKeyPnPActiveXCtrl.1");
    EXPECT_EQ(m_server.Register(), SELFREG_E_CLASS);
    EXPECT_TRUE(LibraryStands());
    EXPECT_FALSE(ControlIsIn(L"{7DD95802-9882-11CF-9FA9-00AA006C42C4}"));
}

TEST_F(RegistrationFailure, APropertyPageThatCannotBeWrittenAnswersTheSameCode)
{
    const UniqueHkey blocked =
        MakeVolatileKey(HKEY_CLASSES_ROOT, L"USBKEYPNPACTIVEX.USBKeyPnPActiveXPropPage.1");
    EXPECT_EQ(m_server.Register(), SELFREG_E_CLASS);
    EXPECT_TRUE(ControlStands());
    EXPECT_FALSE(ControlIsIn(L"{7DD95802-9882-11CF-9FA9-00AA006C42C4}"));
}

class CategoryStep : public RegistrationFailure, public testing::WithParamInterface<int> {};

// Steps: the one category, the control in it, the other category, the control in that.
TEST_P(CategoryStep, AnswersTheFailureAsItStandsAndEndsTheSteps)
{
    const int failing = GetParam();
    g_answer = [failing](int call) { return call == failing ? kOwnFailure : S_OK; };
    const ImportHook hook(m_server.Handle(), "CoCreateInstance", Pointer(HookedCoCreateInstance));
    EXPECT_EQ(m_server.Register(), kOwnFailure);
    EXPECT_EQ(g_calls, failing);
    EXPECT_TRUE(ControlStands());
    EXPECT_EQ(ControlIsIn(L"{7DD95802-9882-11CF-9FA9-00AA006C42C4}"), failing > 2);
    EXPECT_FALSE(ControlIsIn(L"{7DD95801-9882-11CF-9FA9-00AA006C42C4}"));
}

INSTANTIATE_TEST_SUITE_P(Steps, CategoryStep, testing::Range(1, 5));

// A category manager that only records; each one says when it is released for the last time.
class RecordingManager final : public ICatRegister {
  public:
    STDMETHODIMP QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_references; }
    STDMETHODIMP_(ULONG) Release() override
    {
        if (--m_references > 0) return m_references;
        g_record.push_back("released");
        delete this;
        return 0;
    }
    STDMETHODIMP RegisterCategories(ULONG count, CATEGORYINFO* info) override
    {
        g_record.push_back("category " + std::to_string(count) + " " + Name(info->catid) + " " +
                           std::to_string(info->lcid) + " " + Utf8(info->szDescription));
        return NextAnswer();
    }
    STDMETHODIMP UnRegisterCategories(ULONG, CATID*) override { return Unexpected(); }
    STDMETHODIMP RegisterClassImplCategories(REFCLSID clsid, ULONG count, CATID* category) override
    {
        g_record.push_back("member " + std::to_string(count) + " " + Name(*category) + " " + Name(clsid));
        return NextAnswer();
    }
    STDMETHODIMP UnRegisterClassImplCategories(REFCLSID, ULONG, CATID*) override { return Unexpected(); }
    STDMETHODIMP RegisterClassReqCategories(REFCLSID, ULONG, CATID*) override { return Unexpected(); }
    STDMETHODIMP UnRegisterClassReqCategories(REFCLSID, ULONG, CATID*) override { return Unexpected(); }

  private:
    static std::string Name(REFGUID guid)
    {
        wchar_t text[40];
        StringFromGUID2(guid, text, 40);
        return Utf8(text).substr(1, 8);
    }
    static HRESULT Unexpected()
    {
        g_record.push_back("unexpected");
        return E_UNEXPECTED;
    }

    ULONG m_references = 1;
};

HRESULT WINAPI RecordingCoCreateInstance(REFCLSID clsid, IUnknown* outer, DWORD context, REFIID iid,
                                         void** object)
{
    const bool asExpected = IsEqualCLSID(clsid, CLSID_StdComponentCategoriesMgr) && !outer &&
                            context == CLSCTX_INPROC_SERVER && IsEqualIID(iid, IID_ICatRegister);
    g_record.push_back(asExpected ? "new manager" : "something else is created");
    *object = new RecordingManager;
    return S_OK;
}

TEST_F(RegistrationFailure, EveryCategoryStepUsesAManagerOfItsOwnAndReleasesIt)
{
    const ImportHook hook(m_server.Handle(), "CoCreateInstance", Pointer(RecordingCoCreateInstance));
    EXPECT_EQ(m_server.Register(), S_OK);
    const std::vector<std::string> expected = {
        "new manager",
        "category 1 7DD95802 1033 KzrUSBKeyPnPActiveX safty for Initializing!",
        "released",
        "new manager",
        "member 1 7DD95802 565B8FB4",
        "released",
        "new manager",
        "category 1 7DD95801 1033 KzrUSBKeyPnPActiveX safty for Scripting!",
        "released",
        "new manager",
        "member 1 7DD95801 565B8FB4",
        "released",
    };
    EXPECT_EQ(g_record, expected);
}

TEST_P(CategoryStep, AnswersTheManagersOwnFailureToo)
{
    const int failing = GetParam();
    g_answer = [failing](int call) { return call == failing ? kOwnFailure : S_OK; };
    const ImportHook hook(m_server.Handle(), "CoCreateInstance", Pointer(RecordingCoCreateInstance));
    EXPECT_EQ(m_server.Register(), kOwnFailure);
    EXPECT_EQ(g_calls, failing);
    EXPECT_EQ(g_record.back(), "released");
}

TEST_F(RegistrationFailure, UnregisteringAsksNoCategoryManager)
{
    ASSERT_EQ(m_server.Register(), S_OK);
    const ImportHook hook(m_server.Handle(), "CoCreateInstance", Pointer(RecordingCoCreateInstance));
    EXPECT_EQ(m_server.Unregister(), S_OK);
    EXPECT_TRUE(g_record.empty());
}

TEST_F(RegistrationFailure, WithoutComOnTheThreadOnlyTheCategoriesAreMissing)
{
    HRESULT result = S_OK;
    std::thread([&] { result = m_server.Register(); }).join();
    EXPECT_EQ(result, CO_E_NOTINITIALIZED);
    EXPECT_TRUE(ControlStands());
    EXPECT_FALSE(ControlIsIn(L"{7DD95802-9882-11CF-9FA9-00AA006C42C4}"));
}

TEST_F(RegistrationFailure, AClassThatCannotBeRemovedIsAnsweredAsItStands)
{
    ASSERT_EQ(m_server.Register(), S_OK);
    g_deniedKey = L"{A49B9696-751E-4402-A733-3AD46F48A5A0}";
    const ImportHook hook(m_server.Handle(), "RegDeleteTreeW", Pointer(DenyingRegDeleteTreeW));
    EXPECT_EQ(m_server.Unregister(), E_ACCESSDENIED);
    EXPECT_FALSE(KeyExists(L"TOLVSecCOM.Util")) << "the rest of the class's script is undone all the same";
    EXPECT_TRUE(LibraryStands());
    EXPECT_TRUE(ControlStands());
}

TEST_F(RegistrationFailure, ATypeLibraryThatStaysIsAnsweredAsItStands)
{
    ASSERT_EQ(m_server.Register(), S_OK);
    g_answer = [](int) { return kOwnFailure; };
    const ImportHook hook(m_server.Handle(), "UnRegisterTypeLib", Pointer(HookedUnRegisterTypeLib));
    EXPECT_EQ(m_server.Unregister(), kOwnFailure);
    EXPECT_EQ(g_calls, 1);
    EXPECT_TRUE(ControlStands());
}

TEST_F(RegistrationFailure, ATypeLibraryThatIsThereAgainAnswersTheSecondStepsCode)
{
    ASSERT_EQ(m_server.Register(), S_OK);
    g_answer = [this](int call) {
        if (call == 1) return S_OK;
        ITypeLib* library = nullptr;
        std::wstring path = m_path;
        LoadTypeLibEx(path.c_str(), REGKIND_REGISTER, &library);
        if (library) library->Release();
        return kOwnFailure;
    };
    const ImportHook hook(m_server.Handle(), "UnRegisterTypeLib", Pointer(HookedUnRegisterTypeLib));
    EXPECT_EQ(m_server.Unregister(), SELFREG_E_TYPELIB);
    EXPECT_EQ(g_calls, 2);
    EXPECT_TRUE(ControlStands());
}

TEST_F(RegistrationFailure, ATypeLibraryThatIsAlreadyGoneIsNoFailureWhateverThePlatformSays)
{
    ASSERT_EQ(m_server.Register(), S_OK);
    RegDeleteTreeW(HKEY_CLASSES_ROOT, L"TypeLib\\{B006C93F-3057-4F95-8184-9382035E26FB}");
    g_answer = [](int) { return kOwnFailure; };
    const ImportHook hook(m_server.Handle(), "UnRegisterTypeLib", Pointer(HookedUnRegisterTypeLib));
    EXPECT_EQ(m_server.Unregister(), S_OK);
    EXPECT_EQ(g_calls, 2);
    EXPECT_FALSE(ControlStands());
}

TEST_F(RegistrationFailure, AControlThatCannotBeRemovedAnswersItsOwnCode)
{
    ASSERT_EQ(m_server.Register(), S_OK);
    g_deniedKey = L"{565B8FB4-EE30-4EE3-9B5B-E285678F1F9D}";
    const ImportHook hook(m_server.Handle(), "RegOpenKeyExW", Pointer(DenyingRegOpenKeyExW));
    EXPECT_EQ(m_server.Unregister(), SELFREG_E_CLASS);
    EXPECT_FALSE(LibraryStands());
}

}  // namespace
}  // namespace kzr::test
