// Reading PKCS#12 files. The library's own reader would derive keys as often as the file says and knows no
// better word than "unsupported" for a file of the old ciphers; so the parts are opened here one by one,
// after a look at what opening them takes.
#include <openssl/err.h>
#include <openssl/pkcs12.h>
#include <openssl/x509.h>

#include <algorithm>

#include "base/Failure.h"
#include "x509/Authority.h"
#include "x509/Handles.h"

namespace kzr::softkey {

namespace {

constexpr std::size_t kFileLimit = std::size_t{1} << 20;
// Rounds of key derivation, all parts of a file together: a few seconds.
constexpr long kMostRounds = 4'000'000;
constexpr int kDeepestNesting = 4;
constexpr std::size_t kMostCertificates = 64;

using FileHandle = Handle<PKCS12, PKCS12_free>;

struct FreeBags {
    void operator()(STACK_OF(PKCS12_SAFEBAG) * bags) const noexcept
    {
        sk_PKCS12_SAFEBAG_pop_free(bags, PKCS12_SAFEBAG_free);
    }
};
using BagsHandle = std::unique_ptr<STACK_OF(PKCS12_SAFEBAG), FreeBags>;

struct FreeParts {
    void operator()(STACK_OF(PKCS7) * parts) const noexcept { sk_PKCS7_pop_free(parts, PKCS7_free); }
};
using PartsHandle = std::unique_ptr<STACK_OF(PKCS7), FreeParts>;

[[noreturn]] void ThrowUnreadable(const char* why)
{
    ERR_clear_error();
    throw Failure(Cause::BadData, std::string("The PKCS#12 file cannot be read: ") + why);
}

[[noreturn]] void ThrowLegacy(int algorithm)
{
    ERR_clear_error();
    throw Failure(Cause::Unsupported,
                  std::string("The PKCS#12 file is encrypted with the legacy algorithm ") +
                      OBJ_nid2ln(algorithm) +
                      "; convert it with: openssl pkcs12 -legacy -in OLD -nodes -out PLAIN, then "
                      "openssl pkcs12 -export -in PLAIN -out NEW");
}

class Reader {
  public:
    explicit Reader(std::string_view password) : m_password(password.begin(), password.end())
    {
        m_password.push_back(0);
    }

    Pkcs12 Read(View der)
    {
        const unsigned char* at = der.data();
        const FileHandle file(d2i_PKCS12(nullptr, &at, static_cast<long>(der.size())));
        if (!file || at != der.data() + der.size()) {
            ThrowUnreadable("it is not exactly one such file");
        }
        CheckPassword(file.get());
        const PartsHandle parts(PKCS12_unpack_authsafes(file.get()));
        if (!parts) {
            ThrowUnreadable("its parts are malformed");
        }
        for (int i = 0; i < sk_PKCS7_num(parts.get()); ++i) {
            TakePart(sk_PKCS7_value(parts.get(), i));
        }
        return Result();
    }

  private:
    void Spend(const ASN1_INTEGER* rounds)
    {
        const long wanted = rounds != nullptr ? ASN1_INTEGER_get(rounds) : 1;
        if (wanted < 1 || wanted > kMostRounds - m_spent) {
            ThrowUnreadable("deriving its keys would take unreasonably long");
        }
        m_spent += wanted;
    }

    // Proves password and content at once.
    void CheckPassword(PKCS12* file)
    {
        if (PKCS12_mac_present(file) != 1) {
            ThrowUnreadable("it has no check value");
        }
        const ASN1_INTEGER* rounds = nullptr;
        PKCS12_get0_mac(nullptr, nullptr, nullptr, &rounds, file);
        Spend(rounds);
        if (PKCS12_verify_mac(file, Password(), -1) == 1) {
            return;
        }
        // Some programs write "no password" where others write an empty one.
        if (PasswordSize() == 0 && PKCS12_verify_mac(file, nullptr, 0) == 1) {
            m_noPassword = true;
            return;
        }
        ThrowUnreadable("the password is wrong, or the file was changed");
    }

