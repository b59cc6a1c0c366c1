// Being the backend: register, unregister.
#include <windows.h>

#include "Commands.h"
#include "ExitCodes.h"
#include "Shared.h"
#include "base/File.h"
#include "base/Wide.h"
#include "registration/BackendRegistration.h"
#include "registration/ServerFile.h"
#include "store/Folder.h"

namespace kzr::softkey::tool {
namespace {

constexpr std::size_t kLargestLibrary = std::size_t{256} << 20;

// Unless another is named, the DLL that came with this program.
std::string LibraryFile(const Options& options)
{
    std::string path = options.dll;
    if (path.empty()) {
        std::wstring own(32768, L'\0');
        own.resize(GetModuleFileNameW(nullptr, own.data(), static_cast<DWORD>(own.size())));
        path = ToUtf8(own.substr(0, own.find_last_of(L'\\') + 1)) + "KzrSoftKey_x64.dll";
    }
    path = AbsolutePath(path);
    if (!FileExists(path)) throw ToolError(kFailed, "there is no " + path + "; --dll names it");
    if (!IsServerFile(ReadWholeFile(path, kLargestLibrary)))
        throw ToolError(kUsage, path + " is not a 64-bit DLL that can be registered; nothing was changed");
    return path;
}

}  // namespace

Report Register(const Options& options)
{
    const std::string path = LibraryFile(options);
    const auto before = HolderOfBackendClass();
    const bool wasOurs = BackendIsOurs();
    try {
        RegisterBackend(ToWide(path), options.replace);
    } catch (const BackendHeld& held) {
        throw ToolError(kHeld, std::string(held.what()) +
                                   "; nothing was changed. --replace takes its place until \"unregister\"");
    }
    Report report;
    report.text = "Registered " + path + " as the backend\n";
    const bool replaced = before && !wasOurs;
    if (replaced) report.text += "Kept aside: " + ToUtf8(*before) + "\n";
    report.json = {{"registered", path}, {"replaced", replaced ? Json(ToUtf8(*before)) : Json(nullptr)}};
    return report;
}

Report Unregister(const Options&)
{
    const bool wasOurs = BackendIsOurs();
    try {
        UnregisterBackend();
    } catch (const BackendHeld& held) {
        throw ToolError(kHeld, std::string(held.what()) + "; nothing was changed");
    }
    const auto now = HolderOfBackendClass();
    Report report;
    report.text =
        wasOurs ? "The software key is no longer the backend\n" : "The software key was not the backend\n";
    if (now) report.text += "Put back: " + ToUtf8(*now) + "\n";
    report.json = {{"changed", wasOurs}, {"backend", now ? Json(ToUtf8(*now)) : Json(nullptr)}};
    return report;
}

}  // namespace kzr::softkey::tool
