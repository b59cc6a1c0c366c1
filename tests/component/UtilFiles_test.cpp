// CUtil, what it does without the backend: renaming files, the empty user list, the unsupported look-up.
#include "ForwardingRows.h"
#include "KzrSecX_h.h"

namespace kzr::test {
namespace {

// A folder of the test program's own.
std::wstring TempFolder()
{
    wchar_t temp[MAX_PATH] = {};
    GetTempPathW(MAX_PATH, temp);
    return std::wstring(temp) + L"kzr_rename_" + std::to_wstring(GetCurrentProcessId());
}

std::wstring PathOf(const wchar_t* name) { return TempFolder() + L"\\" + name; }

void Remove(const std::wstring& folder)
{
    WIN32_FIND_DATAW found;
    const HANDLE search = FindFirstFileW((folder + L"\\*").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return;
    do {
        const std::wstring name = found.cFileName;
        if (name == L"." || name == L"..") continue;
        const std::wstring path = folder + L"\\" + name;
        if (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)
            Remove(path);
        else
            DeleteFileW(path.c_str());
    } while (FindNextFileW(search, &found));
    FindClose(search);
    RemoveDirectoryW(folder.c_str());
}

void Write(const wchar_t* name, const std::string& content)
{
    const HANDLE file =
        CreateFileW(PathOf(name).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    ASSERT_NE(INVALID_HANDLE_VALUE, file) << GetLastError();
    DWORD written = 0;
    WriteFile(file, content.data(), static_cast<DWORD>(content.size()), &written, nullptr);
    CloseHandle(file);
    ASSERT_EQ(content.size(), written);
}

// "" for a file that is not there, and for a folder.
std::string Content(const wchar_t* name) { return ReadWholeFile(PathOf(name)); }
bool Exists(const wchar_t* name)
{
    return GetFileAttributesW(PathOf(name).c_str()) != INVALID_FILE_ATTRIBUTES;
}

// Every row begins with: a.txt ("one"), b.txt ("two"), folder\inner.txt ("three").
void MakeFiles(ComponentTest&, IDispatch*)
{
    Remove(TempFolder());
    ASSERT_TRUE(CreateDirectoryW(TempFolder().c_str(), nullptr));
    ASSERT_TRUE(CreateDirectoryW(PathOf(L"folder").c_str(), nullptr));
    Write(L"a.txt", "one");
    Write(L"b.txt", "two");
    Write(L"folder\\inner.txt", "three");
}

Case Renames(const std::string& name, const Value& from, const Value& to, int retVal,
             const std::function<void()>& check)
{
    return {.name = name,
            .method = L"RenameFile",
            .id = 9,
            .direct = Direct(&IUtil::RenameFile),
            .arguments = {from, to},
            .steps = {Trace("CUtil: RenameFile starting..."),
                      Trace("CUtil: RenameFile oldName(" + Shown(from) + ") newName(" + Shown(to) + ")..."),
                      Trace("CUtil: RenameFile ending(" + std::to_string(retVal) + ")...")},
            .retVal = I2(retVal),
            .given = MakeFiles,
            .then = [check](ComponentTest&, IDispatch*) {
                check();
                Remove(TempFolder());
            }};
}

void ExpectUntouched()
{
    EXPECT_EQ("one", Content(L"a.txt"));
    EXPECT_EQ("two", Content(L"b.txt"));
    EXPECT_EQ("three", Content(L"folder\\inner.txt"));
}

Case Refuses(const std::string& name, const Value& from, const Value& to)
{
    return Renames(name, from, to, -1, ExpectUntouched);
}

// After it `to` has the content and `from` is gone.
Case Moves(const std::string& name, const wchar_t* from, const wchar_t* to, const std::string& content)
{
    return Renames(name, PathOf(from), PathOf(to), 0, [from, to, content] {
        EXPECT_FALSE(Exists(from));
        EXPECT_EQ(content, Content(to));
    });
}

const Rows kRenames = {
    Moves("GivesAFileANewName", L"a.txt", L"c.txt", "one"),
    Moves("MovesAFileToAnotherFolder", L"a.txt", L"folder\\a.txt", "one"),
    Moves("MovesAFileOutOfAFolder", L"folder\\inner.txt", L"inner.txt", "three"),
    Moves("TakesBlanksInNames", L"a.txt", L"a b  c.txt", "one"),
    Moves("TakesPercentSignsInNames", L"a.txt", L"%s%n%d.txt", "one"),
    Moves("TakesNamesThatNoCodePageHolds", L"a.txt", L"\u5f20\u4e09\u0416\u00e9\u05d0.txt", "one"),
    Renames("RenamesAFolderWithWhatIsInIt", PathOf(L"folder"), PathOf(L"other"), 0,
            [] {
                EXPECT_FALSE(Exists(L"folder"));
                EXPECT_EQ("three", Content(L"other\\inner.txt"));
            }),
    Refuses("OntoAnExistingFileLeavesBoth", PathOf(L"a.txt"), PathOf(L"b.txt")),
    Refuses("OntoAnExistingFolderLeavesBoth", PathOf(L"a.txt"), PathOf(L"folder")),
    Refuses("OfAFolderOntoAFileLeavesBoth", PathOf(L"folder"), PathOf(L"b.txt")),
    Refuses("OfAMissingFileFails", PathOf(L"missing.txt"), PathOf(L"c.txt")),
    Refuses("IntoAMissingFolderFails", PathOf(L"a.txt"), PathOf(L"nowhere\\a.txt")),
    Refuses("OfAnEmptyNameFails", L"", PathOf(L"c.txt")),
    Refuses("ToAnEmptyNameFails", PathOf(L"a.txt"), L""),
    Refuses("OfANullNameFails", NullText(), PathOf(L"c.txt")),
    Refuses("ToANullNameFails", PathOf(L"a.txt"), NullText()),
    Refuses("OfNullsFails", NullText(), NullText()),
};
KZR_CASES(UtilRenameFile, kUtil, kRenames);

Case GivesNoUsers(const std::string& name, const wchar_t* method, DISPID id, const DirectCall& direct,
                  const std::vector<User>& users = DefaultUsers())
{
    return {.name = name,
            .method = method,
            .id = id,
            .direct = direct,
            .steps = {Trace("CUtil: getUserList starting..."), Trace("CUtil: getUserList return Data()..."),
                      Trace("CUtil: GetUserList ending ok...")},
            .retVal = L"",
            .users = users};
}

Case GivesNoContainer(const std::string& name, const Values& arguments)
{
    return {.name = name,
            .method = L"GetContainerNameByUniqueId",
            .id = 8,
            .direct = Direct(&IUtil::GetContainerNameByUniqueId),
            .arguments = arguments,
            .steps = {Trace("CUtil: GetContainerNameByUniqueId starting..."),
                      Notice("CUtil: GetContainerNameByUniqueId not support!")},
            .retVal = L""};
}

Case OneArgumentTooMany()
{
    return {.name = "TakesNoArguments",
            .method = L"getUserList",
            .id = 3,
            .arguments = {L"c1"},
            .result = DISP_E_BADPARAMCOUNT};
}

const Rows kUserLists = {
    GivesNoUsers("GetUserListIsEmptyWhoeverIsThere", L"getUserList", 3, Direct(&IUtil::getUserList)),
    GivesNoUsers("GetUserListIsEmptyWithoutAKey", L"getUserList", 3, Direct(&IUtil::getUserList), {}),
    GivesNoUsers("GetUserList2WritesTheOthersLines", L"getUserList2", 7, Direct(&IUtil::getUserList2)),
    GivesNoUsers("GetUserList2IsEmptyWithoutAKey", L"getUserList2", 7, Direct(&IUtil::getUserList2), {}),
    OneArgumentTooMany(),
    GivesNoContainer("GetContainerNameByUniqueIdIsEmpty", {L"c1/SN01", L"name"}),
    GivesNoContainer("GetContainerNameByUniqueIdReadsNoArgument", {NullText(), NullText()}),
};
KZR_CASES(UtilUserList, kUtil, kUserLists);

}  // namespace
}  // namespace kzr::test
