// The instance: its count, loading, advising and destruction. Every failure leaves by its line and its
// clean-up.
#include "backend/AxKzrApp.h"

#include <ocidl.h>
#include <oleidl.h>

#include <atomic>
#include <new>

#include "com/Bstr.h"
#include "com/Immortal.h"
#include "com/Lock.h"
#include "log/Log.h"

namespace kzr {
namespace {

constexpr char kLogSource[] = "AxKzrApp";

const CLSID kBackendClsid = {0x5d343b47, 0xfdd0, 0x4802, {0x93, 0x0b, 0xea, 0xdd, 0xa0, 0xce, 0x37, 0xd9}};

// Both under the backend lock.
Immortal<std::shared_ptr<CAxKzrApp>> g_instance;
unsigned g_holders = 0;

// Disconnecting runs the backend's code, whose overflow of the stack can only be caught with this much of it
// left. A holder who has less is given back by the next one that comes or goes with room.
constexpr std::size_t kStackToDisconnect = 96 * 1024;
std::atomic<unsigned> g_owed{0};

// A fault counts as the failure of the call it came out of: every step of making and undoing the connection
// has a failure path of its own.
template <class Call>
HRESULT Try(Call&& call) noexcept
{
    const LocksHeld before;
    const HRESULT result = CallForeignQuietly(call, E_FAIL);
    before.GiveBackTheRest();
    return result;
}

// The same for a call that gives an object. What a failed one leaves in its pointer is nobody's reference:
// releasing it would take one from somebody else, or fault.
template <class T, class Call>
HRESULT Ask(ForeignPtr<T>& answer, Call&& call) noexcept
{
    void** const pointer = answer.putVoid();
    const HRESULT result = Try([&] { return call(pointer); });
    if (FAILED(result)) answer.Detach();
    return result;
}

HRESULT FindEvents(IDispatch* control, ForeignPtr<IConnectionPoint>& events) noexcept
{
    ForeignPtr<IConnectionPointContainer> container;
    HRESULT result = Ask(container, [&](void** answer) {
        return control->QueryInterface(IID_IConnectionPointContainer, answer);
    });
    if (FAILED(result) || !container) return E_FAIL;
    result = Ask(events, [&](void** answer) {
        return container->FindConnectionPoint(kBackendEventsIid,
                                              reinterpret_cast<IConnectionPoint**>(answer));
    });
    return SUCCEEDED(result) && events ? S_OK : E_FAIL;
}

// The backend's one configuration call. It goes round InvokeMethod, so it writes no call lines; neither a
// missing method nor a failure of it matters.
void ConfigureBackend(IDispatch* control)
{
    Bstr name(L"SetUserConfig");
    BSTR names = name.Get();
    DISPID id = 0;
    if (FAILED(Try([&] { return control->GetIDsOfNames(IID_NULL, &names, 1, LOCALE_USER_DEFAULT, &id); })))
        return;
    const Argument values[] = {8l, L"off"};
    Arguments arguments(values, 2);
    DISPPARAMS parameters{arguments.data(), nullptr, arguments.size(), 0};
    Variant ignored;
    Try([&] {
        return control->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &parameters, ignored.put(),
                               nullptr, nullptr);
    });
}

}  // namespace

std::shared_ptr<CAxKzrApp> CAxKzrApp::Instance()
{
    KZR_TRACE("CAxKzrApp::Instance starting...");
    const LockGuard held = BackendLock().lock();
    g_holders -= g_owed.exchange(0);
    if (!*g_instance && !MakeInstance()) return nullptr;
    const std::shared_ptr<CAxKzrApp> instance = *g_instance;
    ++g_holders;
    KZR_TRACE("CAxKzrApp::Instance ending ok(refcount:%d)...", static_cast<int>(g_holders));
    return instance;
}

