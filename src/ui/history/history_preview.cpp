#include "ui/history/history_preview.hpp"

#include <QContextMenuEvent>
#include <QGridLayout>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLocale>
#include <QPainter>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QToolButton>
#include <QVBoxLayout>
#include <algorithm>
#include <utility>
#include <vector>

#include "app/records/hot_key_text.hpp"
#include "base/count_text.hpp"
#include "base/local_day.hpp"
#include "base/size_text.hpp"
#include "capture/kept_redaction.hpp"
#include "editor/capture_text.hpp"
#include "library/entry_look.hpp"
#include "library/entry_title.hpp"
#include "ui/history/history_commands.hpp"
#include "ui/history/picture_canvas.hpp"
#include "ui/history/tile_painting.hpp"
#include "ui/kit/application_font.hpp"
#include "ui/kit/box_painting.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/shared_image.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

using Step = HistorySelection::Step;

constexpr int stepButton = 36;
constexpr int detailsFrom = 1000;  // px of width
constexpr int detailsWidth = 300;
constexpr std::size_t mostText = 4000;  // bytes of recognized text that are shown

QToolButton* barButton(QAction* action) {
  auto* const button = new QToolButton;
  button->setAutoRaise(true);
  button->setDefaultAction(action);
  button->setToolButtonStyle(Qt::ToolButtonIconOnly);
  button->setFixedHeight(tokens::controlHeight(tokens::tool));
  return button;
}

QToolButton* plainButton(IconName symbol, const QString& help) {
  auto* const button = new QToolButton;
  button->setAutoRaise(true);
  button->setIcon(icon(symbol));
  button->setAccessibleName(help);
  button->setToolTip(help);
  return button;
}

/// A round button over the picture.
class StepButton : public QToolButton {
 public:
  StepButton(const QString& what, bool isForward)
      : isRight_(isForward == (QGuiApplication::layoutDirection() == Qt::LeftToRight)) {
    const QString help = what + (isRight_ ? " (Right)" : " (Left)");
    setAccessibleName(help);
    setToolTip(help);
    setFixedSize(stepButton, stepButton);
    setCursor(Qt::ArrowCursor);
  }

 protected:
  void paintEvent(QPaintEvent*) override {
    if (!isEnabled()) return;
    const PaletteRoles roles = rolesOf(palette());
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QColor fill = roles.isDark ? mixed(roles.window, roles.text, 0.08) : roles.base;
    if (underMouse() || isDown()) fill = mixed(fill, roles.text, isDown() ? 0.09 : 0.05);
    painter.setPen(roles.fieldBorder);
    painter.setBrush(fill);
    painter.drawEllipse(QRectF(rect()).adjusted(1, 1, -1, -1));
    const QRect area(QPoint((width() - rowIconSize) / 2, (height() - rowIconSize) / 2),
                     QSize(rowIconSize, rowIconSize));
    painter.drawPixmap(area.topLeft(), iconPixmap(isRight_ ? IconName::right : IconName::left,
                                                  area.size(), devicePixelRatioF(), roles.text));
    if (hasKeyboardFocus(*this)) {
      paintFocusRing(painter, QRectF(rect()).adjusted(3, 3, -3, -3), stepButton / 2.0, roles.focus);
    }
  }

 private:
  bool isRight_;
};

