#pragma once

namespace vantorel {

/// Has the toolkit call keys as the rest of the program does, in menus and tooltips. Once for each
/// application; before the first text is made of a key. Main thread.
void useKeyNames();

}  // namespace vantorel
