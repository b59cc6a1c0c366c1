// Chains and revocation lists, with RSA and SM2: what is valid, and every way not to be.
#include <gtest/gtest.h>

#include <ctime>

#include "softkey/core/TestAuthorities.h"
#include "x509/Validation.h"

namespace kzr::softkey::test {

namespace {

constexpr std::time_t kDay = 24 * 60 * 60;

class ChainOf : public ::testing::TestWithParam<KeyType> {
  protected:
    const Family& Own() const { return FamilyOf(GetParam()); }
    EVP_PKEY* Key(int number) const { return KeyOf(GetParam(), number); }

    // The root as anchor, the authority between it and users as part of the chain.
    TrustStore Store() const
    {
        TrustStore store;
        store.AddCertificates(Own().root.Der(), true);
        store.AddCertificates(Own().between.Der(), true);
        return store;
    }

    Validity Check(const Certificate& certificate) const { return Check(Store(), certificate); }
    static Validity Check(const TrustStore& store, const Certificate& certificate, std::time_t shift = 0)
    {
        return store.Check(certificate, std::time(nullptr) + shift);
    }

    Certificate UserBelow(const Issuer& issuer, const char* name = "Another user") const
    {
        return IssueUser(issuer, Key(2), Named(name), Usage::Signing, 0, 10);
    }