/// At the side where lines begin, whatever letters are in them.
Qt::Alignment atBegin() {
  return (QGuiApplication::isRightToLeft() ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignAbsolute |
         Qt::AlignVCenter;
}
Qt::Alignment atEnd() {
  return (QGuiApplication::isRightToLeft() ? Qt::AlignLeft : Qt::AlignRight) | Qt::AlignAbsolute |
         Qt::AlignVCenter;
}

QLabel* wrapped(const QString& text) {
  auto* const label = new QLabel(text);
  label->setTextFormat(Qt::PlainText);
  label->setWordWrap(true);
  label->setAlignment(atBegin());
  label->setTextInteractionFlags(Qt::TextSelectableByMouse);
  return label;
}

QString formatOf(const ScreenshotEntry& entry) {
  const std::string name = fileNameOf(entry);
  const std::size_t ending = name.rfind('.');
  QString text = ending == std::string::npos
                     ? QString()
                     : QString::fromStdString(name.substr(ending + 1)).toUpper();
  if (entry.fileIdentity) {
    if (!text.isEmpty()) text += ", ";
    text += QString::fromStdString(sizeText(static_cast<std::uint64_t>(entry.fileIdentity->size)));
  }
  return text;
}

QString momentText(double seconds) {
  const LocalDay day = systemDay(seconds);
  return QString::fromStdString(weekdayName(day) + " " + fullDate(day) + ", " +
                                clockTime(seconds, day));
}

QString folderText(const std::string& path) {
  const QString folder = QString::fromStdString(Path(path).parent_path().string());
  const QString home = qEnvironmentVariable("HOME");
  return !home.isEmpty() && folder.startsWith(home + '/') ? "~" + folder.mid(home.size()) : folder;
}

/// Of what Smart Redact covered before the capture was filed.
QString redactionText(const KeptRedaction& kept) {
  if (!kept.isCovering) return QStringLiteral("Removed");
  if (kept.areas == 0) return QStringLiteral("When it was taken");
  return QString::fromStdString(countText(kept.areas)) +
         (kept.areas == 1 ? QStringLiteral(" area when it was taken")
                          : QStringLiteral(" areas when it was taken"));
}

QString hintText(bool hasHits, bool scrolls) {
  QString text = QStringLiteral("← → next    %1 open    Space close").arg(returnKeyName);
  if (scrolls) text += QStringLiteral("    ↑ ↓ scroll");
  if (hasHits) text += QStringLiteral("    N next hit");
  return text;
}

}  // namespace

HistoryPreview::HistoryPreview(std::shared_ptr<HistoryModel> model, HistoryCommands& commands,
                               QWidget* parent)
    : QWidget(parent),
      model_(std::move(model)),
      commands_(commands),
      title_(new QLabel),
      position_(new QLabel),
      canvas_(new PictureCanvas),
      text_(new QPlainTextEdit(canvas_)),
      before_(new StepButton(QStringLiteral("Previous"), false)),
      after_(new StepButton(QStringLiteral("Next"), true)),
      open_(new QPushButton(commands_.open->text())),
      detailsPane_(new QWidget),
      hint_(new QLabel(hintText(false, false))) {
  setObjectName(QStringLiteral("preview"));
  setFocusPolicy(Qt::StrongFocus);
  setAccessibleName(QStringLiteral("Preview"));
  auto* const column = new QVBoxLayout(this);
  column->setContentsMargins(0, 0, 0, 0);
  column->setSpacing(0);

  auto* const bar = new QHBoxLayout;
  bar->setContentsMargins(tokens::space12, tokens::space8, tokens::space12, tokens::space8);
  QToolButton* const back = plainButton(isRightToLeft() ? IconName::right : IconName::left,
                                        QStringLiteral("Back (Space)"));
  connect(back, &QToolButton::clicked, this, [this] { leave(); });
  setFollowingFont(*title_, tokens::strongFont);
  title_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
  title_->setAlignment(atEnd());
  position_->setAlignment(atBegin());
  position_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
  position_->setForegroundRole(QPalette::PlaceholderText);
  bar->addWidget(back);
  bar->addWidget(title_, 1);
  bar->addSpacing(tokens::space4);
  bar->addWidget(position_, 1);
  for (QAction* const action : {commands_.copyPicture, commands_.copyText, commands_.saveAs,
                                commands_.star, commands_.reveal, commands_.trash}) {
    bar->addWidget(barButton(action));
  }
  open_->setDefault(true);
  connect(open_, &QPushButton::clicked, this, [this] {
    if (onOpen) onOpen();
  });
  bar->addWidget(open_);
  column->addLayout(bar);

  auto* const middle = new QHBoxLayout;
  middle->setSpacing(0);
  canvas_->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
  middle->addWidget(canvas_, 1);
  for (QToolButton* const button : {before_, after_}) button->setParent(canvas_);
  canvas_->installEventFilter(this);
  text_->setReadOnly(true);
  text_->setFrameShape(QFrame::NoFrame);
  text_->setFocusPolicy(Qt::ClickFocus);
  text_->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
  text_->setAccessibleName(QStringLiteral("Text"));
  text_->document()->setDocumentMargin(tokens::space32);
  text_->installEventFilter(this);
  text_->hide();
  auto* const scroll = new QScrollArea;
  scroll->setFrameShape(QFrame::NoFrame);
  scroll->setWidgetResizable(true);
  scroll->setWidget(detailsPane_);
  scroll->setFixedWidth(detailsWidth);
  scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  scroll->setAccessibleName(QStringLiteral("Details"));
  auto* const pane = new QVBoxLayout(detailsPane_);
  pane->setContentsMargins(0, 0, 0, 0);
  middle->addWidget(scroll);
  column->addLayout(middle, 1);

  setFollowingFont(*hint_, tokens::smallFont);
  hint_->setAlignment(atBegin());
  hint_->setForegroundRole(QPalette::PlaceholderText);
  hint_->setContentsMargins(tokens::space16, tokens::space8, tokens::space16, tokens::space8);
  column->addWidget(hint_);
  connect(before_, &QToolButton::clicked, this, [this] { step(Step::left); });
  connect(after_, &QToolButton::clicked, this, [this] { step(Step::right); });
  setAutoFillBackground(true);
  hide();
}

