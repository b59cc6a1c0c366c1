// The control's life, its window's messages, its interfaces. The scripted methods stand in ControlMethods.
#include "control/USBKeyPnPActiveXCtrl.h"

#include <utility>

#include "com/Interfaces.h"
#include "control/PersistentState.h"
#include "frame/UserListRefresh.h"
#include "resources/DispIds.h"

namespace kzr {
namespace {

constexpr char kLogSource[] = "USBKeyPnPActiveXCtrl";

constexpr SIZEL kInitialExtent = {2646, 1323};  // 100 by 50 pixels at 96 to the inch

}  // namespace

HRESULT QueryOuter(const CUSBKeyPnPActiveXCtrl& control, REFIID iid, void** object)
{
    return control.Outer()->QueryInterface(iid, object);
}
ULONG AddRefOuter(const CUSBKeyPnPActiveXCtrl& control) { return control.Outer()->AddRef(); }
ULONG ReleaseOuter(const CUSBKeyPnPActiveXCtrl& control) { return control.Outer()->Release(); }

CUSBKeyPnPActiveXCtrl::CUSBKeyPnPActiveXCtrl(IUnknown* outer)
    : AggregatableObject(outer), m_extent(kInitialExtent)
{
    KZR_TRACE("CUSBKeyPnPActiveXCtrl::CUSBKeyPnPActiveXCtrl starting....");
    KZR_TRACE("CUSBKeyPnPActiveXCtrl::CUSBKeyPnPActiveXCtrl ending ok....");
}

CUSBKeyPnPActiveXCtrl::~CUSBKeyPnPActiveXCtrl()
{
    KZR_TRACE("CUSBKeyPnPActiveXCtrl::~CUSBKeyPnPActiveXCtrl starting....");
    // The window first: its last messages still find a whole control.
    m_window.Destroy();
    if (m_backend) {
        CAxKzrApp::Release();
        m_backend.reset();
    }
    // What these let go of may call back into the control, which must still be whole then.
    m_points.Events().Disconnect();
    m_points.PropertyNotify().Disconnect();
    m_clientSite.Reset();
    KZR_TRACE("CUSBKeyPnPActiveXCtrl::~CUSBKeyPnPActiveXCtrl ending ok....");
}

HRESULT CUSBKeyPnPActiveXCtrl::FindInterface(REFIID iid, void** object) noexcept
{
    const InterfaceEntry entries[] = {
        {&IID_IDispatch, &m_dispatch},
        {&DIID__DUSBKeyPnPActiveX, &m_dispatch},
        {&IID_IOleObject, &m_oleObject},
        {&IID_IOleControl, &m_oleControl},
        {&IID_IOleWindow, &m_inPlaceObject},
        {&IID_IOleInPlaceObject, &m_inPlaceObject},
        {&IID_IOleInPlaceActiveObject, &m_inPlaceActiveObject},
        {&IID_IViewObject, &m_viewObject},
        {&IID_IViewObject2, &m_viewObject},
        {&IID_IViewObjectEx, &m_viewObject},
        {&IID_IDataObject, &m_dataObject},
        {&IID_IPersist, &m_persistStream},
        {&IID_IPersistStreamInit, &m_persistStream},
        {&IID_IPersistStorage, &m_persistStorage},
        {&IID_IPersistPropertyBag, &m_persistPropertyBag},
        {&IID_IPersistMemory, &m_persistMemory},
        {&IID_IProvideClassInfo, &m_classInfo},
        {&IID_IProvideClassInfo2, &m_classInfo},
        {&IID_IConnectionPointContainer, &m_points},
        {&IID_ISpecifyPropertyPages, &m_pages},
        {&IID_IQuickActivate, &m_quickActivation},
    };
    return AnswerInterface(entries, iid, object);
}

void CUSBKeyPnPActiveXCtrl::SetClientSite(ForeignPtr<IOleClientSite> site)
{
    // A container that goes without deactivating takes its place with it.
    if (!site) m_inPlace.Deactivate();
    m_clientSite = std::move(site);
    if (m_clientSite) m_window.Ensure();
}

// Containers follow the focus to know whose keys and default buttons count.
void CUSBKeyPnPActiveXCtrl::TellFocus(bool got)
{
    const auto site = QueryForeign<IOleControlSite>(m_clientSite.Get());
    if (site) CallForeign([&] { return site->OnFocus(got); });
}

// Whatever is missing fails the creation of the window, and with it the calls that wanted one; the next call
// tries again. The list of users is only to prime the cache, so its failure is none here.
LRESULT CUSBKeyPnPActiveXCtrl::OnCreate(HWND window, WPARAM wide, LPARAM creation)
{
    KZR_TRACE("CUSBKeyPnPActiveXCtrl: OnCreate starting...");
    if (DefWindowProcW(window, WM_CREATE, wide, creation) == -1) {
        KZR_ERROR(0, "CUSBKeyPnPActiveXCtrl: OnCreate call COleControl::OnCreate error!");
        return -1;
    }
    m_cache = CCacheManager::Instance();
    if (!m_cache) {
        KZR_ERROR(0, "CUSBKeyPnPActiveXCtrl: OnCreate CCacheManager::Instance error!!!");
        return -1;
    }
    // One reference in all: a container may have destroyed the window that took it.
    if (!m_backend) m_backend = CAxKzrApp::Instance();
    if (!m_backend) {
        KZR_ERROR(0, "CUSBKeyPnPActiveXCtrl: OnCreate CAxKzrApp::Instance error!!!");
        return -1;
    }
    m_backend->AddEventListner(window, kDeviceChangeMessage);
    bool refreshed = false;  // a failed call or an empty list leaves the cache as it was
    RefreshUserList(m_backend.get(), m_cache, refreshed);
    KZR_TRACE("CUSBKeyPnPActiveXCtrl: OnCreate ending ok...");
    return 0;
}

// Nothing is refreshed here: the page reads the lists anew, and that refreshes the cache.
void CUSBKeyPnPActiveXCtrl::OnDeviceChange()
{
    KZR_TRACE("CUSBKeyPnPActiveXCtrl: OnDeviceChange starting...");
    FireDeviceChange();
    KZR_TRACE("CUSBKeyPnPActiveXCtrl: OnDeviceChange ending ok...");
}

void CUSBKeyPnPActiveXCtrl::FireDeviceChange()
{
    if (m_freezes > 0)
        ++m_heldEvents;
    else
        m_points.Events().Fire(DISPID_USBKeyPnPActiveXEvents_OnUSBKeyChange);
}

void CUSBKeyPnPActiveXCtrl::FreezeEvents(bool freeze)
{
    if (freeze) {
        ++m_freezes;
    } else if (m_freezes > 0 && --m_freezes == 0) {
        // A handler may hold them back again.
        while (m_heldEvents > 0 && m_freezes == 0) {
            --m_heldEvents;
            FireDeviceChange();
        }
    }
}

// The container moves the window by itself; who draws or keeps a picture is told.
bool CUSBKeyPnPActiveXCtrl::SetExtent(const SIZEL& extent)
{
    if (!IsPossibleExtent(extent.cx, extent.cy)) return false;
    if (extent.cx == m_extent.cx && extent.cy == m_extent.cy) return true;
    m_extent = extent;
    m_dirty = true;
    m_viewObject.SendChanged();
    m_dataObject.SendChanged();
    return true;
}

void CUSBKeyPnPActiveXCtrl::Restore(const SIZEL& extent) noexcept
{
    m_extent = extent;
    m_dirty = false;
}

void CUSBKeyPnPActiveXCtrl::Reset() noexcept { Restore(kInitialExtent); }

void CUSBKeyPnPActiveXCtrl::Saved()
{
    m_dirty = false;
    m_oleObject.SendSaved();
}

}  // namespace kzr
