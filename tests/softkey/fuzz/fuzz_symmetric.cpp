// Fuzzer: any bytes as encrypted data. Nearly all of its time goes into keys made from text, as it should.
#include "crypto/Symmetric.h"
#include "softkey/fuzz/FuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace kzr::softkey;
    Secret opened;
    if (fuzz::Succeeds({Cause::BadData}, [&] { opened = SymDecrypt(ViewOf("k"), View(data, size)); }))
        fuzz::Demand(opened.size() + 70 <= size);
    return 0;
}
