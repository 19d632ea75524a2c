#pragma once

#include <QWidget>
#include <memory>
#include <string>

#include "app/settings_model.hpp"
#include "ui/settings/setting_editors.hpp"
#include "ui/settings/shortcut_field.hpp"

class QBoxLayout;
class QPushButton;
class QToolButton;
class QVBoxLayout;

namespace vantorel {

class BusyRing;
class LinkButton;
class RoleLabel;

/// A row of Settings: its words at the left, what changes it at the right, or below where there is
/// no room, and at the end the way back to its default. Lives on the main thread.
class SettingRowView : public QWidget {
 public:
  SettingRowView(std::shared_ptr<SettingsModel> model, const SettingsLine& line,
                 PlainSymbol plainSymbol, QWidget* parent = nullptr);

  /// Shows the row as it is now.
  void setLine(const SettingsLine& line);

  /// Gives the keyboard to what changes it, and shows that.
  void pointTo();

 protected:
  void resizeEvent(QResizeEvent* event) override;
  bool event(QEvent* event) override;

 private:
  /// Words too narrow for their font have the control below them.
  void arrange();
  void addShortcut(const SettingsLine& line, PlainSymbol plainSymbol);
  void addRemarkBox();
  void addButton();
  void press();
  void showWords(const SettingsLine& line);
  void showShortcut(const SettingsLine& line);

  std::shared_ptr<SettingsModel> model_;
  std::string id_;
  QBoxLayout* layout_;
  RoleLabel* label_;
  RoleLabel* explanation_;
  RoleLabel* remark_;
  QWidget* side_;  // what changes it
  QVBoxLayout* sideColumn_;
  QToolButton* reset_;
  SettingEditor editor_;
  ShortcutField* field_ = nullptr;
  QWidget* box_ = nullptr;  // below the field: a remark, or a question
  RoleLabel* boxWords_ = nullptr;
  LinkButton* useItHere_ = nullptr;
  LinkButton* cancel_ = nullptr;
  QPushButton* button_ = nullptr;
  RoleLabel* progress_ = nullptr;
  BusyRing* ring_ = nullptr;
  bool isFolder_ = false;
  bool isBusy_ = false;
};

}  // namespace vantorel
