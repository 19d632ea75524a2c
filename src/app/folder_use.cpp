#include "app/folder_use.hpp"

#include <fmt/format.h>

#include <algorithm>

namespace vantorel {
namespace {

constexpr const char* lockPrefix = "program-";
constexpr const char* lockSuffix = ".lock";

/// More programs than work in one folder. Locks are never removed: they are few, and whoever looks
/// would otherwise have to be told from whoever holds.
constexpr int mostPrograms = 64;

}  // namespace

bool FolderUse::isLock(const std::string& name) {
  return name.starts_with(lockPrefix) && name.ends_with(lockSuffix);
}

Result<void> FolderUse::begin() {
  if (lock_) return {};
  VT_TRY(files_->makeFolder(folder_, Privacy::ownerOnly));
  for (int i = 1; i <= mostPrograms; ++i) {
    std::string name = fmt::format("{}{}{}", lockPrefix, i, lockSuffix);
    auto lock = files_->lock(folder_ / name);
    if (lock) {
      lock_ = *std::move(lock);
      name_ = std::move(name);
      return {};
    }
    if (lock.error().kind != FailureKind::busy) return std::unexpected(std::move(lock.error()));
  }
  return failed(FailureKind::busy, "too many programs work there");
}

bool FolderUse::mayHaveOthers() const {
  const auto items = files_->list(folder_);
  if (!items) return items.error().kind != FailureKind::notFound;
  return std::ranges::any_of(*items, [&](const FolderItem& item) {
    return isLock(item.name) && item.name != name_ && !files_->lock(folder_ / item.name);
  });
}

}  // namespace vantorel
