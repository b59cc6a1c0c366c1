#include "support/ComponentTest.h"

#include <cstring>

namespace kzr::test {

const ScriptedClass kCertificate = {
    "CCertificate",
    "Certificate",
    {0xA2AC77FD, 0x36C6, 0x4C2A, {0xB2, 0x38, 0xF8, 0x9B, 0x35, 0xDA, 0xA5, 0x70}}};
const ScriptedClass kCrypto = {
    "CCrypto", "Crypto", {0x5B584C94, 0x8FB4, 0x4647, {0xAF, 0xE6, 0x87, 0x90, 0x85, 0x60, 0x0D, 0xBF}}};
const ScriptedClass kDeviceMgr = {
    "CDeviceMgr",
    "DeviceMgr",
    {0xE5E8F6BE, 0x7753, 0x4041, {0x88, 0x0B, 0x16, 0xD3, 0x1F, 0x61, 0x39, 0x7E}}};
const ScriptedClass kUtil = {
    "CUtil", "Util", {0xA49B9696, 0x751E, 0x4402, {0xA7, 0x33, 0x3A, 0xD4, 0x6F, 0x48, 0xA5, 0xA0}}};
const ScriptedClass kControl = {
    "CUSBKeyPnPActiveXCtrl",
    "USBKeyPnPActiveXCtrl",
    {0x565B8FB4, 0xEE30, 0x4EE3, {0x9B, 0x5B, 0xE2, 0x85, 0x67, 0x8F, 0x1F, 0x9D}}};
const CLSID kPropertyPage = {0x904023D8, 0x3EB6, 0x4079, {0xB0, 0x62, 0x45, 0xC6, 0x80, 0x95, 0x68, 0x2E}};

namespace {

LogStep Line(const char* level, const std::string& message, unsigned status = 0)
{
    LogStep step;
    step.level = level;
    step.status = status;
    step.message = message;
    return step;
}

std::string Narrow(std::wstring_view wide)
{
    const int size = WideCharToMultiByte(CP_ACP, 0, wide.data(), static_cast<int>(wide.size()), nullptr, 0,
                                         nullptr, nullptr);
    std::string narrow(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(CP_ACP, 0, wide.data(), static_cast<int>(wide.size()), narrow.data(), size, nullptr,
                        nullptr);
    return narrow;
}

// A text that is put in by "%s" ends at its first null.
std::string AsFormatted(const std::string& text) { return text.substr(0, text.find('\0')); }

}  // namespace

LogStep LogStep::From(const char* otherSource) const
{
    LogStep changed = *this;
    changed.source = otherSource;
    return changed;
}

LogStep Trace(const std::string& message) { return Line("trace", message); }
LogStep Notice(const std::string& message) { return Line("notice", message); }
LogStep Error(const std::string& message, HRESULT status)
{
    return Line("error", message, static_cast<unsigned>(status));
}

LogStep Calls(const wchar_t* method, const Values& arguments, const Answer& answer)
{
    LogStep step;
    step.isCall = true;
    step.method = method;
    step.arguments = arguments;
    step.answer = answer;
    return step;
}

std::string RenderForLog(const Value& value)
{
    const VARIANT& v = value.Get();
    switch (v.vt) {
        case VT_I2:
            return std::to_string(v.iVal);
        case VT_I4:
            return std::to_string(v.lVal);
        case VT_BOOL:
            return v.boolVal ? "VARIANT_TRUE" : "VARIANT_FALSE";
        case VT_BSTR:
            return v.bstrVal ? Narrow(value.AsText()) : std::string();
        default:
            return {};
    }
}

LogStep CallLine(const std::wstring& method, const Values& arguments)
{
    std::string rendered;
    for (std::size_t i = 0; i < arguments.size(); ++i)
        rendered += (i > 0 ? "--" : "") + RenderForLog(arguments[i]);
    return Trace("CAxKzrApp: call KzrAppCOM " + AsFormatted(Narrow(method)) + ", param count(" +
                 std::to_string(arguments.size()) + ") param(s)(" + AsFormatted(rendered) + ")")
        .From("AxKzrApp");
}

LogStep ResultLine(const std::wstring& method, const Value& result)
{
    return Trace("CAxKzrApp: call KzrAppCOM " + AsFormatted(Narrow(method)) + ", result(" +
                 AsFormatted(RenderForLog(result)) + ")...")
        .From("AxKzrApp");
}

LogSteps StepsOfFirstInstance()
{
    LogSteps steps;
    for (const char* text :
         {"CAxKzrApp::Instance starting...", "CAxKzrApp::Instance new CAxKzrApp...",
          "CAxKzrApp::Instance LoadKzrAppControl...", "CAxKzrApp::LoadKzrAppControl starting...",
          "CAxKzrApp::LoadKzrAppControl ending ok...", "CAxKzrApp::Instance Advise...",
          "CAxKzrApp::Advise starting...", "CAxKzrApp::Advise ending...",
          "CAxKzrApp::Instance ending ok(refcount:1)..."})
        steps.push_back(Trace(text).From("AxKzrApp"));
    return steps;
}

namespace {

std::string DescribeLine(const LogStep& step, const std::string& source)
{
    LogRecord record;
    record.level = step.level;
    record.source = step.source.empty() ? source : step.source;
    record.status = step.status;
    record.message = step.message;
    return Describe(record) + "\n";
}

}  // namespace

std::string ExpectedLog(const LogSteps& steps, const std::string& source)
{
    std::string text;
    for (const LogStep& step : steps) {
        if (!step.isCall) {
            text += DescribeLine(step, source);
            continue;
        }
        text += DescribeLine(CallLine(step.method, step.arguments), source);
        // Nothing that leaves the backend by a fault has a result to show.
        if (step.answer.fault != FaultKind::None) continue;
        text += DescribeLine(ResultLine(step.method, step.answer.Unknown() ? Value() : step.answer.value),
                             source);
    }
    return text;
}

std::string DescribeLog(const std::vector<LogRecord>& records)
{
    std::string text;
    for (const LogRecord& record : records) text += Describe(record) + "\n";
    return text;
}

void ExpectLog(const LogSteps& steps, const std::vector<LogRecord>& records, const std::string& source)
{
    EXPECT_EQ(ExpectedLog(steps, source), DescribeLog(records));
    for (const LogRecord& record : records) {
        EXPECT_TRUE(record.source.empty() || record.line > 0) << Describe(record);
    }
}

void PumpMessages()
{
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
}

bool PumpUntil(const std::function<bool()>& condition, DWORD milliseconds)
{
    const ULONGLONG end = GetTickCount64() + milliseconds;
    for (;;) {
        PumpMessages();
        if (condition()) return true;
        if (GetTickCount64() >= end) return false;
        MsgWaitForMultipleObjects(0, nullptr, FALSE, 10, QS_ALLINPUT);
    }
}

void ComponentTest::SetUp()
{
    m_comStarted = SUCCEEDED(CoInitializeEx(nullptr, m_apartment));
    ASSERT_TRUE(m_comStarted);
    m_faults = std::make_unique<FaultCounter>();
    // Before the DLL, which looks for the folder when it writes its first line.
    log = std::make_unique<LogReader>();
    m_logStart = ReadWholeFile(log->Path()).size();
    backend = std::make_unique<ScriptedBackend>();
    dll = std::make_unique<TestDll>();
    ASSERT_TRUE(*dll);
}

void ComponentTest::TearDown()
{
    if (!m_comStarted) return;
    if (dll && *dll) CheckNothingIsAlive();
    if (backend) {
        EXPECT_EQ("", allowUnused ? "" : backend->Unused()) << "(expected calls that never came)";
    }
    CheckNoFatalError();
    if (backend) backend->LetGo();
    dll.reset();
    backend.reset();
    if (m_faults) {
        EXPECT_EQ(0, FaultCounter::Unplanned())
            << "a fault that the guard may hide: " << FaultCounter::FirstUnplanned();
        m_faults.reset();
    }
    CoUninitialize();
}

void ComponentTest::CheckNothingIsAlive()
{
    if (allowLiveObjects) return;
    backend->LetGo();
    EXPECT_EQ(S_OK, dll->CanUnloadNow()) << "something of the module is still alive";
    EXPECT_EQ(0, backend->LiveControls()) << "the backend control was not released";
}

void ComponentTest::CheckNoFatalError()
{
    if (allowFatalErrors || !log) return;
    for (const LogRecord& record : ParseLog(ReadWholeFile(log->Path(), m_logStart)))
        if (record.message.find("receive a fatal error") != std::string::npos)
            ADD_FAILURE() << "the guard caught something: " << Describe(record);
}

ComPtr<IDispatch> ComponentTest::Make(const ScriptedClass& made)
{
    ComPtr<IDispatch> object;
    const HRESULT result = dll->Create(made.clsid, IID_IDispatch, object.putVoid());
    if (!object) ADD_FAILURE() << made.name << " could not be made: " << std::hex << result;
    return object;
}

void ComponentTest::Reload()
{
    EXPECT_EQ(S_OK, dll->CanUnloadNow());
    dll->Unload();
    dll->Load();
}

void ComponentTest::UseDll(const std::wstring& path) { dll = std::make_unique<TestDll>(path); }

}  // namespace kzr::test
