#pragma once

#include <QString>
#include <functional>

class QDialog;
class QWidget;

namespace vantorel {

enum class CloseAnswer { save, discard, cancel };

/// Asks over `window` what is to become of changes, which `changes` describes. `answered` is called
/// once, at the latest when the dialog is closed any other way. It deletes itself. Main thread.
QDialog* askBeforeClosing(QWidget* window, const QString& changes,
                          std::function<void(CloseAnswer)> answered);

}  // namespace vantorel
