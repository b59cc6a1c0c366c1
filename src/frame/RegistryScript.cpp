// The registry script's reader, which makes a tree of the text, and the two walks over that tree.
#include "frame/RegistryScript.h"

#include <algorithm>
#include <cwchar>
#include <cwctype>
#include <optional>
#include <ranges>
#include <string>
#include <vector>

#include "com/Error.h"
#include "com/Handles.h"
#include "com/ModulePath.h"

namespace kzr {
namespace {

constexpr HRESULT kBadScript = HRESULT_FROM_WIN32(ERROR_INVALID_DATA);

enum class Removal { WhenEmpty, Never, Whole };

struct Data {
    DWORD type;
    std::wstring text;
    DWORD number;
};

struct Node {
    bool isKey = true;
    Removal removal = Removal::WhenEmpty;
    std::wstring name;
    std::optional<Data> data;
    std::vector<Node> children;
};

// A word that stood in quotes is a name or a text, whatever it reads like.
struct Word {
    std::wstring text;
    bool quoted = false;

    bool Is(const wchar_t* keyword) const { return !quoted && _wcsicmp(text.c_str(), keyword) == 0; }
};

class Reader {
  public:
    Reader(std::wstring_view script, std::span<const Replacement> replacements)
        : m_rest(script), m_replacements(replacements)
    {}

    // The entries of the one root that scripts of ours write to.
    std::vector<Node> Read()
    {
        if (!TakeWord().Is(L"HKCR")) Fail();
        std::vector<Node> entries = ReadEntries();
        if (PeekWord()) Fail();
        return entries;
    }

  private:
    [[noreturn]] static void Fail() { kzr::Fail(kBadScript); }

    std::vector<Node> ReadEntries()
    {
        if (!TakeWord().Is(L"{")) Fail();
        std::vector<Node> entries;
        while (!TakeIf(L"}")) entries.push_back(ReadEntry());
        return entries;
    }

    Node ReadEntry()
    {
        Node node;
        if (TakeIf(L"val")) {
            node.isKey = false;
        } else if (TakeIf(L"NoRemove")) {
            node.removal = Removal::Never;
        } else if (TakeIf(L"ForceRemove")) {
            node.removal = Removal::Whole;
        }
        const Word name = TakeWord();
        if (name.Is(L"=") || name.Is(L"{") || name.Is(L"}")) Fail();
        node.name = Replaced(name.text);
        // An empty name would mean the key above: removing it whole would take everything.
        if (node.name.empty()) Fail();
        if (TakeIf(L"=")) node.data = ReadData();
        if (!node.isKey && !node.data) Fail();
        if (const auto next = PeekWord(); node.isKey && next && next->Is(L"{")) node.children = ReadEntries();
        return node;
    }

    Data ReadData()
    {
        if (TakeIf(L"s")) return {REG_SZ, Replaced(TakeWord().text), 0};
        if (!TakeIf(L"d")) Fail();
        const std::wstring text = Replaced(TakeWord().text);
        wchar_t* end = nullptr;
        const unsigned long number = std::wcstoul(text.c_str(), &end, 0);
        if (text.empty() || *end != L'\0') Fail();
        return {REG_DWORD, {}, number};
    }

    bool TakeIf(const wchar_t* keyword)
    {
        const auto word = PeekWord();
        if (!word || !word->Is(keyword)) return false;
        TakeWord();
        return true;
    }

    std::optional<Word> PeekWord()
    {
        const std::wstring_view before = m_rest;
        while (!m_rest.empty() && std::iswspace(m_rest.front())) m_rest.remove_prefix(1);
        if (m_rest.empty()) return std::nullopt;
        Word word = TakeWord();
        m_rest = before;
        return word;
    }

    // Replacements come after this, so that no character of theirs can end a word.
    Word TakeWord()
    {
        while (!m_rest.empty() && std::iswspace(m_rest.front())) m_rest.remove_prefix(1);
        if (m_rest.empty()) Fail();
        Word word;
        if (m_rest.front() == L'\'') {
            m_rest.remove_prefix(1);
            word.quoted = true;
            word.text = TakeQuoted();
        } else {
            while (!m_rest.empty() && !std::iswspace(m_rest.front())) {
                word.text += m_rest.front();
                m_rest.remove_prefix(1);
            }
        }
        return word;
    }

    // A doubled quote is a quote, a single one the end.
    std::wstring TakeQuoted()
    {
        std::wstring text;
        while (!m_rest.empty()) {
            const wchar_t next = m_rest.front();
            m_rest.remove_prefix(1);
            if (next == L'\'') {
                if (m_rest.empty() || m_rest.front() != L'\'') return text;
                m_rest.remove_prefix(1);
            }
            text += next;
        }
        Fail();
    }

    std::wstring Replaced(std::wstring_view text) const
    {
        std::wstring result;
        for (;;) {
            const size_t begin = text.find(L'%');
            result += text.substr(0, begin);
            if (begin == text.npos) return result;
            const size_t end = text.find(L'%', begin + 1);
            if (end == text.npos) Fail();
            result += ValueOf(text.substr(begin + 1, end - begin - 1));
            text.remove_prefix(end + 1);
        }
    }

    std::wstring_view ValueOf(std::wstring_view name) const
    {
        if (name.empty()) return L"%";
        for (const Replacement& replacement : m_replacements) {
            if (replacement.name == name) return replacement.value;
        }
        Fail();
    }

