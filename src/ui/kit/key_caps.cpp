#include "ui/kit/key_caps.hpp"

#include <QEvent>
#include <QFontMetrics>
#include <QPainter>
#include <algorithm>

#include "ui/kit/box_painting.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr int capPadding = 6;
constexpr int gap = tokens::space4;

QFont capFont() {
  QFont font = tokens::smallFont();
  font.setWeight(QFont::Medium);
  return font;
}

QString plus() { return QStringLiteral("+"); }
QString orWord() { return QStringLiteral("or"); }

int widthOf(const QFontMetrics& metrics, const QString& cap) {
  return std::max(metrics.horizontalAdvance(cap) + 2 * capPadding, keyCapHeight());
}

}  // namespace

int keyCapHeight() { return std::max(22, QFontMetrics(capFont()).height() + 4); }

int keyCapsWidth(const KeyCapNames& caps) {
  const QFontMetrics metrics(capFont());
  int width = 0;
  for (const std::string& cap : caps) {
    if (width > 0) width += 2 * gap + metrics.horizontalAdvance(plus());
    width += widthOf(metrics, QString::fromStdString(cap));
  }
  return width;
}

void paintKeyCaps(QPainter& painter, const QRect& area, const KeyCapNames& caps,
                  const QWidget& widget) {
  const PaletteRoles roles = rolesOf(widget.palette());
  const QFontMetrics metrics(capFont());
  painter.setFont(capFont());
  painter.setRenderHint(QPainter::Antialiasing);
  const bool isMirrored = widget.layoutDirection() == Qt::RightToLeft;
  const int height = keyCapHeight();
  int left = area.left();
  // What stands at `left` in an unmirrored layout.
  const auto placed = [&](int width) {
    const QRect box(left, area.top() + (area.height() - height) / 2, width, height);
    return isMirrored ? QRect(area.left() + area.right() - box.right(), box.top(), width, height)
                      : box;
  };
  bool isFirst = true;
  for (const std::string& cap : caps) {
    if (!isFirst) {
      const int width = 2 * gap + metrics.horizontalAdvance(plus());
      painter.setPen(roles.quiet);
      painter.drawText(placed(width), Qt::AlignCenter, plus());
      left += width;
    }
    isFirst = false;
    const QString name = QString::fromStdString(cap);
    const QRect box = placed(widthOf(metrics, name));
    paintBox(painter, box, tokens::keyCapRadius, mixed(roles.base, roles.text, 0.06),
             roles.fieldBorder);
    painter.setPen(roles.text);
    painter.drawText(box, Qt::AlignCenter, name);
    left += box.width();
  }
}

KeyCaps::KeyCaps(QWidget* parent) : QWidget(parent) {
  setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
  setAttribute(Qt::WA_TransparentForMouseEvents);
}

void KeyCaps::setKeys(const std::vector<KeyCapNames>& ways, const QString& none) {
  if (ways_ == ways && none_ == none) return;
  ways_ = ways;
  none_ = none;
  setAccessibleName(words());
  updateGeometry();
  update();
}

QString KeyCaps::words() const {
  if (ways_.empty()) return none_;
  QStringList all;
  for (const KeyCapNames& way : ways_) {
    QStringList names;
    for (const std::string& cap : way) names.push_back(QString::fromStdString(cap));
    all.push_back(names.join(plus()));
  }
  return all.join(QStringLiteral(" or "));
}

QSize KeyCaps::sizeHint() const {
  const QFontMetrics metrics(tokens::smallFont());
  if (ways_.empty()) return {metrics.horizontalAdvance(none_) + 1, keyCapHeight()};
  int width = 0;
  for (const KeyCapNames& way : ways_) {
    if (width > 0) width += 2 * tokens::space8 + metrics.horizontalAdvance(orWord());
    width += keyCapsWidth(way);
  }
  return {width, keyCapHeight()};
}

void KeyCaps::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  const PaletteRoles roles = rolesOf(palette());
  const QFontMetrics metrics(tokens::smallFont());
  if (ways_.empty()) {
    painter.setFont(tokens::smallFont());
    painter.setPen(roles.quiet);
    painter.drawText(rect(), Qt::AlignCenter, none_);
    return;
  }
  const bool isMirrored = layoutDirection() == Qt::RightToLeft;
  int left = 0;
  const auto placed = [&](int width) {
    const QRect area(isMirrored ? this->width() - left - width : left, 0, width, height());
    left += width;
    return area;
  };
  for (std::size_t i = 0; i < ways_.size(); ++i) {
    if (i > 0) {
      painter.setFont(tokens::smallFont());
      painter.setPen(roles.quiet);
      painter.drawText(placed(2 * tokens::space8 + metrics.horizontalAdvance(orWord())),
                       Qt::AlignCenter, orWord());
    }
    paintKeyCaps(painter, placed(keyCapsWidth(ways_[i])), ways_[i], *this);
  }
}

void KeyCaps::changeEvent(QEvent* event) {
  QWidget::changeEvent(event);
  if (event->type() == QEvent::FontChange) updateGeometry();
}

}  // namespace vantorel
