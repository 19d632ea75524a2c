#include "ui/annotate/annotate_window.hpp"

#include <QApplication>
#include <QCloseEvent>
#include <QFileDialog>
#include <QKeyEvent>
#include <QMenu>
#include <QPainter>
#include <QPointer>
#include <QScreen>
#include <QShortcut>
#include <QStyle>
#include <QToolButton>
#include <algorithm>
#include <cmath>
#include <utility>

#include "base/linux_keys.hpp"
#include "ui/annotate/annotate_bar.hpp"
#include "ui/annotate/annotate_blank.hpp"
#include "ui/annotate/annotate_canvas.hpp"
#include "ui/annotate/annotate_footer.hpp"
#include "ui/annotate/annotate_inspector.hpp"
#include "ui/annotate/close_question.hpp"
#include "ui/annotate/crop_capsule.hpp"
#include "ui/annotate/emoji_picker.hpp"
#include "ui/annotate/inspector_focus.hpp"
#include "ui/annotate/polygon_picker.hpp"
#include "ui/annotate/shown_name.hpp"
#include "ui/annotate/tool_rail.hpp"
#include "ui/kit/icons.hpp"
#include "ui/kit/message_band.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/panes.hpp"
#include "ui/kit/picture_save_dialog.hpp"

namespace vantorel {
namespace {

constexpr QSize leastWindow{720, 480};
constexpr QSize unknownPicture{960, 600};
/// With the line beside it.
int inspectorWidth() { return AnnotateInspector::wantedWidth() + 1; }
constexpr int inspectorDrawerBelow = 900;

/// The inspector on its own ground: as a drawer it lies over the canvas.
class InspectorPane : public QWidget {
 public:
  explicit InspectorPane(QWidget* parent) : QWidget(parent) {}

  void hold(QWidget* inspector) { inspector_ = inspector; }

 protected:
  void paintEvent(QPaintEvent*) override {
    const PaletteRoles roles = rolesOf(palette());
    QPainter painter(this);
    painter.fillRect(rect(), roles.window);
    painter.fillRect(isMirrored() ? width() - 1 : 0, 0, 1, height(), roles.line);
  }
  void resizeEvent(QResizeEvent*) override {
    inspector_->setGeometry(isMirrored() ? 0 : 1, 0, width() - 1, height());
  }

 private:
  [[nodiscard]] bool isMirrored() const { return layoutDirection() == Qt::RightToLeft; }

