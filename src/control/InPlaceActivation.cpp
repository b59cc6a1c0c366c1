#include "control/InPlaceActivation.h"

#include "control/USBKeyPnPActiveXCtrl.h"

namespace kzr {

HRESULT InPlaceActivation::Activate()
{
    // A container may have destroyed its window, and the control's in it, without saying so.
    if (m_active) return m_control.Window().IsPlaced() ? S_OK : TakePlace();
    m_site = QueryForeign<IOleInPlaceSite>(m_control.ClientSite().Get());
    if (!m_site) return E_FAIL;
    // A copy of its own for every call: the container may take the site away inside.
    const ForeignPtr<IOleInPlaceSite> site = m_site;
    const HRESULT asked = CallForeign([&] { return site->CanInPlaceActivate(); });
    if (asked != S_OK) {
        m_site.Reset();
        return FAILED(asked) ? asked : E_FAIL;
    }
    const HRESULT told = CallForeign([&] { return site->OnInPlaceActivate(); });
    if (FAILED(told)) {
        m_site.Reset();
        return told;
    }
    // From here on the container counts the control as active, and must be told when it does not stay so.
    m_active = true;
    HRESULT placed = E_FAIL;
    try {
        placed = TakePlace();
    } catch (...) {
        GiveUp();
        throw;
    }
    if (FAILED(placed)) {
        GiveUp();
        return placed;
    }
    if (const ForeignPtr<IOleClientSite> client = m_control.ClientSite())
        CallForeign([&] { return client->ShowObject(); });
    return S_OK;
}

// The container may deactivate the control again inside any of its answers; then there is no place to take.
HRESULT InPlaceActivation::TakePlace()
{
    const ForeignPtr<IOleInPlaceSite> site = m_site;
    HWND parent = nullptr;
    HRESULT result = CallForeign([&] { return site->GetWindow(&parent); });
    if (FAILED(result)) return result;

    IOleInPlaceFrame* frame = nullptr;
    IOleInPlaceUIWindow* document = nullptr;
    RECT position{};
    RECT clip{};
    OLEINPLACEFRAMEINFO info{};
    info.cb = sizeof(info);
    result = CallForeign([&] { return site->GetWindowContext(&frame, &document, &position, &clip, &info); });
    // What a failed call leaves in its pointers is nobody's reference.
    m_frame = ForeignPtr<IOleInPlaceFrame>::Adopt(FAILED(result) ? nullptr : frame);
    m_document = ForeignPtr<IOleInPlaceUIWindow>::Adopt(FAILED(result) ? nullptr : document);
    if (FAILED(result)) return result;
    if (!m_active || !parent) return E_FAIL;
    return m_control.Window().MoveInto(parent, position, clip) ? S_OK : E_FAIL;
}

// Undoes a half-finished activation.
void InPlaceActivation::GiveUp()
{
    if (!m_active) return;
    m_active = false;
    // Out of the container's window before the container hears of it, which may destroy that window then.
    m_control.Window().MoveOut();
    m_frame.Reset();
    m_document.Reset();
    const ForeignPtr<IOleInPlaceSite> site = std::move(m_site);
    CallForeignQuietly([&] { return site->OnInPlaceDeactivate(); }, S_OK);
}

HRESULT InPlaceActivation::ActivateUi()
{
    if (!m_active || m_uiActive) return S_OK;
    const ForeignPtr<IOleInPlaceSite> site = m_site;
    const HRESULT told = CallForeign([&] { return site->OnUIActivate(); });
    if (FAILED(told)) return told;
    if (!m_active) return E_FAIL;
    m_uiActive = true;

    const ForeignPtr<IOleInPlaceFrame> frame = m_frame;
    const ForeignPtr<IOleInPlaceUIWindow> document = m_document;
    IOleInPlaceActiveObject* const self = m_control.ActiveObject();
    // The control has no tools of its own, so the container may keep its own where they are.
    if (frame) {
        CallForeign([&] { return frame->SetActiveObject(self, nullptr); });
        CallForeign([&] { return frame->SetBorderSpace(nullptr); });
    }
    if (document) {
        CallForeign([&] { return document->SetActiveObject(self, nullptr); });
        CallForeign([&] { return document->SetBorderSpace(nullptr); });
    }
    const HWND window = m_control.Window().Get();
    if (m_uiActive && window && GetFocus() != window) SetFocus(window);
    return S_OK;
}

// On the way out nobody can refuse or fail any more, so faults of the container are dropped.
HRESULT InPlaceActivation::DeactivateUi()
{
    if (!m_uiActive) return S_OK;
    m_uiActive = false;
    const ForeignPtr<IOleInPlaceSite> site = m_site;
    const ForeignPtr<IOleInPlaceFrame> frame = m_frame;
    const ForeignPtr<IOleInPlaceUIWindow> document = m_document;
    if (document) CallForeignQuietly([&] { return document->SetActiveObject(nullptr, nullptr); }, S_OK);
    if (frame) CallForeignQuietly([&] { return frame->SetActiveObject(nullptr, nullptr); }, S_OK);
    CallForeignQuietly([&] { return site->OnUIDeactivate(FALSE); }, S_OK);
    return S_OK;
}

HRESULT InPlaceActivation::Deactivate()
{
    DeactivateUi();
    GiveUp();
    return S_OK;
}

}  // namespace kzr
