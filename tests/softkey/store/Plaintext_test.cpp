// What was decrypted into a file that is not finished goes with the process that wrote it.
#include "base/File.h"
#include "base/Wide.h"
#include "crypto/Symmetric.h"
#include "softkey/store/Process.h"
#include "softkey/store/StoreTest.h"
#include "store/Folder.h"
#include "support/ChildProcess.h"

namespace kzr::softkey::test {
namespace {

constexpr wchar_t kFolderVariable[] = L"KZR_TEST_PLAINTEXT";
constexpr char kSecretText[] = "nobody else may read this";

KZR_CHILD(StopsInTheMiddleOfAFile)
{
    WriteInPieces(EnvironmentText(kFolderVariable) + "\\plain.txt", [](const auto& write) {
        write(ViewOf(kSecretText));
        DWORD written = 0;
        WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), "w", 1, &written, nullptr);
        Sleep(60000);
    });
    return 0;
}

class Plaintext : public StoreTest {
  protected:
    Plaintext()
    {
        MakeFolder(PathOf("out"));
        SetEnvironmentVariableW(kFolderVariable, ToWide(PathOf("out")).c_str());
    }
    ~Plaintext() override { SetEnvironmentVariableW(kFolderVariable, nullptr); }
};

TEST_F(Plaintext, OfAWriterThatDiesNothingStays)
{
    Write("out\\plain.txt", "as it was");
    Process child(ThisProgram(), {"--child=StopsInTheMiddleOfAFile"});
    ASSERT_TRUE(child.WaitForOutput(1)) << child.Errors();
    EXPECT_EQ(FilesIn(PathOf("out")).size(), 2u);
    child.Kill();
    EXPECT_EQ(child.Wait(), 97u);
    EXPECT_EQ(FilesIn(PathOf("out")), std::vector<std::string>{"plain.txt"});
    EXPECT_EQ(Read("out\\plain.txt"), "as it was");
}

TEST_F(Plaintext, OfADecryptionThatFailsNothingStays)
{
    Write("in.txt", kSecretText);
    SymEncryptFile(CipherCode::Aes256Cbc, ViewOf("key"), PathOf("in.txt"), PathOf("out\\encrypted"));
    EXPECT_EQ(
        CauseOf([&] { SymDecryptFile(ViewOf("other"), PathOf("out\\encrypted"), PathOf("out\\plain")); }),
        Cause::BadData);
    EXPECT_EQ(FilesIn(PathOf("out")), std::vector<std::string>{"encrypted"});
    SymDecryptFile(ViewOf("key"), PathOf("out\\encrypted"), PathOf("out\\plain"));
    EXPECT_EQ(Read("out\\plain"), kSecretText);
    EXPECT_EQ(FilesIn(PathOf("out")).size(), 2u);
}

}  // namespace
}  // namespace kzr::softkey::test
