// The small owners: strings, values, counted pointers, handles, the module's count.
#include <gtest/gtest.h>

#include <windows.h>

#include <oleauto.h>

#include <cstring>
#include <string>
#include <utility>

#include "com/Bstr.h"
#include "com/ComPtr.h"
#include "com/Handles.h"
#include "com/Interfaces.h"
#include "com/ModuleCount.h"
#include "com/ModulePath.h"
#include "com/Variant.h"
#include "support/Faults.h"

namespace kzr {
namespace {

using namespace std::literals;

// Counts its references; faults when it is told to.
class Counted : public IUnknown {
  public:
    long references = 0;
    test::FaultKind fault = test::FaultKind::None;

    STDMETHODIMP QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    STDMETHODIMP_(ULONG) AddRef() override
    {
        test::RaiseFault(fault);
        return static_cast<ULONG>(++references);
    }
    STDMETHODIMP_(ULONG) Release() override
    {
        test::RaiseFault(fault);
        return static_cast<ULONG>(--references);
    }
};

TEST(Bstr, ANullTextStaysNull)
{
    EXPECT_EQ(nullptr, Bstr().Get());
    EXPECT_EQ(nullptr, Bstr(static_cast<const wchar_t*>(nullptr)).Get());
}

TEST(Bstr, ATextIsCopiedToItsFirstNullAndAViewWhole)
{
    const wchar_t text[] = L"a\0b";
    EXPECT_EQ(1u, SysStringLen(Bstr(text).Get()));
    EXPECT_EQ(3u, SysStringLen(Bstr(L"a\0b"sv).Get()));
    EXPECT_EQ(L"a\0b"s, WideText(Bstr(L"a\0b"sv).Get()));
    EXPECT_EQ(L"", WideText(nullptr));
}

TEST(Bstr, ACopyHasEveryByte)
{
    const Bstr odd = Bstr::Adopt(SysAllocStringByteLen("abc\0de\0", 7));
    const Bstr copy = Bstr::CopyOf(odd.Get());
    ASSERT_NE(odd.Get(), copy.Get());
    ASSERT_EQ(7u, SysStringByteLen(copy.Get()));
    EXPECT_EQ(0, std::memcmp(odd.Get(), copy.Get(), 7));
    // A null text becomes an empty one.
    ASSERT_NE(nullptr, Bstr::CopyOf(nullptr).Get());
    EXPECT_EQ(0u, SysStringByteLen(Bstr::CopyOf(nullptr).Get()));
}

TEST(Bstr, MovingLeavesNothingBehind)
{
    Bstr first(L"text");
    Bstr second = std::move(first);
    EXPECT_EQ(nullptr, first.Get());
    EXPECT_EQ(L"text", WideText(second.Get()));
    const BSTR detached = second.Detach();
    EXPECT_EQ(nullptr, second.Get());
    SysFreeString(detached);
}

TEST(Bstr, AnOutParameterIsEmptiedFirst)
{
    Bstr text(L"old");
    BSTR* const place = text.put();
    EXPECT_EQ(nullptr, *place);
    *place = SysAllocString(L"new");
    EXPECT_EQ(L"new", WideText(text.Get()));
}

TEST(Variant, BeginsEmptyAndIsEmptiedByPut)
{
    Variant value;
    EXPECT_EQ(VT_EMPTY, value.Type());
    value = Variant::OfLong(7);
    EXPECT_EQ(VT_EMPTY, value.put()->vt);
}

TEST(Variant, HoldsWhatItWasMadeOf)
{
    EXPECT_EQ(VT_I2, Variant::OfShort(-1).Type());
    EXPECT_EQ(-1, Variant::OfShort(-1).Bits16());
    EXPECT_EQ(VT_I4, Variant::OfLong(-70000).Type());
    EXPECT_EQ(-70000, Variant::OfLong(-70000).Bits32());
    const Variant text = Variant::OfText(SysAllocString(L"text"));
    EXPECT_TRUE(text.HasText());
    EXPECT_EQ(L"text", WideText(text.Text()));
}

TEST(Variant, OnlyATextIsEverReadAsAPointer)
{
    Variant value = Variant::OfLong(0x12345678);
    EXPECT_EQ(nullptr, value.Text());
    EXPECT_FALSE(value.HasText());
    EXPECT_FALSE(Variant::OfText(nullptr).HasText());
    EXPECT_FALSE(Variant::OfText(SysAllocString(L"")).HasText());
}

TEST(Variant, ClearsWhatItHolds)
{
    Counted object;
    {
        Variant value;
        value.put()->vt = VT_UNKNOWN;
        value.raw()->punkVal = &object;
        object.AddRef();
        Variant moved = std::move(value);
        EXPECT_EQ(VT_EMPTY, value.Type());
    }
    EXPECT_EQ(0, object.references);
}

// The next call's result may be left alone by the backend; the last one's bits must not answer for it.
TEST(Variant, OnceEmptiedItReadsAsZeroAgain)
{
    Variant cleared = Variant::OfLong(7);
    cleared.Clear();
    EXPECT_EQ(0, cleared.Bits32());
    Variant reused = Variant::OfShort(-1);
    EXPECT_EQ(0, reused.put()->lVal);
    Variant written;
    written.raw()->lVal = 7;  // without a type
    written.Clear();
    EXPECT_EQ(0, written.Bits32());
    Variant movedFrom = Variant::OfLong(7);
    const Variant moved = std::move(movedFrom);
    EXPECT_EQ(7, moved.Bits32());
    EXPECT_EQ(0, movedFrom.Bits32());
}

TEST(Variant, ATextThatCannotBeReadIsAFaultThatCanBeCaught)
{
    bool caught = false;
    RunOwnCode(
        [](void* context) {
            const Variant text = Variant::OfText(reinterpret_cast<BSTR>(16));
            try {
                EXPECT_FALSE(text.HasText());
            } catch (const Fault&) {
                *static_cast<bool*>(context) = true;
            }
        },
        &caught);
    EXPECT_TRUE(caught);
}

TEST(Variant, AnObjectThatFaultsInItsReleaseCostsOnlyItself)
{
    Counted object;
    object.references = 1;
    object.fault = test::FaultKind::Write;
    Variant value;
    value.put()->vt = VT_UNKNOWN;
    value.raw()->punkVal = &object;
    value.Clear();
    EXPECT_EQ(VT_EMPTY, value.Type());
    EXPECT_EQ(1, object.references);
}

TEST(ComPtr, CountsAsItShould)
{
    Counted object;
    {
        const ComPtr<IUnknown> first(&object);
        EXPECT_EQ(1, object.references);
        ComPtr<IUnknown> second = first;
        EXPECT_EQ(2, object.references);
        const ComPtr<IUnknown> third = std::move(second);
        EXPECT_EQ(2, object.references);
        EXPECT_FALSE(second);
        const ComPtr<IUnknown> adopted = ComPtr<IUnknown>::Adopt(&object);
        EXPECT_EQ(2, object.references);
        object.AddRef();
    }
    EXPECT_EQ(0, object.references);
}

TEST(ComPtr, AnOutParameterIsEmptiedFirst)
{
    Counted object;
    ComPtr<IUnknown> pointer(&object);
    EXPECT_EQ(nullptr, *pointer.put());
    EXPECT_EQ(0, object.references);
}

TEST(ComPtr, AssigningToItselfKeepsTheObject)
{
    Counted object;
    ComPtr<IUnknown> pointer(&object);
    const ComPtr<IUnknown>& same = pointer;
    pointer = same;
    EXPECT_EQ(1, object.references);
}

TEST(ForeignPtr, SurvivesEveryFaultOfItsObject)
{
    for (const test::FaultKind kind : test::kAllFaults) {
        Counted object;
        object.fault = kind;
        {
            const ForeignPtr<IUnknown> pointer(&object);
            const ForeignPtr<IUnknown> copy = pointer;
        }
        EXPECT_EQ(0, object.references);
    }
}

int g_closed = 0;
BOOL CloseNumber(long) { return ++g_closed; }

TEST(UniqueHandle, ClosesOnceAndNotTheInvalidOne)
{
    using UniqueNumber = UniqueHandle<long, &CloseNumber>;
    g_closed = 0;
    {
        UniqueNumber none;
        UniqueNumber first(5);
        UniqueNumber second = std::move(first);
        EXPECT_FALSE(first);
        EXPECT_TRUE(second);
        *second.put() = 6;
        EXPECT_EQ(1, g_closed);
        UniqueNumber third(7);
        third.Detach();
    }
    EXPECT_EQ(2, g_closed);
}

TEST(AnswerInterface, FindsCastsAndAddsTheReference)
{
    Counted object;
    const InterfaceEntry entries[] = {{&IID_IUnknown, &object}};
    void* answer = &object;
    EXPECT_EQ(E_NOINTERFACE, AnswerInterface(entries, IID_IDispatch, &answer));
    EXPECT_EQ(nullptr, answer);
    EXPECT_EQ(S_OK, AnswerInterface(entries, IID_IUnknown, &answer));
    EXPECT_EQ(&object, answer);
    EXPECT_EQ(1, object.references);
    EXPECT_EQ(E_POINTER, AnswerInterface(entries, IID_IUnknown, nullptr));
}

TEST(ModuleCount, CountsReferencesAndLocks)
{
    const long before = ModuleLockCount();
    {
        const ModuleReference reference;
        LockModule();
        EXPECT_EQ(before + 2, ModuleLockCount());
    }
    UnlockModule();
    EXPECT_EQ(before, ModuleLockCount());
}

TEST(ModulePath, IsThisModulesFile)
{
    wchar_t path[1024] = {};
    GetModuleFileNameW(GetModuleHandleW(nullptr), path, 1024);
    EXPECT_EQ(path, ModulePath());
    EXPECT_EQ(GetModuleHandleW(nullptr), ThisModule());
}

}  // namespace
}  // namespace kzr
