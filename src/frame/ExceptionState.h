// The C++ runtime's per-thread exception state, kept in a slot that is given back when the module goes. The
// runtime's own keeps its slot, and a host that loads and unloads the module a thousand times runs out of
// them.
#pragma once

namespace kzr {

bool StartExceptionState() noexcept;
void EndThreadExceptionState() noexcept;
// Nothing may be thrown in the module any more.
void EndExceptionState() noexcept;

}  // namespace kzr
