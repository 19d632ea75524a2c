#include "ui/annotate/annotate_bar.hpp"

#include <QApplication>
#include <QDrag>
#include <QFile>
#include <QHBoxLayout>
#include <QMenu>
#include <QMimeData>
#include <QMouseEvent>
#include <QPainter>
#include <QPointer>
#include <QPushButton>
#include <QToolButton>
#include <QUrl>
#include <algorithm>
#include <utility>

#include "ui/annotate/bar_button.hpp"
#include "ui/kit/accessible_role.hpp"
#include "ui/kit/busy_ring.hpp"
#include "ui/kit/control_painting.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/shared_image.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr int annotateBarHeight = 48;
constexpr QSize dragPicture{160, 120};  // px, at most

/// A thin line between groups.
class BarSeparator : public QWidget {
 public:
  BarSeparator() { setFixedSize(9, 20); }

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter(this).fillRect(width() / 2, 0, 1, height(), rolesOf(palette()).fieldBorder);
  }
};

/// A framed button with words and an angle: a menu follows.
class MenuButton : public QToolButton {
 public:
  explicit MenuButton(const QString& text) {
    setText(text);
    setToolButtonStyle(Qt::ToolButtonTextOnly);
    setFocusPolicy(Qt::TabFocus);
  }
  [[nodiscard]] QSize sizeHint() const override {
    return {fontMetrics().horizontalAdvance(text()) + tokens::space12 + angleRoom,
            tokens::controlHeight(tokens::smallControl, font())};
  }
  [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    QStyleOptionToolButton option;
    initStyleOption(&option);
    paintButton(painter, option, false, this);
    const PaletteRoles roles = rolesOf(palette());
    const bool isMirrored = layoutDirection() == Qt::RightToLeft;
    beginPart(painter, option);
    painter.setPen(roles.text);
    painter.setFont(font());
    painter.drawText(rect().adjusted(isMirrored ? angleRoom : tokens::space12, 0,
                                     isMirrored ? -tokens::space12 : -angleRoom, 0),
                     Qt::AlignVCenter | Qt::AlignLeading, text());
    paintChevron(painter, QPointF(isMirrored ? 15 : width() - 15, height() / 2.0), roles.quiet,
                 false);
    painter.restore();
  }

 private:
  static constexpr int angleRoom = 30;
};

/// A flat button with a symbol and a word.
class WordButton : public QToolButton {
 public:
  WordButton(IconName symbol, const QString& text) : symbol_(symbol) {
    setText(text);
    setAutoRaise(true);
    setFocusPolicy(Qt::TabFocus);
  }
  [[nodiscard]] QSize sizeHint() const override {
    return {2 * tokens::space12 + rowIconSize + tokens::space8 +
                fontMetrics().horizontalAdvance(text()),
            tokens::controlHeight(tokens::smallControl, font())};
  }
  [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    QStyleOptionToolButton option;
    initStyleOption(&option);
    QStyleOptionToolButton panel = option;
    panel.text.clear();
    style()->drawComplexControl(QStyle::CC_ToolButton, &panel, &painter, this);
    const PaletteRoles roles = rolesOf(palette());
    const QRect inside = rect().adjusted(tokens::space12, 0, -tokens::space12, 0);
    const QRect symbol = QStyle::alignedRect(layoutDirection(), Qt::AlignLeading | Qt::AlignVCenter,
                                             QSize(rowIconSize, rowIconSize), inside);
    const bool isMirrored = layoutDirection() == Qt::RightToLeft;
    constexpr int before = rowIconSize + tokens::space8;
    beginPart(painter, option);
    painter.drawPixmap(symbol.topLeft(),
                       iconPixmap(symbol_, symbol.size(), devicePixelRatioF(), roles.text));
    painter.setPen(roles.text);
    painter.setFont(font());
    painter.drawText(inside.adjusted(isMirrored ? 0 : before, 0, isMirrored ? -before : 0, 0),
                     Qt::AlignVCenter | Qt::AlignLeading, text());
    painter.restore();
  }

 private:
  IconName symbol_;
};

QString asQt(const std::string& text) { return QString::fromStdString(text); }

}  // namespace

