#include "frame/ExceptionState.h"

#include <windows.h>

#include <cxxabi.h>

// As the C++ ABI lays it out; the runtime only ever asks for it through the two functions at the end.
namespace __cxxabiv1 {
struct __cxa_eh_globals {
    void* caughtExceptions;
    unsigned int uncaughtExceptions;
};
}  // namespace __cxxabiv1

namespace kzr {
namespace {

using State = abi::__cxa_eh_globals;

// One thread's state, linked so that module shut-down finds those of threads that live on.
struct Node {
    State state;
    Node* next;
    Node* previous;
};

DWORD g_slot = TLS_OUT_OF_INDEXES;
SRWLOCK g_lock = SRWLOCK_INIT;
Node g_all{{}, &g_all, &g_all};

// For a thread that gets no memory, and for whatever throws before start-up or after shut-down: two such
// threads that throw at once are past helping anyway.
Node g_lastResort{};

void Free(Node* node) noexcept
{
    node->previous->next = node->next;
    node->next->previous = node->previous;
    HeapFree(GetProcessHeap(), 0, node);
}

State* MakeState() noexcept
{
    auto* const node = static_cast<Node*>(HeapAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY, sizeof(Node)));
    if (!node || !TlsSetValue(g_slot, node)) {
        if (node) HeapFree(GetProcessHeap(), 0, node);
        // Kept as the thread's own: a catch must end in the state that it began in.
        TlsSetValue(g_slot, &g_lastResort);
        return &g_lastResort.state;
    }
    AcquireSRWLockExclusive(&g_lock);
    node->next = g_all.next;
    node->previous = &g_all;
    g_all.next->previous = node;
    g_all.next = node;
    ReleaseSRWLockExclusive(&g_lock);
    return &node->state;
}

}  // namespace

bool StartExceptionState() noexcept
{
    g_slot = TlsAlloc();
    return g_slot != TLS_OUT_OF_INDEXES;
}

void EndThreadExceptionState() noexcept
{
    auto* const node = static_cast<Node*>(TlsGetValue(g_slot));
    if (!node) return;
    TlsSetValue(g_slot, nullptr);
    if (node == &g_lastResort) return;
    AcquireSRWLockExclusive(&g_lock);
    Free(node);
    ReleaseSRWLockExclusive(&g_lock);
}

void EndExceptionState() noexcept
{
    while (g_all.next != &g_all) Free(g_all.next);
    TlsFree(g_slot);
    g_slot = TLS_OUT_OF_INDEXES;
}

}  // namespace kzr

// They stand in for the runtime's own two.
extern "C" abi::__cxa_eh_globals* __cxxabiv1::__cxa_get_globals() noexcept
{
    using namespace kzr;
    const DWORD error = GetLastError();  // reading a slot clears it
    auto* const node = static_cast<Node*>(TlsGetValue(g_slot));
    State* const state = node ? &node->state : MakeState();
    SetLastError(error);
    return state;
}

extern "C" abi::__cxa_eh_globals* __cxxabiv1::__cxa_get_globals_fast() noexcept
{
    return __cxxabiv1::__cxa_get_globals();
}
