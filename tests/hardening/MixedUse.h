// A host that does anything in any order, from a seed: makes and drops objects, calls them well and badly by
// every way, looks at their interfaces, fires events. The same seed does the same again.
#pragma once

#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "Methods.h"
#include "control/Container.h"
#include "support/ScriptedBackend.h"
#include "support/TestDll.h"

namespace kzr::test {

// Which values it calls with. The platform's own dispatch keeps what it has converted when it then refuses a
// later argument, so a host that counts what is left must let it refuse nothing.
enum class Arguments { OfAnyType, OfTheRightType };

class MixedUse {
  public:
    MixedUse(ScriptedBackend& backend, const TestDll& dll, unsigned seed, Arguments arguments);
    ~MixedUse() { DropAll(); }
    MixedUse(const MixedUse&) = delete;
    MixedUse& operator=(const MixedUse&) = delete;

    // Does one thing.
    void Step();
    void DropAll();

    // The first things that were not as they should be: a thrown exception, an unheard-of answer, an event
    // that did not come. "" when there are none.
    const std::string& Trouble() const { return m_trouble; }
    std::string Describe() const;
    long long Calls() const { return m_calls; }
    // A number made of all that was done and answered: another one for another story.
    std::uint64_t Story() const { return m_story; }

  private:
    struct Held {
        const ScriptedClass* made;
        ComPtr<IDispatch> object;
        std::unique_ptr<EventSink> sink;  // of a control
        DWORD cookie = 0;
    };

    unsigned Any(unsigned limit) { return static_cast<unsigned>(m_random() % limit); }
    void Complain(const std::string& what, HRESULT answer);
    void Remember(std::uint64_t what);
    void MakeOne();
    void DropOne();
    void CallOne();
    void LookAtOne();
    void FireEvent();
    Value AnyValue(const ScriptedParameter& parameter);
    std::wstring AnyText();
    static void Disconnect(Held& held);

    ScriptedBackend& m_backend;
    const TestDll& m_dll;
    const Arguments m_arguments;
    std::mt19937 m_random;
    std::vector<Held> m_held;
    std::string m_trouble;
    int m_troubles = 0;
    std::uint64_t m_story = 0;
    long long m_steps = 0, m_calls = 0, m_refused = 0, m_made = 0, m_events = 0;
};

}  // namespace kzr::test
