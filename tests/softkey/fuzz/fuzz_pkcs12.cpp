// Fuzzer: any bytes are a PKCS#12 file, or a Failure of one of the promised causes.
#include <openssl/pkcs12.h>

#include <cstdlib>

#include "base/Failure.h"
#include "x509/Authority.h"

namespace {

using namespace kzr::softkey;

void TryToRead(View bytes)
{
    try {
        const Pkcs12 read = ReadPkcs12(bytes, "secret");
        if (!read.key || !read.certificate ||
            X509_check_private_key(read.certificate.Get(), read.key.get()) != 1) {
            std::abort();
        }
    } catch (const Failure& failure) {
        if (failure.Why() != Cause::BadData && failure.Why() != Cause::Unsupported) {
            std::abort();
        }
    }
}

// A changed file has a wrong check value; the same file with the right one reaches the parts. One round keeps
// it fast.
Bytes WithCheckValue(View bytes)
{
    const unsigned char* at = bytes.data();
    PKCS12* file = d2i_PKCS12(nullptr, &at, static_cast<long>(bytes.size()));
    Bytes der;
    if (file != nullptr && PKCS12_set_mac(file, "secret", -1, nullptr, 0, 1, nullptr) == 1) {
        unsigned char* memory = nullptr;
        const int size = i2d_PKCS12(file, &memory);
        if (size > 0) {
            der.assign(memory, memory + size);
        }
        OPENSSL_free(memory);
    }
    PKCS12_free(file);
    return der;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const View bytes(data, size);
    TryToRead(bytes);
    const Bytes proved = WithCheckValue(bytes);
    if (!proved.empty()) {
        TryToRead(proved);
    }
    return 0;
}
