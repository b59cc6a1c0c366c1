#include "GuardedText.h"

#include <cstring>

namespace kzr::test {
namespace {

constexpr std::size_t kPage = 4096;

}  // namespace

GuardedText::GuardedText(std::wstring_view text)
{
    const auto bytes = static_cast<DWORD>(text.size() * sizeof(wchar_t));
    const std::size_t needed = sizeof(DWORD) + bytes + sizeof(wchar_t);
    const std::size_t open = (needed + kPage - 1) / kPage * kPage;
    m_memory =
        static_cast<char*>(VirtualAlloc(nullptr, open + kPage, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
    if (!m_memory) return;
    DWORD before = 0;
    VirtualProtect(m_memory + open, kPage, PAGE_NOACCESS, &before);
    char* const end = m_memory + open;
    char* const start = end - sizeof(wchar_t) - bytes;
    std::memcpy(start - sizeof(DWORD), &bytes, sizeof(bytes));
    if (bytes) std::memcpy(start, text.data(), bytes);
    m_text = reinterpret_cast<BSTR>(start);
}

GuardedText::~GuardedText()
{
    if (m_memory) VirtualFree(m_memory, 0, MEM_RELEASE);
}

bool GuardedText::IsUntouched(std::wstring_view text) const
{
    return SysStringLen(m_text) == text.size() && std::wstring_view(m_text, text.size()) == text &&
           m_text[text.size()] == L'\0';
}

}  // namespace kzr::test
