#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "editor/editor_model.hpp"

namespace vantorel {

/// The changes of one drag, or of one visit to a picker, as one step to undo. Lives on the main
/// thread.
class EditStep {
 public:
  EditStep(std::shared_ptr<EditorModel> model, std::string name)
      : model_(std::move(model)), name_(std::move(name)) {}
  ~EditStep() { end(); }
  EditStep(const EditStep&) = delete;
  EditStep& operator=(const EditStep&) = delete;

  void begin() {
    end();
    open();
  }
  [[nodiscard]] bool isOpen() const { return mine_.has_value(); }

  /// Before each change. What an undo has ended begins anew.
  void carryOn() {
    if (mine_ && *mine_ != model_->interruptions()) open();
  }

  void end() {
    if (!mine_) return;
    const bool isMine = *mine_ == model_->interruptions();
    mine_.reset();
    if (isMine) model_->endStep();
  }

 private:
  void open() {
    model_->beginStep(name_);
    mine_ = model_->interruptions();
  }

  std::shared_ptr<EditorModel> model_;
  std::string name_;
  std::optional<std::uint64_t> mine_;  // the model's interruptions while the step lasts
};

}  // namespace vantorel
