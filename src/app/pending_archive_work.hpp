#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "app/quit_filing_note.hpp"

namespace vantorel {

/// Work that files into the library and that a quit waits for. Lives on the main runner.
class PendingArchiveWork {
 public:
  using Ticket = std::uint64_t;

  [[nodiscard]] Ticket begin(QuitFilingNote::Item item) {
    items_.emplace(next_, item);
    return next_++;
  }

  /// Ends one piece of work; when it was the last, whoever waits is told.
  void end(Ticket ticket);

  /// What is unfinished, oldest first.
  [[nodiscard]] std::vector<QuitFilingNote::Item> items() const;
  [[nodiscard]] bool isEmpty() const { return items_.empty(); }

  /// Calls `landed` once, when nothing is pending; at once when nothing is now.
  void whenEmpty(std::function<void()> landed);

 private:
  Ticket next_ = 1;
  std::map<Ticket, QuitFilingNote::Item> items_;
  std::vector<std::function<void()>> waiting_;
};

}  // namespace vantorel
