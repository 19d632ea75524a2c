#include "library/entry_file_look.hpp"

#include <chrono>
#include <optional>
#include <utility>

#include "base/bounded_run.hpp"
#include "base/round_trip.hpp"
#include "library/entry_filter.hpp"

namespace vantorel {
namespace {

/// A disk that takes longer to say whether it has a file does not answer.
constexpr std::chrono::seconds lookBound{5};

}  // namespace

void EntryFileLook::look(const std::vector<std::string>& ids,
                         std::move_only_function<void(const LookedEntries&)> done) {
  runBounded<LookedEntries>(
      services_.main, {lookBound, lookBound, {}},
      [this, ids](std::move_only_function<void(LookedEntries)> reply) {
        services_.library->findFiles(
            ids, Library::Claimed::no, *services_.work,
            lifetime_.guard([this, ids, reply = std::move(reply)](
                                const std::set<std::string>& unsettled) mutable {
              reachAll({findEntries(services_.library->store(), ids), {}, unsettled},
                       std::move(reply));
            }));
      },
      lifetime_.guard(
          [this, ids, done = std::move(done)](const std::optional<LookedEntries>& answer) mutable {
            done(answer ? *answer
                        : LookedEntries{findEntries(services_.library->store(), ids), {}, {}});
          }),
      nullptr);
}

void EntryFileLook::reachAll(LookedEntries looked,
                             std::move_only_function<void(LookedEntries)> done) {
  roundTrip(
      *services_.work, services_.main,
      [files = services_.files, looked = std::move(looked)]() mutable {
        for (const EntryPointer& entry : looked.entries) {
          looked.reaches.push_back(reachOf(*files, *entry));
        }
        return std::move(looked);
      },
      std::move(done));
}

}  // namespace vantorel
