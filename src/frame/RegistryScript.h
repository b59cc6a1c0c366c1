// Runs a registry script forwards and backwards. What the scripts say is the resources' affair, when they run
// is Registration's.
//
// The language is the platform registrar's, as far as scripts of ours use it:
//     HKCR { [NoRemove|ForceRemove] key [= s 'text'|= d 'number'] { ... }  val name = s 'text' }
// Forwards, keys are made and values written; a ForceRemove key is removed whole first. Backwards, a
// ForceRemove key goes whole, a NoRemove key stays, and any other key goes once nobody else has a key in it;
// where somebody has, only what the script wrote goes.
//
// The platform's registrar does not serve: it is an object of a DLL that need not be registered, an
// apostrophe in a replacement ends the value there, and on some systems a ForceRemove key survives with the
// keys that others put into it.
#pragma once

#include <windows.h>

#include <span>
#include <string_view>

namespace kzr {

enum class Direction { Register, Unregister };

// "%name%" in a word of the script stands for the value, whatever characters that holds; "%%" is a percent
// sign.
struct Replacement {
    std::wstring_view name;
    std::wstring_view value;
};

// The script is read whole before anything is touched. Registering ends at the first failure; unregistering
// removes what it can and answers the first failure. What is already gone is no failure.
HRESULT RunRegistryScript(std::wstring_view script, std::span<const Replacement> replacements,
                          Direction direction);

// The same for a resource of type "REGISTRY" of this module.
HRESULT RunRegistryResource(UINT number, std::span<const Replacement> replacements, Direction direction);

}  // namespace kzr
