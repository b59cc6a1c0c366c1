// What the guard gives back when a fault passes over frames of ours that lie below foreign code.
#include "frame/FaultGuard.h"

#include <gtest/gtest.h>

#include "com/Lock.h"
#include "support/Faults.h"

namespace kzr::test {
namespace {

// Both locks, taken in the middle of a call of the backend's into us, and a fault of the backend's own then.
int FaultHoldingBoth(FaultKind kind)
{
    const LockBothGuard held = LockCacheThenBackend();
    RaiseFault(kind);
    return 0;
}

class FaultGuardLocks : public testing::TestWithParam<FaultKind> {
  public:
    void SetUp() override
    {
        BackendLock().Create();
        CacheLock().Create();
    }
    void TearDown() override
    {
        CacheLock().Delete();
        BackendLock().Delete();
    }

  private:
    FaultCounter m_faults;
};

TEST_P(FaultGuardLocks, AreGivenBackThatFramesBelowTheBackendHeld)
{
    const LockGuard before = BackendLock().lock();
    for (int time = 1; time <= 3; ++time) {
        EXPECT_FALSE(Guarded([&] { CallForeign([&] { return FaultHoldingBoth(GetParam()); }); }));
        EXPECT_EQ(0, CacheLock().MyDepth());
        EXPECT_EQ(1, BackendLock().MyDepth()) << "what the caller held stays his";
    }
}

INSTANTIATE_TEST_SUITE_P(, FaultGuardLocks, testing::ValuesIn(kAllFaults),
                         [](const auto& made) { return NameOf(made.param); });

}  // namespace
}  // namespace kzr::test