// Null when there is no memory, for the object or for the counts beside it.
std::shared_ptr<CAxKzrApp> CAxKzrApp::Allocate() noexcept
{
    try {
        return std::shared_ptr<CAxKzrApp>(new (std::nothrow) CAxKzrApp());
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

bool CAxKzrApp::MakeInstance()
{
    KZR_TRACE("CAxKzrApp::Instance new CAxKzrApp...");
    const std::shared_ptr<CAxKzrApp> instance = Allocate();
    if (!instance) {
        KZR_ERROR(
            0, "CAxKzrApp::Instancenew CAxKzrApp out of memory!");  // the missing blank belongs to the text
        return false;
    }
    // Stored before it is loaded: what a loading backend lets in on this thread shares this instance.
    *g_instance = instance;
    instance->m_connecting = true;
    bool connected = false;
    try {
        connected = instance->Connect();
    } catch (...) {
        Destroy(instance);
        throw;
    }
    instance->m_connecting = false;
    if (!connected) Destroy(instance);
    return connected;
}

bool CAxKzrApp::Connect()
{
    KZR_TRACE("CAxKzrApp::Instance LoadKzrAppControl...");
    if (FAILED(LoadKzrAppControl())) {
        KZR_ERROR(GetLastError(), "CAxKzrApp::Instance LoadKzrAppControl error!");
        return false;
    }
    KZR_TRACE("CAxKzrApp::Instance Advise...");
    if (FAILED(Advise())) {
        KZR_ERROR(GetLastError(), "CAxKzrApp::Instance Advise error!");
        return false;
    }
    return true;
}

// Forgotten before it is disconnected, so that a backend which lets a new holder in meets a fresh instance.
// Whoever still runs inside the old one keeps its memory.
void CAxKzrApp::Destroy(const std::shared_ptr<CAxKzrApp>& instance) noexcept
{
    if (*g_instance == instance) *g_instance = nullptr;
    const LocksHeld before;
    instance->Disconnect();
    before.GiveBackTheRest();
}

void CAxKzrApp::Release()
{
    if (!HasStackLeft(kStackToDisconnect)) {
        ++g_owed;
        return;
    }
    KZR_TRACE("CAxKzrApp::Release starting...");
    const LockGuard held = BackendLock().lock();
    if (g_holders == 0) {
        KZR_TRACE("CAxKzrApp::Release ref_counts is 0, return ok...");
        return;
    }
    const unsigned left = g_holders -= 1 + g_owed.exchange(0);
    if (left == 0 && *g_instance && !(*g_instance)->m_connecting) {
        KZR_TRACE("CAxKzrApp::Release delete...");
        Destroy(std::shared_ptr<CAxKzrApp>(*g_instance));
    }
    KZR_TRACE("CAxKzrApp::Release ending ok(%d)...", static_cast<int>(left));
}

HRESULT CAxKzrApp::LoadKzrAppControl()
{
    KZR_TRACE("CAxKzrApp::LoadKzrAppControl starting...");
    if (m_loaded) {
        KZR_TRACE("CAxKzrApp::LoadKzrAppControl have already Instance OK...");
        return S_OK;
    }

    ForeignPtr<IDispatch> control;
    const HRESULT created = Ask(control, [](void** answer) {
        return CoCreateInstance(kBackendClsid, nullptr, CLSCTX_ALL, IID_IDispatch, answer);
    });
    if (FAILED(created) || !control) {
        KZR_ERROR(GetLastError(), "CAxKzrApp::LoadKzrAppControl Failed to create KzrApp control!");
        return E_FAIL;
    }
    m_control = control;

    ForeignPtr<IOleObject> object;
    const HRESULT queried =
        Ask(object, [&](void** answer) { return control->QueryInterface(IID_IOleObject, answer); });
    if (FAILED(queried) || !object) return LogQueryFailure(__LINE__);

    CKzrControlSite* site = nullptr;
    if (FAILED(CKzrControlSite::Create(&site))) return LogQueryFailure(__LINE__);
    m_controlSite.Reset(site);
    Try([&] { return object->SetClientSite(site); });

    CKzrAppEventSink* sink = nullptr;
    if (FAILED(CKzrAppEventSink::Create(&sink))) return LogQueryFailure(__LINE__);
    m_eventSink.Reset(sink);

    ConfigureBackend(control.Get());
    m_loaded = true;
    KZR_TRACE("CAxKzrApp::LoadKzrAppControl ending ok...");
    return S_OK;
}

// Three steps of loading share this text, whatever it was that failed.
HRESULT CAxKzrApp::LogQueryFailure(unsigned line)
{
    WriteLog(kLogSource, line, kLogError, GetLastError(),
             "CAxKzrApp::LoadKzrAppControl Failed to query interface in KzrApp control!");
    return E_FAIL;
}

HRESULT CAxKzrApp::Advise()
{
    KZR_TRACE("CAxKzrApp::Advise starting...");
    if (m_advised) {
        KZR_TRACE("CAxKzrApp::Advise have already Advise OK...");
        return S_OK;
    }
    const ForeignPtr<IDispatch> control = m_control;
    ForeignPtr<IConnectionPoint> events;
    if (control && SUCCEEDED(FindEvents(control.Get(), events)) &&
        SUCCEEDED(Try([&] { return events->Advise(m_eventSink.Get(), &m_adviseCookie); }))) {
        m_advised = true;
        KZR_TRACE("CAxKzrApp::Advise ending...");
        return S_OK;
    }
    // The text names the loading and lacks its last letter; log readers know it so.
    KZR_ERROR(GetLastError(), "CAxKzrApp::LoadKzrAppControl Failed to advise event in KzrApp contro!");
    return E_FAIL;
}

void CAxKzrApp::Disconnect() noexcept
{
    const ForeignPtr<IDispatch> control = std::move(m_control);
    if (m_advised) {
        m_advised = false;
        ForeignPtr<IConnectionPoint> events;
        if (control && SUCCEEDED(FindEvents(control.Get(), events)))
            Try([&] { return events->Unadvise(m_adviseCookie); });
    }
    m_loaded = false;
}

void CAxKzrApp::AddEventListner(HWND window, [[maybe_unused]] UINT message)
{
    KZR_TRACE("CAxKzrApp::AddEventListner starting...");
    if (!m_loaded) {
        KZR_ERROR(0, "CAxKzrApp::AddEventListner not Instance yet!");
        return;
    }
    m_eventSink->AddListener(window);
    KZR_TRACE("CAxKzrApp::AddEventListner ending ok...");
}

}  // namespace kzr
