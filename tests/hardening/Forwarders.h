// Every forwarding method with the backend call that is made to misbehave, and what its answer becomes: the
// documented outcomes as data.
#pragma once

#include <string>
#include <vector>

#include "QuietTest.h"

namespace kzr::test {

// What a method makes of the backend's answer. "Error lines" are lines of the level error.
enum class Turns {
    Text,       // its text; "" and an error line when the call failed or gave none
    Units,      // the same, without an odd byte at its end
    YesNo,      // 0 for true; -1 and an error line else
    Code,       // the low 16 bits; `failed` and an error line when the call failed
    Verdict,    // 0 or -1 by the low 16 bits, no error line; -1 and one when the call failed
    AnyText,    // its text, empty or not; "" when the call failed; an error line always
    Success,    // 0 or -1 by success alone; an error line always
    Go,         // success lets the method go on to its good end; else `failed` and an error line
    GoText,     // the same for success with a text
    GoZero,     // the same for success with 32 bits of 0
    Kept,       // 0 and no error line when the call gave a text; -1 and an error line else
    Days,       // some number when the call gave a date; 0 and an error line else, which is the guard's for a
                // text that is no date
    List,       // some text when the call gave one; "" and an error line else
    Ignored,    // the good end, whatever came
    Value,      // its text without an odd byte when there is one, whatever the call's success; else "" and an
                // error line
    Passed,     // the good end; what cannot be copied into the next call ends in the guard
    Restored,   // the good end, whatever came; the answer stands already
    Changed,    // what the platform makes a text of, in small letters; else the guard's end
    Described,  // the good end for nothing and for what the platform makes a text of; else the guard's end
    Signing,   // `failed` when it is given and the call failed; else "2", for it is not the other certificate
    Exchange,  // the same, with "1" when there is no text; neither has a line
    Devices    // its text for both names of both devices; "" without an error line when there is none
};

struct Forwarder {
    const ScriptedClass* made;
    const wchar_t* method;
    Values arguments;
    const wchar_t* backend;  // the call that misbehaves, each time; all others are answered well
    Turns turns;
    Value good;  // the method's answer to a good backend
    Value failed = {};
    int errorsWhenGood = 0;
    Values when = {};  // misbehaves with these arguments only
    bool isControl() const { return made == &kControl; }
    std::string Name() const;
    // From now on its call is answered so.
    void LetAnswer(ScriptedBackend& scripted, const Answer& answer) const;
};

const std::vector<Forwarder>& Forwarders();

// What the answer of a misbehaving call makes of a method.
struct Outcome {
    Value retVal;
    int errorLines = 0;
    bool anyRetVal = false;  // not compared
    bool anyLines = false;   // nor these
    bool ends = false;       // in the guard, which is the error line then
    HRESULT result = S_OK;
};
Outcome OutcomeOf(const Forwarder& forwarder, const Answer& answer);
Outcome OutcomeOfFault(const Forwarder& forwarder);

// The results that a backend may give besides what is expected of it.
struct OddResult {
    const char* name;
    Value value;
};
std::vector<OddResult> OddResults();

inline constexpr HRESULT kFailures[] = {
    E_FAIL,           E_ACCESSDENIED,      E_OUTOFMEMORY,      E_NOTIMPL,
    DISP_E_EXCEPTION, DISP_E_TYPEMISMATCH, RPC_E_DISCONNECTED, static_cast<HRESULT>(0xFFFFFFFF)};

}  // namespace kzr::test
