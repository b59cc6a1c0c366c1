// Does one thing with keys, messages or encrypted files, so that a script can hand the outcome to tools of
// others, and theirs to us.
// Exits with 0 when it was done or is true, with 1 when it is false, with 2 for a bad call, and with 3 when
// the software key refused, which it says on the error stream.
#include <algorithm>
#include <cstdio>
#include <functional>
#include <map>

#include "base/Base64.h"
#include "base/Failure.h"
#include "base/File.h"
#include "crypto/Digest.h"
#include "crypto/Sharing.h"
#include "crypto/Sign.h"
#include "crypto/Symmetric.h"
#include "x509/Message.h"

namespace {

using namespace kzr::softkey;

using Arguments = std::vector<std::string>;

struct Command {
    std::size_t arguments;
    const char* usage;
    std::function<bool(const Arguments&)> run;
};

KeyHandle KeyIn(const std::string& path) { return PrivateKeyFromDer(ReadWholeFile(path)); }
Certificate CertificateIn(const std::string& path)
{
    return Certificate::FromText(TextOf(ReadWholeFile(path)));
}
bool Put(const std::string& path, View content)
{
    WriteWholeFile(path, content);
    return true;
}

bool MakeKey(const Arguments& a)
{
    return Put(a[1], PrivateKeyToDer(GenerateKey(a[0] == "sm2" ? KeyType::Sm2 : KeyType::Rsa).get()));
}

bool ReadMessagePart(const Arguments& a)
{
    const SignedMessage message = ReadSignedMessage(ReadWholeFile(a[0]));
    if (a[1] == "signature") return Put(a[2], message.signature);
    if (a[1] == "certificate") return Put(a[2], ViewOf(message.certificate.Pem()));
    return message.content && Put(a[2], *message.content);
}

bool SplitInto(const Arguments& a)
{
    std::string lines;
    for (const std::string& share :
         SplitSecret(ReadWholeFile(a[3]), std::stoi(a[0]), std::stoi(a[1]), std::stoi(a[2])))
        lines += share + "\n";
    return Put(a[4], ViewOf(lines));
}

bool RecoverFrom(const Arguments& a)
{
    const Bytes content = ReadWholeFile(a[0]);
    std::vector<std::string> shares;
    for (std::string_view lines = TextOf(content); !lines.empty();) {
        const std::size_t end = std::min(lines.find('\n'), lines.size() - 1);
        shares.emplace_back(lines.substr(0, end));
        lines.remove_prefix(end + 1);
    }
    return Put(a[1], RecoverSecret(shares));
}

bool PrintDigest(const Arguments& a)
{
    std::printf("%s\n", HexUpper(DigestFile(HashCodeOf(std::stoi(a[0])), a[1])).c_str());
    return true;
}

const std::map<std::string, Command> kCommands = {
    {"make-key", {2, "sm2|rsa KEY", MakeKey}},
    {"digest", {2, "CODE IN", PrintDigest}},
    {"sign", {3, "KEY IN SIG", [](auto& a) { return Put(a[2], SignFile(KeyIn(a[0]).get(), a[1])); }}},
    {"verify",
     {3, "CERT IN SIG",
      [](auto& a) { return VerifyFile(CertificateIn(a[0]).PublicKey().get(), a[1], ReadWholeFile(a[2])); }}},
    {"sign-message",
     {5, "KEY CERT attached|detached IN MSG",
      [](auto& a) {
          return Put(a[4], SignMessage(KeyIn(a[0]).get(), CertificateIn(a[1]), ReadWholeFile(a[3]),
                                       a[2] == "attached"));
      }}},
    {"verify-message",
     {2, "MSG CONTENT", [](auto& a) { return VerifyMessage(ReadWholeFile(a[0]), ReadWholeFile(a[1])); }}},
    {"message-part", {3, "MSG content|certificate|signature OUT", ReadMessagePart}},
    {"split", {5, "COUNT NEEDED MANDATORY IN LINES", SplitInto}},
    {"recover", {2, "LINES OUT", RecoverFrom}},
    {"seal",
     {3, "CERT IN MSG",
      [](auto& a) { return Put(a[2], SealEnvelope(CertificateIn(a[0]), ReadWholeFile(a[1]))); }}},
    {"open",
     {4, "KEY CERT MSG OUT",
      [](auto& a) {
          return Put(a[3], OpenEnvelope(KeyIn(a[0]).get(), CertificateIn(a[1]), ReadWholeFile(a[2])));
      }}},
    {"encrypt",
     {3, "CERT IN OUT",
      [](auto& a) {
          return Put(a[2], PublicEncrypt(CertificateIn(a[0]).PublicKey().get(), ReadWholeFile(a[1])));
      }}},
    {"decrypt",
     {3, "KEY IN OUT",
      [](auto& a) { return Put(a[2], PrivateDecrypt(KeyIn(a[0]).get(), ReadWholeFile(a[1]))); }}},
    {"sym-encrypt",
     {4, "CODE(hex) TEXT IN OUT",
      [](auto& a) {
          SymEncryptFile(CipherCodeOf(std::stoi(a[0], nullptr, 16)), ViewOf(a[1]), a[2], a[3]);
          return true;
      }}},
    {"sym-decrypt",
     {3, "TEXT IN OUT",
      [](auto& a) {
          SymDecryptFile(ViewOf(a[0]), a[1], a[2]);
          return true;
      }}},
};

}  // namespace

int main(int count, char** values)
{
    const Arguments all(values + 1, values + count);
    const auto command = all.empty() ? kCommands.end() : kCommands.find(all.front());
    if (command == kCommands.end() || command->second.arguments != all.size() - 1) {
        for (const auto& [name, known] : kCommands)
            std::fprintf(stderr, "%s %s\n", name.c_str(), known.usage);
        return 2;
    }
    try {
        return command->second.run(Arguments(all.begin() + 1, all.end())) ? 0 : 1;
    } catch (const Failure& failure) {
        std::fprintf(stderr, "refused: %s\n", failure.what());
        return 3;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", all.front().c_str(), error.what());
        return 2;
    }
}
