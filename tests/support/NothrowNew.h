// Memory that runs out on demand, for either form of `new`.
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

// While one lives, plain `new` throws on the thread that made it; `new (std::nothrow)` goes on.
class PlainNewFails {
  public:
    PlainNewFails();
    ~PlainNewFails();
    PlainNewFails(const PlainNewFails&) = delete;
    PlainNewFails& operator=(const PlainNewFails&) = delete;
};

bool PlainNewFailsHere();

}  // namespace kzr::test
