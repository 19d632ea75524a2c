#include "ui/welcome/welcome_window.hpp"

#include <QEvent>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QPainter>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>
#include <utility>
#include <vector>

#include "ui/kit/icons.hpp"
#include "ui/kit/key_caps.hpp"
#include "ui/kit/link_button.hpp"
#include "ui/kit/role_label.hpp"
#include "ui/kit/row_group.hpp"
#include "ui/kit/toggle_switch.hpp"
#include "ui/kit/tokens.hpp"
#include "ui/welcome/welcome_picture.hpp"

namespace vantorel {
namespace {

constexpr QSize usualSize(520, 600);
constexpr QSize leastSize(400, 360);
constexpr int side = 40;
constexpr int rowHeight = 56;
constexpr int leastLetters = 16;  // of a row's words

/// A symbol in the accent's color.
class Symbol : public QWidget {
 public:
  Symbol(IconName name, QWidget* parent) : QWidget(parent), name_(name) {
    setFixedSize(barIconSize, barIconSize);
  }

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    icon(name_, IconTint::accent).paint(&painter, rect());
  }

 private:
  IconName name_;
};

/// A symbol, two lines of words, and what changes it: at their side, or below them where they would
/// have too little room.
class Row : public QWidget {
 public:
  Row(IconName symbol, const QString& title)
      : layout_(new QBoxLayout(QBoxLayout::LeftToRight, this)) {
    setMinimumHeight(rowHeight);
    layout_->setContentsMargins(14, tokens::space8, 14, tokens::space8);
    layout_->setSpacing(tokens::space12);
    auto* const begin = new QHBoxLayout;
    begin->setSpacing(14);
    begin->addWidget(new Symbol(symbol, this));
    words_->setSpacing(0);
    words_->addStretch();
    words_->addWidget(new RoleLabel(title, &PaletteRoles::text, tokens::bodyFont));
    words_->addStretch();
    begin->addLayout(words_, 1);
    layout_->addLayout(begin, 1);
    controls_->setSpacing(14);
    controls_->addStretch();
    layout_->addLayout(controls_);
  }

  RoleLabel* addSmall() {
    auto* const label = new RoleLabel({}, &PaletteRoles::quiet, tokens::smallFont);
    words_->insertWidget(words_->count() - 1, label);  // before the stretch
    return label;
  }
  void add(QWidget* control) { controls_->addWidget(control); }

 protected:
  bool event(QEvent* event) override {
    if (event->type() == QEvent::LayoutRequest || event->type() == QEvent::Resize) arrange();
    return QWidget::event(event);
  }

 private:
  void arrange() {
    const int beside = width() - controls_->sizeHint().width() - barIconSize - 4 * 14;
    const int least = leastLetters * fontMetrics().averageCharWidth();
    const auto direction = beside < least ? QBoxLayout::TopToBottom : QBoxLayout::LeftToRight;
    if (layout_->direction() != direction) layout_->setDirection(direction);
  }

  QBoxLayout* layout_;
  QVBoxLayout* words_ = new QVBoxLayout;
  QHBoxLayout* controls_ = new QHBoxLayout;
};

/// Buttons in a row, or where that is too long, below each other.
class ButtonBar : public QWidget {
 public:
  explicit ButtonBar(QWidget* parent = nullptr)
      : QWidget(parent), layout_(new QBoxLayout(QBoxLayout::LeftToRight, this)) {
    layout_->setContentsMargins(side - tokens::space4, tokens::space8, side, tokens::space24);
    layout_->setSpacing(tokens::space8);
  }

  void add(QPushButton* button) {
    if (buttons_.size() == 1) layout_->addStretch();  // the first one stands apart
    layout_->addWidget(button);
    buttons_.push_back(button);
  }

 protected:
  bool event(QEvent* event) override {
    if (event->type() == QEvent::LayoutRequest || event->type() == QEvent::Resize) arrange();
    return QWidget::event(event);
  }

 private:
  void arrange() {
    const QMargins around = layout_->contentsMargins();
    int row = around.left() + around.right() + 2 * layout_->spacing();
    for (const QPushButton* const button : buttons_) row += button->sizeHint().width();
    const auto direction = row > width() ? QBoxLayout::BottomToTop : QBoxLayout::LeftToRight;
    if (layout_->direction() != direction) layout_->setDirection(direction);
  }

  QBoxLayout* layout_;
  std::vector<QPushButton*> buttons_;
};

}  // namespace

