// Fuzzer: any bytes as a signed message. What verifies can be read, and carries a certificate.
#include "softkey/fuzz/FuzzSupport.h"
#include "x509/Message.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace kzr::softkey;
    const View input(data, size);
    SignedMessage message;
    const bool read = fuzz::Succeeds({Cause::BadData}, [&] { message = ReadSignedMessage(input); });
    fuzz::Demand(!read || message.certificate);
    for (const std::string_view content : {"", "content"}) {
        bool fits = false;
        fuzz::Succeeds({Cause::BadData, Cause::Unsupported},
                       [&] { fits = VerifyMessage(input, ViewOf(content)); });
        fuzz::Demand(!fits || read);
        // Content that is handed over and content inside are the same when both are there.
        fuzz::Demand(!fits || content.empty() || !message.content || TextOf(*message.content) == content);
    }
    return 0;
}
