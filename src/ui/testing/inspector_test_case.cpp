#include "ui/testing/inspector_test_case.hpp"

#include <xcb/xtest.h>

#include <QApplication>
#include <QMouseEvent>
#include <cstdlib>

#include "editor/testing/mixed_shapes.hpp"
#include "ui/annotate/inspector_section.hpp"
#include "ui/kit/vantorel_style.hpp"

namespace vantorel {

/// What the toolkit has heard of pointer and keys.
class InspectorTestCase::HeardInput : public QObject {
 public:
  HeardInput() { qApp->installEventFilter(this); }

  QPoint at;
  int presses = 0;
  int releases = 0;
  int strikes = 0;

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override {
    if (!watched->isWindowType()) return false;
    switch (event->type()) {
      case QEvent::MouseButtonPress:
      case QEvent::MouseButtonDblClick: ++presses; break;
      case QEvent::MouseButtonRelease: ++releases; break;
      case QEvent::MouseMove: break;
      case QEvent::KeyRelease: ++strikes; return false;
      default: return false;
    }
    at = static_cast<QMouseEvent*>(event)->globalPosition().toPoint();
    return false;
  }
};

InspectorTestCase::InspectorTestCase() = default;
InspectorTestCase::~InspectorTestCase() = default;

void InspectorTestCase::start(EditorDocument document) {
  startDesktop({.windowManager = true});
  startUi();
  useVantorelStyle();
  EditorEvents events;
  events.changed = [this] { changes.notify(); };
  events.report = [this](const std::string& line) { reports.push_back(line); };
  editor = std::make_shared<EditorModel>(EditorOpening{.capture = {800, 600},
                                                       .document = std::move(document),
                                                       .captureScale = 2.0,
                                                       .measureText = roughText},
                                         std::move(events));
  inspection.model = editor;
  inspection.observe = [this](std::function<void()> changed) {
    return changes.add(std::move(changed));
  };
  inspection.captureName = [] { return std::string("Stations, week 47"); };
  inspection.missingLayers = [this] { return missing; };
  inspection.oversizedLayers = [this] { return oversized; };
  inspection.addLayers = [this] { ++timesAdding; };
  inspection.copyText = [this](const std::string& text) { copied = text; };
  window = std::make_unique<QWidget>();
  window->setGeometry(40, 40, 700, 640);
  canvas = new QWidget(window.get());
  canvas->setGeometry(0, 0, 420, 640);
  canvas->setFocusPolicy(Qt::StrongFocus);
  inspector = new AnnotateInspector(inspection, window.get());
  inspector->setGeometry(420, 0, 280, 640);
  window->show();
  window->activateWindow();
  ASSERT_TRUE(waitFor([&] { return isInPlace(*window); }));
  heard_ = std::make_unique<HeardInput>();
  settle();
}

bool InspectorTestCase::isInPlace(const QWidget& shown) {
  if (!shown.isActiveWindow()) return false;  // it is framed before it is focused
  xcb_connection_t* const connection = client->connection();
  const auto root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
  auto* const place = xcb_translate_coordinates_reply(
      connection,
      xcb_translate_coordinates(connection, static_cast<xcb_window_t>(shown.winId()), root, 0, 0),
      nullptr);
  const bool isThere =
      place != nullptr && QPoint(place->dst_x, place->dst_y) == shown.mapToGlobal(QPoint());
  std::free(place);
  return isThere;
}

void InspectorTestCase::settle() {
  auto* const x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
  for (int round = 0; round < 2; ++round) {
    QCoreApplication::processEvents();
    std::free(xcb_get_input_focus_reply(x11->connection(), xcb_get_input_focus(x11->connection()),
                                        nullptr));
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    inspector->refresh();
  }
}

void InspectorTestCase::fake(int type, int detail, QPoint at) {
  xcb_test_fake_input(client->connection(), static_cast<std::uint8_t>(type),
                      static_cast<std::uint8_t>(detail), XCB_CURRENT_TIME, XCB_NONE,
                      static_cast<std::int16_t>(at.x()), static_cast<std::int16_t>(at.y()), 0);
  client->sync();
}

void InspectorTestCase::movePointer(QPoint to) {
  if (heard_->at == to) return;
  fake(XCB_MOTION_NOTIFY, 0, to);
  ASSERT_TRUE(waitFor([&] { return heard_->at == to; }));
}

void InspectorTestCase::press(int button) {
  const int before = heard_->presses;
  fake(XCB_BUTTON_PRESS, button);
  ASSERT_TRUE(waitFor([&] { return heard_->presses > before; }));
}

void InspectorTestCase::release(int button) {
  const int before = heard_->releases;
  fake(XCB_BUTTON_RELEASE, button);
  ASSERT_TRUE(waitFor([&] { return heard_->releases > before; }));
}

void InspectorTestCase::click(QPoint at, int button) {
  movePointer(at);
  press(button);
  release(button);
}

void InspectorTestCase::strike(std::uint32_t keysym) {
  const int before = heard_->strikes;
  client->key(keysym, true);
  client->key(keysym, false);
  client->sync();
  ASSERT_TRUE(waitFor([&] { return heard_->strikes > before; }));
  settle();
}

void InspectorTestCase::keepPicture(const std::string& name) {
  if (std::getenv("VANTOREL_TEST_PICTURES") != nullptr) UiTestCase::keepPicture(name);
}

EditorDocument InspectorTestCase::layered() {
  EditorDocument document;
  for (const char* const name : {"Capture", "Photo", "Legend"}) {
    LayerSpec layer;
    layer.id = layer.name = name;
    if (layer.name != "Capture") layer.path = std::string("/pictures/") + name + ".png";
    layer.pixelWidth = 300;
    layer.pixelHeight = 200;
    layer.frame.w = 300;
    layer.frame.h = 200;
    document.layers.push_back(layer);
  }
  return document;
}

EditorDocument InspectorTestCase::arrows(int count) {
  EditorDocument document;
  for (int i = 0; i < count; ++i) {
    Shape arrow = mixedShape(2);
    arrow.id = "arrow" + std::to_string(i);
    document.shapes.push_back(arrow);
  }
  return document;
}

std::vector<std::string> InspectorTestCase::order() const {
  std::vector<std::string> names;
  for (const LayerSpec& layer : *editor->state().layers) names.push_back(layer.name);
  return names;
}

void InspectorTestCase::clickOn(QWidget* widget, int button) {
  ASSERT_NE(widget, nullptr);
  inspector->ensureWidgetVisible(widget);
  settle();
  click(middleOf(*widget), button);
  settle();
}

void InspectorTestCase::openSection(const char* title) {
  for (QWidget* const widget : inspector->findChildren<QWidget*>()) {
    auto* const section = dynamic_cast<InspectorSection*>(widget);
    if (section != nullptr && section->title() == QString::fromUtf8(title)) {
      section->setOpen(true);
    }
  }
  settle();
}

}  // namespace vantorel
