// CDeviceMgr, data files on the key and serial numbers.
#include "ForwardingRows.h"
#include "KzrSecX_h.h"

namespace kzr::test {
namespace {

Forwarding GetKeyData(const Value& extLib = L"EXT1", const std::wstring& serial = L"SN01",
                      const Value& file = L"file")
{
    return {
        "GetKeyData",
        L"getKeyData",
        7,
        Direct(&IDeviceMgr::getKeyData),
        {extLib, file},
        {Trace("CDeviceMgr: getKeyData starting..."),
         Trace("CDeviceMgr: getKeyData extLibName(" + Shown(extLib) + ") KeyFile(" + Shown(file) + ")...")},
        L"ReadFile",
        {serial, file},
        {Trace("CDeviceMgr: getKeyData ending ok...")},
        "CDeviceMgr: getKeyData call ReadFile return NULL!"};
}

Forwarding GetKeyDataEx(const Value& container = L"c1", const std::wstring& serial = L"SN01",
                        const Value& extLib = L"EXT2", const Value& file = L"file")
{
    return {"GetKeyDataEx",
            L"getKeyDataEx",
            16,
            Direct(&IDeviceMgr::getKeyDataEx),
            {container, extLib, file},
            // The parameter line has the plain method's name.
            {Trace("CDeviceMgr: getKeyDataEx starting..."),
             Trace("CDeviceMgr: getKeyData containerName(" + Shown(container) + ") extLibName(" +
                   Shown(extLib) + ") KeyFile(" + Shown(file) + ")...")},
            L"ReadFile",
            {serial, file},
            {Trace("CDeviceMgr: getKeyDataEx ending ok...")},
            "CDeviceMgr: getKeyDataEx call ReadFile return NULL!"};
}

// The four methods that write have their lines and their backend call in common.
Forwarding Writer(const char* name, const wchar_t* method, DISPID id, const DirectCall& direct,
                  const Values& arguments, const Value& extLib, const std::wstring& serial, const Value& file,
                  const Value& data)
{
    const std::string prefix = "CDeviceMgr: " + Shown(method);
    return {name,
            method,
            id,
            direct,
            arguments,
            {Trace(prefix + " starting..."),
             Trace(prefix + " extLibName(" + Shown(extLib) + ") KeyFile(" + Shown(file) + ")...")},
            L"WriteFile",
            {serial, file, data, I2(0)},
            {Trace(prefix + " ending ok...")},
            prefix + " call WriteFile error!"};
}

Forwarding SetKeyData(const Value& extLib = L"EXT1", const std::wstring& serial = L"SN01",
                      const Value& file = L"file", const Value& data = L"data")
{
    return Writer("SetKeyData", L"setKeyData", 10, Direct(&IDeviceMgr::setKeyData), {extLib, file, data},
                  extLib, serial, file, data);
}

Forwarding SetKeyDataEx(const Value& container = L"c1", const std::wstring& serial = L"SN01",
                        const Value& extLib = L"EXT2", const Value& file = L"file",
                        const Value& data = L"data")
{
    return Writer("SetKeyDataEx", L"setKeyDataEx", 18, Direct(&IDeviceMgr::setKeyDataEx),
                  {container, extLib, file, data}, extLib, serial, file, data);
}

std::wstring Blanks(int count) { return std::wstring(static_cast<std::size_t>(count), L' '); }

Forwarding CreatKeyFile(int length = 16, const Value& extLib = L"EXT1", const std::wstring& serial = L"SN01",
                        const Value& file = L"file")
{
    return Writer("CreatKeyFile", L"creatKeyFile", 11, Direct(&IDeviceMgr::creatKeyFile),
                  {extLib, file, I2(length)}, extLib, serial, file, Blanks(length));
}

Forwarding CreatKeyFileEx(int length = 16, const Value& container = L"c1",
                          const std::wstring& serial = L"SN01", const Value& extLib = L"EXT2",
                          const Value& file = L"file")
{
    return Writer("CreatKeyFileEx", L"creatKeyFileEx", 19, Direct(&IDeviceMgr::creatKeyFileEx),
                  {container, extLib, file, I2(length)}, extLib, serial, file, Blanks(length));
}

// An impossible length: nothing is sent, and the guard has the last word.
Case Impossible(Forwarding call, const std::string& name, int length)
{
    call.arguments.back() = I2(length);
    Case row = RowOf(call, name, Answer(), {}, I2(0));
    row.steps = call.before;
    row.steps.push_back(
        Error("Invoke CDeviceMgr dispid(" + std::to_string(call.id) + "): receive a fatal error!!!"));
    row.mayFault = true;
    return row;
}

const Rows kReads = Join({
    TextOutcomes(GetKeyData()),
    LookUpRows("GetKeyData", LookUpsByText(L"EXT1", &User::extLib),
               [](const LookUp& lookUp) { return TextRow(GetKeyData(lookUp.key, lookUp.device), ""); }),
    {
        TextRow(GetKeyData(L"EXT1", L"SN01", L""), "PassesAnEmptyFileName"),
        TextRow(GetKeyData(L"EXT1", L"SN01", NullText()), "PassesANullFileNameAsANullText"),
        TextRow(GetKeyData(L"EXT1", L"SN01", L"a/b\\c d"), "PassesAFileNameAsItIs"),
        GivenAs(TextRow(GetKeyData(L"EXT1", L"SN01", L"12"), ""), "TakesANumberForAFileName",
                {L"EXT1", I4(12)}),
        TurnedAway(GetKeyData(), "TurnsNullAway", {L"EXT1", Null()}, DISP_E_TYPEMISMATCH),
    },
});
KZR_CASES(DeviceMgrGetKeyData, kDeviceMgr, kReads);

const Rows kReadsEx = Join({
    TextOutcomes(GetKeyDataEx()),
    LookUpRows("GetKeyDataEx", LookUpsByContainer(),
               [](const LookUp& lookUp) { return TextRow(GetKeyDataEx(lookUp.key, lookUp.device), ""); }),
    {
        TextRow(GetKeyDataEx(L"c1", L"SN01", NullText(), NullText()), "ShowsNullNamesAsEmpty"),
        TextRow(GetKeyDataEx(L"c1", L"SN01", L"EXT9"), "OnlyShowsTheLibrary"),
    },
});
KZR_CASES(DeviceMgrGetKeyDataEx, kDeviceMgr, kReadsEx);

const Rows kWrites = Join({
    YesNoOutcomes(SetKeyData()),
    LookUpRows("SetKeyData", LookUpsByText(L"EXT1", &User::extLib),
               [](const LookUp& lookUp) { return YesRow(SetKeyData(lookUp.key, lookUp.device), ""); }),
    {
        YesRow(SetKeyData(L"EXT1", L"SN01", L"file", L""), "PassesEmptyData"),
        YesRow(SetKeyData(L"EXT1", L"SN01", NullText(), NullText()), "PassesNullTextsAsNullTexts"),
        YesRow(SetKeyData(L"EXT1", L"SN01", L"file", std::wstring(20000, L'x')), "PassesLongData"),
        GivenAs(YesRow(SetKeyData(L"EXT1", L"SN01", L"file", L"2.5"), ""), "TakesABrokenNumberForData",
                {L"EXT1", L"file", R8(2.5)}),
    },
});
KZR_CASES(DeviceMgrSetKeyData, kDeviceMgr, kWrites);

const Rows kWritesEx = Join({
    YesNoOutcomes(SetKeyDataEx()),
    LookUpRows("SetKeyDataEx", LookUpsByContainer(),
               [](const LookUp& lookUp) { return YesRow(SetKeyDataEx(lookUp.key, lookUp.device), ""); }),
    {
        YesRow(SetKeyDataEx(L"c1", L"SN01", NullText(), NullText(), NullText()),
               "PassesNullTextsAsNullTexts"),
        YesRow(SetKeyDataEx(L"c1", L"SN01", L"EXT9", L"", L""), "PassesEmptyTexts"),
    },
});
KZR_CASES(DeviceMgrSetKeyDataEx, kDeviceMgr, kWritesEx);

const Rows kCreations = Join({
    YesNoOutcomes(CreatKeyFile()),
    LookUpRows("CreatKeyFile", LookUpsByText(L"EXT1", &User::extLib),
               [](const LookUp& lookUp) { return YesRow(CreatKeyFile(16, lookUp.key, lookUp.device), ""); }),
    {
        YesRow(CreatKeyFile(0), "OfLengthZeroWritesAnEmptyText"),
        YesRow(CreatKeyFile(1), "OfLengthOneWritesOneBlank"),
        YesRow(CreatKeyFile(32000), "WritesManyBlanks"),
        GivenAs(YesRow(CreatKeyFile(16), ""), "TakesAScriptsNumber", {L"EXT1", L"file", R8(16.0)}),
        GivenAs(YesRow(CreatKeyFile(16), ""), "TakesATextForItsNumber", {L"EXT1", L"file", L"16"}),
        YesRow(CreatKeyFile(16, L"EXT1", L"SN01", NullText()), "PassesANullFileNameAsANullText"),
        TurnedAway(CreatKeyFile(), "TurnsALengthBeyond16BitsAway", {L"EXT1", L"file", I4(32768)},
                   DISP_E_OVERFLOW),
        Impossible(CreatKeyFile(), "OfLengthMinusOneEndsInTheGuard", -1),
        Impossible(CreatKeyFile(), "OfTheSmallestLengthEndsInTheGuard", -32768),
    },
});
KZR_CASES(DeviceMgrCreatKeyFile, kDeviceMgr, kCreations);

const Rows kCreationsEx = Join({
    YesNoOutcomes(CreatKeyFileEx()),
    LookUpRows(
        "CreatKeyFileEx", LookUpsByContainer(),
        [](const LookUp& lookUp) { return YesRow(CreatKeyFileEx(16, lookUp.key, lookUp.device), ""); }),
    {
        YesRow(CreatKeyFileEx(0), "OfLengthZeroWritesAnEmptyText"),
        YesRow(CreatKeyFileEx(16, L"c1", L"SN01", NullText(), NullText()), "ShowsNullNamesAsEmpty"),
        Impossible(CreatKeyFileEx(), "OfANegativeLengthEndsInTheGuard", -16),
        TurnedAway(CreatKeyFileEx(), "TurnsALengthBeyond16BitsAway", {L"c1", L"EXT1", L"file", I4(-32769)},
                   DISP_E_OVERFLOW),
    },
});
KZR_CASES(DeviceMgrCreatKeyFileEx, kDeviceMgr, kCreationsEx);

// The largest length of all: its call line is longer than a log line can be, and its message is lost. Nothing
// else is.
class DeviceMgrLongestFile : public ComponentTest {};

TEST_F(DeviceMgrLongestFile, IsWrittenWholeAlthoughItsCallLineIsLost)
{
    backend->SetUsers(DefaultUsers());
    backend->Expect(L"WriteFile", {L"SN01", L"file", Blanks(32767), I2(0)}, Bool(true));
    const ComPtr<IDispatch> device = Make(kDeviceMgr);
    log->Take();

    EXPECT_EQ(I2(0), Call(device.Get(), L"creatKeyFile", {L"EXT1", L"file", I2(32767)}).value);

    const std::vector<LogRecord> records = log->Take();
    ASSERT_EQ(5u, records.size());
    EXPECT_FALSE(records[1].lost);
    EXPECT_TRUE(records[2].lost);
    EXPECT_EQ("AxKzrApp", records[2].source);
    EXPECT_EQ("CAxKzrApp: call KzrAppCOM WriteFile, result(VARIANT_TRUE)...", records[3].message);
    EXPECT_EQ("CDeviceMgr: creatKeyFile ending ok...", records[4].message);
}

// A serial number comes from the user list alone.
Case KeySN(const LookUp& lookUp)
{
    return {.name = "",
            .method = L"getKeySN",
            .id = 8,
            .direct = Direct(&IDeviceMgr::getKeySN),
            .arguments = {lookUp.key},
            .steps = {Trace("CDeviceMgr: getKeySN starting..."),
                      Trace("CDeviceMgr: getKeySN extLibName(" + Shown(lookUp.key) + ") ..."),
                      Trace("CDeviceMgr: getKeySN(" + Shown(lookUp.device) + ")..."),
                      Trace("CDeviceMgr: getKeySN ending ok...")},
            .retVal = lookUp.device};
}

Case KeySNEx(const LookUp& lookUp)
{
    return {.name = "",
            .method = L"getKeySNEx",
            .id = 17,
            .direct = Direct(&IDeviceMgr::getKeySNEx),
            .arguments = {lookUp.key, L"EXT9"},
            .steps = {Trace("CDeviceMgr: getKeySNEx starting..."),
                      Trace("CDeviceMgr: getKeySNEx extLibName(EXT9) ..."),
                      Trace("CDeviceMgr: getKeySNEx(" + Shown(lookUp.device) + ")..."),
                      Trace("CDeviceMgr: getKeySNEx ending ok...")},
            .retVal = lookUp.device};
}

Case WithNullLibrary(Case row)
{
    row.name = "GetKeySNExShowsANullLibraryAsEmpty";
    row.arguments[1] = NullText();
    row.steps[1] = Trace("CDeviceMgr: getKeySNEx extLibName() ...");
    return row;
}

const std::vector<User> kNoSerial = {{L"Alice", L"c1", L"", L"CSP1", L"EXT1"}};

const Rows kSerials = Join({
    LookUpRows("GetKeySN", LookUpsByText(L"EXT1", &User::extLib), KeySN),
    LookUpRows("GetKeySN", {{"OfADeviceWithoutASerialNumberIsEmpty", L"EXT1", L"", L"", kNoSerial}}, KeySN),
});
KZR_CASES(DeviceMgrGetKeySN, kDeviceMgr, kSerials);

const Rows kSerialsEx = Join({
    LookUpRows("GetKeySNEx", LookUpsByContainer(), KeySNEx),
    LookUpRows("GetKeySNEx", {{"OfADeviceWithoutASerialNumberIsEmpty", L"c1", L"", L"", kNoSerial}}, KeySNEx),
    {WithNullLibrary(KeySNEx({"", L"c1", L"c1", L"SN01", {}}))},
});
KZR_CASES(DeviceMgrGetKeySNEx, kDeviceMgr, kSerialsEx);

}  // namespace
}  // namespace kzr::test
