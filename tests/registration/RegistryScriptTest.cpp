// The script language itself, run against a root of the test's own in place of HKEY_CLASSES_ROOT.
#include "frame/RegistryScript.h"

#include <gtest/gtest.h>

#include <vector>

#include "registration/Registry.h"

namespace kzr::test {
namespace {

constexpr wchar_t kRoot[] = L"Software\\KzrSecXScriptTest";
constexpr HRESULT kBadScript = HRESULT_FROM_WIN32(ERROR_INVALID_DATA);

class RegistryScript : public testing::Test {
  protected:
    void SetUp() override
    {
        RegDeleteTreeW(HKEY_CURRENT_USER, kRoot);
        ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, kRoot, 0, nullptr, 0, KEY_READ | KEY_WRITE, nullptr,
                                  m_root.put(), nullptr),
                  ERROR_SUCCESS);
        ASSERT_EQ(RegOverridePredefKey(HKEY_CLASSES_ROOT, m_root.Get()), ERROR_SUCCESS);
    }
    void TearDown() override
    {
        RegOverridePredefKey(HKEY_CLASSES_ROOT, nullptr);
        RegDeleteTreeW(HKEY_CURRENT_USER, kRoot);
    }

    HRESULT Register(std::wstring_view script) const
    {
        return RunRegistryScript(script, m_replacements, Direction::Register);
    }
    HRESULT Unregister(std::wstring_view script) const
    {
        return RunRegistryScript(script, m_replacements, Direction::Unregister);
    }
    // What stands under the root, which itself is left out.
    Snapshot Standing() const
    {
        Snapshot snapshot = SnapshotOf(HKEY_CURRENT_USER, kRoot);
        snapshot.erase(L"");
        return snapshot;
    }

    UniqueHkey m_root;
    std::vector<Replacement> m_replacements;
};

TEST_F(RegistryScript, KeysTextsNumbersAndNamedValuesAreWritten)
{
    EXPECT_EQ(Register(L"HKCR { One = s 'text' { val Name = s 'named' val Count = d '42' Two } }"), S_OK);
    const Snapshot expected = {
        {L"\\one", L""},
        {L"\\one|", L"sz:text"},
        {L"\\one|name", L"sz:named"},
        {L"\\one|count", L"4:42,0,0,0,"},
        {L"\\one\\two", L""},
    };
    EXPECT_EQ(Difference(expected, Standing()), "");
}

TEST_F(RegistryScript, AKeyMayTakeANumberAsItsDefault)
{
    EXPECT_EQ(Register(L"HKCR { One = d '0x10' }"), S_OK);
    EXPECT_EQ(Difference({{L"\\one", L""}, {L"\\one|", L"4:16,0,0,0,"}}, Standing()), "");
}

TEST_F(RegistryScript, ADoubledQuoteIsAQuote)
{
    EXPECT_EQ(Register(L"HKCR { 'it''s' = s 'one''s ''own''' }"), S_OK);
    EXPECT_EQ(Difference({{L"\\it's", L""}, {L"\\it's|", L"sz:one's 'own'"}}, Standing()), "");
}

TEST_F(RegistryScript, QuotedWordsAreNamesWhateverTheyRead)
{
    EXPECT_EQ(Register(L"HKCR { 'NoRemove' { '}' '{' 'val' '=' = s '{' } }"), S_OK);
    const Snapshot expected = {
        {L"\\noremove", L""},      {L"\\noremove\\}", L""}, {L"\\noremove\\{", L""},
        {L"\\noremove\\val", L""}, {L"\\noremove\\=", L""}, {L"\\noremove\\=|", L"sz:{"},
    };
    EXPECT_EQ(Difference(expected, Standing()), "");
}

TEST_F(RegistryScript, KeywordsAreReadInAnyLetterCaseAndAnyLayout)
{
    EXPECT_EQ(Register(L"hkcr\r\n{\tNOREMOVE One\n{\nVAL Name\n=\nS\n'text'\n}\n}\r\n"), S_OK);
    EXPECT_EQ(Difference({{L"\\one", L""}, {L"\\one|name", L"sz:text"}}, Standing()), "");
}

