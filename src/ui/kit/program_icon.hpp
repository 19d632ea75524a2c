#pragma once

#include <QIcon>

namespace vantorel {

/// The program's icon in the sizes of trays and title bars.
[[nodiscard]] QIcon programIcon();

}  // namespace vantorel
