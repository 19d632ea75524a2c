#include "ui/kit/key_names.hpp"

#include <QApplication>
#include <QTranslator>
#include <string_view>

#include "app/records/hot_key_text.hpp"

namespace vantorel {
namespace {

class KeyNames : public QTranslator {
 public:
  using QTranslator::QTranslator;

  [[nodiscard]] bool isEmpty() const override { return false; }
  [[nodiscard]] QString translate(const char* context, const char* source, const char*,
                                  int) const override {
    const bool isEnter = context != nullptr && source != nullptr &&
                         std::string_view(context) == "QShortcut" &&
                         std::string_view(source) == "Return";
    return isEnter ? QString::fromUtf8(enterKeyName) : QString();
  }
};

}  // namespace

void useKeyNames() {
  if (qApp->findChild<QTranslator*>(QStringLiteral("keyNames")) != nullptr) return;
  auto* const names = new KeyNames(qApp);
  names->setObjectName(QStringLiteral("keyNames"));
  QCoreApplication::installTranslator(names);
}

}  // namespace vantorel
