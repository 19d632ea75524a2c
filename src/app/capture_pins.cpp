#include "app/capture_pins.hpp"

#include <fmt/format.h>

#include <set>
#include <utility>

#include "app/capture_annotator.hpp"
#include "base/round_trip.hpp"
#include "editor/entry_document.hpp"
#include "library/entry_failure.hpp"
#include "library/entry_of_file.hpp"
#include "library/entry_title.hpp"

namespace vantorel {

CapturePins::CapturePins(Services services) : services_(std::move(services)) {
  libraryObservation_ = services_.library.store().observe(
      [this](const HistoryChange& change) { libraryChanged(change); });
}

void CapturePins::pinAll(const std::vector<NamedPicture>& pictures, Pinned pinned) {
  struct Pinning {
    std::size_t left;
    std::vector<UnopenedPicture> all;  // with nothing to say of those that are pinned
    Pinned pinned;
  };
  const auto pinning = std::make_shared<Pinning>(Pinning{pictures.size(), {}, std::move(pinned)});
  for (const NamedPicture& picture : pictures) pinning->all.push_back({picture, {}});
  for (std::size_t i = 0; i < pictures.size(); ++i) {
    const One answered = [pinning, i](const Result<void, std::string>& one) {
      if (!one) pinning->all[i].why = one.error();
      if (--pinning->left > 0) return;
      std::erase_if(pinning->all, [](const UnopenedPicture& each) { return each.why.empty(); });
      pinning->pinned(pinning->all);
    };
    if (pictures[i].file.empty()) {
      pinEntry(pictures[i].capture, answered);
    } else {
      pinFile(pictures[i].file, answered);
    }
  }
}

bool CapturePins::bringForward(const std::string& key) {
  Surface* const window = services_.surfaces.pinned.surface(key);
  if (window == nullptr) return false;
  if (const auto pin = pins_.find(key); pin != pins_.end()) pin->second.model->comeBack();
  window->bringForward();
  return true;
}

void CapturePins::pinEntry(const std::string& name, One pinned) {
  services_.library.whenReady(lifetime_.guard([this, name, pinned = std::move(pinned)] {
    const auto entry = services_.library.store().resolve(name);
    if (!entry) {
      return pinned(std::unexpected(
          sentence(AnnotationFault{AnnotationFault::Case::notFound, entry.error().reason})));
    }
    const std::string id = (*entry)->id;
    if (bringForward(id)) return pinned({});
    if ((*entry)->medium != CaptureMedium::image) {
      return pinned(std::unexpected("Only pictures can be pinned."));
    }
    services_.library.findFiles(
        {id}, Library::Claimed::no, *services_.disk,
        lifetime_.guard([this, id, pinned](const std::set<std::string>& unsettled) {
          using Case = EntryFailure::Case;
          const EntryPointer found = services_.library.store().find(id);
          if (!found || unsettled.contains(id)) {
            return pinned(
                std::unexpected(sentence(EntryFailure{found ? Case::unsettled : Case::left})));
          }
          read(found,
               lifetime_.guard([this, id, found, pinned](Result<Image, std::string> picture) {
                 if (!picture) return pinned(std::unexpected(picture.error()));
                 show(id, titleOf(*found), *std::move(picture), found->captureScale.value_or(1),
                      found, pinned);
               }));
        }));
  }));
}

/// As it is shown.
void CapturePins::read(const EntryPointer& entry,
                       std::function<void(Result<Image, std::string>)> done) {
  roundTrip(
      *services_.disk, services_.model.main,
      [entry, files = services_.files, codec = services_.model.codec,
       finish = services_.finish]() -> Result<Image, std::string> {
        auto picture = readPictureFile(entry->path, 0, *files, *codec);
        if (!picture) {
          if (auto gone = absenceOf(*files, *entry)) return std::unexpected(sentence(*gone));
          return std::unexpected(sentence(AnnotationFault{AnnotationFault::Case::captureNotRead,
                                                          picture.error().reason, entry->path}));
        }
        auto shown = finish(*entry, *std::move(picture));
        if (!shown) return std::unexpected(shown.error().reason);
        return *std::move(shown);
      },
      lifetime_.guard(std::move(done)));
}

/// Of a capture that of the library, where it shows what is drawn and covered.
void CapturePins::pinFile(const Path& file, One pinned) {
  services_.library.whenReady(lifetime_.guard([this, file, pinned = std::move(pinned)] {
    roundTrip(
        *services_.disk, services_.model.main,
        [file, files = services_.files, entries = services_.library.store().entries()] {
          return entryOfFile(*files, file, entries);
        },
        lifetime_.guard([this, file, pinned](const std::string& id) {
          if (id.empty()) return pinPicture(file, pinned);
          pinEntry(id, pinned);
        }));
  }));
}

void CapturePins::pinPicture(const Path& file, const One& pinned) {
  if (bringForward(file.string())) return pinned({});
  roundTrip(
      *services_.disk, services_.model.main,
      [file, files = services_.files, codec = services_.model.codec]() {
        return readPictureFile(file, 0, *files, *codec);
      },
      lifetime_.guard([this, file, pinned](Result<Image> picture) {
        if (!picture) {
          const bool isMissing = picture.error().kind == FailureKind::notFound;
          return pinned(
              std::unexpected(isMissing ? fmt::format("{}: there is no such file.", file.string())
                                        : fmt::format("{} couldn't be read as an image: {}.",
                                                      file.string(), picture.error().reason)));
        }
        show(file.string(), file.stem().string(), *std::move(picture), 1, nullptr, pinned);
      }));
}

void CapturePins::show(const std::string& key, const std::string& title, Image picture,
                       double scale, const EntryPointer& entry, const One& pinned) {
  if (bringForward(key)) return pinned({});
  if (services_.windows == nullptr) {
    return pinned(std::unexpected("There is no display to show it on."));
  }
  Pin pin{.model = std::make_shared<PinModel>(services_.model, title, std::move(picture), scale),
          .entry = entry,
          .observation = {},
          .number = ++made_};
  focused_ = 0;
  pin.observation = pin.model->observe([this, number = made_](const PinModel::Change& change) {
    if (change.look && onChange) onChange();
    if (!change.next) return;
    focused_ = number;
    focusNext();
  });
  const std::shared_ptr<PinModel> model = pin.model;
  pins_.insert_or_assign(key, std::move(pin));
  services_.surfaces.pinned.show(key, [&] {
    return services_.windows->openPin(model, lifetime_.guard([this, key] { closed(key); }));
  });
  if (!services_.surfaces.pinned.isOpen(key)) {
    pins_.erase(key);
    return pinned(std::unexpected("The picture couldn't be pinned."));
  }
  if (onChange) onChange();
  pinned({});
  // It may have been covered while it was read.
  if (entry) {
    const EntryPointer now = services_.library.store().find(entry->id);
    if (now && lookOf(*now) != lookOf(*entry)) follow(now);
  }
}

void CapturePins::closed(const std::string& key) {
  services_.surfaces.pinned.closed(key);
  pins_.erase(key);
  if (onChange) onChange();
}

void CapturePins::libraryChanged(const HistoryChange& change) {
  for (const HistoryChange::Update& update : change.updated) {
    const auto pin = pins_.find(update.after->id);
    if (pin == pins_.end() || pin->second.entry == nullptr) continue;
    pin->second.model->setTitle(titleOf(*update.after));
    if (lookOf(*pin->second.entry) != lookOf(*update.after)) follow(update.after);
  }
}

void CapturePins::follow(const EntryPointer& entry) {
  pins_.at(entry->id).entry = entry;
  read(entry, [this, entry](Result<Image, std::string> picture) {
    const auto pin = pins_.find(entry->id);
    // Another change came meanwhile, and is read by now.
    if (pin == pins_.end() || pin->second.entry != entry) return;
    if (picture) {
      return pin->second.model->setPicture(*std::move(picture), entry->captureScale.value_or(1));
    }
    services_.alerts.notify("A pinned capture was closed",
                            fmt::format("“{}”: {}", titleOf(*entry), picture.error()));
    pin->second.model->close();
  });
}

bool CapturePins::letClicksThrough() const {
  for (const auto& [key, pin] : pins_) {
    if (pin.model->letsClicksThrough()) return true;
  }
  return false;
}

void CapturePins::focusNext() {
  const Pin* newest = nullptr;
  const Pin* next = nullptr;
  for (const auto& [key, pin] : pins_) {
    if (newest == nullptr || pin.number > newest->number) newest = &pin;
    if (pin.number < focused_ && (next == nullptr || pin.number > next->number)) next = &pin;
  }
  if (next == nullptr) next = newest;
  if (next == nullptr) return;
  focused_ = next->number;
  next->model->takeKeys();
  next->model->say("Arrows move · + and \u2212 scale · Tab goes on · Return leaves · Esc closes");
}

void CapturePins::makeClickable() {
  for (const auto& [key, pin] : pins_) pin.model->setClickThrough(false);
}

}  // namespace vantorel