    static std::string SerialOf(const Certificate& certificate) { return CertificateField(certificate, 2); }
};

INSTANTIATE_TEST_SUITE_P(Keys, ChainOf, ::testing::Values(KeyType::Rsa, KeyType::Sm2),
                         [](const auto& row) { return NameOf(row.param); });

}  // namespace

TEST_P(ChainOf, AUserBelowAnAuthorityBelowAnAnchorIsValid)
{
    EXPECT_EQ(Check(Own().user), Validity::Valid);
    EXPECT_EQ(Check(Own().between), Validity::Valid);
    EXPECT_EQ(Check(Own().root), Validity::Valid);
}

TEST_P(ChainOf, WithoutTheAuthorityBetweenNoChainIsFound)
{
    TrustStore store;
    store.AddCertificates(Own().root.Der(), true);
    EXPECT_EQ(Check(store, Own().user), Validity::Untrusted);
}

TEST_P(ChainOf, WithoutAnyAnchorNothingIsTrusted)
{
    EXPECT_EQ(Check(TrustStore(), Own().user), Validity::Untrusted);
    EXPECT_EQ(Check(TrustStore(), Own().root), Validity::Untrusted);
}

TEST_P(ChainOf, ASelfSignedCertificateOfAChainIsNoAnchorUnlessSaidSo)
{
    TrustStore store;
    store.AddCertificates(Own().root.Der(), false);
    store.AddCertificates(Own().between.Der(), false);
    EXPECT_EQ(Check(store, Own().user), Validity::Untrusted);
    EXPECT_EQ(Check(store, Own().root), Validity::Untrusted);
    store.AddCertificates(Own().root.Der(), true);
    EXPECT_EQ(Check(store, Own().user), Validity::Valid);
}

TEST_P(ChainOf, AnAuthorityBetweenIsNoAnchorEvenWhenAnchorsAreAdded)
{
    TrustStore store;
    store.AddCertificates(Own().between.Der(), true);
    EXPECT_EQ(Check(store, Own().user), Validity::Untrusted);
}

TEST_P(ChainOf, ASelfSignedStrangerIsUntrusted)
{
    EXPECT_EQ(Check(MakeRoot(Key(3), Named("Stranger"), 100)), Validity::Untrusted);
}

TEST_P(ChainOf, AStrangerWithTheAnchorsNameIsUntrusted)
{
    const Certificate stranger = MakeRoot(Key(3), Named("Root"), 100);
    EXPECT_EQ(Check(stranger), Validity::Untrusted);
    EXPECT_EQ(Check(UserBelow({stranger, Key(3)})), Validity::Untrusted);
}

TEST_P(ChainOf, AChangedByteOfTheSignatureMakesItUntrusted)
{
    Bytes der = Own().user.Der();
    der.back() ^= 1;
    EXPECT_EQ(Check(Certificate::FromDer(der)), Validity::Untrusted);
}

TEST_P(ChainOf, AChangedByteOfTheContentMakesItUntrusted)
{
    Bytes der = Own().user.Der();
    const std::string name = "User";
    const auto at = std::search(der.begin(), der.end(), name.begin(), name.end());
    ASSERT_NE(at, der.end());
    *at = 'L';
    EXPECT_EQ(Check(Certificate::FromDer(der)), Validity::Untrusted);
}

TEST_P(ChainOf, AUserIsNoAuthority)
{
    const Certificate below = UserBelow({Own().user, Key(2)});
    TrustStore store = Store();
    store.AddCertificates(Own().user.Der(), false);
    EXPECT_EQ(Check(store, below), Validity::Untrusted);
}

TEST_P(ChainOf, TheLimitOfThePathIsKept)
{
    const Certificate last = IssueAuthority(Own().Root(), Key(3), Named("Last"), 100, 0);
    const Certificate tooMuch = IssueAuthority({last, Key(3)}, Key(4), Named("Too much"), 100);
    TrustStore store = Store();
    store.AddCertificates(last.Der(), false);
    store.AddCertificates(tooMuch.Der(), false);
    EXPECT_EQ(Check(store, UserBelow({last, Key(3)})), Validity::Valid);
    EXPECT_EQ(Check(store, UserBelow({tooMuch, Key(4)})), Validity::Untrusted);
}

TEST_P(ChainOf, AChainOfTenIsFoundAndOneOfElevenIsNot)
{
    TrustStore store = Store();
    Issuer issuer = Own().Between();
    for (int i = 0; i < 7; ++i) {
        const Certificate next = IssueAuthority(issuer, Key(1), Named("Level " + std::to_string(i)), 100);
        store.AddCertificates(next.Der(), false);
        issuer = {next, Key(1)};
    }
    EXPECT_EQ(Check(store, UserBelow(issuer)), Validity::Valid);
    const Certificate eleventh = IssueAuthority(issuer, Key(1), Named("One more"), 100);
    store.AddCertificates(eleventh.Der(), false);
    EXPECT_EQ(Check(store, UserBelow({eleventh, Key(1)})), Validity::Untrusted);
}

TEST_P(ChainOf, HundredsOfAuthoritiesOfOneNameEndInAnAnswer)
{
    TrustStore store;
    store.AddCertificates(Own().root.Der(), true);
    for (int i = 0; i < 300; ++i) {
        store.AddCertificates(IssueAuthority({Own().between, Key(1)}, Key(1), Named("Between"), 100).Der(),
                              false);
    }
    EXPECT_EQ(Check(store, Own().user), Validity::Untrusted);
}

TEST_P(ChainOf, AuthoritiesThatVouchForEachOtherEndInAnAnswer)
{
    const Certificate one = MakeRoot(Key(3), Named("One"), 100);
    const Certificate other = MakeRoot(Key(4), Named("Other"), 100);
    TrustStore store = Store();
    store.AddCertificates(IssueAuthority({one, Key(3)}, Key(4), Named("Other"), 100).Der(), false);
    store.AddCertificates(IssueAuthority({other, Key(4)}, Key(3), Named("One"), 100).Der(), false);
    EXPECT_EQ(Check(store, UserBelow({one, Key(3)})), Validity::Untrusted);
}

TEST_P(ChainOf, DatesAreThoseOfTheMomentThatIsAsked)
{
    const Certificate user = UserBelow(Own().Between());
    const TrustStore store = Store();
    EXPECT_EQ(Check(store, user, 9 * kDay), Validity::Valid);
    EXPECT_EQ(Check(store, user, 11 * kDay), Validity::OutsideDates);
    EXPECT_EQ(Check(store, user, -kDay), Validity::OutsideDates);
}

TEST_P(ChainOf, ExpiredAndFutureCertificatesAreOutsideTheirDates)
{
    EXPECT_EQ(Check(IssueUser(Own().Between(), Key(2), Named("Old"), Usage::Signing, -20, 10)),
              Validity::OutsideDates);
    EXPECT_EQ(Check(IssueUser(Own().Between(), Key(2), Named("Young"), Usage::Signing, 5, 10)),
              Validity::OutsideDates);
}

TEST_P(ChainOf, TheDatesOfTheAuthoritiesCountToo)
{
    const Certificate ended = IssueAuthority(Own().Root(), Key(3), Named("Ended"), -1);
    TrustStore store = Store();
    store.AddCertificates(ended.Der(), false);
    EXPECT_EQ(Check(store, UserBelow({ended, Key(3)})), Validity::OutsideDates);
}

TEST_P(ChainOf, AListRevokesWhomItNamesAndNobodyElse)
{
    TrustStore store = Store();
    store.AddRevocationLists(MakeRevocationList(Own().Between(), {SerialOf(Own().user)}, 10));
    EXPECT_EQ(Check(store, Own().user), Validity::Revoked);
    EXPECT_EQ(Check(store, UserBelow(Own().Between())), Validity::Valid);
}

TEST_P(ChainOf, ARevokedAuthorityTakesItsUsersWithIt)
{
    TrustStore store = Store();
    store.AddRevocationLists(MakeRevocationList(Own().Root(), {SerialOf(Own().between)}, 10));
    EXPECT_EQ(Check(store, Own().between), Validity::Revoked);
    EXPECT_EQ(Check(store, Own().user), Validity::Revoked);
}

TEST_P(ChainOf, AnEmptyListRevokesNobody)
{
    TrustStore store = Store();
    store.AddRevocationLists(MakeRevocationList(Own().Between(), {}, 10));
    EXPECT_EQ(Check(store, Own().user), Validity::Valid);
}

TEST_P(ChainOf, AnOutdatedListDoesNotCount)
{
    TrustStore store = Store();
    store.AddRevocationLists(MakeRevocationList(Own().Between(), {SerialOf(Own().user)}, -1));
    EXPECT_EQ(Check(store, Own().user), Validity::Valid);
}

TEST_P(ChainOf, AListOfTheFutureDoesNotCountYet)
{
    const Certificate user = IssueUser(Own().Between(), Key(2), Named("User"), Usage::Signing, -5, 100);
    TrustStore store = Store();
    store.AddRevocationLists(MakeRevocationList(Own().Between(), {SerialOf(user)}, 10));
    EXPECT_EQ(Check(store, user), Validity::Revoked);
    // A day ago nobody had written the list, nor the authorities.
    EXPECT_EQ(Check(store, user, -kDay), Validity::OutsideDates);
}

TEST_P(ChainOf, AListThatAnotherSignedInTheIssuersNameDoesNotCount)
{
    const Certificate stranger = MakeRoot(Key(3), Named("Between"), 100);
    TrustStore store = Store();
    store.AddRevocationLists(MakeRevocationList({stranger, Key(3)}, {SerialOf(Own().user)}, 10));
    EXPECT_EQ(Check(store, Own().user), Validity::Valid);
}

TEST_P(ChainOf, AListOfAnotherIssuerDoesNotCount)
{
    TrustStore store = Store();
    store.AddRevocationLists(MakeRevocationList(Own().Root(), {SerialOf(Own().user)}, 10));
    EXPECT_EQ(Check(store, Own().user), Validity::Valid);
}

TEST_P(ChainOf, AChangedListDoesNotCount)
{
    Bytes list = MakeRevocationList(Own().Between(), {SerialOf(Own().user)}, 10);
    list.back() ^= 1;
    TrustStore store = Store();
    store.AddRevocationLists(list);
    EXPECT_EQ(Check(store, Own().user), Validity::Valid);
}

TEST_P(ChainOf, TheLastListOfSeveralRevokesAsWell)
{
    TrustStore store = Store();
    store.AddRevocationLists(MakeRevocationList(Own().Root(), {}, 10));
    store.AddRevocationLists(MakeRevocationList(Own().Between(), {SerialOf(Own().user)}, -1));
    store.AddRevocationLists(MakeRevocationList(Own().Between(), {SerialOf(Own().user)}, 10));
    EXPECT_EQ(Check(store, Own().user), Validity::Revoked);
}

// The list with another time of its making, signed anew.
Bytes MadeAt(const Bytes& list, EVP_PKEY* key, std::time_t when)
{
    const unsigned char* at = list.data();
    X509_CRL* changed = d2i_X509_CRL(nullptr, &at, static_cast<long>(list.size()));
    ASN1_TIME* time = ASN1_TIME_set(nullptr, when);
    X509_CRL_set1_lastUpdate(changed, time);
    X509_CRL_sign(changed, key, EVP_sha256());
    Bytes der(static_cast<std::size_t>(i2d_X509_CRL(changed, nullptr)));
    unsigned char* to = der.data();
    i2d_X509_CRL(changed, &to);
    ASN1_TIME_free(time);
    X509_CRL_free(changed);
    return der;
}

TEST(RevocationLists, ANewerOneReplacesTheOlderInWhateverOrderTheyCome)
{
    const Family& family = FamilyOf(KeyType::Rsa);
    const std::string serial = CertificateField(family.user, 2);
    const std::time_t now = std::time(nullptr);
    const Bytes naming =
        MadeAt(MakeRevocationList(family.Between(), {serial}, 10), KeyOf(KeyType::Rsa, 1), now - 2 * kDay);
    const Bytes released =
        MadeAt(MakeRevocationList(family.Between(), {}, 10), KeyOf(KeyType::Rsa, 1), now - kDay);
    for (const bool newerFirst : {true, false}) {
        TrustStore store;
        store.AddCertificates(family.root.Der(), true);
        store.AddCertificates(family.between.Der(), false);
        store.AddRevocationLists(naming);
        EXPECT_EQ(store.Check(family.user, now), Validity::Revoked);
        TrustStore both;
        both.AddCertificates(family.root.Der(), true);
        both.AddCertificates(family.between.Der(), false);
        both.AddRevocationLists(newerFirst ? released : naming);
        both.AddRevocationLists(newerFirst ? naming : released);
        EXPECT_EQ(both.Check(family.user, now), Validity::Valid);
    }
}

TEST_P(ChainOf, OfSeveralAnswersTheGravestWins)
{
    const Certificate expired = IssueUser(Own().Between(), Key(2), Named("Old"), Usage::Signing, -20, 10);
    TrustStore store = Store();
    store.AddRevocationLists(MakeRevocationList(Own().Between(), {SerialOf(expired)}, 10));
    EXPECT_EQ(Check(store, expired), Validity::Revoked);
    TrustStore noAnchor;
    noAnchor.AddRevocationLists(MakeRevocationList(Own().Between(), {SerialOf(expired)}, 10));
    EXPECT_EQ(Check(noAnchor, expired), Validity::Untrusted);
    EXPECT_EQ(Check(noAnchor, Certificate()), Validity::Unreadable);
}

TEST_P(ChainOf, AnAnchorOfOneKindMayVouchForAKeyOfTheOther)
{
    const KeyType other = GetParam() == KeyType::Rsa ? KeyType::Sm2 : KeyType::Rsa;
    const Certificate mixed = IssueAuthority(Own().Root(), KeyOf(other, 1), Named("Mixed"), 100);
    TrustStore store = Store();
    store.AddCertificates(mixed.Der(), false);
    const Certificate user =
        IssueUser({mixed, KeyOf(other, 1)}, KeyOf(other, 2), Named("User"), Usage::Signing, 0, 10);
    EXPECT_EQ(Check(store, user), Validity::Valid);
    store.AddRevocationLists(MakeRevocationList({mixed, KeyOf(other, 1)}, {SerialOf(user)}, 10));
    EXPECT_EQ(Check(store, user), Validity::Revoked);
}

TEST_P(ChainOf, BundlesComeInEveryForm)
{
    const std::string pem = "A text before.\n" + Own().root.Pem() + "between\n" + Own().between.Pem();
    TrustStore fromPem;
    fromPem.AddCertificates(ViewOf(pem), true);
    EXPECT_EQ(Check(fromPem, Own().user), Validity::Valid);

    TrustStore fromText;
    fromText.AddCertificates(ViewOf(Own().root.Text()), true);
    fromText.AddCertificates(ViewOf(Own().between.Text()), true);
    EXPECT_EQ(Check(fromText, Own().user), Validity::Valid);
}

TEST_P(ChainOf, WhatHoldsNothingReadableIsRefused)
{
    TrustStore store;
    const Bytes list = MakeRevocationList(Own().Between(), {}, 10);
    const Bytes certificate = Own().user.Der();
    const Bytes large((std::size_t{1} << 20) + 1, '0');
    for (const View bad :
         {View(), ViewOf("text"), ViewOf("-----BEGIN CERTIFICATE-----\nAAAA\n-----END CERTIFICATE-----"),
          ViewOf("MAA="), View(list), View(large)}) {
        EXPECT_EQ(CauseOf([&] { store.AddCertificates(bad, true); }), Cause::BadData);
    }
    for (const View bad : {View(), ViewOf("text"), ViewOf("MAA="), View(certificate)}) {
        EXPECT_EQ(CauseOf([&] { store.AddRevocationLists(bad); }), Cause::BadData);
    }
}

TEST_P(ChainOf, OneBadBlockDoesNotTakeTheOthersWithIt)
{
    const std::string pem = "-----BEGIN CERTIFICATE-----\n!!!!\n-----END CERTIFICATE-----\n" +
                            Own().root.Pem() +
                            "-----BEGIN CERTIFICATE-----\nAAAA\n-----END CERTIFICATE-----\n" +
                            Own().between.Pem() + "-----BEGIN CERTIFICATE-----\nAAAA";
    TrustStore store;
    store.AddCertificates(ViewOf(pem), true);
    EXPECT_EQ(Check(store, Own().user), Validity::Valid);
}

}  // namespace kzr::softkey::test
