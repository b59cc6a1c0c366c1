// The interfaces of a full control, one by one: what each answers, and that none falls over null pointers.
#include "ControlTest.h"

namespace kzr::test {
namespace {

constexpr DWORD kMiscStatus = 0x20191;

class ControlInterfaces : public ControlTest {
  public:
    void SetUp() override
    {
        ControlTest::SetUp();
        control = MakeControl();
    }
    void TearDown() override
    {
        control.Reset();
        ControlTest::TearDown();
    }
    ComPtr<IDispatch> control;
};

TEST_F(ControlInterfaces, EveryInterfaceOfAFullControlIsThereWithOneIdentity)
{
    const IID* const expected[] = {&IID_IUnknown,
                                   &IID_IDispatch,
                                   &DIID__DUSBKeyPnPActiveX,
                                   &IID_IOleObject,
                                   &IID_IOleControl,
                                   &IID_IOleWindow,
                                   &IID_IOleInPlaceObject,
                                   &IID_IOleInPlaceActiveObject,
                                   &IID_IViewObject,
                                   &IID_IViewObject2,
                                   &IID_IViewObjectEx,
                                   &IID_IDataObject,
                                   &IID_IPersist,
                                   &IID_IPersistStreamInit,
                                   &IID_IPersistStorage,
                                   &IID_IPersistPropertyBag,
                                   &IID_IPersistMemory,
                                   &IID_IProvideClassInfo,
                                   &IID_IProvideClassInfo2,
                                   &IID_IConnectionPointContainer,
                                   &IID_ISpecifyPropertyPages,
                                   &IID_IQuickActivate};
    const auto identity = As<IUnknown>(control);
    for (const IID* iid : expected) {
        ComPtr<IUnknown> part;
        ASSERT_EQ(S_OK, control->QueryInterface(*iid, part.putVoid()));
        const auto same = As<IUnknown>(part);
        EXPECT_EQ(identity.Get(), same.Get());
    }
    ComPtr<IUnknown> none;
    EXPECT_EQ(E_NOINTERFACE, control->QueryInterface(IID_IStream, none.putVoid()));
    EXPECT_EQ(E_POINTER, control->QueryInterface(IID_IUnknown, nullptr));
}

TEST_F(ControlInterfaces, TheMiscStatusIsThatOfTheRegistry)
{
    DWORD status = 0;
    EXPECT_EQ(S_OK, As<IOleObject>(control)->GetMiscStatus(DVASPECT_CONTENT, &status));
    EXPECT_EQ(kMiscStatus, status);
    EXPECT_EQ(S_OK, As<IOleObject>(control)->GetMiscStatus(DVASPECT_ICON, &status));
    EXPECT_EQ(0u, status);
    EXPECT_EQ(E_POINTER, As<IOleObject>(control)->GetMiscStatus(DVASPECT_CONTENT, nullptr));
}

TEST_F(ControlInterfaces, TheClassTellsItsNameAndIdentifier)
{
    CLSID clsid{};
    EXPECT_EQ(S_OK, As<IOleObject>(control)->GetUserClassID(&clsid));
    EXPECT_TRUE(IsEqualCLSID(kControl.clsid, clsid));
    for (const DWORD form : {USERCLASSTYPE_FULL, USERCLASSTYPE_SHORT, USERCLASSTYPE_APPNAME}) {
        LPOLESTR name = nullptr;
        EXPECT_EQ(S_OK, As<IOleObject>(control)->GetUserType(form, &name));
        EXPECT_STREQ(L"USBKeyPnPActiveX \x63A7\x4EF6", name);
        CoTaskMemFree(name);
    }
}

TEST_F(ControlInterfaces, TheOneVerbIsThatOfTheProperties)
{
    ComPtr<IEnumOLEVERB> verbs;
    ASSERT_EQ(S_OK, As<IOleObject>(control)->EnumVerbs(verbs.put()));
    OLEVERB verb{};
    ASSERT_EQ(S_OK, verbs->Next(1, &verb, nullptr));
    EXPECT_EQ(OLEIVERB_PROPERTIES, verb.lVerb);
    EXPECT_NE(nullptr, verb.lpszVerbName);
    EXPECT_EQ(DWORD{OLEVERBATTRIB_ONCONTAINERMENU}, verb.grfAttribs);
    CoTaskMemFree(verb.lpszVerbName);
    EXPECT_EQ(S_FALSE, verbs->Next(1, &verb, nullptr));
}

TEST_F(ControlInterfaces, TheExtentIsKeptAndImpossibleOnesAreRefused)
{
    const auto object = As<IOleObject>(control);
    SIZEL size = {5000, 4000};
    EXPECT_EQ(S_OK, object->SetExtent(DVASPECT_CONTENT, &size));
    for (const SIZEL& bad : {SIZEL{-1, 5}, SIZEL{5, -1}, SIZEL{2000000, 5}}) {
        SIZEL copy = bad;
        EXPECT_EQ(E_INVALIDARG, object->SetExtent(DVASPECT_CONTENT, &copy));
    }
    EXPECT_EQ(DV_E_DVASPECT, object->SetExtent(DVASPECT_ICON, &size));
    EXPECT_EQ(E_POINTER, object->SetExtent(DVASPECT_CONTENT, nullptr));
    size = {};
    EXPECT_EQ(S_OK, As<IViewObject2>(control)->GetExtent(DVASPECT_CONTENT, -1, nullptr, &size));
    EXPECT_EQ(5000, size.cx);
    EXPECT_EQ(4000, size.cy);
    EXPECT_EQ(DV_E_DVASPECT, object->GetExtent(DVASPECT_ICON, &size));
    EXPECT_EQ(S_OK, As<IQuickActivate>(control)->GetContentExtent(&size));
    EXPECT_EQ(5000, size.cx);
    size = {6000, 100};
    EXPECT_EQ(S_OK, As<IQuickActivate>(control)->SetContentExtent(&size));
    RECTL rectangle{};
    EXPECT_EQ(S_OK, As<IViewObjectEx>(control)->GetRect(DVASPECT_CONTENT, &rectangle));
    EXPECT_EQ(6000, rectangle.right);
}

TEST_F(ControlInterfaces, WhatTheControlDoesNotDoIsSaidSo)
{
    const auto object = As<IOleObject>(control);
    EXPECT_EQ(E_NOTIMPL, object->SetMoniker(OLEWHICHMK_OBJREL, nullptr));
    ComPtr<IMoniker> moniker;
    EXPECT_EQ(E_NOTIMPL, object->GetMoniker(OLEGETMONIKER_ONLYIFTHERE, OLEWHICHMK_OBJREL, moniker.put()));
    EXPECT_EQ(E_NOTIMPL, object->InitFromData(nullptr, FALSE, 0));
    ComPtr<IDataObject> data;
    EXPECT_EQ(E_NOTIMPL, object->GetClipboardData(0, data.put()));
    EXPECT_EQ(E_NOTIMPL, object->SetColorScheme(nullptr));
    EXPECT_EQ(S_OK, object->SetHostNames(L"host", nullptr));
    EXPECT_EQ(S_OK, object->Update());
    EXPECT_EQ(S_OK, object->IsUpToDate());
    EXPECT_EQ(INPLACE_E_NOTUNDOABLE, As<IOleInPlaceObject>(control)->ReactivateAndUndo());
}

TEST_F(ControlInterfaces, TheClientSiteIsGivenBack)
{
    Container container;
    SetSite(control.Get(), container.Site());
    ComPtr<IOleClientSite> site;
    EXPECT_EQ(S_OK, As<IOleObject>(control)->GetClientSite(site.put()));
    EXPECT_EQ(container.Site(), site.Get());
    site.Reset();
    SetSite(control.Get(), nullptr);
    EXPECT_EQ(S_OK, As<IOleObject>(control)->GetClientSite(site.put()));
    EXPECT_EQ(nullptr, site.Get());
}

TEST_F(ControlInterfaces, TheControlHasNoKeysOfItsOwn)
{
    CONTROLINFO info{};
    info.cb = sizeof(info);
    info.cAccel = 9;
    EXPECT_EQ(S_OK, As<IOleControl>(control)->GetControlInfo(&info));
    EXPECT_EQ(0, info.cAccel);
    info.cb = 4;
    EXPECT_EQ(E_INVALIDARG, As<IOleControl>(control)->GetControlInfo(&info));
    EXPECT_EQ(E_POINTER, As<IOleControl>(control)->GetControlInfo(nullptr));
    EXPECT_EQ(S_OK, As<IOleControl>(control)->OnMnemonic(nullptr));
    EXPECT_EQ(S_OK, As<IOleControl>(control)->OnAmbientPropertyChange(DISPID_UNKNOWN));
}

// What somebody who asked for news is told.
class News final : public IAdviseSink {
  public:
    int views = 0, data = 0, saves = 0, closes = 0;
    long references = 0;

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override
    {
        if (!IsEqualIID(iid, IID_IUnknown) && !IsEqualIID(iid, IID_IAdviseSink)) return E_NOINTERFACE;
        *object = this;
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return static_cast<ULONG>(++references); }
    STDMETHODIMP_(ULONG) Release() override { return static_cast<ULONG>(--references); }
    STDMETHODIMP_(void) OnDataChange(FORMATETC*, STGMEDIUM*) override { ++data; }
    STDMETHODIMP_(void) OnViewChange(DWORD aspect, LONG) override { views += aspect == DVASPECT_CONTENT; }
    STDMETHODIMP_(void) OnRename(IMoniker*) override {}
    STDMETHODIMP_(void) OnSave() override { ++saves; }
    STDMETHODIMP_(void) OnClose() override { ++closes; }
};

TEST_F(ControlInterfaces, NewsReachWhoeverAskedForThem)
{
    News news;
    {
        const auto object = As<IOleObject>(control);
        const auto view = As<IViewObject>(control);
        const auto data = As<IDataObject>(control);
        DWORD cookie = 0;
        DWORD dataCookie = 0;
        EXPECT_EQ(OLE_E_NOCONNECTION, object->Unadvise(1));
        EXPECT_EQ(OLE_E_NOCONNECTION, data->DUnadvise(1));
        EXPECT_EQ(S_OK, object->Advise(&news, &cookie));
        EXPECT_EQ(S_OK, view->SetAdvise(DVASPECT_CONTENT, 0, &news));
        FORMATETC format = {CF_METAFILEPICT, nullptr, DVASPECT_CONTENT, -1, TYMED_MFPICT};
        EXPECT_EQ(S_OK, data->DAdvise(&format, ADVF_NODATA, &news, &dataCookie));
        SIZEL size = {1234, 4321};
        EXPECT_EQ(S_OK, object->SetExtent(DVASPECT_CONTENT, &size));
        EXPECT_EQ(1, news.views);
        EXPECT_EQ(1, news.data);
        ComPtr<IStream> stream;
        CreateStreamOnHGlobal(nullptr, TRUE, stream.put());
        EXPECT_EQ(S_OK, As<IPersistStreamInit>(control)->Save(stream.Get(), TRUE));
        EXPECT_EQ(1, news.saves);
        EXPECT_EQ(S_OK, object->Close(OLECLOSE_NOSAVE));
        EXPECT_EQ(1, news.closes);

        ComPtr<IAdviseSink> given;
        DWORD aspects = 0;
        DWORD flags = 9;
        EXPECT_EQ(S_OK, view->GetAdvise(&aspects, &flags, given.put()));
        EXPECT_EQ(&news, given.Get());
        EXPECT_EQ(DWORD{DVASPECT_CONTENT}, aspects);
        EXPECT_EQ(0u, flags);
        ComPtr<IEnumSTATDATA> list;
        EXPECT_EQ(S_OK, object->EnumAdvise(list.put()));
        EXPECT_EQ(S_OK, data->EnumDAdvise(list.put()));
        EXPECT_EQ(S_OK, object->Unadvise(cookie));
        EXPECT_EQ(S_OK, data->DUnadvise(dataCookie));
        EXPECT_EQ(S_OK, view->SetAdvise(DVASPECT_CONTENT, ADVF_PRIMEFIRST | ADVF_ONLYONCE, &news));
        EXPECT_EQ(2, news.views);
        size = {1, 1};
        EXPECT_EQ(S_OK, object->SetExtent(DVASPECT_CONTENT, &size));
        EXPECT_EQ(2, news.views) << "only once was asked for";
        EXPECT_EQ(1, news.data);
        EXPECT_EQ(DV_E_DVASPECT, view->SetAdvise(DVASPECT_ICON, 0, &news));
    }
    EXPECT_EQ(0, news.references);
}

TEST_F(ControlInterfaces, DrawingFillsTheBoundsAndLeavesTheContextAsItWas)
{
    const HDC screen = GetDC(nullptr);
    const HDC memory = CreateCompatibleDC(screen);
    const HBITMAP bitmap = CreateCompatibleBitmap(screen, 120, 80);
    const HGDIOBJ before = SelectObject(memory, bitmap);
    const RECT all = {0, 0, 120, 80};
    const HBRUSH green = CreateSolidBrush(RGB(0, 255, 0));
    FillRect(memory, &all, green);
    SelectObject(memory, green);

    const RECTL bounds = {10, 10, 110, 70};
    const auto view = As<IViewObject>(control);
    EXPECT_EQ(S_OK, view->Draw(DVASPECT_CONTENT, -1, nullptr, nullptr, nullptr, memory, &bounds, nullptr,
                               nullptr, 0));
    EXPECT_EQ(RGB(0, 255, 0), GetPixel(memory, 9, 40));
    EXPECT_EQ(RGB(255, 255, 255), GetPixel(memory, 11, 11));
    EXPECT_EQ(RGB(255, 255, 255), GetPixel(memory, 60, 40));
    EXPECT_EQ(RGB(0, 0, 0), GetPixel(memory, 60, 10));
    EXPECT_EQ(RGB(0, 0, 0), GetPixel(memory, 60, 69));
    EXPECT_EQ(RGB(0, 0, 0), GetPixel(memory, 10, 40));
    EXPECT_EQ(RGB(0, 0, 0), GetPixel(memory, 109, 40));
    EXPECT_EQ(RGB(0, 255, 0), GetPixel(memory, 110, 40));
    EXPECT_EQ(green, GetCurrentObject(memory, OBJ_BRUSH));

    EXPECT_EQ(DV_E_DVASPECT,
              view->Draw(DVASPECT_ICON, -1, nullptr, nullptr, nullptr, memory, &bounds, nullptr, nullptr, 0));
    EXPECT_EQ(E_INVALIDARG, view->Draw(DVASPECT_CONTENT, -1, nullptr, nullptr, nullptr, nullptr, &bounds,
                                       nullptr, nullptr, 0));
    EXPECT_EQ(E_INVALIDARG, view->Draw(DVASPECT_CONTENT, -1, nullptr, nullptr, nullptr, memory, nullptr,
                                       nullptr, nullptr, 0));
    SelectObject(memory, before);
    DeleteObject(green);
    DeleteObject(bitmap);
    DeleteDC(memory);
    ReleaseDC(nullptr, screen);
}

TEST_F(ControlInterfaces, TheViewIsOpaqueAndHitWhereItIs)
{
    const auto view = As<IViewObjectEx>(control);
    DWORD status = 0;
    EXPECT_EQ(S_OK, view->GetViewStatus(&status));
    EXPECT_EQ(DWORD{VIEWSTATUS_OPAQUE}, status);
    const RECT bounds = {10, 10, 20, 20};
    DWORD hit = 9;
    EXPECT_EQ(S_OK, view->QueryHitPoint(DVASPECT_CONTENT, &bounds, {15, 15}, 0, &hit));
    EXPECT_EQ(DWORD{HITRESULT_HIT}, hit);
    EXPECT_EQ(S_OK, view->QueryHitPoint(DVASPECT_CONTENT, &bounds, {20, 15}, 0, &hit));
    EXPECT_EQ(DWORD{HITRESULT_OUTSIDE}, hit);
    const RECT near_ = {19, 19, 30, 30};
    const RECT far_ = {20, 20, 30, 30};
    EXPECT_EQ(S_OK, view->QueryHitRect(DVASPECT_CONTENT, &bounds, &near_, 0, &hit));
    EXPECT_EQ(DWORD{HITRESULT_HIT}, hit);
    EXPECT_EQ(S_OK, view->QueryHitRect(DVASPECT_CONTENT, &bounds, &far_, 0, &hit));
    EXPECT_EQ(DWORD{HITRESULT_OUTSIDE}, hit);
    EXPECT_EQ(E_NOTIMPL, view->GetNaturalExtent(DVASPECT_CONTENT, -1, nullptr, nullptr, nullptr, nullptr));
    LOGPALETTE* colors = nullptr;
    EXPECT_EQ(E_NOTIMPL, view->GetColorSet(DVASPECT_CONTENT, -1, nullptr, nullptr, nullptr, &colors));
    DWORD frozen = 0;
    EXPECT_EQ(E_NOTIMPL, view->Freeze(DVASPECT_CONTENT, -1, nullptr, &frozen));
    EXPECT_EQ(E_NOTIMPL, view->Unfreeze(0));
}

TEST_F(ControlInterfaces, ThePictureComesAsAMetafileOfEitherKind)
{
    const auto data = As<IDataObject>(control);
    SIZEL size = {2540, 1270};
    As<IOleObject>(control)->SetExtent(DVASPECT_CONTENT, &size);
    ComPtr<IEnumFORMATETC> formats;
    ASSERT_EQ(S_OK, data->EnumFormatEtc(DATADIR_GET, formats.put()));
    FORMATETC format{};
    int seen = 0;
    while (formats->Next(1, &format, nullptr) == S_OK) {
        ++seen;
        EXPECT_EQ(S_OK, data->QueryGetData(&format));
        STGMEDIUM medium{};
        ASSERT_EQ(S_OK, data->GetData(&format, &medium));
        EXPECT_EQ(format.tymed, medium.tymed);
        if (medium.tymed == TYMED_MFPICT) {
            const auto* picture = static_cast<METAFILEPICT*>(GlobalLock(medium.hMetaFilePict));
            EXPECT_EQ(MM_ANISOTROPIC, picture->mm);
            EXPECT_EQ(2540, picture->xExt);
            EXPECT_GT(GetMetaFileBitsEx(picture->hMF, 0, nullptr), 40u);
            GlobalUnlock(medium.hMetaFilePict);
        } else {
            ENHMETAHEADER header{};
            ASSERT_NE(0u, GetEnhMetaFileHeader(medium.hEnhMetaFile, sizeof(header), &header));
            EXPECT_GT(header.nRecords, 4u);
        }
        ReleaseStgMedium(&medium);
    }
    EXPECT_EQ(2, seen);
}

TEST_F(ControlInterfaces, OtherFormatsOfDataAreRefused)
{
    const auto data = As<IDataObject>(control);
    STGMEDIUM medium{};
    FORMATETC text = {CF_TEXT, nullptr, DVASPECT_CONTENT, -1, TYMED_HGLOBAL};
    EXPECT_EQ(DV_E_FORMATETC, data->GetData(&text, &medium));
    FORMATETC icon = {CF_METAFILEPICT, nullptr, DVASPECT_ICON, -1, TYMED_MFPICT};
    EXPECT_EQ(DV_E_DVASPECT, data->QueryGetData(&icon));
    FORMATETC stream = {CF_METAFILEPICT, nullptr, DVASPECT_CONTENT, -1, TYMED_ISTREAM};
    EXPECT_EQ(DV_E_TYMED, data->QueryGetData(&stream));
    EXPECT_EQ(E_NOTIMPL, data->GetDataHere(&text, &medium));
    EXPECT_EQ(E_NOTIMPL, data->SetData(&text, &medium, FALSE));
    ComPtr<IEnumFORMATETC> formats;
    EXPECT_EQ(E_NOTIMPL, data->EnumFormatEtc(DATADIR_SET, formats.put()));
    FORMATETC canonical{};
    EXPECT_EQ(DATA_S_SAMEFORMATETC, data->GetCanonicalFormatEtc(&text, &canonical));
    EXPECT_EQ(E_POINTER, data->GetData(nullptr, &medium));
    EXPECT_EQ(E_POINTER, data->QueryGetData(nullptr));
}

TEST_F(ControlInterfaces, TheClassInformationNamesBothInterfacesAndTheEventSet)
{
    ComPtr<ITypeInfo> info;
    ASSERT_EQ(S_OK, As<IProvideClassInfo>(control)->GetClassInfo(info.put()));
    TYPEATTR* attributes = nullptr;
    ASSERT_EQ(S_OK, info->GetTypeAttr(&attributes));
    EXPECT_EQ(TKIND_COCLASS, attributes->typekind);
    EXPECT_TRUE(IsEqualGUID(kControl.clsid, attributes->guid));
    EXPECT_EQ(2, attributes->cImplTypes);
    info->ReleaseTypeAttr(attributes);
    GUID guid{};
    EXPECT_EQ(S_OK, As<IProvideClassInfo2>(control)->GetGUID(GUIDKIND_DEFAULT_SOURCE_DISP_IID, &guid));
    EXPECT_TRUE(IsEqualGUID(DIID__DUSBKeyPnPActiveXEvents, guid));
    EXPECT_EQ(E_INVALIDARG, As<IProvideClassInfo2>(control)->GetGUID(7, &guid));
    EXPECT_EQ(E_POINTER, As<IProvideClassInfo>(control)->GetClassInfo(nullptr));
}

TEST_F(ControlInterfaces, QuickActivationDoesAllInOneCall)
{
    Container container;
    EventSink events;
    News news;
    {
        QACONTAINER asked{};
        asked.cbSize = sizeof(asked);
        asked.pClientSite = container.Site();
        asked.pUnkEventSink = &events;
        QACONTROL given{};
        given.cbSize = sizeof(given);
        EXPECT_EQ(S_OK, As<IQuickActivate>(control)->QuickActivate(&asked, &given));
        EXPECT_EQ(kMiscStatus, given.dwMiscStatus);
        EXPECT_EQ(DWORD{VIEWSTATUS_OPAQUE}, given.dwViewStatus);
        EXPECT_NE(0u, given.dwEventCookie);
        EXPECT_NE(nullptr, WindowOf(control.Get()));
        backend->FireEvent();
        PumpMessages();
        EXPECT_EQ(1, events.events);
        EXPECT_EQ(S_OK, Disconnect(control.Get(), given.dwEventCookie));
        SetSite(control.Get(), nullptr);

        given.cbSize = 4;
        EXPECT_EQ(E_UNEXPECTED, As<IQuickActivate>(control)->QuickActivate(&asked, &given));
        EXPECT_EQ(E_POINTER, As<IQuickActivate>(control)->QuickActivate(nullptr, &given));
    }
    EXPECT_EQ(0, events.References());
}

TEST_F(ControlInterfaces, AFaultInsideAContainersCountingCostsNothing)
{
    Container container;
    SetSite(control.Get(), container.Site());
    container.during["TranslateAccelerator"] = [] { RaiseFault(FaultKind::OtherCompilersThrow); };
    MSG message{};
    EXPECT_EQ(E_FAIL, As<IOleInPlaceActiveObject>(control)->TranslateAccelerator(&message));
    container.Take();
    SetSite(control.Get(), nullptr);
}

}  // namespace
}  // namespace kzr::test
