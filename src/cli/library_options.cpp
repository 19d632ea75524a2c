#include "cli/library_options.hpp"

#include <CLI/CLI.hpp>

#include <charconv>

#include "base/time_text.hpp"
#include "cli/command_outline.hpp"
#include "cli/one_of.hpp"

namespace vantorel {
namespace {

using Verb = command::Library::Verb;

constexpr const char* idWords = "a capture's id, a unique start of it, or latest";

/// "2026-03-01", "2026-03-01 14:05", or an age: "90m", "12h", "7d", "2w".
std::optional<command::Library::When> parseWhen(std::string_view text) {
  if (const auto moment = parseLocalTime(text)) return command::Library::When{*moment, false};
  double number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc{} || stop + 1 != end || !(number >= 0) || number > 1e6) {
    return std::nullopt;
  }
  switch (*stop) {
    case 'm': return command::Library::When{number * 60, true};
    case 'h': return command::Library::When{number * 3600, true};
    case 'd': return command::Library::When{number * 86400, true};
    case 'w': return command::Library::When{number * 604800, true};
    default: return std::nullopt;
  }
}

/// A script whose variable is empty means something else than everything.
std::string refuseNoCount(const std::string& text) {
  std::size_t number = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool isWhole = read.ec == std::errc() && read.ptr == text.data() + text.size();
  return isWhole && number > 0 ? "" : "must be a whole number above zero";
}

std::string refuseEmpty(const std::string& text) {
  return text.empty() ? "must not be empty" : std::string();
}

}  // namespace

CLI::App* LibraryOptions::verb(Verb verb, const char* words) {
  CLI::App* const app = library_->add_subcommand(std::string(nameOf(verb)), words);
  app->callback([this, verb] { given_.verb = verb; });
  return app;
}

LibraryOptions::LibraryOptions(CLI::App& app)
    : library_(app.add_subcommand("library", "Look at the library and change it")) {
  library_->require_subcommand(1);
  CLI::App* const list = verb(Verb::list, "List captures, the newest first");
  list->add_option("--medium", medium_, "the kind of captures")->check(oneOf<CaptureMedium>());
  CLI::Option* const starred = list->add_flag("--starred", starred_, "only starred ones");
  list->add_flag("--unstarred", unstarred_, "only those without a star")->excludes(starred);
  list->add_option("--collection", given_.collection, "of this collection, by its id or name")
      ->type_name("COLLECTION")
      ->check(refuseEmpty);
  list->add_option("--app", given_.application, "part of the name or id of the application")
      ->type_name("NAME")
      ->check(refuseEmpty);
  list->add_option("--since", since_, "a local time (2026-03-01, \"2026-03-01 14:05\") or age (7d)")
      ->type_name("TIME")
      ->check(refuseEmpty);
  list->add_option("--before", before_, "a local time or age; minutes, hours, days, weeks: m h d w")
      ->type_name("TIME")
      ->check(refuseEmpty);
  list->add_option("--limit", given_.limit, "at most so many")
      ->type_name("NUMBER")
      ->check(refuseNoCount);

  CLI::App* const search =
      verb(Verb::search, "Find captures by what stands on them and what they are called");
  search->add_option("query", query_, "words that all have to be found")
      ->type_name("QUERY")
      ->required()
      ->check(refuseEmpty);
  search->add_option("--limit", given_.limit, "at most so many")
      ->type_name("NUMBER")
      ->check(refuseNoCount);
  search->footer(
      "Looks in the text on the picture, the title, the file's name, the application's and the\n"
      "date, in any case, with or without accents; \"in quotes\" is a phrase. @screenshot,\n"
      "@recording, @gif and @text are a kind, @ and the beginning of an application's name is "
      "where\n"
      "it came from. Prints the newest first, with the line that was found. What redactions cover\n"
      "is not found.");

  const auto withIDs = [this](Verb of, const char* words) {
    verb(of, words)->add_option("ids", given_.ids, idWords)->type_name(kinds::capture)->required();
  };
  withIDs(Verb::show, "Show all about captures");
  withIDs(Verb::text, "Print the text on captures, without what redactions cover");
  withIDs(
      Verb::path,
      "Print the paths of captures' files, which hold no annotations: see render; fails when one "
      "is not there");
  withIDs(Verb::star, "Star captures: they never go by age");
  withIDs(Verb::unstar, "Take the star away");
  CLI::App* const title = verb(Verb::title, "Give a capture a title");
  title->add_option("id", titled_, idWords)->type_name(kinds::capture)->required();
  title->add_option("title", given_.title, "the title; none takes it away");
  for (const Verb of : {Verb::collect, Verb::uncollect}) {
    CLI::App* const collecting =
        verb(of, of == Verb::collect ? "File captures into a collection"
                                     : "Take captures out of a collection");
    collecting->add_option("collection", given_.collection, "its id or name")->required();
    collecting->add_option("ids", given_.ids, idWords)->type_name(kinds::capture)->required();
    if (of == Verb::collect) {
      collecting->add_flag("--new", given_.makesCollection,
                           "make a collection of that name if there is none");
    }
  }
  withIDs(Verb::trash, "Move captures and their originals to the Trash");
  verb(Verb::undo, "Bring back what was moved to the Trash last, within 8 seconds");
  withIDs(
      Verb::forget,
      "Remove captures from History; their files stay where they are, originals that History kept "
      "go to the Trash");
  verb(Verb::prune, "Remove captures from History whose files are gone")
      ->add_flag("--replaced", given_.forgetsReplaced,
                 "also those that are not in a folder which may be another one than before");
  verb(Verb::collections, "List the collections");
  verb(Verb::verify,
       "Look for what does not fit together, and fail if anything is; changes nothing without "
       "--repair")
      ->add_flag("--repair", given_.repairs,
                 "file captures without an entry, forget entries without a file, move originals "
                 "nobody needs to the Trash, remove temporaries");
  CLI::App* const relocate =
      verb(Verb::relocate, "Move the captures to another folder, for new ones too");
  relocate->add_option("folder", folder_, "the folder; made when its last part is missing")
      ->type_name(kinds::folder)
      ->required();
  relocate->footer(
      "Moves what lies in the storage folder, and what an earlier move left behind. Files never\n"
      "replace others: a name that is taken gets a number. Interrupted, it stops after some fifty\n"
      "files; the same command again moves the rest.");
  for (CLI::App* const sub : library_->get_subcommands({})) sub->fallthrough();
}

bool LibraryOptions::isChosen() const { return library_->parsed(); }

std::string LibraryOptions::read(command::Library& what, const Path& folder) const {
  what = given_;
  if (what.verb == Verb::relocate) {
    if (folder_.empty()) return "relocate needs the name of a folder";
    what.folder = (folder / folder_).lexically_normal();
    if (!what.folder.has_filename()) what.folder = what.folder.parent_path();
  }
  if (what.verb == Verb::title) what.ids = {titled_};
  for (const std::string& word : query_) what.query += (what.query.empty() ? "" : " ") + word;
  if (!medium_.empty()) what.medium = enumFromName<CaptureMedium>(medium_);
  if (starred_ || unstarred_) what.starred = starred_;
  for (const auto& [text, when, option] : {std::tuple(&since_, &what.since, "--since"),
                                           std::tuple(&before_, &what.before, "--before")}) {
    if (text->empty()) continue;
    *when = parseWhen(*text);
    if (!*when) {
      return std::string(option) +
             " must be a local time such as 2026-03-01 or \"2026-03-01 14:05\", or an age such as "
             "90m, 12h, 7d or 2w";
    }
  }
  return {};
}

}  // namespace vantorel