    // Throws for an algorithm that cannot be had or would take too long.
    void CheckAlgorithm(const X509_ALGOR* algorithm)
    {
        const ASN1_OBJECT* object = nullptr;
        int type = 0;
        const void* parameter = nullptr;
        X509_ALGOR_get0(&object, &type, &parameter, algorithm);
        const int nid = OBJ_obj2nid(object);
        if (type != V_ASN1_SEQUENCE) {
            ThrowUnreadable("an algorithm lacks its parameters");
        }
        if (nid == NID_pbes2) {
            CheckPbes2(static_cast<const ASN1_STRING*>(parameter));
            return;
        }
        constexpr int kLegacy[] = {NID_pbe_WithSHA1And40BitRC2_CBC, NID_pbe_WithSHA1And128BitRC2_CBC,
                                   NID_pbe_WithSHA1And40BitRC4,     NID_pbe_WithSHA1And128BitRC4,
                                   NID_pbeWithMD2AndDES_CBC,        NID_pbeWithMD5AndDES_CBC,
                                   NID_pbeWithMD2AndRC2_CBC,        NID_pbeWithMD5AndRC2_CBC,
                                   NID_pbeWithSHA1AndDES_CBC,       NID_pbeWithSHA1AndRC2_CBC};
        if (std::ranges::find(kLegacy, nid) != std::end(kLegacy)) {
            ThrowLegacy(nid);
        }
        if (nid != NID_pbe_WithSHA1And3_Key_TripleDES_CBC && nid != NID_pbe_WithSHA1And2_Key_TripleDES_CBC) {
            ThrowUnreadable("its encryption is unknown");
        }
        const Handle<PBEPARAM, PBEPARAM_free> parameters(static_cast<PBEPARAM*>(
            ASN1_item_unpack(static_cast<const ASN1_STRING*>(parameter), ASN1_ITEM_rptr(PBEPARAM))));
        if (!parameters) {
            ThrowUnreadable("the parameters of its encryption are malformed");
        }
        Spend(parameters->iter);
    }

    void CheckPbes2(const ASN1_STRING* parameter)
    {
        const Handle<PBE2PARAM, PBE2PARAM_free> scheme(
            static_cast<PBE2PARAM*>(ASN1_item_unpack(parameter, ASN1_ITEM_rptr(PBE2PARAM))));
        if (!scheme) {
            ThrowUnreadable("the parameters of its encryption are malformed");
        }
        const int cipher = OBJ_obj2nid(scheme->encryption->algorithm);
        if (cipher == NID_rc2_cbc || cipher == NID_des_cbc) {
            ThrowLegacy(cipher);
        }
        const X509_ALGOR* derivation = scheme->keyfunc;
        const bool derives = OBJ_obj2nid(derivation->algorithm) == NID_id_pbkdf2 &&
                             derivation->parameter != nullptr &&
                             derivation->parameter->type == V_ASN1_SEQUENCE;
        const Handle<PBKDF2PARAM, PBKDF2PARAM_free> parameters(
            derives ? static_cast<PBKDF2PARAM*>(ASN1_item_unpack(derivation->parameter->value.sequence,
                                                                 ASN1_ITEM_rptr(PBKDF2PARAM)))
                    : nullptr);
        if (!parameters) {
            ThrowUnreadable("its key derivation is not PBKDF2");
        }
        Spend(parameters->iter);
    }

    const char* Password() const
    {
        return m_noPassword ? nullptr : reinterpret_cast<const char*>(m_password.data());
    }
    int PasswordSize() const { return m_noPassword ? 0 : static_cast<int>(m_password.size() - 1); }

    void TakePart(PKCS7* part)
    {
        BagsHandle bags;
        if (PKCS7_type_is_data(part)) {
            bags.reset(PKCS12_unpack_p7data(part));
        } else if (PKCS7_type_is_encrypted(part) && part->d.encrypted != nullptr) {
            CheckAlgorithm(part->d.encrypted->enc_data->algorithm);
            bags.reset(PKCS12_unpack_p7encdata(part, Password(), PasswordSize()));
        }
        if (!bags) {
            ThrowUnreadable("a part of it cannot be opened");
        }
        TakeBags(bags.get(), 0);
    }

