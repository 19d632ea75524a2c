#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "app/settings_model.hpp"
#include "ui/kit/window_frame.hpp"
#include "ui/settings/shortcut_field.hpp"

class QAbstractButton;
class QComboBox;
class QLineEdit;
class QScrollArea;
class QVBoxLayout;

namespace vantorel {

class RoleLabel;
class SettingRowView;

/// The window of the settings: panes at the left, or a menu of them on top where it is narrow, and
/// the rows of the one in view, or of what is searched for. Lives on the main thread.
class SettingsWindow : public WindowFrame {
 public:
  SettingsWindow(std::shared_ptr<SettingsModel> model, std::function<void()> onClosed);
  ~SettingsWindow() override;

  /// For the keys that are recorded; without it shifted signs are taken for keys of their own.
  void setPlainSymbol(PlainSymbol plainSymbol) { plainSymbol_ = std::move(plainSymbol); }

 protected:
  void resizeEvent(QResizeEvent* event) override;
  void paintEvent(QPaintEvent* event) override;
  void showEvent(QShowEvent* event) override;
  void changeEvent(QEvent* event) override;
  void leave() override;

 private:
  QWidget* makeNavigation();
  QWidget* makeTop();
  void fitNavigation();
  QWidget* makePane();
  void addKeys();
  void changed(std::string_view id);
  void showChange(std::string_view id);
  void rebuild();
  void addLines(const std::vector<SettingsLine>& lines, bool namesPanes);
  void showNavigation();
  void showPointedTo();
  void showProblem();
  void showNextPart();

  std::shared_ptr<SettingsModel> model_;
  PlainSymbol plainSymbol_;
  QWidget* navigation_ = nullptr;
  QWidget* top_ = nullptr;  // instead, where it is narrow
  QLineEdit* search_ = nullptr;
  QLineEdit* topSearch_ = nullptr;
  QComboBox* topPanes_ = nullptr;
  std::map<SettingsPane, QAbstractButton*> panes_;
  QScrollArea* scroll_ = nullptr;
  QVBoxLayout* column_ = nullptr;
  std::map<std::string, SettingRowView*, std::less<>> rows_;
  SettingsPane shownPane_ = SettingsPane::general;
  QString shownSearch_;
  std::string shownProblem_;
  bool isBuilt_ = false;
  Observation showing_;
  Observation observation_;
};

}  // namespace vantorel
