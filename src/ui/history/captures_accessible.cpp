#include "ui/history/captures_accessible.hpp"

#include <QAccessibleWidget>
#include <QLineEdit>

#include "library/entry_title.hpp"
#include "ui/history/history_view.hpp"
#include "ui/history/tile_painting.hpp"
#include "ui/kit/accessible_item.hpp"

namespace vantorel {
namespace {

class CapturesAccessible;

/// One capture. What it says is what stands at its place now.
class CaptureAccessible : public PressableItem {
 public:
  CaptureAccessible(CapturesAccessible& list, std::size_t place);

  [[nodiscard]] std::size_t place() const { return place_; }
  [[nodiscard]] bool isValid() const override;
  [[nodiscard]] QString text(QAccessible::Text what) const override;
  [[nodiscard]] QRect rect() const override;
  [[nodiscard]] QAccessible::Role role() const override { return QAccessible::ListItem; }
  [[nodiscard]] QAccessible::State state() const override;

 protected:
  void press() override;

 private:
  CapturesAccessible& list_;
  std::size_t place_;
};

class CapturesAccessible : public QAccessibleWidget {
 public:
  explicit CapturesAccessible(HistoryView* view)
      : QAccessibleWidget(view, QAccessible::List), view_(view) {}

  [[nodiscard]] HistoryView& view() const { return *view_; }
  [[nodiscard]] const HistoryListing& listing() const { return view_->model().listing(); }

  /// The captures, and after them the field of a name that is being changed.
  [[nodiscard]] int childCount() const override {
    return static_cast<int>(listing().size()) + (editor() == nullptr ? 0 : 1);
  }

  [[nodiscard]] QAccessibleInterface* child(int index) const override {
    if (index < 0 || index >= childCount()) return nullptr;
    if (index == static_cast<int>(listing().size())) {
      return QAccessible::queryAccessibleInterface(editor());
    }
    const auto place = static_cast<std::size_t>(index);
    return items_.of(place, [&] {
      return new CaptureAccessible(const_cast<CapturesAccessible&>(*this), place);
    });
  }
  [[nodiscard]] int indexOfChild(const QAccessibleInterface* child) const override {
    const auto* const item = dynamic_cast<const CaptureAccessible*>(child);
    if (item != nullptr) return static_cast<int>(item->place());
    return child != nullptr && child->object() != nullptr && child->object() == editor()
               ? static_cast<int>(listing().size())
               : -1;
  }
  [[nodiscard]] QAccessibleInterface* childAt(int x, int y) const override {
    const auto place = view_->placeAt(view_->viewport()->mapFromGlobal(QPoint(x, y)));
    return place ? child(static_cast<int>(*place)) : nullptr;
  }
  [[nodiscard]] QAccessibleInterface* focusChild() const override {
    if (auto* const field = editor(); field != nullptr && field->hasFocus()) {
      return QAccessible::queryAccessibleInterface(field);
    }
    const auto focus = view_->model().selection().focus();
    return focus && view_->hasFocus() ? child(static_cast<int>(*focus)) : nullptr;
  }

 private:
  [[nodiscard]] QWidget* editor() const {
    auto* const field = view_->viewport()->findChild<QLineEdit*>();
    return field != nullptr && field->isVisible() ? field : nullptr;
  }

  HistoryView* view_;
  mutable AccessibleItems<std::size_t> items_;
};

CaptureAccessible::CaptureAccessible(CapturesAccessible& list, std::size_t place)
    : PressableItem(list), list_(list), place_(place) {}

bool CaptureAccessible::isValid() const { return place_ < list_.listing().size(); }

QString CaptureAccessible::text(QAccessible::Text what) const {
  if (!isValid()) return {};
  const ScreenshotEntry& entry = *list_.listing().at(place_);
  if (what == QAccessible::Description) return QString::fromStdString(entry.path);
  if (what != QAccessible::Name) return {};
  const TextSnippet& found = list_.view().model().snippetOf(place_);
  const HistoryListing::Section& section = list_.listing().sectionOf(place_);
  QString name = QString::fromStdString(titleOf(entry)) + ", " + kindOf(entry);
  if (!section.title.empty()) name += ", " + QString::fromStdString(section.title);
  name += " " + QString::fromStdString(list_.listing().timeOf(place_));
  if (entry.sourceApp) name += ", " + QString::fromStdString(entry.sourceApp->name);
  if (entry.starred) name += QStringLiteral(", starred");
  const FileReach reach = list_.view().model().reachOf(entry);
  if (reach != FileReach::there) name += ", " + reachText(reach).toLower();
  if (!found.isEmpty()) name += ", “" + QString::fromStdString(found.text) + "”";
  return name;
}

QRect CaptureAccessible::rect() const {
  if (!isValid()) return {};
  const QRect area = list_.view().areaOf(place_);
  return {list_.view().viewport()->mapToGlobal(area.topLeft()), area.size()};
}

QAccessible::State CaptureAccessible::state() const {
  QAccessible::State state;
  if (!isValid()) {
    state.invalid = true;
    return state;
  }
  const HistoryModel& model = list_.view().model();
  state.selectable = true;
  state.multiSelectable = true;
  state.focusable = true;
  state.selected = model.selection().contains(list_.listing().at(place_)->id);
  state.focused = list_.view().hasFocus() && model.selection().focus() == place_;
  if (!list_.view().viewport()->rect().intersects(list_.view().areaOf(place_))) {
    state.offscreen = true;
    state.invisible = true;
  }
  return state;
}

void CaptureAccessible::press() { list_.view().choose(place_); }

QAccessibleInterface* makeCaptures(const QString&, QObject* object) {
  auto* const view = dynamic_cast<HistoryView*>(object);
  return view == nullptr ? nullptr : new CapturesAccessible(view);
}

}  // namespace

void installCapturesAccessibility() {
  installAccessibleFactory("vantorelCapturesAccessible", makeCaptures);
}

}  // namespace vantorel
