// The four scriptable classes as the tests of what they share see them: each with one method that makes
// exactly one backend call.
#pragma once

#include <string>

#include "KzrSecX_h.h"
#include "support/ComponentTest.h"

namespace kzr::test {

struct SharedClass {
    const ScriptedClass& tested;
    IID iid;
    const char* fatalClass;  // as the guard's line spells it
    const wchar_t* method;
    DISPID id;
    DirectCall direct;
    Values arguments;
    const wchar_t* backendMethod;
    Values backendArguments;
    Value backendAnswer;
    Value answer;        // what the method gives then
    Value storedBefore;  // what it has stored when it calls the backend
};

inline const SharedClass kSharedCertificate = {kCertificate,
                                               __uuidof(ICertificate),
                                               "CCertificate",
                                               L"importCert",
                                               1,
                                               Direct(&ICertificate::importCert),
                                               {L"c1", I2(5), L""},
                                               L"SOF_ExportUserCert",
                                               {L"c1/SN01"},
                                               L"MIIB",
                                               I2(0),
                                               I2(0)};
inline const SharedClass kSharedCrypto = {kCrypto,
                                          __uuidof(ICrypto),
                                          "CCrypto",
                                          L"signedData",
                                          5,
                                          Direct(&ICrypto::signedData),
                                          {L"text", L"c1"},
                                          L"SOF_SignData",
                                          {L"c1/SN01", L"text"},
                                          L"signature",
                                          L"signature",
                                          L""};
inline const SharedClass kSharedDeviceMgr = {kDeviceMgr,
                                             __uuidof(IDeviceMgr),
                                             "CDeviceMgr",
                                             L"userLoginEx",
                                             13,
                                             Direct(&IDeviceMgr::userLoginEx),
                                             {L"", L"c1", L"", L"1234"},
                                             L"SOF_Login",
                                             {L"c1/SN01", L"1234"},
                                             Bool(false),
                                             I2(-1),
                                             I2(0)};
// The utility class borrows the certificate class's text.
inline const SharedClass kSharedUtil = {kUtil,
                                        __uuidof(IUtil),
                                        "CCertificate",
                                        L"base64EncodeString",
                                        1,
                                        Direct(&IUtil::base64EncodeString),
                                        {L"abc"},
                                        L"SOF_Base64Encode",
                                        {L"abc"},
                                        L"YWJj",
                                        L"YWJj",
                                        L""};

inline const SharedClass* const kSharedClasses[] = {&kSharedCertificate, &kSharedCrypto, &kSharedDeviceMgr,
                                                    &kSharedUtil};

inline void PrintTo(const SharedClass* shared, std::ostream* out) { *out << shared->tested.name; }

inline std::string NameOfClass(const testing::TestParamInfo<const SharedClass*>& info)
{
    return info.param->tested.name;
}

// A test of the frame, run on each of the four.
class OnEachClass : public ComponentTest, public testing::WithParamInterface<const SharedClass*> {
  protected:
    const SharedClass& Shared() const { return *GetParam(); }
    std::string ClassName() const { return Shared().tested.name; }
    ComPtr<IDispatch> MakeOne() { return Make(Shared().tested); }
};

#define KZR_ON_EACH_CLASS(suite) \
    INSTANTIATE_TEST_SUITE_P(, suite, testing::ValuesIn(kSharedClasses), NameOfClass)

// "Invoke CCrypto dispid(5): receive a fatal error!!!", with its level and source.
inline LogStep FatalLine(const SharedClass& shared, DISPID id)
{
    return Error(std::string("Invoke ") + shared.fatalClass + " dispid(" + std::to_string(id) +
                 "): receive a fatal error!!!");
}

inline std::vector<LogRecord> FatalLines(const std::vector<LogRecord>& records)
{
    std::vector<LogRecord> found;
    for (const LogRecord& record : records)
        if (record.message.find("receive a fatal error") != std::string::npos) found.push_back(record);
    return found;
}

}  // namespace kzr::test
