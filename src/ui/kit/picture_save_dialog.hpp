#pragma once

#include <QString>
#include <functional>

#include "platform/files.hpp"

class QFileDialog;
class QWidget;

namespace vantorel {

/// Asks where a picture is to be saved, and in which format; `chosen` is told the file. Begins with
/// the name in the folder that was chosen last while the program runs, at first that of pictures.
/// Deletes itself once it is closed; to be shown by the caller. Main thread.
[[nodiscard]] QFileDialog* makePictureSaveDialog(QWidget* parent, const QString& fileName,
                                                 std::function<void(const Path& file)> chosen);

}  // namespace vantorel
