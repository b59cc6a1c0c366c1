// Fuzzer: any text is an XML document that verifies or not, or bad data; and what is signed here verifies.
#include <cstdlib>

#include "base/Failure.h"
#include "x509/Authority.h"
#include "xml/XmlSignature.h"

namespace {

using namespace kzr::softkey;

struct Signer {
    KeyHandle key = GenerateKey(KeyType::Sm2);
    Certificate certificate;
    Signer()
    {
        Subject subject;
        subject.commonName = "Fuzzed";
        certificate = MakeRoot(key.get(), subject, 1000);
    }
};

template <typename Action>
void BadDataAtMost(Action action)
{
    try {
        action();
    } catch (const Failure& failure) {
        if (failure.Why() != Cause::BadData) {
            std::abort();
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const Signer* const signer = new Signer;
    const std::string_view text = TextOf({data, size});
    bool verifies = false;
    BadDataAtMost([&] { verifies = VerifyXml(text); });
    for (int type = 1; type <= 6; ++type) {
        bool given = false;
        BadDataAtMost([&] {
            XmlSignatureField(text, type);
            given = true;
        });
        if (verifies && !given) {
            std::abort();
        }
    }
    std::string made;
    BadDataAtMost([&] { made = SignXml(signer->key.get(), signer->certificate, text); });
    if (!made.empty() && (!VerifyXml(made) || verifies)) {
        std::abort();
    }
    return 0;
}
