#pragma once

#include <QString>

#include "ui/kit/icons.hpp"

class QToolButton;

namespace vantorel {

/// A flat button of a bar. Clicking it leaves the keyboard where it is. `key` is what does the
/// same.
[[nodiscard]] QToolButton* makeBarButton(IconName symbol, const QString& name, const QString& key);

/// What it does, with the key: its name and its tooltip.
void setBarButtonWords(QToolButton& button, const QString& name, const QString& key);

}  // namespace vantorel
