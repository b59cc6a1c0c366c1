// XML signatures: what they cover, the one form they have, and the ways of moving one to what it did not
// sign.
#include "xml/XmlSignature.h"

#include <gtest/gtest.h>

#include "base/Base64.h"
#include "crypto/Digest.h"
#include "crypto/Sign.h"
#include "softkey/core/TestAuthorities.h"

namespace kzr::softkey::test {

namespace {

constexpr char kDocument[] = "<order id=\"7\"><item>\xE7\x94\xA8\xE6\x88\xB7</item><sum>100</sum></order>";

std::string Replaced(std::string text, const std::string& what, const std::string& by)
{
    const std::size_t at = text.find(what);
    EXPECT_NE(at, std::string::npos) << what;
    return at == std::string::npos ? text : text.replace(at, what.size(), by);
}

std::string Between(const std::string& text, const std::string& begin, const std::string& end)
{
    const std::size_t from = text.find(begin);
    const std::size_t to = text.find(end, from);
    EXPECT_TRUE(from != std::string::npos && to != std::string::npos);
    return text.substr(from, to + end.size() - from);
}

class XmlSignatureOf : public ::testing::TestWithParam<KeyType> {
  protected:
    EVP_PKEY* Key() const { return KeyOf(GetParam(), 2); }
    const Certificate& Own() const { return FamilyOf(GetParam()).user; }
    std::string Signed(std::string_view document = kDocument) const
    {
        return SignXml(Key(), Own(), document);
    }
};

INSTANTIATE_TEST_SUITE_P(Keys, XmlSignatureOf, ::testing::Values(KeyType::Rsa, KeyType::Sm2),
                         [](const auto& row) { return NameOf(row.param); });

}  // namespace

TEST_P(XmlSignatureOf, WhatIsSignedVerifies) { EXPECT_TRUE(VerifyXml(Signed())); }

TEST_P(XmlSignatureOf, DocumentsOfAllShapesVerifyAfterSigning)
{
    const char* const documents[] = {
        "<a/>",
        "<?xml version=\"1.0\"?><a/>",
        "<?xml version='1.0' encoding='GBK' standalone='yes'?>\n<!-- c --><?p i?><a> <b/>\r\n</a><?p j?>\n",
        "\xEF\xBB\xBF<a>with a mark</a>",
        "<a xmlns=\"urn:x\" xmlns:p=\"urn:p\" p:b=\"1\" xml:lang=\"zh\"><p:c xmlns=\"\"><d/></p:c></a>",
        "<p:a xmlns:p=\"urn:p\" xmlns:ds=\"urn:other\"><ds:Signature/></p:a>",
        "<a b=\"&lt;&amp;&quot;&#10;&#9;&#13; x\">&#13;&lt;&gt;&amp;]]&gt;</a>",
        "<a><![CDATA[<b>]]>&#x1F511;\xF0\x9F\x94\x91</a>",
        "<a xml:space=\"preserve\">\n\n</a>",
        "<Signature/>",
    };
    for (const char* document : documents) {
        const std::string made = Signed(document);
        EXPECT_TRUE(VerifyXml(made)) << document << "\n" << made;
    }
}

TEST_P(XmlSignatureOf, TheSignatureIsTheLastChildOfTheRoot)
{
    const std::string made = Signed();
    EXPECT_TRUE(made.starts_with("<order id=\"7\"><item>")) << made;
    EXPECT_NE(made.find("</Signature></order>"), std::string::npos) << made;
}

TEST_P(XmlSignatureOf, ADeclarationStaysAndSaysUtf8)
{
    const std::string made = Signed("<?xml version=\"1.0\" encoding=\"GBK\"?><a>\xE7\x94\xA8</a>");
    EXPECT_TRUE(made.starts_with("<?xml version=\"1.0\" encoding=\"UTF-8\"?>")) << made;
    EXPECT_NE(made.find("\xE7\x94\xA8"), std::string::npos);
}

TEST_P(XmlSignatureOf, EveryChangeOfWhatIsCoveredIsNoticed)
{
    const std::string made = Signed();
    EXPECT_FALSE(VerifyXml(Replaced(made, "100", "900")));
    EXPECT_FALSE(VerifyXml(Replaced(made, "id=\"7\"", "id=\"8\"")));
    EXPECT_FALSE(VerifyXml(Replaced(made, "<sum>", "<sum> ")));
    EXPECT_FALSE(VerifyXml(Replaced(made, "<item>", "<item a=\"\">")));
    EXPECT_FALSE(VerifyXml(Replaced(made, "<order", "<?p i?><order")));
    EXPECT_FALSE(VerifyXml(Replaced(made, "</sum>", "</sum>\n")));
    EXPECT_FALSE(VerifyXml(Replaced(made, "<order ", "<order xmlns:unused=\"urn:u\" ")));
}

TEST_P(XmlSignatureOf, WhatTheCanonicalFormLevelsMayChange)
{
    const std::string made = Signed();
    EXPECT_TRUE(VerifyXml(Replaced(made, "id=\"7\"", "  id = '7' ")));
    EXPECT_TRUE(VerifyXml("<?xml version=\"1.0\"?>\n" + made));
    EXPECT_TRUE(VerifyXml(Replaced(made, "100", "1<![CDATA[0]]>&#48;")));
    // Comments are not part of the canonical form.
    EXPECT_TRUE(VerifyXml(Replaced(made, "<sum>", "<!-- comment --><sum>")));
}

TEST_P(XmlSignatureOf, EveryChangeOfTheSignatureItselfIsNoticed)
{
    const std::string made = Signed();
    for (int type = 2; type <= 4; ++type) {
        const std::string value = XmlSignatureField(made, type);
        // What vouches for the certificate is at its end, and nobody asks for it here.
        for (const std::size_t at : {std::size_t{0}, value.size() / 2, type == 4 ? 1 : value.size() - 3}) {
            std::string changed = value;
            changed[at] = changed[at] == 'A' ? 'B' : 'A';
            EXPECT_FALSE(VerifyXml(Replaced(made, value, changed))) << type << " " << at;
        }
        EXPECT_FALSE(VerifyXml(Replaced(made, value, "")));
        EXPECT_FALSE(VerifyXml(Replaced(made, value, value + "AAAA")));
        EXPECT_FALSE(VerifyXml(Replaced(made, value, "****")));
    }
}

TEST_P(XmlSignatureOf, AnotherCertificateDoesNotFit)
{
    const std::string made = Signed();
    const std::string own = XmlSignatureField(made, 4);
    EXPECT_FALSE(VerifyXml(Replaced(made, own, FamilyOf(GetParam()).root.Text())));
    const KeyType other = GetParam() == KeyType::Rsa ? KeyType::Sm2 : KeyType::Rsa;
    EXPECT_FALSE(VerifyXml(Replaced(made, own, FamilyOf(other).user.Text())));
}

TEST_P(XmlSignatureOf, TheSignatureHasOneFormAndNoOther)
{
    const std::string made = Signed();
    const std::string info = Between(made, "<SignedInfo>", "</SignedInfo>");
    const std::string reference = Between(made, "<Reference", "</Reference>");
    const std::string transforms = Between(made, "<Transforms>", "</Transforms>");
    const std::string first = Between(made, "<Transform ", "/>");
    const std::string keyInfo = Between(made, "<KeyInfo>", "</KeyInfo>");
    const std::string value = Between(made, "<SignatureValue>", "</SignatureValue>");
    const std::string certificate = Between(made, "<X509Certificate>", "</X509Certificate>");
    const std::pair<std::string, std::string> changes[] = {
        {" URI=\"\"", ""},
        {" URI=\"\"", " URI=\"#x\""},
        {reference, ""},
        {reference, reference + reference},
        {transforms, ""},
        {transforms, "<Transforms/>"},
        {first, ""},
        {first, first + first},
        {first, first + "<Transform Algorithm=\"http://www.w3.org/TR/1999/REC-xslt-19991116\"/>"},
        {"#enveloped-signature\"/>", "#enveloped-signature\"><a/></Transform>"},
        {"REC-xml-c14n-20010315\"/><SignatureMethod",
         "REC-xml-c14n-20010315#WithComments\"/><SignatureMethod"},
        {"<SignatureMethod ", "<SignatureMethod Algorithm2=\"\" xmlns=\"\" "},
        {"<DigestValue>", "<DigestValue><!-- c -->"},
        {"<SignatureValue>", "<SignatureValue><?p i?>"},
        {"<SignatureValue>", "text<SignatureValue>"},
        {info, ""},
        {info, info + info},
        {info, "<?p i?>" + info},
        {value, ""},
        {value, value + value},
        {keyInfo, ""},
        {keyInfo, keyInfo + keyInfo},
        {keyInfo, keyInfo + "<Object><a/></Object>"},
        {certificate, ""},
        {certificate, certificate + certificate},
        {"xmldsig#\"", "xmldsig2#\""},
    };
    for (const auto& [from, to] : changes) {
        EXPECT_FALSE(VerifyXml(Replaced(made, from, to))) << from << " -> " << to;
    }
    EXPECT_FALSE(VerifyXml(kDocument));
}

TEST_P(XmlSignatureOf, HintsBesideTheCertificateAreLeftAlone)
{
    const std::string made = Signed();
    EXPECT_TRUE(VerifyXml(Replaced(made, "<KeyInfo>", "<KeyInfo><KeyName>n</KeyName>\n")));
    EXPECT_TRUE(VerifyXml(Replaced(made, "<X509Data>", "<X509Data><X509SubjectName>CN=x</X509SubjectName>")));
}

TEST_P(XmlSignatureOf, ASignedDocumentCannotBeWrappedIntoAnother)
{
    const std::string made = Signed();
    const std::string signature = Between(made, "<Signature", "</Signature>");
    const std::string forged = "<order id=\"8\"><sum>900</sum></order>";
    // The whole signed document as a part of a new one, in every place.
    EXPECT_FALSE(VerifyXml("<order id=\"8\"><sum>900</sum>" + made + "</order>"));
    EXPECT_FALSE(VerifyXml("<order id=\"8\">" + made + "<sum>900</sum>" + signature + "</order>"));
    // Its signature moved, with the original hidden in it.
    const std::string original = Replaced(made, signature, "");
    EXPECT_FALSE(VerifyXml(Replaced(forged, "</order>", signature + "</order>")));
    EXPECT_FALSE(VerifyXml(Replaced(
        forged, "</order>",
        Replaced(signature, "</Signature>", "<Object>" + original + "</Object></Signature>") + "</order>")));
    EXPECT_FALSE(VerifyXml(Replaced(
        forged, "</order>", Replaced(signature, "</X509Data>", original + "</X509Data>") + "</order>")));
    // A signature in a place of its own.
    EXPECT_FALSE(VerifyXml("<order id=\"7\"><part>" + signature + "</part></order>"));
    EXPECT_FALSE(VerifyXml(signature));
    EXPECT_FALSE(VerifyXml(Replaced(made, signature, signature + signature)));
    // One inside the other.
    EXPECT_FALSE(VerifyXml(Replaced(made, "</X509Data>", signature + "</X509Data>")));
}

TEST_P(XmlSignatureOf, FieldsAreThoseOfTheDocument)
{
    const std::string made = Signed();
    const bool rsa = GetParam() == KeyType::Rsa;
    EXPECT_EQ(XmlSignatureField(made, 1), kDocument);
    const HashCode hash = rsa ? HashCode::Sha256 : HashCode::Sm3;
    EXPECT_EQ(XmlSignatureField(made, 2), Base64Encode(Digest(hash, ViewOf(kDocument))));
    EXPECT_FALSE(Base64Decode(XmlSignatureField(made, 3)).empty());
    EXPECT_EQ(XmlSignatureField(made, 4), Own().Text());
    EXPECT_EQ(XmlSignatureField(made, 5), rsa ? kSha256Name : kSm3Name);
    EXPECT_EQ(XmlSignatureField(made, 6), rsa ? kRsaSha256Name : kSm2Sm3Name);
    for (const int type : {-1, 0, 7, 100}) {
        EXPECT_EQ(CauseOf([&] { XmlSignatureField(made, type); }), Cause::BadArgument) << type;
    }
    EXPECT_EQ(CauseOf([] { XmlSignatureField(kDocument, 1); }), Cause::BadData);
}

TEST_P(XmlSignatureOf, ADocumentIsNotSignedTwice)
{
    EXPECT_EQ(CauseOf([&] { Signed(Signed()); }), Cause::BadData);
}

TEST_P(XmlSignatureOf, TheKeyMustBeThatOfTheCertificate)
{
    EXPECT_EQ(CauseOf([&] { SignXml(Key(), FamilyOf(GetParam()).root, kDocument); }), Cause::BadArgument);
    EXPECT_EQ(CauseOf([&] { SignXml(Key(), Certificate(), kDocument); }), Cause::BadArgument);
}

TEST_P(XmlSignatureOf, ADoctypeIsRefusedEverywhere)
{
    const std::string made = Signed();
    for (const std::string doctype :
         {"<!DOCTYPE order>", "<!DOCTYPE order SYSTEM \"file:///etc/passwd\">",
          "<!DOCTYPE order PUBLIC \"p\" \"http://127.0.0.1:1/x.dtd\">",
          "<!DOCTYPE order [<!ENTITY e SYSTEM \"file:///etc/passwd\">]>",
          "<!DOCTYPE order [<!ENTITY a \"aaaaaaaaaa\"><!ENTITY b \"&a;&a;&a;&a;&a;&a;&a;&a;\">]>"}) {
        EXPECT_EQ(CauseOf([&] { VerifyXml(doctype + made); }), Cause::BadData) << doctype;
        EXPECT_EQ(CauseOf([&] { Signed(doctype + kDocument); }), Cause::BadData) << doctype;
        EXPECT_EQ(CauseOf([&] { XmlSignatureField(doctype + made, 1); }), Cause::BadData) << doctype;
    }
}

TEST_P(XmlSignatureOf, WhatIsNoDocumentIsRefused)
{
    const std::string deep = [] {
        std::string text;
        for (int i = 0; i < 300; ++i) {
            text += "<a>";
        }
        for (int i = 0; i < 300; ++i) {
            text += "</a>";
        }
        return text;
    }();
    const std::string documents[] = {
        "",
        " ",
        "text",
        "<a>",
        "<a></b>",
        "<a/><b/>",
        "<a>&unknown;</a>",
        "<a b='1' b='2'/>",
        "<p:a/>",
        "<a>\xC3\x28</a>",
        "<a>\x01</a>",
        "<?xml version=\"1.1\"?><a/>",
        "<a xmlns=\"relative\"/>",
        deep,
        std::string(1, '\0') + "<a/>",
    };
    for (const std::string& document : documents) {
        EXPECT_EQ(CauseOf([&] { Signed(document); }), Cause::BadData) << document.substr(0, 40);
        const bool readable = document == "<a xmlns=\"relative\"/>";
        EXPECT_EQ(CauseOf([&] { VerifyXml(document); }),
                  readable ? std::nullopt : std::optional(Cause::BadData))
            << document.substr(0, 40);
    }
}

TEST_P(XmlSignatureOf, DocumentsThatWouldTakeForeverAreRefused)
{
    std::string attributes = "<a";
    std::string namespaces = "<a";
    for (int i = 0; i < 300; ++i) {
        attributes += " a" + std::to_string(i) + "=''";
        namespaces += (i % 200 == 199 ? "><a" : "") + (" xmlns:n" + std::to_string(i)) +
                      "='urn:" + std::to_string(i) + "'";
    }
    attributes += "/>";
    namespaces += ">";
    for (int i = 0; i < 100'000; ++i) {
        namespaces += "<b/>";
    }
    namespaces += "</a></a>";
    const std::string large = "<a>" + std::string(std::size_t{9} << 20, 'x') + "</a>";
    for (const std::string& document : {attributes, namespaces, large}) {
        EXPECT_EQ(CauseOf([&] { Signed(document); }), Cause::BadData) << document.substr(0, 40);
        EXPECT_EQ(CauseOf([&] { VerifyXml(document); }), Cause::BadData) << document.substr(0, 40);
    }
}

TEST_P(XmlSignatureOf, NamespacesAreCountedDownTheLevels)
{
    const auto nested = [](int levels, const std::string& between) {
        std::string begin;
        std::string end;
        for (int level = 0; level < levels; ++level) {
            begin += "<a";
            for (int i = 0; i < 100; ++i) {
                begin += " xmlns:n" + std::to_string(level) + "-" + std::to_string(i) + between + "=" +
                         between + "'urn:x'";
            }
            begin += ">";
            end += "</a>";
        }
        return begin + "<b xmlns:p='urn:p'/><b xmlns:p='urn:p'/>" + end;
    };
    EXPECT_TRUE(VerifyXml(Signed(nested(2, ""))));
    for (const char* between : {"", " ", "\n\t "}) {
        EXPECT_EQ(CauseOf([&] { Signed(nested(3, between)); }), Cause::BadData) << between;
    }
    // Beside each other they are not in scope together.
    std::string beside;
    for (int i = 0; i < 500; ++i) {
        beside += "<p:b xmlns:p='urn:p'><c/></p:b><b xmlns='urn:q'/>";
    }
    EXPECT_TRUE(VerifyXml(Signed("<a>" + beside + "</a>")));
}

TEST_P(XmlSignatureOf, EqualsSignsThatAreNoAttributesAreNotCounted)
{
    const std::string many(1000, '=');
    EXPECT_TRUE(VerifyXml(Signed("<!-- <" + many + " --><a b='" + many + "'>" + many + "<![CDATA[<" + many +
                                 "]]><?p <" + many + "?></a>")));
}

}  // namespace kzr::softkey::test
