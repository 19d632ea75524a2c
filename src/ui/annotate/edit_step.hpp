#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "editor/editor_model.hpp"

namespace vantorel {

/// The changes of one drag, or of one visit to a picker, as one step to undo. Lives on the main
/// thread; `model` outlives it.
class EditStep {
 public:
  EditStep(EditorModel& model, std::string name) : model_(model), name_(std::move(name)) {}
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
    if (mine_ && *mine_ != model_.interruptions()) open();
  }

  void end() {
    if (!mine_) return;
    const bool isMine = *mine_ == model_.interruptions();
    mine_.reset();
    if (isMine) model_.endStep();
  }

 private:
  void open() {
    model_.beginStep(name_);
    mine_ = model_.interruptions();
  }

  EditorModel& model_;
  std::string name_;
  std::optional<std::uint64_t> mine_;  // the model's interruptions while the step lasts
};

}  // namespace vantorel
