// The module's class objects, and the one count that keeps it loaded.
#include <memory>

#include "component/FrameClasses.h"
#include "support/BackendControl.h"

namespace kzr::test {
namespace {

const CLSID* const kHandedOut[] = {&kCertificate.clsid, &kCrypto.clsid,  &kDeviceMgr.clsid,
                                   &kUtil.clsid,        &kControl.clsid, &kPropertyPage};
const CLSID kNobodys = {0x5D343B47, 0xFDD0, 0x4802, {0x93, 0x0B, 0xEA, 0xDD, 0xA0, 0xCE, 0x37, 0xD8}};

class ModuleGate : public ComponentTest {
  protected:
    ComPtr<IClassFactory> Factory(REFCLSID clsid)
    {
        ComPtr<IClassFactory> factory;
        EXPECT_EQ(S_OK, dll->GetClassObject(clsid, IID_IClassFactory, factory.putVoid()));
        return factory;
    }

    // The gate stands open, and the module goes when it is let go.
    void ExpectUnload()
    {
        EXPECT_EQ(S_OK, dll->CanUnloadNow());
        dll->Unload();
        EXPECT_EQ(nullptr, GetModuleHandleW(L"KzrSecX_x64.dll"));
        dll->Load();
    }
};

TEST_F(ModuleGate, AllSixClassesHaveAClassObject)
{
    for (const CLSID* clsid : kHandedOut) {
        for (const IID& iid : {IID_IUnknown, IID_IClassFactory}) {
            ComPtr<IUnknown> found;
            EXPECT_EQ(S_OK, dll->GetClassObject(*clsid, iid, found.putVoid()));
            ASSERT_TRUE(found);
            ComPtr<IClassFactory> factory;
            EXPECT_EQ(S_OK, found->QueryInterface(IID_IClassFactory, factory.putVoid()));
            ComPtr<IUnknown> identity;
            EXPECT_EQ(S_OK, factory->QueryInterface(IID_IUnknown, identity.putVoid()));
            ComPtr<IUnknown> again;
            EXPECT_EQ(S_OK, found->QueryInterface(IID_IUnknown, again.putVoid()));
            EXPECT_EQ(identity.Get(), again.Get());
            void* lacking = this;
            EXPECT_EQ(E_NOINTERFACE, factory->QueryInterface(IID_IDispatch, &lacking));
            EXPECT_EQ(nullptr, lacking);
            EXPECT_EQ(E_POINTER, factory->QueryInterface(IID_IUnknown, nullptr));
        }
    }
    ExpectUnload();
}

TEST_F(ModuleGate, AnUnknownClassIsNotAvailable)
{
    for (const CLSID& clsid : {kNobodys, kBackendClass, CLSID{}}) {
        for (const IID& iid : {IID_IUnknown, IID_IClassFactory, IID_IDispatch}) {
            void* found = this;
            EXPECT_EQ(CLASS_E_CLASSNOTAVAILABLE, dll->GetClassObject(clsid, iid, &found));
            EXPECT_EQ(nullptr, found);
        }
    }
    ExpectUnload();
}

TEST_F(ModuleGate, AClassObjectHasNoOtherInterface)
{
    for (const CLSID* clsid : kHandedOut) {
        void* found = this;
        EXPECT_EQ(E_NOINTERFACE, dll->GetClassObject(*clsid, IID_IDispatch, &found));
        EXPECT_EQ(nullptr, found);
        EXPECT_EQ(E_POINTER, dll->GetClassObject(*clsid, IID_IClassFactory, nullptr));
    }
    EXPECT_EQ(E_POINTER, dll->GetClassObject(kNobodys, IID_IUnknown, nullptr));
    ExpectUnload();
}

TEST_F(ModuleGate, ACreationWithoutRoomForTheObjectIsRefused)
{
    for (const CLSID* clsid : kHandedOut)
        EXPECT_EQ(E_POINTER, Factory(*clsid)->CreateInstance(nullptr, IID_IUnknown, nullptr));
    EXPECT_EQ(0, backend->ControlsMade());
    ExpectUnload();
}

TEST_F(ModuleGate, LoadingMakesNothingAndWritesNothing)
{
    backend->ForgetCalls();
    log->Take();
    Reload();
    EXPECT_TRUE(log->TakeBytes().empty());
    EXPECT_TRUE(backend->AllCalls().empty());
    for (const CLSID* clsid : kHandedOut) Factory(*clsid);
    EXPECT_EQ(0, backend->ControlsMade()) << "a class object is no object";
    EXPECT_TRUE(log->TakeBytes().empty());
}

TEST_F(ModuleGate, AClassObjectKeepsTheModule)
{
    EXPECT_EQ(S_OK, dll->CanUnloadNow());
    for (const CLSID* clsid : kHandedOut) {
        {
            const ComPtr<IClassFactory> factory = Factory(*clsid);
            EXPECT_EQ(S_FALSE, dll->CanUnloadNow());
            const ComPtr<IClassFactory> second = Factory(*clsid);
            EXPECT_EQ(S_FALSE, dll->CanUnloadNow());
        }
        ExpectUnload();
    }
}

TEST_F(ModuleGate, ALockKeepsTheModuleBeyondItsClassObject)
{
    for (const CLSID* clsid : kHandedOut) {
        ComPtr<IClassFactory> factory = Factory(*clsid);
        EXPECT_EQ(S_OK, factory->LockServer(TRUE));
        EXPECT_EQ(S_OK, factory->LockServer(TRUE));
        factory = nullptr;
        EXPECT_EQ(S_FALSE, dll->CanUnloadNow());
        // Any other one may give the lock back.
        EXPECT_EQ(S_OK, Factory(kUtil.clsid)->LockServer(FALSE));
        EXPECT_EQ(S_FALSE, dll->CanUnloadNow());
        EXPECT_EQ(S_OK, Factory(*clsid)->LockServer(FALSE));
        ExpectUnload();
    }
}

TEST_F(ModuleGate, AnUnlockTooManyTakesNothingFromALiveObject)
{
    ComPtr<IDispatch> object = Make(kUtil);
    EXPECT_EQ(S_OK, Factory(kUtil.clsid)->LockServer(FALSE));
    EXPECT_EQ(S_OK, Factory(kUtil.clsid)->LockServer(FALSE));
    object = nullptr;
    const ComPtr<IClassFactory> factory = Factory(kUtil.clsid);
    EXPECT_EQ(S_FALSE, dll->CanUnloadNow());
}

TEST_F(ModuleGate, AnObjectKeepsTheModuleUntilItsLastReferenceGoes)
{
    for (const SharedClass* shared : kSharedClasses) {
        ComPtr<IDispatch> object = Make(shared->tested);
        EXPECT_EQ(S_FALSE, dll->CanUnloadNow());
        ComPtr<IDispatch> second = Make(shared->tested);
        object = nullptr;
        EXPECT_EQ(S_FALSE, dll->CanUnloadNow());
        ComPtr<IUnknown> other;
        EXPECT_EQ(S_OK, second->QueryInterface(shared->iid, other.putVoid()));
        second = nullptr;
        EXPECT_EQ(S_FALSE, dll->CanUnloadNow());
        other = nullptr;
        ExpectUnload();
    }
}

TEST_F(ModuleGate, ASiteThatTheBackendKeepsKeepsTheModule)
{
    backend->keepsSite = true;
    Make(kUtil);
    EXPECT_EQ(S_FALSE, dll->CanUnloadNow());
    backend->LetGo();
    ExpectUnload();
}

TEST_F(ModuleGate, ASinkThatTheBackendKeepsKeepsTheModule)
{
    backend->keepsSink = true;
    Make(kUtil);
    EXPECT_EQ(S_FALSE, dll->CanUnloadNow());
    // It may still raise an event; nobody listens.
    ASSERT_TRUE(backend->Sink());
    backend->FireEvent();
    backend->LetGo();
    ExpectUnload();
}

TEST_F(ModuleGate, AFailedCreationKeepsNothing)
{
    for (const SharedClass* shared : kSharedClasses) {
        void* object = nullptr;
        for (const Step step : {Step::CreateInstance, Step::QueryOleObject, Step::Advise}) {
            backend->At(step).Fails(E_ACCESSDENIED);
            EXPECT_EQ(E_FAIL, dll->Create(shared->tested.clsid, IID_IDispatch, &object));
            backend->At(step).Fails(S_OK);
            ExpectUnload();
        }
    }
}

TEST_F(ModuleGate, AModuleThatCaughtAFaultUnloads)
{
    allowFatalErrors = true;
    for (const FaultKind kind : kAllFaults) {
        SCOPED_TRACE(NameOf(kind));
        {
            const ComPtr<IDispatch> util = Make(kUtil);
            backend->Allow(L"SOF_Base64Encode", Faults(kind));
            EXPECT_EQ(S_OK, Call(util.Get(), DISPID{1}, {L"x"}).result);
        }
        ExpectUnload();
    }
}

TEST_F(ModuleGate, TheCacheLivesAsLongAsTheModule)
{
    const auto keyOf = [&] {
        const ComPtr<IDispatch> crypto = Make(kCrypto);
        backend->ForgetCalls();
        backend->Allow(L"SOF_SignData", L"signature");
        Call(crypto.Get(), DISPID{5}, {L"text", L"c1"});
        return backend->Calls().empty() ? L"(no call)" : backend->Calls().back().arguments[0].AsText();
    };
    backend->SetUsers(DefaultUsers());
    Make(kUtil);
    backend->SetUserList(L"");
    EXPECT_EQ(L"c1/SN01", keyOf()) << "beyond the objects that filled it";
    ExpectUnload();
    EXPECT_EQ(L"", keyOf()) << "a module that is loaded anew begins with an empty one";
}

}  // namespace
}  // namespace kzr::test
