// Encryption with a text as key, for a certificate and with a public key; and secret sharing.
#include "base/Base64.h"
#include "base/Failure.h"
#include "crypto/Sharing.h"
#include "crypto/Sign.h"
#include "crypto/Symmetric.h"
#include "server/Methods.h"
#include "server/Selected.h"
#include "x509/Message.h"

namespace kzr::softkey {
namespace {

// As in the other lists of the interface.
constexpr std::string_view kShareEnd = "&&&";

CipherCode CurrentCipher(const ControlState& state) { return CipherCodeOf(state.encryptMethod.load()); }

// What is encrypted for a user may be for either certificate. `open` throws Failure(BadData) for what is not
// for the key.
template <class Open>
Secret OpenWithEither(const Selected& selected, Open&& open)
{
    if (selected.container.exchange) {
        const KeyHandle key = selected.PrivateKey(Pair::Exchange);
        try {
            return open(key.get(), *selected.container.exchange);
        } catch (const Failure& failure) {
            if (failure.Why() != Cause::BadData) throw;
        }
    }
    const KeyHandle key = selected.PrivateKey(Pair::Signing);
    return open(key.get(), selected.container.signing);
}

}  // namespace

Answer GetEncryptMethod(const Arguments&, ControlState& state)
{
    return Answer::Number(state.encryptMethod.load());
}

// Unlike elsewhere, 0 says that it went well.
Answer SetEncryptMethod(const Arguments& arguments, ControlState& state)
{
    state.encryptMethod.store(static_cast<int>(CipherCodeOf(arguments.Number(0))));
    return Answer::Number(0);
}

Answer SymEncryptData(const Arguments& arguments, ControlState& state)
{
    return Answer::Text(Base64Encode(SymEncrypt(CurrentCipher(state), arguments.Data(0), arguments.Data(1))));
}

Answer SymDecryptData(const Arguments& arguments, ControlState&)
{
    return Answer::Text(TextOf(SymDecrypt(arguments.Data(0), Base64Decode(arguments.Text(1)))));
}

// Clients look at the HRESULT alone, so what goes wrong is never told by the boolean.
Answer SymEncryptTheFile(const Arguments& arguments, ControlState& state)
{
    SymEncryptFile(CurrentCipher(state), arguments.Data(0), arguments.Name(1), arguments.Name(2));
    return Answer::Truth(true);
}

Answer SymDecryptTheFile(const Arguments& arguments, ControlState&)
{
    SymDecryptFile(arguments.Data(0), arguments.Name(1), arguments.Name(2));
    return Answer::Truth(true);
}

Answer EncryptDataEx(const Arguments& arguments, ControlState&)
{
    return Answer::Text(
        Base64Encode(SealEnvelope(Certificate::FromText(arguments.Text(0)), arguments.Data(1))));
}

Answer DecryptData(const Arguments& arguments, ControlState&)
{
    const Bytes envelope = Base64Decode(arguments.Text(1));
    return Answer::Text(
        TextOf(OpenWithEither(Select(arguments.Text(0)), [&](EVP_PKEY* key, const Certificate& recipient) {
            return OpenEnvelope(key, recipient, envelope);
        })));
}

Answer PubKeyEncrypt(const Arguments& arguments, ControlState&)
{
    const KeyHandle key = Certificate::FromText(arguments.Text(0)).PublicKey();
    return Answer::Text(Base64Encode(PublicEncrypt(key.get(), arguments.Data(1))));
}

Answer PriKeyDecrypt(const Arguments& arguments, ControlState&)
{
    const Bytes encrypted = Base64Decode(arguments.Text(1));
    return Answer::Text(
        TextOf(OpenWithEither(Select(arguments.Text(0)), [&](EVP_PKEY* key, const Certificate&) {
            return PrivateDecrypt(key, encrypted);
        })));
}

Answer SecertSegment(const Arguments& arguments, ControlState&)
{
    std::string list;
    for (const std::string& share :
         SplitSecret(arguments.Data(0), arguments.Number(1), arguments.Number(2), arguments.Number(3)))
        list.append(share).append(kShareEnd);
    return Answer::Text(list);
}

Answer SecertRecovery(const Arguments& arguments, ControlState&)
{
    std::vector<std::string> shares;
    std::string_view rest = arguments.Text(0);
    while (!rest.empty()) {
        const std::size_t end = rest.find(kShareEnd);
        const std::string_view share = rest.substr(0, end);
        if (!share.empty()) shares.emplace_back(share);
        rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + kShareEnd.size());
    }
    return Answer::Text(TextOf(RecoverSecret(shares)));
}

}  // namespace kzr::softkey
