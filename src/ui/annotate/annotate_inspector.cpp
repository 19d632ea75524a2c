#include "ui/annotate/annotate_inspector.hpp"

#include <QElapsedTimer>
#include <QKeyEvent>
#include <QScrollBar>
#include <QStyle>
#include <QTimerEvent>
#include <QVBoxLayout>
#include <algorithm>
#include <utility>

#include "app/annotate_model.hpp"
#include "ui/annotate/background_section.hpp"
#include "ui/annotate/canvas_section.hpp"
#include "ui/annotate/layer_section.hpp"
#include "ui/annotate/layers_section.hpp"
#include "ui/annotate/smart_redact_section.hpp"
#include "ui/annotate/style_section.hpp"
#include "ui/kit/accessible_role.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

/// A drag on the canvas changes the model with each event, and needs the time for itself.
constexpr int inspectorPause = 40;  // ms

}  // namespace

AnnotateInspector::AnnotateInspector(QWidget* parent)
    : QScrollArea(parent), bar_(new QScrollBar(Qt::Vertical, this)) {
  setAccessibleRole(*this, QAccessible::Pane);
  setAccessibleName(QStringLiteral("Inspector"));
  setFrameShape(QFrame::NoFrame);
  setFocusPolicy(Qt::NoFocus);
  setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  setWidgetResizable(true);
  viewport()->setAutoFillBackground(false);
  bar_->setFocusPolicy(Qt::NoFocus);
  QScrollBar* const hidden = verticalScrollBar();
  const auto follow = [this, hidden] {
    bar_->setRange(hidden->minimum(), hidden->maximum());
    bar_->setPageStep(hidden->pageStep());
    bar_->setSingleStep(hidden->singleStep());
    placeBar();
  };
  connect(hidden, &QScrollBar::rangeChanged, this, follow);
  follow();  // what fits from the start changes nothing
  connect(hidden, &QScrollBar::valueChanged, bar_, &QScrollBar::setValue);
  connect(bar_, &QScrollBar::valueChanged, hidden, &QScrollBar::setValue);
}

AnnotateInspector::AnnotateInspector(InspectedEditor editor, QWidget* parent)
    : AnnotateInspector(parent) {
  begin(std::move(editor));
}

AnnotateInspector::AnnotateInspector(std::shared_ptr<AnnotateModel> model, QWidget* parent)
    : AnnotateInspector(parent) {
  model_ = std::move(model);
  whenReady(model_, this, changes_, [this](InspectedEditor editor) { begin(std::move(editor)); });
}

void AnnotateInspector::begin(InspectedEditor editor) {
  editor_ = std::move(editor);
  auto* const content = new QWidget;
  auto* const column = new QVBoxLayout(content);
  column->setContentsMargins(0, 0, 0, 0);
  column->setSpacing(0);
  // The keyboard goes from one to the next as they are made: from the top.
  if (model_ != nullptr && model_->smartRedact() != nullptr) {
    smartRedact_ = new SmartRedactSection(model_, content);
    smartRedact_->onPointed = [this](const std::vector<vantorel::Box>& boxes) {
      if (onFindsPointed) onFindsPointed(boxes);
    };
    finds_ = model_->observe([this](const AnnotateModel::Change& change) {
      if (change.redaction) changed();
    });
  }
  style_ = new StyleSection(editor_, content);
  layers_ = new LayersSection(editor_, content);
  layer_ = new LayerSection(editor_, content);
  background_ = new BackgroundSection(editor_, content);
  canvas_ = new CanvasSection(editor_, content);
  for (InspectorSection* const section : sections()) {
    column->addWidget(section);
    section->onUnfolded = [this, section] { reveal(*section); };
  }
  column->addStretch(1);
  layers_->onLetGo([this] { changed(); });
  setWidget(content);
  content->setAutoFillBackground(false);
  // In the place of what waited for the editor, which may be calling.
  changes_ = editor_.observe([this] { changed(); });
  refresh();
}

std::vector<InspectorSection*> AnnotateInspector::sections() const {
  std::vector<InspectorSection*> all{style_, layers_, layer_, background_, canvas_};
  if (smartRedact_ != nullptr) all.insert(all.begin(), smartRedact_);
  return all;
}

void AnnotateInspector::revealSmartRedact() {
  if (smartRedact_ == nullptr) return;
  smartRedact_->setOpen(true);
  refresh();
  verticalScrollBar()->setValue(0);
}

/// All of it, or its beginning.
void AnnotateInspector::reveal(InspectorSection& section) {
  refresh();
  widget()->adjustSize();
  const int seen = viewport()->height();
  const int bottom = section.geometry().bottom() + 1 - seen;
  if (verticalScrollBar()->value() < bottom) {
    verticalScrollBar()->setValue(std::min(bottom, section.y()));
  }
}

/// Over the rows' margin, from which it takes nothing.
void AnnotateInspector::placeBar() {
  const int wide = bar_->sizeHint().width();
  const QRect area(width() - wide, 0, wide, height());
  bar_->setGeometry(QStyle::visualRect(layoutDirection(), rect(), area));
  bar_->setVisible(bar_->maximum() > bar_->minimum());
  bar_->raise();
}

void AnnotateInspector::resizeEvent(QResizeEvent* event) {
  QScrollArea::resizeEvent(event);
  placeBar();
}

int AnnotateInspector::wantedWidth() {
  constexpr int letters = 31;  // of the usual font in a row
  constexpr int mostWidth = 440;
  return std::clamp(QFontMetrics(tokens::bodyFont()).averageCharWidth() * letters, usualWidth,
                    mostWidth);
}

QSize AnnotateInspector::sizeHint() const { return {wantedWidth(), 400}; }

void AnnotateInspector::changed() {
  isBehind_ = true;
  // The first change is shown with the next turn of the loop, those that follow together.
  if (isVisible() && !pause_.isActive()) pause_.start(0, this);
}

void AnnotateInspector::timerEvent(QTimerEvent* event) {
  if (event->timerId() != pause_.timerId()) return QScrollArea::timerEvent(event);
  if (!isBehind_) return pause_.stop();
  QElapsedTimer taken;
  taken.start();
  refresh();
  // Thousands of selected shapes take their time, which is the drag's.
  pause_.start(std::max(inspectorPause, 10 * static_cast<int>(taken.elapsed())), this);
}

void AnnotateInspector::refresh() {
  isBehind_ = false;
  if (style_ == nullptr) return;
  if (smartRedact_ != nullptr) smartRedact_->refresh();
  style_->refresh(!layers_->isHeld());
  layers_->refresh();
  layer_->refresh();
  background_->refresh();
  canvas_->refresh();
  for (InspectorSection* const section : sections()) section->settle();
  widget()->layout()->activate();
}

void AnnotateInspector::showEvent(QShowEvent* event) {
  QScrollArea::showEvent(event);
  if (isBehind_) refresh();
  editor_.lookAtLayers();
}

bool AnnotateInspector::event(QEvent* event) {
  if (event->type() == QEvent::WindowActivate) editor_.lookAtLayers();
  const bool done = QScrollArea::event(event);
  if (event->type() == QEvent::LayoutDirectionChange) placeBar();
  return done;
}

void AnnotateInspector::keyPressEvent(QKeyEvent* event) {
  // The arrows are the window's.
  event->ignore();
}

}  // namespace vantorel
