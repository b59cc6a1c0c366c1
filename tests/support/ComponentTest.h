// The fixture of the component tests: COM, the scripted backend, the DLL and its log, made anew for every
// test; and what must hold when a test ends.
//
//     TEST_F(ComponentTest, ...)
//     {
//         const ComPtr<IDispatch> crypto = Make(kCrypto);
//         backend->Expect(L"SOF_SignData", {L"c1/SN01", L"text"}, L"signature");
//         EXPECT_EQ(Value(L"signature"), Call(crypto.Get(), L"signedData", {L"text", L"c1"}).value);
//         ExpectLog({Trace("CCrypto: signedData starting..."), ...}, log->Take(), "Crypto");
//     }
#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "com/ComPtr.h"
#include "support/Dispatch.h"
#include "support/Faults.h"
#include "support/LogReader.h"
#include "support/ScriptedBackend.h"
#include "support/TestDll.h"
#include "support/Value.h"

namespace kzr::test {

// A class that the DLL hands out, and the source name of its log lines.
struct ScriptedClass {
    const char* name;    // "CCrypto"
    const char* source;  // "Crypto"
    CLSID clsid;
};
extern const ScriptedClass kCertificate;
extern const ScriptedClass kCrypto;
extern const ScriptedClass kDeviceMgr;
extern const ScriptedClass kUtil;
extern const ScriptedClass kControl;
extern const CLSID kPropertyPage;

// One step of what a call does, in its order: a line of the object's own, or a backend call. The two call
// lines that each backend call writes are derived, so a table names neither.
struct LogStep {
    bool isCall = false;
    std::string level;
    std::string source;  // empty: the class's own
    unsigned status = 0;
    std::string message;
    std::wstring method;
    Values arguments;
    Answer answer;

    LogStep From(const char* otherSource) const;
};
using LogSteps = std::vector<LogStep>;

LogStep Trace(const std::string& message);
LogStep Notice(const std::string& message);
LogStep Error(const std::string& message, HRESULT status = S_OK);
LogStep Calls(const wchar_t* method, const Values& arguments, const Answer& answer = Answer());

// The records that steps must leave, as text: one line each, in their order.
std::string ExpectedLog(const LogSteps& steps, const std::string& source);
std::string DescribeLog(const std::vector<LogRecord>& records);
// Compares level, source, status and message of every record, in order, and checks that each has a line
// number where it names a source.
void ExpectLog(const LogSteps& steps, const std::vector<LogRecord>& records, const std::string& source);

// A value as the call lines show it, in the ANSI code page.
std::string RenderForLog(const Value& value);
// The two call lines of one backend call.
LogStep CallLine(const std::wstring& method, const Values& arguments);
LogStep ResultLine(const std::wstring& method, const Value& result);
// What making an object writes and calls when the backend's user list is empty (`refCount`: holders
// afterwards).
LogSteps StepsOfFirstInstance();

// Dispatches the messages that wait on this thread.
void PumpMessages();
// Pumps until the condition holds; false when it does not within the time.
bool PumpUntil(const std::function<bool()>& condition, DWORD milliseconds = 5000);

class ComponentTest : public testing::Test {
  public:
    // Apartment of the test's thread; a derived fixture may ask for the other.
    explicit ComponentTest(DWORD apartment = COINIT_APARTMENTTHREADED) : m_apartment(apartment) {}

    void SetUp() override;
    void TearDown() override;

    // An object, by its class; fails the test when it cannot be made.
    ComPtr<IDispatch> Make(const ScriptedClass& made);
    // Unloads and loads the DLL: module state begins anew. Everything of it must have been released.
    void Reload();
    // Another file in its place from now on.
    void UseDll(const std::wstring& path);

    std::unique_ptr<ScriptedBackend> backend;
    std::unique_ptr<TestDll> dll;
    std::unique_ptr<LogReader> log;

    // What a test may switch off for itself: the end's demand that the guard caught nothing, ...
    bool allowFatalErrors = false;
    // ... that every expected call came, ...
    bool allowUnused = false;
    // ... and that nothing of the module is alive.
    bool allowLiveObjects = false;

  private:
    void CheckNothingIsAlive();
    void CheckNoFatalError();

    const DWORD m_apartment;
    bool m_comStarted = false;
    std::size_t m_logStart = 0;
    std::unique_ptr<FaultCounter> m_faults;
};

}  // namespace kzr::test
