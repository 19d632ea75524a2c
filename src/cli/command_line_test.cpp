#include "cli/command_line.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vantorel {
namespace {

CommandLine parsed(std::vector<std::string> arguments) {
  auto result = parseCommandLine(std::move(arguments), "/home/ann");
  if (auto* answer = std::get_if<CommandLineAnswer>(&result)) {
    ADD_FAILURE() << answer->text;
    return {};
  }
  return std::get<CommandLine>(result);
}

TEST(CommandLineTest, CapturesAreReadWhole) {
  const CommandLine line =
      parsed({"--root", "/tmp/x", "capture", "area", "--rect", "-10,20.5,30,40", "--display",
              "DP-1", "--delay", "five", "--json"});
  EXPECT_EQ(line.root, "/tmp/x");
  EXPECT_TRUE(line.json);
  EXPECT_FALSE(line.needsWindows());
  const StillCaptureCommand what = std::get<command::Capture>(line.command).what;
  EXPECT_EQ(what.kind, StillCaptureCommand::Kind::area);
  EXPECT_EQ(what.rect, (PointRect{-10, 20.5, 30, 40}));
  EXPECT_EQ(what.display, "DP-1");
  EXPECT_EQ(what.delay, std::chrono::seconds(5));

  const CommandLine script =
      parsed({"capture", "display", "--delay", "7", "--output", "../a.JPG", "--copy", "--pointer"});
  const auto& scripted = std::get<command::Capture>(script.command);
  EXPECT_EQ(scripted.what.delay, std::chrono::seconds(7));
  EXPECT_TRUE(scripted.what.copies && scripted.what.showsPointer);
  EXPECT_EQ(scripted.output->file, "/home/a.JPG");
  EXPECT_EQ(scripted.output->format, ExportFormat::jpeg);
  EXPECT_FALSE(script.printsPicture());
  EXPECT_TRUE(parsed({"capture", "display", "--output", "-"}).printsPicture());
  EXPECT_TRUE(parsed({"capture", "display", "--notify"}).needsWindows());

  const CommandLine window = parsed({"capture", "window", "--window", "0x1c00007"});
  EXPECT_EQ(std::get<command::Capture>(window.command).what.window, 0x1c00007U);
  const CommandLine scroll =
      parsed({"capture", "scroll", "--window", "7", "--timeout", "30", "--output", "page.webp"});
  EXPECT_EQ(std::get<command::Capture>(scroll.command).what.timeout, std::chrono::seconds(30));
  EXPECT_TRUE(scroll.needsWindows()) << "its panel";
  EXPECT_TRUE(parsed({"capture", "window"}).needsWindows());
  EXPECT_TRUE(parsed({"capture", "area"}).needsWindows());
  EXPECT_TRUE(parsed({}).needsWindows());
  EXPECT_EQ(
      std::get<command::Convert>(parsed({"convert", "latest", "--format", "jpeg"}).command).format,
      ExportFormat::jpeg);
}

TEST(CommandLineTest, FilesAreNamedFromTheFolderOfTheRequester) {
  const auto annotate = [](std::vector<std::string> arguments) {
    return std::get<command::Annotate>(parsed(std::move(arguments)).command);
  };
  EXPECT_EQ(annotate({"annotate", "latest", "--apply", "notes/a.json"}).document,
            "/home/ann/notes/a.json");
  EXPECT_EQ(annotate({"annotate", "latest", "--apply", "/tmp/../a.json"}).document, "/a.json");
  EXPECT_EQ(annotate({"annotate", "3f2a", "--print"}).document, std::nullopt);

  using Drawing = CaptureAnnotator::Drawing;
  const auto render = [](std::vector<std::string> arguments) {
    return std::get<command::Render>(parsed(std::move(arguments)).command).drawing;
  };
  const Drawing capture = render({"render", "3f2a", "--output", "../drawn.JPG"});
  EXPECT_EQ(std::get<Drawing::Capture>(capture.base).name, "3f2a");
  EXPECT_EQ(capture.output, "/home/drawn.JPG");
  EXPECT_EQ(capture.format, ExportFormat::jpeg);
  EXPECT_EQ(capture.document, std::nullopt);
  const Drawing file = render(
      {"render", "shot.png", "--document", "d.json", "--output", "out.png", "--format", "webp"});
  EXPECT_EQ(std::get<Drawing::Picture>(file.base).path, "/home/ann/shot.png");
  EXPECT_EQ(file.document, "/home/ann/d.json");
  EXPECT_EQ(file.format, ExportFormat::webp);
  EXPECT_EQ(render({"render", "latest", "--output", "-"}).format, ExportFormat::png);
  EXPECT_TRUE(parsed({"render", "latest", "--output", "-", "--format", "webp"}).printsPicture());
}

TEST(CommandLineTest, LibraryCommandsAreReadWhole) {
  const auto library = [](std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "library");
    const CommandLine line = parsed(std::move(arguments));
    EXPECT_FALSE(line.needsWindows());
    return std::get<command::Library>(line.command);
  };
  const command::Library list =
      library({"list", "--medium", "gif", "--unstarred", "--collection", "Box", "--app", "fire",
               "--since", "2w", "--before", "2026-03-01T14:05", "--limit", "3", "--json"});
  EXPECT_EQ(list.medium, CaptureMedium::gif);
  EXPECT_EQ(list.starred, false);
  EXPECT_EQ(list.collection, "Box");
  EXPECT_EQ(list.application, "fire");
  EXPECT_TRUE(list.since->isAgo);
  EXPECT_EQ(list.since->seconds, 14 * 86400);
  EXPECT_FALSE(list.before->isAgo);
  EXPECT_EQ(list.limit, 3U);
  EXPECT_EQ(library({"list"}).starred, std::nullopt);

