// A container that passes null, extremes and nonsense to every interface of the control, in any order and any
// state: an answer each time, and a failure where there is no room for one.
#include <ocidl.h>
#include <olectl.h>
#include <oleidl.h>
#include <shlwapi.h>

#include <functional>
#include <random>

#include "Area.h"
#include "KzrSecX_h.h"
#include "QuietTest.h"
#include "Watchdog.h"
#include "control/Container.h"
#include "support/Rounds.h"

namespace kzr::test {
namespace {

// What a step has at hand.
struct Hostile {
    std::mt19937 random;
    Container container;
    TopWindow top;
    ComPtr<IDispatch> control;

    unsigned Any(unsigned limit) { return static_cast<unsigned>(random() % limit); }
    LONG AnyLong()
    {
        static const LONG values[] = {
            0, 1, -1, 2, -10, 100, 32767, -32768, 65536, 2147483647, -2147483647 - 1};
        return values[Any(std::size(values))];
    }
    DWORD AnyDword() { return static_cast<DWORD>(AnyLong()); }
    RECT AnyRect() { return {AnyLong(), AnyLong(), AnyLong(), AnyLong()}; }
    HWND AnyWindow()
    {
        return Any(3) == 0 ? nullptr : Any(2) == 0 ? reinterpret_cast<HWND>(0x7FFE) : top.Get();
    }