    void TakeBags(const STACK_OF(PKCS12_SAFEBAG) * bags, int depth)
    {
        if (depth > kDeepestNesting) {
            ThrowUnreadable("its parts are nested too deeply");
        }
        for (int i = 0; i < sk_PKCS12_SAFEBAG_num(bags); ++i) {
            PKCS12_SAFEBAG* bag = sk_PKCS12_SAFEBAG_value(bags, i);
            switch (PKCS12_SAFEBAG_get_nid(bag)) {
                case NID_keyBag:
                    TakeKey(PKCS12_SAFEBAG_get0_p8inf(bag));
                    break;
                case NID_pkcs8ShroudedKeyBag:
                    TakeEncryptedKey(bag);
                    break;
                case NID_certBag:
                    TakeCertificate(bag);
                    break;
                case NID_safeContentsBag:
                    TakeBags(PKCS12_SAFEBAG_get0_safes(bag), depth + 1);
                    break;
                default:  // lists and secrets of other kinds
                    break;
            }
        }
    }

    void TakeKey(const PKCS8_PRIV_KEY_INFO* info)
    {
        if (m_key) {
            return;
        }
        m_key.reset(info != nullptr ? EVP_PKCS82PKEY(info) : nullptr);
        if (!m_key) {
            ThrowUnreadable("its private key is malformed");
        }
        KeyTypeOf(m_key.get());
    }

    void TakeEncryptedKey(PKCS12_SAFEBAG* bag)
    {
        if (m_key) {
            return;
        }
        const X509_ALGOR* algorithm = nullptr;
        const X509_SIG* encrypted = PKCS12_SAFEBAG_get0_pkcs8(bag);
        if (encrypted == nullptr) {
            ThrowUnreadable("its private key is malformed");
        }
        X509_SIG_get0(encrypted, &algorithm, nullptr);
        CheckAlgorithm(algorithm);
        const Handle<PKCS8_PRIV_KEY_INFO, PKCS8_PRIV_KEY_INFO_free> info(
            PKCS12_decrypt_skey(bag, Password(), PasswordSize()));
        TakeKey(info.get());
    }

    void TakeCertificate(const PKCS12_SAFEBAG* bag)
    {
        if (PKCS12_SAFEBAG_get_bag_nid(bag) != NID_x509Certificate) {
            return;
        }
        const Certificate certificate(PKCS12_SAFEBAG_get1_cert(bag));
        if (!certificate || m_certificates.size() >= kMostCertificates) {
            ThrowUnreadable("it holds a malformed certificate, or too many");
        }
        m_certificates.push_back(Certificate::FromDer(certificate.Der()));
    }

    Pkcs12 Result()
    {
        if (!m_key) {
            ThrowUnreadable("it holds no private key");
        }
        const auto own = std::ranges::find_if(m_certificates, [this](const Certificate& certificate) {
            return X509_check_private_key(certificate.Get(), m_key.get()) == 1;
        });
        ERR_clear_error();
        if (own == m_certificates.end()) {
            ThrowUnreadable("it holds no certificate of its private key");
        }
        Pkcs12 result{std::move(m_key), *own, {}};
        m_certificates.erase(own);
        result.chain = std::move(m_certificates);
        return result;
    }

    Secret m_password;  // with a null at its end
    bool m_noPassword = false;
    long m_spent = 0;
    KeyHandle m_key;
    std::vector<Certificate> m_certificates;
};

}  // namespace

Pkcs12 ReadPkcs12(View der, std::string_view password)
{
    if (der.size() > kFileLimit) {
        ThrowUnreadable("it is too large");
    }
    if (password.find('\0') != password.npos) {
        throw Failure(Cause::BadArgument, "A password holds no NUL");
    }
    return Reader(password).Read(der);
}

}  // namespace kzr::softkey
