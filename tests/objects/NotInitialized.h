// Rows for objects without a backend. The class object never hands one out, since their construction fails,
// so the program is built of the objects' own room and calls them through the vtable. Each row runs on an
// object that was never constructed (no backend, no cache) and on one whose construction found no backend.
//
//     const std::vector<Case> kRows = {
//         {.name = "HashWithoutABackendIsEmpty",
//          .direct = Direct(&ICrypto::Hash),
//          .arguments = {L"text"},
//          .steps = {Trace("CCrypto: Hash starting..."),
//                    Error("CCrypto: Hash kzrappcom or cache not initialized!")},
//          .retVal = L""},
//     };
//     KZR_NOT_INITIALIZED(CryptoWithoutABackend, CCrypto, "Crypto", kRows);
#pragma once

#include <string>
#include <vector>

#include "com/ComPtr.h"
#include "frame/ScriptableObject.h"
#include "support/Case.h"

namespace kzr::test {

// A new object, alive by the reference that it is born with.
using BareMaker = ScriptableBase* (*)();

bool RegisterBareCases(const char* suite, const char* file, int line, const char* className, BareMaker make,
                       const char* source, const std::vector<Case>& rows);

}  // namespace kzr::test

#define KZR_NOT_INITIALIZED(suite, tested, source, rows)                                                     \
    [[maybe_unused]] const bool k##suite##AreRegistered = ::kzr::test::RegisterBareCases(                    \
        #suite, __FILE__, __LINE__, #tested, []() -> ::kzr::ScriptableBase* { return new tested(nullptr); }, \
        source, rows)
