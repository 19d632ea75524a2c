#include "library/file_numbers.hpp"

namespace vantorel {

FileTrait traitOf(const FileIdentity& identity) {
  return {identity.volume, identity.size, identity.modified};
}

bool hasTrait(const FileIdentity& identity) { return identity.size != 0 || identity.modified != 0; }

void FileNumbers::see(const FileIdentity& now) {
  if (isAnothers(now)) changing_.insert(now.volume);
}

bool FileNumbers::isAnothers(const FileIdentity& now) {
  remember();
  const auto found = remembered_.find(traitOf(now));
  return found != remembered_.end() && !found->second.files.contains(now.file);
}

const std::set<std::string_view>& FileNumbers::pathsOf(const FileTrait& trait) {
  static const std::set<std::string_view> none;
  remember();
  const auto found = remembered_.find(trait);
  return found == remembered_.end() ? none : found->second.paths;
}

bool FileNumbers::areSteady(const std::string& volume) const {
  return agreeing_.contains(volume) && !changing_.contains(volume);
}

void FileNumbers::remember() {
  if (isRemembered_) return;
  isRemembered_ = true;
  const auto add = [this](const EntryFile& file) {
    if (!file.seen() || !hasTrait(*file.seen())) return;
    Remembered& one = remembered_[traitOf(*file.seen())];
    one.files.insert(file.seen()->file);
    one.paths.insert(file.path());
  };
  for (const EntryPointer& entry : entries_) {
    add({entry, FileRole::shown});
    if (entry->originalPath) add({entry, FileRole::original});
  }
}

}  // namespace vantorel
