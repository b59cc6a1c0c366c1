// Containers of a key, and its data files.
#include "base/Base64.h"
#include "crypto/Sign.h"
#include "softkey/store/StoreTest.h"
#include "store/Folder.h"
#include "store/Names.h"

namespace kzr::softkey::test {
namespace {

using Names = std::vector<std::string>;

class Containers : public StoreTest {
  protected:
    const Device m_device = MakeKey(m_store);
    const Secret m_deviceKey = LogIn(m_device);
};

TEST_F(Containers, APrivateKeyBelongsToItsCertificate)
{
    m_device.AddContainer(m_deviceKey, ContainerOf("rsa", "Bob", KeyType::Rsa));
    for (const ContainerDescription& container : m_device.Containers()) {
        const KeyHandle signing = m_device.PrivateKey(m_deviceKey, container.name, Pair::Signing);
        const Bytes signature = Sign(signing.get(), ViewOf("text"));
        EXPECT_TRUE(Verify(container.signing.PublicKey().get(), ViewOf("text"), signature)) << container.name;
        const KeyHandle exchange = m_device.PrivateKey(m_deviceKey, container.name, Pair::Exchange);
        const Bytes sealed = PublicEncrypt(container.exchange->PublicKey().get(), ViewOf("secret"));
        EXPECT_EQ(StringOf(PrivateDecrypt(exchange.get(), sealed)), "secret") << container.name;
    }
}

TEST_F(Containers, APairThatIsNotThereIsSaid)
{
    m_device.AddContainer(m_deviceKey, ContainerOf("alone", "Bob", KeyType::Sm2, false));
    EXPECT_EQ(CauseOf([&] { m_device.PrivateKey(m_deviceKey, "none", Pair::Signing); }),
              Cause::UnknownContainer);
    EXPECT_EQ(CauseOf([&] { m_device.PrivateKey(m_deviceKey, "alone", Pair::Exchange); }),
              Cause::UnknownContainer);
    EXPECT_TRUE(m_device.PrivateKey(m_deviceKey, "alone", Pair::Signing));
}

TEST_F(Containers, AForeignDeviceKeyOpensAndAddsNothing)
{
    const Secret other = LogIn(MakeKey(m_store, "SN02", {}));
    EXPECT_EQ(CauseOf([&] { m_device.PrivateKey(other, "c1", Pair::Signing); }), Cause::BadData);
    EXPECT_EQ(CauseOf([&] { m_device.AddContainer(other, ContainerOf("c2")); }), Cause::NotLoggedIn);
    EXPECT_EQ(CauseOf([&] { m_device.PrivateKey({}, "c1", Pair::Signing); }), Cause::NotLoggedIn);
    EXPECT_EQ(CauseOf([&] { m_device.AddContainer({}, ContainerOf("c2")); }), Cause::NotLoggedIn);
    EXPECT_EQ(ContainerNames(m_device), Names{"c1"});
}

TEST_F(Containers, ATakenNameIsNotWrittenOver)
{
    const std::string before = Read("keys\\SN01\\containers\\-c1.json");
    EXPECT_EQ(CauseOf([&] { m_device.AddContainer(m_deviceKey, ContainerOf("c1", "Mallory")); }),
              Cause::BadArgument);
    EXPECT_EQ(Read("keys\\SN01\\containers\\-c1.json"), before);
    const Device other = MakeKey(m_store, "SN02", {});
    EXPECT_EQ(CauseOf([&] { other.AddContainer(LogIn(other), ContainerOf("c1")); }), Cause::BadArgument);
}

TEST_F(Containers, NamesThatWouldBreakAListAreRefused)
{
    for (const char* bad : {"", "a/b", "a||b", "a&b", "a;b", "a\tb", "\xC3", "\xED\xA0\x80", "\xC0\xAF"})
        EXPECT_EQ(CauseOf([&] { m_device.AddContainer(m_deviceKey, ContainerOf(bad)); }), Cause::BadArgument)
            << bad;
    for (const char* bad : {"", "a||b", "&&&", "a\nb", "\xF5\x80\x80\x80"})
        EXPECT_EQ(CauseOf([&] { m_device.AddContainer(m_deviceKey, ContainerOf("c2", bad)); }),
                  Cause::BadArgument)
            << bad;
    EXPECT_EQ(CauseOf([&] { m_device.AddContainer(m_deviceKey, ContainerOf(std::string(65, 'x'))); }),
              Cause::BadArgument);
    m_device.AddContainer(m_deviceKey, ContainerOf(std::string(64, 'x'), "a/b \xF0\x9F\x94\x91"));
    EXPECT_EQ(ContainerNames(m_device).size(), 2u);
}

TEST_F(Containers, AKeyThatIsNotItsCertificatesIsRefused)
{
    NewContainer wrongKey = ContainerOf("c2");
    wrongKey.signingKey = *wrongKey.exchangeKey;
    NewContainer wrongType = ContainerOf("c2");
    wrongType.description.type = KeyType::Rsa;
    NewContainer halfExchange = ContainerOf("c2");
    halfExchange.exchangeKey.reset();
    NewContainer noCertificate = ContainerOf("c2");
    noCertificate.description.signing = {};
    for (const NewContainer* bad : {&wrongKey, &wrongType, &halfExchange, &noCertificate})
        EXPECT_EQ(CauseOf([&] { m_device.AddContainer(m_deviceKey, *bad); }), Cause::BadArgument);
    NewContainer noKey = ContainerOf("c2");
    noKey.signingKey = {1, 2, 3};
    EXPECT_EQ(CauseOf([&] { m_device.AddContainer(m_deviceKey, noKey); }), Cause::BadData);
    EXPECT_EQ(ContainerNames(m_device), Names{"c1"});
}

TEST_F(Containers, ARemovedContainerIsGone)
{
    m_device.AddContainer(m_deviceKey, ContainerOf("c2"));
    m_device.RemoveContainer("c1");
    EXPECT_EQ(ContainerNames(m_device), Names{"c2"});
    EXPECT_EQ(CauseOf([&] { m_device.RemoveContainer("c1"); }), Cause::UnknownContainer);
    EXPECT_FALSE(m_store.FindByContainer("c1"));
}

TEST_F(Containers, DataComesBackByteForByte)
{
    const Bytes data = Noise(65536);
    m_device.WriteData("large", data);
    m_device.WriteData("empty", {});
    m_device.WriteData("", BytesOf("nameless"));
    EXPECT_EQ(m_device.ReadData("large"), data);
    EXPECT_EQ(m_device.ReadData("empty"), Bytes{});
    EXPECT_EQ(m_device.ReadData(""), BytesOf("nameless"));
    EXPECT_FALSE(m_device.ReadData("none"));
    m_device.WriteData("large", BytesOf("small"));
    EXPECT_EQ(m_device.ReadData("large"), BytesOf("small"));
    EXPECT_EQ(m_device.DataNames(), (Names{"", "empty", "large"}));
    EXPECT_TRUE(m_device.RemoveData("large"));
    EXPECT_FALSE(m_device.RemoveData("large"));
    EXPECT_FALSE(m_device.ReadData("large"));
}

TEST_F(Containers, NoNameOfADataFileEscapesFromItsFolder)
{
    const Names names = {"..",
                         "..\\..\\pin.json",
                         "../../pin.json",
                         "C:\\x",
                         "a:stream",
                         "con",
                         "NUL",
                         "a",
                         "A",
                         "\xC3\xA4",
                         std::string("\0", 1),
                         std::string("a\0b", 3),
                         std::string(1024, 'n'),
                         "%41",
                         std::string(1023, 'n'),
                         ".",
                         "a.",
                         "a ",
                         "*",
                         "-a",
                         "=a",
                         "\xFF\xFE",
                         "key.json"};
    const std::string pin = Read("keys\\SN01\\pin.json");
    for (const std::string& name : names) m_device.WriteData(name, BytesOf("of " + name));
    for (const std::string& name : names) EXPECT_EQ(m_device.ReadData(name), BytesOf("of " + name)) << name;
    EXPECT_EQ(m_device.DataNames().size(), names.size());
    EXPECT_EQ(FilesIn(PathOf("keys\\SN01\\data")).size(), names.size());
    EXPECT_EQ(FilesIn(PathOf("keys\\SN01")), (Names{"key.json", "pin.json", "plugging"}));
    EXPECT_EQ(Read("keys\\SN01\\pin.json"), pin);
}

TEST_F(Containers, FileNamesDifferEvenWithoutLetterCases)
{
    std::set<std::string> seen;
    const Names names = {
        "a",   "A",        "aA", "Aa", "%41", "-a", "=a", std::string(80, 'a'), std::string(80, 'A'),
        "con", "con.json", ""};
    for (const std::string& name : names) {
        const std::string file = FileNameFor(name);
        EXPECT_EQ(file.find_first_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ./\\:*? "), std::string::npos) << file;
        EXPECT_LE(file.size(), 64u);
        EXPECT_TRUE(seen.insert(file).second) << name;
    }
}

TEST_F(Containers, DataBeyondTheLimitsIsRefusedAndWhatWasThereStays)
{
    m_device.WriteData("f", BytesOf("before"));
    EXPECT_EQ(CauseOf([&] { m_device.WriteData("f", Noise(65537)); }), Cause::BadArgument);
    EXPECT_EQ(CauseOf([&] { m_device.WriteData(std::string(1025, 'n'), {}); }), Cause::BadArgument);
    EXPECT_EQ(CauseOf([&] { m_device.ReadData(std::string(1025, 'n')); }), Cause::BadArgument);
    const Bytes block = Noise(65536);
    int written = 0;
    while (written < 20 && !CauseOf([&] { m_device.WriteData("b" + std::to_string(written), block); }))
        ++written;
    // The names and what the files begin with take room too.
    EXPECT_EQ(written, 15);
    EXPECT_EQ(CauseOf([&] { m_device.WriteData("f", block); }), Cause::File);
    EXPECT_EQ(m_device.ReadData("f"), BytesOf("before"));
    // Replacing does not count the old content.
    m_device.WriteData("b0", block);
    m_device.RemoveData("b1");
    m_device.WriteData("f", block);
}

TEST_F(Containers, DataStaysWithItsKey)
{
    const Device other = MakeKey(m_store, "SN02", {});
    m_device.WriteData("f", BytesOf("one"));
    other.WriteData("f", BytesOf("two"));
    m_store.Unplug("SN01");
    m_store.Plug("SN01");
    EXPECT_EQ(m_device.ReadData("f"), BytesOf("one"));
    EXPECT_EQ(other.ReadData("f"), BytesOf("two"));
}

}  // namespace
}  // namespace kzr::softkey::test
