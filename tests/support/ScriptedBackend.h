// The backend control's stand-in: a COM class of the test program that answers by rule, records what it is
// asked and fails the test when it is asked something that no rule expects.
//
//     backend.Expect(L"SOF_SignData", {L"c1/SN01", L"text"}, L"signature");
//     backend.Expect(L"SOF_Login", {L"c1/SN01", L"1234"}, Fails(E_ACCESSDENIED));
//     backend.At(Step::Advise).Fails(E_FAIL);
//
// Expected from the start, any number of times: SetUserConfig(8, "off"), SOF_GetUserList and, for the devices
// of the user list, GetDeviceInfo.
#pragma once

#include <windows.h>

#include <oaidl.h>
#include <ocidl.h>
#include <oleidl.h>

#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "support/Faults.h"
#include "support/Value.h"

namespace kzr::test {

inline constexpr CLSID kBackendClass = {
    0x5D343B47, 0xFDD0, 0x4802, {0x93, 0x0B, 0xEA, 0xDD, 0xA0, 0xCE, 0x37, 0xD9}};
inline constexpr IID kBackendEvents = {
    0xDFDABA17, 0xD518, 0x42A6, {0x81, 0xDE, 0xC9, 0x0C, 0x8E, 0xC3, 0x2B, 0xCF}};

// What a call is answered with. A text or value alone is an answer, too.
struct Answer {
    Value value;
    HRESULT result = S_OK;
    HRESULT lookUp = S_OK;  // of GetIDsOfNames; a failure keeps the call from being made
    FaultKind fault = FaultKind::None;
    DWORD delay = 0;  // milliseconds
    std::function<void()> during;

    Answer() = default;
    Answer(const Value& answered) : value(answered) {}
    Answer(const wchar_t* text) : value(text) {}
    Answer(const std::wstring& text) : value(text) {}

    Answer After(DWORD milliseconds) const;
    // Runs inside the call, before the fault and the answer.
    Answer Running(std::function<void()> callback) const;
    bool Unknown() const { return FAILED(lookUp); }
};
Answer Fails(HRESULT result, const Value& value = Value());
Answer Faults(FaultKind kind);
// The backend has no such method.
Answer UnknownName(HRESULT lookUp = DISP_E_UNKNOWNNAME);

struct RecordedCall {
    std::wstring name;
    Values arguments;  // in the backend's own order
    bool isLookUp = false;
    DWORD thread = 0;
};
std::string Describe(const RecordedCall& call);

// One user as the backend lists it, with the texts of its device.
struct User {
    std::wstring name, container, device, csp, extLib;
    std::wstring type = L"HARD";
};
// Alice with c1/SN01, CSP1 and EXT1, and Bob with c2/SN02, CSP2 and EXT2.
std::vector<User> DefaultUsers();
// "name||container/device&&&" for each.
std::wstring UserListOf(const std::vector<User>& users);

// The places where the backend can misbehave on its way to and from a working connection.
enum class Step {
    CreateInstance,
    QueryDispatch,
    QueryOleObject,
    SetClientSite,
    LookUpSetUserConfig,
    SetUserConfig,
    QueryContainer,
    FindConnectionPoint,
    Advise,
    Unadvise,
    Release,  // of the control by the component
    LastRelease,
};

// What happens there: nothing of it by default.
struct StepRule {
    HRESULT result = S_OK;
    bool givesNull = false;  // success with a null pointer
    void* left = nullptr;    // what a failure leaves in the pointer that it should have set to null
    FaultKind fault = FaultKind::None;
    std::function<void()> callback;

    StepRule& Fails(HRESULT failure);
    StepRule& GivesNull();
    StepRule& Leaves(void* pointer);
    StepRule& Faults(FaultKind kind);
    StepRule& Runs(std::function<void()> called);
};

// The library's own mutex leaves a block behind for each one that was ever locked, which a leak test would
// see.
class CriticalSection {
  public:
    CriticalSection() { InitializeCriticalSection(&m_section); }
    CriticalSection(const CriticalSection&) = delete;
    CriticalSection& operator=(const CriticalSection&) = delete;
    ~CriticalSection() { DeleteCriticalSection(&m_section); }
    void lock() { EnterCriticalSection(&m_section); }
    void unlock() { LeaveCriticalSection(&m_section); }