    template <class Wanted>
    ComPtr<Wanted> As()
    {
        ComPtr<Wanted> found;
        EXPECT_EQ(S_OK, control->QueryInterface(__uuidof(Wanted), found.putVoid()));
        return found;
    }
};

// What anybody may send to a window without a pointer; the first two of them carry one, and none is given.
constexpr UINT kMessages[] = {
    WM_NCCREATE,    WM_CREATE, WM_CLOSE,    WM_PAINT,      WM_ERASEBKGND, WM_MOUSEACTIVATE, WM_SETFOCUS,
    WM_KILLFOCUS,   WM_SIZE,   WM_MOVE,     WM_SHOWWINDOW, WM_CANCELMODE, WM_TIMER,         WM_KEYDOWN,
    WM_LBUTTONDOWN, WM_USER,   WM_USER + 1, WM_USER + 2,   WM_APP,        WM_DESTROY,       WM_ENABLE};

// A call without room for its answer must fail.
struct Action {
    const char* name;
    bool mustFail;
    std::function<HRESULT(Hostile& at)> run;
};

ComPtr<IStream> StreamOf(Hostile& at)
{
    ComPtr<IStream> stream;
    CreateStreamOnHGlobal(nullptr, TRUE, stream.put());
    for (unsigned i = at.Any(64); i > 0; --i) {
        const unsigned word = at.random();
        stream->Write(&word, at.Any(4) + 1, nullptr);
    }
    LARGE_INTEGER start{};
    stream->Seek(start, STREAM_SEEK_SET, nullptr);
    return stream;
}

HRESULT DrawAt(Hostile& at, bool onADevice)
{
    const HDC screen = GetDC(nullptr);
    const HDC device = onADevice ? CreateCompatibleDC(screen) : nullptr;
    const RECT place = at.AnyRect();
    const RECTL bounds{place.left, place.top, place.right, place.bottom};
    const HRESULT drawn =
        at.As<IViewObject>()->Draw(at.AnyDword(), at.AnyLong(), nullptr, nullptr, nullptr, device,
                                   at.Any(3) ? &bounds : nullptr, nullptr, nullptr, 0);
    if (device) DeleteDC(device);
    ReleaseDC(nullptr, screen);
    return drawn;
}

#define CALL(wanted, call) [](Hostile& at) -> HRESULT { return at.As<wanted>()->call; }

const Action kNoRoom[] = {
    {"QueryInterface", true, [](Hostile& at) { return at.control->QueryInterface(IID_IUnknown, nullptr); }},
    {"GetTypeInfoCount", true, CALL(IDispatch, GetTypeInfoCount(nullptr))},
    {"GetTypeInfo", true, CALL(IDispatch, GetTypeInfo(0, 0, nullptr))},
    {"GetIDsOfNames", true, CALL(IDispatch, GetIDsOfNames(IID_NULL, nullptr, 1, 0, nullptr))},
    {"GetClientSite", true, CALL(IOleObject, GetClientSite(nullptr))},
    {"GetMoniker", true, CALL(IOleObject, GetMoniker(1, 1, nullptr))},
    {"GetClipboardData", true, CALL(IOleObject, GetClipboardData(0, nullptr))},
    {"EnumVerbs", true, CALL(IOleObject, EnumVerbs(nullptr))},
    {"GetUserClassID", true, CALL(IOleObject, GetUserClassID(nullptr))},
    {"GetUserType", true, CALL(IOleObject, GetUserType(1, nullptr))},
    {"SetExtent", true, CALL(IOleObject, SetExtent(DVASPECT_CONTENT, nullptr))},
    {"GetExtent", true, CALL(IOleObject, GetExtent(DVASPECT_CONTENT, nullptr))},
    {"Advise", true, CALL(IOleObject, Advise(nullptr, nullptr))},
    {"EnumAdvise", true, CALL(IOleObject, EnumAdvise(nullptr))},
    {"GetMiscStatus", true, CALL(IOleObject, GetMiscStatus(1, nullptr))},
    {"GetControlInfo", true, CALL(IOleControl, GetControlInfo(nullptr))},
    {"GetWindow", true, CALL(IOleInPlaceObject, GetWindow(nullptr))},
    {"SetObjectRects", true, CALL(IOleInPlaceObject, SetObjectRects(nullptr, nullptr))},
    {"GetData", true, CALL(IDataObject, GetData(nullptr, nullptr))},
    {"GetDataHere", true, CALL(IDataObject, GetDataHere(nullptr, nullptr))},
    {"QueryGetData", true, CALL(IDataObject, QueryGetData(nullptr))},
    {"EnumFormatEtc", true, CALL(IDataObject, EnumFormatEtc(DATADIR_GET, nullptr))},
    {"DAdvise", true, CALL(IDataObject, DAdvise(nullptr, 0, nullptr, nullptr))},
    {"EnumDAdvise", true, CALL(IDataObject, EnumDAdvise(nullptr))},
    {"Freeze", true, CALL(IViewObject, Freeze(1, 0, nullptr, nullptr))},
    {"ViewExtent", true, CALL(IViewObject2, GetExtent(1, 0, nullptr, nullptr))},
    {"GetClassID", true, CALL(IPersistStreamInit, GetClassID(nullptr))},
    {"LoadStream", true, CALL(IPersistStreamInit, Load(nullptr))},
    {"SaveStream", true, CALL(IPersistStreamInit, Save(nullptr, TRUE))},
    {"GetSizeMax", true, CALL(IPersistStreamInit, GetSizeMax(nullptr))},
    {"LoadBag", true, CALL(IPersistPropertyBag, Load(nullptr, nullptr))},
    {"SaveBag", true, CALL(IPersistPropertyBag, Save(nullptr, TRUE, TRUE))},
    {"LoadStorage", true, CALL(IPersistStorage, Load(nullptr))},
    {"SaveStorage", true, CALL(IPersistStorage, Save(nullptr, FALSE))},
    {"LoadMemory", true, CALL(IPersistMemory, Load(nullptr, 100))},
    {"SaveMemory", true, CALL(IPersistMemory, Save(nullptr, TRUE, 100))},
    {"MemorySizeMax", true, CALL(IPersistMemory, GetSizeMax(nullptr))},
    {"GetClassInfo", true, CALL(IProvideClassInfo2, GetClassInfo(nullptr))},
    {"GetGUID", true, CALL(IProvideClassInfo2, GetGUID(GUIDKIND_DEFAULT_SOURCE_DISP_IID, nullptr))},
    {"EnumConnectionPoints", true, CALL(IConnectionPointContainer, EnumConnectionPoints(nullptr))},
    {"FindConnectionPoint", true,
     CALL(IConnectionPointContainer, FindConnectionPoint(IID_IUnknown, nullptr))},
    {"GetPages", true, CALL(ISpecifyPropertyPages, GetPages(nullptr))},
    {"QuickActivate", true, CALL(IQuickActivate, QuickActivate(nullptr, nullptr))},
    {"SetContentExtent", true, CALL(IQuickActivate, SetContentExtent(nullptr))},
    {"GetContentExtent", true, CALL(IQuickActivate, GetContentExtent(nullptr))},
};

const Action kNonsense[] = {
    {"SetClientSite", false,
     [](Hostile& at) {
         return at.As<IOleObject>()->SetClientSite(at.Any(2) ? at.container.Site() : nullptr);
     }},
    {"SetHostNames", false, CALL(IOleObject, SetHostNames(nullptr, nullptr))},
    {"Close", false, [](Hostile& at) { return at.As<IOleObject>()->Close(at.AnyDword()); }},
    {"SetMoniker", false,
     [](Hostile& at) { return at.As<IOleObject>()->SetMoniker(at.AnyDword(), nullptr); }},
    {"InitFromData", false, CALL(IOleObject, InitFromData(nullptr, TRUE, 7))},
    {"DoVerb", false,
     [](Hostile& at) {
         LONG verb = at.Any(2) ? -static_cast<LONG>(at.Any(8)) : at.AnyLong();
         // That one shows the property frame and waits for its end.
         if (verb == OLEIVERB_PROPERTIES) verb = OLEIVERB_INPLACEACTIVATE;
         const RECT place = at.AnyRect();
         return at.As<IOleObject>()->DoVerb(verb, nullptr, at.Any(2) ? at.container.Site() : nullptr,
                                            at.AnyLong(), at.AnyWindow(), at.Any(2) ? &place : nullptr);
     }},
    {"Update", false, CALL(IOleObject, Update())},
    {"SetExtent", false,
     [](Hostile& at) {
         SIZEL extent{at.AnyLong(), at.AnyLong()};
         return at.As<IOleObject>()->SetExtent(at.AnyDword(), &extent);
     }},
    {"Unadvise", false, [](Hostile& at) { return at.As<IOleObject>()->Unadvise(at.AnyDword()); }},
    {"SetColorScheme", false, CALL(IOleObject, SetColorScheme(nullptr))},
    {"OnMnemonic", false, CALL(IOleControl, OnMnemonic(nullptr))},
    {"OnAmbientPropertyChange", false,
     [](Hostile& at) { return at.As<IOleControl>()->OnAmbientPropertyChange(at.AnyLong()); }},
    {"FreezeEvents", false, [](Hostile& at) { return at.As<IOleControl>()->FreezeEvents(at.Any(2)); }},
    {"SetObjectRects", false,
     [](Hostile& at) {
         const RECT place = at.AnyRect(), clip = at.AnyRect();
         return at.As<IOleInPlaceObject>()->SetObjectRects(&place, at.Any(2) ? &clip : nullptr);
     }},
    {"InPlaceDeactivate", false, CALL(IOleInPlaceObject, InPlaceDeactivate())},
    {"UIDeactivate", false, CALL(IOleInPlaceObject, UIDeactivate())},
    {"ReactivateAndUndo", false, CALL(IOleInPlaceObject, ReactivateAndUndo())},
    {"TranslateAccelerator", false, CALL(IOleInPlaceActiveObject, TranslateAccelerator(nullptr))},
    {"ResizeBorder", false, CALL(IOleInPlaceActiveObject, ResizeBorder(nullptr, nullptr, TRUE))},
    {"DrawNowhere", false, [](Hostile& at) { return DrawAt(at, false); }},
    {"Draw", false, [](Hostile& at) { return DrawAt(at, true); }},
    {"Unfreeze", false, [](Hostile& at) { return at.As<IViewObject>()->Unfreeze(at.AnyDword()); }},
    {"SetAdvise", false,
     [](Hostile& at) { return at.As<IViewObject>()->SetAdvise(at.AnyDword(), 0, nullptr); }},
    {"GetAdvise", false, CALL(IViewObject, GetAdvise(nullptr, nullptr, nullptr))},
    {"GetData", false,
     [](Hostile& at) {
         FORMATETC format{static_cast<CLIPFORMAT>(at.random()), nullptr, at.AnyDword(), at.AnyLong(),
                          at.AnyDword()};
         STGMEDIUM medium{};
         const HRESULT given = at.As<IDataObject>()->GetData(&format, &medium);
         if (SUCCEEDED(given)) ReleaseStgMedium(&medium);
         return given;
     }},
    {"DUnadvise", false, [](Hostile& at) { return at.As<IDataObject>()->DUnadvise(at.AnyDword()); }},
    {"LoadStream", false, [](Hostile& at) { return at.As<IPersistStreamInit>()->Load(StreamOf(at).Get()); }},
    {"InitStream", false, CALL(IPersistStreamInit, InitNew())},
    {"LoadMemory", false,
     [](Hostile& at) {
         unsigned char bytes[64];
         for (unsigned char& byte : bytes) byte = static_cast<unsigned char>(at.random());
         return at.As<IPersistMemory>()->Load(bytes, at.Any(sizeof(bytes)));
     }},
    {"SaveMemory", false,
     [](Hostile& at) {
         unsigned char bytes[64];
         return at.As<IPersistMemory>()->Save(bytes, TRUE, at.Any(sizeof(bytes)));
     }},
    {"InitStorage", false, CALL(IPersistStorage, InitNew(nullptr))},
    {"SaveCompleted", false, CALL(IPersistStorage, SaveCompleted(nullptr))},
    {"HandsOffStorage", false, CALL(IPersistStorage, HandsOffStorage())},
    {"GetGUID", false,
     [](Hostile& at) {
         GUID found;
         return at.As<IProvideClassInfo2>()->GetGUID(at.AnyDword(), &found);
     }},
    {"QuickActivate", false,
     [](Hostile& at) {
         QACONTAINER given{};
         QACONTROL wanted{};
         given.cbSize = at.Any(2) ? sizeof(given) : at.AnyDword();
         wanted.cbSize = at.Any(2) ? sizeof(wanted) : at.AnyDword();
         return at.As<IQuickActivate>()->QuickActivate(&given, &wanted);
     }},
    {"getUserList", false, [](Hostile& at) { return Call(at.control.Get(), L"getUserList").result; }},
    {"OfItsWindow", false,
     [](Hostile& at) {
         HWND window = nullptr;
         if (FAILED(at.As<IOleInPlaceObject>()->GetWindow(&window))) return E_FAIL;
         SendMessageW(window, kMessages[at.Any(std::size(kMessages))], 0, 0);
         return S_OK;
     }},
};

#undef CALL

class HostileContainer : public QuietTest {};

TEST_F(HostileContainer, WithoutRoomForAnAnswerIsToldSoByEveryMethod)
{
    Watchdog watchdog(20000);
    // Fresh, with a site, in place, closed.
    for (const int state : {0, 1, 2, 3}) {
        Hostile at;
        at.container.window = at.top.Get();
        at.control = Make(kControl);
        if (state > 0) at.As<IOleObject>()->SetClientSite(at.container.Site());
        if (state > 1) {
            EXPECT_EQ(S_OK, at.As<IOleObject>()->DoVerb(OLEIVERB_INPLACEACTIVATE, nullptr,
                                                        at.container.Site(), 0, at.top.Get(), nullptr));
        }
        if (state > 2) at.As<IOleObject>()->Close(OLECLOSE_NOSAVE);
        for (const Action& action : kNoRoom) {
            watchdog.Beat(action.name, state);
            EXPECT_TRUE(FAILED(action.run(at))) << action.name << " in state " << state;
            EXPECT_EQ(0, FaultCounter::Unplanned()) << action.name << " in state " << state;
        }
        at.As<IOleObject>()->SetClientSite(nullptr);
        at.control.Reset();
        at.container.Take();
    }
    Did("malformed calls", 4LL * static_cast<long long>(std::size(kNoRoom)),
        "calls without room for the answer");
}

TEST_F(HostileContainer, MayDoAnythingInAnyOrder)
{
    Watchdog watchdog(20000);
    const unsigned seed = Seed();
    const int lives = Rounds(100, 1000);
    long long calls = 0;
    std::mt19937 random(seed);
    for (int life = 0; life < lives; ++life) {
        Hostile at;
        at.random.seed(static_cast<unsigned>(random()));
        at.container.window = at.top.Get();
        at.control = Make(kControl);
        for (int i = 0; i < 50; ++i) {
            const Action& action = at.Any(10) == 0 ? kNoRoom[at.Any(std::size(kNoRoom))]
                                                   : kNonsense[at.Any(std::size(kNonsense))];
            watchdog.Beat(action.name, life);
            const HRESULT answer = action.run(at);
            EXPECT_TRUE(!action.mustFail || FAILED(answer)) << action.name << " in life " << life;
            ASSERT_EQ(0, FaultCounter::Unplanned())
                << action.name << " in life " << life << ": " << FaultCounter::FirstUnplanned();
            if (at.Any(10) == 0) PumpMessages();
            ++calls;
        }
        at.As<IOleObject>()->Close(OLECLOSE_NOSAVE);
        at.As<IOleObject>()->SetClientSite(nullptr);
        at.control.Reset();
        EXPECT_EQ(0, at.container.References()) << "life " << life;
        at.container.Take();
        backend->ForgetCalls();
    }
    Did("random use", calls, "calls of a hostile container");
}

}  // namespace
}  // namespace kzr::test
