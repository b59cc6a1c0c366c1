// Keys, users, PINs and data files at the server's own surface.
#include "softkey/server/ServerTest.h"

namespace kzr::test {
namespace {

using namespace kzr::softkey;
class ServerKeys : public ServerTest {};

TEST_F(ServerKeys, TheUserListNamesEveryContainerWithItsUserAndKey)
{
    const std::wstring list = AskText(L"SOF_GetUserList");
    EXPECT_EQ(L"Alice||c1/SN01&&&Carol||c3/SN01&&&" + std::wstring(kWangsName) + L"||c2/SN02&&&", list);
}

TEST_F(ServerKeys, ListsFollowWhatIsPlugged)
{
    EXPECT_EQ(L"SN01;SN02;", AskText(L"GetAllDeviceSN"));
    home->Pull("SN01");
    EXPECT_EQ(L"SN02;", AskText(L"GetAllDeviceSN"));
    EXPECT_EQ(std::wstring(kWangsName) + L"||c2/SN02&&&", AskText(L"SOF_GetUserList"));
    home->Pull("SN02");
    EXPECT_EQ(L"", AskText(L"GetAllDeviceSN"));
    EXPECT_EQ(L"", AskText(L"SOF_GetUserList"));
    home->Plug("SN01");
    EXPECT_EQ(L"SN01;", AskText(L"GetAllDeviceSN"));
}

TEST_F(ServerKeys, DeviceInformationIsWhatTheKeyWasGiven)
{
    EXPECT_EQ(L"VKEY", AskText(L"GetDeviceInfo", {L"SN01", I2(7)}));
    EXPECT_EQ(L"EXT1", AskText(L"GetDeviceInfo", {L"SN01", I4(8)}));
    EXPECT_EQ(L"CSP2", AskText(L"GetDeviceInfo", {L"SN02", I2(9)}));
    EXPECT_EQ(kBadArgument, Refusal(L"GetDeviceInfo", {L"SN01", I2(6)}));
    EXPECT_EQ(kBadArgument, Refusal(L"GetDeviceInfo", {L"SN01", I4(70000)}));
    for (const wchar_t* unknown : {L"", L"SN03", L"sn01", L"..", L"SN01\\..\\SN01", L"SN01/", L"*"})
        EXPECT_EQ(kUnknownKey, Refusal(L"GetDeviceInfo", {unknown, I2(7)})) << Readable(unknown);
}

TEST_F(ServerKeys, AWrongPinIsFalseAndCostsATry)
{
    EXPECT_EQ(I4(10), Ask(L"SOF_GetPinRetryCount", {kAlice}));
    EXPECT_EQ(Bool(false), Ask(L"SOF_Login", {kAlice, L"wrong"}));
    EXPECT_EQ(I4(9), Ask(L"SOF_GetPinRetryCount", {kAlice}));
    EXPECT_EQ(I4(9), Ask(L"SOF_GetPinRetryCount", {kCarol})) << "one key has one PIN";
    EXPECT_EQ(I4(10), Ask(L"SOF_GetPinRetryCount", {kWang}));
    EXPECT_EQ(Bool(true), Ask(L"SOF_Login", {kAlice, kWidePin}));
    EXPECT_EQ(I4(10), Ask(L"SOF_GetPinRetryCount", {kAlice}));
}

TEST_F(ServerKeys, TenWrongPinsLockTheKeyEvenForTheRightOne)
{
    for (int left = 9; left >= 1; --left) {
        EXPECT_EQ(Bool(false), Ask(L"SOF_Login", {kWang, L""}));
        EXPECT_EQ(I4(left), Ask(L"SOF_GetPinRetryCount", {kWang}));
    }
    const CallResult tenth = Call(L"SOF_Login", {kWang, L"no"});
    EXPECT_TRUE(tenth.result == kLocked || tenth.value == Bool(false));
    EXPECT_EQ(I4(0), Ask(L"SOF_GetPinRetryCount", {kWang}));
    EXPECT_EQ(kLocked, Refusal(L"SOF_Login", {kWang, kWidePin}));
    EXPECT_EQ(kLocked, Refusal(L"SOF_ChangePassWd", {kWang, kWidePin, L"654321"}));
    EXPECT_EQ(kNotLoggedIn, Refusal(L"SOF_SignData", {kWang, L"text"}));
}

TEST_F(ServerKeys, APinIsChangedByWhoKnowsIt)
{
    EXPECT_EQ(Bool(false), Ask(L"SOF_ChangePassWd", {kAlice, L"wrong1", L"654321"}));
    EXPECT_EQ(I4(9), Ask(L"SOF_GetPinRetryCount", {kAlice}));
    EXPECT_EQ(Bool(true), Ask(L"SOF_ChangePassWd", {kAlice, kWidePin, L"\x5BC6\x7801\x5BC6\x7801"}));
    EXPECT_EQ(Bool(false), Ask(L"SOF_Login", {kAlice, kWidePin}));
    EXPECT_EQ(Bool(true), Ask(L"SOF_Login", {kAlice, L"\x5BC6\x7801\x5BC6\x7801"}));
    EXPECT_EQ(kBadArgument, Refusal(L"SOF_ChangePassWd", {kAlice, L"\x5BC6\x7801\x5BC6\x7801", L"123"}));
}

TEST_F(ServerKeys, UsersThatAreNotThereAreFailuresOfTheirOwn)
{
    for (const wchar_t* method :
         {L"SOF_GetPinRetryCount", L"SOF_ExportUserCert", L"SOF_ExportExChangeUserCert"}) {
        EXPECT_EQ(kUnknownContainer, Refusal(method, {L""})) << Readable(method);
        EXPECT_EQ(kUnknownContainer, Refusal(method, {NullText()})) << Readable(method);
        EXPECT_EQ(kUnknownContainer, Refusal(method, {L"c9/SN01"})) << Readable(method);
        EXPECT_EQ(kUnknownContainer, Refusal(method, {L"c2/SN01"})) << Readable(method);
        EXPECT_EQ(kUnknownContainer, Refusal(method, {L"/SN01"})) << Readable(method);
        EXPECT_EQ(kUnknownKey, Refusal(method, {L"c1/SN09"})) << Readable(method);
        EXPECT_EQ(kUnknownKey, Refusal(method, {L"c1/"})) << Readable(method);
        EXPECT_EQ(kUnknownKey, Refusal(method, {L"c1/SN01/SN01"})) << Readable(method);
    }
    EXPECT_EQ(kUnknownContainer, Refusal(L"SOF_Login", {L"", kWidePin}));
    EXPECT_EQ(kUnknownContainer, Refusal(L"SOF_ChangePassWd", {L"c9", kWidePin, kWidePin}));
}

TEST_F(ServerKeys, AContainersNameAloneNamesItsKey)
{
    EXPECT_EQ(Ask(L"SOF_ExportUserCert", {kAlice}), Ask(L"SOF_ExportUserCert", {L"c1"}));
    home->Pull("SN01");
    EXPECT_EQ(kUnknownContainer, Refusal(L"SOF_ExportUserCert", {L"c1"}));
    EXPECT_EQ(kUnknownKey, Refusal(L"SOF_ExportUserCert", {kAlice}));
}

TEST_F(ServerKeys, DataFilesKeepTheirTextForEachKey)
{
    EXPECT_EQ(Value(L""), Ask(L"ReadFile", {L"SN01", L"notes"}));
    EXPECT_EQ(Bool(true), Ask(L"WriteFile", {L"SN01", L"notes", L"\x4F60\x597D one", I2(0)}));
    EXPECT_EQ(Value(L"\x4F60\x597D one"), Ask(L"ReadFile", {L"SN01", L"notes"}));
    EXPECT_EQ(Value(L""), Ask(L"ReadFile", {L"SN02", L"notes"}));
    EXPECT_EQ(Bool(true), Ask(L"WriteFile", {L"SN01", L"notes", L"two", I4(0)}));
    EXPECT_EQ(Value(L"two"), Ask(L"ReadFile", {L"SN01", L"notes"}));
    EXPECT_EQ(Bool(true), Ask(L"WriteFile", {L"SN01", L"notes", NullText(), I2(0)}));
    EXPECT_EQ(Value(L""), Ask(L"ReadFile", {L"SN01", L"notes"}));
}

TEST_F(ServerKeys, NoDataFileEscapesItsKey)
{
    for (const wchar_t* name :
         {L"..\\..\\out", L"../out", L"C:\\out", L"a:b", L"con", L"*", L"\x4E2D.\x6587"}) {
        EXPECT_EQ(Bool(true), Ask(L"WriteFile", {L"SN01", name, name, I2(0)})) << Readable(name);
        EXPECT_EQ(Value(name), Ask(L"ReadFile", {L"SN01", name})) << Readable(name);
    }
    EXPECT_FALSE(home->HasFile(L"out"));
    EXPECT_FALSE(home->HasFile(L"keys\\out"));
}

TEST_F(ServerKeys, DataFilesHaveTheirLimits)
{
    const std::wstring most(65536, L'x');
    EXPECT_EQ(Bool(true), Ask(L"WriteFile", {L"SN01", L"most", most, I2(0)}));
    EXPECT_EQ(Value(most), Ask(L"ReadFile", {L"SN01", L"most"}));
    EXPECT_EQ(kBadArgument, Refusal(L"WriteFile", {L"SN01", L"most", most + L"x", I2(0)}));
    EXPECT_EQ(Value(most), Ask(L"ReadFile", {L"SN01", L"most"}));
    EXPECT_EQ(kBadArgument, Refusal(L"WriteFile", {L"SN01", L"", L"text", I2(0)}));
    EXPECT_EQ(kBadArgument, Refusal(L"WriteFile", {L"SN01", std::wstring(L"a\0b", 3), L"text", I2(0)}));
    EXPECT_EQ(kBadArgument, Refusal(L"WriteFile", {L"SN01", L"a", L"text", I2(1)}));
    EXPECT_EQ(kBadArgument, Refusal(L"ReadFile", {L"SN01", L""}));
    EXPECT_EQ(kUnknownKey, Refusal(L"WriteFile", {L"", L"a", L"text", I2(0)}));
    EXPECT_EQ(kUnknownKey, Refusal(L"ReadFile", {L"SN09", L"a"}));
}

TEST_F(ServerKeys, ABrokenContainerDoesNotHideTheOthers)
{
    const std::wstring folder = *home / L"keys\\SN02\\containers\\";
    WIN32_FIND_DATAW found;
    const HANDLE search = FindFirstFileW((folder + L"*.*").c_str(), &found);
    ASSERT_NE(INVALID_HANDLE_VALUE, search);
    int broken = 0;
    do {
        if (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) continue;
        home->WriteFile((std::wstring(L"keys\\SN02\\containers\\") + found.cFileName).c_str(), "{ broken");
        ++broken;
    } while (FindNextFileW(search, &found));
    FindClose(search);
    ASSERT_EQ(1, broken);
    EXPECT_EQ(L"Alice||c1/SN01&&&Carol||c3/SN01&&&", AskText(L"SOF_GetUserList"));
}

}  // namespace
}  // namespace kzr::test
