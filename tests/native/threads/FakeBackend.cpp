#include "native/threads/FakeBackend.h"

#include <string>

#include "backend/KzrAppEventSink.h"

namespace kzr::test {
namespace {

long g_calls = 0;
int g_made = 0;
int g_alive = 0;

}  // namespace

long FakeBackend::Calls() { return g_calls; }
int FakeBackend::Made() { return g_made; }
int FakeBackend::Alive() { return g_alive; }
void FakeBackend::Forget() { g_calls = g_made = 0; }

FakeBackend::FakeBackend()
{
    ++g_made;
    ++g_alive;
}

FakeBackend::~FakeBackend()
{
    --g_alive;
    if (m_site) m_site->Release();
}

HRESULT FakeBackend::QueryInterface(REFIID iid, void** object)
{
    if (IsEqualIID(iid, IID_IDispatch))
        *object = static_cast<IDispatch*>(this);
    else if (IsEqualIID(iid, IID_IOleObject))
        *object = static_cast<IOleObject*>(this);
    else if (IsEqualIID(iid, IID_IConnectionPointContainer))
        *object = static_cast<IConnectionPointContainer*>(this);
    else
        return E_NOINTERFACE;
    ++m_references;
    return S_OK;
}

ULONG FakeBackend::Release()
{
    const ULONG left = --m_references;
    if (left == 0) delete this;
    return left;
}

HRESULT FakeBackend::GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID* ids)
{
    ++g_calls;
    *ids = 1;
    return S_OK;
}

// Every answer is a text that tells what was asked, so that a rebuild has something to keep.
HRESULT FakeBackend::Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS* parameters, VARIANT* result, EXCEPINFO*,
                            UINT*)
{
    ++g_calls;
    std::wstring answer = L"answer";
    for (UINT i = parameters->cArgs; i-- > 0;) {
        const VARIANT& argument = parameters->rgvarg[i];
        answer += argument.vt == VT_BSTR ? std::wstring(argument.bstrVal ? argument.bstrVal : L"")
                                         : std::to_wstring(argument.iVal);
    }
    result->vt = VT_BSTR;
    result->bstrVal = SysAllocString(answer.c_str());
    return S_OK;
}

HRESULT FakeBackend::SetClientSite(IOleClientSite* site)
{
    if (site) site->AddRef();
    if (m_site) m_site->Release();
    m_site = site;
    return S_OK;
}

HRESULT FakeBackend::FindConnectionPoint(REFIID iid, IConnectionPoint** point)
{
    if (!IsEqualIID(iid, kBackendEventsIid)) return E_FAIL;
    *point = this;
    ++m_references;
    return S_OK;
}

HRESULT FakeBackend::Advise(IUnknown* sink, DWORD* cookie)
{
    sink->AddRef();
    m_sink = sink;
    *cookie = 1;
    return S_OK;
}

HRESULT FakeBackend::Unadvise(DWORD)
{
    if (IUnknown* const sink = std::exchange(m_sink, nullptr)) sink->Release();
    return S_OK;
}

HRESULT MakeFakeBackend(void** object)
{
    auto* const made = new FakeBackend();
    made->AddRef();
    *object = static_cast<IDispatch*>(made);
    return S_OK;
}

}  // namespace kzr::test

HRESULT CoCreateInstance(REFCLSID, IUnknown*, DWORD, REFIID, void** object)
{
    return kzr::test::MakeFakeBackend(object);
}