void HistoryPreview::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.fillRect(rect(), rolesOf(palette()).window);
}

void HistoryPreview::open() {
  if (!model_->selection().focus()) return;
  shown_.reset();
  model_->setLookingAtOne(true);
  show();
  raise();
  setFocus();
  refresh();
}

void HistoryPreview::hideEvent(QHideEvent* event) {
  QWidget::hideEvent(event);
  // A window that is put away as a whole shows it again when it comes back.
  if (isHidden()) model_->setLookingAtOne(false);
}

void HistoryPreview::contextMenuEvent(QContextMenuEvent* event) {
  const bool isKey = event->reason() == QContextMenuEvent::Keyboard;
  if (onMenu) onMenu(isKey ? canvas_->mapToGlobal(canvas_->rect().center()) : event->globalPos());
}

void HistoryPreview::leave() {
  hide();
  shown_.reset();
  model_->pictures().cancel();
  canvas_->say({});
  if (onClosed) onClosed();
}

void HistoryPreview::step(Step step) {
  model_->select([step](HistorySelection& selection) {
    selection.step(step, {}, HistorySelection::Mode::replace);
  });
}

void HistoryPreview::refresh() {
  if (!isVisible()) return;
  const auto focus = model_->selection().focus();
  if (!focus) return leave();
  const EntryPointer& entry = model_->listing().at(*focus);
  position_->setText(
      QStringLiteral("%1 of %2")
          .arg(QLocale(QLocale::English).toString(static_cast<qulonglong>(*focus) + 1),
               QLocale(QLocale::English)
                   .toString(static_cast<qulonglong>(model_->listing().size()))));
  before_->setEnabled(*focus > 0);
  after_->setEnabled(*focus + 1 < model_->listing().size());
  open_->setText(commands_.open->text());
  open_->setEnabled(commands_.open->isEnabled());
  open_->setToolTip(commands_.open->toolTip());
  const FileReach reach = model_->reachOf(*entry);
  const bool hasPicture = entry->medium == CaptureMedium::image;
  canvas_->mark(hasPicture ? model_->hitsOf(*focus) : std::vector<Box>());
  showHint();
  if (entry == shown_ && reach == shownReach_) return;
  const bool isSamePicture = shown_ && shown_->id == entry->id &&
                             lookOf(*shown_) == lookOf(*entry) && reach == shownReach_;
  shown_ = entry;
  shownReach_ = reach;
  const QString title = lineOf(titleOf(*entry));
  title_->setText(QFontMetrics(title_->font()).elidedText(title, Qt::ElideMiddle, width() / 3));
  title_->setToolTip(title);
  setAccessibleName(QStringLiteral("Preview of ") + title);
  showDetails(entry, *focus);
  if (isSamePicture) return;
  text_->hide();
  if (reach != FileReach::there) {
    model_->pictures().cancel();
    const QString disk = diskText(*entry, reach);
    return canvas_->say(reachText(reach) + (disk.isEmpty() ? disk : ": " + disk) + "\n" +
                        QString::fromStdString(entry->path));
  }
  if (entry->medium == CaptureMedium::text) {
    model_->pictures().cancel();
    canvas_->say({});
    return showText(*entry);
  }
  if (entry->medium != CaptureMedium::image) {
    return canvas_->say(kindOf(*entry) + "\n" + QStringLiteral("%1 opens it.").arg(returnKeyName));
  }
  model_->pictures().load(entry, [this](const Result<Image>& picture) {
    if (!isVisible()) return;
    if (!picture) return canvas_->say(QString::fromStdString(picture.error().reason));
    canvas_->show(*picture);
    showHint();
  });
}

