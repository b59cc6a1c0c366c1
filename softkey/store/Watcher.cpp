// The watching thread. The system's notices give the order of events and wake the thread at once; a listing
// twice a second settles whatever they leave out.
#include "store/Watcher.h"

#include <windows.h>

#include <process.h>

#include <set>
#include <vector>

#include "base/Failure.h"
#include "base/Wide.h"
#include "com/Handles.h"
#include "store/Folder.h"
#include "store/Layout.h"
#include "store/Names.h"

namespace kzr::softkey {
namespace {

constexpr DWORD kPoll = 500;
constexpr DWORD kBufferSize = 16 * 1024;

using UniqueEvent = UniqueHandle<HANDLE, &CloseHandle>;

std::set<std::string> CompleteKeys(const std::string& folder)
{
    std::set<std::string> keys;
    for (std::string& name : FoldersIn(folder)) {
        if (IsSerialNumber(name) && IsComplete(folder + "\\" + name)) keys.insert(std::move(name));
    }
    return keys;
}

}  // namespace

// Touched by the watching thread alone, but for the beginning and the end.
struct Watcher::State {
    std::string folder;
    std::function<void(const PlugEvent&)> tell;
    std::function<void()> looked;
    std::set<std::string> known;
    std::set<std::string> everKnown;
    UniqueEvent stop{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
    UniqueEvent noticed{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
    UniqueEvent thread;
    HANDLE directory = INVALID_HANDLE_VALUE;
    bool asked = false;
    OVERLAPPED overlapped{};
    alignas(DWORD) std::uint8_t buffer[kBufferSize];

    State(std::string where, std::function<void(const PlugEvent&)> whom, std::function<void()> listed)
        : folder(std::move(where)), tell(std::move(whom)), looked(std::move(listed))
    {}
    State(const State&) = delete;
    State& operator=(const State&) = delete;
    ~State() { Forget(); }

    void Ask();
    void Forget();
    void TakeNotices(DWORD size);
    void Set(const std::string& name, bool plugged);
    void Settle();
    void TakeWhatCame();
    void Run();
};

// Asks for notices; where the system has none, the listing does it alone.
void Watcher::State::Ask()
{
    if (asked) return;
    if (directory == INVALID_HANDLE_VALUE) {
        directory = CreateFileW(PlatformPath(folder).c_str(), FILE_LIST_DIRECTORY,
                                FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OVERLAPPED, nullptr);
        if (directory == INVALID_HANDLE_VALUE) return;
    }
    overlapped = {};
    overlapped.hEvent = noticed.Get();
    ResetEvent(noticed.Get());
    asked = ReadDirectoryChangesW(directory, buffer, kBufferSize, FALSE, FILE_NOTIFY_CHANGE_DIR_NAME, nullptr,
                                  &overlapped, nullptr) != FALSE;
    if (!asked) Forget();
}

// The system writes into the buffer until it has said that it no longer does.
void Watcher::State::Forget()
{
    if (directory == INVALID_HANDLE_VALUE) return;
    DWORD size = 0;
    if (asked && CancelIo(directory)) GetOverlappedResult(directory, &overlapped, &size, TRUE);
    asked = false;
    CloseHandle(directory);
    directory = INVALID_HANDLE_VALUE;
}

void Watcher::State::Set(const std::string& name, bool plugged)
{
    if (plugged) everKnown.insert(name);
    const bool changed = plugged ? known.insert(name).second : known.erase(name) > 0;
    if (!changed) return;
    try {
        tell({name, plugged});
    } catch (...) {
        // This one is lost to whoever could not take it; the next is not.
    }
}

// Coming and going between two listings is seen here only.
void Watcher::State::TakeNotices(DWORD size)
{
    std::vector<PlugEvent> events;
    for (DWORD at = 0; at + sizeof(FILE_NOTIFY_INFORMATION) <= size;) {
        const auto* notice = reinterpret_cast<const FILE_NOTIFY_INFORMATION*>(buffer + at);
        const std::string name = ToUtf8({notice->FileName, notice->FileNameLength / sizeof(wchar_t)});
        const bool came =
            notice->Action == FILE_ACTION_ADDED || notice->Action == FILE_ACTION_RENAMED_NEW_NAME;
        if (IsSerialNumber(name)) events.push_back({name, came});
        if (notice->NextEntryOffset == 0) break;
        at += notice->NextEntryOffset;
    }
    // Whoever is told may take long: further notices are collected meanwhile.
    asked = false;
    Ask();
    for (const PlugEvent& event : events) {
        // One that has gone again already cannot be looked at: it counts when it has been a key before.
        const std::string& name = event.serialNumber;
        if (event.plugged && !everKnown.contains(name) && !IsComplete(folder + "\\" + name)) continue;
        Set(name, event.plugged);
    }
}

void Watcher::State::Settle()
{
    // An open folder that was removed stands in the way of its successor.
    if (!FolderExists(folder)) Forget();
    const std::set<std::string> now = CompleteKeys(folder);
    const std::set<std::string> before = known;
    for (const std::string& name : before) {
        if (!now.contains(name)) Set(name, false);
    }
    for (const std::string& name : now) Set(name, true);
}

void Watcher::State::TakeWhatCame()
{
    DWORD size = 0;
    if (asked && WaitForSingleObject(noticed.Get(), 0) == WAIT_OBJECT_0) {
        if (GetOverlappedResult(directory, &overlapped, &size, FALSE)) {
            TakeNotices(size);
        } else {
            asked = false;
            Forget();
        }
    }
    Ask();
    Settle();
    if (looked) looked();
}

void Watcher::State::Run()
{
    const HANDLE waits[] = {stop.Get(), noticed.Get()};
    do {
        try {
            TakeWhatCame();
        } catch (...) {
            // Without memory nothing is seen; the next listing settles it.
        }
    } while (WaitForMultipleObjects(asked ? 2 : 1, waits, FALSE, kPoll) != WAIT_OBJECT_0);
    // Here, since a thread's requests end with it.
    Forget();
}

Watcher::Watcher(std::string root, std::function<void(const PlugEvent&)> tell, std::function<void()> looked)
    : m_state(std::make_unique<State>(KeysFolder(AbsolutePath(root)), std::move(tell), std::move(looked)))
{
    if (!m_state->stop || !m_state->noticed) throw Failure(Cause::File, "there is nothing to wait with");
    MakeFolder(m_state->folder);
    m_state->known = m_state->everKnown = CompleteKeys(m_state->folder);
    const auto run = [](void* state) -> unsigned {
        static_cast<State*>(state)->Run();
        return 0;
    };
    m_state->thread =
        UniqueEvent(reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, run, m_state.get(), 0, nullptr)));
    if (!m_state->thread) throw Failure(Cause::File, "the folder of keys cannot be watched");
}

Watcher::~Watcher()
{
    SetEvent(m_state->stop.Get());
    WaitForSingleObject(m_state->thread.Get(), INFINITE);
}

}  // namespace kzr::softkey
