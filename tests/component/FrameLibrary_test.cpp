// A module that has lost its type library: what every question answers, and that the next one tries again.
#include "com/Handles.h"
#include "component/FrameClasses.h"

namespace kzr::test {
namespace {

const GUID kLibrary = {0xB006C93F, 0x3057, 0x4F95, {0x81, 0x84, 0x93, 0x82, 0x03, 0x5E, 0x26, 0xFB}};

// Gives the library in a copy of the module another resource type, under which nobody looks for it. Type
// names stand in the file with their length before them.
bool HideLibrary(const std::wstring& path)
{
    const std::string from("\7\0T\0Y\0P\0E\0L\0I\0B\0", 16), to("\7\0T\0Y\0P\0E\0L\0I\0X\0", 16);
    std::string bytes = ReadWholeFile(path);
    const std::size_t place = bytes.find(from);
    if (place == std::string::npos || bytes.find(from, place + 1) != std::string::npos) return false;
    bytes.replace(place, to.size(), to);
    const UniqueFile file(CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
    DWORD written = 0;
    return file && WriteFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) &&
           written == bytes.size();
}

class FrameLibrary : public OnEachClass {
  protected:
    void SetUp() override
    {
        ComponentTest::SetUp();
        ComPtr<ITypeLib> library;
        m_notRegistered = LoadRegTypeLib(kLibrary, 1, 0, LOCALE_USER_DEFAULT, library.put());
        ASSERT_TRUE(FAILED(m_notRegistered)) << "the library is registered; this test needs that it is not";
        const std::wstring& copy = m_copy.Path();
        ASSERT_TRUE(HideLibrary(copy));
        ASSERT_TRUE(FAILED(LoadTypeLibEx(copy.c_str(), REGKIND_NONE, library.put())));
        UseDll(copy);
        ASSERT_TRUE(*dll);
        backend->SetUsers(DefaultUsers());
    }
    void TearDown() override
    {
        Unregister();
        ComponentTest::TearDown();
    }

    void Register()
    {
        ComPtr<ITypeLib> library;
        std::wstring path = DllPath();
        ASSERT_EQ(S_OK, LoadTypeLibEx(path.c_str(), REGKIND_NONE, library.put()));
        ASSERT_EQ(S_OK, RegisterTypeLib(library.Get(), path.data(), nullptr));
        m_registered = true;
    }
    void Unregister()
    {
        if (m_registered) UnRegisterTypeLib(kLibrary, 1, 0, LANG_NEUTRAL, SYS_WIN64);
        m_registered = false;
    }

    HRESULT LookUp(IDispatch* object, DISPID& id) { return Member(Shared().method).Find(object, id); }

    HRESULT m_notRegistered = S_OK;

  private:
    const DllCopy m_copy;
    bool m_registered = false;
};

TEST_P(FrameLibrary, GoneAnswersWithTheLoadersResult)
{
    const ComPtr<IDispatch> object = MakeOne();
    ASSERT_TRUE(object) << "creation needs no library";
    log->Take();
    for (int time = 1; time <= 2; ++time) {
        DISPID id = 0;
        EXPECT_EQ(m_notRegistered, LookUp(object.Get(), id));
        EXPECT_EQ(m_notRegistered, Call(object.Get(), Shared().id, Shared().arguments).result);
        auto* info = reinterpret_cast<ITypeInfo*>(this);
        EXPECT_EQ(m_notRegistered, object->GetTypeInfo(0, LOCALE_USER_DEFAULT, &info));
        EXPECT_EQ(nullptr, info);
        UINT count = 0;
        EXPECT_EQ(S_OK, object->GetTypeInfoCount(&count));
        EXPECT_EQ(1u, count);
    }
    EXPECT_TRUE(log->Take().empty()) << "no method ran, and nothing was caught";
}

TEST_P(FrameLibrary, GoneLeavesTheVtableAtWork)
{
    const ComPtr<IDispatch> object = MakeOne();
    backend->Expect(Shared().backendMethod, Shared().backendArguments, Shared().backendAnswer);
    EXPECT_EQ(Shared().answer, Shared().direct(object.Get(), Shared().arguments).value);
}

TEST_P(FrameLibrary, ComeBackIsFoundByTheSameObject)
{
    const ComPtr<IDispatch> object = MakeOne();
    DISPID id = 0;
    EXPECT_EQ(m_notRegistered, LookUp(object.Get(), id));
    Register();
    EXPECT_EQ(S_OK, LookUp(object.Get(), id));
    EXPECT_EQ(Shared().id, id);
    backend->Expect(Shared().backendMethod, Shared().backendArguments, Shared().backendAnswer);
    EXPECT_EQ(Shared().answer, Call(object.Get(), Shared().id, Shared().arguments).value);
    // Loaded once: its going away is not noticed any more.
    Unregister();
    EXPECT_EQ(S_OK, LookUp(object.Get(), id));
}

KZR_ON_EACH_CLASS(FrameLibrary);

}  // namespace
}  // namespace kzr::test