void HistoryPreview::showHint() {
  hint_->setText(hintText(canvas_->hasHits(), canvas_->scrolls()));
}

/// A text that was captured is read and copied from.
void HistoryPreview::showText(const ScreenshotEntry& entry) {
  text_->setPlainText(QString::fromStdString(captureText(entry)));
  text_->show();
  text_->raise();
  for (QToolButton* const button : {before_, after_}) button->raise();
}

void HistoryPreview::showDetails(const EntryPointer& entry, std::size_t) {
  delete std::exchange(details_, new QWidget);
  detailsPane_->layout()->addWidget(details_);
  auto* const column = new QVBoxLayout(details_);
  column->setContentsMargins(tokens::space16, tokens::space16, tokens::space16, tokens::space16);
  column->setSpacing(tokens::space12);
  // Two lines of it; one of a word that cannot be broken.
  const QString words = lineOf(titleOf(*entry));
  const int room = (words.contains(' ') ? 2 : 1) * (detailsWidth - 3 * tokens::space16);
  QLabel* const title =
      wrapped(QFontMetrics(tokens::titleFont()).elidedText(words, Qt::ElideMiddle, room));
  title->setToolTip(words);
  title->setFont(tokens::titleFont());
  column->addWidget(title);
  QLabel* const moment = wrapped(momentText(entry->capturedAt));
  moment->setForegroundRole(QPalette::PlaceholderText);
  column->addWidget(moment);
  auto* const rows = new QGridLayout;
  rows->setColumnStretch(1, 1);
  rows->setHorizontalSpacing(tokens::space16);
  const auto add = [&](const QString& name, const QString& value) {
    if (value.isEmpty()) return;
    const int row = rows->rowCount();
    auto* const label = new QLabel(name);
    label->setForegroundRole(QPalette::PlaceholderText);
    label->setAlignment((atBegin() & ~Qt::AlignVertical_Mask) | Qt::AlignTop);
    rows->addWidget(label, row, 0);
    rows->addWidget(wrapped(value), row, 1);
  };
  add(QStringLiteral("Application"),
      entry->sourceApp ? QString::fromStdString(entry->sourceApp->name) : QString());
  if (entry->pixelWidth && entry->pixelHeight) {
    QString size = QStringLiteral("%1 × %2 px").arg(*entry->pixelWidth).arg(*entry->pixelHeight);
    if (entry->captureScale && *entry->captureScale != 1) {
      size += QStringLiteral(", %1x").arg(*entry->captureScale);
    }
    add(QStringLiteral("Size"), size);
  }
  if (entry->durationSeconds) {
    add(QStringLiteral("Length"), durationText(*entry->durationSeconds));
  }
  add(QStringLiteral("File"), formatOf(*entry));
  add(QStringLiteral("Folder"), folderText(entry->path));
  if (entry->editedAt) add(QStringLiteral("Edited"), momentText(*entry->editedAt));
  const auto kept = keptRedaction(*entry, model_->store().paths());
  if (kept) add(QStringLiteral("Redacted"), redactionText(*kept));
  QString collections;
  for (const std::string& id : entry->collectionIDs) {
    const HistoryCollection* const collection = model_->store().findCollection(id);
    if (collection == nullptr) continue;
    if (!collections.isEmpty()) collections += ", ";
    collections += QString::fromStdString(collection->name);
  }
  add(QStringLiteral("Collections"), collections);
  column->addLayout(rows);
  auto* const collect = new QToolButton;
  collect->setAutoRaise(true);
  collect->setIcon(icon(IconName::plus));
  collect->setText(QStringLiteral("Collection"));
  collect->setToolTip(QStringLiteral("Collect (Ctrl+L)"));
  collect->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
  connect(collect, &QToolButton::clicked, this, [this, collect] {
    commands_.showCollections(collect->mapToGlobal(QPoint(0, collect->height())));
  });
  column->addWidget(collect, 0, Qt::AlignLeading);
  if (kept) {
    auto* const redaction = new QToolButton;
    redaction->setAutoRaise(true);
    redaction->setDefaultAction(kept->isCovering ? commands_.removeRedaction
                                                 : commands_.reapplyRedaction);
    redaction->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    column->addWidget(redaction, 0, Qt::AlignLeading);
  }
  if (const std::string read = captureText(*entry);
      !read.empty() && entry->medium != CaptureMedium::text) {
    auto* const heading = new QLabel(QStringLiteral("Recognized text"));
    QFont font = tokens::smallFont();
    font.setWeight(QFont::DemiBold);
    heading->setFont(font);
    heading->setAlignment(atBegin());
    column->addWidget(heading);
    QLabel* const text = wrapped(
        QString::fromUtf8(read.data(), static_cast<qsizetype>(std::min(read.size(), mostText))));
    text->setFont(tokens::smallFont());
    column->addWidget(text);
  }
  column->addStretch(1);
}

