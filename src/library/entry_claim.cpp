#include "library/entry_claim.hpp"

namespace vantorel {
namespace {

bool isReader(EntryWork work) { return work == EntryWork::reading || work == EntryWork::exporting; }

}  // namespace

std::string sentence(const EntryBusy& busy) {
  switch (busy.work) {
    case EntryWork::rewriting: return "This capture is being changed already.";
    case EntryWork::deleting: return "This capture is on its way to the Trash already.";
    case EntryWork::restoring: return "This capture is on its way back from the Trash.";
    case EntryWork::moving: return "This capture is being moved to another folder. Try again.";
    case EntryWork::editing: return "The capture can't be changed: close Annotate first.";
    case EntryWork::exporting: return "This capture is being exported. Try again.";
    case EntryWork::reading: return "This capture is being read. Try again.";
  }
  std::unreachable();
}

void EntryClaim::Release::operator()(std::pair<std::string, EntryWork>* held) const {
  const std::unique_ptr<std::pair<std::string, EntryWork>> owned(held);
  auto& entries = *static_cast<EntryClaims::State*>(state.get());
  const auto found = entries.find(owned->first);
  if (isReader(owned->second)) {
    --found->second.readers;
  } else {
    found->second.alone.reset();
  }
  if (!found->second.alone && found->second.readers == 0) entries.erase(found);
}

EntryClaims::EntryClaims() : state_(std::make_shared<State>()) {}

std::expected<EntryClaim, EntryBusy> EntryClaims::claim(const std::string& id, EntryWork work) {
  Held& held = (*state_)[id];
  const bool sharesWithEditor = isReader(work) && held.alone == EntryWork::editing;
  if (held.alone && !sharesWithEditor) return std::unexpected(EntryBusy{*held.alone});
  if (held.readers > 0 && !isReader(work) && work != EntryWork::editing) {
    return std::unexpected(EntryBusy{held.lastReader});
  }
  if (isReader(work)) {
    ++held.readers;
    held.lastReader = work;
  } else {
    held.alone = work;
  }
  EntryClaim claim;
  claim.held_ = {new std::pair(id, work), EntryClaim::Release{state_}};
  return claim;
}

bool EntryClaims::isFileChanging(const std::string& id) const {
  const auto found = state_->find(id);
  return found != state_->end() && found->second.alone && found->second.alone != EntryWork::editing;
}

bool EntryClaims::isEdited(const std::string& id) const {
  const auto found = state_->find(id);
  return found != state_->end() && found->second.alone == EntryWork::editing;
}

std::vector<std::string> EntryClaims::fileChanges() const {
  std::vector<std::string> ids;
  ids.reserve(state_->size());
  for (const auto& [id, held] : *state_) {
    if (held.alone && held.alone != EntryWork::editing) ids.push_back(id);
  }
  return ids;
}

}  // namespace vantorel
