// Parses the user list in one pass and answers the look-ups. The list has the form
//     UserName "||" ContainerName "/" DeviceSN "&&&"
// repeated, but a backend may send anything: missing separators give empty fields, never a failure.
#include "cache/UserTable.h"

#include <utility>

namespace kzr {
namespace {

constexpr std::wstring_view kUserEnd = L"||";
constexpr std::wstring_view kContainerEnd = L"/";
constexpr std::wstring_view kEntryEnd = L"&&&";
constexpr auto kNone = std::wstring_view::npos;

// The first find at or after a position that never moves back. A find stays good until the position has
// passed it, so all searches of one mark together read the text once.
class ForwardFind {
  public:
    ForwardFind(std::wstring_view text, std::wstring_view mark)
        : m_text(text), m_mark(mark), m_found(text.find(mark))
    {}

    std::size_t From(std::size_t position)
    {
        if (m_found < position) {
            m_found = m_text.find(m_mark, position);
        }
        return m_found;
    }

  private:
    std::wstring_view m_text;
    std::wstring_view m_mark;
    std::size_t m_found;
};

// One entry at a time, as views of the text: on a broken list the container name of every pass may reach
// to the end of the text, and only what is kept may cost a copy.
class UserListReader {
  public:
    explicit UserListReader(std::wstring_view text)
        : m_text(text),
          m_userEnd(text, kUserEnd),
          m_containerEnd(text, kContainerEnd),
          m_serialEnd(text, kEntryEnd),
          m_entryEnd(text, kEntryEnd)
    {}

    std::wstring_view userName;
    std::wstring_view containerName;
    std::wstring_view deviceSN;

    bool Next()
    {
        if (m_next >= m_text.size()) {
            return false;
        }
        const std::size_t userEnd = m_userEnd.From(m_next);
        userName = Between(m_next, userEnd);
        // A list without its marks loses a fixed number of characters for each mark that it lacks. Callers
        // have come to see the entries that this gives, and it is what ends the walk.
        const std::size_t rest = userEnd == kNone ? m_next + 1 : userEnd + kUserEnd.size();

        const std::size_t containerEnd = m_containerEnd.From(rest);
        containerName = Between(rest, containerEnd);
        const std::size_t tail = containerEnd == kNone ? rest : containerEnd + kContainerEnd.size();
        deviceSN = Between(tail, m_serialEnd.From(tail));

        // The serial number ends at the mark after "/", the entry at the mark after "||": with a mark inside
        // the container name the two differ, on purpose.
        const std::size_t entryEnd = m_entryEnd.From(rest);
        m_next = entryEnd == kNone ? rest + 2 : entryEnd + kEntryEnd.size();
        return true;
    }

  private:
    std::wstring_view Between(std::size_t begin, std::size_t end) const
    {
        return end == kNone ? std::wstring_view() : m_text.substr(begin, end - begin);
    }

