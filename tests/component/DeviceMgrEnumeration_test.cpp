// CDeviceMgr, the containers of a CSP: from the user list alone, in the order of their names.
#include "ForwardingRows.h"
#include "KzrSecX_h.h"

namespace kzr::test {
namespace {

Case Enumerates(const std::string& name, const Value& csp, const wchar_t* containers,
                const std::vector<User>& users = DefaultUsers())
{
    return {.name = name,
            .method = L"enumUserCertificates",
            .id = 3,
            .direct = Direct(&IDeviceMgr::enumUserCertificates),
            .arguments = {csp},
            .steps = {Trace("CDeviceMgr: enumUserCertificates starting..."),
                      Trace("CDeviceMgr: enumUserCertificates(" + Shown(containers) + ")..."),
                      Trace("CDeviceMgr: enumUserCertificates ending ok...")},
            .retVal = containers,
            .users = users};
}

User Of(const wchar_t* container, const wchar_t* csp, const wchar_t* type = L"HARD")
{
    return {L"Alice", container, std::wstring(L"SN-") + container, csp, L"EXT", type};
}

Case GivesNumberAsText()
{
    Case row = Enumerates("TakesANumberForItsText", L"12", L"c1&&&", {Of(L"c1", L"12")});
    row.arguments = {I4(12)};
    return row;
}

const Rows kRows = {
    Enumerates("OneContainer", L"CSP1", L"c1&&&"),
    Enumerates("AnotherCspHasAnotherContainer", L"CSP2", L"c2&&&"),
    Enumerates("ThreeContainersAreSortedByName", L"X", L"a&&&b&&&c&&&",
               {Of(L"c", L"X"), Of(L"a", L"X"), Of(L"b", L"X")}),
    Enumerates("OtherCspsContainersInBetweenStayOut", L"X", L"a&&&c&&&",
               {Of(L"a", L"X"), Of(L"b", L"Y"), Of(L"c", L"X")}),
    Enumerates("CapitalsSortBeforeSmallLetters", L"X", L"B&&&Z&&&a&&&",
               {Of(L"a", L"X"), Of(L"Z", L"X"), Of(L"B", L"X")}),
    Enumerates("DigitsSortAsTextNotAsNumbers", L"X", L"c10&&&c2&&&", {Of(L"c2", L"X"), Of(L"c10", L"X")}),
    Enumerates("AContainerListedTwiceIsGivenOnce", L"X", L"a&&&", {Of(L"a", L"X"), Of(L"a", L"X")}),
    Enumerates("AnUnknownCspIsEmptyWithoutAnErrorLine", L"nobody", L""),
    Enumerates("AnotherLetterCaseMatchesNothing", L"csp1", L""),
    Enumerates("ABlankMoreMatchesNothing", L"CSP1 ", L""),
    Enumerates("TheBeginningOfANameMatchesNothing", L"CSP", L""),
    Enumerates("AnEmptyCspMatchesNothing", L"", L""),
    Enumerates("AnEmptyCspMatchesADeviceWithoutOne", L"", L"c5&&&", {Of(L"c5", L""), Of(L"c6", L"X")}),
    Enumerates("ANullCspCountsAsEmpty", NullText(), L"c5&&&", {Of(L"c5", L""), Of(L"c6", L"X")}),
    Enumerates("SoftDevicesStayOut", L"X", L"b&&&",
               {Of(L"a", L"X", L"SOFT"), Of(L"b", L"X"), Of(L"c", L"X", L"Soft")}),
    Enumerates("AnEmptyListHasNone", L"CSP1", L"", {}),
    GivesNumberAsText(),
};
KZR_CASES(DeviceMgrEnumeration, kDeviceMgr, kRows);

}  // namespace
}  // namespace kzr::test