  const command::Library title = library({"title", "AB", "A walk", "--json"});
  EXPECT_EQ(title.verb, command::Library::Verb::title);
  EXPECT_THAT(title.ids, testing::ElementsAre("AB"));
  EXPECT_EQ(title.title, "A walk");
  const command::Library collect = library({"collect", "--new", "Box", "AB", "latest"});
  EXPECT_TRUE(collect.makesCollection);
  EXPECT_EQ(collect.collection, "Box");
  EXPECT_THAT(collect.ids, testing::ElementsAre("AB", "latest"));
  EXPECT_EQ(library({"relocate", "../bob/shots/"}).folder, "/home/bob/shots");
  EXPECT_EQ(library({"relocate", "/media/stick"}).folder, "/media/stick");
}

TEST(CommandLineTest, PicturesAreNamedByIdsAndFiles) {
  const auto edited = [](std::vector<std::string> arguments) {
    const auto parsed = parseCommandLine(std::move(arguments), "/home/bob");
    const auto* const line = std::get_if<CommandLine>(&parsed);
    return line != nullptr ? std::get<command::Edit>(line->command) : command::Edit{};
  };
  const command::Edit both = edited({"edit", "latest", "shot.png", "../x"});
  ASSERT_EQ(both.pictures.size(), 3U);
  EXPECT_EQ(both.pictures[0].capture, "latest");
  EXPECT_EQ(both.pictures[1].file, "/home/bob/shot.png");
  EXPECT_EQ(both.pictures[2].file, "/home/x");
  EXPECT_TRUE(edited({"edit", "--clipboard"}).clipboard);
  // As file managers ask, for another library too.
  const command::Edit files = edited({"--root", "/tmp/r.d", "/a/b c.png", "/d.webp"});
  ASSERT_EQ(files.pictures.size(), 2U);
  EXPECT_EQ(files.pictures[0].file, "/a/b c.png");
}

