#pragma once

namespace vantorel {

/// From now on the calling thread gets the processor and the disk only when nothing else wants
/// them much. There is no way back.
void lowerThreadPriority();

}  // namespace vantorel
