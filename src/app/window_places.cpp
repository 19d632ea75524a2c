#include "app/window_places.hpp"

#include <algorithm>
#include <chrono>
#include <utility>

#include "base/json_record.hpp"
#include "base/log.hpp"
#include "base/round_trip.hpp"
#include "library/journal_file.hpp"

namespace vantorel {
namespace {

constexpr std::chrono::milliseconds writeDelay{500};
constexpr std::uint64_t largestPlacesFile = 1 << 20;
constexpr int placesVersion = 1;
constexpr json::Clamp<int> onAnyDesktop{-100'000, 100'000};
constexpr json::Clamp<int> ofAnyWindow{1, 100'000};

struct StoredPlace {
  std::string window;
  std::string displays;
  WindowPlace place;
  json::Object extra;

  template <class V, class S>
  static void describe(V& v, S& stored) {
    v.required("window", stored.window);
    v.required("displays", stored.displays);
    v.required("x", stored.place.x, onAnyDesktop);
    v.required("y", stored.place.y, onAnyDesktop);
    v.required("width", stored.place.width, ofAnyWindow);
    v.required("height", stored.place.height, ofAnyWindow);
    v.field("isMaximized", stored.place.isMaximized);
    v.rest(stored.extra);
  }
};
VT_JSON_RECORD(StoredPlace)

struct StoredPlaces {
  int version = placesVersion;
  std::vector<StoredPlace> places;
  json::Object extra;

  template <class V, class S>
  static void describe(V& v, S& stored) {
    v.field("version", stored.version);
    v.field("places", stored.places);
    v.rest(stored.extra);
  }
};
VT_JSON_RECORD(StoredPlaces)

bool isReadablePlaces(std::string_view text) {
  return json::fromText<StoredPlaces>(text).has_value();
}

/// Nothing when there is no file, or it makes no sense.
std::optional<StoredPlaces> readPlaces(const Files& files, const Path& file) {
  const auto text = files.read(file, largestPlacesFile);
  if (!text) return std::nullopt;
  auto stored = json::fromText<StoredPlaces>(*text);
  if (!stored) return std::nullopt;
  return std::move(*stored);
}

/// What others have put into the file beside the places themselves is kept.
Result<void> writePlaces(Files& files, const Path& file,
                         const std::vector<WindowPlacesFile::Kept>& kept) {
  VT_TRY(files.makeFolder(file.parent_path(), Privacy::ownerOnly));
  VT_TRY(setAsideUnreadableJournal(files, file, isReadablePlaces));
  StoredPlaces stored = readPlaces(files, file).value_or(StoredPlaces{});
  if (stored.version > placesVersion) return {};
  std::vector<StoredPlace> places;
  for (const auto& one : kept) {
    const auto before = std::ranges::find_if(stored.places, [&](const StoredPlace& place) {
      return place.window == one.window && place.displays == one.displays;
    });
    places.push_back({one.window, one.displays, one.place,
                      before == stored.places.end() ? json::Object{} : before->extra});
  }
  stored.places = std::move(places);
  return files.replace(file, json::toText(stored), Privacy::ownerOnly);
}

}  // namespace

WindowPlacesFile::WindowPlacesFile(Services services, Path file)
    : services_(std::move(services)), file_(std::move(file)) {
  roundTrip(
      *services_.io, services_.main,
      [files = &services_.files, path = file_] {
        return readPlaces(*files, path).value_or(StoredPlaces{});
      },
      lifetime_.guard([this](StoredPlaces stored) {
        isRead_ = true;
        std::vector<Kept> sinceStart = std::exchange(kept_, {});
        for (StoredPlace& place : stored.places) {
          if (kept_.size() == mostKept) break;
          kept_.push_back({std::move(place.window), std::move(place.displays), place.place});
        }
        for (auto kept = sinceStart.rbegin(); kept != sinceStart.rend(); ++kept) put(*kept);
        if (isChanged_) write();
      }));
}

std::optional<WindowPlace> WindowPlacesFile::restore(const std::string& window,
                                                     const std::string& displays) const {
  for (const Kept& kept : kept_) {
    if (kept.window == window && kept.displays == displays) return kept.place;
  }
  return std::nullopt;
}

void WindowPlacesFile::put(Kept kept) {
  std::erase_if(kept_, [&](const Kept& other) {
    return other.window == kept.window && other.displays == kept.displays;
  });
  kept_.insert(kept_.begin(), std::move(kept));
  if (kept_.size() > mostKept) kept_.pop_back();
}

void WindowPlacesFile::remember(const std::string& window, const std::string& displays,
                                const WindowPlace& place) {
  if (restore(window, displays) == place) return;
  put({window, displays, place});
  isChanged_ = true;
  debounce_.renew();
  services_.main->postAfter(writeDelay, debounce_.guard([this] { write(); }));
}

void WindowPlacesFile::write() {
  if (!isRead_ || !isChanged_) return;
  isChanged_ = false;
  debounce_.renew();
  services_.io->post([files = &services_.files, path = file_, kept = kept_] {
    if (const auto written = writePlaces(*files, path, kept); !written) {
      logWarning("Windows", "where windows are was not kept: {}", written.error().reason);
    }
  });
}

}  // namespace vantorel
