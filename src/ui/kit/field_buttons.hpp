#pragma once

class QLineEdit;

namespace vantorel {

/// Gives a field the button that clears it, in the palette's color and with a name. Before other
/// buttons are added to the field.
void addClearButton(QLineEdit& field);

/// Shows where lines begin that the field is one to search with.
void addSearchMark(QLineEdit& field);

}  // namespace vantorel