AnnotateBar::AnnotateBar(std::shared_ptr<AnnotateModel> model, QWidget* parent)
    : QWidget(parent),
      model_(std::move(model)),
      undo_(makeBarButton(IconName::undo, QStringLiteral("Undo"), QStringLiteral("Ctrl+Z"))),
      redo_(makeBarButton(IconName::redo, QStringLiteral("Redo"), QStringLiteral("Ctrl+Shift+Z"))),
      beforeSmartRedact_(new BarSeparator),
      smartRedact_(makeBarButton(IconName::shield, QStringLiteral("Smart Redact"),
                                 QStringLiteral("Ctrl+R"))),
      copy_(new WordButton(IconName::copy, QStringLiteral("Copy"))),
      saveAs_(new MenuButton(QStringLiteral("Save as"))),
      done_(new QPushButton(QStringLiteral("Done"))),
      busy_(new BusyRing(done_)),
      inspector_(
          makeBarButton(IconName::inspector, QStringLiteral("Inspector"), QStringLiteral("F9"))),
      formats_(new QMenu(this)) {
  setAccessibleRole(*this, QAccessible::ToolBar);
  setAccessibleName(QStringLiteral("Document"));
  setObjectName(QStringLiteral("bar"));
  copy_->setAccessibleName(QStringLiteral("Copy"));
  copy_->setToolTip(
      QStringLiteral("Copy the picture (Ctrl+Shift+C)\nDrag it into another program"));
  copy_->installEventFilter(this);
  saveAs_->setAccessibleName(QStringLiteral("Save as"));
  saveAs_->setToolTip(QStringLiteral("Save as (Ctrl+Shift+S)"));
  done_->setDefault(true);
  done_->setToolTip(QStringLiteral("Save and close (Ctrl+Return)"));
  done_->setFocusPolicy(Qt::TabFocus);
  inspector_->setCheckable(true);
  smartRedact_->setCheckable(true);
  auto* const row = new QHBoxLayout(this);
  row->setContentsMargins(tokens::space8, 0, tokens::space12, 0);
  row->setSpacing(tokens::space4);
  row->addWidget(undo_);
  row->addWidget(redo_);
  row->addWidget(beforeSmartRedact_);
  row->addWidget(smartRedact_);
  row->addStretch(1);
  row->addWidget(copy_);
  row->addWidget(saveAs_);
  row->addWidget(done_);
  row->addWidget(new BarSeparator);
  row->addWidget(inspector_);
  for (QToolButton* const button : {undo_, redo_, smartRedact_, inspector_}) {
    button->setIconSize(QSize(barIconSize, barIconSize));
    button->setFixedSize(tokens::control, tokens::control);
  }
  const int height = tokens::controlHeight(tokens::smallControl, font());
  done_->setFixedHeight(height);
  copy_->setFixedHeight(height);
  const auto forward = [this](QAbstractButton* button, std::function<void()> AnnotateBar::* run) {
    connect(button, &QAbstractButton::clicked, this, [this, run] {
      if (this->*run) (this->*run)();
    });
  };
  forward(undo_, &AnnotateBar::onUndo);
  forward(redo_, &AnnotateBar::onRedo);
  forward(smartRedact_, &AnnotateBar::onSmartRedact);
  forward(copy_, &AnnotateBar::onCopy);
  forward(done_, &AnnotateBar::onDone);
  forward(inspector_, &AnnotateBar::onInspector);
  connect(saveAs_, &QToolButton::clicked, this, [this] { showFormats(); });
  // What has been measured meanwhile is there when it opens.
  connect(formats_, &QMenu::aboutToShow, this, [this] { fillFormats(); });
  refresh({.stage = true, .document = true, .saving = true});
}

int AnnotateBar::usualHeight() {
  return std::max(annotateBarHeight, tokens::controlHeight(tokens::smallControl) + tokens::space16);
}

void AnnotateBar::paintEvent(QPaintEvent*) {
  const PaletteRoles roles = rolesOf(palette());
  QPainter painter(this);
  painter.fillRect(rect(), roles.window);
  painter.fillRect(0, height() - 1, width(), 1, roles.line);
}

void AnnotateBar::refresh(const AnnotateModel::Change& change) {
  const bool isReady = model_->stage() == AnnotateModel::Stage::ready;
  if (change.stage) {
    copy_->setEnabled(isReady);
    saveAs_->setEnabled(isReady);
    done_->setEnabled(isReady);
    // Where nothing can be read there is nothing to be pressed; what is not known yet keeps its
    // room.
    smartRedact_->setEnabled(isReady);
    const bool isOffered = !isReady || model_->smartRedact() != nullptr;
    smartRedact_->setVisible(isOffered);
    beforeSmartRedact_->setVisible(isOffered);
  }
  if (change.stage || change.document) showHistory();
  if (change.saving) {
    busy_->setBusy(model_->isSaving());
    const QSize ring = busy_->sizeHint();
    busy_->setGeometry(tokens::space4 / 2, (done_->height() - ring.height()) / 2, ring.width(),
                       ring.height());
  }
  if (change.formats && formats_->isVisible()) fillFormats();
}

