// The folders that tests work in: new, empty, gone afterwards, whoever had the number of this process before.
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <cstdio>

#include "support/ChildProcess.h"

namespace kzr::test {
namespace {

bool IsThere(const std::wstring& path) { return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES; }

void Put(const std::wstring& path)
{
    const HANDLE file =
        CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_READONLY, nullptr);
    EXPECT_NE(INVALID_HANDLE_VALUE, file) << GetLastError();
    CloseHandle(file);
}

void PutSomethingInto(const std::wstring& folder)
{
    MakeFolders(folder + L"one\\two\\");
    Put(folder + L"one\\two\\file");
    Put(folder + L"file");
}

TEST(TempFolder, IsGoneAtItsEndWithAllThatIsInIt)
{
    std::wstring path;
    {
        const TempFolder folder;
        path = folder.Path();
        EXPECT_TRUE(IsThere(path));
        PutSomethingInto(path);
        EXPECT_TRUE(IsThere(path + L"one\\two\\file"));
    }
    EXPECT_FALSE(IsThere(path));
}

TEST(TempFolder, TwoAreNeverTheSame)
{
    const TempFolder first, second;
    EXPECT_NE(first.Path(), second.Path());
}

KZR_CHILD(LeavesAFolderBehind)
{
    const TempFolder folder;
    PutSomethingInto(folder.Path());
    std::fputs(ToNarrow(folder.Path()).c_str(), stdout);
    std::fflush(stdout);
    TerminateProcess(GetCurrentProcess(), 0);
    return 1;
}

KZR_CHILD(HasAFolder)
{
    const TempFolder folder;
    return IsThere(folder.Path()) ? 0 : 1;
}

TEST(TempFolder, WhatAProcessLeavesIsRemovedByTheNextAndNothingOfTheLiving)
{
    const TempFolder own;
    PutSomethingInto(own.Path());
    const std::string left = RunChild("LeavesAFolderBehind").output;
    const std::wstring path(left.begin(), left.end());
    ASSERT_TRUE(left.ends_with("\\")) << left;
    ASSERT_TRUE(IsThere(path + L"one\\two\\file"));
    EXPECT_EQ(0u, RunChild("HasAFolder").code);
    EXPECT_FALSE(IsThere(path));
    EXPECT_TRUE(IsThere(own / L"one\\two\\file"));
}

TEST(TempFolder, WhatAnEarlierProcessOfALivingNumberLeftIsRemoved)
{
    const TempFolder own;
    // This process's number, another's birth.
    const std::size_t born = own.Path().rfind(L"_", own.Path().rfind(L'_') - 1) + 1;
    const std::wstring earlier = own.Path().substr(0, born) + L"1_1\\";
    ASSERT_TRUE(CreateDirectoryW(earlier.c_str(), nullptr));
    PutSomethingInto(earlier);
    EXPECT_EQ(0u, RunChild("HasAFolder").code);
    EXPECT_FALSE(IsThere(earlier));
}

}  // namespace
}  // namespace kzr::test
