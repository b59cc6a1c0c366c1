// Memory that runs out on demand, for the allocations whose failure is an answer and not an exception.
#pragma once

namespace kzr::test {

// While one lives, `new (std::nothrow)` gives null on the thread that made it.
class NothrowNewFails {
  public:
    NothrowNewFails();
    ~NothrowNewFails();
    NothrowNewFails(const NothrowNewFails&) = delete;
    NothrowNewFails& operator=(const NothrowNewFails&) = delete;
};

bool NothrowNewFailsHere();

}  // namespace kzr::test