/// The steps by their names.
void AnnotateBar::showHistory() {
  const bool isReady = model_->stage() == AnnotateModel::Stage::ready;
  const QString undo = isReady ? asQt(model_->editor().undoName()) : QString();
  const QString redo = isReady ? asQt(model_->editor().redoName()) : QString();
  setBarButtonWords(*undo_, QStringLiteral("Undo %1").arg(undo).trimmed(),
                    QStringLiteral("Ctrl+Z"));
  setBarButtonWords(*redo_, QStringLiteral("Redo %1").arg(redo).trimmed(),
                    QStringLiteral("Ctrl+Shift+Z"));
  undo_->setEnabled(!undo.isEmpty());
  redo_->setEnabled(!redo.isEmpty());
}

void AnnotateBar::setInspectorShown(bool isShown) { inspector_->setChecked(isShown); }

void AnnotateBar::setSmartRedactShown(bool isShown) { smartRedact_->setChecked(isShown); }

void AnnotateBar::showFormats() {
  if (!saveAs_->isEnabled()) return;
  model_->measureFormats();
  const int left =
      layoutDirection() == Qt::RightToLeft ? saveAs_->width() - formats_->sizeHint().width() : 0;
  formats_->popup(saveAs_->mapToGlobal(QPoint(left, saveAs_->height() + 2)));
}

void AnnotateBar::fillFormats() {
  const auto choices = model_->formats();
  QList<QAction*> actions = formats_->actions();
  while (actions.size() < static_cast<qsizetype>(choices.size())) {
    actions.append(formats_->addAction(QString()));
    const auto format = choices[static_cast<std::size_t>(actions.size() - 1)].format;
    connect(actions.last(), &QAction::triggered, this, [this, format] {
      if (onSaveAs) onSaveAs(format);
    });
  }
  for (std::size_t i = 0; i < choices.size(); ++i) {
    // The size stands where other menus have keys.
    const QString size = choices[i].size.empty() ? QStringLiteral("–") : asQt(choices[i].size);
    actions[static_cast<qsizetype>(i)]->setText(asQt(choices[i].label) + "\t" + size);
  }
}

bool AnnotateBar::eventFilter(QObject* object, QEvent* event) {
  if (object != copy_) return QWidget::eventFilter(object, event);
  if (event->type() == QEvent::MouseButtonPress) {
    pressedAt_ = static_cast<QMouseEvent*>(event)->pos();
    isDragAsked_ = false;
  } else if (event->type() == QEvent::MouseMove) {
    auto* const move = static_cast<QMouseEvent*>(event);
    if (!isDragAsked_ && copy_->isEnabled() && move->buttons().testFlag(Qt::LeftButton) &&
        (move->pos() - pressedAt_).manhattanLength() >= QApplication::startDragDistance()) {
      isDragAsked_ = true;
      copy_->setDown(false);
      dragOut();
      return true;
    }
    if (isDragAsked_) return true;
  } else if (event->type() == QEvent::MouseButtonRelease && isDragAsked_) {
    // A drag is no click.
    isDragAsked_ = false;
    copy_->setDown(false);
    return true;
  }
  return QWidget::eventFilter(object, event);
}

/// The picture is made first; whoever has let go by then wanted no drag.
void AnnotateBar::dragOut() {
  model_->prepareDrag([self = QPointer<AnnotateBar>(this)](const AnnotateModel::Dragged& dragged) {
    if (self == nullptr || !self->isDragAsked_ || QApplication::mouseButtons() == Qt::NoButton) {
      return;
    }
    self->startDrag(dragged);
  });
}

void AnnotateBar::startDrag(const AnnotateModel::Dragged& dragged) {
  auto* const mime = new QMimeData;
  if (!dragged.file.empty()) {
    mime->setUrls({QUrl::fromLocalFile(QFile::decodeName(dragged.file.c_str()))});
  }
  if (!dragged.png.empty()) {
    mime->setData(QStringLiteral("image/png"), QByteArray::fromStdString(dragged.png));
  }
  auto* const drag = new QDrag(this);
  drag->setMimeData(mime);
  if (const Image& preview = model_->preview(); !preview.isEmpty()) {
    drag->setPixmap(QPixmap::fromImage(
        sharedImage(preview).scaled(dragPicture, Qt::KeepAspectRatio, Qt::SmoothTransformation)));
  }
  isDragAsked_ = false;
  // The window may be closed while it lasts.
  const auto model = model_;
  if (drag->exec(Qt::CopyAction, Qt::CopyAction) != Qt::IgnoreAction) model->dragLanded();
}

}  // namespace vantorel
