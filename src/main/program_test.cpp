#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include <csignal>
#include <cstring>
#include <fstream>

#include "main/program_under_test.hpp"
#include "platform/testing/desktop/keyboard_watch.hpp"
#include "platform/testing/desktop/test_client.hpp"
#include "platform/testing/desktop/test_desktop.hpp"

namespace vantorel {
namespace {

using namespace std::chrono_literals;
using testing::AnyOf;
using testing::HasSubstr;
using testing::IsEmpty;

TEST(ProgramTest, EveryModeShowsThePixelsOfTheScreen) {
  TestDesktop desktop({.screen = PixelSize{3840, 2160}});
  desktop.setMonitors({{"LEFT", {0, 0, 2560, 1440}}, {"RIGHT", {2560, 300, 1280, 1024}}});
  TestClient client(desktop.display());
  client.paintRoot(1);
  const auto covered = client.open({.area = {100, 100, 800, 600}, .seed = 2});
  client.open({.area = {300, 200, 900, 700}, .seed = 3});
  const Vantorel vantorel(desktop);

  const Image right = vantorel.picture(vantorel.run({"capture", "display", "--display", "RIGHT"}));
  EXPECT_EQ(right.size(), (PixelSize{1280, 1024}));
  EXPECT_EQ(differenceFromTestPicture(right, 1, 2560, 300), "");
  const Image main = vantorel.picture(vantorel.run({"capture", "display"}));
  EXPECT_EQ(main.size(), (PixelSize{2560, 1440}));
  EXPECT_EQ(differenceFromTestPicture(main.cropped({300, 200, 900, 700}), 3), "");
  EXPECT_EQ(differenceFromTestPicture(main.cropped({0, 900, 2560, 540}), 1, 0, 900), "");
  const Image window =
      vantorel.picture(vantorel.run({"capture", "window", "--window", std::to_string(covered)}));
  EXPECT_EQ(differenceFromTestPicture(window, 2), "") << "the covered part is missing";

  for (const char* format : {"jpeg", "webp", "heic"}) {
    const ChildOutcome converted = vantorel.run({"convert", "latest", "--format", format});
    EXPECT_EQ(vantorel.picture(converted).size(), (PixelSize{800, 600})) << converted.err;
  }
  EXPECT_EQ(vantorel.run({"compress", "latest"}).status, 0);

  const ChildOutcome scripted = vantorel.run(
      {"--json", "capture", "area", "--display", "RIGHT", "--rect", "1000,900,500,500"});
  const Image area =
      vantorel.picture({scripted.status, vantorel.entries().back()->path + "\n", {}});
  EXPECT_EQ(area.size(), (PixelSize{280, 124})) << "not cut at the display's edge";
  EXPECT_EQ(differenceFromTestPicture(area, 1, 3560, 1200), "");
  EXPECT_THAT(scripted.out, HasSubstr("\"pixelWidth\":280"));
  EXPECT_THAT(vantorel.run({"capture", "previous"}).err,
              HasSubstr("There is no previous area yet"));
  EXPECT_EQ(vantorel.entries().size(), 4U);
  EXPECT_THAT(namesIn(vantorel.root() / "Staged Captures"), IsEmpty());
}

TEST(ProgramTest, AnnotationsAreStoredPrintedAndDrawnAndNonsenseChangesNothing) {
  for (const bool tray : {false, true}) {
    TestDesktop desktop({.windowManager = tray, .bus = tray});
    TestClient client(desktop.display());
    client.paintRoot(1);
    const Vantorel vantorel(desktop);
    // What the index holds is compared below, and reading the text of a capture changes it.
    ASSERT_EQ(vantorel.run({"settings", "set", "indexScreenshotText", "false"}).status, 0);
    std::optional<ChildProcess> running;
    if (tray) {
      running.emplace(vantorel.startTray(client));
    }
    const ChildOutcome taken = vantorel.run({"capture", "display"});

    // Files are named from the folder of the one who asks, wherever the program was started.
    const auto folder = desktop.folder() / "papers";
    std::filesystem::create_directories(folder);
    const auto write = [&folder](const char* name, std::string_view text) {
      std::ofstream(folder / name, std::ios::binary) << text;
    };
    const auto run = [&](std::vector<std::string> arguments) {
      std::vector<std::string> all{"/usr/bin/env", "--chdir", folder.string()};
      for (auto& word : vantorel.command(std::move(arguments))) all.push_back(std::move(word));
      return desktop.start(std::move(all)).wait();
    };
    const auto image = [](const std::filesystem::path& path) {
      return LinuxImageCodec().decode(readAll(path)).value_or(Image{});
    };

    write("red.json", R"({"shapes":[{"id":"box","type":"rect","color":"#ff0000","width":4,)"
                      R"("fill":"solid","x1":100,"y1":100,"x2":300,"y2":200}],)"
                      R"("crop":{"x":50,"y":50,"w":400,"h":300}})");
    const ChildOutcome applied = run({"annotate", "latest", "--apply", "red.json"});
    ASSERT_EQ(applied.status, 0) << applied.err;
    EXPECT_EQ(applied.out, taken.out);
    EXPECT_TRUE(vantorel.entries().back()->editedAt.has_value());
    EXPECT_EQ(differenceFromTestPicture(vantorel.picture(taken), 1), "") << "the capture changed";
    const ChildOutcome printed = run({"annotate", "latest", "--print"});
    EXPECT_THAT(printed.out, HasSubstr("\"id\":\"box\""));

    for (const char* format : {"png", "jpeg", "webp", "heic"}) {
      const std::string name = std::string("drawn.") + format;
      const ChildOutcome drawn = run({"render", "latest", "--output", name});
      EXPECT_EQ(drawn.out, (folder / name).string() + "\n") << drawn.err;
      EXPECT_EQ(image(folder / name).size(), (PixelSize{400, 300})) << name;
    }
    const Image drawn = image(folder / "drawn.png");
    const auto corner = drawn.row(50).subspan(std::size_t{4} * 100, 3);
    EXPECT_THAT(corner, testing::ElementsAre(0, 0, 255)) << "no red line";
    EXPECT_EQ(differenceFromTestPicture(drawn.cropped({0, 0, 40, 40}), 1, 50, 50), "");

    // What was printed can be applied and draws the same.
    write("printed.json", printed.out);
    ASSERT_EQ(run({"render", vantorel.entries().back()->path, "--document", "printed.json",
                   "--output", "again.png"})
                  .status,
              0);
    // Only when it was taken is known of captures alone.
    const auto pixels = [&](const char* name) {
      const std::string png = readAll(folder / name);
      return png.substr(png.find("IDAT"));
    };
    EXPECT_TRUE(pixels("again.png") == pixels("drawn.png"));

    const std::string index = readAll(vantorel.root() / "history.json");
    const std::string path = vantorel.entries().back()->path;
    write("layer.json",
          R"({"layers":[{"id":"l","path":"gone.png","frame":{"x":0,"y":0,"w":9,"h":9}}]})");
    write("deep.json", std::string(100'000, '['));
    write("huge.json", R"({"canvas":{"width":8001,"height":8000}})");
    write("cut.json", R"({"shapes":[{"id":"a","type":"rect")");
    write("latin.json", "{\"shapes\":[],\"note\":\"caf\xe9\"}");
    write("nan.json", R"({"canvas":{"width":NaN,"height":9}})");
    write("endless.json", R"({"canvas":{"width":1e999,"height":1}})");
    write("piped.json",
          R"({"layers":[{"id":"l","path":"pipe.json","frame":{"x":0,"y":0,"w":9,"h":9}}]})");
    write("list.json", "[]");
    write("kind.json", R"({"shapes":{}})");
    write("number.json", R"({"shapes":[{"id":"a","type":"rect","color":"#ff0000","width":"4"}]})");
    write("sparse.json", "{");
    std::filesystem::resize_file(folder / "sparse.json", 100'000'000);
    ASSERT_EQ(::mkfifo((folder / "pipe.json").c_str(), 0600), 0);
    write("picture.png", "not a picture");
    using Words = std::vector<std::string>;
    for (const auto& [words, sentence] : std::vector<std::pair<Words, std::string>>{
             {{"annotate", "latest", "--apply", "layer.json"},
              "gone is missing. Hide or remove it."},
             {{"annotate", "latest", "--apply", "deep.json"}, "The document isn't JSON"},
             {{"annotate", "latest", "--apply", "cut.json"}, "The document isn't JSON"},
             {{"annotate", "latest", "--apply", "huge.json"}, "limited to 64 million pixels."},
             {{"annotate", "latest", "--apply", "none.json"}, "there is no such file"},
             {{"annotate", "latest", "--apply", "."}, "Couldn't read"},
             {{"annotate", "latest", "--apply", "latin.json"}, "The document isn't JSON"},
             {{"annotate", "latest", "--apply", "nan.json"}, "The document isn't JSON"},
             {{"annotate", "latest", "--apply", "list.json"}, "must be a JSON object."},
             {{"annotate", "latest", "--apply", "kind.json"}, "shapes"},
             {{"annotate", "latest", "--apply", "number.json"}, "width"},
             {{"annotate", "latest", "--apply", "sparse.json"}, "The document isn't JSON"},
             {{"annotate", "latest", "--apply", "endless.json"}, "limited to 64 million pixels."},
             {{"annotate", "latest", "--apply", "piped.json"}, "missing"},
             {{"annotate", "latest", "--apply", "pipe.json"}, "not a regular file"},
             {{"annotate", "nobody", "--apply", "red.json"}, "nobody"},
             {{"annotate", "nobody", "--print"}, "nobody"},
             {{"render", "latest", "--document", "layer.json", "--output", "x.png"}, "is missing"},
             {{"render", "latest", "--output", "none/x.png"}, "Couldn't write"},
             {{"render", "latest", "--output", path}, "A capture of the library"},
             {{"render", "./none.png", "--output", "x.png"}, "none.png: "},
             {{"render", "picture.png", "--output", "x.png"}, "picture.png as an image: "},
             {{"render", "drawn.png", "--output", "../papers/drawn.png"},
              "over a file it is made from"},
         }) {
      const ChildOutcome refused = run(words);
      EXPECT_EQ(refused.status, 1) << refused.out;
      EXPECT_THAT(refused.err, HasSubstr(sentence));
      EXPECT_EQ(std::ranges::count(refused.err, '\n'), 1) << refused.err;
    }
    EXPECT_EQ(run({"render", "latest", "--output", "x.png", "--format", "gif"}).status, 2);
    EXPECT_EQ(readAll(vantorel.root() / "history.json"), index);
    EXPECT_FALSE(std::filesystem::exists(folder / "x.png"));
    EXPECT_EQ(differenceFromTestPicture(vantorel.picture(taken), 1), "");
    if (running) {
      EXPECT_EQ(vantorel.run({"quit"}).status, 0);
      running->wait();
    }
  }
}

TEST(ProgramTest, NothingIsDrawnOverWhatTheLibraryOrThePictureNeeds) {
  namespace fs = std::filesystem;
  TestDesktop desktop({.windowManager = false, .bus = false});
  TestClient(desktop.display()).paintRoot(1);
  const Vantorel vantorel(desktop);
  ASSERT_EQ(vantorel.run({"capture", "display"}).status, 0);
  const fs::path folder = desktop.folder() / "papers";
  fs::create_directories(folder);
  const fs::path first = vantorel.entries().back()->path;
  fs::copy_file(first, folder / "stamp.png");
  std::ofstream(folder / "stamp.json")
      << R"({"layers":[{"id":"c","frame":{"x":0,"y":0,"w":50,"h":40}},)"
      << R"({"id":"l","path":"stamp.png","frame":{"x":5,"y":5,"w":9,"h":9}}]})";
  ASSERT_EQ(
      vantorel.run({"annotate", "latest", "--apply", (folder / "stamp.json").string()}).status, 0);
  ASSERT_EQ(vantorel.run({"convert", "latest", "--format", "jpeg"}).status, 0);
  ASSERT_EQ(vantorel.run({"capture", "display"}).status, 0);
  ASSERT_EQ(vantorel.run({"compress", "latest"}).status, 0);
  const EntryList entries = vantorel.entries();
  ASSERT_EQ(entries.size(), 2U);
  std::vector<fs::path> kept{folder / "stamp.png", folder / "stamp.json",
                             vantorel.root() / "history.json"};
  for (const EntryPointer& entry : entries) {
    kept.emplace_back(entry->path);
    if (entry->originalPath) kept.emplace_back(*entry->originalPath);
  }
  ASSERT_GE(kept.size(), 6U) << "a converted and a compressed capture";
  fs::create_directory_symlink(vantorel.root(), folder / "root");
  fs::create_directory_symlink(vantorel.captures(), folder / "captures");
  fs::create_symlink(first, folder / "link.png");
  for (const fs::path& path : kept) {
    const std::string before = readAll(path);
    ASSERT_FALSE(before.empty()) << path;
    const fs::path hard = folder / "hard.png";
    fs::create_hard_link(path, hard);
    std::vector<fs::path> names{path, path.parent_path() / "." / path.filename(), hard};
    for (const char* const link : {"root", "captures"}) {
      const fs::path seen = folder / link / path.filename();
      if (fs::exists(seen) && fs::equivalent(seen, path)) names.push_back(seen);
    }
    names.push_back(folder / "link.png");
    fs::remove(names.back());
    fs::create_symlink(path, names.back());
    for (const fs::path& name : names) {
      // A second name beside the index is a file of somebody else, of whom nothing is kept there.
      if (name == hard && path.filename() == "history.json") continue;
      for (const bool isGiven : {false, true}) {
        std::vector<std::string> words{"render",      entries[0]->id, "--output",
                                       name.string(), "--format",     "png"};
        if (isGiven) words.insert(words.end(), {"--document", (folder / "stamp.json").string()});
        // Without it this document is no more than a file.
        if (!isGiven && path.filename() == "stamp.json") continue;
        const ChildOutcome refused = vantorel.run(words);
        EXPECT_EQ(refused.status, 1) << name << " was drawn over";
        EXPECT_EQ(std::ranges::count(refused.err, '\n'), 1) << refused.err;
        ASSERT_TRUE(readAll(path) == before) << name << refused.err;
      }
    }
    fs::remove(hard);
  }
}

TEST(ProgramTest, KilledAtEachChangeOfItsFilesACaptureIsFiledOnceOrNever) {
  TestDesktop desktop;
  TestClient(desktop.display()).paintRoot(1);
  const Vantorel vantorel(desktop);
  ASSERT_EQ(vantorel.run({"capture", "display"}).status, 0);
  std::size_t acknowledged = 1;
  bool isKilled = true;
  for (std::size_t moment = 0; isKilled; ++moment) {
    FileWatch files({vantorel.root(), vantorel.captures(), vantorel.root() / "Staged Captures"});
    ChildProcess process = vantorel.start({"capture", "display"});
    std::size_t changes = 0;
    while (isKilled && changes <= moment) {
      const std::size_t more = files.next(process.pid());
      changes += more;
      isKilled = more > 0;
    }
    process.signal(SIGKILL);
    const ChildOutcome outcome = process.wait();
    if (!outcome.out.empty()) ++acknowledged;
    ASSERT_EQ(vantorel.run({"displays"}).status, 0);
    ASSERT_GE(vantorel.entries().size(), acknowledged) << "moment " << moment;
    vantorel.expectWhole();
    if (HasFailure()) FAIL() << "moment " << moment;
    ASSERT_LT(moment, 200U);
  }
  EXPECT_GE(vantorel.entries().size(), 10U) << "hardly ever killed";
  for (const EntryPointer& entry : vantorel.entries()) EXPECT_EQ(entry->captureScale, 1);
}

TEST(ProgramTest, TwoCommandsAtOnceNeverCollide) {
  for (const bool bus : {true, false}) {
    TestDesktop desktop({.bus = bus});
    TestClient(desktop.display()).paintRoot(1);
    const Vantorel vantorel(desktop);
    std::size_t filed = 0;
    for (int round = 0; round < 5; ++round) {
      ChildProcess first = vantorel.start({"capture", "display"});
      ChildProcess second = vantorel.start({"capture", "display"});
      for (ChildProcess* process : {&first, &second}) {
        const ChildOutcome outcome = process->wait();
        EXPECT_THAT(outcome.status, AnyOf(0, 4)) << outcome.err;
        if (outcome.status == 0) ++filed;
      }
    }
    EXPECT_GE(filed, 5U);
    EXPECT_EQ(vantorel.entries().size(), filed);
    vantorel.expectWhole();
  }
}

TEST(ProgramTest, WhatIsMissingIsSaidInASentence) {
  {
    TestDesktop desktop;
    TestClient(desktop.display()).paintRoot(1);
    const Vantorel vantorel(desktop);
    desktop.server().signal(SIGSTOP);
    const auto begin = std::chrono::steady_clock::now();
    const ChildOutcome stuck = vantorel.run({"capture", "display"});
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 12s);
    EXPECT_EQ(stuck.status, 1);
    EXPECT_EQ(stuck.err,
              "Couldn't capture the screen: the screen capture service didn't respond in time.\n");
    desktop.server().signal(SIGCONT);
    EXPECT_EQ(vantorel.run({"capture", "display"}).status, 0);
    EXPECT_EQ(vantorel.run({"capture", "window", "--window", "3"}).status, 1);
    EXPECT_EQ(vantorel.run({"capture", "display", "--display", "HDMI-7"}).status, 1);
    EXPECT_EQ(vantorel.run({"capture", "sky"}).status, 2);
    EXPECT_EQ(vantorel.run({"convert", "nothing", "--format", "png"}).status, 1);
    vantorel.expectWhole();
  }
  TestDesktop nowhere({.screen = std::nullopt});
  const Vantorel blind(nowhere);
  for (const auto& arguments : std::vector<std::vector<std::string>>{
           {"capture", "display"}, {"capture", "area"}, {"windows"}, {}}) {
    const ChildOutcome outcome = blind.run(arguments);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, testing::EndsWith(".\n"));
  }
  ChildEnvironment wayland = nowhere.environment();
  wayland["WAYLAND_DISPLAY"] = "wayland-0";
  const ChildOutcome outcome = ChildProcess(blind.command({"capture", "display"}), wayland).wait();
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err, HasSubstr("Wayland"));
}

TEST(ProgramTest, AFullOrMissingStorageFolderLosesNothing) {
  TestDesktop desktop;
  TestClient(desktop.display()).paintRoot(1);
  const Vantorel vantorel(desktop);
  const auto tiny = desktop.folder() / "tiny";
  std::filesystem::create_directories(tiny);
  std::filesystem::create_directories(vantorel.root());
  ASSERT_EQ(::mount("tmpfs", tiny.c_str(), "tmpfs", 0, "size=64k"), 0) << std::strerror(errno);
  const auto setStorage = [&](const std::filesystem::path& folder) {
    std::ofstream(vantorel.root() / "settings.json")
        << R"({"storageDirectory":")" << folder.string() << "\"}";
  };
  setStorage(tiny);
  const ChildOutcome full = vantorel.run({"capture", "display"});
  EXPECT_EQ(vantorel.picture(full).size(), (PixelSize{1280, 800}));
  EXPECT_THAT(full.err, HasSubstr("default folder instead"));
  EXPECT_THAT(namesIn(tiny), IsEmpty()) << "half a file was left";
  ASSERT_EQ(::umount(tiny.c_str()), 0);

  ASSERT_EQ(::mount("tmpfs", tiny.c_str(), "tmpfs", MS_RDONLY, "size=64k"), 0);
  EXPECT_THAT(vantorel.run({"capture", "display"}).err, HasSubstr("default folder instead"));
  ASSERT_EQ(::umount(tiny.c_str()), 0);
  setStorage(desktop.folder() / "unplugged");
  EXPECT_THAT(vantorel.run({"capture", "display"}).err, HasSubstr("the folder is missing"));
  EXPECT_EQ(vantorel.entries().size(), 3U);
  vantorel.expectWhole();
}

TEST(ProgramTest, TheRunningProgramTakesCommandsAndKeepsTheClipboard) {
  TestDesktop desktop({.windowManager = true, .bus = true});
  TestClient client(desktop.display());
  client.paintRoot(1);
  const Vantorel vantorel(desktop);
  // Until the program in the tray has the name, a command runs by itself; both are right.
  ChildProcess tray = vantorel.startTray(client);
  const ChildOutcome taken = vantorel.run({"capture", "display"});
  EXPECT_EQ(differenceFromTestPicture(vantorel.picture(taken), 1), "");

  KeyboardWatch keyboard(desktop.display());
  ChildProcess area = vantorel.start({"capture", "area"});
  ASSERT_TRUE(keyboard.waitUntilTaken());
  EXPECT_EQ(vantorel.run({"capture", "display"}).status, 4);
  area.signal(SIGKILL);
  // The one who asked is gone, so the overlay goes as well and the next command is taken.
  ASSERT_TRUE(keyboard.waitUntilFree());
  EXPECT_EQ(vantorel.run({"capture", "display"}).status, 0);
  EXPECT_THAT(vantorel.run({}).err, HasSubstr("running already"));

  EXPECT_EQ(vantorel.run({"quit"}).status, 0);
  const ChildOutcome ended = tray.wait();
  EXPECT_EQ(ended.status, 0) << ended.err;
  vantorel.expectWhole();
}

TEST(ProgramTest, ACommandByItselfHandsThePictureToFilesPipesAndTheClipboard) {
  TestDesktop desktop({.bus = true});
  TestClient client(desktop.display());
  client.paintRoot(1);
  const Vantorel vantorel(desktop);
  const auto file = desktop.folder() / "shot.png";
  const ChildOutcome written =
      vantorel.run({"capture", "display", "--output", file.string(), "--copy", "--delay", "1"});
  EXPECT_EQ(written.out, file.string() + "\n") << written.err;
  EXPECT_EQ(differenceFromTestPicture(vantorel.picture(written), 1), "");
  EXPECT_TRUE(client.isOwned("CLIPBOARD")) << "the picture went with the command";

  const ChildOutcome piped = vantorel.run({"capture", "display", "--output", "-"});
  const auto image = LinuxImageCodec().decode(piped.out);
  ASSERT_TRUE(image) << piped.err;
  EXPECT_EQ(differenceFromTestPicture(*image, 1), "");

  // The pointer is in the middle of the screen.
  const Image bare = Vantorel::picture(vantorel.run({"capture", "display"}));
  const Image pointed = Vantorel::picture(vantorel.run({"capture", "display", "--pointer"}));
  EXPECT_EQ(differenceFromTestPicture(bare, 1), "");
  EXPECT_NE(differenceFromTestPicture(pointed, 1), "");

  for (const auto& where : {vantorel.root() / "history.json", vantorel.root() / "Captures"}) {
    const ChildOutcome refused =
        vantorel.run({"capture", "display", "--output", where.string() + "/../history.png"});
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.err, HasSubstr("The capture is in the library: "));
  }
  EXPECT_EQ(vantorel.entries().size(), 6U) << "everything is in the library as well";
  vantorel.expectWhole();

