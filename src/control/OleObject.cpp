#include "control/OleObject.h"

#include <cstring>
#include <cwchar>
#include <string>

#include "KzrSecX_h.h"
#include "com/ModulePath.h"
#include "control/Enumerator.h"
#include "control/USBKeyPnPActiveXCtrl.h"
#include "resources/Identifiers.h"
#include "resources/ResourceIds.h"

namespace kzr {
namespace {

constexpr wchar_t kPropertiesVerb[] = L"\x5C5E\x6027(&P)...";  // "Properties"

// The caller frees it with the task allocator.
HRESULT CopyForCaller(const wchar_t* text, LPOLESTR& copy) noexcept
{
    const std::size_t bytes = (std::wcslen(text) + 1) * sizeof(wchar_t);
    copy = static_cast<LPOLESTR>(CoTaskMemAlloc(bytes));
    if (!copy) return E_OUTOFMEMORY;
    std::memcpy(copy, text, bytes);
    return S_OK;
}

struct VerbList {
    using Interface = IEnumOLEVERB;
    using Item = OLEVERB;
    using Held = LONG;
    static HRESULT Give(Held verb, OLEVERB& item) noexcept
    {
        item = {verb, nullptr, 0, OLEVERBATTRIB_ONCONTAINERMENU};
        return CopyForCaller(kPropertiesVerb, item.lpszVerbName);
    }
    static void TakeBack(OLEVERB& item) noexcept { CoTaskMemFree(item.lpszVerbName); }
};

}  // namespace

STDMETHODIMP OleObject::SetClientSite(IOleClientSite* site)
{
    return m_control.Guard([=, this] {
        m_control.SetClientSite(ForeignPtr<IOleClientSite>(site));
        return S_OK;
    });
}

STDMETHODIMP OleObject::GetClientSite(IOleClientSite** site)
{
    if (!site) return E_POINTER;
    *site = m_control.ClientSite().Detach();
    return S_OK;
}

STDMETHODIMP OleObject::SetHostNames(LPCOLESTR, LPCOLESTR) { return S_OK; }

STDMETHODIMP OleObject::Close(DWORD saveOption)
{
    return m_control.Guard([=, this]() -> HRESULT {
        if (saveOption > OLECLOSE_PROMPTSAVE) return E_INVALIDARG;
        const ForeignPtr<IOleClientSite> site = m_control.ClientSite();
        // Nobody could say what there is to be asked about, so asking means saving here.
        if (saveOption != OLECLOSE_NOSAVE && m_control.IsDirty() && site)
            CallForeign([&] { return site->SaveObject(); });
        // The window stays, message-only: the container may load the control again.
        m_control.InPlace().Deactivate();
        SendClosed();
        return S_OK;
    });
}

STDMETHODIMP OleObject::SetMoniker(DWORD, IMoniker*) { return E_NOTIMPL; }

STDMETHODIMP OleObject::GetMoniker(DWORD, DWORD, IMoniker** moniker)
{
    if (!moniker) return E_POINTER;
    *moniker = nullptr;
    return E_NOTIMPL;
}

STDMETHODIMP OleObject::InitFromData(IDataObject*, BOOL, DWORD) { return E_NOTIMPL; }

STDMETHODIMP OleObject::GetClipboardData(DWORD, IDataObject** data)
{
    if (!data) return E_POINTER;
    *data = nullptr;
    return E_NOTIMPL;
}

STDMETHODIMP OleObject::DoVerb(LONG verb, LPMSG, IOleClientSite*, LONG, HWND parent, LPCRECT)
{
    return m_control.Guard([=, this]() -> HRESULT {
        InPlaceActivation& inPlace = m_control.InPlace();
        switch (verb) {
            case OLEIVERB_SHOW:
            case OLEIVERB_INPLACEACTIVATE:
                return inPlace.Activate();
            case OLEIVERB_HIDE:
                return Hide();
            case OLEIVERB_PROPERTIES:
                return ShowProperties(parent);
            case OLEIVERB_DISCARDUNDOSTATE:
                return inPlace.IsActive() ? S_OK : OLE_E_NOT_INPLACEACTIVE;
            case OLEIVERB_PRIMARY:
            case OLEIVERB_UIACTIVATE:
                break;
            default:
                // Unknown verbs of the system's are refused, unknown ones of the user's mean the first one.
                if (verb < 0) return E_NOTIMPL;
        }
        HRESULT result = inPlace.Activate();
        if (SUCCEEDED(result)) result = inPlace.ActivateUi();
        return result == S_OK && verb > 0 ? OLEOBJ_S_INVALIDVERB : result;
    });
}

HRESULT OleObject::Hide() { return m_control.InPlace().Deactivate(); }

// The container's own frame where it has one, the platform's otherwise.
HRESULT OleObject::ShowProperties(HWND parent)
{
    const auto site = QueryForeign<IOleControlSite>(m_control.ClientSite().Get());
    if (site && CallForeign([&] { return site->ShowPropertyFrame(); }) == S_OK) return S_OK;
    IUnknown* object = m_control.Outer();
    CLSID page = kPropPageClsid;
    return CallForeign([&] {
        return OleCreatePropertyFrame(parent, 0, 0, L"USBKeyPnPActiveX", 1, &object, 1, &page,
                                      LOCALE_USER_DEFAULT, 0, nullptr);
    });
}

STDMETHODIMP OleObject::EnumVerbs(IEnumOLEVERB** enumerator)
{
    if (!enumerator) return E_POINTER;
    *enumerator = nullptr;
    return m_control.Guard(
        [&] { return Enumerator<VerbList>::Make({LONG{OLEIVERB_PROPERTIES}}, enumerator); });
}

STDMETHODIMP OleObject::GetUserClassID(CLSID* clsid)
{
    if (!clsid) return E_POINTER;
    *clsid = CLSID_USBKeyPnPActiveX;
    return S_OK;
}

STDMETHODIMP OleObject::GetUserType(DWORD, LPOLESTR* userType)
{
    if (!userType) return E_POINTER;
    *userType = nullptr;
    wchar_t text[128];
    if (LoadStringW(ThisModule(), KZR_STRING_CONTROL, text, static_cast<int>(std::size(text))) == 0)
        return E_FAIL;
    return CopyForCaller(text, *userType);
}

STDMETHODIMP OleObject::SetExtent(DWORD aspect, SIZEL* size)
{
    if (!size) return E_POINTER;
    if (aspect != DVASPECT_CONTENT) return DV_E_DVASPECT;
    return m_control.Guard([=, this] { return m_control.SetExtent(*size) ? S_OK : E_INVALIDARG; });
}

STDMETHODIMP OleObject::GetExtent(DWORD aspect, SIZEL* size)
{
    if (!size) return E_POINTER;
    if (aspect != DVASPECT_CONTENT) return DV_E_DVASPECT;
    *size = m_control.Extent();
    return S_OK;
}

ForeignPtr<IOleAdviseHolder> OleObject::Holder()
{
    if (!m_holder) CreateOleAdviseHolder(m_holder.put());
    return m_holder;
}

STDMETHODIMP OleObject::Advise(IAdviseSink* sink, DWORD* cookie)
{
    if (!sink || !cookie) return E_POINTER;
    return m_control.Guard([=, this]() -> HRESULT {
        const auto holder = Holder();
        if (!holder) return E_OUTOFMEMORY;
        return CallForeign([&] { return holder->Advise(sink, cookie); });
    });
}

STDMETHODIMP OleObject::Unadvise(DWORD cookie)
{
    return m_control.Guard([=, this]() -> HRESULT {
        const auto holder = m_holder;
        if (!holder) return OLE_E_NOCONNECTION;
        return CallForeign([&] { return holder->Unadvise(cookie); });
    });
}

STDMETHODIMP OleObject::EnumAdvise(IEnumSTATDATA** enumerator)
{
    if (!enumerator) return E_POINTER;
    *enumerator = nullptr;
    return m_control.Guard([=, this]() -> HRESULT {
        const auto holder = Holder();
        if (!holder) return E_OUTOFMEMORY;
        return CallForeign([&] { return holder->EnumAdvise(enumerator); });
    });
}

void OleObject::SendSaved()
{
    if (const auto holder = m_holder) CallForeignQuietly([&] { return holder->SendOnSave(); }, S_OK);
}

void OleObject::SendClosed()
{
    if (const auto holder = m_holder) CallForeignQuietly([&] { return holder->SendOnClose(); }, S_OK);
}

STDMETHODIMP OleObject::GetMiscStatus(DWORD aspect, DWORD* status)
{
    if (!status) return E_POINTER;
    // As the registry says it: nothing for the other aspects.
    *status = aspect == DVASPECT_CONTENT ? kControlMiscStatus : 0;
    return S_OK;
}

}  // namespace kzr
