#include "ThreadApartments.h"

#include <list>

#include "OtherThread.h"
#include "support/BackendControl.h"

namespace kzr::test {

void Gathering::Wait()
{
    const int round = m_round;
    if (++m_come == m_threads) {
        m_come = 0;
        ++m_round;
        return;
    }
    for (int spins = 0; m_round == round; ++spins) {
        if (spins < 50)
            SwitchToThread();
        else
            Sleep(1);
    }
}

RegisteredHere::RegisteredHere(ScriptedBackend& backend)
{
    CoRegisterClassObject(kBackendClass, new BackendFactory(backend), CLSCTX_INPROC_SERVER,
                          REGCLS_MULTIPLEUSE, &m_registration);
}

RegisteredHere::~RegisteredHere()
{
    if (m_registration) CoRevokeClassObject(m_registration);
}

int RunInApartments(ScriptedBackend& backend, int threads, const std::function<void(int)>& work)
{
    std::atomic<int> begun{0};
    std::list<Thread> running;
    for (int i = 0; i < threads; ++i)
        running.emplace_back([&, i] {
            if (FAILED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) return;
            ++begun;
            {
                const RegisteredHere registered(backend);
                work(i);
            }
            CoUninitialize();
        });
    for (const Thread& thread : running) thread.Wait();
    return threads - begun;
}

}  // namespace kzr::test
