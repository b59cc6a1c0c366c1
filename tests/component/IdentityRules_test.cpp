// COM's rules of identity and the object-safety table, on each class, plain and as a part of another object.
#include <atomic>
#include <memory>

#include <objsafe.h>

#include "component/FrameClasses.h"

namespace kzr::test {
namespace {

const IID kLacking[] = {
    {0x00000112, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}},  // IOleObject
    {0x0000010C, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}},  // IPersist
    {0x00000001, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}},  // IClassFactory
    {0, 0, 0, {0, 0, 0, 0, 0, 0, 0, 0}},
};

// Owns a scripted object as a part of itself.
class Owner final : public IUnknown {
  public:
    ~Owner()
    {
        if (m_inner) m_inner->Release();
    }
    HRESULT Take(const TestDll& dll, REFCLSID clsid)
    {
        return dll.Create(clsid, IID_IUnknown, reinterpret_cast<void**>(&m_inner), this);
    }
    IUnknown* Inner() const { return m_inner; }
    long References() const { return m_references; }

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override
    {
        if (!IsEqualIID(iid, IID_IUnknown)) return m_inner->QueryInterface(iid, object);
        AddRef();
        *object = this;
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return static_cast<ULONG>(++m_references); }
    STDMETHODIMP_(ULONG) Release() override { return static_cast<ULONG>(--m_references); }

  private:
    IUnknown* m_inner = nullptr;
    std::atomic<long> m_references{1};
};

enum class Made { Plain, Aggregated };

class IdentityRules : public ComponentTest,
                      public testing::WithParamInterface<std::tuple<const SharedClass*, Made>> {
  protected:
    void SetUp() override
    {
        ComponentTest::SetUp();
        if (std::get<1>(GetParam()) == Made::Aggregated) {
            m_owner = std::make_unique<Owner>();
            ASSERT_EQ(S_OK, m_owner->Take(*dll, Shared().tested.clsid));
            m_object = m_owner.get();
        } else {
            ASSERT_EQ(S_OK, dll->Create(Shared().tested.clsid, IID_IUnknown, m_plain.putVoid()));
            m_object = m_plain.Get();
        }
        m_interfaces = {IID_IUnknown, IID_IDispatch, Shared().iid, IID_IObjectSafety};
    }
    void TearDown() override
    {
        if (m_owner) {
            EXPECT_EQ(1, m_owner->References()) << "references on the owner were lost or kept";
        }
        m_plain = nullptr;
        m_owner.reset();
        ComponentTest::TearDown();
    }

    const SharedClass& Shared() const { return *std::get<0>(GetParam()); }

    ComPtr<IUnknown> Query(IUnknown* from, REFIID iid)
    {
        ComPtr<IUnknown> found;
        EXPECT_EQ(S_OK, from->QueryInterface(iid, found.putVoid()));
        return found;
    }
    ComPtr<IObjectSafety> Safety()
    {
        ComPtr<IObjectSafety> safety;
        EXPECT_EQ(S_OK, m_object->QueryInterface(IID_IObjectSafety, safety.putVoid()));
        return safety;
    }

    std::unique_ptr<Owner> m_owner;
    ComPtr<IUnknown> m_plain;
    IUnknown* m_object = nullptr;
    std::vector<IID> m_interfaces;
};

TEST_P(IdentityRules, EveryInterfaceLeadsToEveryOther)
{
    for (const IID& first : m_interfaces) {
        const ComPtr<IUnknown> from = Query(m_object, first);
        // Itself, and from there every other, and from there back again.
        EXPECT_EQ(from.Get(), Query(from.Get(), first).Get());
        for (const IID& second : m_interfaces) {
            const ComPtr<IUnknown> to = Query(from.Get(), second);
            ASSERT_TRUE(to);
            EXPECT_EQ(from.Get(), Query(to.Get(), first).Get());
            for (const IID& third : m_interfaces)
                EXPECT_EQ(Query(from.Get(), third).Get(), Query(to.Get(), third).Get());
        }
    }
}

TEST_P(IdentityRules, TheIdentityIsOneAndStaysTheSame)
{
    for (int i = 0; i < 3; ++i)
        for (const IID& iid : m_interfaces)
            EXPECT_EQ(m_object, Query(Query(m_object, iid).Get(), IID_IUnknown).Get());
}