TEST(CommandLineTest, MistakesAreNamedAndHelpIsNoMistake) {
  const std::vector<std::pair<std::vector<std::string>, std::string>> mistakes = {
      {{"capture"}, "\"what\" is missing: display, window, area, previous, text or scroll."},
      {{"library", "list", "--before", ""}, "must not be empty"},
      {{"library", "list", "--collection", ""}, "must not be empty"},
      {{"capture", "area", "--timeout", "3"}, "--timeout goes with \"capture scroll\""},
      {{"capture", "scroll", "--timeout", "0"}, "whole seconds from 1 to 3600"},
      {{"capture", "scroll", "--delay", "3"}, "--delay doesn't go with"},
      {{"capture", "scroll", "--display", "DP-1"}, "--display goes with"},
      {{"stitch", "a.png", "--output", "b.png"}, "two frames at least"},
      {{"stitch", "a.png", "b.png"}, "--output is missing"},
      {{"stitch", "a.png", "b.png", "--output", "c.gif"}, "--output must end in"},
      {{"stitch", "a.png", "b.png", "--output", "c.png", "--scale", "0"}, "--scale must be"},
      {{"capture", "moon"},
       "Capture must be one of display, window, area, previous, text, scroll."},
      {{"capture", "area", "--rect", "1,2,3"}, "--rect must be X,Y,W,H"},
      {{"capture", "area", "--rect", "1,2,3,0"}, "--rect must be X,Y,W,H"},
      {{"capture", "area", "--rect", "nan,2,3,4"}, "--rect must be X,Y,W,H"},
      {{"capture", "display", "--rect", "1,2,3,4"}, "--rect goes with"},
      {{"capture", "window", "--window", "12x"}, "--window must be a number"},
      {{"capture", "area", "--display", "DP-1"}, "--display goes with"},
      {{"capture", "area", "--all"}, "--all goes with"},
      {{"capture", "display", "--all", "--display", "DP-1"}, "--all goes with"},
      {{"capture", "display", "--delay", "seven"}, "--delay must be whole seconds"},
      {{"capture", "display", "--delay", "-1"}, "--delay must be whole seconds"},
      // Given but empty, as by a script whose variable is: never the overlay.
      {{"capture", "area", "--rect", ""}, "--rect must be X,Y,W,H"},
      {{"capture", "window", "--window", ""}, "--window must be a number"},
      {{"capture", "display", "--display", ""}, "--display must name a display"},
      {{"capture", "display", "--delay", ""}, "--delay must be whole seconds"},
      {{"capture", "display", "--output", ""}, "--output must name a file"},
      {{"capture", "display", "--output", "shot.bmp"}, "--output must end in"},
      {{"capture", "display", "--output", "-", "--json"}, "--json doesn't go with it"},
      {{"capture", "area", "--timeout", "3"}, "--timeout goes with \"capture scroll\""},
      {{"capture", "scroll", "--timeout", "0"}, "whole seconds from 1 to 3600"},
      {{"capture", "scroll", "--delay", "3"}, "--delay doesn't go with"},
      {{"capture", "scroll", "--display", "DP-1"}, "--display goes with"},
      {{"stitch", "a.png", "--output", "b.png"}, "two frames at least"},
      {{"stitch", "a.png", "b.png"}, "--output is missing"},
      {{"stitch", "a.png", "b.png", "--output", "c.gif"}, "--output must end in"},
      {{"stitch", "a.png", "b.png", "--output", "c.png", "--scale", "0"}, "--scale must be"},
      {{"capture", "moon"}, "\"vantorel capture --help\""},
      {{"show", "window"}, "Show must be one of history, settings, help, welcome."},
      {{"autostart", "perhaps"}, "Autostart must be one of on, off, status."},
      {{"convert", "latest", "--format", "bmp"}, "--format must be one of png, jpeg, heic, webp."},
      {{"annotate", "latest"}, "either --apply FILE or --print"},
      {{"annotate", "latest", "--apply", "a.json", "--print"}, "either --apply FILE or --print"},
      {{"annotate", "latest", "--apply", ""}, "--apply must name a file"},
      {{"annotate", "--print"}, "\"id\" is missing"},
      {{"render", "latest"}, "--output is missing: the file to write; - is standard output."},
      {{"render", "latest", "--output", "drawn"}, "--format is needed"},
      {{"render", "latest", "--output", "drawn.gif"}, "--format is needed"},
      {{"render", "latest", "--output", "drawn.png", "--format", "gif"},
       "--format must be one of png"},
      {{"edit"}, "Edit needs either the id of a capture or a picture file, or --clipboard."},
      {{"edit", "--clipboard", "latest"}, "or --clipboard"},
      {{"pin"}, "\"what\" is missing"},
      {{"displays", "surplus"}, "surplus"},
      {{"library"}, "subcommand is required"},
      {{"library", "trash"}, "\"ids\" is missing"},
      {{"library", "relocate"}, "\"folder\" is missing"},
      {{"library", "relocate", ""}, "Relocate needs the name of a folder"},
      {{"library", "list", "--medium", "film"}, "--medium must be one of "},
      {{"library", "list", "--since", "2026-02-30"}, "--since must be"},
      {{"library", "list", "--before", "-3d"}, "--before must be"},
      {{"library", "list", "--starred", "--unstarred"}, "excludes"},
      {{"settings"}, "subcommand is required"},
      {{"settings", "set", "mcpPort"}, "\"value\" is missing"},
      {{"settings", "reset"}, "or --all"},
      {{"settings", "reset", "mcpPort", "--all"}, "or --all"},
      {{"--root", ""}, "--root must name a folder"},
      {{"fly"}, "fly"},
  };
  for (const auto& [arguments, words] : mistakes) {
    const auto result = parseCommandLine(arguments, "/home/ann");
    const auto* answer = std::get_if<CommandLineAnswer>(&result);
    ASSERT_NE(answer, nullptr) << words;
    EXPECT_EQ(answer->status, ExitStatus::usage) << words;
    EXPECT_THAT(answer->text, testing::HasSubstr(words));
  }
  for (const std::vector<std::string>& wish : std::vector<std::vector<std::string>>{
           {"--help"}, {"--version"}, {"help"}, {"--root", "/x", "help", "capture"}}) {
    const auto result = parseCommandLine(wish, "/home/ann");
    const auto& answer = std::get<CommandLineAnswer>(result);
    EXPECT_EQ(answer.status, ExitStatus::done);
    EXPECT_EQ(answer.text.find("--rect") != std::string::npos, wish.size() > 2) << answer.text;
  }
}

}  // namespace
}  // namespace vantorel
