#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "base/lifetime.hpp"
#include "library/history_store.hpp"

namespace vantorel {

/// How much room the library's files take. Measures when first asked, and from then on follows
/// every change. Lives on the main runner; looks sizes up on `work`.
class HistoryDisk {
 public:
  /// The size of each file that entries show or keep as their original, counted once however many
  /// entries point at it.
  class Ledger {
   public:
    /// True when nobody pointed at the file before: its size is not known then, and counts as 0.
    bool add(std::string_view path);
    void remove(std::string_view path);

    /// Does nothing when nobody points at the file any more.
    void setSize(std::string_view path, std::uint64_t bytes);

    [[nodiscard]] std::uint64_t total() const { return total_; }

   private:
    struct File {
      std::uint64_t size = 0;
      std::size_t refs = 0;
    };
    struct Hash : std::hash<std::string_view> {
      using is_transparent = void;
    };
    std::unordered_map<std::string, File, Hash, std::equal_to<>> files_;
    std::uint64_t total_ = 0;
  };

  HistoryDisk(HistoryStore& store, const Files& files, std::shared_ptr<TaskRunner> main,
              std::shared_ptr<TaskRunner> work);

  /// The size of the library in bytes; nothing before it was measured.
  [[nodiscard]] std::optional<std::uint64_t> storageBytes() const {
    return ledger_ ? std::optional(ledger_->total()) : std::nullopt;
  }

  /// Calls `done` when the sizes of all files are known, which is after the index was loaded.
  void whenMeasured(std::move_only_function<void(std::uint64_t bytes)> done);

  /// Somebody wrote the file anew.
  void fileChanged(const std::string& path);

 private:
  void measure();
  void follow(const HistoryChange& change);
  void lookUp();
  void notify();

  HistoryStore& store_;
  const Files& files_;
  std::shared_ptr<TaskRunner> main_;
  std::shared_ptr<TaskRunner> work_;
  std::optional<Ledger> ledger_;
  bool isMeasuring_ = false;
  std::vector<HistoryChange> missed_;  // while the first ledger is being made
  std::vector<std::string> unknown_;   // paths whose sizes are to be looked up
  bool isLookingUp_ = false;
  std::vector<std::move_only_function<void(std::uint64_t)>> waiting_;
  Observation observation_;
  Lifetime measuring_;
  Lifetime lifetime_;
};

}  // namespace vantorel
