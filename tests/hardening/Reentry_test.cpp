// What a backend lets in while it works, in every forwarding method: calls, creations, the end of the last
// object, a rebuild of the cache, an attempt to unload.
#include <functional>
#include <map>

#include "Area.h"
#include "Forwarders.h"
#include "Methods.h"
#include "OtherThread.h"
#include "Watchdog.h"

namespace kzr::test {
namespace {

class Reentry : public QuietTest {
  public:
    // Runs it once inside the backend call of every forwarding method, on a new object, whose answer must be
    // the good one all the same. The object is the only one that lives.
    void InsideEveryMethod(
        const std::function<void(ComPtr<IDispatch>& object, const Forwarder& each)>& inside)
    {
        Watchdog watchdog(kPatience);
        for (const Forwarder& each : Forwarders()) {
            watchdog.Beat(each.made->name);
            LoadCertificate();
            ComPtr<IDispatch> object = Make(*each.made);
            if (each.made == &kControl) Call(object.Get(), L"getUserList");
            DISPID id = 0;
            ASSERT_EQ(S_OK, Member(each.method).Find(object.Get(), id));
            const Answer good = GoodAnswerOf(each);
            int runs = 0;
            backend->Allow(each.backend, good.Running([&] {
                // Once: what runs inside may come here again.
                if (runs++ == 0) inside(object, each);
            }));
            // The caller's own reference may go inside.
            IDispatch* const raw = object.Get();
            const CallResult called = Call(raw, id, each.arguments);
            EXPECT_EQ(S_OK, called.result) << each.Name();
            if (each.turns != Turns::Days) {
                EXPECT_EQ(each.good, called.value) << each.Name();
            }
            EXPECT_LE(1, runs) << each.Name();
            object.Reset();
            backend->ForgetEverything();
            AnswerEverything(*backend);
            EXPECT_EQ(S_OK, dll->CanUnloadNow()) << each.Name();
            EXPECT_EQ(0, backend->LiveControls()) << each.Name();
            ++rounds;
        }
        Did("re-entry", rounds, "calls within calls");
    }

    long long rounds = 0;

  private:
    void LoadCertificate()
    {
        const ComPtr<IDispatch> certificate = Make(kCertificate);
        ASSERT_EQ(I2(0), Call(certificate.Get(), DISPID{1}, {L"MIIB", I2(1), L""}).value);
    }

    // What AnswerEverything has for that call.
    Answer GoodAnswerOf(const Forwarder& each)
    {
        const std::wstring_view name(each.backend);
        if (name == L"SOF_GetUserList") return Value(UserListOf(DefaultUsers()));
        if (name == L"GetAllDeviceSN") return L"SN01;SN02;";
        if (name == L"GetDeviceInfo") return L"fact";
        if (name == L"SOF_GetPinRetryCount") return I4(7);
        if (name == L"SOF_ValidateCert" || name == L"SOF_SetEncryptMethod") return I4(0);
        if (name == L"SOF_GetEncryptMethod") return I4(2049);
        if (each.turns == Turns::YesNo || each.turns == Turns::Verdict || each.turns == Turns::Success ||
            each.turns == Turns::Ignored)
            return Bool(true);
        return L"20300405101112Z";
    }
};

TEST_F(Reentry, TheSameMethodMayBeCalledAgain)
{
    InsideEveryMethod([&](ComPtr<IDispatch>& object, const Forwarder& each) {
        EXPECT_EQ(S_OK, Call(object.Get(), each.method, each.arguments).result) << each.Name();
    });
}

TEST_F(Reentry, ObjectsOfEveryClassMayComeAndGo)
{
    InsideEveryMethod([&](ComPtr<IDispatch>&, const Forwarder& each) {
        for (const ScriptedClass* const made : kScriptedClasses)
            EXPECT_TRUE(Make(*made)) << made->name << " inside " << each.Name();
    });
}

TEST_F(Reentry, TheLastObjectMayGo)
{
    InsideEveryMethod([&](ComPtr<IDispatch>& object, const Forwarder& each) {
        object.Reset();
        EXPECT_EQ(S_FALSE, dll->CanUnloadNow()) << "the call is still under way in " << each.Name();
    });
}

TEST_F(Reentry, TheLastObjectMayGoAndAnotherCome)
{
    InsideEveryMethod([&](ComPtr<IDispatch>& object, const Forwarder& each) {
        object.Reset();
        EXPECT_TRUE(Make(kUtil)) << each.Name();
        EXPECT_EQ(S_FALSE, dll->CanUnloadNow());
    });
}

TEST_F(Reentry, TheCacheMayBeRebuiltAndRead)
{
    InsideEveryMethod([&](ComPtr<IDispatch>&, const Forwarder& each) {
        const ComPtr<IDispatch> control = Make(kControl);
        EXPECT_EQ(Value(L"Alice||c1&&&Bob||c2&&&"), Call(control.Get(), L"getUserList").value) << each.Name();
        const ComPtr<IDispatch> device = Make(kDeviceMgr);
        EXPECT_EQ(Value(L"SN01"), Call(device.Get(), L"getKeySNEx", {L"c1", L""}).value) << each.Name();
    });
}

TEST_F(Reentry, TheModuleDoesNotUnloadUnderACall)
{
    InsideEveryMethod([&](ComPtr<IDispatch>&, const Forwarder& each) {
        EXPECT_EQ(S_FALSE, dll->CanUnloadNow()) << each.Name();
        ComPtr<IClassFactory> factory;
        EXPECT_EQ(S_OK, dll->GetClassObject(kCrypto.clsid, IID_IClassFactory, factory.putVoid()));
        // A lock given back that nobody took must not free what is in use.
        EXPECT_EQ(S_OK, factory->LockServer(FALSE));
        EXPECT_EQ(S_FALSE, dll->CanUnloadNow()) << each.Name();
    });
}

}  // namespace
}  // namespace kzr::test
