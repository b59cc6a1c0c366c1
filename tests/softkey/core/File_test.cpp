// Files: read whole and in pieces, replaced whole or not at all, by names of every kind.
#include "base/File.h"

#ifdef _WIN32
#include <windows.h>
#endif

#include <chrono>
#include <cstdlib>
#include <thread>

#include "base/Base64.h"
#include "softkey/core/Support.h"

namespace kzr::softkey {
namespace {

using namespace test;

constexpr std::size_t kSizes[] = {0, 1, 65535, 65536, 65537, 131072, 200'000};

TEST(File, WhatIsWrittenIsReadAgain)
{
    const Scratch scratch;
    for (const std::size_t size : kSizes) {
        const Bytes content = Noise(size);
        WriteWholeFile(scratch / "file", content);
        EXPECT_EQ(ReadWholeFile(scratch / "file"), content);
        EXPECT_EQ(ReadFileIfThere(scratch / "file"), content);
    }
    EXPECT_EQ(scratch.Names(), std::vector<std::string>{"file"}) << "a temporary was left";
}

TEST(File, IsReadInPiecesOfAtMost64KiB)
{
    const Scratch scratch;
    for (const std::size_t size : kSizes) {
        const Bytes content = Noise(size);
        WriteWholeFile(scratch / "file", content);
        Bytes read;
        ReadInPieces(scratch / "file", [&read](View piece) {
            EXPECT_GT(piece.size(), 0u);
            EXPECT_LE(piece.size(), 65536u);
            read.insert(read.end(), piece.begin(), piece.end());
        });
        EXPECT_EQ(read, content);
    }
}

TEST(File, IsWrittenInPieces)
{
    const Scratch scratch;
    const Bytes content = Noise(300'000);
    WriteInPieces(scratch / "file", [&content](const std::function<void(View)>& write) {
        write(View(content).first(1));
        write({});
        write(View(content).subspan(1, 199'999));
        write(View(content).subspan(200'000));
    });
    EXPECT_EQ(ReadWholeFile(scratch / "file"), content);
}

TEST(File, ThatIsNotThereIsTold)
{
    const Scratch scratch;
    EXPECT_FALSE(FileExists(scratch / "none"));
    EXPECT_EQ(ReadFileIfThere(scratch / "none"), std::nullopt);
    EXPECT_EQ(ReadFileIfThere(scratch / "no folder/none"), std::nullopt);
    EXPECT_EQ(CauseOf([&] { ReadWholeFile(scratch / "none"); }), Cause::File);
    EXPECT_EQ(CauseOf([&] { ReadInPieces(scratch / "none", [](View) {}); }), Cause::File);
    EXPECT_EQ(CauseOf([&] { WriteWholeFile(scratch / "no folder/none", {}); }), Cause::File);
    WriteWholeFile(scratch / "none", {});
    EXPECT_TRUE(FileExists(scratch / "none"));
}

TEST(File, LargerThanTheLimitIsRefused)
{
    const Scratch scratch;
    WriteWholeFile(scratch / "file", Noise(100));
    EXPECT_EQ(ReadWholeFile(scratch / "file", 100).size(), 100u);
    EXPECT_EQ(CauseOf([&] { ReadWholeFile(scratch / "file", 99); }), Cause::File);
    EXPECT_EQ(CauseOf([&] { ReadFileIfThere(scratch / "file", 0); }), Cause::File);
}

TEST(File, FoldersAndUnusableNamesAreNoFiles)
{
    const Scratch scratch;
    const std::string folder = scratch / ".";
    EXPECT_FALSE(FileExists(folder));
    EXPECT_EQ(CauseOf([&] { ReadWholeFile(folder); }), Cause::File);
    EXPECT_EQ(CauseOf([&] { WriteWholeFile(folder, {}); }), Cause::File);
    EXPECT_EQ(CauseOf([&] { ReadWholeFile(""); }), Cause::File);
    EXPECT_EQ(CauseOf([&] { WriteWholeFile("", {}); }), Cause::File);
    EXPECT_EQ(CauseOf([&] { FileExists(""); }), Cause::File);
    // What stands before the null is a file.
    WriteWholeFile(scratch / "a", BytesOf("kept"));
    const std::string split = scratch / std::string_view("a\0b", 3);
    EXPECT_EQ(CauseOf([&] { ReadWholeFile(split); }), Cause::File);
    EXPECT_EQ(CauseOf([&] { WriteWholeFile(split, {}); }), Cause::File);
    EXPECT_EQ(CauseOf([&] { FileExists(split); }), Cause::File);
    EXPECT_EQ(ReadWholeFile(scratch / "a"), BytesOf("kept"));
    EXPECT_EQ(scratch.Names(), std::vector<std::string>{"a"});
}

TEST(File, NamesAreUtf8)
{
    const Scratch scratch;
    const std::string name = "\xE8\xAF\x81\xE4\xB9\xA6 \xC3\xBC \xF0\x9F\x94\x91.bin";
    WriteWholeFile(scratch / name, BytesOf("x"));
    EXPECT_TRUE(FileExists(scratch / name));
    EXPECT_EQ(ReadWholeFile(scratch / name), BytesOf("x"));
    EXPECT_EQ(scratch.Names(), std::vector<std::string>{name});
}

TEST(File, NamesMayBeAsLongAsTheFileSystemTakesThem)
{
    const Scratch scratch;
    const std::string name(250, 'n');
    WriteWholeFile(scratch / name, BytesOf("long"));
    WriteWholeFile(scratch / name, BytesOf("longer"));
    EXPECT_TRUE(FileExists(scratch / name));
    EXPECT_EQ(ReadWholeFile(scratch / name), BytesOf("longer"));
    EXPECT_EQ(CauseOf([&] { WriteWholeFile(scratch / std::string(300, 'n'), {}); }), Cause::File);
    EXPECT_EQ(CauseOf([&] { WriteWholeFile(scratch / std::string(40'000, 'n'), {}); }), Cause::File);
}

TEST(File, StaysAsItWasWhenItsNewContentCannotBeMade)
{
    const Scratch scratch;
    WriteWholeFile(scratch / "file", BytesOf("old"));
    EXPECT_EQ(CauseOf([&] {
                  WriteInPieces(scratch / "file", [](const std::function<void(View)>& write) {
                      write(ViewOf("new"));
                      throw Failure(Cause::BadData, "half of it");
                  });
              }),
              Cause::BadData);
    EXPECT_EQ(ReadWholeFile(scratch / "file"), BytesOf("old"));
    EXPECT_EQ(scratch.Names(), std::vector<std::string>{"file"}) << "a temporary was left";
}

// A process dies in the middle of writing: the next one finds the old content and can write anew. On Windows
// the dying one is this program, started again, which finds the file's name in the environment.
TEST(FileDeathTest, StaysAsItWasWhenTheWriterDies)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const Scratch scratch;
    const char* const told = std::getenv("KZR_TEST_DYING_FILE");
    const std::string path = told ? told : scratch / "file";
#ifdef _WIN32
    _putenv_s("KZR_TEST_DYING_FILE", path.c_str());
#else
    setenv("KZR_TEST_DYING_FILE", path.c_str(), 1);
#endif
    if (!told) WriteWholeFile(path, BytesOf("old"));
    EXPECT_EXIT(WriteInPieces(path,
                              [](const std::function<void(View)>& write) {
                                  write(ViewOf("new"));
                                  std::_Exit(7);
                              }),
                testing::ExitedWithCode(7), "");
#ifdef _WIN32
    _putenv_s("KZR_TEST_DYING_FILE", "");
#else
    unsetenv("KZR_TEST_DYING_FILE");
#endif
    EXPECT_EQ(ReadWholeFile(path), BytesOf("old"));
    const std::vector<std::string> names = scratch.Names();
#ifdef _WIN32
    EXPECT_EQ(names, std::vector<std::string>{"file"}) << "what it had written was left";
#else
    ASSERT_EQ(names.size(), 2u) << "no temporary was under way";
    const std::string& temporary = names[0] == "file" ? names[1] : names[0];
    EXPECT_TRUE(temporary.ends_with(kTemporaryEnding)) << temporary;
#endif

    WriteWholeFile(path, BytesOf("newer"));
    EXPECT_EQ(ReadWholeFile(path), BytesOf("newer"));
    EXPECT_EQ(scratch.Names().size(), names.size());
}

TEST(File, WritersAtTheSameTimeLeaveOneOfTheirContents)
{
    const Scratch scratch;
    const auto write = [&scratch](std::uint8_t value) {
        for (int i = 0; i < 20; ++i) WriteWholeFile(scratch / "file", Bytes(100'000, value));
    };
    std::thread one(write, std::uint8_t{1});
    std::thread two(write, std::uint8_t{2});
    one.join();
    two.join();
    const Bytes content = ReadWholeFile(scratch / "file");
    ASSERT_EQ(content.size(), 100'000u);
    EXPECT_EQ(content, Bytes(100'000, content.front()));
    EXPECT_EQ(scratch.Names(), std::vector<std::string>{"file"});
}

#ifdef _WIN32
TEST(File, ThatAnotherHoldsForAMomentIsReplacedAfterwards)
{
    const Scratch scratch;
    const std::string path = scratch / "file";
    WriteWholeFile(path, BytesOf("old"));
    const HANDLE held =
        CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(held, INVALID_HANDLE_VALUE);
    std::thread holder([held] {
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        CloseHandle(held);
    });
    WriteWholeFile(path, BytesOf("new"));
    holder.join();
    EXPECT_EQ(ReadWholeFile(path), BytesOf("new"));
}

TEST(File, ThatMayNotBeWrittenIsTold)
{
    const Scratch scratch;
    const std::string path = scratch / "file";
    WriteWholeFile(path, BytesOf("old"));
    SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_READONLY);
    EXPECT_EQ(CauseOf([&] { WriteWholeFile(path, BytesOf("new")); }), Cause::File);
    SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_NORMAL);
    EXPECT_EQ(ReadWholeFile(path), BytesOf("old"));
    EXPECT_EQ(scratch.Names(), std::vector<std::string>{"file"});
}

// The device has no end, the pipe nobody at its other.
TEST(File, DevicesAreNoFiles)
{
    EXPECT_EQ(CauseOf([] { ReadWholeFile("NUL"); }), Cause::File);
}
#else
TEST(File, DevicesAndPipesAreNoFiles)
{
    EXPECT_EQ(CauseOf([] { ReadInPieces("/dev/zero", [](View) {}); }), Cause::File);
    EXPECT_FALSE(FileExists("/dev/zero"));
    const Scratch scratch;
    ASSERT_EQ(std::system(("mkfifo '" + scratch / "pipe" + "'").c_str()), 0);
    EXPECT_EQ(CauseOf([&] { ReadWholeFile(scratch / "pipe"); }), Cause::File);
}
#endif

}  // namespace
}  // namespace kzr::softkey
