#pragma once

#include <QPointer>
#include <functional>
#include <memory>
#include <vector>

#include "app/annotate_model.hpp"
#include "ui/kit/entrance.hpp"
#include "ui/kit/tokens.hpp"
#include "ui/kit/window_frame.hpp"

class QDialog;
class QMenu;

namespace vantorel {

class AnnotateBar;
class AnnotateBlank;
class AnnotateCanvas;
class AnnotateFooter;
class AnnotateInspector;
class CropCapsule;
class MessageBand;
class ToolRail;

/// One capture with what is drawn on it. There may be several at once. Lives on the main thread.
class AnnotateWindow : public WindowFrame {
 public:
  AnnotateWindow(std::shared_ptr<AnnotateModel> model, std::function<void()> onClosed);
  ~AnnotateWindow() override;

  /// Asks about changes that are not saved; `done` is told whether the window has closed.
  void requestClose(std::function<void(bool closed)> done) override;

  void bringForward() override;

 protected:
  bool mayClose() override;
  void leave() override;
  void closeEvent(QCloseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  bool eventFilter(QObject* object, QEvent* event) override;

 private:
  void addKeys();
  void modelChanged(const AnnotateModel::Change& change);
  void showStage();
  void showSaid();
  void showHint();
  void arrange();
  [[nodiscard]] int bandHeight(int width) const;
  void setDrawer(bool isOpen);
  void toggleInspector();
  void toggleSmartRedact();
  void showSmartRedact();
  [[nodiscard]] bool isInspectorSeen() const;
  [[nodiscard]] bool isNarrow() const;
  [[nodiscard]] bool isReady() const { return model_->stage() == AnnotateModel::Stage::ready; }
  void nextPane(bool isBack);
  void undo();
  void redo();
  void askWhereToSave(ExportFormat format);
  void finish();
  void pick(Tool tool);
  void offerForms(Tool tool);
  void paste();
  void showMenu(const QPoint& at);
  void fillTextMenu(QMenu& menu);
  void fillShapesMenu(QMenu& menu);
  void answerClose(bool closed);
  void closeNow();
  void endQuestion();

  std::shared_ptr<AnnotateModel> model_;
  QWidget* content_;
  AnnotateBar* bar_;
  ToolRail* rail_;
  AnnotateCanvas* canvas_;
  AnnotateBlank* blank_;
  MessageBand* band_;
  AnnotateFooter* footer_;
  QWidget* pane_;
  AnnotateInspector* inspector_;
  CropCapsule* capsule_;
  bool isInspectorWanted_ = true;
  bool isDrawerOpen_ = false;
  bool isRedacting_ = false;  // what should not be shared is listed
  Entrance drawer_{tokens::barTime, [this] { arrange(); }};
  QString bandText_;
  bool mayClose_ = false;
  QPointer<QDialog> question_;
  std::vector<std::function<void(bool)>> waitingForClose_;
  Observation observation_;
};

}  // namespace vantorel
