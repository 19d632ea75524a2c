#include "ui/annotate/annotate_inspector.hpp"

#include <X11/keysym.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QAccessible>
#include <QApplication>
#include <QLineEdit>
#include <QMenu>
#include <QMouseEvent>
#include <QPushButton>
#include <QScrollBar>
#include <QSlider>
#include <QVBoxLayout>

#include "base/observers.hpp"
#include "editor/testing/mixed_shapes.hpp"
#include "ui/annotate/canvas_size_sheet.hpp"
#include "ui/annotate/crop_capsule.hpp"
#include "ui/annotate/emoji_picker.hpp"
#include "ui/annotate/inspector_section.hpp"
#include "ui/annotate/polygon_picker.hpp"
#include "ui/kit/application_font.hpp"
#include "ui/kit/name_field.hpp"
#include "ui/kit/vantorel_style.hpp"
#include "ui/testing/ui_test_case.hpp"

namespace vantorel {
namespace {

using testing::ElementsAre;

/// What the toolkit has heard of the pointer.
class PointerWatch : public QObject {
 public:
  PointerWatch() { qApp->installEventFilter(this); }

  QPoint at;
  int presses = 0;
  int releases = 0;

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override {
    if (!watched->isWindowType()) return false;
    const bool isPress =
        event->type() == QEvent::MouseButtonPress || event->type() == QEvent::MouseButtonDblClick;
    const bool isRelease = event->type() == QEvent::MouseButtonRelease;
    if (!isPress && !isRelease && event->type() != QEvent::MouseMove) return false;
    at = static_cast<QMouseEvent*>(event)->globalPosition().toPoint();
    presses += int{isPress};
    releases += int{isRelease};
    return false;
  }
};

/// An inspector beside a piece of canvas, of an editor of 800 by 600 pixels.
class AnnotateInspectorTest : public UiTestCase {
 protected:
  void start(EditorDocument document = {}) {
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
    InspectedEditor inspected;
    inspected.model = editor;
    inspected.observe = [this](std::function<void()> changed) {
      return changes.add(std::move(changed));
    };
    inspected.captureName = [] { return std::string("Stations, week 47"); };
    inspected.missingLayers = [this] { return missing; };
    inspected.oversizedLayers = [this] { return oversized; };
    inspected.addLayers = [this] { ++timesAdding; };
    inspected.copyText = [this](const std::string& text) { copied = text; };
    inspection = inspected;
    window = std::make_unique<QWidget>();
    window->setGeometry(40, 40, 700, 640);
    canvas = new QWidget(window.get());
    canvas->setGeometry(0, 0, 420, 640);
    canvas->setFocusPolicy(Qt::StrongFocus);
    inspector = new AnnotateInspector(inspected, window.get());
    inspector->setGeometry(420, 0, 280, 640);
    window->show();
    window->activateWindow();
    ASSERT_TRUE(waitFor(
        [&] { return window->isActiveWindow() && window->frameGeometry() != window->geometry(); }));
    watch.emplace();
    settle();
  }

  /// Handles events for a moment, and what the inspector would show some time later.
  void settle() {
    UiTestCase::settle(std::chrono::milliseconds(50));
    inspector->refresh();
    UiTestCase::settle(std::chrono::milliseconds(20));
  }

  // Each is over when the toolkit has heard of it.
  void movePointer(QPoint to) {
    if (watch->at == to) return;
    UiTestCase::movePointer(to);
    ASSERT_TRUE(waitFor([&] { return watch->at == to; }));
  }
  void press(int button = 1) {
    const int before = watch->presses;
    UiTestCase::press(button);
    ASSERT_TRUE(waitFor([&] { return watch->presses > before; }));
  }
  void release(int button = 1) {
    const int before = watch->releases;
    UiTestCase::release(button);
    ASSERT_TRUE(waitFor([&] { return watch->releases > before; }));
  }
  void click(QPoint at, int button = 1) {
    movePointer(at);
    press(button);
    release(button);
  }

