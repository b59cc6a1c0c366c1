// Owners for the cryptographic library's objects, named by the function that frees them.
#pragma once

#include <openssl/asn1.h>
#include <openssl/bio.h>
#include <openssl/bn.h>
#include <openssl/x509v3.h>

#include <memory>

namespace kzr::softkey {

template <auto Free>
struct FreeWith {
    template <typename T>
    void operator()(T* object) const noexcept
    {
        Free(object);
    }
};

template <typename T, auto Free>
using Handle = std::unique_ptr<T, FreeWith<Free>>;

using BioHandle = Handle<BIO, BIO_free_all>;
using BignumHandle = Handle<BIGNUM, BN_free>;
using ObjectHandle = Handle<ASN1_OBJECT, ASN1_OBJECT_free>;
using ExtensionHandle = Handle<X509_EXTENSION, X509_EXTENSION_free>;
using NameHandle = Handle<X509_NAME, X509_NAME_free>;

// OPENSSL_free is a macro and cannot be named as a function.
struct FreeMemory {
    void operator()(void* memory) const noexcept { OPENSSL_free(memory); }
};
using MemoryHandle = std::unique_ptr<unsigned char, FreeMemory>;

}  // namespace kzr::softkey
