#pragma once

#include <QString>
#include <string>

namespace vantorel {

/// A name that came from a file or a document, on one line and without what would change how the
/// words around it are shown. `whenEmpty` where nothing of it is left.
[[nodiscard]] inline QString shownName(const std::string& name, const QString& whenEmpty) {
  QString shown = QString::fromStdString(name);
  for (QChar& letter : shown) {
    const char16_t code = letter.unicode();
    const bool turnsText = code == 0x200E || code == 0x200F || code == 0x061C ||
                           (code >= 0x202A && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
    const bool isControl = letter.category() == QChar::Other_Control ||
                           letter.category() == QChar::Separator_Line ||
                           letter.category() == QChar::Separator_Paragraph;
    if (turnsText || isControl) letter = QLatin1Char(' ');
  }
  shown = shown.simplified().left(400);
  return shown.isEmpty() ? whenEmpty : shown;
}

/// Within other words, whose direction it does not change.
[[nodiscard]] inline QString isolated(const QString& name) {
  return QChar(0x2068) + name + QChar(0x2069);
}

/// Numbers and units, which stay in their order in a mirrored window.
[[nodiscard]] inline QString leftToRight(const QString& words) {
  return QChar(0x2066) + words + QChar(0x2069);
}

}  // namespace vantorel
