#include "ui/annotate/layers_section.hpp"

#include <QHBoxLayout>
#include <QMenu>
#include <QToolButton>
#include <utility>

#include "ui/annotate/layer_list.hpp"
#include "ui/annotate/small_button.hpp"
#include "ui/kit/icons.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {

LayersSection::LayersSection(InspectedEditor editor, QWidget* parent)
    : InspectorSection(QStringLiteral("layers"), true, parent), editor_(std::move(editor)) {
  setTitle(QStringLiteral("Layers"));
  auto* const add = new QToolButton(this);
  add->setIcon(icon(IconName::plus));
  add->setIconSize({rowIconSize, rowIconSize});
  add->setAutoRaise(true);
  add->setToolTip(QStringLiteral("Add layers"));
  add->setAccessibleName(QStringLiteral("Add layers"));
  connect(add, &QToolButton::clicked, this, [this] { editor_.addLayers(); });
  setTrailing(add);
  // The keyboard goes through them in this order.
  list_ = new LayerList(editor_, this);
  arrangeRow_ = new QWidget(this);
  addContent(list_);
  auto* const row = new QHBoxLayout(arrangeRow_);
  row->setContentsMargins(tokens::space16, 0, tokens::space16, 0);
  auto* const arrange = new SmallButton(QStringLiteral("Arrange"), arrangeRow_);
  auto* const menu = new QMenu(arrange);
  list_->addArrangements(*menu);
  arrange->setMenu(menu);
  row->addWidget(arrange);
  row->addStretch(1);
  addContent(arrangeRow_);
}

bool LayersSection::isHeld() const { return list_->isHeld(); }

void LayersSection::onLetGo(std::function<void()> letGo) { list_->onLetGo = std::move(letGo); }

void LayersSection::refresh() {
  list_->refresh();
  arrangeRow_->setVisible(editor_.model->state().layers->size() > 1);
}

}  // namespace vantorel
