// A container of ours: records every call of the control in its order. A test compares what it expects; what
// nobody has taken by the end fails it.
#pragma once

#include <windows.h>

#include <ocidl.h>
#include <oleidl.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace kzr::test {

using Names = std::vector<std::string>;

class Container final : public IOleClientSite,
                        public IOleControlSite,
                        public IOleInPlaceSite,
                        public IOleInPlaceFrame {
  public:
    Container() = default;
    ~Container();
    Container(const Container&) = delete;
    Container& operator=(const Container&) = delete;

    // What it gives the control: a window to be in, and where.
    HWND window = nullptr;
    RECT position = {10, 20, 110, 70};
    RECT clip = {0, 0, 1000, 1000};
    // What a method answers instead of S_OK, and what runs inside it.
    std::map<std::string, HRESULT> answers;
    std::map<std::string, std::function<void()>> during;
    // What a failure of GetWindowContext leaves where it should leave null.
    IOleInPlaceFrame* leftFrame = nullptr;
    // Interfaces that it denies having.
    std::vector<IID> denied;

    // The calls since the last time.
    Names Take();
    long References() const { return m_references; }
    IOleClientSite* Site() { return this; }

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override;
    STDMETHODIMP_(ULONG) AddRef() override { return static_cast<ULONG>(++m_references); }
    STDMETHODIMP_(ULONG) Release() override { return static_cast<ULONG>(--m_references); }

    STDMETHODIMP SaveObject() override { return Record("SaveObject"); }
    STDMETHODIMP GetMoniker(DWORD, DWORD, IMoniker**) override { return Record("GetMoniker"); }
    STDMETHODIMP GetContainer(IOleContainer**) override { return Record("GetContainer"); }
    STDMETHODIMP ShowObject() override { return Record("ShowObject"); }
    STDMETHODIMP OnShowWindow(BOOL) override { return Record("OnShowWindow"); }
    STDMETHODIMP RequestNewObjectLayout() override { return Record("RequestNewObjectLayout"); }

    STDMETHODIMP OnControlInfoChanged() override { return Record("OnControlInfoChanged"); }
    STDMETHODIMP LockInPlaceActive(BOOL) override { return Record("LockInPlaceActive"); }
    STDMETHODIMP GetExtendedControl(IDispatch**) override { return Record("GetExtendedControl"); }
    STDMETHODIMP TransformCoords(POINTL*, POINTF*, DWORD) override { return Record("TransformCoords"); }
    STDMETHODIMP TranslateAccelerator(MSG*, DWORD) override { return Record("TranslateAccelerator"); }
    STDMETHODIMP OnFocus(BOOL got) override { return Record(got ? "OnFocus(TRUE)" : "OnFocus(FALSE)"); }
    STDMETHODIMP ShowPropertyFrame() override { return Record("ShowPropertyFrame"); }

    STDMETHODIMP GetWindow(HWND* given) override;
    STDMETHODIMP ContextSensitiveHelp(BOOL) override { return Record("ContextSensitiveHelp"); }
    STDMETHODIMP CanInPlaceActivate() override { return Record("CanInPlaceActivate"); }
    STDMETHODIMP OnInPlaceActivate() override { return Record("OnInPlaceActivate"); }
    STDMETHODIMP OnUIActivate() override { return Record("OnUIActivate"); }
    STDMETHODIMP GetWindowContext(IOleInPlaceFrame** frame, IOleInPlaceUIWindow** document, LPRECT place,
                                  LPRECT seen, LPOLEINPLACEFRAMEINFO info) override;
    STDMETHODIMP Scroll(SIZE) override { return Record("Scroll"); }
    STDMETHODIMP OnUIDeactivate(BOOL) override { return Record("OnUIDeactivate"); }
    STDMETHODIMP OnInPlaceDeactivate() override { return Record("OnInPlaceDeactivate"); }
    STDMETHODIMP DiscardUndoState() override { return Record("DiscardUndoState"); }
    STDMETHODIMP DeactivateAndUndo() override { return Record("DeactivateAndUndo"); }
    STDMETHODIMP OnPosRectChange(LPCRECT) override { return Record("OnPosRectChange"); }

    STDMETHODIMP GetBorder(LPRECT) override { return Record("GetBorder"); }
    STDMETHODIMP RequestBorderSpace(LPCBORDERWIDTHS) override { return Record("RequestBorderSpace"); }
    STDMETHODIMP SetBorderSpace(LPCBORDERWIDTHS) override { return Record("SetBorderSpace"); }
    STDMETHODIMP SetActiveObject(IOleInPlaceActiveObject* object, LPCOLESTR) override
    {
        return Record(object ? "SetActiveObject" : "SetActiveObject(null)");
    }
    STDMETHODIMP InsertMenus(HMENU, LPOLEMENUGROUPWIDTHS) override { return Record("InsertMenus"); }
    STDMETHODIMP SetMenu(HMENU, HOLEMENU, HWND) override { return Record("SetMenu"); }
    STDMETHODIMP RemoveMenus(HMENU) override { return Record("RemoveMenus"); }
    STDMETHODIMP SetStatusText(LPCOLESTR) override { return Record("SetStatusText"); }
    STDMETHODIMP EnableModeless(BOOL) override { return Record("EnableModeless"); }
    STDMETHODIMP TranslateAccelerator(LPMSG, WORD) override { return Record("FrameTranslateAccelerator"); }

  private:
    HRESULT Record(const char* name);

    Names m_calls;
    long m_references = 0;
};

// A top-level window of the test's, shown.
class TopWindow {
  public:
    TopWindow();
    ~TopWindow();
    TopWindow(const TopWindow&) = delete;
    TopWindow& operator=(const TopWindow&) = delete;
    HWND Get() const { return m_window; }
    void Destroy();

  private:
    HWND m_window;
};

// Receives the control's events.
class EventSink final : public IDispatch {
  public:
    int events = 0;
    std::function<HRESULT()> during;
    bool knowsEventSet = true;  // else it is a bare IDispatch, as script hosts have it
    bool knowsDispatch = true;
    DWORD thread = 0;
    std::function<void()> onLastRelease;

    EventSink() = default;
    EventSink(const EventSink&) = delete;
    EventSink& operator=(const EventSink&) = delete;

    long References() const { return m_references; }

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override;
    STDMETHODIMP_(ULONG) AddRef() override { return static_cast<ULONG>(++m_references); }
    STDMETHODIMP_(ULONG) Release() override;
    STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    STDMETHODIMP Invoke(DISPID id, REFIID iid, LCID locale, WORD flags, DISPPARAMS* parameters,
                        VARIANT* result, EXCEPINFO* exception, UINT* argument) override;

  private:
    long m_references = 0;
};

}  // namespace kzr::test
