#include "ui/kit/role_label.hpp"

#include <QGuiApplication>
#include <QHelpEvent>
#include <QPainter>
#include <QStyle>
#include <QTextLayout>
#include <QToolTip>
#include <algorithm>

#include "ui/kit/tokens.hpp"

namespace vantorel {

RoleLabel::RoleLabel(const QString& text, Role role, Font makeFont, QWidget* parent)
    : QLabel(text, parent), role_(role), makeFont_(makeFont) {
  setTextFormat(Qt::PlainText);
  setWordWrap(true);
  apply();
}

void RoleLabel::setRole(Role role) {
  role_ = role;
  apply();
}

void RoleLabel::setPath(const QString& path) {
  isPath_ = true;
  setWordWrap(false);
  setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
  setText(path);
  setToolTip(path);
}

void RoleLabel::setMostLines(int lines) {
  mostLines_ = lines;
  updateGeometry();
}

int RoleLabel::heightForWidth(int width) const {
  const int height = QLabel::heightForWidth(width);
  if (mostLines_ == 0) return height;
  return std::min(height, mostLines_ * fontMetrics().lineSpacing());
}

QStringList RoleLabel::elidedLines(int width) const {
  if (mostLines_ == 0) return {};
  QTextLayout layout(text(), font());
  QStringList lines;
  bool isCut = false;
  layout.beginLayout();
  while (lines.size() < mostLines_) {
    QTextLine line = layout.createLine();
    if (!line.isValid()) break;
    line.setLineWidth(width);
    const bool isLast = lines.size() + 1 == mostLines_;
    const QString shown = isLast ? text().mid(line.textStart())
                                 : text().mid(line.textStart(), line.textLength()).trimmed();
    lines.push_back(fontMetrics().elidedText(shown, Qt::ElideRight, width));
    isCut = isCut || lines.back() != shown;
  }
  layout.endLayout();
  return isCut ? lines : QStringList();
}

QSize RoleLabel::minimumSizeHint() const {
  return isPath_ ? QSize(1, QLabel::minimumSizeHint().height()) : QLabel::minimumSizeHint();
}

void RoleLabel::paintEvent(QPaintEvent* event) {
  if (const QStringList lines = elidedLines(contentsRect().width()); !lines.isEmpty()) {
    QPainter painter(this);
    style()->drawItemText(&painter, contentsRect(), static_cast<int>(alignment()), palette(),
                          isEnabled(), lines.join('\n'), QPalette::WindowText);
    return;
  }
  if (!isPath_ || fontMetrics().horizontalAdvance(text()) <= contentsRect().width()) {
    return QLabel::paintEvent(event);
  }
  QPainter painter(this);
  style()->drawItemText(&painter, contentsRect(), static_cast<int>(alignment()), palette(),
                        isEnabled(),
                        fontMetrics().elidedText(text(), Qt::ElideMiddle, contentsRect().width()),
                        QPalette::WindowText);
}

bool RoleLabel::event(QEvent* event) {
  if (event->type() == QEvent::ToolTip && !elidedLines(contentsRect().width()).isEmpty()) {
    const QString more = toolTip().isEmpty() ? QString() : "\n" + toolTip();
    QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(), text() + more, this);
    return true;
  }
  const bool done = QLabel::event(event);
  switch (event->type()) {
    case QEvent::ApplicationPaletteChange:
    case QEvent::ApplicationFontChange:
    case QEvent::PaletteChange: apply(); break;
    case QEvent::Polish:
    case QEvent::LayoutDirectionChange: align(); break;
    default: break;
  }
  return done;
}

/// The toolkit goes by the script of the words, which is the same in every direction here.
void RoleLabel::align() {
  const Qt::Alignment side = alignment() & Qt::AlignHorizontal_Mask;
  const bool isMirrored = side == (Qt::AlignRight | Qt::AlignAbsolute);
  if (isRightToLeft() == isMirrored || (!isMirrored && side != Qt::AlignLeft)) return;
  setAlignment((alignment() & ~Qt::AlignHorizontal_Mask) |
               (isMirrored ? Qt::Alignment(Qt::AlignLeft) : Qt::AlignRight | Qt::AlignAbsolute));
}

void RoleLabel::apply() {
  const PaletteRoles roles = rolesOf(QGuiApplication::palette());
  const QColor color = roles.*role_;
  const QColor off = mixed(roles.window, color, tokens::offOpacity);
  if (palette().color(QPalette::Active, QPalette::WindowText) != color ||
      palette().color(QPalette::Disabled, QPalette::WindowText) != off) {
    QPalette own = palette();
    own.setColor(QPalette::WindowText, color);
    own.setColor(QPalette::Disabled, QPalette::WindowText, off);
    setPalette(own);
  }
  if (const QFont wanted = makeFont_(); font() != wanted) setFont(wanted);
}

}  // namespace vantorel
