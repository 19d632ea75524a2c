#include "ui/kit/program_icon.hpp"

/// The linker would drop the pictures, which nobody calls by name. Outside of any namespace, as the
/// toolkit wants it.
static void keepIcons() { Q_INIT_RESOURCE(icons); }

namespace vantorel {

QIcon programIcon() {
  keepIcons();
  QIcon icon;
  for (const int size : {22, 24, 32, 48, 64}) {
    icon.addFile(QStringLiteral(":/icons/vantorel-%1.png").arg(size));
  }
  return icon;
}

}  // namespace vantorel
