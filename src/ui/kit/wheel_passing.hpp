#pragma once

class QWidget;

namespace vantorel {

/// A turn of the wheel over `control` goes on to the pane it lies in, unless it has the keyboard:
/// who scrolls a pane changes nothing that the pointer comes over.
void passWheelUnlessFocused(QWidget& control);

}  // namespace vantorel
