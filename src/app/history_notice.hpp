#pragma once

#include <string>

namespace vantorel {

/// What the History window says to the user.
struct HistoryNotice {
  enum class Kind {
    done,     ///< what is well: passes soon
    refusal,  ///< why something was not done: passes, at the latest with the next action
    failure,  ///< what went wrong: stays until the next action, or until it is put away
    state,    ///< what is wrong with the library: stays for as long as it is so
  };

  std::string text;
  std::string detail{};
  Kind kind = Kind::failure;
  bool canRetrySaving = false;  ///< with "Try again", which saves the library

  [[nodiscard]] bool isProblem() const { return kind != Kind::done; }
  [[nodiscard]] bool isOfAction() const { return kind == Kind::refusal || kind == Kind::failure; }

  bool operator==(const HistoryNotice&) const = default;
};

}  // namespace vantorel
