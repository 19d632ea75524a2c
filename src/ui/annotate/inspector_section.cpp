#include "ui/annotate/inspector_section.hpp"

#include <QAbstractButton>
#include <QHash>
#include <QPainter>
#include <QStyle>
#include <QVBoxLayout>
#include <algorithm>

#include "ui/kit/accessible_role.hpp"
#include "ui/kit/box_painting.hpp"
#include "ui/kit/icons.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr int sectionHeaderHeight = 40;
constexpr int bodyBottom = 14;

/// What was folded and unfolded since the program began.
QHash<QString, bool>& foldings() {
  static QHash<QString, bool> all;
  return all;
}

}  // namespace

class InspectorSection::Header : public QAbstractButton {
 public:
  explicit Header(QWidget* parent) : QAbstractButton(parent) {
    setAccessibleRole(*this, QAccessible::Button);
    setAttribute(Qt::WA_Hover);
    setFocusPolicy(Qt::TabFocus);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
  }

  QWidget* trailing = nullptr;
  QString foldedWords;
  bool isOpen = true;

  [[nodiscard]] QSize sizeHint() const override {
    return {0, tokens::controlHeight(sectionHeaderHeight, tokens::strongFont())};
  }
  void placeTrailing() {
    if (trailing == nullptr) return;
    const QSize size = trailing->sizeHint();
    trailing->setGeometry(placed({width() - tokens::space12 - size.width(),
                                  (height() - size.height()) / 2, size.width(), size.height()}));
  }

 protected:
  void resizeEvent(QResizeEvent* event) override {
    QAbstractButton::resizeEvent(event);
    placeTrailing();
  }

  void changeEvent(QEvent* event) override {
    QAbstractButton::changeEvent(event);
    if (event->type() == QEvent::LayoutDirectionChange) placeTrailing();
  }

  void paintEvent(QPaintEvent*) override {
    const PaletteRoles roles = rolesOf(palette());
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    // The words run as the language does, from the side where the section begins.
    const Qt::Alignment side = isRightToLeft() ? Qt::AlignRight : Qt::AlignLeft;
    if (underMouse()) {
      paintBox(painter, QRectF(rect()).adjusted(6, 4, -6, -4), tokens::buttonRadius,
               isDown() ? roles.press : roles.hover, Qt::NoPen);
    }
    const QRect arrow =
        placed({tokens::space16, (height() - rowIconSize) / 2, rowIconSize, rowIconSize});
    const IconName folded = isRightToLeft() ? IconName::left : IconName::right;
    painter.drawPixmap(arrow.topLeft(), iconPixmap(isOpen ? IconName::down : folded, arrow.size(),
                                                   devicePixelRatioF(), roles.quiet));
    const int from = tokens::space16 + rowIconSize + 6;
    int to = width() - tokens::space16;
    if (trailing != nullptr && trailing->isVisible()) to -= trailing->width() + tokens::space4;
    if (!isOpen && !foldedWords.isEmpty()) {
      painter.setFont(tokens::smallFont());
      painter.setPen(roles.quiet);
      const int wide = painter.fontMetrics().horizontalAdvance(foldedWords) + 2;
      const int title = QFontMetrics(tokens::strongFont()).horizontalAdvance(text());
      if (to - wide - tokens::space8 - from >= title) {
        to -= wide;
        painter.drawText(placed({to, 0, wide, height()}), Qt::AlignCenter, foldedWords);
        to -= tokens::space8;
      }
    }
    painter.setFont(tokens::strongFont());
    painter.setPen(roles.text);
    painter.drawText(
        placed({from, 0, std::max(0, to - from), height()}),
        int(Qt::AlignVCenter | side) | Qt::TextSingleLine,
        QFontMetrics(tokens::strongFont()).elidedText(text(), Qt::ElideRight, to - from));
    if (hasKeyboardFocus(*this)) {
      paintFocusRing(painter, QRectF(rect()).adjusted(9, 7, -9, -7), tokens::buttonRadius - 2,
                     roles.focus);
    }
  }

  void keyPressEvent(QKeyEvent* event) override;

 private:
  [[nodiscard]] QRect placed(const QRect& area) const {
    return QStyle::visualRect(layoutDirection(), rect(), area);
  }
};

void InspectorSection::Header::keyPressEvent(QKeyEvent* event) {
  auto* const section = static_cast<InspectorSection*>(parentWidget());
  const int unfolds = isRightToLeft() ? Qt::Key_Left : Qt::Key_Right;
  const int folds = isRightToLeft() ? Qt::Key_Right : Qt::Key_Left;
  if (event->key() == unfolds) return section->setOpen(true);
  if (event->key() == folds) return section->setOpen(false);
  if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) return click();
  // The arrows of the window stay the window's.
  if (event->key() == Qt::Key_Up || event->key() == Qt::Key_Down) return event->ignore();
  QAbstractButton::keyPressEvent(event);
}

InspectorSection::InspectorSection(const QString& key, bool isOpen, QWidget* parent)
    : QWidget(parent),
      key_(key),
      header_(new Header(this)),
      body_(new QWidget(this)),
      content_(new QVBoxLayout(body_)),
      isOpen_(!foldings().value(key, isOpen)) {
  auto* const column = new QVBoxLayout(this);
  column->setContentsMargins(0, 0, 0, 1);  // the line below
  column->setSpacing(0);
  column->addWidget(header_);
  column->addWidget(body_);
  content_->setContentsMargins(0, 0, 0, bodyBottom);
  content_->setSpacing(tokens::space12);
  connect(header_, &QAbstractButton::clicked, this, [this] { setOpen(!isOpen_); });
  setOpen(!isOpen_);
}

void InspectorSection::setTitle(const QString& title) {
  if (header_->text() == title) return;
  header_->setText(title);
  header_->setAccessibleName(title);
  header_->update();
}

QString InspectorSection::title() const { return header_->text(); }

void InspectorSection::setTrailing(QWidget* trailing) {
  trailing->setParent(header_);
  header_->trailing = trailing;
  trailing->show();
  header_->placeTrailing();
}

void InspectorSection::setFoldedWords(const QString& words) {
  header_->foldedWords = words;
  header_->setAccessibleDescription(words);
  header_->update();
}

void InspectorSection::addContent(QWidget* content) { content_->addWidget(content); }

void InspectorSection::settle() {
  content_->activate();
  layout()->activate();
}

void InspectorSection::setOpen(bool isOpen) {
  if (isOpen == isOpen_) return;
  isOpen_ = isOpen;
  foldings().insert(key_, isOpen);
  header_->isOpen = isOpen;
  header_->setToolTip(isOpen ? QStringLiteral("Fold") : QStringLiteral("Unfold"));
  setAccessibleExpanded(*header_, isOpen);
  body_->setVisible(isOpen);
  header_->update();
  if (isOpen && onUnfolded) onUnfolded();
}

void InspectorSection::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.fillRect(QRect(0, height() - 1, width(), 1), rolesOf(palette()).line);
}

}  // namespace vantorel
