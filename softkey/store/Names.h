// Which names keys, users and containers may have, and the file names that stand for names of any kind.
#pragma once

#include <string>
#include <string_view>

namespace kzr::softkey {

// 1 to 64 letters, digits, '-' and '_', and no device name of the platform such as "COM1".
bool IsSerialNumber(std::string_view text);
// Throws Failure(BadArgument).
void CheckSerialNumber(std::string_view text);

// Whole UTF-8 characters, none of them a control character.
bool IsPlainText(std::string_view text);

// A name as lists carry it between their separators: plain text of 1 to `limit` bytes without "|", "&" and
// ";". Throws Failure(BadArgument), which says that it is `what`.
void CheckListedName(std::string_view text, std::size_t limit, const char* what);
void CheckContainerName(std::string_view text);
void CheckUserName(std::string_view text);

// Different for different names even where a file system does not tell letter cases apart, never a device's
// name, and short: long names are stood for by their digest.
std::string FileNameFor(std::string_view name);

}  // namespace kzr::softkey