TEST_P(IdentityRules, AnInterfaceThatIsLackingIsLackingEverywhere)
{
    for (const IID& iid : m_interfaces) {
        const ComPtr<IUnknown> from = Query(m_object, iid);
        for (const IID& lacking : kLacking) {
            void* found = this;
            EXPECT_EQ(E_NOINTERFACE, from->QueryInterface(lacking, &found));
            EXPECT_EQ(nullptr, found);
        }
    }
}

TEST_P(IdentityRules, AQuestionWithoutRoomForTheAnswerIsRefused)
{
    IUnknown* const asked = m_owner ? m_owner->Inner() : m_object;
    EXPECT_EQ(E_POINTER, asked->QueryInterface(IID_IUnknown, nullptr));
    EXPECT_EQ(E_POINTER, asked->QueryInterface(IID_IDispatch, nullptr));
    EXPECT_EQ(E_POINTER, asked->QueryInterface(kLacking[0], nullptr));
}

TEST_P(IdentityRules, ReferencesAreCountedOnTheIdentity)
{
    const ComPtr<IUnknown> dispatch = Query(m_object, IID_IDispatch);
    const ULONG before = m_object->AddRef();
    EXPECT_EQ(before + 1, dispatch->AddRef());
    EXPECT_EQ(before, dispatch->Release());
    EXPECT_EQ(before - 1, m_object->Release());
}

TEST_P(IdentityRules, AMethodIsCalledThroughEveryPointer)
{
    backend->SetUsers(DefaultUsers());
    const ComPtr<IDispatch> refreshes = Make(kUtil);
    backend->Allow(Shared().backendMethod, Shared().backendArguments, Shared().backendAnswer);
    ComPtr<IDispatch> dispatch;
    ASSERT_EQ(S_OK, Safety()->QueryInterface(IID_IDispatch, dispatch.putVoid()));
    EXPECT_EQ(Shared().answer, Call(dispatch.Get(), Shared().id, Shared().arguments).value);
    EXPECT_EQ(Shared().answer, Shared().direct(dispatch.Get(), Shared().arguments).value);
}

TEST_P(IdentityRules, EveryInterfaceIsSafeForUntrustedCallersAndData)
{
    const ComPtr<IObjectSafety> safety = Safety();
    for (const IID& iid : m_interfaces) {
        DWORD supported = 0, enabled = 0;
        EXPECT_EQ(S_OK, safety->GetInterfaceSafetyOptions(iid, &supported, &enabled));
        EXPECT_EQ(3u, supported);
        EXPECT_EQ(3u, enabled);
    }
}

TEST_P(IdentityRules, SafetyOfALackingInterfaceIsRefused)
{
    const ComPtr<IObjectSafety> safety = Safety();
    for (const IID& iid : kLacking) {
        DWORD supported = 7, enabled = 7;
        EXPECT_EQ(E_NOINTERFACE, safety->GetInterfaceSafetyOptions(iid, &supported, &enabled));
        EXPECT_EQ(0u, supported);
        EXPECT_EQ(0u, enabled);
        EXPECT_EQ(E_NOINTERFACE, safety->SetInterfaceSafetyOptions(iid, 1, 1));
        EXPECT_EQ(E_NOINTERFACE, safety->SetInterfaceSafetyOptions(iid, 0x80, 0x80));
    }
}

TEST_P(IdentityRules, SafetyWithoutRoomForTheAnswerIsRefused)
{
    const ComPtr<IObjectSafety> safety = Safety();
    DWORD room = 7;
    EXPECT_EQ(E_POINTER, safety->GetInterfaceSafetyOptions(IID_IDispatch, nullptr, &room));
    EXPECT_EQ(E_POINTER, safety->GetInterfaceSafetyOptions(IID_IDispatch, &room, nullptr));
    EXPECT_EQ(E_POINTER, safety->GetInterfaceSafetyOptions(kLacking[0], nullptr, nullptr));
}

