// softkey.exe as a person and a script meet it: exit codes, JSON, refusals.
#define JSON_NO_IO
#include <fstream>
#include <nlohmann/json.hpp>

#include "base/Base64.h"
#include "base/File.h"
#include "base/Wide.h"
#include "crypto/Keys.h"
#include "registration/BackendRegistration.h"
#include "registration/Registry.h"
#include "softkey/core/TestAuthorities.h"
#include "softkey/store/Process.h"
#include "softkey/store/StoreTest.h"
#include "store/Folder.h"

namespace kzr::softkey::test {
namespace {

using Json = nlohmann::json;
using Arguments = std::vector<std::string>;

constexpr char kZhang[] = "\xE5\xBC\xA0\xE4\xB8\x89";

void WriteNew(const std::string& path, View content)
{
    std::ofstream(path, std::ios::binary) << TextOf(content);
}

struct Ended {
    DWORD code;
    std::string output, errors;
    Json json;
};

class Tool : public StoreTest {
  protected:
    Ended Run(Arguments arguments, const std::string& input = "") const
    {
        arguments.insert(arguments.begin(), {"--store", m_store.Root()});
        Process process(ToWide(KZR_SOFTKEY_TOOL), arguments, input);
        EXPECT_TRUE(process.Started());
        const DWORD code = process.Wait();
        return {code, process.Output(), process.Errors(), Json::parse(process.Output(), nullptr, false)};
    }

    Ended RunJson(Arguments arguments, const std::string& input = "") const
    {
        arguments.push_back("--json");
        Ended ended = Run(std::move(arguments), input);
        EXPECT_TRUE(ended.json.is_object()) << ended.output;
        if (ended.code != 0) {
            EXPECT_EQ(ended.json["error"]["code"], ended.code);
        }
        return ended;
    }

    std::string Path(const std::string& name) const { return ToUtf8(m_folder.Path()) + name; }

