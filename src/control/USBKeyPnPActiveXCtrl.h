// CUSBKeyPnPActiveXCtrl: the control that tells pages of plugged-in keys. Holds the state and has the
// scripted methods; each interface that a container sees is a part of its own.
#pragma once

#include <windows.h>
#include <ocidl.h>
#include <oleidl.h>

#include <memory>

#include "KzrSecX_h.h"
#include "backend/AxKzrApp.h"
#include "cache/CacheManager.h"
#include "com/Bstr.h"
#include "control/AggregatableObject.h"
#include "control/ClassInfo.h"
#include "control/ConnectionPointContainer.h"
#include "control/ControlDispatch.h"
#include "control/ControlWindow.h"
#include "control/DataObject.h"
#include "control/InPlaceActivation.h"
#include "control/InPlaceObject.h"
#include "control/OleControl.h"
#include "control/OleObject.h"
#include "control/Persistence.h"
#include "control/QuickActivation.h"
#include "control/ViewObject.h"
#include "log/Log.h"

namespace kzr {

class CUSBKeyPnPActiveXCtrl final : public AggregatableObject {
  public:
    // Touches neither the backend nor the cache: that is the window's making.
    explicit CUSBKeyPnPActiveXCtrl(IUnknown* outer);

    // For the parts.
    ControlWindow& Window() noexcept { return m_window; }
    InPlaceActivation& InPlace() noexcept { return m_inPlace; }
    ViewObject* View() noexcept { return &m_viewObject; }
    ConnectionPointContainer* ConnectionPoints() noexcept { return &m_points; }
    IOleInPlaceActiveObject* ActiveObject() noexcept { return &m_inPlaceActiveObject; }

    ForeignPtr<IOleClientSite> ClientSite() const noexcept { return m_clientSite; }
    // A site is the sign that somebody will listen, so the window is made now.
    void SetClientSite(ForeignPtr<IOleClientSite> site);
    void TellFocus(bool got);

    // Events that come while they are held back are fired at the end of that, as many as came.
    void FreezeEvents(bool freeze);

    const SIZEL& Extent() const noexcept { return m_extent; }
    bool SetExtent(const SIZEL& extent);
    bool IsDirty() const noexcept { return m_dirty; }
    void Restore(const SIZEL& extent) noexcept;
    void Reset() noexcept;
    void Saved();

    // The window's messages. OnCreate takes the backend reference unless an earlier window's has; what it
    // throws makes the creation fail.
    LRESULT OnCreate(HWND window, WPARAM wide, LPARAM creation);
    void OnDeviceChange();

    // Asked before every scripted call: is there a window, or can one be made?
    bool IsInvokeAllowed() noexcept { return m_window.Ensure(); }

    // The scripted methods.
    Bstr EnumUsbKey();
    Bstr getUserInfoByContainer(BSTR strContainerName, short type);
    Bstr getUserList();
    void RegisterDeviceInterface();
    long SetLoginState(BSTR strContainerName, BSTR strUserName);
    Bstr GetSavedPass(BSTR strUserName);
    Bstr GetUSBKeyList();
    long GetPassSaveState(BSTR strUserName);
    long SaveUserPass(BSTR strUserName, BSTR strPass);
    long DelUserPass(BSTR strUserName);
    void AboutBox();

  private:
    ~CUSBKeyPnPActiveXCtrl() override;
    HRESULT FindInterface(REFIID iid, void** object) noexcept override;

    // The shapes of a method, each with its texts' call sites in the method.
    // A method's first steps; false when the control has no backend or no cache.
    bool Begin(const LogText& start, const LogText& notInitialized) const;
    void Unsupported(const LogText& start, const LogText& notice) const;
    // False when the method has ended with its failure line; `text` is the answer otherwise.
    bool FindUserInfo(const std::wstring& container, short type, std::wstring& text);
    bool CertificateFact(const std::wstring& id, short code, std::wstring& text);
    std::wstring CertificateCount(const std::wstring& id);
    // "CspName||ExtLibName&&&" of a key; "" when it does not answer.
    std::wstring KeyItem(const std::wstring& deviceSN);

    void FireDeviceChange();

    std::shared_ptr<CAxKzrApp> m_backend;
    CCacheManager* m_cache = nullptr;  // lives as long as the module
    ForeignPtr<IOleClientSite> m_clientSite;
    SIZEL m_extent;
    bool m_dirty = false;
    ULONG m_freezes = 0;
    ULONG m_heldEvents = 0;

    // The parts. Interface pointers point into them, so they live exactly as long as the control.
    ControlWindow m_window{*this};
    InPlaceActivation m_inPlace{*this};
    ControlDispatch m_dispatch{*this};
    OleObject m_oleObject{*this};
    OleControl m_oleControl{*this};
    InPlaceObject m_inPlaceObject{*this};
    InPlaceActiveObject m_inPlaceActiveObject{*this};
    ViewObject m_viewObject{*this};
    DataObject m_dataObject{*this};
    PersistStream m_persistStream{*this};
    PersistStorage m_persistStorage{*this};
    PersistPropertyBag m_persistPropertyBag{*this};
    PersistMemory m_persistMemory{*this};
    ProvideClassInfo m_classInfo{*this};
    SpecifyPropertyPages m_pages{*this};
    QuickActivation m_quickActivation{*this};
    ConnectionPointContainer m_points{*this};
};

}  // namespace kzr
