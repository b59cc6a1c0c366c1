// Finding them as the parser would: "--pin VALUE" and "--pin=VALUE", up to "--".
#include "GivenSecrets.h"

#include <string_view>

#include "base/Wide.h"

namespace kzr::softkey::tool {
namespace {

constexpr char kMark[] = "***";

bool IsSecret(std::wstring_view option)
{
    return option.starts_with(L"--") && (option.ends_with(L"pin") || option.ends_with(L"password"));
}

// To the parser these are options, which are no option's value.
bool LooksLikeOption(std::wstring_view text)
{
    return text.size() > 1 && text[0] == L'-' && (text[1] < L'0' || text[1] > L'9');
}

}  // namespace

std::vector<std::string> GivenSecrets::TakeFrom(std::span<const wchar_t* const> arguments)
{
    std::vector<std::string> marked;
    std::wstring_view option;  // whose value comes next
    bool ended = false;
    for (const std::wstring_view argument : arguments) {
        const std::size_t equals = argument.find(L'=');
        ended = ended || argument == L"--";
        const bool isValue = !ended && !option.empty() && !LooksLikeOption(argument);
        if (isValue) {
            m_values.insert_or_assign(ToUtf8(option), ToSecret(argument));
            marked.push_back(kMark);
        } else if (!ended && equals != argument.npos && equals + 1 < argument.size() &&
                   IsSecret(argument.substr(0, equals))) {
            const std::string name = ToUtf8(argument.substr(0, equals));
            m_values.insert_or_assign(name, ToSecret(argument.substr(equals + 1)));
            marked.push_back(name + "=" + kMark);
        } else {
            marked.push_back(ToUtf8(argument));
        }
        option = !isValue && IsSecret(argument) ? argument : std::wstring_view();
    }
    return marked;
}

Secret GivenSecrets::Take(const std::string& option, const std::string& text)
{
    const auto found = m_values.find(option);
    if (text == kMark && found != m_values.end()) return found->second;
    return Secret(text.begin(), text.end());
}

}  // namespace kzr::softkey::tool
