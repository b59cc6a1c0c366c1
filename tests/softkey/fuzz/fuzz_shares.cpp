// Fuzzer: lines of text as shares, and again with check values made to fit, so that the search gets past
// them.
#include "crypto/Digest.h"
#include "crypto/Sharing.h"
#include "softkey/fuzz/FuzzSupport.h"

namespace {

using namespace kzr::softkey;

std::string WithFittingCheckValue(const std::string& share)
{
    Bytes bytes;
    if (!fuzz::Succeeds({Cause::BadData}, [&] { bytes = Base64Decode(share); }) || bytes.size() < 4)
        return share;
    bytes.resize(bytes.size() - 4);
    const Bytes check = Digest(HashCode::Sha256, bytes);
    bytes.insert(bytes.end(), check.begin(), check.begin() + 4);
    return Base64Encode(bytes);
}

void Recover(const std::vector<std::string>& shares)
{
    Secret secret;
    if (fuzz::Succeeds({Cause::BadData}, [&] { secret = RecoverSecret(shares); }))
        fuzz::Demand(!secret.empty() && secret.size() <= 65536);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::vector<std::string> shares(1);
    for (const std::uint8_t byte : View(data, size)) {
        if (byte == '\n')
            shares.emplace_back();
        else
            shares.back() += static_cast<char>(byte);
    }
    if (shares.back().empty()) shares.pop_back();
    Recover(shares);
    for (std::string& share : shares) share = WithFittingCheckValue(share);
    Recover(shares);
    return 0;
}
