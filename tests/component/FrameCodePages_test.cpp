// The user list under other code pages: what the page can express survives the way through narrow text.
#include "component/FrameClasses.h"

namespace kzr::test {
namespace {

class FrameCodePage : public ComponentTest {
  protected:
    // The identifier that the backend gets for a container of a list that a new object has just read.
    std::wstring KeyAfter(const wchar_t* list, const wchar_t* container)
    {
        backend->SetUserList(list);
        backend->Allow(L"GetDeviceInfo", L"x");
        backend->Allow(L"SOF_SignData", L"signature");
        const ComPtr<IDispatch> crypto = Make(kCrypto);
        backend->ForgetCalls();
        Call(crypto.Get(), DISPID{5}, {L"text", container});
        const std::vector<RecordedCall> calls = backend->Calls();
        return calls.empty() ? L"(no call)" : calls[0].arguments[0].AsText();
    }
};

using CodePage936Frame = FrameCodePage;

TEST_F(CodePage936Frame, ChineseNamesSurvive)
{
    ASSERT_EQ(936u, GetACP());
    EXPECT_EQ(L"\u5bb9\u5668/\u5e8f\u52171",
              KeyAfter(L"\u7528\u6237||\u5bb9\u5668/\u5e8f\u52171&&&", L"\u5bb9\u5668"));
}

TEST_F(CodePage936Frame, NamesThatThePageLacksAreLost)
{
    ASSERT_EQ(936u, GetACP());
    EXPECT_EQ(L"", KeyAfter(L"Alice||c\u0e01/SN01&&&", L"c\u0e01"));
    EXPECT_EQ(L"c?/SN01", KeyAfter(L"Alice||c\u0e01/SN01&&&", L"c?"));
}

// A trailing byte of this page may look like a separator; the text is parted as characters.
TEST_F(CodePage936Frame, ATrailingByteIsNoSeparator)
{
    ASSERT_EQ(936u, GetACP());
    // Two bytes each, the second 0x7C, which alone is "|".
    EXPECT_EQ(L"c\u4e86/SN01", KeyAfter(L"\u5521\u5521||c\u4e86/SN01&&&", L"c\u4e86"));
}

using CodePage65001Frame = FrameCodePage;

TEST_F(CodePage65001Frame, EveryNameSurvives)
{
    ASSERT_EQ(65001u, GetACP());
    EXPECT_EQ(L"c\u0e01\u5bb9\u00e9/SN\u03b1",
              KeyAfter(L"\u7528||c\u0e01\u5bb9\u00e9/SN\u03b1&&&", L"c\u0e01\u5bb9\u00e9"));
}

}  // namespace
}  // namespace kzr::test
