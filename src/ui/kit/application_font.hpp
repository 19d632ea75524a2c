#pragma once

#include <QFont>

class QWidget;

namespace vantorel {

/// Makes it the application's font, and tells every widget: the toolkit tells windows alone, and
/// those below them that have no font of their own.
void setApplicationFont(const QFont& font);

/// Gives the widget one of the fonts of `tokens`, now and whenever the application's font has
/// changed.
void setFollowingFont(QWidget& widget, QFont (*makeFont)());

}  // namespace vantorel
