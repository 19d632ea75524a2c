#pragma once

#include <array>
#include <cstddef>
#include <map>
#include <string>

#include "library/history_query.hpp"
#include "library/history_store.hpp"

namespace vantorel {

/// How many captures each scope of the sidebar shows. Lives on the main runner.
class HistoryCounts {
 public:
  explicit HistoryCounts(const HistoryStore& store);

  /// To be told of every change, in order.
  void follow(const HistoryChange& change);

  /// Of a scope that is no collection.
  [[nodiscard]] std::size_t of(HistoryScope scope) const {
    return counts_[static_cast<std::size_t>(scope)];
  }

  /// How many captures came from each application, by its name.
  [[nodiscard]] const std::map<std::string, std::size_t>& applications() const {
    return applications_;
  }

 private:
  void add(const ScreenshotEntry& entry);
  void remove(const ScreenshotEntry& entry);
  void countAll();

  const HistoryStore& store_;
  std::array<std::size_t, 5> counts_{};
  std::map<std::string, std::size_t> applications_;
};

}  // namespace vantorel
