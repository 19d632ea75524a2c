#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/enum_names.hpp"
#include "library/records/screenshot_entry.hpp"
#include "platform/files.hpp"

namespace CLI {
class App;
}

namespace vantorel {

namespace command {

/// Looks at the library and changes it.
struct Library {
  enum class Verb {
    list,
    search,
    show,
    text,
    path,
    star,
    unstar,
    title,
    collect,
    uncollect,
    trash,
    undo,
    forget,
    prune,
    collections,
    verify,
    relocate,
  };

  /// A moment, or how long before now it was.
  struct When {
    double seconds = 0;
    bool isAgo = false;
  };

  Verb verb = Verb::list;
  std::vector<std::string> ids;           ///< as typed: whole, shortened or "latest"
  std::string query;                      ///< of `search`
  std::string title;                      ///< of `title`; empty takes it away
  std::string collection;                 ///< by id or name; empty is any
  bool makesCollection = false;           ///< of `collect`: one of that name when there is none
  std::optional<CaptureMedium> medium{};  ///< these and what follows: of `list`
  std::optional<bool> starred{};
  std::string application;
  std::optional<When> since{};
  std::optional<When> before{};
  std::size_t limit = SIZE_MAX;  ///< of `search` too
  bool forgetsReplaced = false;  ///< of `prune`: also what another folder of the name lacks
  bool repairs = false;          ///< of `verify`
  Path folder{};                 ///< of `relocate`; absolute
};

}  // namespace command

template <>
inline constexpr auto enumNames<command::Library::Verb> =
    std::to_array<EnumName<command::Library::Verb>>({
        {command::Library::Verb::list, "list"},
        {command::Library::Verb::search, "search"},
        {command::Library::Verb::show, "show"},
        {command::Library::Verb::text, "text"},
        {command::Library::Verb::path, "path"},
        {command::Library::Verb::star, "star"},
        {command::Library::Verb::unstar, "unstar"},
        {command::Library::Verb::title, "title"},
        {command::Library::Verb::collect, "collect"},
        {command::Library::Verb::uncollect, "uncollect"},
        {command::Library::Verb::trash, "trash"},
        {command::Library::Verb::undo, "undo"},
        {command::Library::Verb::forget, "forget"},
        {command::Library::Verb::prune, "prune"},
        {command::Library::Verb::collections, "collections"},
        {command::Library::Verb::verify, "verify"},
        {command::Library::Verb::relocate, "relocate"},
    });

/// "library" on the command line. The parser lives in `app` and writes here, so this must not move.
class LibraryOptions {
 public:
  explicit LibraryOptions(CLI::App& app);
  LibraryOptions(const LibraryOptions&) = delete;
  LibraryOptions& operator=(const LibraryOptions&) = delete;

  /// After parsing: true when "library" was given.
  [[nodiscard]] bool isChosen() const;

  /// Fills `what`, with names of files that start in `folder`; answers what is wrong with the
  /// options, or nothing.
  [[nodiscard]] std::string read(command::Library& what, const Path& folder) const;

 private:
  CLI::App* verb(command::Library::Verb verb, const char* words);

  CLI::App* library_;
  command::Library given_;
  std::string titled_;  // the id that "title" names
  std::vector<std::string> query_;
  std::string folder_;
  std::string medium_;
  std::string since_;
  std::string before_;
  bool starred_ = false;
  bool unstarred_ = false;
};

}  // namespace vantorel
