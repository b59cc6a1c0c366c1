// What two methods of CCrypto have to do with each other.
#include "CryptoRows.h"

namespace kzr::test {
namespace {

class CryptoTogether : public ComponentTest {
  public:
    void SetUp() override
    {
        ComponentTest::SetUp();
        backend->SetUsers(DefaultUsers());
        crypto = Make(kCrypto);
        ASSERT_TRUE(crypto);
        backend->ForgetCalls();
    }
    void TearDown() override
    {
        crypto = {};
        ComponentTest::TearDown();
    }

    ComPtr<IDispatch> crypto;
};

TEST_F(CryptoTogether, DecStrWithTheSameKeyGivesBackWhatEncStrTook)
{
    backend->Allow(L"SOF_HashData", {I2(8), L"key"}, L"digest");
    backend->Allow(L"SOF_GetEncryptMethod", Values(), I4(257));
    backend->Allow(L"SOF_SetEncryptMethod", {I4(4097)}, I4(0));
    backend->Allow(L"SOF_SetEncryptMethod", {I4(257)}, I4(0));
    backend->Expect(L"SOF_SymEncryptData", {L"digest", L"text"}, L"cipher");
    backend->Expect(L"SOF_SymDecryptData", {L"digest", L"cipher"}, L"text");

    const Value cipher = Call(crypto.Get(), L"EncStr", {L"key", L"text"}).value;
    EXPECT_EQ(Value(L"cipher"), cipher);
    EXPECT_EQ(Value(L"text"), Call(crypto.Get(), L"DecStr", {L"key", cipher}).value);
}

TEST_F(CryptoTogether, TheKeyOfEncStrIsTheAnswerOfHash)
{
    backend->Allow(L"SOF_HashData", {I2(8), L"key"}, L"digest");
    backend->Allow(L"SOF_GetEncryptMethod", Values(), I4(257));
    backend->Allow(L"SOF_SetEncryptMethod", I4(0));
    backend->Allow(L"SOF_SymEncryptData", L"cipher");

    const Value hash = Call(crypto.Get(), L"Hash", {L"key"}).value;
    Call(crypto.Get(), L"EncStr", {L"key", L"text"});
    std::vector<RecordedCall> calls = backend->Calls();
    std::erase_if(calls, [](const RecordedCall& call) { return call.name != L"SOF_SymEncryptData"; });
    ASSERT_EQ(1u, calls.size());
    EXPECT_EQ(hash, calls[0].arguments[0]);
}

TEST_F(CryptoTogether, HashAndHashDataOfOneTextDiffer)
{
    backend->Allow(L"SOF_HashData", {I2(8), L"text"}, L"the long one");
    backend->Allow(L"SOF_HashData", {I2(2), L"text"}, L"the short one");
    EXPECT_EQ(Value(L"the long one"), Call(crypto.Get(), L"Hash", {L"text"}).value);
    EXPECT_EQ(Value(L"the short one"), Call(crypto.Get(), L"HashData", {L"text"}).value);
}

TEST_F(CryptoTogether, HashDataAndHashFileUseTheSameCode)
{
    backend->Allow(L"SOF_HashData", L"digest");
    backend->Allow(L"SOF_HashFile", L"digest");
    Call(crypto.Get(), L"HashData", {L"text"});
    Call(crypto.Get(), L"HashFile", {L"C:\\a.txt"});
    const std::vector<RecordedCall> calls = backend->Calls();
    ASSERT_EQ(2u, calls.size());
    EXPECT_EQ(calls[0].arguments[0], calls[1].arguments[0]);
    EXPECT_EQ(I2(2), calls[0].arguments[0]);
}

// The backend's method as it would keep it itself, across every method that switches it.
TEST_F(CryptoTogether, EveryMethodLeavesTheSymmetricMethodThatItFound)
{
    const struct {
        const wchar_t* method;
        Values given;
        int code;
    } switching[] = {
        {L"encryptFile", {L"in", L"out", L"key"}, 4097},
        {L"decryptFile", {L"in", L"out", L"key"}, 4097},
        {L"EncStr", {L"key", L"text"}, 4097},
        {L"DecStr", {L"key", L"text"}, 4097},
        {L"encryptData", {L"key", L"text"}, 2049},
        {L"decryptData", {L"key", L"text"}, 2049},
        {L"EncData", {L"key", L"text"}, 4098},
        {L"DecData", {L"key", L"text"}, 4098},
    };
    backend->Allow(L"SOF_HashData", L"digest");
    backend->Allow(L"SOF_SetEncryptMethod", I4(0));
    int found = 1000;
    for (const auto& tested : switching)
        for (const Answer& outcome : {Answer(L"result"), Answer(L""), Fails(E_FAIL)}) {
            SCOPED_TRACE(RenderForLog(tested.method));
            ++found;
            backend->Allow(L"SOF_GetEncryptMethod", Values(), I4(found));
            for (const wchar_t* operation :
                 {L"SOF_SymEncryptFile", L"SOF_SymDecryptFile", L"SOF_SymEncryptData", L"SOF_SymDecryptData"})
                backend->Allow(operation, outcome);
            backend->ForgetCalls();
            Call(crypto.Get(), tested.method, tested.given);

            Values methods;
            for (const RecordedCall& call : backend->Calls())
                if (call.name == L"SOF_SetEncryptMethod") methods.push_back(call.arguments[0]);
            EXPECT_EQ((Values{I4(tested.code), I4(found)}), methods);
        }
}

// A caller of the vtable who does not want the answer.
TEST_F(CryptoTogether, NobodyHasToWantAnAnswer)
{
    ComPtr<ICrypto> dual;
    ASSERT_EQ(S_OK, crypto->QueryInterface(__uuidof(ICrypto), dual.putVoid()));
    for (const wchar_t* method :
         {L"SOF_SignData", L"SOF_VerifySignedData", L"SOF_VerifySignedDataXML", L"SOF_HashData",
          L"SOF_GetEncryptMethod", L"SOF_SymEncryptData", L"SOF_SymEncryptFile"})
        backend->Allow(method, L"answer");
    backend->Allow(L"SOF_SetEncryptMethod", I4(0));

    Value text(L"text");
    const BSTR given = text.Get().bstrVal;
    EXPECT_EQ(S_OK, dual->signedData(given, given, nullptr));
    EXPECT_EQ(S_OK, dual->authUser(given, given, nullptr));
    EXPECT_EQ(S_OK, dual->verifySignedData(given, given, given, nullptr));
    EXPECT_EQ(S_OK, dual->checkUser(given, given, given, nullptr));
    EXPECT_EQ(S_OK, dual->verifySignedDataXML(given, nullptr));
    EXPECT_EQ(S_OK, dual->EncStr(given, given, nullptr));
    EXPECT_EQ(S_OK, dual->encryptFile(given, given, given, nullptr));
    EXPECT_EQ(S_OK, dual->envelopedData(given, 2, given, nullptr));
    EXPECT_EQ(S_OK, dual->setAlgFlag(1, 2, nullptr));
    EXPECT_EQ(S_OK, dual->GenTSReq(given, nullptr));
    EXPECT_EQ(1u, backend->CallsOf(L"SOF_SymEncryptData"));
    EXPECT_EQ(1u, backend->CallsOf(L"SOF_SymEncryptFile"));
}

}  // namespace
}  // namespace kzr::test
