#include "support/BackendControl.h"

#include <olectl.h>

#include <gtest/gtest.h>

#include <utility>

namespace kzr::test {
namespace {

constexpr DWORD kCookie = 0x4B5A;

}  // namespace

BackendControl::BackendControl(ScriptedBackend& backend) : m_backend(backend)
{
    const std::lock_guard held(m_backend.m_mutex);
    m_backend.m_controls.push_back(this);
    ++m_backend.m_made;
}

BackendControl::~BackendControl()
{
    DropSink();
    DropSite();
    const std::lock_guard held(m_backend.m_mutex);
    std::erase(m_backend.m_controls, this);
}

STDMETHODIMP BackendControl::QueryInterface(REFIID iid, void** object)
{
    *object = nullptr;
    HRESULT result = S_OK;
    bool givesNull = false;
    void* left = nullptr;
    const auto ask = [&](Step step, auto* answer) {
        result = m_backend.RunStep(step);
        givesNull = m_backend.At(step).givesNull;
        left = m_backend.At(step).left;
        *object = answer;
    };
    if (IsEqualIID(iid, IID_IUnknown)) {
        *object = static_cast<IDispatch*>(this);
    } else if (IsEqualIID(iid, IID_IDispatch)) {
        ask(Step::QueryDispatch, static_cast<IDispatch*>(this));
    } else if (IsEqualIID(iid, IID_IOleObject)) {
        ask(Step::QueryOleObject, static_cast<IOleObject*>(this));
    } else if (IsEqualIID(iid, IID_IConnectionPointContainer)) {
        ask(Step::QueryContainer, static_cast<IConnectionPointContainer*>(this));
    } else if (IsEqualIID(iid, IID_IConnectionPoint)) {
        *object = static_cast<IConnectionPoint*>(this);
    } else {
        return E_NOINTERFACE;
    }
    if (FAILED(result) || givesNull) {
        *object = left;
        return result;
    }
    AddRef();
    return S_OK;
}

STDMETHODIMP_(ULONG) BackendControl::AddRef() { return static_cast<ULONG>(++m_references); }

STDMETHODIMP_(ULONG) BackendControl::Release()
{
    const long left = --m_references;
    if (left < 0) m_backend.Complain("a reference too many was given back on the control");
    m_backend.RunStep(Step::Release);
    if (left != 0 || m_freed) return static_cast<ULONG>(left);
    m_freed = true;
    ScriptedBackend& backend = m_backend;
    delete this;
    backend.RunStep(Step::LastRelease);
    return 0;
}

STDMETHODIMP BackendControl::GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID locale, DISPID* ids)
{
    return m_backend.LookUp(iid, names, count, locale, ids);
}

STDMETHODIMP BackendControl::Invoke(DISPID id, REFIID iid, LCID locale, WORD flags, DISPPARAMS* parameters,
                                    VARIANT* result, EXCEPINFO* info, UINT* argument)
{
    return m_backend.Invoke(id, iid, locale, flags, parameters, result, info, argument);
}

STDMETHODIMP BackendControl::SetClientSite(IOleClientSite* site)
{
    if (site) site->AddRef();
    DropSite();
    m_site = site;
    for (int i = 0; site && i < m_backend.overReleaseSite; ++i) site->Release();
    return m_backend.RunStep(Step::SetClientSite);
}

STDMETHODIMP BackendControl::FindConnectionPoint(REFIID iid, IConnectionPoint** point)
{
    *point = nullptr;
    if (!IsEqualIID(iid, kBackendEvents)) {
        m_backend.Complain("FindConnectionPoint of another interface");
        return CONNECT_E_NOCONNECTION;
    }
    const HRESULT result = m_backend.RunStep(Step::FindConnectionPoint);
    if (FAILED(result) || m_backend.At(Step::FindConnectionPoint).givesNull) {
        *point = static_cast<IConnectionPoint*>(m_backend.At(Step::FindConnectionPoint).left);
        return result;
    }
    *point = this;
    AddRef();
    return S_OK;
}

STDMETHODIMP BackendControl::Advise(IUnknown* sink, DWORD* cookie)
{
    if (!sink || !cookie) {
        m_backend.Complain("Advise without a sink or a cookie");
        return E_POINTER;
    }
    if (const HRESULT result = m_backend.RunStep(Step::Advise); FAILED(result)) return result;
    if (m_sink) m_backend.Complain("Advise a second time");
    void* events = nullptr;
    if (FAILED(sink->QueryInterface(kBackendEvents, &events))) return CONNECT_E_CANNOTCONNECT;
    m_sink = static_cast<IDispatch*>(events);
    *cookie = kCookie;
    return S_OK;
}

STDMETHODIMP BackendControl::Unadvise(DWORD cookie)
{
    if (cookie != kCookie || !m_sink)
        m_backend.Complain("Unadvise without a connection or with another cookie");
    IDispatch* const sink = m_sink;
    if (sink && m_backend.overReleaseSink > 0) {
        // Still referenced by us, so that what is given back too often is somebody else's.
        for (int i = 0; i < m_backend.overReleaseSink; ++i) sink->Release();
        m_sink = nullptr;
    }
    DropSink();
    return m_backend.RunStep(Step::Unadvise);
}

void BackendControl::DropSite()
{
    IOleClientSite* const site = std::exchange(m_site, nullptr);
    if (!site) return;
    if (m_backend.keepsSite && !m_backend.m_keptSite) {
        m_backend.m_keptSite = site;
    } else {
        site->Release();
    }
}

void BackendControl::DropSink()
{
    IDispatch* const sink = std::exchange(m_sink, nullptr);
    if (!sink) return;
    if (m_backend.keepsSink && !m_backend.m_keptSink) {
        m_backend.m_keptSink = sink;
    } else {
        sink->Release();
    }
}

STDMETHODIMP BackendFactory::QueryInterface(REFIID iid, void** object)
{
    *object = nullptr;
    if (!IsEqualIID(iid, IID_IUnknown) && !IsEqualIID(iid, IID_IClassFactory)) return E_NOINTERFACE;
    *object = this;
    AddRef();
    return S_OK;
}

STDMETHODIMP_(ULONG) BackendFactory::Release()
{
    const ULONG left = --m_references;
    if (left == 0) delete this;
    return left;
}

STDMETHODIMP BackendFactory::CreateInstance(IUnknown* outer, REFIID iid, void** object)
{
    *object = nullptr;
    if (outer) {
        m_backend.Complain("the control was asked for as a part of another object");
        return CLASS_E_NOAGGREGATION;
    }
    const HRESULT result = m_backend.RunStep(Step::CreateInstance);
    if (FAILED(result) || m_backend.At(Step::CreateInstance).givesNull) {
        *object = m_backend.At(Step::CreateInstance).left;
        return result;
    }
    auto* const control = new BackendControl(m_backend);
    const HRESULT queried = control->QueryInterface(iid, object);
    if (!*object) delete control;
    return queried;
}

}  // namespace kzr::test