    std::wstring_view m_text;
    ForwardFind m_userEnd;
    ForwardFind m_containerEnd;
    ForwardFind m_serialEnd;
    ForwardFind m_entryEnd;
    std::size_t m_next = 0;
};

// ASCII letters only, whatever the locale says.
bool IsSoftwareStore(std::wstring_view deviceType)
{
    constexpr std::wstring_view kSoft = L"SOFT";
    if (deviceType.size() != kSoft.size()) {
        return false;
    }
    for (std::size_t i = 0; i < kSoft.size(); ++i) {
        const wchar_t unit = deviceType[i];
        if (unit != kSoft[i] && unit != kSoft[i] + (L'a' - L'A')) {
            return false;
        }
    }
    return true;
}

// A "/" as the first character belongs to the name.
std::wstring_view KeyPart(std::wstring_view identifier)
{
    const std::size_t slash = identifier.find(kContainerEnd);
    return slash == 0 || slash == kNone ? identifier : identifier.substr(0, slash);
}

std::wstring UniqueId(const UserEntry& entry)
{
    std::wstring id;
    id.reserve(entry.ContainerName.size() + kContainerEnd.size() + entry.DeviceSN.size());
    return id.append(entry.ContainerName).append(kContainerEnd).append(entry.DeviceSN);
}

std::wstring FieldOrEmpty(const UserEntry* entry, std::wstring UserEntry::*field)
{
    return entry ? entry->*field : std::wstring();
}

std::wstring UniqueIdOrEmpty(const UserEntry* entry) { return entry ? UniqueId(*entry) : std::wstring(); }

}  // namespace

void UserTable::Rebuild(std::wstring_view userList, DeviceInfo* source)
{
    m_entries.clear();
    if (!source) {
        return;  // nobody to say what the entries are: each would be read and dropped
    }
    UserListReader reader(userList);
    while (reader.Next()) {
        Add(reader.userName, reader.containerName, reader.deviceSN, *source);
    }
}

void UserTable::Add(std::wstring_view userName, std::wstring_view containerName, std::wstring_view deviceSN,
                    DeviceInfo& source)
{
    // The order of the three questions is visible to the backend, and a repeated container asks them too.
    std::wstring cspName = source.Query(deviceSN, DeviceInfo::kCspName);
    std::wstring extLibName = source.Query(deviceSN, DeviceInfo::kExtLibName);
    if (IsSoftwareStore(source.Query(deviceSN, DeviceInfo::kDeviceType))) {
        return;
    }
    // Looked up only now: a backend that dispatches messages while it answers may have let another rebuild
    // in on this thread.
    const auto place = m_entries.lower_bound(containerName);
    if (place != m_entries.end() && place->first == containerName) {
        return;  // the first of equal names stays
    }
    const std::wstring key(containerName);
    m_entries.emplace_hint(place, key,
                           UserEntry{key, std::wstring(deviceSN), std::move(cspName), std::move(extLibName),
                                     std::wstring(userName)});
}

const UserEntry* UserTable::FindContainer(std::wstring_view identifier) const
{
    const auto found = m_entries.find(KeyPart(identifier));
    return found == m_entries.end() ? nullptr : &found->second;
}

const UserEntry* UserTable::FindFirst(std::wstring UserEntry::*field, std::wstring_view value) const
{
    for (const auto& [key, entry] : m_entries) {
        if (entry.*field == value) {
            return &entry;
        }
    }
    return nullptr;
}

std::wstring UserTable::DeviceSNByContainer(std::wstring_view identifier) const
{
    return FieldOrEmpty(FindContainer(identifier), &UserEntry::DeviceSN);
}

std::wstring UserTable::UniqueIdByContainer(std::wstring_view identifier) const
{
    return UniqueIdOrEmpty(FindContainer(identifier));
}

std::wstring UserTable::CspNameByContainer(std::wstring_view identifier) const
{
    return FieldOrEmpty(FindContainer(identifier), &UserEntry::CspName);
}

std::wstring UserTable::ExtLibNameByContainer(std::wstring_view identifier) const
{
    return FieldOrEmpty(FindContainer(identifier), &UserEntry::ExtLibName);
}

std::wstring UserTable::UniqueIdByCspName(std::wstring_view cspName) const
{
    return UniqueIdOrEmpty(FindFirst(&UserEntry::CspName, cspName));
}

std::wstring UserTable::UniqueIdByExtLibName(std::wstring_view extLibName) const
{
    return UniqueIdOrEmpty(FindFirst(&UserEntry::ExtLibName, extLibName));
}

std::wstring UserTable::DeviceSNByExtLibName(std::wstring_view extLibName) const
{
    return FieldOrEmpty(FindFirst(&UserEntry::ExtLibName, extLibName), &UserEntry::DeviceSN);
}

std::wstring UserTable::ContainersByCspName(std::wstring_view cspName) const
{
    std::wstring list;
    for (const auto& [key, entry] : m_entries) {
        if (entry.CspName == cspName) {
            list.append(entry.ContainerName).append(kEntryEnd);
        }
    }
    return list;
}

std::wstring UserTable::UserList() const
{
    std::wstring list;
    for (const auto& [key, entry] : m_entries) {
        list.append(entry.UserName).append(kUserEnd).append(entry.ContainerName).append(kEntryEnd);
    }
    return list;
}

}  // namespace kzr