    std::wstring_view m_rest;
    std::span<const Replacement> m_replacements;
};

LSTATUS WriteValue(HKEY key, const wchar_t* name, const Data& data)
{
    const auto* bytes = reinterpret_cast<const BYTE*>(data.text.c_str());
    auto size = static_cast<DWORD>((data.text.size() + 1) * sizeof(wchar_t));
    if (data.type == REG_DWORD) {
        bytes = reinterpret_cast<const BYTE*>(&data.number);
        size = sizeof(data.number);
    }
    return RegSetValueExW(key, name, 0, data.type, bytes, size);
}

LSTATUS GoneIsFine(LSTATUS status) { return status == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : status; }

LSTATUS Register(HKEY parent, const Node& node)
{
    if (!node.isKey) return WriteValue(parent, node.name.c_str(), *node.data);
    if (node.removal == Removal::Whole) {
        const LSTATUS status = GoneIsFine(RegDeleteTreeW(parent, node.name.c_str()));
        if (status != ERROR_SUCCESS) return status;
    }
    UniqueHkey key;
    LSTATUS status = RegCreateKeyExW(parent, node.name.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                                     KEY_READ | KEY_WRITE, nullptr, key.put(), nullptr);
    if (status == ERROR_SUCCESS && node.data) status = WriteValue(key.Get(), nullptr, *node.data);
    for (const Node& child : node.children) {
        if (status != ERROR_SUCCESS) break;
        status = Register(key.Get(), child);
    }
    return status;
}

LSTATUS Unregister(HKEY parent, const Node& node);

LSTATUS UnregisterAll(HKEY parent, const std::vector<Node>& nodes)
{
    LSTATUS first = ERROR_SUCCESS;
    for (const Node& node : nodes | std::views::reverse) {
        const LSTATUS status = Unregister(parent, node);
        if (first == ERROR_SUCCESS) first = status;
    }
    return first;
}

// Takes the key that the script's own entries have left; others' keys hold it, but not our text in it.
LSTATUS RemoveWhenEmpty(HKEY parent, HKEY key, const Node& node)
{
    DWORD subkeys = 0;
    const LSTATUS status = RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &subkeys, nullptr, nullptr,
                                            nullptr, nullptr, nullptr, nullptr, nullptr);
    if (status != ERROR_SUCCESS) return status;
    if (subkeys == 0) return GoneIsFine(RegDeleteKeyW(parent, node.name.c_str()));
    return node.data ? GoneIsFine(RegDeleteValueW(key, nullptr)) : ERROR_SUCCESS;
}

// No more than the node's own values need: whoever may not write to a key of the system's, with nothing of
// ours in it, shall hear that all is gone.
REGSAM RemovingAccess(const Node& node)
{
    const bool writes = node.removal != Removal::Never || !std::ranges::all_of(node.children, &Node::isKey);
    return writes ? KEY_READ | KEY_WRITE : KEY_READ;
}

LSTATUS Unregister(HKEY parent, const Node& node)
{
    const wchar_t* name = node.name.c_str();
    if (!node.isKey) return GoneIsFine(RegDeleteValueW(parent, name));
    if (node.removal == Removal::Whole) return GoneIsFine(RegDeleteTreeW(parent, name));
    UniqueHkey key;
    LSTATUS status = RegOpenKeyExW(parent, name, 0, RemovingAccess(node), key.put());
    if (status != ERROR_SUCCESS) return GoneIsFine(status);
    status = UnregisterAll(key.Get(), node.children);
    if (node.removal == Removal::Never || status != ERROR_SUCCESS) return status;
    return RemoveWhenEmpty(parent, key.Get(), node);
}

std::wstring ResourceText(UINT number)
{
    const HRSRC found = FindResourceW(ThisModule(), MAKEINTRESOURCEW(number), L"REGISTRY");
    const HGLOBAL loaded = found ? LoadResource(ThisModule(), found) : nullptr;
    const auto* bytes = static_cast<const char*>(loaded ? LockResource(loaded) : nullptr);
    if (!bytes) Fail(HRESULT_FROM_WIN32(GetLastError()));
    const int size = static_cast<int>(SizeofResource(ThisModule(), found));
    std::wstring text(MultiByteToWideChar(CP_UTF8, 0, bytes, size, nullptr, 0), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, bytes, size, text.data(), static_cast<int>(text.size()));
    return text;
}

}  // namespace

HRESULT RunRegistryScript(std::wstring_view script, std::span<const Replacement> replacements,
                          Direction direction)
try {
    const std::vector<Node> entries = Reader(script, replacements).Read();
    if (direction == Direction::Unregister) {
        return HRESULT_FROM_WIN32(UnregisterAll(HKEY_CLASSES_ROOT, entries));
    }
    for (const Node& entry : entries) {
        const LSTATUS status = Register(HKEY_CLASSES_ROOT, entry);
        if (status != ERROR_SUCCESS) return HRESULT_FROM_WIN32(status);
    }
    return S_OK;
} catch (const ComError& error) {
    return error.Result();
}

HRESULT RunRegistryResource(UINT number, std::span<const Replacement> replacements, Direction direction)
try {
    return RunRegistryScript(ResourceText(number), replacements, direction);
} catch (const ComError& error) {
    return error.Result();
}

}  // namespace kzr