  private:
    CRITICAL_SECTION m_section;
};

class BackendControl;

class ScriptedBackend {
  public:
    // Registers the class in the calling thread's apartment.
    ScriptedBackend();
    ~ScriptedBackend();
    ScriptedBackend(const ScriptedBackend&) = delete;
    ScriptedBackend& operator=(const ScriptedBackend&) = delete;

    // One call with exactly these arguments, types included. It must come before the test ends.
    void Expect(const wchar_t* name, const Values& arguments, const Answer& answer = Answer());
    // Any number of calls, none included; with arguments only such calls.
    void Allow(const wchar_t* name, const Answer& answer);
    void Allow(const wchar_t* name, const Values& arguments, const Answer& answer);
    // From now on the answer of SOF_GetUserList ("" at first).
    void SetUserList(const Answer& answer);
    // The same from users, with the GetDeviceInfo answers of their devices.
    void SetUsers(const std::vector<User>& users);
    // Where the control itself fails, faults, calls back.
    StepRule& At(Step step);

    // The backend is not there: its class is not registered.
    void Unregister();
    void Register();

    // References that it gives back too often: on the site in SetClientSite(new), on the sink in Unadvise.
    int overReleaseSite = 0;
    int overReleaseSink = 0;
    // References that it keeps beyond its own end, until LetGo.
    bool keepsSite = false;
    bool keepsSink = false;
    void LetGo();
    // Kept, or held by the control at this moment. Null when there is none; no reference is added.
    IOleClientSite* Site();
    IDispatch* Sink();

    // Raises an event, with some arguments, on the calling thread.
    void FireEvent(DISPID id = 1);
    // Raises it on a thread of its own and waits for that.
    void FireEventFromThread(DISPID id = 1);

    // Calls in their order, without the look-ups; with them in All.
    std::vector<RecordedCall> Calls();
    std::vector<RecordedCall> AllCalls();
    std::size_t CallsOf(const wchar_t* name);
    void ForgetCalls();

    // Controls that exist, references that others hold on them, and controls ever made.
    int LiveControls();
    long References();
    int ControlsMade();

    // Expected calls that never came, as text; empty when there are none.
    std::string Unused();
    void ForgetUnused();
    // How many unexpected calls came; each has failed the test already unless they were asked for.
    int Unexpected();
    bool unexpectedFails = true;

    // How often calls overlapped, on any threads.
    int Overlaps();
    void ForgetEverything();

  private:
    friend class BackendControl;
    friend class BackendFactory;
    struct Rule {
        std::wstring name;
        Values arguments;
        bool anyArguments = false;
        bool once = true;
        bool used = false;
        Answer answer;
    };

    HRESULT RunStep(Step step);
    HRESULT LookUp(REFIID iid, LPOLESTR* names, UINT count, LCID locale, DISPID* ids);
    HRESULT Invoke(DISPID id, REFIID iid, LCID locale, WORD flags, DISPPARAMS* parameters, VARIANT* result,
                   EXCEPINFO* info, UINT* argument);
    Rule* FindRule(const std::wstring& name, const Values* arguments);
    void CheckCallShape(const std::wstring& name, REFIID iid, LCID locale, WORD flags,
                        const DISPPARAMS& parameters, const VARIANT* result, const EXCEPINFO* info,
                        const UINT* argument);
    void Complain(const std::string& what);
    HRESULT Play(const Answer& answer, VARIANT* result);

    CriticalSection m_mutex;
    std::deque<Rule> m_rules;
    std::map<Step, StepRule> m_steps;
    std::vector<RecordedCall> m_calls;
    std::map<DISPID, std::wstring> m_lookedUp;
    DISPID m_nextId = 1000;
    std::vector<BackendControl*> m_controls;
    IOleClientSite* m_keptSite = nullptr;
    IDispatch* m_keptSink = nullptr;
    DWORD m_registration = 0;
    DWORD m_running = 0;  // the thread inside a call
    int m_depth = 0;
    int m_overlaps = 0;
    int m_made = 0;
    int m_unexpected = 0;
};

}  // namespace kzr::test