  QWidget* inspector_ = nullptr;
};

QString asWords(const std::string& text) { return QString::fromStdString(text); }

/// With the mark that desktops give to what is not saved.
QString titleFor(const AnnotateModel& model) {
  QString name = shownName(model.title(), QStringLiteral("Capture"));
  return QStringLiteral("%1[*] — Annotate").arg(name.replace("[*]", "[*][*]"));
}

/// With the picture pixel by pixel.
WindowFrame::Measures measuresFor(const AnnotateModel& model) {
  const PixelSize picture = model.pictureSize();
  QSize size = unknownPicture;
  if (picture.width > 0 && picture.height > 0) {
    const QScreen* const screen = QGuiApplication::primaryScreen();
    const double ratio = screen != nullptr ? screen->devicePixelRatio() : 1;
    size = QSize(static_cast<int>(std::ceil(picture.width / ratio)),
                 static_cast<int>(std::ceil(picture.height / ratio)));
  }
  size += QSize(2 * tokens::space32, 2 * tokens::space32);
  const int barsHeight = AnnotateBar::usualHeight() + AnnotateFooter::usualHeight();
  const int rail = ToolRail::widthFor(std::max(size.height(), leastWindow.height() - barsHeight));
  return {.usual = size + QSize(rail + inspectorWidth(), barsHeight),
          .least = leastWindow,
          .sizesItself = true};
}

}  // namespace

AnnotateWindow::AnnotateWindow(std::shared_ptr<AnnotateModel> model, std::function<void()> onClosed)
    : WindowFrame("annotate", titleFor(*model), measuresFor(*model), std::move(onClosed)),
      model_(std::move(model)),
      content_(new QWidget),
      bar_(new AnnotateBar(model_, content_)),
      rail_(new ToolRail(content_)),
      canvas_(new AnnotateCanvas(model_, content_)),
      blank_(new AnnotateBlank(content_)),
      band_(new MessageBand(content_)),
      footer_(new AnnotateFooter(content_)),
      pane_(new InspectorPane(content_)),
      inspector_(new AnnotateInspector(model_, pane_)),
      capsule_(new CropCapsule(model_, canvas_)) {
  static_cast<InspectorPane*>(pane_)->hold(inspector_);
  new InspectorFocus(*pane_, *canvas_);
  content_->installEventFilter(this);
  setContent(content_);
  band_->hide();
  band_->setClosing(QStringLiteral("Close"), QStringLiteral("Esc"));
  band_->onClosed = [this] {
    bandText_.clear();
    arrange();
    model_->dismissRefusal();
    model_->clearNotice();
  };
  rail_->onPicked = [this](Tool tool) { pick(tool); };
  bar_->onUndo = [this] { undo(); };
  bar_->onRedo = [this] { redo(); };
  bar_->onSmartRedact = [this] { toggleSmartRedact(); };
  inspector_->onFindsPointed = [this](const std::vector<Box>& boxes) { canvas_->outline(boxes); };
  bar_->onCopy = [this] { model_->copy(); };
  bar_->onSaveAs = [this](ExportFormat format) { askWhereToSave(format); };
  bar_->onDone = [this] { finish(); };
  bar_->onInspector = [this] { toggleInspector(); };
  canvas_->onViewChanged = [this] { footer_->showZoom(canvas_->zoom(), canvas_->isFit()); };
  canvas_->onHint = [this] { showHint(); };
  canvas_->onCropMoved = [this](const QRect& frame, const QRect& whole) {
    capsule_->setFrame(frame, whole);
  };
  canvas_->onToolKey = [this](Tool tool) { offerForms(tool); };
  canvas_->onMenu = [this](const QPoint& at) { showMenu(at); };
  canvas_->onDropped = [this](const std::vector<Path>& files, Pt at) {
    model_->addLayers(files, at);
  };
  blank_->onRemove = [this] { model_->removeFromHistory(); };
  footer_->onZoomIn = [this] { canvas_->zoomIn(); };
  footer_->onZoomOut = [this] { canvas_->zoomOut(); };
  footer_->onFit = [this] { canvas_->fit(); };
  footer_->onZoom = [this](double zoom) { canvas_->setZoom(zoom); };
  addKeys();
  observation_ =
      model_->observe([this](const AnnotateModel::Change& change) { modelChanged(change); });
  modelChanged({.stage = true, .document = true, .saving = true, .notice = true});
  canvas_->setFocus();
}

AnnotateWindow::~AnnotateWindow() = default;

void AnnotateWindow::addKeys() {
  const auto key = [this](const QKeySequence& keys, auto run) {
    auto* const shortcut = new QShortcut(keys, this);
    connect(shortcut, &QShortcut::activated, this, run);
  };
  // Of the document, which has to be there.
  const auto command = [&](const QKeySequence& keys, auto run) {
    key(keys, [this, run = std::move(run)] {
      if (isReady()) run();
    });
  };
  command(Qt::CTRL | Qt::Key_Z, [this] { undo(); });
  command(Qt::CTRL | Qt::SHIFT | Qt::Key_Z, [this] { redo(); });
  command(Qt::CTRL | Qt::Key_S, [this] { model_->save(); });
  command(Qt::CTRL | Qt::SHIFT | Qt::Key_S,
          [this] { askWhereToSave(model_->formats().front().format); });
  command(Qt::CTRL | Qt::Key_Return, [this] { finish(); });
  command(Qt::CTRL | Qt::Key_Enter, [this] { finish(); });
  command(Qt::CTRL | Qt::Key_C, [this] { model_->copySelection(); });
  command(Qt::CTRL | Qt::Key_X, [this] { model_->cutSelection(); });
  command(Qt::CTRL | Qt::Key_V, [this] { paste(); });
  command(Qt::CTRL | Qt::SHIFT | Qt::Key_C, [this] { model_->copy(); });
  command(Qt::CTRL | Qt::Key_A, [this] {
    EditorModel& editor = model_->editor();
    editor.isTyping() ? editor.selectAllText() : editor.selectAll();
  });
  command(Qt::CTRL | Qt::Key_D, [this] {
    if (!canvas_->isInGesture()) model_->editor().duplicate();
  });
  command(Qt::CTRL | Qt::Key_R, [this] { toggleSmartRedact(); });
  key(Qt::CTRL | Qt::Key_0, [this] { canvas_->fit(); });
  key(Qt::CTRL | Qt::Key_1, [this] { canvas_->setZoom(1); });
  for (const Qt::Key plus : {Qt::Key_Plus, Qt::Key_Equal}) {
    key(Qt::CTRL | plus, [this] { canvas_->zoomIn(); });
  }
  key(Qt::CTRL | Qt::Key_Minus, [this] { canvas_->zoomOut(); });
  key(Qt::Key_F9, [this] { toggleInspector(); });
  key(Qt::Key_F6, [this] { nextPane(false); });
  key(Qt::SHIFT | Qt::Key_F6, [this] { nextPane(true); });
}

void AnnotateWindow::undo() {
  if (!isReady()) return;
  model_->clearNotice();  // it may say what is undone
  model_->editor().undo();
}

void AnnotateWindow::redo() {
  if (!isReady()) return;
  model_->clearNotice();
  model_->editor().redo();
}

void AnnotateWindow::pick(Tool tool) {
  if (!isReady() || canvas_->isInGesture()) return;
  model_->editor().pickTool(tool);
  offerForms(tool);
}

/// Those that have forms to choose from show them beside their button.
void AnnotateWindow::offerForms(Tool tool) {
  if (canvas_->isInGesture()) return;
  if (tool == Tool::emoji) EmojiPicker::open(model_->editor(), rail_->buttonOf(tool), rail_);
  if (tool == Tool::polygon) PolygonPicker::open(model_->editor(), rail_->buttonOf(tool), rail_);
}

/// To where the user looks.
void AnnotateWindow::paste() {
  model_->pasteFromClipboard(
      canvas_->isFit() ? std::nullopt : std::optional(canvas_->canvasAt(canvas_->rect().center())));
}

void AnnotateWindow::modelChanged(const AnnotateModel::Change& change) {
  if (change.stage) showStage();
  if (change.stage || change.document) {
    canvas_->refresh();
    if (isReady()) rail_->show(model_->editor().tool());
  }
  bar_->refresh(change);
  if (change.redaction || change.stage) showSmartRedact();
  if (change.saving && question_ != nullptr) {
    QMetaObject::invokeMethod(this, [this] { endQuestion(); }, Qt::QueuedConnection);
  }
  if (change.saving || change.document) setWindowModified(model_->hasUnsavedChanges());
  if (change.notice) showSaid();
  if (change.notice || change.document || change.stage) showHint();
}

void AnnotateWindow::showStage() {
  setWindowTitle(titleFor(*model_));
  setAccessibleName(QStringLiteral("%1 — Annotate").arg(asWords(model_->title())));
  const bool hasFailed = model_->stage() == AnnotateModel::Stage::failed;
  if (hasFailed) blank_->show(asWords(model_->failure()), model_->offersRemove());
  blank_->setVisible(hasFailed);
  rail_->setEnabled(isReady());
  footer_->setZoomEnabled(!hasFailed);
  inspector_->setEnabled(isReady());
}

/// Failures and refusals stand above the canvas, which shows all of a picture that fits meanwhile;
/// the rest is said in the line below.
void AnnotateWindow::showSaid() {
  QString text;
  QString action;
  std::function<void()> run;
  if (const auto& refusal = model_->refusal()) {
    text = asWords(refusal->sentence);
    if (refusal->layerID) {
      action = QStringLiteral("Hide");
      run = [this] { model_->hideBlockingLayer(); };
    }
  } else if (const auto& notice = model_->notice(); notice && notice->isWarning) {
    text = asWords(notice->text);
  }
  if (text == bandText_) return;
  bandText_ = text;
  if (text.isEmpty()) {
    band_->hide();
  } else {
    band_->show(text, action, std::move(run));
  }
  arrange();
}

void AnnotateWindow::showHint() {
  const auto& notice = model_->notice();
  const QString said = notice && !notice->isWarning ? asWords(notice->text) : QString();
  footer_->showHint(isReady() ? asWords(withLinuxKeys(model_->input().hint())) : QString(), said);
}

// How it is laid out.

bool AnnotateWindow::isNarrow() const { return content_->width() < inspectorDrawerBelow; }

void AnnotateWindow::arrange() {
  const int width = content_->width();
  const int top = bar_->sizeHint().height();
  const int bottom = footer_->sizeHint().height();
  const int height = std::max(0, content_->height() - top - bottom);
  const auto placed = [this](const QRect& area) {
    return QStyle::visualRect(layoutDirection(), content_->rect(), area);
  };
  rail_->setRoom(height);
  const int left = rail_->sizeHint().width();
  const bool isShown = isNarrow() ? isDrawerOpen_ || !drawer_.isAway() : isInspectorWanted_;
  const int beside = isShown && !isNarrow() ? inspectorWidth() : 0;
  bar_->setGeometry(0, 0, width, top);
  rail_->setGeometry(placed({0, top, left, height}));
  const int room = std::max(0, width - left - beside);
  const int said = band_->isHidden() ? 0 : bandHeight(room);
  band_->setGeometry(placed({left, top, room, said}));
  const QRect picture = placed({left, top + said, room, std::max(0, height - said)});
  canvas_->setGeometry(picture);
  blank_->setGeometry(picture);
  footer_->setGeometry(0, top + height, width, bottom);
  pane_->setVisible(isShown);
  const int shown = isNarrow() ? static_cast<int>(std::lround(inspectorWidth() * drawer_.part()))
                               : inspectorWidth();
  pane_->setGeometry(placed({width - shown, top, inspectorWidth(), height}));
  if (isShown && isNarrow()) pane_->raise();
  bar_->setInspectorShown(isNarrow() ? isDrawerOpen_ : isInspectorWanted_);
}

int AnnotateWindow::bandHeight(int width) const {
  return band_->hasHeightForWidth() ? band_->heightForWidth(width) : band_->sizeHint().height();
}

bool AnnotateWindow::eventFilter(QObject* object, QEvent* event) {
  if (object == content_ && event->type() == QEvent::Resize) arrange();
  return WindowFrame::eventFilter(object, event);
}

void AnnotateWindow::toggleInspector() {
  if (isNarrow()) return setDrawer(!isDrawerOpen_);
  isInspectorWanted_ = !isInspectorWanted_;
  arrange();
}

bool AnnotateWindow::isInspectorSeen() const {
  return isNarrow() ? isDrawerOpen_ : isInspectorWanted_;
}

/// What is listed where nobody sees it is brought to be seen.
void AnnotateWindow::toggleSmartRedact() {
  SmartRedactSession* const session = isReady() ? model_->smartRedact() : nullptr;
  if (session == nullptr) return bar_->setSmartRedactShown(false);
  const bool closes = session->isOpen() && isInspectorSeen();
  if (closes) {
    session->close();
  } else {
    session->open();
    isRedacting_ = false;
  }
  showSmartRedact();
}

void AnnotateWindow::showSmartRedact() {
  const SmartRedactSession* const session = isReady() ? model_->smartRedact() : nullptr;
  const bool isOpen = session != nullptr && session->isOpen();
  bar_->setSmartRedactShown(isOpen);
  if (std::exchange(isRedacting_, isOpen) || !isOpen) return;
  if (!isInspectorSeen()) toggleInspector();
  inspector_->revealSmartRedact();
}

void AnnotateWindow::setDrawer(bool isOpen) {
  isDrawerOpen_ = isOpen;
  arrange();
  if (isOpen) {
    drawer_.enter();
  } else {
    drawer_.leave();
  }
}

// Keys that no part has used.

void AnnotateWindow::keyPressEvent(QKeyEvent* event) {
  // Tools, widths, swatches and Del mean the same wherever the keyboard is, but in fields, which
  // have used them.
  const bool isPlain = !(event->modifiers() & ~(Qt::ShiftModifier | Qt::KeypadModifier));
  const bool isDelete = event->key() == Qt::Key_Delete || event->key() == Qt::Key_Backspace;
  const bool isSign =
      !event->text().isEmpty() && event->text().front().isPrint() && event->key() != Qt::Key_Space;
  if (isPlain && (isDelete || isSign) && focusWidget() != canvas_ && canvas_->take(*event)) return;
  WindowFrame::keyPressEvent(event);
}

void AnnotateWindow::leave() {
  if (!bandText_.isEmpty()) {
    bandText_.clear();
    band_->hide();
    arrange();
    model_->dismissRefusal();
    return model_->clearNotice();
  }
  if (isNarrow() && isDrawerOpen_) return setDrawer(false);
  if (focusWidget() != canvas_) canvas_->setFocus(Qt::ShortcutFocusReason);
}

void AnnotateWindow::nextPane(bool isBack) {
  focusNextPane({bar_, rail_, canvas_, pane_, footer_}, canvas_, isBack);
}

// What can be done with what is under the pointer.

void AnnotateWindow::showMenu(const QPoint& at) {
  auto* const menu = new QMenu(this);
  menu->setAttribute(Qt::WA_DeleteOnClose);
  if (model_->editor().isTyping()) {
    fillTextMenu(*menu);
  } else {
    fillShapesMenu(*menu);
  }
  menu->popup(at);
}

void AnnotateWindow::fillTextMenu(QMenu& menu) {
  const bool hasSelection = !model_->editor().selectedText().empty();
  QAction* const cut =
      menu.addAction(QStringLiteral("Cut\tCtrl+X"), this, [this] { model_->cutSelection(); });
  QAction* const copy =
      menu.addAction(QStringLiteral("Copy\tCtrl+C"), this, [this] { model_->copySelection(); });
  cut->setEnabled(hasSelection);
  copy->setEnabled(hasSelection);
  menu.addAction(QStringLiteral("Paste\tCtrl+V"), this, [this] { paste(); });
  menu.addSeparator();
  menu.addAction(QStringLiteral("Select All\tCtrl+A"), this,
                 [this] { model_->editor().selectAllText(); });
}

void AnnotateWindow::fillShapesMenu(QMenu& menu) {
  const EditorModel& editor = model_->editor();
  const bool hasShapes = !editor.selection().empty();
  const bool hasLayer = editor.selectedLayer() != nullptr;
  const auto add = [&](const QString& label, bool isPossible, std::function<void()> run) {
    menu.addAction(label, this, std::move(run))->setEnabled(isPossible);
  };
  add(QStringLiteral("Cut\tCtrl+X"), hasShapes, [this] { model_->cutSelection(); });
  add(QStringLiteral("Copy\tCtrl+C"), true, [this] { model_->copySelection(); });
  add(QStringLiteral("Paste\tCtrl+V"), true, [this] { paste(); });
  add(QStringLiteral("Duplicate\tCtrl+D"), hasShapes, [this] { model_->editor().duplicate(); });
  menu.addSeparator();
  const bool hasOrder = hasShapes || hasLayer;
  add(QStringLiteral("Bring to Front"), hasOrder, [this] { model_->editor().bringToFront(); });
  add(QStringLiteral("Bring Forward"), hasOrder, [this] { model_->editor().bringForward(); });
  add(QStringLiteral("Send Backward"), hasOrder, [this] { model_->editor().sendBackward(); });
  add(QStringLiteral("Send to Back"), hasOrder, [this] { model_->editor().sendToBack(); });
  menu.addSeparator();
  if (model_->smartRedact() != nullptr) {
    QAction* const redact = menu.addAction(QStringLiteral("Smart Redact\tCtrl+R"), this,
                                           [this] { toggleSmartRedact(); });
    redact->setCheckable(true);
    redact->setChecked(model_->smartRedact()->isOpen());
    menu.addSeparator();
  }
  add(QStringLiteral("Select All\tCtrl+A"), !editor.state().shapes->empty(),
      [this] { model_->editor().selectAll(); });
  const bool isRemovable = hasShapes || (hasLayer && editor.selectedLayer()->path.has_value());
  add(QStringLiteral("Delete\tDel"), isRemovable, [this] { model_->editor().deleteSelection(); });
}

// Saving and closing.

void AnnotateWindow::askWhereToSave(ExportFormat format) {
  if (!isReady()) return;
  QFileDialog* const dialog = makePictureSaveDialog(
      this, asWords(model_->suggestedFileName(format)),
      [model = model_, format](const Path& file) { model->saveAs(file, format); });
  dialog->open();
}

void AnnotateWindow::finish() {
  if (!isReady() || model_->isSaving()) return;
  model_->done([self = QPointer<AnnotateWindow>(this)] {
    if (self != nullptr) self->closeNow();
  });
}

void AnnotateWindow::closeNow() {
  mayClose_ = true;
  close();
}

bool AnnotateWindow::mayClose() {
  if (mayClose_ || !isReady() || !model_->hasUnsavedChanges()) return true;
  if (question_ != nullptr) {
    bringForward();
    return false;
  }
  question_ = askBeforeClosing(this, asWords(model_->unsavedChanges()), [this](CloseAnswer answer) {
    question_ = nullptr;
    switch (answer) {
      case CloseAnswer::cancel: return answerClose(false);
      case CloseAnswer::discard: model_->discard(); return closeNow();
      case CloseAnswer::save:
        model_->save([self = QPointer<AnnotateWindow>(this)](bool isSaved) {
          if (self == nullptr) return;
          isSaved ? self->closeNow() : self->answerClose(false);
        });
    }
  });
  return false;
}

void AnnotateWindow::closeEvent(QCloseEvent* event) {
  WindowFrame::closeEvent(event);
  if (event->isAccepted()) answerClose(true);
}

void AnnotateWindow::answerClose(bool closed) {
  for (const auto& done : std::exchange(waitingForClose_, {})) done(closed);
}

/// What waits for an answer gets the keyboard.
void AnnotateWindow::bringForward() {
  WindowFrame::bringForward();
  if (question_ == nullptr) return;
  question_->raise();
  question_->activateWindow();
}

/// What was asked about has been saved meanwhile.
void AnnotateWindow::endQuestion() {
  if (question_ == nullptr || model_->isSaving() || model_->hasUnsavedChanges()) return;
  QDialog* const over = std::exchange(question_, nullptr);
  over->hide();
  over->deleteLater();
  closeNow();
}

void AnnotateWindow::requestClose(std::function<void(bool closed)> done) {
  waitingForClose_.push_back(std::move(done));
  if (isReady() && model_->hasUnsavedChanges()) bringForward();
  close();
}

}  // namespace vantorel
