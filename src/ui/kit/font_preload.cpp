#include "ui/kit/font_preload.hpp"

#include <QApplication>
#include <QFontMetrics>
#include <QTimer>
#include <array>

#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr int afterStart = 500;  // ms: the session has other things to start as well

}  // namespace

FontPreload::~FontPreload() {
  if (thread_) thread_->wait();
}

void FontPreload::start() {
  QTimer::singleShot(afterStart, qApp, [this] {
    const std::array fonts{tokens::bodyFont(), tokens::strongFont()};
    thread_.reset(QThread::create([fonts] {
      // The last of them is in no font of letters, so that the fallbacks are looked up as well.
      for (const QFont& font : fonts) {
        (void)QFontMetrics(font).horizontalAdvance(QStringLiteral("Aé·…⌘"));
      }
    }));
    thread_->start(QThread::LowPriority);
  });
}

}  // namespace vantorel
