// Signatures over text, files, messages and XML: made with a key that somebody has logged in to, and checked.
#include "base/Base64.h"
#include "base/Failure.h"
#include "crypto/Sign.h"
#include "server/Methods.h"
#include "server/Mutex.h"
#include "server/Selected.h"
#include "x509/Message.h"
#include "xml/XmlSignature.h"

namespace kzr::softkey {
namespace {

// The XML library is built without threads: its own thread state would stay behind when the module goes.
Mutex g_xmlLock;

// A signature that is no Base64 is a wrong one.
bool ReadSignature(const std::string& text, Bytes& signature)
{
    try {
        signature = Base64Decode(text);
        return true;
    } catch (const Failure& failure) {
        if (failure.Why() != Cause::BadData) throw;
        return false;
    }
}

}  // namespace

Answer SignText(const Arguments& arguments, ControlState&)
{
    const KeyHandle key = Select(arguments.Text(0)).PrivateKey(Pair::Signing);
    return Answer::Text(Base64Encode(Sign(key.get(), arguments.Data(1))));
}

Answer SignTheFile(const Arguments& arguments, ControlState&)
{
    const KeyHandle key = Select(arguments.Text(0)).PrivateKey(Pair::Signing);
    return Answer::Text(Base64Encode(SignFile(key.get(), arguments.Name(1))));
}

Answer SignTheMessage(const Arguments& arguments, ControlState&)
{
    constexpr int kAttached = 0;
    constexpr int kDetached = 1;
    const int flag = arguments.Number(0);
    if (flag != kAttached && flag != kDetached) throw Failure(Cause::BadArgument, "the flag is 0 or 1");
    const Selected selected = Select(arguments.Text(1));
    const KeyHandle key = selected.PrivateKey(Pair::Signing);
    return Answer::Text(Base64Encode(
        SignMessage(key.get(), selected.container.signing, arguments.Data(2), flag == kAttached)));
}

Answer SignDataXml(const Arguments& arguments, ControlState&)
{
    const Selected selected = Select(arguments.Text(0));
    const KeyHandle key = selected.PrivateKey(Pair::Signing);
    const Hold held(g_xmlLock);
    return Answer::Text(SignXml(key.get(), selected.container.signing, arguments.Text(1)));
}

Answer VerifySignedData(const Arguments& arguments, ControlState&)
{
    const KeyHandle key = Certificate::FromText(arguments.Text(0)).PublicKey();
    Bytes signature;
    return Answer::Truth(ReadSignature(arguments.Text(2), signature) &&
                         Verify(key.get(), arguments.Data(1), signature));
}

Answer VerifySignedFile(const Arguments& arguments, ControlState&)
{
    const KeyHandle key = Certificate::FromText(arguments.Text(0)).PublicKey();
    Bytes signature;
    return Answer::Truth(ReadSignature(arguments.Text(2), signature) &&
                         VerifyFile(key.get(), arguments.Name(1), signature));
}

Answer VerifySignedMessage(const Arguments& arguments, ControlState&)
{
    return Answer::Truth(VerifyMessage(Base64Decode(arguments.Text(0)), arguments.Data(1)));
}

Answer VerifySignedDataXml(const Arguments& arguments, ControlState&)
{
    const Hold held(g_xmlLock);
    return Answer::Truth(VerifyXml(arguments.Text(0)));
}

Answer GetInfoFromSignedMessage(const Arguments& arguments, ControlState&)
{
    const SignedMessage message = ReadSignedMessage(Base64Decode(arguments.Text(0)));
    switch (arguments.Number(1)) {
        case 1:
            return Answer::Text(message.content ? TextOf(*message.content) : std::string_view());
        case 2:
            return Answer::Text(message.certificate.Text());
        case 3:
            return Answer::Text(Base64Encode(message.signature));
        default:
            throw Failure(Cause::BadArgument, "a message has no such part");
    }
}

Answer GetXmlSignatureInfo(const Arguments& arguments, ControlState&)
{
    const Hold held(g_xmlLock);
    return Answer::Text(XmlSignatureField(arguments.Text(0), arguments.Number(1)));
}

}  // namespace kzr::softkey