WelcomeWindow::WelcomeWindow(std::shared_ptr<WelcomeModel> model, std::function<void()> onClosed)
    : WindowFrame("welcome", QStringLiteral("Vantorel"), {usualSize, leastSize, true},
                  [model, closed = std::move(onClosed)] {
                    model->finish();
                    if (closed) closed();
                  }),
      model_(std::move(model)) {
  auto* const content = new QWidget(this);
  auto* const all = new QVBoxLayout(content);
  all->setContentsMargins(0, 0, 0, 0);
  all->setSpacing(0);
  auto* const scroll = new QScrollArea(content);
  scroll->setWidgetResizable(true);
  scroll->setFrameShape(QFrame::NoFrame);
  scroll->setFocusPolicy(Qt::NoFocus);
  scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  scroll->viewport()->setAutoFillBackground(false);
  auto* const page = new QWidget;
  page->setAutoFillBackground(false);
  auto* const column = new QVBoxLayout(page);
  column->setContentsMargins(side, 20, side, tokens::space16);
  column->setSpacing(0);
  column->addWidget(new WelcomePicture(page));
  column->addSpacing(20);
  column->addWidget(new RoleLabel(QStringLiteral("Capture what is on your screen"),
                                  &PaletteRoles::text, tokens::largeFont));
  column->addSpacing(6);
  column->addWidget(new RoleLabel(
      QStringLiteral("Press the key, drag an area, and it is saved. Everything you take is kept in "
                     "History until you delete it."),
      &PaletteRoles::quiet, tokens::bodyFont));
  column->addSpacing(tokens::space16);
  column->addWidget(makeRows());
  column->addStretch(1);
  scroll->setWidget(page);
  all->addWidget(scroll, 1);
  all->addWidget(makeButtons());
  setContent(content);
  showing_ = model_->shown();
  observation_ = model_->observe([this] { showState(); });
  showState();
}

WelcomeWindow::~WelcomeWindow() = default;

QWidget* WelcomeWindow::makeRows() {
  auto* const group = new RowGroup;
  auto* const capture = new Row(IconName::keyboard, QStringLiteral("Capture an area"));
  keyWords_ = capture->addSmall();
  key_ = new KeyCaps(capture);
  auto* const change = new QPushButton(QStringLiteral("Change…"), capture);
  change->setAutoDefault(false);
  change->setAccessibleName(QStringLiteral("Change the capture key…"));
  change->setToolTip(QStringLiteral("Settings → Shortcuts"));
  connect(change, &QPushButton::clicked, this, [this] { model_->changeKey(); });
  capture->add(key_);
  capture->add(change);
  group->addRow(capture);

  auto* const folder = new Row(IconName::folder, QStringLiteral("Captures go to"));
  folder_ = folder->addSmall();
  folderRemark_ = folder->addSmall();
  auto* const choose = new QPushButton(QStringLiteral("Choose…"), folder);
  choose->setAutoDefault(false);
  choose->setAccessibleName(QStringLiteral("Choose the folder of the captures…"));
  choose->setToolTip(QStringLiteral("Choose the folder of the captures"));
  connect(choose, &QPushButton::clicked, this, [this] { chooseFolder(); });
  folder->add(choose);
  group->addRow(folder);

  auto* const session = new Row(IconName::timer, QStringLiteral("Start with the session"));
  sessionWords_ = session->addSmall();
  session_ = new ToggleSwitch(session);
  session_->setAccessibleName(QStringLiteral("Start with the session"));
  session_->setToolTip(QStringLiteral("Start with the session"));
  connect(session_, &QAbstractButton::clicked, this,
          [this](bool isOn) { model_->setStartsWithSession(isOn); });
  session->add(session_);
  group->addRow(session);
  return group;
}

QWidget* WelcomeWindow::makeButtons() {
  auto* const bar = new ButtonBar;
  auto* const keys = new LinkButton(QStringLiteral("All keys"), bar);
  keys->setToolTip(QStringLiteral("All keys (F1)"));
  connect(keys, &QPushButton::clicked, this, [this] { model_->showAllKeys(); });
  auto* const attempt = new QPushButton(QStringLiteral("Try a capture"), bar);
  attempt->setAutoDefault(false);
  attempt->setToolTip(QStringLiteral("Capture an area now"));
  connect(attempt, &QPushButton::clicked, this, [this] { model_->tryCapture(); });
  auto* const done = new QPushButton(QStringLiteral("Done"), bar);
  done->setDefault(true);
  done->setToolTip(QStringLiteral("Close (Return)"));
  connect(done, &QPushButton::clicked, this, [this] { close(); });
  bar->add(keys);
  bar->add(attempt);
  bar->add(done);
  return bar;
}

void WelcomeWindow::chooseFolder() {
  auto* const dialog = new QFileDialog(this, QStringLiteral("Captures go to"),
                                       QString::fromStdString(model_->folderPath().string()));
  dialog->setAttribute(Qt::WA_DeleteOnClose);
  dialog->setFileMode(QFileDialog::Directory);
  dialog->setOption(QFileDialog::ShowDirsOnly);
  connect(dialog, &QFileDialog::fileSelected, this,
          [this](const QString& folder) { model_->chooseFolder(folder.toStdString()); });
  dialog->open();
}

void WelcomeWindow::showState() {
  const auto text = [](const std::string& utf8) { return QString::fromStdString(utf8); };
  const auto key = model_->captureKey();
  key_->setVisible(!key.empty());
  key_->setKeys({key}, {});
  keyWords_->setText(text(model_->captureWords()));
  folder_->setPath(text(model_->folder()));
  folderRemark_->setText(text(model_->folderRemark()));
  folderRemark_->setVisible(!folderRemark_->text().isEmpty());
  sessionWords_->setText(text(model_->sessionWords()));
  session_->setChecked(model_->startsWithSession());
}

void WelcomeWindow::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
    close();
  } else {
    WindowFrame::keyPressEvent(event);
  }
}

void WelcomeWindow::changeEvent(QEvent* event) {
  WindowFrame::changeEvent(event);
  // A tray may have come.
  if (event->type() == QEvent::ActivationChange && session_ != nullptr) showState();
}

}  // namespace vantorel
