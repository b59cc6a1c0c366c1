// Causes of failures as exit codes.
#include "ExitCodes.h"

#include "registration/BackendRegistration.h"

namespace kzr::softkey::tool {

ExitCode ExitCodeOf(const std::exception& error)
{
    if (const auto* own = dynamic_cast<const ToolError*>(&error)) return own->Code();
    if (dynamic_cast<const BackendHeld*>(&error)) return kHeld;
    const auto* failure = dynamic_cast<const Failure*>(&error);
    if (!failure) return kFailed;
    switch (failure->Why()) {
        case Cause::UnknownKey:
        case Cause::UnknownContainer:
            return kUnknown;
        case Cause::NotLoggedIn:
        case Cause::Locked:
            return kPin;
        case Cause::BadArgument:
        case Cause::Unsupported:
            return kUsage;
        case Cause::BadData:
            return kUnreadable;
        case Cause::Crypto:
        case Cause::File:
            break;
    }
    return kFailed;
}

}  // namespace kzr::softkey::tool
