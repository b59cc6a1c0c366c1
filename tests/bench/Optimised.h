// Whether the file that includes this one was compiled optimised: what the program adds to a measured call,
// and what the component is held against, must not be slower than it has to be.
#pragma once

namespace kzr::bench {

#ifdef __OPTIMIZE__
static constexpr bool kOptimised = true;
#else
static constexpr bool kOptimised = false;
#endif

}  // namespace kzr::bench