void HistoryPreview::resizeEvent(QResizeEvent*) {
  detailsPane_->parentWidget()->parentWidget()->setVisible(width() >= detailsFrom);
}

bool HistoryPreview::eventFilter(QObject* object, QEvent* event) {
  if (object == canvas_ && event->type() == QEvent::Resize) {
    const int y = (canvas_->height() - stepButton) / 2;
    const int left = tokens::space16;
    const int right = canvas_->width() - stepButton - tokens::space16;
    before_->move(isRightToLeft() ? right : left, y);
    after_->move(isRightToLeft() ? left : right, y);
  }
  if (object == canvas_ && event->type() == QEvent::Resize) {
    const int room = stepButton + 2 * tokens::space16;
    text_->setGeometry(canvas_->rect().adjusted(room, 0, -room, 0));
  }
  // The keys of the preview work in its text too, but for those that select and copy.
  if (object == text_ && event->type() == QEvent::KeyPress) {
    const int key = static_cast<QKeyEvent*>(event)->key();
    if (key == Qt::Key_Escape || key == Qt::Key_Space || key == Qt::Key_Return) {
      keyPressEvent(static_cast<QKeyEvent*>(event));
      return true;
    }
  }
  return QWidget::eventFilter(object, event);
}

void HistoryPreview::keyPressEvent(QKeyEvent* event) {
  if (canvas_->scrollWith(*event)) return;
  switch (event->key()) {
    case Qt::Key_Escape:
      if (model_->notice() && model_->notice()->isOfAction()) return model_->dismissNotice();
      return leave();
    case Qt::Key_Space: return leave();
    case Qt::Key_Left: return step(isRightToLeft() ? Step::right : Step::left);
    case Qt::Key_Right: return step(isRightToLeft() ? Step::left : Step::right);
    case Qt::Key_N: return canvas_->stepToNextHit();
    case Qt::Key_Up: return step(Step::left);
    case Qt::Key_Down: return step(Step::right);
    case Qt::Key_Home: return step(Step::home);
    case Qt::Key_End: return step(Step::end);
    case Qt::Key_Return:
    case Qt::Key_Enter:
      if (onOpen) onOpen();
      return;
    default: QWidget::keyPressEvent(event);
  }
}

}  // namespace vantorel