  const auto entries = desktop.folder() / "config" / "autostart";
  EXPECT_EQ(vantorel.run({"autostart", "on"}).out, "on\n");
  EXPECT_THAT(namesIn(entries), testing::SizeIs(1));
  EXPECT_EQ(vantorel.run({"settings", "reset", "--all"}).status, 0);
  EXPECT_EQ(vantorel.run({"autostart", "status"}).out, "off\n");
}

TEST(ProgramTest, AutostartHidesAndShowsTheEntryThatAPackageInstalls) {
  TestDesktop desktop({.screen = std::nullopt, .bus = false});
  const Vantorel vantorel(desktop);
  ASSERT_EQ(vantorel.run({"autostart", "on"}).status, 0);
  const auto own = desktop.folder() / "config" / "autostart";
  const auto shared = desktop.folder() / "shared" / "autostart";
  std::filesystem::rename(own, shared);

  EXPECT_EQ(vantorel.run({"autostart", "status"}).out, "on\n");
  EXPECT_EQ(vantorel.run({"autostart", "off"}).out, "off\n");
  EXPECT_EQ(vantorel.run({"autostart", "status"}).out, "off\n");
  EXPECT_EQ(vantorel.run({"autostart", "on"}).out, "on\n");
  EXPECT_EQ(vantorel.run({"autostart", "status"}).out, "on\n");
}

TEST(ProgramTest, TheLibraryAndSettingsNeedNoDisplay) {
  for (const bool bus : {false, true}) {
    TestDesktop desktop({.screen = std::nullopt, .bus = bus});
    const Vantorel vantorel(desktop);
    EXPECT_EQ(vantorel.run({"settings", "set", "exportFormat", "bmp"}).status, 1);
    EXPECT_EQ(vantorel.run({"settings", "set", "exportFormat", "webp"}).status, 0);
    EXPECT_EQ(vantorel.run({"settings", "get", "exportFormat"}).out, "webp\n");
    for (const std::vector<std::string>& command : std::vector<std::vector<std::string>>{
             {"settings", "set", "storageDirectory", "/proc"}, {"library", "relocate", "/proc"}}) {
      const ChildOutcome refused = vantorel.run(command);
      EXPECT_EQ(refused.status, 1);
      EXPECT_THAT(refused.err, testing::StartsWith("The new folder can't be used: "));
    }
    EXPECT_EQ(vantorel.run({"settings", "get", "storageDirectory"}).out,
              vantorel.captures().string() + "\n");

    std::filesystem::create_directories(vantorel.captures());
    std::string entries;
    for (const char* const id : {"AA1", "AA2", "BB3"}) {
      const std::string path = vantorel.captures() / (std::string(id) + ".png");
      std::ofstream(path) << pictureHolding(std::string("pixels of ") + id);
      entries += std::string(entries.empty() ? "" : ",") + R"({"id":")" + id +
                 R"(","capturedAt":1,"path":")" + path + "\"}";
    }
    std::ofstream(vantorel.root() / "history.json")
        << R"({"version":4,"entries":[)" << entries << R"(],"collections":[]})";
    EXPECT_THAT(vantorel.run({"library", "trash", "aa"}).err, HasSubstr("2 captures"));
    EXPECT_EQ(vantorel.run({"library", "trash", "AA1", "BB"}).status, 0);
    EXPECT_EQ(vantorel.entries().size(), 1U);
    EXPECT_THAT(namesIn(vantorel.captures()), testing::ElementsAre("AA2.png"));
    // Another process than the one that deleted.
    EXPECT_EQ(vantorel.run({"library", "undo"}).status, 0);
    ASSERT_EQ(vantorel.entries().size(), 3U);
    EXPECT_EQ(vantorel.entries()[0]->id, "AA1");
    EXPECT_EQ(readAll(vantorel.captures() / "BB3.png"), pictureHolding("pixels of BB3"));
    EXPECT_EQ(vantorel.run({"library", "undo"}).status, 1);
    EXPECT_THAT(vantorel.run({"library", "verify"}).out, testing::StartsWith("3 captures, "));
    const auto lost = vantorel.captures() / "Clip 2026-03-01 at 14.05.09.gif";
    std::ofstream(lost) << pictureHolding("moving pixels");
    std::filesystem::remove(vantorel.captures() / "AA2.png");
    const ChildOutcome found = vantorel.run({"library", "verify"});
    EXPECT_EQ(found.status, 1);
    EXPECT_EQ(found.err, "2 found, 0 repaired.\n");
    EXPECT_EQ(vantorel.entries().size(), 3U) << "repaired unasked";
    EXPECT_EQ(vantorel.run({"library", "verify", "--repair"}).status, 0);
    EXPECT_THAT(vantorel.run({"--json", "library", "verify"}).out,
                testing::MatchesRegex(R"(\{"captures":3,"bytes":[1-9][0-9]+\}.)"));
    ASSERT_EQ(vantorel.entries().size(), 3U);
    EXPECT_EQ(vantorel.entries().back()->path, lost.string());
    for (const char* const left : {"undo.json", "deletions.json"}) {
      EXPECT_FALSE(std::filesystem::exists(vantorel.root() / left)) << left;
    }
  }
}

TEST(ProgramTest, EscapeOnTheOverlayIsACancelledCommand) {
  TestDesktop desktop({.bus = true});
  TestClient client(desktop.display());
  client.paintRoot(1);
  const Vantorel vantorel(desktop);
  KeyboardWatch keyboard(desktop.display());
  ChildProcess area = vantorel.start({"capture", "area"});
  ASSERT_TRUE(keyboard.waitUntilTaken());
  client.key(0xFF1B, true);
  client.key(0xFF1B, false);
  const ChildOutcome outcome = area.wait();
  EXPECT_EQ(outcome.status, 3) << outcome.err;
  EXPECT_THAT(vantorel.entries(), IsEmpty());
}

}  // namespace
}  // namespace vantorel
