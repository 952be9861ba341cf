#pragma once

namespace Zn
{

/// Has the calling thread run after all that have something to do: one step above idle. Without
/// effect where the system refuses it.
void LowerThreadPriority();

} // namespace Zn
