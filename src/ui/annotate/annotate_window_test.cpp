#include "ui/annotate/annotate_window.hpp"

#include <X11/keysym.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QAccessible>
#include <QApplication>
#include <QDialog>
#include <QDragEnterEvent>
#include <QInputMethodEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMimeData>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPushButton>
#include <QScrollBar>
#include <QShortcut>
#include <QUrl>
#include <QWheelEvent>
#include <cmath>
#include <random>
#include <set>
#include <stdexcept>

#include "editor/canvas_scene.hpp"
#include "editor/testing/mixed_shapes.hpp"
#include "editor/tool_spec.hpp"
#include "ui/annotate/annotate_canvas.hpp"
#include "ui/annotate/canvas_accessible.hpp"
#include "ui/testing/open_picture.hpp"
#include "ui/testing/ui_test_case.hpp"

namespace vantorel {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

/// What is painted, as the toolkit was told.
class PaintWatch : public QObject {
 public:
  QRegion painted;

 protected:
  bool eventFilter(QObject* object, QEvent* event) override {
    if (event->type() == QEvent::Paint) painted += static_cast<QPaintEvent*>(event)->region();
    return QObject::eventFilter(object, event);
  }
};

/// Windows on a display of their own, with hands that reach them directly: what a real pointer does
/// beyond that, the tests of the overlay and the cards know.
class AnnotateWindowTest : public UiTestCase {
 protected:
  struct Opened {
    explicit Opened(SceneDrawing& drawing) : run(drawing) {}
    OpenPicture run;
    bool isClosed = false;
    std::unique_ptr<AnnotateWindow> window;
    AnnotateCanvas* canvas = nullptr;
  };

  void SetUp() override {
    startDesktop({.windowManager = true});
    startUi();
  }

  std::unique_ptr<Opened> open(PixelSize size = {640, 400}, EditorDocument document = {}) {
    auto opened = std::make_unique<Opened>(drawing());
    opened->run.model->setPreview({}, size);
    opened->window = std::make_unique<AnnotateWindow>(
        opened->run.model, [raw = opened.get()] { raw->isClosed = true; });
    opened->window->bringForward();
    EXPECT_TRUE(waitFor([&] { return opened->window->isActiveWindow(); }));
    opened->run.open(testPicture(size, 1), std::move(document));
    opened->canvas = dynamic_cast<AnnotateCanvas*>(
        opened->window->findChild<QWidget*>(QStringLiteral("canvas")));
    use(*opened);
    rest();
    return opened;
  }
  void use(Opened& opened) { now = &opened; }

  void rest() {
    now->run.runners.run();
    settle(std::chrono::milliseconds(20));
    now->run.runners.run();
    settle(std::chrono::milliseconds(5));
  }

  EditorModel& editor() { return now->run.model->editor(); }
  const Shape& last() { return *editor().state().shapes->back(); }
  QPointF at(double x, double y) {
    const QRectF area = now->canvas->areaOf(Box{x, y, 0, 0});
    return area.topLeft();
  }

  void mouse(QEvent::Type type, QPointF where, Qt::MouseButton button = Qt::LeftButton,
             Qt::KeyboardModifiers held = {}) {
    const bool isDown = type == QEvent::MouseButtonPress || type == QEvent::MouseButtonDblClick;
    if (isDown) buttons |= button;
    if (type == QEvent::MouseButtonRelease) buttons &= ~Qt::MouseButtons(button);
    QMouseEvent event(type, where, now->canvas->mapToGlobal(where),
                      type == QEvent::MouseMove ? Qt::NoButton : button, buttons, held);
    QCoreApplication::sendEvent(now->canvas, &event);
    now->run.runners.run();
  }
  void drag(QPointF from, QPointF to, Qt::KeyboardModifiers held = {}) {
    mouse(QEvent::MouseButtonPress, from, Qt::LeftButton, held);
    mouse(QEvent::MouseMove, (from + to) / 2, Qt::LeftButton, held);
    mouse(QEvent::MouseMove, to, Qt::LeftButton, held);
    mouse(QEvent::MouseButtonRelease, to, Qt::LeftButton, held);
  }
  void click(QPointF where) { drag(where, where); }

  /// As the toolkit hands it on: first to those with shortcuts.
  void key(int key, Qt::KeyboardModifiers held = {}, const QString& text = {}) {
    QWidget* const focus = now->window->focusWidget();
    QWidget* const target = focus != nullptr ? focus : now->window.get();
    QKeyEvent first(QEvent::ShortcutOverride, key, held, text);
    first.ignore();
    QCoreApplication::sendEvent(target, &first);
    if (!first.isAccepted() && runShortcut(QKeyCombination(held, Qt::Key(key)))) {
      now->run.runners.run();
      return;
    }
    QKeyEvent press(QEvent::KeyPress, key, held, text);
    QCoreApplication::sendEvent(target, &press);
    QKeyEvent release(QEvent::KeyRelease, key, held, text);
    QCoreApplication::sendEvent(target, &release);
    now->run.runners.run();
  }
  bool runShortcut(QKeyCombination keys) {
    for (auto* const shortcut : now->window->findChildren<QShortcut*>()) {
      if (shortcut->key() != QKeySequence(keys) || !shortcut->isEnabled()) continue;
      Q_EMIT shortcut->activated();
      return true;
    }
    return false;
  }
  void type(const QString& text) {
    for (const QChar letter : text) key(letter.toUpper().unicode(), {}, letter);
  }
  void compose(const QString& preedit, const QString& commit) {
    QInputMethodEvent event(preedit, {});
    event.setCommitString(commit);
    QCoreApplication::sendEvent(now->canvas, &event);
    now->run.runners.run();
  }
  /// As an input method asks.
  QVariant asked(Qt::InputMethodQuery query) {
    QInputMethodQueryEvent event(query);
    QCoreApplication::sendEvent(now->canvas, &event);
    return event.value(query);
  }
  QAbstractButton* button(const QString& name) {
    for (auto* const one : now->window->findChildren<QAbstractButton*>()) {
      if (one->accessibleName() == name || one->text() == name) return one;
    }
    std::string names;
    for (const auto* const one : now->window->findChildren<QAbstractButton*>()) {
      names += one->accessibleName().toStdString() + ", ";
    }
    ADD_FAILURE() << name.toStdString() << " is none of " << names;
    throw std::runtime_error("no such button");
  }