  static EditorDocument layered() {
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

  static EditorDocument arrows(int count) {
    EditorDocument document;
    for (int i = 0; i < count; ++i) {
      Shape arrow = mixedShape(2);
      arrow.id = "arrow" + std::to_string(i);
      document.shapes.push_back(arrow);
    }
    return document;
  }

  [[nodiscard]] std::vector<std::string> order() const {
    std::vector<std::string> names;
    for (const LayerSpec& layer : *editor->state().layers) names.push_back(layer.name);
    return names;
  }

  /// The visible child of that accessible name.
  template <class Child = QAbstractButton>
  Child* named(const char* name, QWidget* in = nullptr) {
    for (Child* const child : (in != nullptr ? in : window.get())->findChildren<Child*>()) {
      if (child->accessibleName() == QString::fromUtf8(name) && child->isVisible()) return child;
    }
    ADD_FAILURE() << "no " << name;
    return nullptr;
  }

  QPoint middleOf(const QWidget& widget) { return widget.mapToGlobal(widget.rect().center()); }

  void clickOn(QWidget* widget, int button = 1) {
    ASSERT_NE(widget, nullptr);
    inspector->ensureWidgetVisible(widget);
    settle();
    click(middleOf(*widget), button);
    settle();
  }

  void openSection(const char* title) {
    for (QWidget* const widget : inspector->findChildren<QWidget*>()) {
      auto* const section = dynamic_cast<InspectorSection*>(widget);
      if (section != nullptr && section->title() == QString::fromUtf8(title)) {
        section->setOpen(true);
      }
    }
    settle();
  }

  std::optional<PointerWatch> watch;
  Observers<> changes;
  std::shared_ptr<EditorModel> editor;
  InspectedEditor inspection;
  std::vector<std::string> reports;
  std::vector<std::string> missing;
  std::vector<std::string> oversized;
  std::string copied;
  int timesAdding = 0;
  std::unique_ptr<QWidget> window;
  QWidget* canvas = nullptr;
  AnnotateInspector* inspector = nullptr;
};

TEST_F(AnnotateInspectorTest, ControlsChangeTheLookAndFollowIt) {
  start(arrows(2));
  editor->pickTool(Tool::arrow);
  settle();
  keepPicture("inspector-arrow");
  clickOn(named("Blue"));
  clickOn(named("Dashed"));
  clickOn(named("Ring"));
  clickOn(named("At both ends"));
  EXPECT_FALSE(named("Dot")->isEnabled()) << "no tail is drawn between two heads";
  EXPECT_EQ(named<QWidget>("Tail")->toolTip(), "An arrow with two heads has no tail");
  clickOn(named("10 pt"));
  const ToolStyle style = editor->style();
  EXPECT_EQ(style.color, "#007aff");
  EXPECT_EQ(style.lineStyle, LineStyle::dashed);
  EXPECT_EQ(style.headStyle, ArrowHeadStyle::both);
  EXPECT_EQ(style.tailMarker, ArrowTailMarker::ring);
  EXPECT_EQ(style.widthIdx, 3);
  EXPECT_TRUE(editor->undoName().empty()) << "a tool's look is no step";

  editor->pickTool(Tool::select);
  editor->select({"arrow0"});
  settle();
  clickOn(named("Green"));
  EXPECT_EQ(editor->selectedShapes()[0].color, "#34c759");
  EXPECT_FALSE(editor->undoName().empty());
  editor->undo();
  settle();
  EXPECT_FALSE(named("Green")->isChecked()) << "what undo changes is shown";
  EXPECT_TRUE(named("Red")->isChecked());

  editor->changeStyle([](ToolStyle& changed) { changed.color = "#1b1e28"; });
  settle();
  EXPECT_FALSE(named("Red")->isChecked());
  EXPECT_EQ(named("Another color…")->accessibleDescription(), "#1b1e28");

  editor->select({"arrow0", "arrow1"});
  settle();
  EXPECT_EQ(named("Another color…")->accessibleDescription(), "Mixed");
  EXPECT_TRUE(named("Solid")->isChecked()) << "in this they are alike";
  keepPicture("inspector-mixed");
  clickOn(named("Purple"));
  for (const Shape& arrow : editor->selectedShapes()) EXPECT_EQ(arrow.color, "#af52de");

  editor->addSampledColor("#224466");
  settle();
  clickOn(named("#224466"));
  for (const Shape& arrow : editor->selectedShapes()) EXPECT_EQ(arrow.color, "#224466");
  editor->pickTool(Tool::eyedropper);
  settle();
  clickOn(named("RGB"));
  clickOn(named("#224466"));
  EXPECT_EQ(copied, "rgb(34, 68, 102)");
}

TEST_F(AnnotateInspectorTest, ADragOfASliderIsSeenAtOnceAndIsOneStep) {
  start(arrows(1));
  editor->select({"arrow0"});
  settle();
  auto* const slider = named<QSlider>("Opacity");
  ASSERT_NE(slider, nullptr);
  const QPoint right = slider->mapToGlobal(QPoint(slider->width() - 8, slider->height() / 2));
  const auto opacity = [&] { return editor->selectedShapes()[0].opacity.value_or(1); };
  movePointer(right);
  press();
  movePointer(right - QPoint(20, 0));
  const double onTheWay = opacity();
  EXPECT_LT(onTheWay, 1);
  movePointer(right - QPoint(50, 0));
  EXPECT_LT(opacity(), onTheWay);
  release();
  ASSERT_TRUE(editor->undo());
  EXPECT_EQ(opacity(), 1);
  EXPECT_FALSE(editor->undo()) << "all of the drag was one step";
  EXPECT_TRUE(editor->redo());

  // An undo in the middle of a drag gives back what was; what is dragged then is another step.
  const double before = opacity();
  movePointer(
      slider->mapToGlobal(QPoint(8 + int((slider->width() - 16) * before), slider->height() / 2)));
  press();
  movePointer(right - QPoint(80, 0));
  ASSERT_TRUE(editor->undo());
  EXPECT_EQ(opacity(), before);
  movePointer(right - QPoint(90, 0));
  movePointer(right - QPoint(95, 0));
  release();
  EXPECT_LT(opacity(), before);
  ASSERT_TRUE(editor->undo());
  EXPECT_EQ(opacity(), before);

  // So is what a held key does, and the selection may go in the middle of a drag.
  slider->setFocus();
  settle();
  strike(XK_Home);
  EXPECT_EQ(opacity(), 0);
  ASSERT_TRUE(editor->undo());
  EXPECT_EQ(opacity(), before);
  settle();
  press();
  movePointer(right - QPoint(40, 0));
  editor->deleteSelection();
  settle();
  movePointer(right - QPoint(10, 0));
  release();
  EXPECT_TRUE(editor->state().shapes->empty());
  EXPECT_FALSE(editor->isInStep());
}

TEST_F(AnnotateInspectorTest, LayersAreSelectedHiddenLockedAndNamedInTheirList) {
  start(layered());
  EXPECT_EQ(named("Stations, week 47")->y(), 80) << "the capture has the title, and lies lowest";
  auto* const photo = named("Photo");
  const int place = photo->mapTo(inspector, QPoint()).y();
  clickOn(photo);
  ASSERT_NE(editor->selectedLayer(), nullptr);
  EXPECT_EQ(editor->selectedLayer()->id, "Photo");
  EXPECT_EQ(photo->mapTo(inspector, QPoint()).y(), place) << "it stays below the pointer";
  movePointer(middleOf(*canvas));
  settle();
  EXPECT_NE(named<QSlider>("Opacity"), nullptr);
  keepPicture("inspector-layers");
  editor->selectLayer("Legend");
  settle();
  EXPECT_TRUE(named("Legend")->isChecked());
  EXPECT_FALSE(named("Photo")->isChecked());

  clickOn(named("Hide Layer", photo));
  EXPECT_FALSE(editor->state().findLayer("Photo")->visible);
  EXPECT_EQ(photo->accessibleDescription(), "Hidden");
  clickOn(named("Lock Layer", photo));
  EXPECT_TRUE(editor->state().findLayer("Photo")->locked);
  missing = {"Photo"};
  oversized = {"Legend"};
  changes.notify();
  settle();
  EXPECT_EQ(named("Legend")->accessibleDescription(), "Too large to build");
  EXPECT_EQ(photo->accessibleDescription(), "Missing, Hidden, Locked");
  keepPicture("inspector-faults");

  clickOn(photo);
  strike(XK_F2);
  auto* const field = inspector->findChild<NameField*>();
  ASSERT_NE(field, nullptr);
  field->setText(QString::fromUtf8("A\u202Egpj.exe\u2066 \x01 layer ") + QString(900, u'x'));
  strike(XK_Return);
  const std::string name = editor->state().findLayer("Photo")->name;
  EXPECT_TRUE(name.starts_with("A gpj.exe layer xxx")) << name;
  EXPECT_LT(name.size(), 500u);
  EXPECT_THAT(reports, ElementsAre("Layer renamed to " + name));
  keepPicture("inspector-long-name");
  strike(XK_F2);
  inspector->findChild<NameField*>()->setText("never");
  strike(XK_Escape);
  EXPECT_EQ(editor->state().findLayer("Photo")->name, name);
  EXPECT_EQ(inspector->horizontalScrollBar()->maximum(), 0) << "no name widens the list";
}

TEST_F(AnnotateInspectorTest, LayersAreDraggedAndSteppedToOtherPlaces) {
  start(layered());
  ASSERT_THAT(order(), ElementsAre("Capture", "Photo", "Legend"));
  auto* const legend = named("Legend");
  const QPoint from = middleOf(*legend);
  movePointer(from);
  press();
  movePointer(from + QPoint(0, 30));
  movePointer(from + QPoint(0, 70));
  keepPicture("inspector-drag");
  release();
  settle();
  EXPECT_THAT(order(), ElementsAre("Capture", "Legend", "Photo"));
  EXPECT_EQ(editor->undoName(), "Reorder Layers");

  // Esc ends a drag, and so does a layer that goes meanwhile.
  const QPoint top = middleOf(*named("Photo"));
  movePointer(top);
  press();
  movePointer(top + QPoint(0, 40));
  strike(XK_Escape);
  release();
  movePointer(top);
  press();
  movePointer(top + QPoint(0, 90));
  editor->undo();
  settle();
  release();
  settle();
  EXPECT_THAT(order(), ElementsAre("Capture", "Photo", "Legend"));

  clickOn(named("Legend"));
  client->key(XK_Alt_L, true);
  strike(XK_Down);
  strike(XK_Down);
  strike(XK_Down);
  client->key(XK_Alt_L, false);
  settle();
  EXPECT_THAT(order(), ElementsAre("Legend", "Capture", "Photo"));
  EXPECT_TRUE(named("Legend")->hasFocus()) << "the keyboard goes with its layer";
  strike(XK_Up);
  EXPECT_EQ(editor->selectedLayer()->id, "Capture");
  strike(XK_Delete);
  EXPECT_EQ(order().size(), 3u) << "the capture can be hidden, not removed";
  strike(XK_Up);
  strike(XK_Delete);
  EXPECT_THAT(order(), ElementsAre("Legend", "Capture"));

  clickOn(named("Legend"), 3);
  auto* const menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
  ASSERT_NE(menu, nullptr);
  keepPicture("inspector-menu");
  for (QAction* const item : menu->actions()) {
    if (item->text() == "Duplicate") item->trigger();
  }
  menu->close();
  EXPECT_THAT(order(), ElementsAre("Legend", "Legend", "Capture"));
}

TEST_F(AnnotateInspectorTest, ACaptureThatIsNoLayerYetCanBeHiddenAndNamedInOneStep) {
  start();
  auto* const row = named("Stations, week 47");
  clickOn(row);
  EXPECT_TRUE(editor->state().layers->empty()) << "to look at it changes nothing";
  clickOn(named("Hide Layer", row));
  ASSERT_EQ(editor->state().layers->size(), 1u);
  EXPECT_FALSE(editor->state().layers->front().visible);
  EXPECT_EQ(editor->undoName(), "Hide Layer");
  editor->undo();
  EXPECT_TRUE(editor->state().layers->empty());
  clickOn(named("Add layers"));
  EXPECT_EQ(timesAdding, 1);
}

TEST_F(AnnotateInspectorTest, BackgroundLayerAndCanvasAreChangedInTheirSections) {
  start(layered());
  openSection("Background");
  clickOn(named("Dusk"));
  EXPECT_EQ(editor->state().background->fill, (BackgroundFill{BackgroundFill::Gradient{"dusk"}}));
  openSection("Background");
  auto* const padding = named<QSlider>("Padding");
  ASSERT_NE(padding, nullptr);
  EXPECT_EQ(padding->value(), 8);
  padding->setValue(12);
  EXPECT_EQ(editor->state().background->paddingPercent, 12);
  clickOn(named("Shadow"));
  EXPECT_FALSE(editor->state().background->shadow);
  EXPECT_FALSE(named<QSlider>("Shadow strength")->isEnabled());
  clickOn(named("One color"));
  EXPECT_TRUE(
      std::holds_alternative<BackgroundFill::Solid>(editor->state().background->fill.value));

  editor->selectLayer("Photo");
  settle();
  auto* const border = named<QSlider>("Border");
  border->setValue(6);
  EXPECT_EQ(editor->state().findLayer("Photo")->border->width, 6);
  border->setValue(0);
  EXPECT_FALSE(editor->state().findLayer("Photo")->border);
  EXPECT_EQ(editor->undoName(), "Remove Layer Border");
  named<QSlider>("Opacity")->setValue(100);
  EXPECT_FALSE(editor->state().findLayer("Photo")->opacity);
  openSection("Canvas");
  keepPicture("inspector-open");
  clickOn(named("Canvas color"));
  auto* const popover = QApplication::activePopupWidget();
  ASSERT_NE(popover, nullptr);
  auto* const hex = named<QLineEdit>("Hex", popover);
  hex->setFocus();
  hex->selectAll();
  for (const auto key : {XK_1, XK_b, XK_1, XK_e, XK_2, XK_8}) strike(key);
  EXPECT_EQ(editor->state().canvas->backdropHex, "#1b1e28");
  keepPicture("inspector-color");
  strike(XK_Escape);
  EXPECT_TRUE(waitFor([&] { return QApplication::activePopupWidget() == nullptr; }));
  EXPECT_EQ(editor->undoName(), "Canvas Color");
  editor->undo();
  EXPECT_EQ(editor->state().canvas->backdropHex, "#ffffff") << "all that was tried is one step";
}

TEST_F(AnnotateInspectorTest, TheCanvasTakesASizeThatIsPossibleAndOther) {
  start();
  auto* const sheet = new CanvasSizeSheet(inspection, window.get());
  sheet->QDialog::open();
  settle();
  auto* const width = named<QLineEdit>("Width", sheet);
  auto* const height = named<QLineEdit>("Height", sheet);
  auto* const change = [&]() -> QPushButton* {
    for (QPushButton* const button : sheet->findChildren<QPushButton*>()) {
      if (button->text() == "Change") return button;
    }
    return nullptr;
  }();
  ASSERT_NE(change, nullptr);
  const auto says = [&](const char* first, const char* second) {
    width->setText(QString::fromUtf8(first));
    height->setText(QString::fromUtf8(second));
    return change->isEnabled() ? QStringLiteral("ready") : change->toolTip();
  };
  EXPECT_EQ(says("800", "600"), "Same size as now.");
  EXPECT_EQ(says("12.5", "600"), "Enter whole numbers of pixels.");
  EXPECT_EQ(says("wide", ""), "Enter whole numbers of pixels.");
  EXPECT_EQ(says("0", "100"), "The canvas needs at least 1 px each way.");
  EXPECT_EQ(says("8001", "8000"), "Too large — the canvas is limited to 64 million pixels.");
  keepPicture("canvas-sheet");
  EXPECT_EQ(says("8000", "8000"), "ready");
  EXPECT_EQ(says("1000", "700"), "ready");
  clickOn(named("Bottom right", sheet));
  click(middleOf(*change));
  settle();
  EXPECT_EQ(editor->canvasSize(), (CanvasSize{1000, 700}));
  EXPECT_EQ(editor->toCanvas()(Pt{0, 0}), (Pt{200, 100}));
  EXPECT_FALSE(sheet->isVisible());
}

TEST_F(AnnotateInspectorTest, EmojiAreFoundByNameAndPolygonsPicked) {
  start();
  std::vector<QString> thumbs;
  for (const Emoji& emoji : emojiNamed(QStringLiteral(" THUMBS  u "))) thumbs.push_back(emoji.text);
  EXPECT_THAT(thumbs, ElementsAre(QString::fromUtf8("👍")));
  EXPECT_TRUE(emojiNamed(QStringLiteral("humb")).empty()) << "no word begins so";
  EXPECT_TRUE(emojiNamed(QStringLiteral("cat")).front().name.startsWith("cat "));
  std::size_t count = 0;
  for (const EmojiGroup& group : emojiGroups()) count += group.all.size();
  EXPECT_GT(count, 1500u);

  editor->pickTool(Tool::emoji);
  settle();
  EmojiPicker::open(*editor, canvas);
  settle();
  keepPicture("emoji");
  ASSERT_NE(QApplication::activePopupWidget(), nullptr);
  for (const auto key : {XK_p, XK_o, XK_p, XK_p, XK_e}) strike(key);
  keepPicture("emoji-search");
  strike(XK_Down);
  strike(XK_Return);
  EXPECT_EQ(emojiName(QString::fromStdString(*editor->style().emoji)), "party popper");
  EXPECT_TRUE(waitFor([&] { return QApplication::activePopupWidget() == nullptr; }));
  EmojiPicker::open(*editor, canvas);
  settle();
  strike(XK_Down);
  strike(XK_Return);
  EXPECT_EQ(emojiName(QString::fromStdString(*editor->style().emoji)), "party popper")
      << "what was used lately comes first";

  editor->pickTool(Tool::polygon);
  PolygonPicker::open(*editor, canvas);
  settle();
  keepPicture("polygons");
  clickOn(named("Star", QApplication::activePopupWidget()));
  EXPECT_EQ(editor->style().sides, 5);
  EXPECT_GT(*editor->style().starInset, 0);
  settle();
  inspector->refresh();
  EXPECT_NE(named("Star"), nullptr) << "the section has its name";
}

TEST_F(AnnotateInspectorTest, TheCropCapsuleGivesTheFrameProportionsAndASize) {
  start();
  auto* const capsule = new CropCapsule(inspection, canvas);
  EXPECT_FALSE(capsule->isVisible());
  editor->pickTool(Tool::crop);
  capsule->setFrame({20, 40, 300, 200}, {10, 30, 400, 500});
  settle();
  ASSERT_TRUE(capsule->isVisible());
  QAbstractButton* apply = nullptr;
  for (auto* const button : capsule->findChildren<QPushButton*>()) {
    if (button->text() == "Apply") apply = button;
  }
  ASSERT_NE(apply, nullptr);
  EXPECT_FALSE(apply->isEnabled()) << "there is no frame";
  editor->setPendingCrop(Box{100, 100, 400, 300});
  settle();
  keepPicture("crop-capsule");
  EXPECT_GT(capsule->geometry().center().y(), 240) << "below the frame";
  EXPECT_EQ(named<QLineEdit>("Width")->text(), "400");
  clickOn(named("Square", capsule));
  EXPECT_EQ(editor->pendingCrop(), (Box{150, 100, 300, 300}));
  auto* const width = named<QLineEdit>("Width", capsule);
  clickOn(width);
  width->selectAll();
  for (const auto key : {XK_2, XK_0, XK_0, XK_Return}) strike(key);
  EXPECT_EQ(editor->pendingCrop(), (Box{200, 150, 200, 200}));
  EXPECT_FALSE(editor->state().crop) << "the size first, then the cut";
  strike(XK_Return);
  ASSERT_TRUE(editor->state().crop);
  EXPECT_EQ(editor->tool(), Tool::select);
  EXPECT_FALSE(capsule->isVisible());
  EXPECT_TRUE(canvas->hasFocus());
}

TEST_F(AnnotateInspectorTest, MirroredWithLargeWordsAndNothingLacksAName) {
  start(layered());
  editor->selectLayer("Photo");
  for (const char* const title : {"Background", "Canvas"}) openSection(title);
  editor->setBackground({.fill = {BackgroundFill::Solid{"#abcdef"}}});
  QFont large = QApplication::font();
  large.setPointSizeF(large.pointSizeF() * 2);
  for (const bool isMirrored : {false, true}) {
    window->setLayoutDirection(isMirrored ? Qt::RightToLeft : Qt::LeftToRight);
    for (const Tool tool : {Tool::arrow, Tool::polygon, Tool::text, Tool::redact, Tool::crop}) {
      setApplicationFont(large);
      editor->pickTool(tool);
      settle();
      const QString where = QString::fromUtf8(nameOf(tool).data());
      keepPicture(std::string("inspector-large-") + std::string(nameOf(tool)) +
                  (isMirrored ? "-mirrored" : ""));
      EXPECT_EQ(inspector->horizontalScrollBar()->maximum(), 0);
      const QRect room = inspector->viewport()->rect();
      for (QWidget* const child : inspector->widget()->findChildren<QWidget*>()) {
        if (!child->isVisible() || child->width() <= 0) continue;
        const QRect area(child->mapTo(inspector->viewport(), QPoint()), child->size());
        EXPECT_TRUE(area.left() >= 0 && area.right() <= room.right())
            << where.toStdString() << ": " << child->accessibleName().toStdString() << " "
            << child->metaObject()->className() << " from " << area.left() << " to "
            << area.right();
        auto* const seen = QAccessible::queryAccessibleInterface(child);
        if (child->focusPolicy() == Qt::NoFocus || child->focusProxy() != nullptr) continue;
        EXPECT_FALSE(seen->text(QAccessible::Name).isEmpty())
            << where.toStdString() << ": " << child->metaObject()->className();
        EXPECT_NE(seen->role(), QAccessible::Client) << child->accessibleName().toStdString();
      }
    }
  }
}

}  // namespace
}  // namespace vantorel
