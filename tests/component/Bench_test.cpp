// The bench itself: that it notices what it claims to notice.
#include <gtest/gtest-spi.h>

#include "KzrSecX_h.h"
#include "support/Case.h"

namespace kzr::test {
namespace {

const std::vector<Case> kCases = {
    {.name = "SignedDataGivesTheBackendsText",
     .method = L"signedData",
     .id = 5,
     .direct = Direct(&ICrypto::signedData),
     .arguments = {L"text", L"c1"},
     .steps = {Trace("CCrypto: signedData starting..."), Trace("CCrypto: signedData containerName(c1)..."),
               Calls(L"SOF_SignData", {L"c1/SN01", L"text"}, L"signature"),
               Trace("CCrypto: signedData ending ok...")},
     .retVal = L"signature"},
    {.name = "SignedDataReportsAFailedCall",
     .method = L"signedData",
     .id = 5,
     .direct = Direct(&ICrypto::signedData),
     .arguments = {L"text", L"c1"},
     .steps = {Trace("CCrypto: signedData starting..."), Trace("CCrypto: signedData containerName(c1)..."),
               Calls(L"SOF_SignData", {L"c1/SN01", L"text"}, Fails(E_ACCESSDENIED)),
               Error("CCrypto: signedData call SOF_SignMessage return NULL!", E_ACCESSDENIED)},
     .retVal = L""},
};
KZR_CASES(BenchRows, kCrypto, kCases);

}  // namespace
}  // namespace kzr::test
