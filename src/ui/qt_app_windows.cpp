#include "ui/qt_app_windows.hpp"

#include <algorithm>
#include <utility>
#include <vector>

#include "ui/annotate/annotate_window.hpp"
#include "ui/help/help_window.hpp"
#include "ui/history/history_window.hpp"
#include "ui/kit/window_frame.hpp"
#include "ui/pin/pin_window.hpp"
#include "ui/settings/settings_window.hpp"
#include "ui/welcome/welcome_window.hpp"

namespace vantorel {
namespace {

using Closed = std::function<void()>;
using Native = std::shared_ptr<NativeWindows>;

struct Row {
  AppWindow window;
  std::shared_ptr<WindowFrame> (*make)(const WindowServices& services, const Native& native,
                                       Closed closed);
};

template <auto model, class Window>
std::shared_ptr<WindowFrame> make(const WindowServices& services, const Native&, Closed closed) {
  return std::make_shared<Window>((services.*model)(), std::move(closed));
}

std::shared_ptr<WindowFrame> makeSettings(const WindowServices& services, const Native& native,
                                          Closed closed) {
  auto window = std::make_shared<SettingsWindow>(services.settings(), std::move(closed));
  window->setPlainSymbol([native](std::uint32_t key) { return native->plainSymbol(key); });
  return window;
}

/// A window is one line here.
const std::vector<Row>& rows() {
  static const std::vector<Row> all{
      {AppWindow::history, make<&WindowServices::history, HistoryWindow>},
      {AppWindow::settings, makeSettings},
      {AppWindow::help, make<&WindowServices::help, HelpWindow>},
      {AppWindow::welcome, make<&WindowServices::welcome, WelcomeWindow>},
  };
  return all;
}

}  // namespace

std::shared_ptr<Surface> QtAppWindows::open(AppWindow window, Closed closed) {
  const auto found = std::ranges::find(rows(), window, &Row::window);
  if (found == rows().end()) return nullptr;
  std::shared_ptr<WindowFrame> frame = found->make(services_, native_, std::move(closed));
  equip(*frame);
  return frame;
}

std::shared_ptr<Surface> QtAppWindows::openAnnotate(std::shared_ptr<AnnotateModel> model,
                                                    Closed closed) {
  auto window = std::make_shared<AnnotateWindow>(std::move(model), std::move(closed));
  equip(*window);
  return window;
}

void QtAppWindows::equip(WindowFrame& frame) const {
  frame.setPlaces(services_.places);
  frame.setActions({.quit = services_.quit,
                    .showHelp = [show = services_.show] { show(AppWindow::help); },
                    .showSettings = [show = services_.show] { show(AppWindow::settings); }});
}

std::shared_ptr<Surface> QtAppWindows::openPin(std::shared_ptr<PinModel> model, Closed closed) {
  return std::make_shared<PinWindow>(std::move(model), native_, std::move(closed));
}

}  // namespace vantorel