TEST_F(RegistryScript, ABracedNameIsAName)
{
    EXPECT_EQ(Register(L"HKCR { {00000000-0000-0000-0000-000000000001} = s '{x}' }"), S_OK);
    EXPECT_EQ(TextValue(L"{00000000-0000-0000-0000-000000000001}", nullptr), L"{x}");
}

TEST_F(RegistryScript, AReplacementIsTakenAsItStands)
{
    m_replacements = {{L"MODULE", L"C:\\it's { %MODULE% } = s 'x' %%\\\u4E2D\u6587.dll"}};
    EXPECT_EQ(Register(L"HKCR { One = s '%MODULE%, 1' }"), S_OK);
    EXPECT_EQ(TextValue(L"One", nullptr), L"C:\\it's { %MODULE% } = s 'x' %%\\\u4E2D\u6587.dll, 1");
}

TEST_F(RegistryScript, AReplacementMayStandInANameToo)
{
    m_replacements = {{L"ID", L"{x y}"}};
    EXPECT_EQ(Register(L"HKCR { %ID% { val %ID% = s '%ID%%ID%' } }"), S_OK);
    EXPECT_EQ(TextValue(L"{x y}", L"{x y}"), L"{x y}{x y}");
}

TEST_F(RegistryScript, ADoubledPercentSignIsOne)
{
    EXPECT_EQ(Register(L"HKCR { One = s '100%% %%' }"), S_OK);
    EXPECT_EQ(TextValue(L"One", nullptr), L"100% %");
}

TEST_F(RegistryScript, RegisteringTwiceLeavesTheSame)
{
    const wchar_t script[] = L"HKCR { One = s 'text' { val Name = s 'named' ForceRemove Two = s 'x' } }";
    ASSERT_EQ(Register(script), S_OK);
    const Snapshot once = Standing();
    EXPECT_EQ(Register(script), S_OK);
    EXPECT_EQ(Difference(once, Standing()), "");
}

TEST_F(RegistryScript, RegisteringEmptiesAForceRemoveKeyFirst)
{
    WriteText(L"One\\Old", L"name", L"text");
    WriteText(L"One", L"old", L"text");
    EXPECT_EQ(Register(L"HKCR { ForceRemove One = s 'new' }"), S_OK);
    EXPECT_EQ(Difference({{L"\\one", L""}, {L"\\one|", L"sz:new"}}, Standing()), "");
}

TEST_F(RegistryScript, RegisteringLeavesOthersThingsInAllOtherKeys)
{
    WriteText(L"One\\Old", L"name", L"text");
    WriteText(L"Two\\Old", L"name", L"text");
    EXPECT_EQ(Register(L"HKCR { One = s 'new' NoRemove Two { Three } }"), S_OK);
    EXPECT_EQ(TextValue(L"One\\Old", L"name"), L"text");
    EXPECT_EQ(TextValue(L"Two\\Old", L"name"), L"text");
}

TEST_F(RegistryScript, UnregisteringRemovesAllThatRegisteringWrote)
{
    const wchar_t script[] =
        L"HKCR { One = s 'text' { val Name = s 'x' Two { Three } ForceRemove Four { Five } } }";
    ASSERT_EQ(Register(script), S_OK);
    EXPECT_EQ(Unregister(script), S_OK);
    EXPECT_EQ(Difference({}, Standing()), "");
}

TEST_F(RegistryScript, UnregisteringKeepsANoRemoveKeyAndEmptiesItOfOurs)
{
    const wchar_t script[] = L"HKCR { NoRemove One { Two = s 'x' val Name = s 'y' } }";
    WriteText(L"One", L"foreign", L"text");
    ASSERT_EQ(Register(script), S_OK);
    EXPECT_EQ(Unregister(script), S_OK);
    EXPECT_EQ(Difference({{L"\\one", L""}, {L"\\one|foreign", L"sz:text"}}, Standing()), "");
}

