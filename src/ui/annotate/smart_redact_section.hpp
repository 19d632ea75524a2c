#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <vector>

#include "app/smart_redact_session.hpp"
#include "ui/annotate/inspector_section.hpp"

class QVBoxLayout;

namespace vantorel {

class AnnotateModel;
class BusyRing;
class FindRow;
class InspectorForm;
class RoleLabel;
class SegmentedControl;
class SmallButton;

/// What should not be shared in the picture: the state of the scan, the finds by kind, how they are
/// covered, and the button that does it; and what was covered before the picture was filed, with
/// the button that takes it away. Seen while `SmartRedactSession` is open. Lives on the main
/// thread.
class SmartRedactSection : public InspectorSection {
 public:
  /// The model is ready and has a session.
  SmartRedactSection(std::shared_ptr<AnnotateModel> model, QWidget* parent);

  void refresh();

  /// The boxes of the line that the pointer or the keyboard is on, in canvas pixels; none when it
  /// has left.
  std::function<void(const std::vector<Box>& boxes)> onPointed;

 private:
  /// A kind, or a find of it.
  struct Line {
    SensitiveMatchKind kind = SensitiveMatchKind::email;
    std::optional<std::size_t> find;
    auto operator<=>(const Line&) const = default;
  };

  [[nodiscard]] SmartRedactSession& session() const;
  void addKept();
  void addState();
  void addStyle();
  void addButtons();
  FindRow* rowOf(const Line& line);
  void showFinds();
  void showState();
  void showKept();
  void pointed(const Line& line, bool isPointed);

  std::shared_ptr<AnnotateModel> model_;
  QWidget* state_ = nullptr;
  BusyRing* busy_ = nullptr;
  RoleLabel* words_ = nullptr;
  SmallButton* scan_ = nullptr;
  QWidget* list_ = nullptr;
  QVBoxLayout* lines_ = nullptr;
  InspectorForm* form_ = nullptr;
  SegmentedControl* style_ = nullptr;
  QWidget* buttons_ = nullptr;
  SmallButton* redact_ = nullptr;
  SmallButton* again_ = nullptr;
  RoleLabel* remark_ = nullptr;
  QWidget* kept_ = nullptr;
  RoleLabel* keptWords_ = nullptr;
  SmallButton* switch_ = nullptr;
  std::map<Line, FindRow*> rows_;
  std::vector<Line> shown_;
  std::set<SensitiveMatchKind> unfolded_;
  int generation_ = 0;
  QString said_;
  std::optional<Line> pointed_;
};

}  // namespace vantorel