  Opened* now = nullptr;
  Qt::MouseButtons buttons;
};

TEST_F(AnnotateWindowTest, EveryToolDrawsByHandAndKey) {
  const auto opened = open();
  EXPECT_EQ(opened->window->windowTitle(), "Stations, week 47[*] — Annotate");
  EXPECT_FALSE(opened->window->isWindowModified());
  for (const auto* const bar : opened->window->findChildren<QScrollBar*>()) {
    EXPECT_FALSE(bar->isVisible()) << "there is nothing to scroll";
  }
  std::size_t drawn = 0;
  for (const ToolSpec& spec : toolSpecs()) {
    const auto type = shapeTypeOf(spec.tool);
    if (!type) continue;
    SCOPED_TRACE(spec.label);
    const QString letter = QString::fromUtf8(spec.key.data(), 1);
    key(letter[0].toUpper().unicode(), {}, letter);
    ASSERT_EQ(editor().tool(), spec.tool);
    QWidget* const forms = QApplication::activePopupWidget();
    ASSERT_EQ(forms != nullptr, *type == ShapeType::polygon || *type == ShapeType::emoji);
    const double x = 20 + static_cast<double>(drawn) * 45;
    if (forms == nullptr) {
      drag(at(x, 60), at(x + 40, 130));
    } else {
      // The press that closes them draws.
      movePointer(opened->canvas->mapToGlobal(at(x + 140, 300)).toPoint());
      ASSERT_FALSE(forms->frameGeometry().contains(QCursor::pos()));
      press();
      movePointer(opened->canvas->mapToGlobal(at(x + 180, 370)).toPoint());
      release();
      rest();
      EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
    }
    if (*type == ShapeType::text) {
      this->type(QStringLiteral("weir"));
      key(Qt::Key_Escape);
    }
    ASSERT_EQ(editor().state().shapes->size(), ++drawn);
    EXPECT_EQ(last().type, *type);
  }
  rest();
  keepPicture("annotate-tools");
  EXPECT_THAT(button("Undo Draw Measurement")->toolTip().toStdString(), HasSubstr("Ctrl+Z"));
  key(Qt::Key_Z, Qt::ControlModifier);
  EXPECT_EQ(editor().state().shapes->size(), drawn - 1);
  EXPECT_TRUE(button("Redo Draw Measurement")->isEnabled());
  // A tool's button is as good as its letter, and leaves the keyboard with the canvas.
  button("Rectangle")->click();
  EXPECT_EQ(editor().tool(), Tool::rect);
  EXPECT_TRUE(opened->canvas->hasFocus());
  drag(at(300, 200), at(400, 260));
  const Box before{last().x1, last().y1, last().x2, last().y2};
  drag(at(400, 260), at(430, 300));  // its corner
  EXPECT_NEAR(last().x2, before.w + 30, 1.5);
  EXPECT_NEAR(last().x1, before.x, 0.001) << "the other corner stays";
  key(Qt::Key_Right, Qt::ShiftModifier);
  EXPECT_NEAR(last().x1, before.x + 10, 0.001);
}

TEST_F(AnnotateWindowTest, ThePointerLeavesTheKeyboardWithTheCanvasAndF6ShowsWhereItIs) {
  const auto opened = open({640, 400});
  opened->window->resize(1200, 760);
  type(QStringLiteral("a"));
  drag(at(100, 100), at(300, 200));
  rest();
  const auto press = [&](const char* name) {
    QAbstractButton* const one = button(QString::fromUtf8(name));
    this->UiTestCase::click(one->mapToGlobal(one->rect().center()));
    now->run.runners.run();
    rest();
  };
  press("At both ends");
  EXPECT_EQ(last().headStyle, ArrowHeadStyle::both);
  EXPECT_TRUE(opened->canvas->hasFocus());
  const double width = last().width;
  type(QStringLiteral("]"));
  EXPECT_GT(last().width, width);
  type(QStringLiteral("3"));
  EXPECT_EQ(last().color, "#007aff");
  // By keys everything is reached, and what is reached is seen.
  const auto hasRing = [&](QWidget& shown) {
    const QImage before = shown.grab().toImage();
    opened->window->setAttribute(Qt::WA_KeyboardFocusChange, false);
    const QImage without = shown.grab().toImage();
    opened->window->setAttribute(Qt::WA_KeyboardFocusChange, true);
    return before != without;
  };
  std::set<const QWidget*> reached;
  for (int pane = 0; pane < 5; ++pane) {
    key(Qt::Key_F6);
    QWidget* const focus = opened->window->focusWidget();
    ASSERT_NE(focus, nullptr);
    reached.insert(focus);
    keepPicture("annotate-f6-" + std::to_string(pane));
    EXPECT_TRUE(focus == opened->canvas || hasRing(*focus))
        << focus->accessibleName().toStdString();
  }
  EXPECT_EQ(reached.size(), 5U);
  EXPECT_TRUE(reached.contains(button("Arrow"))) << "of the tools, the one that is on";
  EXPECT_TRUE(opened->canvas->hasFocus());
  key(Qt::Key_F6);
  ASSERT_FALSE(opened->canvas->hasFocus());
  key(Qt::Key_Delete);
  EXPECT_TRUE(editor().state().shapes->empty()) << "the keys are the window's";
}

TEST_F(AnnotateWindowTest, TabGoesThroughTheCropCapsuleAndNotTheShapesUnderIt) {
  EditorDocument document;
  document.shapes = {mixedShape(2), mixedShape(3)};
  const auto opened = open({640, 400}, std::move(document));
  type(QStringLiteral("c"));
  ASSERT_EQ(editor().tool(), Tool::crop);
  rest();
  const auto focused = [&] { return opened->window->focusWidget()->accessibleName(); };
  for (auto* const field : opened->canvas->findChildren<QLineEdit*>()) {
    if (field->accessibleName() == "Width") field->setFocus();
  }
  ASSERT_EQ(focused(), "Width");
  key(Qt::Key_Tab);
  EXPECT_EQ(focused(), "Height");
  key(Qt::Key_Backtab, Qt::ShiftModifier);
  EXPECT_EQ(focused(), "Width");
  opened->canvas->setFocus();
  key(Qt::Key_Tab);
  EXPECT_FALSE(opened->canvas->hasFocus());
  EXPECT_TRUE(editor().selection().empty());
}

TEST_F(AnnotateWindowTest, LettersAreTextWhileSomethingIsTypedAndToolsOtherwise) {
  const auto opened = open();
  EXPECT_FALSE(opened->canvas->testAttribute(Qt::WA_InputMethodEnabled));
  type(QStringLiteral("t"));
  click(at(100, 100));
  ASSERT_TRUE(editor().isTyping());
  EXPECT_TRUE(opened->canvas->testAttribute(Qt::WA_InputMethodEnabled));
  type(QStringLiteral("bar"));
  key(Qt::Key_Left);
  key(Qt::Key_Left, Qt::ShiftModifier);
  type(QStringLiteral("e"));
  EXPECT_EQ(editor().draft()->text, "ber");
  key(Qt::Key_Home);
  // An input method, and a dead key, hand text over.
  compose(QStringLiteral("shang"), {});
  EXPECT_EQ(editor().draft()->text, "ber") << "nothing is typed yet";
  key(Qt::Key_Escape);
  EXPECT_TRUE(editor().isTyping()) << "the key is the input method's";
  compose({}, QStringLiteral("上"));
  compose({}, QStringLiteral("é"));
  EXPECT_EQ(editor().draft()->text, "上éber");
  EXPECT_EQ(asked(Qt::ImCursorPosition).toInt(), 2);
  const QRect caret = asked(Qt::ImCursorRectangle).toRect();
  EXPECT_GT(caret.height(), 8);
  rest();
  keepPicture("annotate-typing");
  opened->canvas->zoomOut();
  EXPECT_NE(asked(Qt::ImCursorRectangle).toRect(), caret);
  key(Qt::Key_Escape);
  EXPECT_FALSE(editor().isTyping());
  EXPECT_FALSE(opened->canvas->testAttribute(Qt::WA_InputMethodEnabled));
  EXPECT_EQ(last().text, "上éber");
  type(QStringLiteral("a"));
  EXPECT_EQ(editor().tool(), Tool::arrow);
}

TEST_F(AnnotateWindowTest, ADragPaintsWhatItChangesAndNothingElse) {
  EditorDocument document;
  for (int i = 0; i < 60; ++i) document.shapes.push_back(mixedShape(i));
  const auto opened = open({1200, 800}, document);
  opened->window->resize(1240, 760);
  rest();
  type(QStringLiteral("r"));
  drag(at(600, 400), at(640, 430));
  rest();
  PaintWatch watch;
  opened->canvas->installEventFilter(&watch);
  mouse(QEvent::MouseMove, at(600, 400));
  rest();
  mouse(QEvent::MouseButtonPress, at(600, 415));
  rest();
  watch.painted = {};
  mouse(QEvent::MouseMove, at(620, 420));
  rest();
  const QRect area = watch.painted.boundingRect();
  EXPECT_FALSE(area.isEmpty());
  EXPECT_TRUE(area.contains(at(640, 400).toPoint()));
  EXPECT_LT(area.width() * area.height(), 200 * 160) << "of the whole canvas";
  mouse(QEvent::MouseButtonRelease, at(620, 420));
  // The picture on the screen is what would be painted anew.
  rest();
  const QImage shown = opened->canvas->grab().toImage();
  opened->canvas->update();
  rest();
  EXPECT_EQ(opened->canvas->grab().toImage(), shown);
  opened->canvas->removeEventFilter(&watch);
}

/// On screens with other scales.
class AnnotateScaleTest : public AnnotateWindowTest, public testing::WithParamInterface<double> {
 protected:
  void SetUp() override {
    startDesktop({.windowManager = true});
    qputenv("QT_SCALE_FACTOR", QByteArray::number(GetParam()));
    startUi();
    qunsetenv("QT_SCALE_FACTOR");
  }
};

TEST_P(AnnotateScaleTest, AtAHundredPercentEveryPixelIsTheCaptures) {
  const auto opened = open({300, 200});
  // A window of an odd size lies between pixels.
  opened->window->resize(opened->window->size() + QSize(0, 1));
  opened->canvas->setZoom(1);
  settle();
  const double ratio = opened->canvas->devicePixelRatioF();
  ASSERT_EQ(ratio, GetParam());
  const QImage shown = screen("annotate-exact");
  // Where the first pixel is, to one or the other side of its place.
  const QPointF about = QPointF(opened->canvas->mapTo(opened->window.get(), QPointF())) * ratio +
                        at(0, 0) * ratio + QPointF(opened->window->mapToGlobal(QPointF())) * ratio;
  int fewest = 300 * 200;
  for (int dx = -2; dx <= 2; ++dx) {
    for (int dy = -2; dy <= 2; ++dy) {
      const QPoint corner = about.toPoint() + QPoint(dx, dy);
      int wrong = 0;
      for (int y = 0; y < 200; ++y) {
        for (int x = 0; x < 300; ++x) {
          wrong += (shown.pixel(corner + QPoint(x, y)) ^ testPixel(1, x, y)) & 0xffffff ? 1 : 0;
        }
      }
      fewest = std::min(fewest, wrong);
    }
  }
  EXPECT_EQ(fewest, 0);
}

INSTANTIATE_TEST_SUITE_P(Scales, AnnotateScaleTest, testing::Values(1, 1.25, 1.5, 2));

TEST_F(AnnotateWindowTest, ClosingAsksOnceAndDoesWhatIsAnswered) {
  const auto draw = [&] {
    type(QStringLiteral("r"));
    drag(at(100, 100), at(200, 160));
  };
  const auto press = [&](const char* label) {
    auto* const dialog = now->window->findChild<QDialog*>(QStringLiteral("closeQuestion"));
    ASSERT_NE(dialog, nullptr);
    for (auto* const one : dialog->findChildren<QAbstractButton*>()) {
      if (one->text() == QLatin1String(label)) one->click();
    }
    rest();
  };
  auto opened = open();
  draw();
  for (int i = 0; i < 3; ++i) key(Qt::Key_Escape);
  EXPECT_EQ(editor().state().shapes->size(), 1U) << "Esc never discards";
  opened->window->close();
  opened->window->close();
  EXPECT_EQ(opened->window->findChildren<QDialog*>().size(), 1);
  EXPECT_EQ(opened->window->findChild<QDialog*>()->accessibleDescription(), "1 annotation added");
  rest();
  keepPicture("annotate-close");
  press("Cancel");
  EXPECT_FALSE(opened->isClosed);
  std::vector<bool> closed;
  opened->window->requestClose([&](bool done) { closed.push_back(done); });
  rest();
  opened->run.capture->refusal = "The disk is full.";
  press("Save");
  EXPECT_FALSE(opened->isClosed) << "nothing is lost";
  EXPECT_THAT(closed, ElementsAre(false));
  opened->run.capture->refusal.clear();
  opened->window->requestClose([&](bool done) { closed.push_back(done); });
  rest();
  press("Save");
  EXPECT_TRUE(opened->isClosed);
  EXPECT_THAT(closed, ElementsAre(false, true));
  EXPECT_EQ(opened->run.capture->stored.back().shapes.size(), 1U);

  const auto other = open();
  draw();
  other->window->close();
  rest();
  press("Discard");
  EXPECT_TRUE(other->isClosed);
  EXPECT_TRUE(other->run.capture->stored.empty());
  EXPECT_EQ(other->run.capture->draftsDropped, 1);
  EXPECT_THAT(other->run.alerts.notices, ElementsAre("Annotate: Annotation discarded"));
}

TEST_F(AnnotateWindowTest, DoneTakesATextAlongThatIsStillTyped) {
  const auto opened = open();
  type(QStringLiteral("t"));
  click(at(100, 100));
  type(QStringLiteral("weir"));
  rest();
  EXPECT_TRUE(opened->window->isWindowModified());
  key(Qt::Key_Return, Qt::ControlModifier);
  rest();
  EXPECT_TRUE(opened->isClosed);
  ASSERT_EQ(opened->run.capture->stored.size(), 1U);
  EXPECT_EQ(opened->run.capture->stored.back().shapes.front().text, "weir");
}

TEST_F(AnnotateWindowTest, ABackgroundThatIsTooLargeSaysSoAboveThePictureAtOnce) {
  const auto opened = open({7900, 7900});
  BackgroundSpec background;
  background.fill.value = BackgroundFill::Solid{"#007aff"};
  background.paddingPercent = 8;
  const QRect before = opened->canvas->geometry();
  ASSERT_TRUE(editor().setBackground(background));
  rest();
  keepPicture("annotate-too-large");
  ASSERT_TRUE(opened->run.model->refusal());
  EXPECT_THAT(opened->run.model->refusal()->sentence, HasSubstr("background padding"));
  EXPECT_GT(opened->canvas->geometry().top(), before.top()) << "the picture is seen whole";
  EXPECT_EQ(opened->canvas->geometry().bottom(), before.bottom());
  background.paddingPercent = 0;
  ASSERT_TRUE(editor().setBackground(background));
  rest();
  EXPECT_FALSE(opened->run.model->refusal());
  EXPECT_EQ(opened->canvas->geometry(), before);
}

TEST_F(AnnotateWindowTest, TwoWindowsEachHaveTheirOwn) {
  const auto first = open();
  const auto second = open({300, 200});
  EXPECT_NE(first->window->pos(), second->window->pos());
  use(*second);
  type(QStringLiteral("o"));
  drag(at(20, 20), at(90, 90));
  use(*first);
  EXPECT_EQ(editor().tool(), Tool::select);
  EXPECT_TRUE(editor().state().shapes->empty());
  // One that goes in the middle of a gesture leaves the other alone.
  use(*second);
  mouse(QEvent::MouseButtonPress, at(50, 50));
  mouse(QEvent::MouseMove, at(70, 70));
  second->window->hide();
  buttons = {};
  EXPECT_FALSE(editor().draft());
  use(*first);
  type(QStringLiteral("r"));
  drag(at(20, 20), at(90, 90));
  EXPECT_EQ(editor().state().shapes->size(), 1U);
}

TEST_F(AnnotateWindowTest, WhatCannotBeOpenedSaysSoAndLetsGo) {
  Opened opened(drawing());
  opened.window = std::make_unique<AnnotateWindow>(opened.run.model, [] {});
  opened.window->bringForward();
  ASSERT_TRUE(waitFor([&] { return opened.window->isActiveWindow(); }));
  use(opened);
  opened.run.model->fail("The file of this capture is gone.", true);
  rest();
  keepPicture("annotate-failed");
  EXPECT_FALSE(button("Done")->isEnabled());
  EXPECT_FALSE(button("Arrow")->isEnabled());
  button("Remove from History")->click();
  EXPECT_TRUE(opened.run.capture->isRemoved);
}

TEST_F(AnnotateWindowTest, PicturesDroppedOnTheCanvasBecomeLayers) {
  const auto opened = open();
  opened->run.files->folders.insert("/pictures");
  opened->run.files->put("/pictures/map.png",
                         FakeImageCodec().encode(testPicture({60, 40}, 2), {}).value());
  const QPointF where = at(200, 150);
  QMimeData files;
  files.setUrls({QUrl::fromLocalFile(QStringLiteral("/pictures/map.png"))});
  QDragEnterEvent enter(where.toPoint(), Qt::CopyAction, &files, Qt::LeftButton, {});
  QCoreApplication::sendEvent(opened->canvas, &enter);
  EXPECT_TRUE(enter.isAccepted());
  rest();
  keepPicture("annotate-drop");
  QDropEvent drop(where, Qt::CopyAction, &files, Qt::LeftButton, {});
  QCoreApplication::sendEvent(opened->canvas, &drop);
  rest();
  ASSERT_EQ(editor().state().layers->size(), 2U);
  EXPECT_EQ(editor().state().layers->back().name, "map");
  const Box frame = editor().state().layers->back().frame;
  EXPECT_NEAR(at(frame.x + 30, frame.y + 20).x(), where.x(), 1);
  EXPECT_NEAR(at(frame.x + 30, frame.y + 20).y(), where.y(), 1);
  QMimeData words;
  words.setText(QStringLiteral("weir"));
  QDragEnterEvent other(QPoint(50, 50), Qt::CopyAction, &words, Qt::LeftButton, {});
  QCoreApplication::sendEvent(opened->canvas, &other);
  EXPECT_FALSE(other.isAccepted());
}

TEST_F(AnnotateWindowTest, ATallPictureBeginsAtItsTopAndIsSeenWhole) {
  const auto opened = open({400, 40'000});
  EXPECT_EQ(opened->canvas->zoom(), 1);
  EXPECT_NEAR(at(0, 0).y(), 32, 1);
  EXPECT_NEAR(at(200, 0).x(), opened->canvas->width() / 2.0, 1) << "in the middle";
  type(QStringLiteral("r"));
  drag(at(100, 100), at(200, 160));
  EXPECT_NEAR(last().y1, 100, 1);
  // Far beyond what the toolkit's coordinates reach.
  for (int i = 0; i < 700; ++i) {
    QWheelEvent wheel(QPointF(200, 200), {}, {}, QPoint(0, -120), {}, {}, Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(opened->canvas, &wheel);
  }
  const double bottom = at(0, 40'000).y();
  ASSERT_LT(bottom, opened->canvas->height());
  settle();
  const QImage shown = opened->canvas->grab().toImage();
  for (int y = 1; y <= 40; ++y) {
    const QPoint pixel(at(7, 0).toPoint().x(), qRound(bottom) - y);
    EXPECT_EQ(shown.pixel(pixel) & 0xffffff, testPixel(1, 7, 40'000 - y) & 0xffffff) << y;
  }
  opened->canvas->fit();
  EXPECT_LT(opened->canvas->zoom(), 0.05);
}

TEST_F(AnnotateWindowTest, ARefusedExportNamesTheLayerAndHidesItOnRequest) {
  const auto opened = open();
  ASSERT_TRUE(editor().addLayers({{.path = "/pictures/gone.png", .pixels = {60, 40}}}));
  rest();
  button("Copy")->click();
  rest();
  ASSERT_TRUE(opened->run.model->refusal());
  EXPECT_TRUE(opened->run.clipboard.content.empty());
  keepPicture("annotate-refusal");
  key(Qt::Key_Escape);
  EXPECT_EQ(editor().selectedLayer(), nullptr) << "first the innermost";
  key(Qt::Key_Escape);
  EXPECT_FALSE(opened->run.model->refusal());
  button("Copy")->click();
  rest();
  for (auto* const one : opened->window->findChildren<QPushButton*>()) {
    if (one->isVisible() && one->text() == "Hide") one->click();
  }
  rest();
  EXPECT_FALSE(editor().state().layers->back().visible);
  button("Copy")->click();
  rest();
  EXPECT_FALSE(opened->run.clipboard.content.empty());
}

/// Over the picture of 640 x 400.
std::vector<SmartRedact::Proposal> usualFinds() {
  using enum SensitiveMatchKind;
  return {{email, {60, 40, 160, 20}, 1, "jane.doe@example.org"},
          {email, {60, 80, 150, 20}, 2, "joe@example.org"},
          {phone, {300, 40, 120, 20}, 3, "+1 202 555 0143"},
          {apiKey, {60, 200, 400, 20}, 4, "sk-live-0123456789abcdef0123456789abcdef"},
          {apiKey, {60, 224, 90, 20}, 4, "sk-live-0123456789abcdef0123456789abcdef"},
          {face, {500, 250, 80, 80}, 5, ""}};
}

TEST_F(AnnotateWindowTest, WhatSmartRedactFindsIsChosenShownAndCovered) {
  const auto opened = open();
  const auto isRead = [&](const QString& text) {
    for (auto* const label : opened->window->findChildren<QLabel*>()) {
      if (label->isVisible() && label->text() == text) return true;
    }
    return false;
  };
  key(Qt::Key_R, Qt::ControlModifier);
  settle(std::chrono::milliseconds(250));
  EXPECT_TRUE(isRead("Scanning for sensitive text"));
  EXPECT_TRUE(button("Smart Redact")->isChecked());
  keepPicture("smart-redact-scanning");
  ASSERT_EQ(opened->run.scans.asked.size(), 1U);
  opened->run.scans.answer(0, usualFinds(), VisualDetectors::people);
  rest();
  settle();
  EXPECT_FALSE(isRead("Scanning for sensitive text"));
  EXPECT_TRUE(isRead(
      "People couldn't be looked for: the package opencv-data or OpenCV itself is missing."));
  ASSERT_EQ(button("Redact 5")->isEnabled(), true);
  auto* const mails = button("E-mail addresses");
  EXPECT_EQ(mails->accessibleDescription(), "2");

  // The line under the pointer shows where its finds are.
  const auto pixelAt = [&](double x, double y) {
    return opened->canvas->grab().toImage().pixel(at(x, y).toPoint());
  };
  const QRgb plain = pixelAt(58.5, 50);
  movePointer(mails->mapToGlobal(QPoint(40, mails->height() / 2)));
  settle();
  EXPECT_NE(pixelAt(58.5, 50), plain);
  EXPECT_NE(pixelAt(58.5, 90), plain) << "both";
  keepPicture("smart-redact-found");
  movePointer(opened->canvas->mapToGlobal(QPoint(5, 5)));
  settle();
  EXPECT_EQ(pixelAt(58.5, 50), plain);

  // By keyboard alone: a kind's finds are unfolded, one is left out.
  mails->setFocus(Qt::TabFocusReason);
  strike(XK_Right);
  settle();
  auto* const joe = button("joe@example.org");
  joe->setFocus(Qt::TabFocusReason);
  strike(XK_space);
  rest();
  settle();
  EXPECT_FALSE(joe->isChecked());
  EXPECT_TRUE(joe->hasFocus());
  QAccessible::State state = QAccessible::queryAccessibleInterface(mails)->state();
  EXPECT_TRUE(state.checkStateMixed);
  keepPicture("smart-redact-chosen");
  // Tools and their styles have the same names.
  const auto inSection = [&](const QString& name) {
    QAbstractButton* found = nullptr;
    for (auto* const one : opened->window->findChildren<QAbstractButton*>()) {
      if (one->isVisible() && (one->accessibleName() == name || one->text() == name)) found = one;
    }
    return found;
  };
  inSection("Pixelate")->click();
  button("Redact 4")->click();
  rest();
  settle();
  EXPECT_EQ(editor().state().shapes->size(), 5U);
  EXPECT_EQ(last().redactStyle, RedactStyle::pixelate);
  EXPECT_EQ(opened->run.model->notice()->text, "Redacted 4 items");
  EXPECT_FALSE(inSection("Redact")->isEnabled());
  keepPicture("smart-redact-done");

  // What is left is asked about; who wants to look is shown it.
  button("Close Smart Redact")->click();
  key(Qt::Key_F9);
  rest();
  EXPECT_FALSE(joe->isVisible());
  button("Copy")->click();
  rest();
  EXPECT_TRUE(opened->run.alerts.press("Review"));
  rest();
  settle();
  EXPECT_TRUE(joe->isVisible());
  EXPECT_TRUE(opened->run.clipboard.content.empty());
  mails->click();
  rest();
  settle();
  button("Redact 1")->click();
  rest();
  settle();
  EXPECT_TRUE(isRead("All that was found is covered."));
  key(Qt::Key_Z, Qt::ControlModifier);
  rest();
  settle();
  EXPECT_TRUE(button("E-mail addresses")->isVisible()) << "uncovered, it is offered again";
}

TEST_F(AnnotateWindowTest, SmartRedactOpensTheDrawerOfANarrowWindow) {
  const QFont usual = qApp->font();
  QFont large = usual;
  large.setPointSizeF(usual.pointSizeF() * 1.25);
  qApp->setFont(large);
  {
    const auto opened = open();
    opened->window->resize(720, 480);
    rest();
    button("Smart Redact")->click();
    rest();
    opened->run.scans.answer(0, usualFinds());
    rest();
    const QRect inside(opened->window->mapToGlobal(QPoint()), opened->window->size());
    const auto* const redact = button("Redact 5");
    EXPECT_TRUE(waitFor([&] {  // the drawer slides in
      return inside.contains(QRect(redact->mapToGlobal(QPoint()), redact->size()));
    }));
    keepPicture("smart-redact-narrow");
    key(Qt::Key_R, Qt::ControlModifier);
    rest();
    EXPECT_FALSE(opened->run.model->smartRedact()->isOpen());
    EXPECT_FALSE(button("Smart Redact")->isChecked());
  }
  qApp->setFont(usual);
}

TEST_F(AnnotateWindowTest, TheLeastWindowHoldsLargeWordsAndIsMirrored) {
  const QFont usual = qApp->font();
  QFont large = usual;
  large.setPointSizeF(usual.pointSizeF() * 2);
  for (const bool isMirrored : {false, true}) {
    qApp->setFont(isMirrored ? usual : large);
    qApp->setLayoutDirection(isMirrored ? Qt::RightToLeft : Qt::LeftToRight);
    const auto opened = open();
    opened->window->resize(720, 480);
    rest();
    EXPECT_EQ(opened->window->size(), QSize(720, 480)) << "nothing asks for more";
    key(Qt::Key_F9);
    ASSERT_TRUE(waitFor([&] { return !opened->window->isHidden(); }));
    settle();
    keepPicture(isMirrored ? "annotate-mirrored" : "annotate-large-font");
    key(Qt::Key_F9);
    settle(std::chrono::milliseconds(300));
    const QRect inside(opened->window->mapToGlobal(QPoint()), opened->window->size());
    for (const auto* const one : opened->window->findChildren<QAbstractButton*>()) {
      if (!one->isVisible() || one->visibleRegion().isEmpty()) continue;
      const QRect area(one->mapToGlobal(QPoint()), one->size());
      EXPECT_TRUE(inside.contains(area)) << one->accessibleName().toStdString();
    }
    EXPECT_EQ(opened->canvas->isRightToLeft(), isMirrored);
    EXPECT_LT(at(0, 0).x(), at(100, 0).x()) << "pictures are never mirrored";
  }
  qApp->setFont(usual);
  qApp->setLayoutDirection(Qt::LeftToRight);
}

TEST_F(AnnotateWindowTest, ScreenReadersSeeTheShapes) {
  EditorDocument document;
  for (int i = 0; i < 12; ++i) document.shapes.push_back(mixedShape(i));
  const auto opened = open({800, 600}, document);
  QAccessibleInterface* const canvas = QAccessible::queryAccessibleInterface(opened->canvas);
  ASSERT_NE(canvas, nullptr);
  EXPECT_EQ(canvas->role(), QAccessible::Canvas);
  EXPECT_EQ(canvas->text(QAccessible::Name), "Canvas");
  ASSERT_EQ(canvas->childCount(), 12);
  std::vector<std::string> names;
  for (int i = 0; i < 12; ++i) {
    QAccessibleInterface* const shape = canvas->child(i);
    names.push_back(shape->text(QAccessible::Name).toStdString());
    EXPECT_EQ(canvas->indexOfChild(shape), i);
    EXPECT_FALSE(shape->rect().isEmpty());
  }
  EXPECT_THAT(names, testing::IsSupersetOf({"Arrow", "Text “Look here”", "Counter 9", "Emoji 👍"}));
  opened->canvas->setFocus();
  key(Qt::Key_Tab);
  ASSERT_EQ(editor().selection().size(), 1U);
  QAccessibleInterface* const focus = canvas->focusChild();
  ASSERT_NE(focus, nullptr);
  EXPECT_TRUE(focus->state().focused);
  key(Qt::Key_Delete);
  EXPECT_EQ(canvas->childCount(), 11);
  EXPECT_FALSE(focus->isValid());
  // The tools are a choice.
  for (const ToolSpec& spec : toolSpecs()) {
    auto* const tool = QAccessible::queryAccessibleInterface(
        button(QString::fromUtf8(spec.label.data(), static_cast<qsizetype>(spec.label.size()))));
    EXPECT_EQ(tool->role(), QAccessible::RadioButton) << spec.label;
    EXPECT_EQ(tool->state().checked, spec.tool == editor().tool()) << spec.label;
  }
  for (const auto* const one : opened->window->findChildren<QAbstractButton*>()) {
    if (!one->isVisible()) continue;
    EXPECT_FALSE(one->accessibleName().isEmpty() && one->text().isEmpty())
        << one->objectName().toStdString();
  }
}

/// What screen readers were told, as the toolkit passes it on.
std::vector<std::string> told;

void tell(QAccessibleEvent* event) {
  if (event->type() == QAccessible::TextInserted) {
    const auto* const letters = static_cast<QAccessibleTextInsertEvent*>(event);
    told.push_back("+" + letters->textInserted().toStdString() + "@" +
                   std::to_string(letters->changePosition()));
  } else if (event->type() == QAccessible::TextRemoved) {
    const auto* const letters = static_cast<QAccessibleTextRemoveEvent*>(event);
    told.push_back("-" + letters->textRemoved().toStdString() + "@" +
                   std::to_string(letters->changePosition()));
  } else if (event->type() == QAccessible::TextCaretMoved) {
    told.push_back(
        "|" + std::to_string(static_cast<QAccessibleTextCursorEvent*>(event)->cursorPosition()));
  } else if (event->type() == QAccessible::TextSelectionChanged) {
    told.emplace_back("selection");
  } else if (event->type() == QAccessible::Focus && event->accessibleInterface() != nullptr) {
    told.push_back(event->accessibleInterface()->role() == QAccessible::EditableText ? "text"
                                                                                     : "focus");
  }
}

TEST_F(AnnotateWindowTest, ScreenReadersFollowWhatIsTyped) {
  const auto opened = open();
  QAccessibleInterface* const canvas = QAccessible::queryAccessibleInterface(opened->canvas);
  // With no reader on the bus, nobody is told by itself.
  const auto rest = [&] {
    AnnotateWindowTest::rest();
    announceTyping(*opened->canvas, tell);
  };
  type(QStringLiteral("t"));
  told.clear();
  click(at(100, 100));
  rest();
  type(QStringLiteral("w"));
  rest();
  compose({}, QStringLiteral("é👍"));
  rest();
  EXPECT_THAT(told, ElementsAre("text", "|0", "+w@0", "|1", "+é👍@1", "|4"));
  ASSERT_EQ(canvas->childCount(), 1);
  QAccessibleInterface* const typed = canvas->child(0);
  EXPECT_EQ(canvas->focusChild(), typed);
  EXPECT_EQ(canvas->indexOfChild(typed), 0);
  EXPECT_EQ(typed->role(), QAccessible::EditableText);
  QAccessibleTextInterface* const text = typed->textInterface();
  ASSERT_NE(text, nullptr);
  EXPECT_EQ(text->text(0, -1), QStringLiteral("wé👍"));
  const QRect second = text->characterRect(1);
  EXPECT_GT(second.height(), 8);
  EXPECT_EQ(text->offsetAtPoint(second.center() - QPoint(second.width() / 3, 0)), 1);
  told.clear();
  text->setSelection(0, 1, 4);
  rest();
  EXPECT_EQ(editor().selectedText(), "é👍");
  EXPECT_EQ(text->selectionCount(), 1);
  typed->editableTextInterface()->replaceText(1, 2, QStringLiteral("eir"));
  rest();
  EXPECT_THAT(told, ElementsAre("selection", "-é@1", "+eir@1", "selection"));
  told.clear();
  key(Qt::Key_Escape);
  rest();
  EXPECT_FALSE(typed->isValid());
  EXPECT_THAT(told, testing::Contains("focus"));
  ASSERT_EQ(canvas->childCount(), 1);
  EXPECT_EQ(canvas->child(0)->text(QAccessible::Name), QStringLiteral("Text “weir👍”"));
}

/// Hands that do anything at any moment: nothing may break, and what is there can be saved.
TEST_F(AnnotateWindowTest, AStormOfEventsLeavesADocument) {
  EditorDocument document;
  for (int i = 0; i < 24; ++i) document.shapes.push_back(mixedShape(i));
  const auto opened = open({800, 600}, document);
  std::mt19937 random(20261123);
  const auto any = [&](int below) {
    return static_cast<int>(random() % static_cast<unsigned>(below));
  };
  const std::vector<Qt::KeyboardModifiers> modifiers{{},
                                                     {},
                                                     Qt::ShiftModifier,
                                                     Qt::ControlModifier,
                                                     Qt::AltModifier,
                                                     Qt::ControlModifier | Qt::ShiftModifier};
  const std::vector<int> keys{Qt::Key_Escape, Qt::Key_Return, Qt::Key_Delete, Qt::Key_Backspace,
                              Qt::Key_Left,   Qt::Key_Up,     Qt::Key_Tab,    Qt::Key_Home,
                              Qt::Key_Z,      Qt::Key_A,      Qt::Key_D,      Qt::Key_C,
                              Qt::Key_X,      Qt::Key_V,      Qt::Key_F9,     Qt::Key_0,
                              Qt::Key_1,      Qt::Key_Plus,   Qt::Key_Minus,  Qt::Key_Space};
  const QString letters = QStringLiteral("vcpharogtblnmis[]59");
  for (int step = 0; step < 1500; ++step) {
    const QPointF where(any(now->canvas->width() + 60) - 30, any(now->canvas->height() + 60) - 30);
    const auto held = modifiers[static_cast<std::size_t>(any(6))];
    switch (any(12)) {
      case 0:
      case 1: mouse(QEvent::MouseButtonPress, where, Qt::LeftButton, held); break;
      case 2: mouse(QEvent::MouseButtonDblClick, where, Qt::LeftButton, held); break;
      case 3: mouse(QEvent::MouseButtonPress, where, Qt::MiddleButton, held); break;
      case 4: mouse(QEvent::MouseButtonRelease, where, Qt::LeftButton, held); break;
      case 5: mouse(QEvent::MouseButtonRelease, where, Qt::MiddleButton, held); break;
      case 6:
      case 7: mouse(QEvent::MouseMove, where, Qt::LeftButton, held); break;
      case 8: key(keys[static_cast<std::size_t>(any(int(keys.size())))], held); break;
      case 9: {
        const QChar letter = letters[any(int(letters.size()))];
        key(letter.toUpper().unicode(), {}, letter);
        break;
      }
      case 10:
        compose(any(2) == 0 ? QStringLiteral("ni") : QString(),
                any(3) == 0 ? QStringLiteral("你") : QString());
        break;
      default: {
        QWheelEvent wheel(
            where, now->canvas->mapToGlobal(where), {}, QPoint(any(3) * 60, any(5) * 60 - 120),
            buttons, any(2) == 0 ? Qt::ControlModifier : Qt::NoModifier, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(now->canvas, &wheel);
        break;
      }
    }
    now->canvas->setFocus();
    if (step % 50 == 0) settle(std::chrono::milliseconds(1));
  }
  mouse(QEvent::MouseButtonRelease, {}, Qt::LeftButton);
  rest();
  key(Qt::Key_S, Qt::ControlModifier);
  rest();
  ASSERT_FALSE(opened->run.capture->stored.empty());
  const std::string stored = json::toText(opened->run.capture->stored.back());
  EXPECT_EQ(stored, json::toText(editor().document()));
}

}  // namespace
}  // namespace vantorel
