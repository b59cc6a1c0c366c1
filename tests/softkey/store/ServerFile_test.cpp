// Files that can be registered, and all the others.
#include "registration/ServerFile.h"

#include <windows.h>

#include <algorithm>

#include "base/File.h"
#include "softkey/core/Support.h"

namespace kzr::softkey::test {
namespace {

const Bytes& Built()
{
    static const Bytes content = ReadWholeFile(KZR_SOFTKEY_DLL);
    return content;
}

IMAGE_NT_HEADERS64* HeadersOf(Bytes& file)
{
    return reinterpret_cast<IMAGE_NT_HEADERS64*>(
        file.data() + reinterpret_cast<const IMAGE_DOS_HEADER*>(file.data())->e_lfanew);
}

bool IsServerWith(const std::function<void(IMAGE_NT_HEADERS64&)>& change)
{
    Bytes file = Built();
    change(*HeadersOf(file));
    return IsServerFile(file);
}

TEST(ServerFile, TheBuiltServerIsOneAndAProgramIsNot)
{
    EXPECT_TRUE(IsServerFile(Built()));
    EXPECT_FALSE(IsServerFile(ReadWholeFile(KZR_SOFTKEY_TOOL)));
    EXPECT_FALSE(IsServerFile({}));
    EXPECT_FALSE(IsServerFile(ViewOf("MZ")));
    EXPECT_FALSE(IsServerFile(Noise(100'000)));
}

TEST(ServerFile, AnotherKindOfImageIsNone)
{
    EXPECT_TRUE(IsServerWith([](IMAGE_NT_HEADERS64&) {}));
    EXPECT_FALSE(IsServerWith([](auto& headers) { headers.Signature ^= 1; }));
    EXPECT_FALSE(IsServerWith([](auto& headers) { headers.FileHeader.Machine = IMAGE_FILE_MACHINE_I386; }));
    EXPECT_FALSE(IsServerWith([](auto& headers) { headers.FileHeader.Machine = IMAGE_FILE_MACHINE_ARM64; }));
    EXPECT_FALSE(IsServerWith([](auto& headers) { headers.FileHeader.Characteristics ^= IMAGE_FILE_DLL; }));
    EXPECT_FALSE(
        IsServerWith([](auto& headers) { headers.OptionalHeader.Magic = IMAGE_NT_OPTIONAL_HDR32_MAGIC; }));
}

TEST(ServerFile, OneWithoutTheServersFunctionsIsNone)
{
    for (const std::string_view name : {"DllGetClassObject", "DllRegisterServer", "DllUnregisterServer"}) {
        Bytes file = Built();
        // With the null before it, since one name ends like another.
        const std::string whole = std::string(1, '\0') + std::string(name) + std::string(1, '\0');
        const auto found = std::search(file.begin(), file.end(), whole.begin(), whole.end());
        ASSERT_NE(found, file.end());
        *(found + 1) = 'd';
        EXPECT_FALSE(IsServerFile(file)) << name;
    }
}

TEST(ServerFile, PlacesBeyondTheFileAreNotRead)
{
    using Headers = IMAGE_NT_HEADERS64;
    const auto exports = [](Headers& headers) -> DWORD& {
        return headers.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT].VirtualAddress;
    };
    for (const DWORD place : {0u, 1u, 0x7FFFFFFFu, 0xFFFFFFF0u, 0xFFFFFFFFu}) {
        EXPECT_FALSE(IsServerWith([&](Headers& headers) { exports(headers) = place; }));
        Bytes file = Built();
        reinterpret_cast<IMAGE_DOS_HEADER*>(file.data())->e_lfanew = static_cast<LONG>(place);
        EXPECT_FALSE(IsServerFile(file));
        file = Built();
        for (auto* section = IMAGE_FIRST_SECTION(HeadersOf(file)); section->Name[0] != '\0'; ++section)
            section->PointerToRawData = place == 0 ? 0xFFFFFF00u : place;
        EXPECT_FALSE(IsServerFile(file));
    }
    EXPECT_FALSE(IsServerWith([](Headers& headers) { headers.FileHeader.NumberOfSections = 0xFFFF; }));
    EXPECT_FALSE(IsServerWith([](Headers& headers) { headers.OptionalHeader.NumberOfRvaAndSizes = 0; }));
}

TEST(ServerFile, AFileThatIsCutOrSpoiltIsOnlyRefused)
{
    for (std::size_t size = 0; size < 4096; size += 3) EXPECT_FALSE(IsServerFile(View(Built()).first(size)));
    for (std::size_t size = 4096; size < Built().size() / 2; size += Built().size() / 50)
        EXPECT_FALSE(IsServerFile(View(Built()).first(size)));
    // Headers and the table of sections: whatever stands there, the answer comes.
    Bytes file = Built();
    int refused = 0;
    for (std::size_t at = 0; at < 1024; ++at) {
        for (const std::uint8_t mask : {0x01, 0x80, 0xFF}) {
            file[at] ^= mask;
            refused += IsServerFile(file) ? 0 : 1;
            file[at] ^= mask;
        }
    }
    EXPECT_GT(refused, 20);
    EXPECT_TRUE(IsServerFile(file));
}

}  // namespace
}  // namespace kzr::softkey::test
