#include "app/annotation_drafts.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "base/log.hpp"
#include "base/round_trip.hpp"

#define XXH_INLINE_ALL
#include <xxhash.h>

namespace vantorel {
namespace {

/// With more a person would not see which is which, and no program would write them.
constexpr int mostOfAKey = 9;
/// An attribute of a draft that is over and could not be removed.
constexpr std::string_view overMark = "com.hollen.Vantorel.over";
constexpr std::uint64_t largestDraft = 256ULL << 20;
constexpr std::uint64_t largestDraftPicture = 1ULL << 30;

std::string digestOf(std::string_view text) {
  const XXH128_hash_t digest = XXH3_128bits(text.data(), text.size());
  return fmt::format("{:016x}{:016x}", digest.high64, digest.low64);
}

Path draftPath(const Path& folder, const std::string& key, int number) {
  return folder / (number == 1 ? key + ".json" : fmt::format("{}-{}.json", key, number));
}

Path picturePath(const Path& folder, const std::string& key) { return folder / (key + ".picture"); }

std::optional<AnnotationDraft> readDraft(std::string_view text) {
  auto draft = json::fromText<AnnotationDraft>(text);
  return draft ? std::optional(*std::move(draft)) : std::nullopt;
}

/// Whether it says that a newer build wrote it.
bool isNewer(std::string_view text) {
  const auto document = json::Document::parse(text);
  if (!document) return false;
  std::string_view key;
  json::Cursor value;
  for (auto members = document->root().members(); members.next(key, value);) {
    std::int64_t version = 0;
    json::Problem problem;
    if (key == "version" && read(value, version, problem)) {
      return version > AnnotationDraft::currentVersion;
    }
  }
  return false;
}

bool isOver(const Files& files, const Path& file) {
  return files.attribute(file, overMark).has_value();
}

/// The first file for the key that no other build's draft has.
struct DraftPlace {
  Path path;
  std::optional<AnnotationDraft> draft;  ///< that is in it
  bool isOver = false;                   ///< that draft is to be removed, and not gone yet
  Path foreign;                          ///< one that could not be read; the first
  bool isOfNewer = false;                ///< the foreign one is a newer build's
};

Result<DraftPlace> placeOf(const Files& files, const Path& folder, const std::string& key) {
  DraftPlace place;
  for (int number = 1; number <= mostOfAKey; ++number) {
    place.path = draftPath(folder, key, number);
    const auto text = files.read(place.path, largestDraft);
    if (!text && text.error().kind == FailureKind::notFound) return place;
    if (text) place.draft = readDraft(*text);
    if (place.draft) {
      place.isOver = isOver(files, place.path);
      return place;
    }
    if (place.foreign.empty()) place.foreign = place.path;
    place.isOfNewer |= text && isNewer(*text);
  }
  return failed(FailureKind::exists, "there are too many that can't be read");
}

Result<void> writeDraft(Files& files, const Path& folder, const std::string& key,
                        AnnotationDraft draft, const std::string* picture) {
  VT_TRY(files.makeFolder(folder, Privacy::ownerOnly));
  const DraftPlace place = VT_TRY(placeOf(files, folder, key));
  if (picture != nullptr) {
    const Path file = picturePath(folder, key);
    draft.picture = file.filename().string();
    const auto there = files.status(file);
    if (!there || there->size != picture->size()) {
      VT_TRY(files.replace(file, *picture, Privacy::ownerOnly));
    }
  }
  VT_TRY(files.replace(place.path, json::toText(draft), Privacy::ownerOnly));
  settleFolder(files, folder);
  return {};
}

Result<void> removeDraft(Files& files, const Path& folder, const std::string& key) {
  const DraftPlace place = VT_TRY(placeOf(files, folder, key));
  if (place.draft) {
    if (const auto removed = files.remove(place.path); !removed) {
      VT_TRY(files.setAttribute(place.path, overMark, "1"));
      return removed;
    }
  }
  // Pictures are kept with drafts of this build's making alone.
  const auto removed =
      place.foreign.empty() ? files.remove(picturePath(folder, key)) : Result<void>();
  if (!removed && removed.error().kind != FailureKind::notFound) return removed;
  return {};
}

std::vector<AnnotationDraft> readAll(const Files& files, const Path& folder) {
  std::vector<AnnotationDraft> drafts;
  const auto items = files.list(folder);
  if (!items) return drafts;
  for (const FolderItem& item : *items) {
    if (item.type != FileType::regular || !item.name.ends_with(".json")) continue;
    const auto text = files.read(folder / item.name, largestDraft);
    if (!text) continue;
    auto draft = readDraft(*text);
    if (draft && !isOver(files, folder / item.name)) drafts.push_back(*std::move(draft));
  }
  std::ranges::sort(drafts, std::ranges::greater(), &AnnotationDraft::keptAt);
  return drafts;
}

}  // namespace

std::string AnnotationDrafts::keyOfEntry(std::string_view id) { return "entry-" + digestOf(id); }

std::string AnnotationDrafts::keyOfFile(const Path& file) {
  return "file-" + digestOf(file.string());
}

std::string AnnotationDrafts::keyOfPicture(std::string_view bytes) {
  return "clipboard-" + digestOf(bytes);
}

std::string AnnotationDrafts::keyOf(const AnnotationDraft& draft) {
  if (!draft.entryID.empty()) return keyOfEntry(draft.entryID);
  if (!draft.file.empty()) return keyOfFile(draft.file);
  return Path(draft.picture).stem().string();
}

void AnnotationDrafts::keep(const std::string& key, AnnotationDraft draft, Done done) {
  keep(key, std::move(draft), nullptr, std::move(done));
}

void AnnotationDrafts::keep(const std::string& key, AnnotationDraft draft,
                            const std::shared_ptr<const std::string>& picture, Done done) {
  Order wanted{.draft = std::move(draft), .picture = picture, .done = {}};
  if (done) wanted.done.push_back(std::move(done));
  order(key, std::move(wanted));
}

void AnnotationDrafts::drop(const std::string& key, Done done) {
  Order wanted;
  if (done) wanted.done.push_back(std::move(done));
  order(key, std::move(wanted));
}

void AnnotationDrafts::order(const std::string& key, Order wanted) {
  Slot& slot = slots_[key];
  if (slot.next) {
    auto& earlier = slot.next->done;
    wanted.done.insert(wanted.done.begin(), std::make_move_iterator(earlier.begin()),
                       std::make_move_iterator(earlier.end()));
  }
  slot.next = std::move(wanted);
  if (!slot.isBusy) carryOut(key);
}

void AnnotationDrafts::carryOut(const std::string& key) {
  Slot& slot = slots_[key];
  slot.isBusy = true;
  Order now = *std::exchange(slot.next, std::nullopt);
  roundTrip(
      *services_.io, services_.main,
      [key, draft = std::move(now.draft), picture = std::move(now.picture), files = services_.files,
       folder = services_.folder]() mutable {
        return draft ? writeDraft(*files, folder, key, *std::move(draft), picture.get())
                     : removeDraft(*files, folder, key);
      },
      lifetime_.guard([this, key, done = std::move(now.done)](const Result<void>& result) {
        if (!result) logWarning("Drafts", "{}: {}", key, result.error().reason);
        Slot& landed = slots_[key];
        landed.isBusy = false;
        const bool goesOn = landed.next.has_value();
        if (goesOn) {
          carryOut(key);
        } else {
          slots_.erase(key);
        }
        for (const Done& one : done) one(result);
        if (!slots_.empty()) return;
        for (const auto& settled : std::exchange(settling_, {})) settled();
      }));
}

void AnnotationDrafts::find(const std::string& key, std::function<void(Found)> found) {
  roundTrip(
      *services_.io, services_.main,
      [key, files = services_.files, folder = services_.folder]() -> Found {
        auto place = placeOf(*files, folder, key);
        if (!place) return {};
        if (place->isOver) place->draft.reset();
        return {std::move(place->draft), place->isOfNewer ? std::move(place->foreign) : Path()};
      },
      lifetime_.guard(std::move(found)));
}

void AnnotationDrafts::list(std::function<void(std::vector<AnnotationDraft>)> listed) {
  roundTrip(
      *services_.io, services_.main,
      [files = services_.files, folder = services_.folder] { return readAll(*files, folder); },
      lifetime_.guard(std::move(listed)));
}

void AnnotationDrafts::readPicture(const AnnotationDraft& draft,
                                   std::function<void(Result<std::string>)> done) {
  roundTrip(
      *services_.io, services_.main,
      [file = services_.folder / Path(draft.picture).filename(), files = services_.files] {
        return files->read(file, largestDraftPicture);
      },
      lifetime_.guard(std::move(done)));
}

void AnnotationDrafts::settle(std::function<void()> done) {
  if (slots_.empty()) return done();
  settling_.push_back(std::move(done));
}

}  // namespace vantorel
