#include "support/ScriptedBackend.h"

#include <gtest/gtest.h>

#include <thread>
#include <utility>

#include "support/BackendControl.h"

namespace kzr::test {

Answer Answer::After(DWORD milliseconds) const
{
    Answer changed = *this;
    changed.delay = milliseconds;
    return changed;
}

Answer Answer::Running(std::function<void()> callback) const
{
    Answer changed = *this;
    changed.during = std::move(callback);
    return changed;
}

Answer Fails(HRESULT result, const Value& value)
{
    Answer answer(value);
    answer.result = result;
    return answer;
}

Answer Faults(FaultKind kind)
{
    Answer answer;
    answer.fault = kind;
    return answer;
}

Answer UnknownName(HRESULT lookUp)
{
    Answer answer;
    answer.lookUp = lookUp;
    return answer;
}

std::string Describe(const RecordedCall& call)
{
    return (call.isLookUp ? "look-up of " : "") + Readable(call.name) +
           (call.isLookUp ? "" : Describe(call.arguments));
}

std::vector<User> DefaultUsers()
{
    return {{L"Alice", L"c1", L"SN01", L"CSP1", L"EXT1"}, {L"Bob", L"c2", L"SN02", L"CSP2", L"EXT2"}};
}

std::wstring UserListOf(const std::vector<User>& users)
{
    std::wstring list;
    for (const User& user : users) list += user.name + L"||" + user.container + L"/" + user.device + L"&&&";
    return list;
}

StepRule& StepRule::Fails(HRESULT failure)
{
    result = failure;
    return *this;
}
StepRule& StepRule::GivesNull()
{
    givesNull = true;
    return *this;
}
StepRule& StepRule::Leaves(void* pointer)
{
    left = pointer;
    return *this;
}
StepRule& StepRule::Faults(FaultKind kind)
{
    fault = kind;
    return *this;
}
StepRule& StepRule::Runs(std::function<void()> called)
{
    callback = std::move(called);
    return *this;
}

ScriptedBackend::ScriptedBackend()
{
    ForgetEverything();
    Register();
}

ScriptedBackend::~ScriptedBackend()
{
    LetGo();
    Unregister();
}

void ScriptedBackend::ForgetEverything()
{
    const std::lock_guard held(m_mutex);
    // With their memory, which a test of growth would see.
    std::deque<Rule>().swap(m_rules);
    m_steps.clear();
    m_calls.clear();
    Allow(L"SetUserConfig", {I4(8), L"off"}, Answer());
    SetUserList(L"");
}

void ScriptedBackend::Register()
{
    if (m_registration) return;
    const HRESULT result = CoRegisterClassObject(kBackendClass, new BackendFactory(*this),
                                                 CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &m_registration);
    if (FAILED(result))
        ADD_FAILURE() << "the backend's class could not be registered: " << std::hex << result;
}

void ScriptedBackend::Unregister()
{
    if (const DWORD registration = std::exchange(m_registration, 0)) CoRevokeClassObject(registration);
}

void ScriptedBackend::Expect(const wchar_t* name, const Values& arguments, const Answer& answer)
{
    const std::lock_guard held(m_mutex);
    m_rules.push_back({name, arguments, false, true, false, answer});
}

void ScriptedBackend::Allow(const wchar_t* name, const Answer& answer)
{
    const std::lock_guard held(m_mutex);
    // The latest one counts.
    m_rules.push_front({name, {}, true, false, false, answer});
}

void ScriptedBackend::Allow(const wchar_t* name, const Values& arguments, const Answer& answer)
{
    const std::lock_guard held(m_mutex);
    m_rules.push_front({name, arguments, false, false, false, answer});
}

StepRule& ScriptedBackend::At(Step step)
{
    const std::lock_guard held(m_mutex);
    return m_steps[step];
}

void ScriptedBackend::SetUserList(const Answer& answer) { Allow(L"SOF_GetUserList", Values(), answer); }

void ScriptedBackend::SetUsers(const std::vector<User>& users)
{
    SetUserList(Value(UserListOf(users)));
    for (const User& user : users) {
        Allow(L"GetDeviceInfo", {user.device, I2(9)}, Value(user.csp));
        Allow(L"GetDeviceInfo", {user.device, I2(8)}, Value(user.extLib));
        Allow(L"GetDeviceInfo", {user.device, I2(7)}, Value(user.type));
    }
}

// One that is expected once goes before one that is always allowed. Without arguments: any rule of that name.
ScriptedBackend::Rule* ScriptedBackend::FindRule(const std::wstring& name, const Values* arguments)
{
    const auto fits = [&](const Rule& rule) {
        return rule.name == name && (!arguments || rule.anyArguments || rule.arguments == *arguments);
    };
    for (Rule& rule : m_rules)
        if (rule.once && !rule.used && fits(rule)) return &rule;
    for (Rule& rule : m_rules)
        if (!rule.once && fits(rule)) return &rule;
    return nullptr;
}

void ScriptedBackend::Complain(const std::string& what)
{
    ++m_unexpected;
    if (unexpectedFails) ADD_FAILURE() << "the backend was surprised: " << what;
}

HRESULT ScriptedBackend::RunStep(Step step)
{
    StepRule rule;
    {
        const std::lock_guard held(m_mutex);
        const auto found = m_steps.find(step);
        if (found == m_steps.end()) return S_OK;
        rule = found->second;
    }
    if (rule.callback) rule.callback();
    RaiseFault(rule.fault);
    return rule.result;
}

HRESULT ScriptedBackend::LookUp(REFIID iid, LPOLESTR* names, UINT count, LCID locale, DISPID* ids)
{
    const std::wstring name = names && count > 0 ? names[0] : L"";
    const bool isConfiguration = name == L"SetUserConfig";
    if (isConfiguration)
        if (const HRESULT result = RunStep(Step::LookUpSetUserConfig); FAILED(result)) return result;

    const std::lock_guard held(m_mutex);
    m_calls.push_back({name, {}, true, GetCurrentThreadId()});
    if (!IsEqualIID(iid, IID_NULL) || count != 1 || locale != 0x0400)
        Complain("a look-up with another interface, count or locale than it should have");
    Rule* const rule = FindRule(name, nullptr);
    if (!rule) {
        Complain("a look-up of " + Readable(name));
        return DISP_E_UNKNOWNNAME;
    }
    if (rule->answer.Unknown()) {
        rule->used = true;
        return rule->answer.lookUp;
    }
    // A new one every time, good for one call: whoever keeps it is found out.
    *ids = m_nextId++;
    m_lookedUp[*ids] = name;
    return S_OK;
}

void ScriptedBackend::CheckCallShape(const std::wstring& name, REFIID iid, LCID locale, WORD flags,
                                     const DISPPARAMS& parameters, const VARIANT* result,
                                     const EXCEPINFO* info, const UINT* argument)
{
    std::string wrong;
    if (!IsEqualIID(iid, IID_NULL)) wrong += " interface";
    if (locale != 0x0400) wrong += " locale";
    if (flags != DISPATCH_METHOD) wrong += " flags";
    if (parameters.cNamedArgs != 0) wrong += " named arguments";
    if (!result) wrong += " result";
    if (result && result->vt != VT_EMPTY) wrong += " result's first content";
    if (info) wrong += " exception information";
    if (argument) wrong += " argument index";
    if (!wrong.empty()) Complain("the call of " + Readable(name) + " came with another" + wrong);
}

HRESULT ScriptedBackend::Invoke(DISPID id, REFIID iid, LCID locale, WORD flags, DISPPARAMS* parameters,
                                VARIANT* result, EXCEPINFO* info, UINT* argument)
{
    Answer answer;
    bool isConfiguration = false;
    {
        const std::lock_guard held(m_mutex);
        const auto found = m_lookedUp.find(id);
        if (found == m_lookedUp.end()) {
            Complain("a call of an identifier that was not looked up for it");
            return DISP_E_MEMBERNOTFOUND;
        }
        const std::wstring name = found->second;
        m_lookedUp.erase(found);
        isConfiguration = name == L"SetUserConfig";

        Values arguments;
        for (UINT i = parameters->cArgs; i-- > 0;) arguments.push_back(Value(parameters->rgvarg[i]));
        m_calls.push_back({name, arguments, false, GetCurrentThreadId()});
        CheckCallShape(name, iid, locale, flags, *parameters, result, info, argument);

        Rule* const rule = FindRule(name, &arguments);
        if (!rule) {
            Complain("a call of " + Readable(name) + Describe(arguments));
            return E_UNEXPECTED;
        }
        rule->used = true;
        answer = rule->answer;
        if (m_depth > 0 && m_running != GetCurrentThreadId()) ++m_overlaps;
        m_running = GetCurrentThreadId();
        ++m_depth;
    }
    const std::function<void()> leave = [this] {
        const std::lock_guard held(m_mutex);
        --m_depth;
    };
    if (isConfiguration)
        if (const HRESULT failed = RunStep(Step::SetUserConfig); FAILED(failed)) answer.result = failed;
    if (answer.delay) Sleep(answer.delay);
    if (answer.during) answer.during();
    leave();
    return Play(answer, result);
}

// The fault comes last and with nothing on this stack that would need to be freed.
HRESULT ScriptedBackend::Play(const Answer& answer, VARIANT* result)
{
    if (answer.fault == FaultKind::None && result) *result = answer.value.Copy();
    RaiseFault(answer.fault);
    return answer.result;
}

void ScriptedBackend::LetGo()
{
    if (IOleClientSite* const site = std::exchange(m_keptSite, nullptr)) site->Release();
    if (IDispatch* const sink = std::exchange(m_keptSink, nullptr)) sink->Release();
}

IOleClientSite* ScriptedBackend::Site()
{
    const std::lock_guard held(m_mutex);
    if (m_keptSite || m_controls.empty()) return m_keptSite;
    return m_controls.back()->Site();
}

IDispatch* ScriptedBackend::Sink()
{
    const std::lock_guard held(m_mutex);
    if (m_keptSink || m_controls.empty()) return m_keptSink;
    return m_controls.back()->Sink();
}

void ScriptedBackend::FireEvent(DISPID id)
{
    IDispatch* const sink = Sink();
    if (!sink) {
        ADD_FAILURE() << "an event was to be raised, and nobody is advised";
        return;
    }
    Value text(L"SN01"), number = I4(1);
    VARIANT arguments[] = {number.Get(), text.Get()};
    DISPPARAMS parameters{arguments, nullptr, 2, 0};
    EXPECT_EQ(S_OK,
              sink->Invoke(id, IID_NULL, 0x0400, DISPATCH_METHOD, &parameters, nullptr, nullptr, nullptr));
}

void ScriptedBackend::FireEventFromThread(DISPID id)
{
    std::thread([&] { FireEvent(id); }).join();
}

std::vector<RecordedCall> ScriptedBackend::Calls()
{
    std::vector<RecordedCall> calls = AllCalls();
    std::erase_if(calls, [](const RecordedCall& call) { return call.isLookUp; });
    return calls;
}

std::vector<RecordedCall> ScriptedBackend::AllCalls()
{
    const std::lock_guard held(m_mutex);
    return m_calls;
}

std::size_t ScriptedBackend::CallsOf(const wchar_t* name)
{
    std::size_t count = 0;
    for (const RecordedCall& call : Calls()) count += call.name == name;
    return count;
}

void ScriptedBackend::ForgetCalls()
{
    const std::lock_guard held(m_mutex);
    // With its memory, which a test of growth would see.
    std::vector<RecordedCall>().swap(m_calls);
}

int ScriptedBackend::LiveControls()
{
    const std::lock_guard held(m_mutex);
    return static_cast<int>(m_controls.size());
}

long ScriptedBackend::References()
{
    const std::lock_guard held(m_mutex);
    long count = 0;
    for (const BackendControl* control : m_controls) count += control->References();
    return count;
}

int ScriptedBackend::ControlsMade()
{
    const std::lock_guard held(m_mutex);
    return m_made;
}

std::string ScriptedBackend::Unused()
{
    const std::lock_guard held(m_mutex);
    std::string text;
    for (const Rule& rule : m_rules)
        if (rule.once && !rule.used) text += Readable(rule.name) + Describe(rule.arguments) + "\n";
    return text;
}

void ScriptedBackend::ForgetUnused()
{
    const std::lock_guard held(m_mutex);
    std::erase_if(m_rules, [](const Rule& rule) { return rule.once; });
}

int ScriptedBackend::Unexpected()
{
    const std::lock_guard held(m_mutex);
    return m_unexpected;
}

int ScriptedBackend::Overlaps()
{
    const std::lock_guard held(m_mutex);
    return m_overlaps;
}

}  // namespace kzr::test
