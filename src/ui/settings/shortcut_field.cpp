#include "ui/settings/shortcut_field.hpp"

#include <QKeyEvent>
#include <QPainter>
#include <utility>

#include "ui/kit/accessible_role.hpp"
#include "ui/kit/box_painting.hpp"
#include "ui/kit/key_caps.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/row_group.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr int padding = 10;
constexpr int fieldWidth = 196;

std::uint32_t maskOf(Qt::KeyboardModifiers modifiers) {
  std::uint32_t mask = 0;
  if (modifiers.testFlag(Qt::ControlModifier)) mask |= HotKeySpec::control;
  if (modifiers.testFlag(Qt::AltModifier)) mask |= HotKeySpec::option;
  if (modifiers.testFlag(Qt::ShiftModifier)) mask |= HotKeySpec::shift;
  if (modifiers.testFlag(Qt::MetaModifier)) mask |= HotKeySpec::command;
  return mask;
}

std::uint32_t modifierOf(int key) {
  switch (key) {
    case Qt::Key_Control: return HotKeySpec::control;
    case Qt::Key_Alt: return HotKeySpec::option;
    case Qt::Key_Shift: return HotKeySpec::shift;
    case Qt::Key_Meta:
    case Qt::Key_Super_L:
    case Qt::Key_Super_R: return HotKeySpec::command;
    default: return 0;
  }
}

/// Keys that change what others write.
bool isModifier(int key) {
  return modifierOf(key) != 0 || key == Qt::Key_AltGr || key == Qt::Key_CapsLock ||
         key == Qt::Key_NumLock || key == Qt::Key_ScrollLock || key == Qt::Key_Hyper_L ||
         key == Qt::Key_Hyper_R;
}

const QString& listeningKey() {
  static const QString name = QStringLiteral("Esc");
  return name;
}

}  // namespace

ShortcutField::ShortcutField(ShortcutRecorder& recorder, std::string setting,
                             PlainSymbol plainSymbol, QWidget* parent)
    : QWidget(parent),
      recorder_(recorder),
      setting_(std::move(setting)),
      plainSymbol_(std::move(plainSymbol)) {
  setFocusPolicy(Qt::StrongFocus);
  setAccessibleRole(*this, QAccessible::HotkeyField);
  setAttribute(Qt::WA_Hover);
  setCursor(Qt::PointingHandCursor);
  setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

ShortcutField::~ShortcutField() {
  if (field_.isListening) recorder_.stop();
}

void ShortcutField::setField(const ShortcutRecorder::Field& field) {
  const bool wasListening = std::exchange(field_, field).isListening;
  if (field.isListening && !wasListening) {
    setFocus(Qt::OtherFocusReason);
    grabKeyboard();
  } else if (!field.isListening && wasListening) {
    releaseKeyboard();
  }
  QStringList names;
  for (const std::string& cap : field.caps) names.push_back(QString::fromStdString(cap));
  const QString words =
      names.isEmpty() ? QString::fromStdString(field.prompt) : names.join(QStringLiteral("+"));
  setAccessibleDescription(words);
  setToolTip(field.isListening ? QStringLiteral("Esc cancels, Backspace takes the key away")
                               : QStringLiteral("Record another key (Return)"));
  updateGeometry();
  update();
}

QSize ShortcutField::sizeHint() const {
  const int words =
      QFontMetrics(tokens::bodyFont()).horizontalAdvance(QString::fromStdString(field_.prompt));
  return {std::max({fieldWidth, keyCapsWidth(field_.caps) + 2 * padding, words + 2 * padding}),
          tokens::controlHeight()};
}

bool ShortcutField::event(QEvent* event) {
  // Keys that the window would take, and the tabulator.
  if (field_.isListening) {
    if (event->type() == QEvent::ShortcutOverride) {
      event->accept();
      return true;
    }
    if (event->type() == QEvent::KeyPress) {
      keyPressEvent(static_cast<QKeyEvent*>(event));
      return true;
    }
  }
  return QWidget::event(event);
}

void ShortcutField::keyPressEvent(QKeyEvent* event) {
  if (!field_.isListening) {
    const bool begins = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter ||
                        event->key() == Qt::Key_Space;
    if (!begins || event->modifiers() != Qt::NoModifier) return QWidget::keyPressEvent(event);
    return recorder_.listen(setting_);
  }
  event->accept();
  if (event->isAutoRepeat()) return;
  const std::uint32_t held = maskOf(event->modifiers());
  if (isModifier(event->key())) return recorder_.hold(held | modifierOf(event->key()));
  std::uint32_t symbol = plainSymbol_ ? plainSymbol_(event->nativeScanCode()) : 0;
  if (symbol == 0) symbol = event->nativeVirtualKey();
  if (symbol == 0) return;
  recorder_.press({symbol, held});
}

void ShortcutField::keyReleaseEvent(QKeyEvent* event) {
  if (!field_.isListening) return QWidget::keyReleaseEvent(event);
  event->accept();
  if (!event->isAutoRepeat()) {
    recorder_.hold(maskOf(event->modifiers()) & ~modifierOf(event->key()));
  }
}

void ShortcutField::mousePressEvent(QMouseEvent* event) {
  event->accept();
  if (field_.isListening) {
    recorder_.stop();
  } else {
    recorder_.listen(setting_);
  }
}

void ShortcutField::focusOutEvent(QFocusEvent* event) {
  QWidget::focusOutEvent(event);
  // The buttons of its question are pressed with the keyboard still here.
  if (field_.isListening && !field_.isTaken) recorder_.stop();
}

void ShortcutField::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const PaletteRoles roles = rolesOf(palette());
  const bool isEmpty = field_.caps.empty();
  const bool isOpen = isEmpty && !field_.isListening;
  QPen line(underMouse() ? roles.switchOff : roles.fieldBorder);
  if (isOpen) {
    // A dash no wider than its line would be a dotted one.
    line.setDashPattern({4, 3});
    line.setColor(roles.switchOff);
  }
  QColor ground = roles.isDark ? groupGround(palette()) : roles.base;
  if (underMouse() && !field_.isListening) ground = mixed(ground, roles.text, 0.03);
  if (field_.isListening) line = QPen(roles.focus, tokens::focusRing);
  paintBox(painter, rect(), tokens::buttonRadius, ground, line);
  if (!field_.isListening && hasKeyboardFocus(*this)) {
    paintFocusRing(painter, QRectF(rect()).adjusted(3, 3, -3, -3), tokens::keyCapRadius,
                   roles.focus);
  }
  const QRect inside = rect().adjusted(padding, 0, -padding, 0);
  if (!isEmpty) {
    paintKeyCaps(painter, inside, field_.caps, *this);
  } else {
    painter.setFont(tokens::bodyFont());
    painter.setPen(roles.quiet);
    painter.drawText(inside, Qt::AlignVCenter | Qt::AlignLeading,
                     QString::fromStdString(field_.prompt));
  }
  if (!field_.isListening) return;
  const KeyCapNames escape{listeningKey().toStdString()};
  const int width = keyCapsWidth(escape);
  if (width + keyCapsWidth(field_.caps) > inside.width()) return;
  const bool isMirrored = layoutDirection() == Qt::RightToLeft;
  paintKeyCaps(painter,
               QRect(isMirrored ? inside.left() : inside.right() - width + 1, 0, width, height()),
               escape, *this);
}

}  // namespace vantorel
