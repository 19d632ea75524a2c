#include "main/windows_wing.hpp"

#include <cstdlib>
#include <set>

#include "app/dragged_files.hpp"
#include "app/kept_layer.hpp"
#include "app/window_places.hpp"
#include "library/picture_loader.hpp"
#include "main/scene_module.hpp"
#include "platform/linux/linux_phone_number_finder.hpp"

namespace vantorel {
namespace {

std::string homeFolder() {
  const char* const home = std::getenv("HOME");
  return home != nullptr ? home : "";
}

std::vector<Path> configFolders(const UserFolders& user) {
  std::vector<Path> folders{user.config.parent_path()};
  folders.insert(folders.end(), user.sharedConfig.begin(), user.sharedConfig.end());
  return folders;
}

}  // namespace

WindowsWing::WindowsWing(CaptureWing& theCaptures, EditorWing& theEditor, TextWing& theText)
    : captures(theCaptures),
      editor(theEditor),
      text(theText),
      finish(
          withAnnotations(drawPictureWithModule(captures.desktop.files, captures.desktop.codec))),
      launcher(captures.desktop.main,
               captures.desktop.lanes.disks.queue("com.hollen.Vantorel.launcher")),
      keyHolders({.main = captures.desktop.main,
                  .work = captures.desktop.lanes.disks.queue("com.hollen.Vantorel.launcher"),
                  .files = captures.desktop.files,
                  .configFolders = configFolders(captures.desktop.user)}),
      autostart({.main = captures.desktop.main,
                 .work = captures.desktop.lanes.disks.queue("com.hollen.Vantorel.library"),
                 .autostart = &captures.desktop.autostart}),
      library({.main = captures.desktop.main,
               .library = captures.libraryWing.library,
               .move = captures.libraryWing.move,
               .repair = captures.libraryWing.repair,
               .alerts = *captures.desktop.alerts}),
      textPane({.main = captures.desktop.main,
                .work = captures.desktop.lanes.disks.queue("com.hollen.Vantorel.launcher"),
                .recogniser = text.recogniser,
                .locale = sessionLocale(),
                .copy = [this](const std::string& words, const auto& done) { copy(words, done); }}),
      recorder({.settings = captures.desktop.settings,
                .keys = captures.coordinator.keys(),
                .holders = &keyHolders}),
      weigher({.main = captures.desktop.main,
               .work = captures.desktop.lanes.pool.queue("com.hollen.Vantorel.weights"),
               .files = captures.desktop.files,
               .codec = captures.desktop.codec,
               .settings = &captures.desktop.settings}),
      drafts({.main = captures.desktop.main,
              .io = captures.desktop.lanes.disks.queue("com.hollen.Vantorel.drafts"),
              .files = captures.desktop.files,
              .folder = captures.desktop.folders.data / "Drafts"}),
      editors(editing()),
      pins({.model = {.main = captures.desktop.main,
                      .work = captures.desktop.lanes.pool.queue("com.hollen.Vantorel.pictures"),
                      .codec = captures.desktop.codec,
                      .clipboard = [this] { return &captures.desktop.clipboard(); }},
            .disk = captures.desktop.lanes.disks.queue("com.hollen.Vantorel.annotate"),
            .files = captures.desktop.files,
            .library = captures.libraryWing.library,
            .alerts = *captures.desktop.alerts,
            .surfaces = captures.coordinator.surfaces(),
            .windows = captures.desktop.ui != nullptr ? &captures.desktop.ui->windows() : nullptr,
            .finish = finish}),
      cards(
          {.main = captures.desktop.main,
           .clock = *captures.desktop.clock,
           .library = captures.libraryWing.library,
           .settings = captures.desktop.settings,
           .rewriter = editor.rewriter,
           .copying = captures.copying,
           .exporting = editor.exporting,
           .weigher = weigher,
           .work = captures.desktop.lanes.pool.queue("com.hollen.Vantorel.thumbnails"),
           .files = captures.desktop.files,
           .codec = captures.desktop.codec,
           .finish = finish,
           .reveal = [this](const Path& file, const auto& done) { launcher.reveal({file}, done); },
           .open = [this](const EntryPointer& entry, const auto& done) { open(entry, done); },
           .pin = [this](const EntryPointer& entry, const auto& done) { pin(entry, done); },
           .openHistory = [this] { (void)captures.coordinator.show(AppWindow::history); },
           .redact = [this](const std::string& id, const auto& done) { redact(id, done); },
           .switchRedaction = switchRedaction(Library::Claimed::no),
           .copyText = [this](const std::string& words, const auto& done) { copy(words, done); }}) {
  DesktopWing& desktop = captures.desktop;
  desktop.ui->showCards(&cards);
  captures.coordinator.onSaved = [this](const CaptureOutcome::Saved& saved) {
    cards.add(saved);
    if (captures.desktop.settings.values().openAnnotateAfterCapture) {
      editors.openTaken(saved.entry, saved.picture);
    }
  };
  redactions_ = captures.captures.redactions().observe(
      [this] { cards.setScanned(captures.captures.redactions().underWay()); });
  captures.coordinator.editors = &editors;
  captures.coordinator.pins = &pins;
  pins.onChange = [this] { captures.coordinator.menuChanged(); };
  editors.onDraftsChange = [this] { captures.coordinator.menuChanged(); };
  captures.coordinator.closeEditors = [this](auto done) { editors.closeAll(std::move(done)); };
  captures.coordinator.keepUnsaved = [this](auto kept) { editors.keepDrafts(std::move(kept)); };
  desktop.lanes.disks.queue("com.hollen.Vantorel.library")
      ->post(
          [files = desktop.files, folder = draggedFiles()] { removeDraggedFiles(*files, folder); });
  captures.coordinator.onCopied = [this](const std::string& id) { cards.copied(id); };
  captures.coordinator.onFocusCard = [&desktop] { return desktop.ui->focusCard(); };
  desktop.ui->setWindowServices(
      {.history = [this] { return history(); },
       .settings = [this] { return settings(); },
       .help = [this] { return help(); },
       .welcome = [this] { return welcome(); },
       .places = std::make_shared<WindowPlacesFile>(
           WindowPlacesFile::Services{
               .files = *desktop.files,
               .main = desktop.main,
               .io = desktop.lanes.prompt.queue("com.hollen.Vantorel.settings")},
           desktop.folders.data / "windows.json"),
       .show = [this](AppWindow window) { (void)captures.coordinator.show(window); },
       .quit = [this] { captures.coordinator.quit(); }});
}

WindowsWing::~WindowsWing() {
  captures.coordinator.editors = nullptr;
  captures.coordinator.pins = nullptr;
  captures.coordinator.closeEditors = nullptr;
  captures.coordinator.keepUnsaved = nullptr;
  captures.coordinator.onSaved = nullptr;
  captures.coordinator.onCopied = nullptr;
  captures.coordinator.onFocusCard = nullptr;
  captures.desktop.ui->showCards(nullptr);
}

CaptureEditors::Services WindowsWing::editing() {
  DesktopWing& desktop = captures.desktop;
  Library& theLibrary = captures.libraryWing.library;
  const auto drawing = desktop.lanes.pool.queue("com.hollen.Vantorel.annotate");
  return {.model = {.main = desktop.main,
                    .work = drawing,
                    .disk = desktop.lanes.disks.queue("com.hollen.Vantorel.annotate"),
                    .files = desktop.files,
                    .codec = desktop.codec,
                    .settings = desktop.settings,
                    .alerts = *desktop.alerts,
                    .pendingWork = captures.coordinator.pendingArchiveWork(),
                    .clipboard = [&desktop] { return &desktop.clipboard(); },
                    .protectedFiles =
                        [&desktop, &theLibrary] {
                          const HistoryStore& store = theLibrary.store();
                          return ProtectedFiles{.entries = store.entries(),
                                                .paths = store.paths(),
                                                .originals = store.paths().originals(),
                                                .settings = desktop.settingsPath()};
                        },
                    .layers = desktop.folders.data / keptLayersName,
                    .drags = draggedFiles(),
                    .scan = scanning()},
          .capture = {.main = desktop.main,
                      .work = drawing,
                      .disk = desktop.lanes.disks.queue("com.hollen.Vantorel.annotate"),
                      .files = desktop.files,
                      .codec = desktop.codec,
                      .library = theLibrary,
                      .drafts = drafts,
                      .import =
                          [this](std::shared_ptr<StillCaptures::Import> import,
                                 StillCaptureFiling::Filed filed) {
                            captures.captures.import(std::move(import), std::move(filed));
                          },
                      .forget =
                          [this](const std::string& id,
                                 const std::function<void(Result<void, std::string>)>& done) {
                            captures.libraryWing.prune.forget(
                                {id}, [done](const ForgetReport& report) {
                                  if (report.indexNotSaved) {
                                    return done(std::unexpected(sentence(EntryFailure{
                                        EntryFailure::Case::notSaved, *report.indexNotSaved})));
                                  }
                                  if (!report.stayed.empty()) {
                                    return done(std::unexpected(report.stayed.front().reason));
                                  }
                                  done({});
                                });
                          },
                      .switchRedaction = switchRedaction(Library::Claimed::byCaller)},
          .surfaces = captures.coordinator.surfaces(),
          .clock = desktop.clock,
          .windows = desktop.ui != nullptr ? &desktop.ui->windows() : nullptr,
          .drawing = loadSceneDrawing,
          .preview = [this](const EntryPointer& entry, auto done) {
            previewFor(entry, std::move(done));
          }};
}

ScanPicture WindowsWing::scanning() {
  return [this](Image picture, double pixelsPerPoint, VisualDetectors enabled, auto scanned) {
    return std::shared_ptr<void>(
        text.scans.scan(std::move(picture), pixelsPerPoint, enabled, std::move(scanned)));
  };
}

/// Covers what is found in a capture, and says how many finds that were.
void WindowsWing::redact(const std::string& id,
                         const std::function<void(Result<int, std::string>)>& done) {
  text.redactor.apply(id, {}, [done](CaptureRedactor::Answer<CaptureRedactor::Applied> applied) {
    if (!applied) return done(std::unexpected(sentence(applied.error())));
    std::set<int> finds;
    for (const SmartRedact::Proposal& proposal : applied->covered) finds.insert(proposal.match);
    done(static_cast<int>(finds.size()));
  });
}

SwitchRedaction WindowsWing::switchRedaction(Library::Claimed claimed) {
  return [this, claimed](const std::string& id, bool covers, auto done) {
    text.redactor.switchTo(covers, id, claimed, std::move(done));
  };
}

void WindowsWing::copy(const std::string& words,
                       const std::function<void(const std::string& failure)>& done) {
  captures.desktop.clipboard().setText(words, [done](const Result<void>& copied) {
    done(copied ? std::string() : copied.error().reason);
  });
}

/// A preview of its own for each window: one that is wanted next would take the place of others.
void WindowsWing::previewFor(const EntryPointer& entry, std::function<void(const Image&)> done) {
  const std::shared_ptr<PreviewCache> cache = previews();
  // It holds itself until it has answered.
  cache->onPreview = [cache, done = std::move(done), main = captures.desktop.main](
                         const EntryPointer&, const Image& preview) {
    done(preview);
    main->post([cache] { cache->onPreview = nullptr; });
  };
  cache->want({entry});
}

void WindowsWing::pin(const EntryPointer& entry, const FileLauncher::Done& done) {
  pins.pinAll({{.capture = entry->id}}, [done](const std::vector<UnopenedPicture>& unopened) {
    if (unopened.empty()) return done({});
    done(failed(FailureKind::other, unopened.front().why));
  });
}

/// Pictures in Annotate, the rest in the program for such files.
void WindowsWing::open(const EntryPointer& entry, const FileLauncher::Done& done) {
  if (entry->medium != CaptureMedium::image) return launcher.open(entry->path, done);
  editors.openEntry(entry->id, [done](const Result<void, std::string>& opened) {
    if (opened) return done({});
    done(failed(FailureKind::other, opened.error()));
  });
}

Path WindowsWing::draggedFiles() const { return captures.desktop.folders.cache / draggedFilesName; }

/// What another program would not take is said on the desktop: it was asked for there.
FileLauncher::Done WindowsWing::reported() {
  return [alerts = captures.desktop.alerts.get()](const Result<void>& launched) {
    if (!launched) alerts->notify("The file couldn't be opened", launched.error().reason + ".");
  };
}

std::shared_ptr<HistoryModel> WindowsWing::history() {
  DesktopWing& desktop = captures.desktop;
  LibraryWing& libraryWing = captures.libraryWing;
  return std::make_shared<HistoryModel>(HistoryModel::Services{
      .main = desktop.main,
      .reading = desktop.lanes.pool.queue("com.hollen.Vantorel.search"),
      .library = libraryWing.library,
      .settings = desktop.settings,
      .actions =
          {.main = desktop.main,
           .work = desktop.lanes.disks.queue("com.hollen.Vantorel.library"),
           .files = desktop.files,
           .library = libraryWing.library,
           .rewriter = editor.rewriter,
           .copying = captures.copying,
           .exporting = editor.exporting,
           .prune = libraryWing.prune,
           .clipboard = [&desktop] { return &desktop.clipboard(); },
           .joinsLines = [&desktop] { return desktop.settings.values().joinCopiedTextLines; },
           .reachOf =
               [&libraryWing](const ScreenshotEntry& entry) { return libraryWing.reachOf(entry); },
           .annotate = [this](const std::vector<NamedPicture>& pictures,
                              auto opened) { editors.openAll(pictures, std::move(opened)); },
           .pin = [this](const std::vector<NamedPicture>& pictures,
                         auto pinned) { pins.pinAll(pictures, std::move(pinned)); },
           .open = [this](const Path& file) { launcher.open(file, reported()); },
           .reveal = [this](const std::vector<Path>& files) { launcher.reveal(files, reported()); },
           .switchRedaction = switchRedaction(Library::Claimed::no)},
      .previews = previews(),
      .pictures = std::make_shared<PictureLoader>(
          PictureLoader::Services{.main = desktop.main,
                                  .work = desktop.lanes.disks.queue("com.hollen.Vantorel.preview"),
                                  .files = desktop.files,
                                  .codec = desktop.codec,
                                  .finish = finish}),
      .dayOf = systemDay,
      .observeReach =
          [&libraryWing](std::function<void()> changed) {
            return libraryWing.observeReach(std::move(changed));
          },
      .observeForeignIndex =
          [&libraryWing](std::function<void(const ForeignIndex&)> found) {
            return libraryWing.observeForeignIndex(std::move(found));
          },
      .captureKey =
          [this] {
            CommandKeys* const keys = captures.coordinator.keys();
            return keys != nullptr ? keys->workingKey(ShortcutID::capture) : std::string();
          },
      .captureArea = [this] { captures.coordinator.captureForUser({}); }});
}

std::shared_ptr<PreviewCache> WindowsWing::previews() {
  DesktopWing& desktop = captures.desktop;
  return std::make_shared<PreviewCache>(PreviewCache::Services{
      .main = desktop.main,
      .work = captures.libraryWing.previewQueue(),
      .files = desktop.files,
      .codec = desktop.codec,
      .clock = desktop.clock,
      .finish = finish,
      .isCurrent = [&store = captures.libraryWing.library.store()](
                       const EntryPointer& entry) { return store.find(entry->id) == entry; },
      .folder = captures.libraryWing.library.paths().previews()});
}

std::shared_ptr<SettingsModel> WindowsWing::settings() {
  if (auto open = openSettings_.lock()) return open;
  DesktopWing& desktop = captures.desktop;
  auto model = std::make_shared<SettingsModel>(
      SettingsModel::Services{.settings = desktop.settings,
                              .history = captures.libraryWing.library.store(),
                              .clock = *desktop.clock,
                              .alerts = *desktop.alerts,
                              .autostart = autostart,
                              .library = library,
                              .retention = captures.libraryWing.retention,
                              .recorder = recorder,
                              .text = textPane,
                              .home = homeFolder()});
  openSettings_ = model;
  return model;
}

std::shared_ptr<HelpModel> WindowsWing::help() {
  return std::make_shared<HelpModel>(HelpModel::Services{
      .keys = captures.coordinator.keys(),
      .obstacle =
          [this](const DesktopCommand& command) {
            return command.obstacle ? command.obstacle(captures.coordinator)
                                    : std::optional<std::string>();
          },
      .perform = [this](const DesktopCommand& command) { captures.coordinator.perform(command); }});
}

std::shared_ptr<WelcomeModel> WindowsWing::welcome() {
  DesktopWing& desktop = captures.desktop;
  const auto opens = [this](AppWindow window) {
    return [this, window] { (void)captures.coordinator.show(window); };
  };
  return std::make_shared<WelcomeModel>(
      WelcomeModel::Services{.settings = desktop.settings,
                             .autostart = autostart,
                             .library = library,
                             .recorder = &recorder,
                             .statusItem = &desktop.ui->statusItem(),
                             .home = homeFolder(),
                             .openShortcuts =
                                 [this] {
                                   const auto shown = settings();  // until the window has it
                                   shown->pointTo("captureHotKey");
                                   (void)captures.coordinator.show(AppWindow::settings);
                                 },
                             .openHelp = opens(AppWindow::help),
                             .captureArea = [this] { captures.coordinator.captureForUser({}); }});
}

}  // namespace vantorel
