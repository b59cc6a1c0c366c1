// PINs and passwords in softkey.exe: how they are given, and that they do not stay.
#include "base/File.h"
#include "base/Wide.h"
#include "softkey/store/Process.h"
#include "softkey/store/StoreTest.h"

namespace kzr::softkey::test {
namespace {

using Arguments = std::vector<std::string>;

// In how many places of what the process may read the text lies.
int PlacesInMemory(HANDLE process, std::string_view text)
{
    int places = 0;
    MEMORY_BASIC_INFORMATION area{};
    std::string content;
    for (const char* at = nullptr; VirtualQueryEx(process, at, &area, sizeof area) == sizeof area;
         at = static_cast<const char*>(area.BaseAddress) + area.RegionSize) {
        const bool readable = area.State == MEM_COMMIT && (area.Protect & (PAGE_GUARD | PAGE_NOACCESS)) == 0;
        if (!readable || area.RegionSize > (std::size_t{64} << 20)) continue;
        content.resize(area.RegionSize);
        SIZE_T got = 0;
        ReadProcessMemory(process, area.BaseAddress, content.data(), content.size(), &got);
        content.resize(got);
        for (std::size_t found = 0; (found = content.find(text, found)) != content.npos; ++found) ++places;
    }
    return places;
}

class ToolSecrets : public StoreTest {
  protected:
    DWORD Run(Arguments arguments, const std::string& input = "")
    {
        arguments.insert(arguments.begin(), {"--store", m_store.Root()});
        Process process(ToWide(KZR_SOFTKEY_TOOL), arguments, input);
        const DWORD code = process.Wait();
        m_output = process.Output() + process.Errors();
        return code;
    }

    std::string m_output;
};

TEST_F(ToolSecrets, AreTakenInEveryWayOfWritingAnOption)
{
    const Device device = MakeKey(m_store, "SN01", {});
    EXPECT_EQ(Run({"pin", "set", "SN01", "--pin=123456", "--new-pin=a=b c"}), 0u);
    LogIn(device, "a=b c");
    EXPECT_EQ(Run({"pin", "set", "--new-pin", "-1234", "--pin", "a=b c", "--", "SN01"}), 0u);
    LogIn(device, "-1234");
    EXPECT_EQ(Run({"pin", "set", "SN01", "--pin", "-1234", "--new-pin", "\xE5\xBC\xA0\xE4\xB8\x89"}), 0u);
    LogIn(device, "\xE5\xBC\xA0\xE4\xB8\x89");
    EXPECT_EQ(Run({"pin", "set", "SN01", "--pin", "***", "--new-pin", "other"}), 4u);
    EXPECT_EQ(Run({"pin", "set", "SN01", "--pin", "", "--new-pin", "other"}), 4u);
    EXPECT_EQ(Run({"pin", "set", "SN01", "--pin", "--new-pin", "other"}), 2u);
    EXPECT_EQ(Run({"pin", "set", "SN01", "--pin", "one1", "--pin", "two2", "--new-pin", "other"}), 2u);
}

TEST_F(ToolSecrets, AreNotRepeatedByARefusal)
{
    for (const Arguments& wrong : {Arguments{"list", "--pin", "secret"},
                                   {"pin", "set", "SN01", "--pin", "secret", "more"},
                                   {"pin", "set", "--new-pin=secret", "--pin", "--frob"}}) {
        EXPECT_EQ(Run(wrong), 2u);
        EXPECT_EQ(m_output.find("secret"), std::string::npos) << m_output;
    }
}

TEST_F(ToolSecrets, HaveNoSecondSpellingOfTheirOptions)
{
    MakeKey(m_store, "SN01", {});
    EXPECT_EQ(Run({"pin", "set", "SN01", "/pin", kPin, "/new-pin", "other"}), 2u) << m_output;
    EXPECT_EQ(Run({"pin", "set", "SN01", "--pin", kPin, "--new-pin", "other"}), 0u) << m_output;
}

TEST_F(ToolSecrets, LieInOnePlaceUntilTheyWereUsedAndThenInNone)
{
    // The platform has its own copies of the command line, none of them in UTF-8.
    const std::string pin = "\xE5\xBC\xA0 PIN \xE4\xB8\x89\xE5\xBC\xA0 \xE4\xB8\x89",
                      password = "what opens two files";
    DeviceDescription description;
    description.serialNumber = "SN01";
    m_store.Create(description, {pin, kAdminPin, 10}, {});
    const std::string first = PathOf("first.p12"), second = PathOf("second.p12");
    const Identity& own = Own(KeyType::Rsa);
    for (const std::string& path : {first, second})
        WritePkcs12(path, own.key.get(), own.certificate, {}, password.c_str());

    Process tool(ToWide(KZR_SOFTKEY_TOOL),
                 {"--store", m_store.Root(), "import", "SN01", first, "--exchange", second, "--pin", pin},
                 password + "\n", true);
    ASSERT_TRUE(tool.Started());
    const auto waitFor = [](const auto& condition) {
        for (const ULONGLONG started = GetTickCount64(); GetTickCount64() - started < 20000; Sleep(20)) {
            if (condition()) return true;
        }
        return false;
    };
    // From here on it reads the first file, and waits for the password of the second.
    ASSERT_TRUE(waitFor([&] { return tool.HasReadAll(); }));
    EXPECT_TRUE(waitFor([&] { return PlacesInMemory(tool.Native(), password) == 0; }));
    EXPECT_EQ(PlacesInMemory(tool.Native(), pin), 1);
    tool.Write(password + "\n");
    EXPECT_EQ(tool.Wait(), 0u) << tool.Errors();
    EXPECT_EQ(m_store.Find("SN01")->Containers().size(), 1u);
}

}  // namespace
}  // namespace kzr::softkey::test
