#include "com/ModuleCount.h"

#include <atomic>

namespace kzr {
namespace {

std::atomic<long> g_count{0};

}  // namespace

void LockModule() noexcept { g_count.fetch_add(1, std::memory_order_relaxed); }

void UnlockModule() noexcept { g_count.fetch_sub(1, std::memory_order_acq_rel); }

long ModuleLockCount() noexcept { return g_count.load(std::memory_order_acquire); }

}  // namespace kzr
