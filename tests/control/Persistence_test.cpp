// Saving and loading: through stream, storage, property bag and memory, and what is none of the control's.
#include <cstring>
#include <map>

#include "ControlTest.h"

namespace kzr::test {
namespace {

// The 16 bytes, written from their description.
std::string StateBytes(unsigned version, unsigned x, unsigned y, unsigned mask)
{
    std::string bytes;
    for (const unsigned number : {version, x, y, mask})
        for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(number >> shift & 0xFF);
    return bytes;
}

ComPtr<IStream> StreamOf(const std::string& bytes)
{
    ComPtr<IStream> stream;
    EXPECT_EQ(S_OK, CreateStreamOnHGlobal(nullptr, TRUE, stream.put()));
    EXPECT_EQ(S_OK, stream->Write(bytes.data(), static_cast<ULONG>(bytes.size()), nullptr));
    EXPECT_EQ(S_OK, stream->Seek({}, STREAM_SEEK_SET, nullptr));
    return stream;
}

std::string BytesOf(IStream* stream)
{
    std::string bytes(64, '\0');
    ULONG read = 0;
    EXPECT_EQ(S_OK, stream->Seek({}, STREAM_SEEK_SET, nullptr));
    EXPECT_TRUE(SUCCEEDED(stream->Read(bytes.data(), 64, &read)));
    bytes.resize(read);
    return bytes;
}

// A bag of ours: refuses what it does not hold, as the documentation of bags wants it.
class Bag final : public IPropertyBag {
  public:
    std::map<std::wstring, Value> values;
    HRESULT writes = S_OK;

    STDMETHODIMP QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP Read(LPCOLESTR name, VARIANT* value, IErrorLog*) override
    {
        const auto found = values.find(name);
        if (found == values.end()) return E_INVALIDARG;
        *value = found->second.Copy();
        return S_OK;
    }
    STDMETHODIMP Write(LPCOLESTR name, VARIANT* value) override
    {
        values[name] = Value(*value);
        return writes;
    }
};

class ControlPersistence : public ControlTest {
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
    void SetExtent(long x, long y)
    {
        SIZEL size = {x, y};
        EXPECT_EQ(S_OK, As<IOleObject>(control)->SetExtent(DVASPECT_CONTENT, &size));
    }
    void ExpectExtent(long x, long y)
    {
        SIZEL size{};
        EXPECT_EQ(S_OK, As<IOleObject>(control)->GetExtent(DVASPECT_CONTENT, &size));
        EXPECT_EQ(x, size.cx);
        EXPECT_EQ(y, size.cy);
    }
    HRESULT LoadBytes(const std::string& bytes)
    {
        return As<IPersistStreamInit>(control)->Load(StreamOf(bytes).Get());
    }

