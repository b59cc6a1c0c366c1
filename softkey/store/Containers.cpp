// Containers: files, and the private keys in them.
#include "store/Containers.h"

#include <openssl/err.h>

#include "base/Failure.h"
#include "base/File.h"
#include "store/Layout.h"
#include "store/Names.h"
#include "store/Wrap.h"

namespace kzr::softkey {
namespace {

constexpr std::size_t kRecordLimit = 256 * 1024;

// Binds a wrapped key to its place.
std::string PurposeOf(const std::string& container, Pair pair)
{
    return (pair == Pair::Signing ? "signing " : "exchange ") + container;
}

void CheckFits(const Secret& key, const Certificate& certificate, KeyType type)
{
    const KeyHandle own = PrivateKeyFromDer(key);
    const bool fits = certificate && KeyTypeOf(own.get()) == type &&
                      EVP_PKEY_eq(certificate.PublicKey().get(), own.get()) == 1;
    ERR_clear_error();
    if (!fits) throw Failure(Cause::BadArgument, "the private key does not belong to the certificate");
}

}  // namespace

ContainerRecord ReadContainer(const std::string& folder, const std::string& container)
{
    const auto content = ReadFileIfThere(ContainerFile(folder, container), kRecordLimit);
    if (!content) throw Failure(Cause::UnknownContainer, "there is no container \"" + container + "\"");
    ContainerRecord record = ParseContainer(*content);
    if (record.description.name != container)
        throw Failure(Cause::BadData, "the file of the container \"" + container + "\" is another one's");
    return record;
}

void CheckNewContainer(const NewContainer& container)
{
    const ContainerDescription& description = container.description;
    CheckContainerName(description.name);
    CheckUserName(description.user);
    CheckFits(container.signingKey, description.signing, description.type);
    if (description.exchange.has_value() != container.exchangeKey.has_value())
        throw Failure(Cause::BadArgument, "an exchange pair has a key and a certificate");
    if (description.exchange) CheckFits(*container.exchangeKey, *description.exchange, description.type);
}

void WriteContainer(const std::string& folder, const Secret& deviceKey, const NewContainer& container)
{
    const std::string& name = container.description.name;
    ContainerRecord record{container.description, {}, {}};
    record.signingKey = Wrap(deviceKey, PurposeOf(name, Pair::Signing), container.signingKey);
    if (container.exchangeKey)
        record.exchangeKey = Wrap(deviceKey, PurposeOf(name, Pair::Exchange), *container.exchangeKey);
    WriteWholeFile(ContainerFile(folder, name), ViewOf(FormatContainer(record)));
}

KeyHandle UnwrapKey(const ContainerRecord& record, const Secret& deviceKey, Pair pair)
{
    const std::string& name = record.description.name;
    if (pair == Pair::Exchange && !record.description.exchange)
        throw Failure(Cause::UnknownContainer, "the container \"" + name + "\" has no exchange pair");
    Secret der;
    if (!Unwrap(deviceKey, PurposeOf(name, pair),
                pair == Pair::Signing ? record.signingKey : record.exchangeKey, der))
        throw Failure(Cause::BadData, "the private key in the container \"" + name + "\" cannot be opened");
    return PrivateKeyFromDer(der);
}

}  // namespace kzr::softkey
