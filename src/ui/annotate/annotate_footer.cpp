#include "ui/annotate/annotate_footer.hpp"

#include <QAccessible>
#include <QHBoxLayout>
#include <QHelpEvent>
#include <QMenu>
#include <QPainter>
#include <QToolButton>
#include <QToolTip>
#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "ui/annotate/bar_button.hpp"
#include "ui/kit/accessible_role.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr int annotateFooterHeight = 36;
constexpr std::array<double, 8> zoomChoices{0.25, 0.5, 1, 2, 4, 8, 16, 32};

QString percent(double zoom) {
  const double shown = zoom * 100;
  return QStringLiteral("%1 %").arg(std::lround(shown));
}

}  // namespace

/// One line that gives way to what is beside it.
class AnnotateFooter::Line : public QWidget {
 public:
  Line() {
    setAccessibleRole(*this, QAccessible::StaticText);
    setObjectName(QStringLiteral("hint"));
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
  }

  void show(const QString& text, bool isSaid) {
    if (text == text_ && isSaid == isSaid_) return;
    text_ = text;
    isSaid_ = isSaid;
    setAccessibleName(text);
    if (isSaid) {
      QAccessibleEvent alert(this, QAccessible::Alert);
      QAccessible::updateAccessibility(&alert);
    }
    update();
  }

 protected:
  void paintEvent(QPaintEvent*) override {
    const PaletteRoles roles = rolesOf(palette());
    QPainter painter(this);
    painter.setFont(tokens::smallFont());
    painter.setPen(isSaid_ ? roles.text : roles.quiet);
    painter.drawText(rect(), Qt::AlignVCenter | Qt::AlignLeading,
                     QFontMetrics(tokens::smallFont()).elidedText(text_, Qt::ElideRight, width()));
  }
  bool event(QEvent* event) override {
    if (event->type() == QEvent::ToolTip) {
      const bool isCut = QFontMetrics(tokens::smallFont()).horizontalAdvance(text_) > width();
      QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(), isCut ? text_ : QString(),
                         this);
      return true;
    }
    return QWidget::event(event);
  }

 private:
  QString text_;
  bool isSaid_ = false;
};

AnnotateFooter::AnnotateFooter(QWidget* parent)
    : QWidget(parent),
      line_(new Line),
      less_(makeBarButton(IconName::minus, QStringLiteral("Zoom Out"), QStringLiteral("Ctrl+−"))),
      zoom_(makeBarButton(IconName::down, QStringLiteral("Zoom"), {})),
      more_(makeBarButton(IconName::plus, QStringLiteral("Zoom In"), QStringLiteral("Ctrl++"))),
      fit_(makeBarButton(IconName::fit, QStringLiteral("Fit"), QStringLiteral("Ctrl+0"))) {
  setObjectName(QStringLiteral("footer"));
  zoom_->setToolButtonStyle(Qt::ToolButtonTextOnly);
  fit_->setCheckable(true);
  for (QToolButton* const button : {less_, more_, fit_}) {
    button->setIconSize(QSize(rowIconSize, rowIconSize));
    button->setFixedSize(tokens::smallControl, tokens::smallControl);
  }
  zoom_->setFixedHeight(tokens::controlHeight(tokens::smallControl, font()));
  zoom_->setMinimumWidth(fontMetrics().horizontalAdvance(QStringLiteral("3200 %")) +
                         tokens::space24);
  auto* const row = new QHBoxLayout(this);
  const bool isMirrored = layoutDirection() == Qt::RightToLeft;
  row->setContentsMargins(isMirrored ? tokens::space12 : tokens::space16, 0,
                          isMirrored ? tokens::space16 : tokens::space12, 0);
  row->setSpacing(tokens::space4);
  row->addWidget(line_, 1);
  row->addSpacing(tokens::space12);
  row->addWidget(less_);
  row->addWidget(zoom_);
  row->addWidget(more_);
  row->addWidget(fit_);
  const auto forward = [this](QToolButton* button, std::function<void()> AnnotateFooter::* run) {
    connect(button, &QToolButton::clicked, this, [this, run] {
      if (this->*run) (this->*run)();
    });
  };
  forward(less_, &AnnotateFooter::onZoomOut);
  forward(more_, &AnnotateFooter::onZoomIn);
  forward(fit_, &AnnotateFooter::onFit);
  connect(zoom_, &QToolButton::clicked, this, [this] { showMenu(); });
  showZoom(1, true);
}

int AnnotateFooter::usualHeight() {
  return std::max(annotateFooterHeight,
                  tokens::controlHeight(tokens::smallControl) + tokens::space4);
}

void AnnotateFooter::paintEvent(QPaintEvent*) {
  const PaletteRoles roles = rolesOf(palette());
  QPainter painter(this);
  painter.fillRect(rect(), roles.window);
  painter.fillRect(0, 0, width(), 1, roles.line);
}

void AnnotateFooter::showHint(const QString& hint, const QString& said) {
  line_->show(said.isEmpty() ? hint : said, !said.isEmpty());
}

void AnnotateFooter::showZoom(double zoom, bool isFit) {
  shown_ = zoom;
  zoom_->setText(isFit ? QStringLiteral("Fit") : percent(zoom));
  setBarButtonWords(*zoom_, QStringLiteral("Zoom %1").arg(percent(zoom)), {});
  fit_->setChecked(isFit);
}

void AnnotateFooter::setZoomEnabled(bool isEnabled) {
  for (QToolButton* const button : {less_, zoom_, more_, fit_}) button->setEnabled(isEnabled);
}

void AnnotateFooter::showMenu() {
  auto* const menu = new QMenu(this);
  menu->setAttribute(Qt::WA_DeleteOnClose);
  QAction* const fit = menu->addAction(QStringLiteral("Fit\tCtrl+0"), this, [this] {
    if (onFit) onFit();
  });
  fit->setCheckable(true);
  fit->setChecked(fit_->isChecked());
  menu->addSeparator();
  for (const double zoom : zoomChoices) {
    const QString key = zoom == 1 ? QStringLiteral("\tCtrl+1") : QString();
    QAction* const action = menu->addAction(percent(zoom) + key, this, [this, zoom] {
      if (onZoom) onZoom(zoom);
    });
    action->setCheckable(true);
    action->setChecked(std::abs(zoom - shown_) < 0.001 && !fit_->isChecked());
  }
  const int height = menu->sizeHint().height();
  menu->popup(zoom_->mapToGlobal(QPoint(0, -height - 2)));
}

}  // namespace vantorel
