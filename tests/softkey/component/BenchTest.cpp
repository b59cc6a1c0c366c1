#include "softkey/component/BenchTest.h"

#include "server/Identifiers.h"

namespace kzr::test {
namespace {

constexpr char kCallBegins[] = "CAxKzrApp: call KzrAppCOM ";
constexpr char kBackendSource[] = "AxKzrApp";

// Of each pair of call lines the first names the method; the second must be there as well.
Names CallsIn(const std::vector<LogRecord>& records)
{
    Names begun, ended;
    for (const LogRecord& record : records) {
        if (record.source != kBackendSource || record.message.rfind(kCallBegins, 0) != 0) continue;
        const std::string rest = record.message.substr(sizeof(kCallBegins) - 1);
        const std::string name = rest.substr(0, rest.find(','));
        (rest.find(", result(") == name.size() ? ended : begun).push_back(name);
    }
    EXPECT_EQ(begun, ended) << "a call has no line of its result";
    return begun;
}

}  // namespace

std::string Shown(const std::wstring& text)
{
    std::string narrow;
    for (const wchar_t unit : text) narrow += static_cast<char>(unit);
    return narrow;
}

void BenchTest::SetUp()
{
    ASSERT_TRUE(SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)));
    home.emplace();
    log = std::make_unique<LogReader>();
    softKey = std::make_unique<TestDll>(Widened(KZR_SOFTKEY_DLL));
    ASSERT_TRUE(*softKey);
    ComPtr<IClassFactory> factory;
    ASSERT_EQ(S_OK, softKey->GetClassObject(softkey::kServerClass, IID_IClassFactory, factory.putVoid()));
    ASSERT_EQ(S_OK, CoRegisterClassObject(softkey::kServerClass, factory.Get(), CLSCTX_INPROC_SERVER,
                                          REGCLS_MULTIPLEUSE, &m_registration));
    component = std::make_unique<TestDll>();
    ASSERT_TRUE(*component);
}

void BenchTest::TearDown()
{
    m_objects.clear();
    if (component && *component) {
        EXPECT_EQ(S_OK, component->CanUnloadNow()) << "the component is still alive";
    }
    component.reset();
    if (m_registration != 0) CoRevokeClassObject(m_registration);
    for (const char* key : {"SN01", "SN02"}) {
        if (home->Store().Find(key)) home->Pull(key);
    }
    if (softKey && *softKey) {
        EXPECT_TRUE(PumpUntil([this] { return softKey->CanUnloadNow() == S_OK; }))
            << "the key is still alive";
    }
    softKey.reset();
    for (const LogRecord& record : ParseLog(log->TakeBytes()))
        EXPECT_EQ(std::string::npos, record.message.find("receive a fatal error")) << Describe(record);
    home.reset();
    CoUninitialize();
}

ComPtr<IDispatch> BenchTest::Make(const ScriptedClass& made)
{
    return component->Create<IDispatch>(made.clsid);
}

Value BenchTest::Run(const ScriptedClass& tested, const wchar_t* method, const Values& arguments,
                     LogSteps lines, const Names& calls)
{
    ComPtr<IDispatch>& object = m_objects[&tested];
    if (!object) object = Make(tested);
    if (!object) {
        ADD_FAILURE() << tested.name << " cannot be made";
        return Value();
    }
    log->Take();
    const CallResult called = Call(object.Get(), method, arguments);
    EXPECT_EQ(S_OK, called.result) << Readable(method);
    const std::vector<LogRecord> records = log->Take();

    for (LogStep& line : lines) {
        const std::size_t place = line.message.find("{}");
        if (place != std::string::npos) line.message.replace(place, 2, RenderForLog(called.value));
    }
    std::vector<LogRecord> own;
    for (const LogRecord& record : records)
        if (record.source != kBackendSource) own.push_back(record);
    ExpectLog(lines, own, tested.source);
    EXPECT_EQ(calls, CallsIn(records)) << Readable(method);
    return called.value;
}

Value BenchTest::Get(const ScriptedClass& tested, const wchar_t* method, const Values& arguments)
{
    ComPtr<IDispatch>& object = m_objects[&tested];
    if (!object) object = Make(tested);
    const CallResult called = Call(object.Get(), method, arguments);
    EXPECT_EQ(S_OK, called.result) << Readable(method);
    return called.value;
}

void BenchTest::LogIn(const wchar_t* container)
{
    EXPECT_EQ(I2(0), Get(kDeviceMgr, L"userLoginEx", {L"", container, L"", kWidePin}));
}

std::wstring BenchTest::File(const wchar_t* name, const std::string& content)
{
    home->WriteFile(name, content);
    return *home / name;
}

}  // namespace kzr::test