TEST_F(RegistryScript, UnregisteringTakesAForceRemoveKeyWithOthersKeysInIt)
{
    const wchar_t script[] = L"HKCR { ForceRemove One { Two } }";
    ASSERT_EQ(Register(script), S_OK);
    WriteText(L"One\\Foreign\\Deep", L"name", L"text");
    EXPECT_EQ(Unregister(script), S_OK);
    EXPECT_EQ(Difference({}, Standing()), "");
}

TEST_F(RegistryScript, UnregisteringLeavesAnyOtherKeyThatHoldsOthersKeysButNothingOfOursInIt)
{
    const wchar_t script[] = L"HKCR { One = s 'ours' { val Name = s 'ours' Two } }";
    ASSERT_EQ(Register(script), S_OK);
    WriteText(L"One\\Foreign", L"name", L"text");
    EXPECT_EQ(Unregister(script), S_OK);
    const Snapshot expected = {
        {L"\\one", L""}, {L"\\one\\foreign", L""}, {L"\\one\\foreign|name", L"sz:text"}};
    EXPECT_EQ(Difference(expected, Standing()), "");
}

TEST_F(RegistryScript, UnregisteringWhatIsAlreadyGoneSucceeds)
{
    const wchar_t script[] =
        L"HKCR { NoRemove One { Two val Name = s 'x' ForceRemove Three } Four { Five } }";
    EXPECT_EQ(Unregister(script), S_OK);
    ASSERT_EQ(Register(script), S_OK);
    EXPECT_EQ(Unregister(script), S_OK);
    EXPECT_EQ(Unregister(script), S_OK);
    EXPECT_EQ(Difference({{L"\\one", L""}}, Standing()), "");
}

TEST_F(RegistryScript, RegisteringEndsAtTheFirstFailureAndAnswersIt)
{
    const UniqueHkey blocked = MakeVolatileKey(HKEY_CLASSES_ROOT, L"Two");
    EXPECT_EQ(Register(L"HKCR { One = s 'x' Two { Below } Three }"),
              HRESULT_FROM_WIN32(ERROR_CHILD_MUST_BE_VOLATILE));
    EXPECT_TRUE(KeyExists(L"One"));
    EXPECT_FALSE(KeyExists(L"Three"));
}

class MalformedScript : public RegistryScript, public testing::WithParamInterface<const wchar_t*> {};

// The fault stands behind a key that a careless reader would have written, or removed, by then.
TEST_P(MalformedScript, IsRefusedBothWaysBeforeAnythingIsTouched)
{
    m_replacements = {{L"EMPTY", L""}};
    WriteText(L"One\\Two", nullptr, L"text");
    const Snapshot before = Standing();
    EXPECT_EQ(Register(GetParam()), kBadScript);
    EXPECT_EQ(Unregister(GetParam()), kBadScript);
    EXPECT_EQ(Difference(before, Standing()), "");
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, MalformedScript,
    testing::Values(L"", L"   ", L"HKCR", L"HKLM { ForceRemove One }", L"HKCR { ForceRemove One",
                    L"HKCR { ForceRemove One } }", L"HKCR { ForceRemove One } more",
                    L"HKCR { ForceRemove One 'unterminated }", L"HKCR { ForceRemove One Two = }",
                    L"HKCR { ForceRemove One Two = x 'kind' }", L"HKCR { ForceRemove One Two = d 'number' }",
                    L"HKCR { ForceRemove One Two = d '' }", L"HKCR { ForceRemove One val Name }",
                    L"HKCR { ForceRemove One val }", L"HKCR { ForceRemove One = s '%UNKNOWN%' }",
                    L"HKCR { ForceRemove One = s 'half%' }", L"HKCR { ForceRemove One ForceRemove '' }",
                    L"HKCR { ForceRemove One ForceRemove %EMPTY% }", L"HKCR { ForceRemove One = s"));

TEST_F(RegistryScript, AResourceThatIsNotThereIsAnswered)
{
    EXPECT_TRUE(FAILED(RunRegistryResource(9999, m_replacements, Direction::Register)));
    EXPECT_EQ(Difference({}, Standing()), "");
}

}  // namespace
}  // namespace kzr::test
