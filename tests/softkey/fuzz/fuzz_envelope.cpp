// Fuzzer: any bytes as an envelope for either key.
#include "softkey/fuzz/FuzzSupport.h"
#include "x509/Message.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace kzr::softkey;
    for (const fuzz::Identity* identity : {&fuzz::Sm2(), &fuzz::Rsa()}) {
        Secret opened;
        if (fuzz::Succeeds({Cause::BadData, Cause::Unsupported}, [&] {
                opened = OpenEnvelope(identity->key.get(), identity->certificate, View(data, size));
            }))
            fuzz::Demand(opened.size() < size);
    }
    return 0;
}