    void MakeDemo() const
    {
        const Ended made = RunJson({"create", "DEMO1", "--sm2", std::string(kZhang) + ";id=1101;o=Org",
                                    "--rsa", "Alice Miller", "--pin", kPin, "--admin-pin", kAdminPin});
        ASSERT_EQ(made.code, 0u) << made.errors;
    }
};

TEST_F(Tool, HelpNamesEveryCommandAndEndsWellAndAWrongWordDoesNot)
{
    const Ended help = Run({"--help"});
    EXPECT_EQ(help.code, 0u);
    for (const char* command : {"create", "list", "show", "plug", "unplug", "pin", "import", "export", "ca",
                                "revoke", "delete", "register", "unregister", "status"}) {
        EXPECT_NE(help.output.find(std::string("\n  ") + command), std::string::npos) << command;
        EXPECT_EQ(Run({command, "--help"}).code, 0u) << command;
    }
    for (const Arguments& wrong : {Arguments{},
                                   {"frob"},
                                   {"create", "--frob"},
                                   {"pin"},
                                   {"pin", "frob"},
                                   {"show"},
                                   {"create", "X", "--tries", "0"},
                                   {"create", "X", "--rsa-bits", "1000"},
                                   {"export", "X", "--form", "doc"}}) {
        const Ended ended = Run(wrong);
        EXPECT_EQ(ended.code, 2u);
        EXPECT_EQ(ended.output, "");
        EXPECT_NE(ended.errors, "");
    }
    EXPECT_NE(Run({"frob"}).errors.find("frob"), std::string::npos);
}

TEST_F(Tool, OneCommandMakesAKeyWithUsersAndCertificates)
{
    MakeDemo();
    const Ended shown = RunJson({"show", "DEMO1"});
    ASSERT_EQ(shown.code, 0u) << shown.errors;
    EXPECT_EQ(shown.json["plugged"], true);
    EXPECT_EQ(shown.json["triesLeft"], 10);
    ASSERT_EQ(shown.json["containers"].size(), 2u);
    EXPECT_EQ(shown.json["containers"][0]["user"], kZhang);
    EXPECT_EQ(shown.json["containers"][0]["type"], "SM2");
    EXPECT_EQ(shown.json["containers"][1]["user"], "Alice Miller");
    EXPECT_EQ(shown.json["containers"][1]["type"], "RSA");
    for (const Json& container : shown.json["containers"]) {
        for (const char* pair : {"signing", "exchange"}) {
            EXPECT_EQ(container[pair]["subject"], container["user"]);
            EXPECT_EQ(container[pair]["validity"], "valid");
        }
    }
    const auto device = m_store.Find("DEMO1");
    ASSERT_TRUE(device);
    EXPECT_EQ(CertificateEntity(device->Containers()[0].signing), "1101");
    EXPECT_EQ(CertificateField(device->Containers()[0].signing, 14), "Org");
    const Secret deviceKey = LogIn(*device);
    EXPECT_TRUE(device->PrivateKey(deviceKey, "DEMO1-2", Pair::Exchange));
    const Ended text = Run({"show", "DEMO1"});
    EXPECT_NE(text.output.find(kZhang), std::string::npos);
}

TEST_F(Tool, OptionsOfANewKeyAreKept)
{
    const Ended made = RunJson({"create",        "K1",          "--sm2",        "A;container=box",
                                "--pin",         kPin,          "--admin-pin",  kAdminPin,
                                "--library",     "Lib",         "--provider",   "Vendor CSP",
                                "--device-type", "T",           "--tries",      "3",
                                "--no-exchange", "--unplugged", "--start-days", "-20",
                                "--days",        "10"});
    ASSERT_EQ(made.code, 0u) << made.errors;
    EXPECT_EQ(made.json["plugged"], false);
    const Ended shown = RunJson({"show", "K1"});
    EXPECT_EQ(shown.json["library"], "Lib");
    EXPECT_EQ(shown.json["provider"], "Vendor CSP");
    EXPECT_EQ(shown.json["type"], "T");
    EXPECT_EQ(shown.json["triesLeft"], 3);
    EXPECT_EQ(shown.json["plugged"], false);
    EXPECT_EQ(shown.json["containers"][0]["name"], "box");
    EXPECT_FALSE(shown.json["containers"][0].contains("exchange"));
    EXPECT_EQ(shown.json["containers"][0]["signing"]["validity"], "outside its dates");
}

TEST_F(Tool, NothingThatIsThereIsWrittenOver)
{
    MakeDemo();
    const std::string pins = Read("keys\\DEMO1\\pin.json");
    EXPECT_EQ(RunJson({"create", "DEMO1", "--pin", "9999", "--admin-pin", "9999"}).code, 5u);
    EXPECT_EQ(
        RunJson({"create", "K2", "--sm2", "B;container=DEMO1-1", "--pin", kPin, "--admin-pin", kAdminPin})
            .code,
        5u);
    // The file system does not tell letter cases apart.
    EXPECT_EQ(RunJson({"create", "demo1", "--pin", "9999", "--admin-pin", "9999"}).code, 5u);
    EXPECT_EQ(Read("keys\\DEMO1\\pin.json"), pins);
    EXPECT_FALSE(m_store.Find("K2"));

    WriteNew(Path("mine.pem"), ViewOf("mine"));
    EXPECT_EQ(RunJson({"export", "DEMO1", "--output", Path("mine.pem")}).code, 5u);
    EXPECT_EQ(RunJson({"ca", "export", "--chain", Path("new.pem"), "--crl", Path("mine.pem")}).code, 5u);
    EXPECT_EQ(StringOf(ReadWholeFile(Path("mine.pem"))), "mine");
    EXPECT_FALSE(FileExists(Path("new.pem")));
    EXPECT_EQ(RunJson({"export", "DEMO1", "--output", Path("mine.pem"), "--force"}).code, 0u);
    EXPECT_NE(StringOf(ReadWholeFile(Path("mine.pem"))), "mine");
}

TEST_F(Tool, BadValuesAreRefusedAndMakeNoKey)
{
    for (const Arguments& more : {Arguments{"--pin", "123"},
                                  {"--admin-pin", "12"},
                                  {"--sm2", "A;what=x"},
                                  {"--sm2", "A;o"},
                                  {"--sm2", ""},
                                  {"--sm2", "A||B"},
                                  {"--sm2", "A;c=CHN"},
                                  {"--sm2", "A;container=a/b"},
                                  {"--library", ""}}) {
        Arguments all = {"create", "K1"};
        all.insert(all.end(), more.begin(), more.end());
        for (const char* pin : {"--pin", "--admin-pin"}) {
            if (more[0] != pin) all.insert(all.end(), {pin, kPin});
        }
        EXPECT_EQ(RunJson(all).code, 2u) << more[0] << " " << more[1];
    }
    EXPECT_EQ(RunJson({"create", "a/b", "--pin", kPin, "--admin-pin", kPin}).code, 2u);
    EXPECT_TRUE(m_store.Plugged().empty());
}

TEST_F(Tool, TextsOfTheGreatestLengthMakeAKeyAndLongerOnesDoNot)
{
    const auto create = [&](std::size_t name, std::size_t container, std::size_t library) {
        return RunJson({"create", "K1", "--sm2",
                        std::string(name, 'n') + ";cn=N;container=" + std::string(container, 'c'),
                        "--library", std::string(library, 'l'), "--no-exchange", "--pin",
                        std::string(32, '1'), "--admin-pin", std::string(4, '2')})
            .code;
    };
    EXPECT_EQ(create(129, 64, 128), 2u);
    EXPECT_EQ(create(128, 65, 128), 2u);
    EXPECT_EQ(create(128, 64, 129), 2u);
    EXPECT_TRUE(m_store.Plugged().empty());
    EXPECT_EQ(create(128, 64, 128), 0u);
    const Device device = *m_store.Find("K1");
    LogIn(device, std::string(32, '1').c_str());
    EXPECT_EQ(device.Containers().at(0).user.size(), 128u);
    // A certificate's own field for it is shorter.
    EXPECT_EQ(
        RunJson({"create", "K2", "--sm2", std::string(65, 'n'), "--pin", kPin, "--admin-pin", kPin}).code,
        2u);
}

TEST_F(Tool, KeysArePluggedAndPulledByName)
{
    MakeKey(m_store, "A1", {ContainerOf("c1", kZhang)});
    MakeKey(m_store, "B2", {});
    const Ended listed = RunJson({"list"});
    ASSERT_EQ(listed.json["keys"].size(), 2u);
    EXPECT_EQ(listed.json["keys"][0]["containers"][0]["user"], kZhang);
    const Ended pulled = RunJson({"unplug", "A1", "B2"});
    EXPECT_EQ(pulled.code, 0u);
    EXPECT_EQ(pulled.json["keys"][1]["changed"], true);
    EXPECT_TRUE(m_store.Plugged().empty());
    EXPECT_EQ(RunJson({"unplug", "A1"}).json["keys"][0]["changed"], false);
    // A wrong name changes nothing.
    EXPECT_EQ(RunJson({"plug", "A1", "C3"}).code, 3u);
    EXPECT_TRUE(m_store.Plugged().empty());
    EXPECT_EQ(RunJson({"plug", "A1"}).code, 0u);
    EXPECT_EQ(SerialNumbers(m_store.Plugged()), Arguments{"A1"});
    EXPECT_EQ(RunJson({"list"}).json["keys"][1]["plugged"], false);
}

TEST_F(Tool, PinsAreChangedUnblockedAndNeverShown)
{
    const Device device = MakeKey(m_store, "SN01", {}, 2);
    const Ended wrong = RunJson({"pin", "set", "SN01", "--pin", kWrongPin, "--new-pin", "newpin"});
    EXPECT_EQ(wrong.code, 4u);
    EXPECT_NE(wrong.errors.find("tries left: 1"), std::string::npos);
    // From a pipe, in the order in which they are asked for.
    const Ended set = Run({"pin", "set", "SN01"}, "123456\r\nnewpin\n");
    EXPECT_EQ(set.code, 0u);
    for (const char* secret : {"123456", "newpin"})
        EXPECT_EQ((set.output + set.errors).find(secret), std::string::npos);
    LogIn(device, "newpin");
    Run({"pin", "set", "SN01", "--pin", "xxxx", "--new-pin", "yyyy"});
    Run({"pin", "set", "SN01", "--pin", "xxxx", "--new-pin", "yyyy"});
    EXPECT_EQ(RunJson({"pin", "set", "SN01", "--pin", "newpin", "--new-pin", "yyyy"}).code, 4u);
    EXPECT_EQ(RunJson({"pin", "unblock", "SN01", "--admin-pin", kAdminPin, "--new-pin", "fresh"}).code, 0u);
    LogIn(device, "fresh");
    EXPECT_EQ(RunJson({"pin", "set", "SN01", "--admin", "--admin-pin", kAdminPin, "--new-pin", "boss"}).code,
              0u);
    EXPECT_EQ(RunJson({"pin", "unblock", "SN01", "--admin-pin", kAdminPin, "--new-pin", "other"}).code, 4u);
    // None given and none to read.
    EXPECT_EQ(RunJson({"pin", "set", "SN01"}).code, 2u);
    EXPECT_EQ(RunJson({"pin", "set", "SN09", "--pin", "xxxx", "--new-pin", "yyyy"}).code, 3u);
}

TEST_F(Tool, CertificatesAreExportedInEveryForm)
{
    MakeKey(m_store);
    const auto container = m_store.Find("SN01")->Containers()[0];
    EXPECT_EQ(Run({"export", "SN01"}).output, container.signing.Pem() + container.exchange->Pem());
    EXPECT_EQ(Run({"export", "SN01", "--pair", "exchange", "--form", "base64"}).output,
              container.exchange->Text() + "\n");
    EXPECT_EQ(Run({"export", "SN01", "--form", "der"}).code, 2u);
    EXPECT_EQ(RunJson({"export", "SN01", "--pair", "signing", "--form", "der", "-o", Path("c.cer")}).code,
              0u);
    EXPECT_EQ(ReadWholeFile(Path("c.cer")), container.signing.Der());
    EXPECT_EQ(RunJson({"export", "SN01", "--container", "none"}).code, 3u);
}

TEST_F(Tool, AFolderThatIsMissingIsNamedAsItWasGiven)
{
    MakeKey(m_store);
    const std::string path = Path("none\\c.pem");
    for (const Arguments& arguments :
         {Arguments{"export", "SN01", "-o", path}, {"ca", "export", "--chain", path}}) {
        const Ended ended = RunJson(arguments);
        EXPECT_EQ(ended.code, 1u);
        EXPECT_EQ(ended.json["error"]["message"].get<std::string>().find(path + ": "), 0u) << ended.errors;
    }
}

TEST_F(Tool, ARevokedContainerIsRevokedInTheStoreAndInTheExportedList)
{
    MakeDemo();
    const Ended revoked = RunJson({"revoke", "DEMO1-1"});
    ASSERT_EQ(revoked.code, 0u) << revoked.errors;
    EXPECT_EQ(revoked.json["revoked"].size(), 2u);
    EXPECT_EQ(RunJson({"revoke", "DEMO1-1"}).json["revoked"][0]["changed"], false);
    const Ended shown = RunJson({"show", "DEMO1"});
    EXPECT_EQ(shown.json["containers"][0]["signing"]["validity"], "revoked");
    EXPECT_EQ(shown.json["containers"][1]["signing"]["validity"], "valid");

    ASSERT_EQ(
        RunJson({"ca", "export", "--type", "sm2", "--chain", Path("chain.pem"), "--crl", Path("l.pem")}).code,
        0u);
    TrustStore trust;
    trust.AddCertificates(ReadWholeFile(Path("chain.pem")), true);
    const Certificate certificate = m_store.Find("DEMO1")->Containers()[0].signing;
    EXPECT_EQ(trust.Check(certificate, std::time(nullptr)), Validity::Valid);
    trust.AddRevocationLists(ReadWholeFile(Path("l.pem")));
    EXPECT_EQ(trust.Check(certificate, std::time(nullptr)), Validity::Revoked);
    EXPECT_EQ(RunJson({"revoke", "none"}).code, 3u);
    MakeKey(m_store, "OTHER", {ContainerOf("foreign")});
    EXPECT_EQ(RunJson({"revoke", "foreign"}).code, 3u);
}

TEST_F(Tool, TheTestAuthorityIsMadeOnce)
{
    const Ended first = RunJson({"ca", "export", "--type", "rsa"});
    ASSERT_EQ(first.code, 0u) << first.errors;
    EXPECT_NE(first.errors.find("Making the test CA"), std::string::npos);
    const Ended second = RunJson({"ca", "export", "--type", "rsa"});
    EXPECT_EQ(second.json["chain"], first.json["chain"]);
    EXPECT_EQ(second.errors, "");
    Write("authority\\rsa.json", "{");
    EXPECT_EQ(RunJson({"ca", "export", "--type", "rsa"}).code, 7u);
}

TEST_F(Tool, ATestAuthorityThatCouldNotBePublishedIsMadeAnew)
{
    MakeFolder(PathOf("trust\\test-ca-sm2.pem"));
    const Arguments create = {"create", "K1", "--sm2", "A", "--pin", kPin, "--admin-pin", kPin};
    EXPECT_EQ(RunJson(create).code, 1u);
    RemoveFolder(PathOf("trust\\test-ca-sm2.pem"));
    ASSERT_EQ(RunJson(create).code, 0u);
    EXPECT_EQ(RunJson({"show", "K1"}).json["containers"][0]["signing"]["validity"], "valid");
}

// A PKCS#12 file with the password "word".
TEST_F(Tool, AForeignKeyAndCertificateAreImported)
{
    const Device device = MakeKey(m_store, "SN01", {});
    const Identity& own = Own(KeyType::Rsa);
    WritePkcs12(Path("own.p12"), own.key.get(), own.certificate);

    const Arguments import = {"import", "SN01", Path("own.p12"), "--user", kZhang,
                              "--pin",  kPin,   "--password"};
    const auto with = [&](const char* password) {
        Arguments all = import;
        all.push_back(password);
        return RunJson(all);
    };
    EXPECT_EQ(with("wrong").code, 7u);
    const Ended imported = with("word");
    ASSERT_EQ(imported.code, 0u) << imported.errors;
    EXPECT_EQ(imported.json["containers"][0]["name"], "SN01-1");
    const auto container = device.Containers().at(0);
    EXPECT_EQ(container.user, kZhang);
    EXPECT_EQ(container.signing.Der(), own.certificate.Der());
    EXPECT_EQ(EVP_PKEY_eq(device.PrivateKey(LogIn(device), "SN01-1", Pair::Signing).get(), own.key.get()), 1);
    Arguments taken = import;
    taken.insert(taken.end(), {"word", "--container", "SN01-1"});
    EXPECT_EQ(RunJson(taken).code, 5u);
    EXPECT_EQ(RunJson({"import", "SN01", Path("none.p12"), "--password", "x", "--pin", kPin}).code, 1u);
}

TEST_F(Tool, AnImportedChainIsTrustedOnlyWhenThatIsAskedFor)
{
    const Device device = MakeKey(m_store, "SN01", {});
    const Family& family = FamilyOf(KeyType::Rsa);
    WritePkcs12(Path("user.p12"), KeyOf(KeyType::Rsa, 2), family.user, {family.between, family.root});
    Arguments import = {"import", "SN01", Path("user.p12"), "--pin", kPin, "--password", "word"};
    const Ended untrusted = RunJson(import);
    ASSERT_EQ(untrusted.code, 0u) << untrusted.errors;
    EXPECT_EQ(untrusted.json["trusted"], false);
    EXPECT_EQ(RunJson({"show", "SN01"}).json["containers"][0]["signing"]["validity"], "untrusted");
    import.push_back("--trust");
    const Ended trusted = RunJson(import);
    ASSERT_EQ(trusted.code, 0u) << trusted.errors;
    EXPECT_EQ(trusted.json["chain"], 2);
    EXPECT_EQ(trusted.json["containers"][0]["name"], "SN01-2");
    const Ended shown = RunJson({"show", "SN01"});
    EXPECT_EQ(shown.json["containers"][1]["signing"]["validity"], "valid");
    EXPECT_EQ(shown.json["containers"][0]["user"], CertificateField(family.user, 17));
}

TEST_F(Tool, AKeyIsDeletedOnlyWhenThatIsMeant)
{
    MakeKey(m_store);
    EXPECT_EQ(RunJson({"delete", "SN01"}).code, 8u);
    EXPECT_EQ(RunJson({"delete", "SN01"}, "yes\n").code, 8u);
    EXPECT_TRUE(m_store.Find("SN01"));
    EXPECT_EQ(RunJson({"delete", "SN01", "--yes"}).code, 0u);
    EXPECT_FALSE(m_store.Find("SN01"));
    EXPECT_EQ(RunJson({"delete", "SN01", "--yes"}).code, 3u);
}

TEST_F(Tool, ABrokenKeyIsListedAsSuch)
{
    MakeKey(m_store);
    Write("keys\\SN01\\key.json", "{}");
    const Ended listed = RunJson({"list"});
    EXPECT_EQ(listed.code, 0u);
    EXPECT_TRUE(listed.json["keys"].empty());
    EXPECT_EQ(listed.json["unreadable"].size(), 1u);
    EXPECT_EQ(RunJson({"show", "SN01"}).code, 7u);
}

TEST_F(Tool, AMessageWithBytesThatAreNoTextIsAnswered)
{
    MakeKey(m_store);
    Write("keys\\SN01\\pin.json", "\"\xFF\"");
    EXPECT_EQ(RunJson({"show", "SN01"}).code, 7u);
}

constexpr wchar_t kClass[] = L"Software\\Classes\\CLSID\\{5D343B47-FDD0-4802-930B-EADDA0CE37D9}";

TEST_F(Tool, WhatIsNoServerIsNotRegistered)
{
    RegDeleteTreeW(HKEY_LOCAL_MACHINE, kClass);
    WriteNew(Path("text.dll"), ViewOf("a file"));
    for (const std::string& file : {Path("text.dll"), std::string(KZR_SOFTKEY_TOOL)}) {
        const Ended refused = RunJson({"register", "--dll", file});
        EXPECT_EQ(refused.code, 2u);
        EXPECT_NE(refused.errors.find(" is not a 64-bit DLL that can be registered"), std::string::npos)
            << refused.errors;
    }
    EXPECT_FALSE(HolderOfBackendClass());
}

TEST_F(Tool, RegisteringRefusesAForeignHolderAndReplacesItOnlyWhenTold)
{
    RegDeleteTreeW(HKEY_LOCAL_MACHINE, kClass);
    const std::string dll = Path("KzrSoftKey_x64.dll");
    EXPECT_EQ(RunJson({"register", "--dll", dll}).code, 1u);
    WriteNew(dll, ReadWholeFile(KZR_SOFTKEY_DLL));
    kzr::test::WriteText(L"CLSID\\{5D343B47-FDD0-4802-930B-EADDA0CE37D9}\\InprocServer32", nullptr,
                         L"C:\\vendor\\backend.dll");
    const auto before = kzr::test::SnapshotOf(HKEY_LOCAL_MACHINE, kClass);
    const Ended refused = RunJson({"register", "--dll", dll});
    EXPECT_EQ(refused.code, 6u);
    EXPECT_NE(refused.errors.find("C:\\vendor\\backend.dll"), std::string::npos);
    EXPECT_EQ(kzr::test::SnapshotOf(HKEY_LOCAL_MACHINE, kClass), before);
    EXPECT_EQ(RunJson({"unregister"}).code, 6u);
    EXPECT_EQ(kzr::test::SnapshotOf(HKEY_LOCAL_MACHINE, kClass), before);

    const Ended replaced = RunJson({"register", "--dll", dll, "--replace"});
    EXPECT_EQ(replaced.code, 0u);
    EXPECT_EQ(replaced.json["replaced"], "C:\\vendor\\backend.dll");
    EXPECT_EQ(RunJson({"status"}).json["registered"], true);
    EXPECT_EQ(HolderOfBackendClass(), ToWide(dll));
    EXPECT_EQ(RunJson({"unregister"}).json["backend"], "C:\\vendor\\backend.dll");
    EXPECT_EQ(kzr::test::SnapshotOf(HKEY_LOCAL_MACHINE, kClass), before);
    RegDeleteTreeW(HKEY_LOCAL_MACHINE, kClass);
}

}  // namespace
}  // namespace kzr::softkey::test
