#include "control/ViewObject.h"

#include "control/Drawing.h"
#include "control/USBKeyPnPActiveXCtrl.h"

namespace kzr {

// Bounds in the context's own units, whichever those are; the shape needs no others.
STDMETHODIMP ViewObject::Draw(DWORD aspect, LONG, void*, DVTARGETDEVICE*, HDC, HDC draw, LPCRECTL bounds,
                              LPCRECTL, BOOL(STDMETHODCALLTYPE*)(ULONG_PTR), ULONG_PTR)
{
    if (aspect != DVASPECT_CONTENT) return DV_E_DVASPECT;
    if (!draw || !bounds) return E_INVALIDARG;
    return m_control.Guard([=, this] {
        DrawControl(draw, {bounds->left, bounds->top, bounds->right, bounds->bottom});
        return S_OK;
    });
}

STDMETHODIMP ViewObject::GetColorSet(DWORD, LONG, void*, DVTARGETDEVICE*, HDC, LOGPALETTE** colors)
{
    if (!colors) return E_POINTER;
    *colors = nullptr;
    return E_NOTIMPL;
}

STDMETHODIMP ViewObject::SetAdvise(DWORD aspects, DWORD flags, IAdviseSink* sink)
{
    if (aspects & ~DWORD{DVASPECT_CONTENT}) return DV_E_DVASPECT;
    return m_control.Guard([=, this] {
        m_sink = ForeignPtr<IAdviseSink>(sink);
        m_flags = flags;
        if (flags & ADVF_PRIMEFIRST) SendChanged();
        return S_OK;
    });
}

STDMETHODIMP ViewObject::GetAdvise(DWORD* aspects, DWORD* flags, IAdviseSink** sink)
{
    if (aspects) *aspects = DVASPECT_CONTENT;
    if (flags) *flags = m_flags;
    if (sink) *sink = ForeignPtr<IAdviseSink>(m_sink).Detach();
    return S_OK;
}

void ViewObject::SendChanged()
{
    const ForeignPtr<IAdviseSink> sink = m_sink;
    if (!sink) return;
    // Off before the call, which may come back with another sink.
    if (m_flags & ADVF_ONLYONCE) m_sink.Reset();
    CallForeignQuietly(
        [&] {
            sink->OnViewChange(DVASPECT_CONTENT, -1);
            return S_OK;
        },
        S_OK);
}

STDMETHODIMP ViewObject::GetExtent(DWORD aspect, LONG, DVTARGETDEVICE*, LPSIZEL size)
{
    if (!size) return E_POINTER;
    if (aspect != DVASPECT_CONTENT) return DV_E_DVASPECT;
    *size = m_control.Extent();
    return S_OK;
}

STDMETHODIMP ViewObject::GetRect(DWORD aspect, LPRECTL rectangle)
{
    if (!rectangle) return E_POINTER;
    if (aspect != DVASPECT_CONTENT) return DV_E_DVASPECT;
    const SIZEL size = m_control.Extent();
    *rectangle = {0, 0, size.cx, size.cy};
    return S_OK;
}

STDMETHODIMP ViewObject::GetViewStatus(DWORD* status)
{
    if (!status) return E_POINTER;
    *status = VIEWSTATUS_OPAQUE;
    return S_OK;
}

STDMETHODIMP ViewObject::QueryHitPoint(DWORD aspect, LPCRECT bounds, POINT point, LONG, DWORD* hit)
{
    if (!bounds || !hit) return E_POINTER;
    if (aspect != DVASPECT_CONTENT) return DV_E_DVASPECT;
    *hit = PtInRect(bounds, point) ? HITRESULT_HIT : HITRESULT_OUTSIDE;
    return S_OK;
}

STDMETHODIMP ViewObject::QueryHitRect(DWORD aspect, LPCRECT bounds, LPCRECT asked, LONG, DWORD* hit)
{
    if (!bounds || !asked || !hit) return E_POINTER;
    if (aspect != DVASPECT_CONTENT) return DV_E_DVASPECT;
    RECT common{};
    *hit = IntersectRect(&common, bounds, asked) ? HITRESULT_HIT : HITRESULT_OUTSIDE;
    return S_OK;
}

STDMETHODIMP ViewObject::GetNaturalExtent(DWORD, LONG, DVTARGETDEVICE*, HDC, DVEXTENTINFO*, LPSIZEL)
{
    return E_NOTIMPL;  // any size is as natural as another
}

}  // namespace kzr
