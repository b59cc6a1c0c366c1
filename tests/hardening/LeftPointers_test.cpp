// A backend that fails and leaves a pointer behind, where a failure leaves null: nobody's reference, whatever
// it points to.
#include <oleidl.h>

#include <atomic>

#include "QuietTest.h"
#include "control/Container.h"

namespace kzr::test {
namespace {

// Counts the references that are given back on it though none was given out.
class Bystander final : public IUnknown {
  public:
    virtual ~Bystander() = default;
    STDMETHODIMP QueryInterface(REFIID, void** object) override
    {
        *object = nullptr;
        return E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_references; }
    STDMETHODIMP_(ULONG) Release() override { return --m_references; }
    long References() const { return m_references; }

  private:
    std::atomic<long> m_references{1};
};

class LeftPointers : public QuietTest {
  public:
    void FailLeaving(void* left)
    {
        for (const Step step :
             {Step::CreateInstance, Step::QueryOleObject, Step::QueryContainer, Step::FindConnectionPoint}) {
            backend->At(step).Fails(E_FAIL).Leaves(left);
            ComPtr<IDispatch> object;
            EXPECT_EQ(E_FAIL, dll->Create(kCrypto.clsid, IID_IDispatch, object.putVoid()));
            EXPECT_FALSE(object);
            backend->At(step) = StepRule();
            EXPECT_EQ(S_OK, dll->CanUnloadNow());
            EXPECT_TRUE(Make(kCrypto));
        }
        EXPECT_EQ(0, backend->References());
    }
};

TEST_F(LeftPointers, ToAnObjectAreNotReleased)
{
    Bystander bystander;
    FailLeaving(static_cast<IUnknown*>(&bystander));
    EXPECT_EQ(1, bystander.References());
}

// A guard would hide the fault of a release there; none may happen.
TEST_F(LeftPointers, ToNowhereAreNotLookedAt)
{
    FailLeaving(reinterpret_cast<void*>(0x50));
    EXPECT_EQ(0, FaultCounter::Unplanned()) << FaultCounter::FirstUnplanned();
}

TEST_F(LeftPointers, AreIgnoredWhenTheConnectionEnds)
{
    Bystander bystander;
    for (const Step step : {Step::QueryContainer, Step::FindConnectionPoint}) {
        for (void* const left :
             {static_cast<void*>(static_cast<IUnknown*>(&bystander)), reinterpret_cast<void*>(0x50)}) {
            ComPtr<IDispatch> crypto = Make(kCrypto);
            backend->At(step).Fails(E_FAIL).Leaves(left);
            crypto.Reset();
            backend->At(step) = StepRule();
            EXPECT_EQ(0, backend->LiveControls());
            EXPECT_EQ(S_OK, dll->CanUnloadNow());
        }
    }
    EXPECT_EQ(1, bystander.References());
}

// The same of a container, in the middle of an activation.
TEST_F(LeftPointers, OfAContainerAreNotReleased)
{
    TopWindow top;
    Container container;
    container.window = top.Get();
    container.answers["GetWindowContext"] = E_FAIL;
    Bystander bystander;
    for (void* const left :
         {static_cast<void*>(static_cast<IUnknown*>(&bystander)), reinterpret_cast<void*>(0x50)}) {
        container.leftFrame = static_cast<IOleInPlaceFrame*>(left);
        ComPtr<IOleObject> control;
        ASSERT_EQ(S_OK, dll->Create(kControl.clsid, IID_IOleObject, control.putVoid()));
        EXPECT_EQ(S_OK, control->SetClientSite(container.Site()));
        EXPECT_EQ(E_FAIL, control->DoVerb(OLEIVERB_INPLACEACTIVATE, nullptr, container.Site(), 0, top.Get(),
                                          nullptr));
        EXPECT_EQ(S_OK, control->SetClientSite(nullptr));
        container.Take();
    }
    EXPECT_EQ(1, bystander.References());
}

}  // namespace
}  // namespace kzr::test