    ComPtr<IDispatch> control;
};

TEST_F(ControlPersistence, AStreamHoldsVersionExtentAndStockPropertyMask)
{
    SetExtent(3000, 2000);
    const auto stream = StreamOf("");
    EXPECT_EQ(S_OK, As<IPersistStreamInit>(control)->Save(stream.Get(), TRUE));
    EXPECT_EQ(StateBytes(0x00010000, 3000, 2000, 0), BytesOf(stream.Get()));
    ULARGE_INTEGER size{};
    EXPECT_EQ(S_OK, As<IPersistStreamInit>(control)->GetSizeMax(&size));
    EXPECT_EQ(16u, size.QuadPart);
}

TEST_F(ControlPersistence, AStreamComesBack)
{
    EXPECT_EQ(S_OK, LoadBytes(StateBytes(0x00010000, 4321, 1234, 0)));
    ExpectExtent(4321, 1234);
}

TEST_F(ControlPersistence, WhatFollowsInTheStreamIsLeftThere)
{
    const auto stream = StreamOf(StateBytes(0x00010000, 1, 2, 0) + "rest");
    EXPECT_EQ(S_OK, As<IPersistStreamInit>(control)->Load(stream.Get()));
    char rest[4] = {};
    ULONG read = 0;
    stream->Read(rest, 4, &read);
    EXPECT_EQ("rest", std::string(rest, read));
}

TEST_F(ControlPersistence, AStreamCutAnywhereFailsAndChangesNothing)
{
    SetExtent(111, 222);
    const std::string whole = StateBytes(0x00010000, 3000, 2000, 0);
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_EQ(E_FAIL, LoadBytes(whole.substr(0, length))) << length;
        ExpectExtent(111, 222);
    }
}

TEST_F(ControlPersistence, AForeignStreamFailsAndChangesNothing)
{
    SetExtent(111, 222);
    const std::string foreign[] = {StateBytes(0, 3000, 2000, 0),
                                   StateBytes(0x00020000, 3000, 2000, 0),
                                   StateBytes(0x00010001, 3000, 2000, 0),
                                   StateBytes(0x00010000, 0xFFFFFFFF, 2000, 0),
                                   StateBytes(0x00010000, 3000, 0x7FFFFFFF, 0),
                                   StateBytes(0x00010000, 3000, 2000, 1),
                                   std::string(64, '\xCC'),
                                   "<html><body>no state</body></html>"};
    for (const std::string& bytes : foreign) {
        EXPECT_EQ(E_FAIL, LoadBytes(bytes));
        ExpectExtent(111, 222);
    }
}

TEST_F(ControlPersistence, DirtyIsWhatChangedSinceTheLastSaveOrLoad)
{
    const auto persist = As<IPersistStreamInit>(control);
    EXPECT_EQ(S_OK, persist->InitNew());
    EXPECT_EQ(S_FALSE, persist->IsDirty());
    SetExtent(3000, 2000);
    EXPECT_EQ(S_OK, persist->IsDirty());
    const auto stream = StreamOf("");
    EXPECT_EQ(S_OK, persist->Save(stream.Get(), FALSE));
    EXPECT_EQ(S_OK, persist->IsDirty()) << "the container asked to leave it so";
    EXPECT_EQ(S_OK, persist->Save(stream.Get(), TRUE));
    EXPECT_EQ(S_FALSE, persist->IsDirty());
    SetExtent(3000, 2000);
    EXPECT_EQ(S_FALSE, persist->IsDirty()) << "the same extent is no change";
    SetExtent(1, 1);
    EXPECT_EQ(S_OK, LoadBytes(StateBytes(0x00010000, 5, 6, 0)));
    EXPECT_EQ(S_FALSE, persist->IsDirty());
}

TEST_F(ControlPersistence, InitNewGoesBackToTheInitialExtent)
{
    SIZEL initial{};
    As<IOleObject>(control)->GetExtent(DVASPECT_CONTENT, &initial);
    EXPECT_GT(initial.cx, 0);
    SetExtent(9, 9);
    EXPECT_EQ(S_OK, As<IPersistStreamInit>(control)->InitNew());
    ExpectExtent(initial.cx, initial.cy);
    SetExtent(9, 9);
    EXPECT_EQ(S_OK, As<IPersistMemory>(control)->InitNew());
    ExpectExtent(initial.cx, initial.cy);
    SetExtent(9, 9);
    EXPECT_EQ(S_OK, As<IPersistPropertyBag>(control)->InitNew());
    ExpectExtent(initial.cx, initial.cy);
}

TEST_F(ControlPersistence, AStorageComesBackInAnotherControl)
{
    ComPtr<IStorage> storage;
    ASSERT_EQ(S_OK, StgCreateDocfile(
                        nullptr, STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE | STGM_DELETEONRELEASE,
                        0, storage.put()));
    const auto persist = As<IPersistStorage>(control);
    EXPECT_EQ(S_OK, persist->InitNew(storage.Get()));
    SetExtent(3000, 2000);
    EXPECT_EQ(S_OK, persist->Save(storage.Get(), TRUE));
    EXPECT_EQ(S_OK, persist->IsDirty()) << "saved only when the container says that it is complete";
    EXPECT_EQ(S_OK, persist->SaveCompleted(nullptr));
    EXPECT_EQ(S_FALSE, persist->IsDirty());
    EXPECT_EQ(S_OK, persist->HandsOffStorage());

    const auto other = MakeControl();
    EXPECT_EQ(S_OK, As<IPersistStorage>(other)->Load(storage.Get()));
    SIZEL size{};
    As<IOleObject>(other)->GetExtent(DVASPECT_CONTENT, &size);
    EXPECT_EQ(3000, size.cx);
    EXPECT_EQ(2000, size.cy);
}

TEST_F(ControlPersistence, ACopySavedElsewhereLeavesTheControlDirty)
{
    ComPtr<IStorage> storage;
    ASSERT_EQ(S_OK, StgCreateDocfile(
                        nullptr, STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE | STGM_DELETEONRELEASE,
                        0, storage.put()));
    SetExtent(3000, 2000);
    const auto persist = As<IPersistStorage>(control);
    EXPECT_EQ(S_OK, persist->Save(storage.Get(), FALSE));
    EXPECT_EQ(S_OK, persist->SaveCompleted(nullptr));
    EXPECT_EQ(S_OK, persist->IsDirty());
}

TEST_F(ControlPersistence, AStorageWithoutTheContentsFails)
{
    ComPtr<IStorage> storage;
    ASSERT_EQ(S_OK, StgCreateDocfile(
                        nullptr, STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE | STGM_DELETEONRELEASE,
                        0, storage.put()));
    EXPECT_EQ(STG_E_FILENOTFOUND, As<IPersistStorage>(control)->Load(storage.Get()));
}

TEST_F(ControlPersistence, APropertyBagHoldsTheFourValuesByName)
{
    SetExtent(3000, 2000);
    Bag bag;
    EXPECT_EQ(S_OK, As<IPersistPropertyBag>(control)->Save(&bag, TRUE, TRUE));
    const std::map<std::wstring, Value> expected = {{L"_Version", I4(0x00010000)},
                                                    {L"_ExtentX", I4(3000)},
                                                    {L"_ExtentY", I4(2000)},
                                                    {L"_StockProps", I4(0)}};
    EXPECT_EQ(expected, bag.values);
    EXPECT_EQ(S_FALSE, As<IPersistStreamInit>(control)->IsDirty());

    const auto other = MakeControl();
    EXPECT_EQ(S_OK, As<IPersistPropertyBag>(other)->Load(&bag, nullptr));
    SIZEL size{};
    As<IOleObject>(other)->GetExtent(DVASPECT_CONTENT, &size);
    EXPECT_EQ(3000, size.cx);
}

TEST_F(ControlPersistence, AnEmptyPropertyBagLeavesTheControlAsItIs)
{
    SetExtent(3000, 2000);
    Bag bag;
    EXPECT_EQ(S_OK, As<IPersistPropertyBag>(control)->Load(&bag, nullptr));
    ExpectExtent(3000, 2000);
}

TEST_F(ControlPersistence, ThePagesTextsAreReadAsNumbers)
{
    Bag bag;
    bag.values = {{L"_Version", Value(L"65536")}, {L"_ExtentX", Value(L"70")}, {L"_ExtentY", I2(80)}};
    EXPECT_EQ(S_OK, As<IPersistPropertyBag>(control)->Load(&bag, nullptr));
    ExpectExtent(70, 80);
}

TEST_F(ControlPersistence, AForeignPropertyBagFailsAndChangesNothing)
{
    SetExtent(111, 222);
    const std::pair<const wchar_t*, Value> foreign[] = {{L"_Version", I4(0x00020000)},
                                                        {L"_ExtentX", I4(-5)},
                                                        {L"_ExtentY", L"wide"},
                                                        {L"_StockProps", I4(3)}};
    for (const auto& [name, value] : foreign) {
        Bag bag;
        bag.values[L"_ExtentX"] = I4(7);
        bag.values[name] = value;
        EXPECT_TRUE(FAILED(As<IPersistPropertyBag>(control)->Load(&bag, nullptr))) << Readable(name);
        ExpectExtent(111, 222);
    }
}

TEST_F(ControlPersistence, ABagThatCannotBeWrittenFailsTheSaving)
{
    SetExtent(111, 222);
    Bag bag;
    bag.writes = E_ACCESSDENIED;
    EXPECT_EQ(E_ACCESSDENIED, As<IPersistPropertyBag>(control)->Save(&bag, TRUE, TRUE));
    EXPECT_EQ(S_OK, As<IPersistStreamInit>(control)->IsDirty());
}

TEST_F(ControlPersistence, MemoryHoldsTheSameBytesAsAStream)
{
    SetExtent(3000, 2000);
    const auto persist = As<IPersistMemory>(control);
    ULONG size = 0;
    EXPECT_EQ(S_OK, persist->GetSizeMax(&size));
    std::string bytes(size, '\xEE');
    EXPECT_EQ(E_UNEXPECTED, persist->Save(bytes.data(), TRUE, size - 1));
    EXPECT_EQ(S_OK, persist->Save(bytes.data(), TRUE, size));
    EXPECT_EQ(StateBytes(0x00010000, 3000, 2000, 0), bytes);
    EXPECT_EQ(S_FALSE, persist->IsDirty());
    SetExtent(1, 1);
    EXPECT_EQ(E_FAIL, persist->Load(bytes.data(), size - 1));
    EXPECT_EQ(S_OK, persist->Load(bytes.data(), size));
    ExpectExtent(3000, 2000);
}

TEST_F(ControlPersistence, EveryWayTellsTheClassAndRefusesNullPointers)
{
    CLSID clsid{};
    EXPECT_EQ(S_OK, As<IPersist>(control)->GetClassID(&clsid));
    EXPECT_TRUE(IsEqualCLSID(kControl.clsid, clsid));
    EXPECT_EQ(S_OK, As<IPersistStorage>(control)->GetClassID(&clsid));
    EXPECT_EQ(S_OK, As<IPersistPropertyBag>(control)->GetClassID(&clsid));
    EXPECT_EQ(S_OK, As<IPersistMemory>(control)->GetClassID(&clsid));
    EXPECT_EQ(E_POINTER, As<IPersist>(control)->GetClassID(nullptr));
    EXPECT_EQ(E_POINTER, As<IPersistStreamInit>(control)->Load(nullptr));
    EXPECT_EQ(E_POINTER, As<IPersistStreamInit>(control)->Save(nullptr, TRUE));
    EXPECT_EQ(E_POINTER, As<IPersistStorage>(control)->Load(nullptr));
    EXPECT_EQ(E_POINTER, As<IPersistStorage>(control)->Save(nullptr, TRUE));
    EXPECT_EQ(E_POINTER, As<IPersistStorage>(control)->InitNew(nullptr));
    EXPECT_EQ(E_POINTER, As<IPersistPropertyBag>(control)->Load(nullptr, nullptr));
    EXPECT_EQ(E_POINTER, As<IPersistPropertyBag>(control)->Save(nullptr, TRUE, TRUE));
    EXPECT_EQ(E_POINTER, As<IPersistMemory>(control)->Load(nullptr, 16));
    EXPECT_EQ(E_POINTER, As<IPersistMemory>(control)->Save(nullptr, TRUE, 16));
}

}  // namespace
}  // namespace kzr::test
