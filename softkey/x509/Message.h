// Signed and enveloped messages: PKCS#7 for RSA, the same templates with the SM2 identifiers of GM/T 0010.
#pragma once

#include <optional>

#include "x509/Certificate.h"

namespace kzr::softkey {

// DER of a SignedData with one signer and its certificate. `attached` says whether it carries its content.
Bytes SignMessage(EVP_PKEY* key, const Certificate& certificate, View data, bool attached);

struct SignedMessage {
    std::optional<Bytes> content;  // none when detached
    Certificate certificate;       // of the signer
    Bytes signature;
};

// Throws Failure(BadData) for what cannot be read.
SignedMessage ReadSignedMessage(View der);

// Of a detached message `content` is what was signed; an attached message whose content differs from a given
// non-empty `content` does not verify. False for a wrong signature; throws Failure(BadData) for what cannot
// be read.
bool VerifyMessage(View der, View content);

// SM2 with SM4-CBC, RSA with AES-256-CBC.
Bytes SealEnvelope(const Certificate& recipient, View data);
// Throws Failure(BadData) for what cannot be read or is not for this key.
Secret OpenEnvelope(EVP_PKEY* key, const Certificate& recipient, View der);

}  // namespace kzr::softkey
