// IViewObjectEx of the control: drawing it where it has no window, its size, what the mouse hits.
#pragma once

#include "control/ControlPart.h"

namespace kzr {

class ViewObject final : public ControlPart<IViewObjectEx> {
  public:
    using ControlPart::ControlPart;

    // Tells the container's view that the picture is another one.
    void SendChanged();

    STDMETHODIMP Draw(DWORD aspect, LONG index, void* aspectInfo, DVTARGETDEVICE* device, HDC target,
                      HDC draw, LPCRECTL bounds, LPCRECTL windowBounds,
                      BOOL(STDMETHODCALLTYPE* goOn)(ULONG_PTR), ULONG_PTR goOnArgument) override;
    STDMETHODIMP GetColorSet(DWORD, LONG, void*, DVTARGETDEVICE*, HDC, LOGPALETTE** colors) override;
    STDMETHODIMP Freeze(DWORD, LONG, void*, DWORD*) override { return E_NOTIMPL; }
    STDMETHODIMP Unfreeze(DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP SetAdvise(DWORD aspects, DWORD flags, IAdviseSink* sink) override;
    STDMETHODIMP GetAdvise(DWORD* aspects, DWORD* flags, IAdviseSink** sink) override;

    STDMETHODIMP GetExtent(DWORD aspect, LONG index, DVTARGETDEVICE* device, LPSIZEL size) override;

    STDMETHODIMP GetRect(DWORD aspect, LPRECTL rectangle) override;
    STDMETHODIMP GetViewStatus(DWORD* status) override;
    STDMETHODIMP QueryHitPoint(DWORD aspect, LPCRECT bounds, POINT point, LONG closeHint,
                               DWORD* hit) override;
    STDMETHODIMP QueryHitRect(DWORD aspect, LPCRECT bounds, LPCRECT asked, LONG closeHint,
                              DWORD* hit) override;
    STDMETHODIMP GetNaturalExtent(DWORD aspect, LONG index, DVTARGETDEVICE* device, HDC target,
                                  DVEXTENTINFO* info, LPSIZEL size) override;

  private:
    ForeignPtr<IAdviseSink> m_sink;
    DWORD m_flags = 0;
};

}  // namespace kzr
