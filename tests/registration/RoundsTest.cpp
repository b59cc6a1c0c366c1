// Registering over and over, from paths at the edges of what a path may be, and with a registry that cannot
// be written.
#include <cstdio>

#include "registration/CleanRegistry.h"
#include "support/Rounds.h"

namespace kzr::test {
namespace {

class RegistrationRounds : public CleanRegistry {};

TEST_F(RegistrationRounds, EachLeavesExactlyTheKeysOfTheList)
{
    const std::wstring path = DllPath();
    const int rounds = Rounds(20, 200);
    for (int i = 0; i < rounds; ++i) {
        const ServerModule server(path);
        ASSERT_EQ(S_OK, server.Register()) << i;
        ASSERT_EQ("", DifferenceFrom(GoldenKeys(path))) << i;
        ASSERT_EQ(S_OK, server.Unregister()) << i;
        ASSERT_EQ("", DifferenceFrom(GoldenRemains())) << i;
    }
    std::printf("did: registration: %d cycles\n", rounds);
}

// Each round above stands on this comparison, so it must see whatever can be wrong.
TEST_F(RegistrationRounds, WhatIsMissingChangedOrTooMuchIsFound)
{
    const std::wstring path = DllPath();
    const ServerModule server(path);
    ASSERT_EQ(S_OK, server.Register());
    const std::wstring key = L"CLSID\\{565B8FB4-EE30-4EE3-9B5B-E285678F1F9D}";
    const std::wstring version = key + L"\\Version", control = key + L"\\Control",
                       foreign = key + L"\\Foreign";
    ASSERT_EQ("", DifferenceFrom(GoldenKeys(path)));
    const auto expectFound = [&](const std::string& line) {
        EXPECT_EQ(line, DifferenceFrom(GoldenKeys(path)));
    };
    const std::string own = "\\clsid\\{565b8fb4-ee30-4ee3-9b5b-e285678f1f9d}\\";

    ASSERT_EQ(ERROR_SUCCESS, RegDeleteKeyValueW(HKEY_CLASSES_ROOT, version.c_str(), L""));
    expectFound("missing  " + own + "version|  sz:1.0\n");
    WriteText(version, L"", L"1.1");
    expectFound("differs  " + own + "version|\n    expected sz:1.0\n    is       sz:1.1\n");
    WriteText(version, L"", L"1.0");
    WriteText(version, L"foreign", L"text");
    expectFound("too much " + own + "version|foreign  sz:text\n");
    ASSERT_EQ(ERROR_SUCCESS, RegDeleteKeyValueW(HKEY_CLASSES_ROOT, version.c_str(), L"foreign"));
    EXPECT_EQ("", DifferenceFrom(GoldenKeys(path))) << "the values are as they were";

    ASSERT_EQ(ERROR_SUCCESS, RegDeleteKeyW(HKEY_CLASSES_ROOT, control.c_str()));
    expectFound("missing  " + own + "control  \n");
    for (const std::wstring& made : {control, foreign}) {
        UniqueHkey ignored;
        ASSERT_EQ(ERROR_SUCCESS, RegCreateKeyW(HKEY_CLASSES_ROOT, made.c_str(), ignored.put()));
    }
    expectFound("too much " + own + "foreign  \n");
    ASSERT_EQ(ERROR_SUCCESS, RegDeleteKeyW(HKEY_CLASSES_ROOT, foreign.c_str()));
    EXPECT_EQ("", DifferenceFrom(GoldenKeys(path))) << "the keys are as they were";
}

// Nested folders below this one, so deep that the path of the DLL in them is exactly this long.
std::wstring DeepBelow(const std::wstring& folder, std::size_t length)
{
    std::wstring deep = folder;
    const std::size_t name = std::wstring(L"KzrSecX_x64.dll").size();
    while (deep.size() + name < length) {
        const std::size_t missing = length - name - deep.size();
        // Never one character alone to be filled at the end: a folder needs two.
        const std::size_t part = missing > 60 ? 50 : missing;
        deep += std::wstring(part - 1, L'd') + L"\\";
    }
    return deep;
}

class DeepCopy {
  public:
    explicit DeepCopy(std::size_t length) : m_path(CopyDllTo(DeepBelow(m_folder.Path(), length))) {}
    const std::wstring& Path() const { return m_path; }

  private:
    const TempFolder m_folder;
    const std::wstring m_path;
};

class RegistrationFromDeepFolder : public CleanRegistry, public testing::WithParamInterface<int> {};

TEST_P(RegistrationFromDeepFolder, ThePathRegistersWholeAndGoesAgain)
{
    const DeepCopy copy(static_cast<std::size_t>(GetParam()));
    ASSERT_EQ(static_cast<std::size_t>(GetParam()), copy.Path().size());
    const ServerModule server(copy.Path());
    EXPECT_EQ(S_OK, server.Register());
    EXPECT_EQ("", DifferenceFrom(GoldenKeys(copy.Path())));
    EXPECT_EQ(S_OK, server.Unregister());
    EXPECT_EQ("", DifferenceFrom(GoldenRemains()));
}

INSTANTIATE_TEST_SUITE_P(Lengths, RegistrationFromDeepFolder, testing::Values(200, 250));

TEST_F(RegistrationRounds, ADllThatWasMovedIsRegisteredAndUnregisteredFromItsNewPlace)
{
    const DeepCopy first(120), second(150);
    ASSERT_EQ(S_OK, ServerModule(first.Path()).Register());
    ASSERT_TRUE(DeleteFileW(first.Path().c_str())) << "the module is still loaded";
    const ServerModule moved(second.Path());
    EXPECT_EQ(S_OK, moved.Register());
    EXPECT_EQ("", DifferenceFrom(GoldenKeys(second.Path())));
    EXPECT_EQ(S_OK, moved.Unregister());
    EXPECT_EQ("", DifferenceFrom(GoldenRemains()));
}

// Some platforms open the library that is to be unregistered, at its old place.
TEST_F(RegistrationRounds, ADllThatWasMovedUnregistersWhatItsOldPlaceLeft)
{
    const int rounds = Rounds(1, 20);
    for (int i = 0; i < rounds; ++i) {
        const DeepCopy first(120), second(150);
        ASSERT_EQ(S_OK, ServerModule(first.Path()).Register());
        ASSERT_TRUE(DeleteFileW(first.Path().c_str()));
        const ServerModule moved(second.Path());
        EXPECT_EQ(S_OK, moved.Unregister());
        EXPECT_EQ("", DifferenceFrom(GoldenRemains()));
        EXPECT_EQ(S_OK, moved.Unregister()) << "once more, with nothing left to do";
        EXPECT_EQ("", DifferenceFrom(GoldenRemains()));
    }
    std::printf("did: registration: %d moves\n", rounds);
}

}  // namespace
}  // namespace kzr::test