TEST_P(IdentityRules, SafetyOptionsAreSetByMaskAndUnknownOnesRefusedWhole)
{
    struct Row {
        DWORD mask, options;
        HRESULT result;
        DWORD enabledAfter;
    };
    const Row rows[] = {
        {0, 0, S_OK, 3},   {0, 3, S_OK, 3},   {1, 1, S_OK, 3},
        {2, 2, S_OK, 3},   {3, 3, S_OK, 3},   {1, 0, S_OK, 2},
        {1, 1, S_OK, 3},   {2, 0, S_OK, 1},   {2, 0xFF, S_OK, 3},
        {4, 4, E_FAIL, 3}, {4, 0, E_FAIL, 3}, {7, 0, E_FAIL, 3},
        {8, 8, E_FAIL, 3}, {3, 0, S_OK, 0},   {0x80000001, 1, E_FAIL, 0},
        {3, 3, S_OK, 3},
    };
    const ComPtr<IObjectSafety> safety = Safety();
    for (const Row& row : rows) {
        EXPECT_EQ(row.result, safety->SetInterfaceSafetyOptions(IID_IDispatch, row.mask, row.options))
            << row.mask << " " << row.options;
        DWORD supported = 0, enabled = 7;
        EXPECT_EQ(S_OK, safety->GetInterfaceSafetyOptions(IID_IDispatch, &supported, &enabled));
        EXPECT_EQ(3u, supported);
        EXPECT_EQ(row.enabledAfter, enabled) << row.mask << " " << row.options;
    }
}

INSTANTIATE_TEST_SUITE_P(, IdentityRules,
                         testing::Combine(testing::ValuesIn(kSharedClasses),
                                          testing::Values(Made::Plain, Made::Aggregated)),
                         [](const auto& made) {
                             return std::string(std::get<0>(made.param)->tested.name) +
                                    (std::get<1>(made.param) == Made::Plain ? "Plain" : "Aggregated");
                         });

class IdentityAggregated : public OnEachClass {};

TEST_P(IdentityAggregated, ThePartHasAnIdentityOfItsOwnForItsOwnerAlone)
{
    Owner owner;
    ASSERT_EQ(S_OK, owner.Take(*dll, Shared().tested.clsid));
    EXPECT_NE(static_cast<IUnknown*>(&owner), owner.Inner());
    ComPtr<IUnknown> own;
    EXPECT_EQ(S_OK, owner.Inner()->QueryInterface(IID_IUnknown, own.putVoid()));
    EXPECT_EQ(owner.Inner(), own.Get());
    EXPECT_EQ(1, owner.References()) << "the owner must not be held by its part";
}

TEST_P(IdentityAggregated, AnOwnerMustTakeTheIdentityFirst)
{
    Owner owner;
    for (const IID& iid : {IID_IDispatch, Shared().iid, IID_IObjectSafety, kLacking[0]}) {
        void* part = this;
        EXPECT_EQ(CLASS_E_NOAGGREGATION, dll->Create(Shared().tested.clsid, iid, &part, &owner));
        EXPECT_EQ(nullptr, part);
    }
    EXPECT_EQ(0, backend->ControlsMade()) << "refused before anything is made";
    EXPECT_EQ(1, owner.References());
}

TEST_P(IdentityAggregated, APartThatCannotBeMadeLeavesItsOwnerAlone)
{
    backend->Unregister();
    Owner owner;
    EXPECT_EQ(E_FAIL, owner.Take(*dll, Shared().tested.clsid));
    EXPECT_EQ(nullptr, owner.Inner());
    EXPECT_EQ(1, owner.References());
}

TEST_P(IdentityAggregated, ThePartGoesWithItsOwnerToTheLine)
{
    auto owner = std::make_unique<Owner>();
    ASSERT_EQ(S_OK, owner->Take(*dll, Shared().tested.clsid));
    EXPECT_EQ(S_FALSE, dll->CanUnloadNow());
    log->Take();
    owner.reset();
    EXPECT_EQ(S_OK, dll->CanUnloadNow());
    const std::vector<LogRecord> records = log->Take();
    ASSERT_EQ(5u, records.size());
    EXPECT_EQ(ClassName() + "::FinalRelease starting...", records.front().message);
    EXPECT_EQ(ClassName() + "::FinalRelease ending ok...", records.back().message);
}

KZR_ON_EACH_CLASS(IdentityAggregated);

}  // namespace
}  // namespace kzr::test
