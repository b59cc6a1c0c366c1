// CDeviceMgr on the software key.
#include "softkey/component/BenchTest.h"

namespace kzr::test {
namespace {

using namespace kzr::softkey;

class SoftKeyDeviceMgr : public BenchTest {
  public:
    // `names` is how the method's second line shows what it was given.
    Value Good(const std::string& method, const Values& arguments, const std::string& names, const char* call,
               const std::string& end = "ending ok...")
    {
        return Run(kDeviceMgr, Widened(method).c_str(), arguments,
                   {Trace("CDeviceMgr: " + method + " starting..."),
                    Trace("CDeviceMgr: " + method + " " + names), Trace("CDeviceMgr: " + method + " " + end)},
                   {call});
    }
    Value Bad(const std::string& method, const Values& arguments, const std::string& names, const char* call,
              const char* end, HRESULT status)
    {
        return Run(
            kDeviceMgr, Widened(method).c_str(), arguments,
            {Trace("CDeviceMgr: " + method + " starting..."), Trace("CDeviceMgr: " + method + " " + names),
             Error("CDeviceMgr: " + method + " call " + call + end, status)},
            {call});
    }
};

TEST_F(SoftKeyDeviceMgr, LoginIsByCspOrByContainer)
{
    EXPECT_EQ(I2(0), Good("userLogin", {L"CSP2", kWidePin}, "cspName(CSP2)...", "SOF_Login"));
    EXPECT_EQ(I2(0), Good("userLoginEx", {L"x", L"c1", L"y", kWidePin},
                          "cspName(x) containerName(c1) extLibName(y)...", "SOF_Login"));
    EXPECT_EQ(I2(-1),
              Bad("userLogin", {L"CSP2", L"wrong"}, "cspName(CSP2)...", "SOF_Login", " return error!", S_OK));
    EXPECT_EQ(I2(-1), Bad("userLogin", {L"CSP9", kWidePin}, "cspName(CSP9)...", "SOF_Login", " return error!",
                          kUnknownContainer));
    EXPECT_EQ(I2(-1),
              Bad("userLoginEx", {L"", L"c9", L"", kWidePin}, "cspName() containerName(c9) extLibName()...",
                  "SOF_Login", " return error!", kUnknownContainer));
}

TEST_F(SoftKeyDeviceMgr, TheRetryCountFollowsWrongPins)
{
    const char* const call = "SOF_GetPinRetryCount";
    EXPECT_EQ(I2(10), Good("getKeyRetrys", {L"EXT1"}, "extLibName(EXT1)...", call, "ending(10)..."));
    EXPECT_EQ(I2(-1), Get(kDeviceMgr, L"userLogin", {L"CSP1", L"no"}));
    EXPECT_EQ(I2(-1), Get(kDeviceMgr, L"userLogin", {L"CSP1", NullText()}));
    EXPECT_EQ(I2(8), Good("getKeyRetrysEx", {L"c3", L"z"}, "containerName(c3) extLibName(z)...", call,
                          "ending(8)..."));
    EXPECT_EQ(I2(10), Good("getKeyRetrysEx", {L"c2", L""}, "containerName(c2) extLibName()...", call,
                           "ending(10)..."));
    EXPECT_EQ(I2(-1011),
              Bad("getKeyRetrys", {L"EXT9"}, "extLibName(EXT9)...", call, " error!", kUnknownContainer));
    EXPECT_EQ(I2(-1011), Bad("getKeyRetrysEx", {L"c9", L""}, "containerName(c9) extLibName()...", call,
                             " error!", kUnknownContainer));
}

TEST_F(SoftKeyDeviceMgr, ALockedKeyFailsWithAStatusOfItsOwn)
{
    for (int i = 0; i < 10; ++i) EXPECT_EQ(I2(-1), Get(kDeviceMgr, L"userLogin", {L"CSP2", L"wrong"}));
    EXPECT_EQ(I2(-1), Bad("userLogin", {L"CSP2", kWidePin}, "cspName(CSP2)...", "SOF_Login", " return error!",
                          kLocked));
    EXPECT_EQ(I2(0),
              Good("getKeyRetrys", {L"EXT2"}, "extLibName(EXT2)...", "SOF_GetPinRetryCount", "ending(0)..."));
}

TEST_F(SoftKeyDeviceMgr, APinIsChangedByLibraryOrByContainer)
{
    const char* const call = "SOF_ChangePassWd";
    EXPECT_EQ(I2(0), Good("changeUserPin", {L"x", L"EXT2", kWidePin, L"654321"},
                          "cspName(x) extLibName(EXT2)...", call));
    EXPECT_EQ(I2(-1), Get(kDeviceMgr, L"userLogin", {L"CSP2", kWidePin}));
    EXPECT_EQ(I2(0), Good("changeUserPinEx", {L"x", L"c2", L"y", L"654321", L"abcdef"},
                          "cspName(x) containerName(c2) extLibName(y)...", call));
    EXPECT_EQ(I2(0), Get(kDeviceMgr, L"userLogin", {L"CSP2", L"abcdef"}));
    EXPECT_EQ(I2(-1), Bad("changeUserPin", {L"x", L"EXT2", L"wrong", L"654321"},
                          "cspName(x) extLibName(EXT2)...", call, " return error!", S_OK));
    EXPECT_EQ(I2(-1), Bad("changeUserPin", {L"x", L"EXT2", L"abcdef", L"1"}, "cspName(x) extLibName(EXT2)...",
                          call, " return error!", kBadArgument));
    EXPECT_EQ(I2(-1),
              Bad("changeUserPinEx", {L"", L"c9", L"", L"a", L"b"},
                  "cspName() containerName(c9) extLibName()...", call, " return error!", kUnknownContainer));
}

TEST_F(SoftKeyDeviceMgr, KeyFilesAreWrittenAndRead)
{
    const char* const read = "ReadFile";
    const char* const write = "WriteFile";
    EXPECT_EQ(Value(L""), Bad("getKeyData", {L"EXT1", L"f"}, "extLibName(EXT1) KeyFile(f)...", read,
                              " return NULL!", S_OK));
    EXPECT_EQ(I2(0),
              Good("setKeyData", {L"EXT1", L"f", L"\x6570\x636E"}, "extLibName(EXT1) KeyFile(f)...", write));
    EXPECT_EQ(Value(L"\x6570\x636E"),
              Good("getKeyData", {L"EXT1", L"f"}, "extLibName(EXT1) KeyFile(f)...", read));
    EXPECT_EQ(I2(0), Good("setKeyDataEx", {L"c2", L"x", L"f", L"two"}, "extLibName(x) KeyFile(f)...", write));
    EXPECT_EQ(I2(0), Good("creatKeyFile", {L"EXT2", L"g", I2(3)}, "extLibName(EXT2) KeyFile(g)...", write));
    EXPECT_EQ(Value(L"   "), Get(kDeviceMgr, L"getKeyData", {L"EXT2", L"g"}));
    EXPECT_EQ(I2(0),
              Good("creatKeyFileEx", {L"c1", L"x", L"h", I2(2)}, "extLibName(x) KeyFile(h)...", write));
    EXPECT_EQ(Value(L"  "), Get(kDeviceMgr, L"getKeyData", {L"EXT1", L"h"}));
}

TEST_F(SoftKeyDeviceMgr, ReadingByContainerKeepsItsOddLine)
{
    EXPECT_EQ(I2(0), Get(kDeviceMgr, L"setKeyData", {L"EXT2", L"f", L"two"}));
    const LogStep begin = Trace("CDeviceMgr: getKeyDataEx starting...");
    const LogStep names = Trace("CDeviceMgr: getKeyData containerName(c2) extLibName(x) KeyFile(f)...");
    EXPECT_EQ(Value(L"two"),
              Run(kDeviceMgr, L"getKeyDataEx", {L"c2", L"x", L"f"},
                  {begin, names, Trace("CDeviceMgr: getKeyDataEx ending ok...")}, {"ReadFile"}));
    home->Pull("SN02");
    EXPECT_EQ(Value(L""),
              Run(kDeviceMgr, L"getKeyDataEx", {L"c2", L"x", L"f"},
                  {begin, names, Error("CDeviceMgr: getKeyDataEx call ReadFile return NULL!", kUnknownKey)},
                  {"ReadFile"}));
}

TEST_F(SoftKeyDeviceMgr, KeyFilesThatCannotBeWrittenFail)
{
    const char* const write = "WriteFile";
    EXPECT_EQ(I2(-1), Bad("setKeyData", {L"EXT9", L"f", L"x"}, "extLibName(EXT9) KeyFile(f)...", write,
                          " error!", kUnknownKey));
    EXPECT_EQ(I2(-1), Bad("setKeyDataEx", {L"c1", L"", L"", L"x"}, "extLibName() KeyFile()...", write,
                          " error!", kBadArgument));
    EXPECT_EQ(I2(-1), Bad("creatKeyFile", {L"EXT1", L"", I2(3)}, "extLibName(EXT1) KeyFile()...", write,
                          " error!", kBadArgument));
    EXPECT_EQ(I2(-1), Bad("creatKeyFileEx", {L"c9", L"", L"f", I2(3)}, "extLibName() KeyFile(f)...", write,
                          " error!", kUnknownKey));
}

TEST_F(SoftKeyDeviceMgr, NamesOfTheKeyComeFromTheCache)
{
    const auto lines = [](const std::string& method, const std::string& library) {
        return LogSteps{Trace("CDeviceMgr: " + method + " starting..."),
                        Trace("CDeviceMgr: " + method + " extLibName(" + library + ") ..."),
                        Trace("CDeviceMgr: " + method + "({})..."),
                        Trace("CDeviceMgr: " + method + " ending ok...")};
    };
    EXPECT_EQ(Value(L"SN02"), Run(kDeviceMgr, L"getKeySN", {L"EXT2"}, lines("getKeySN", "EXT2"), {}));
    EXPECT_EQ(Value(L"SN01"), Run(kDeviceMgr, L"getKeySNEx", {L"c3", L"x"}, lines("getKeySNEx", "x"), {}));
    EXPECT_EQ(Value(L""), Run(kDeviceMgr, L"getKeySN", {L"EXT9"}, lines("getKeySN", "EXT9"), {}));
}

TEST_F(SoftKeyDeviceMgr, ContainersOfACspAreListed)
{
    const LogSteps lines = {Trace("CDeviceMgr: enumUserCertificates starting..."),
                            Trace("CDeviceMgr: enumUserCertificates({})..."),
                            Trace("CDeviceMgr: enumUserCertificates ending ok...")};
    EXPECT_EQ(Value(L"c1&&&c3&&&"), Run(kDeviceMgr, L"enumUserCertificates", {L"CSP1"}, lines, {}));
    EXPECT_EQ(Value(L"c2&&&"), Run(kDeviceMgr, L"enumUserCertificates", {L"CSP2"}, lines, {}));
    EXPECT_EQ(Value(L""), Run(kDeviceMgr, L"enumUserCertificates", {L"csp1"}, lines, {}));
}

}  // namespace
}  // namespace kzr::test
