#include "app/capture_editors.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <utility>

#include "app/capture_annotator.hpp"
#include "base/path_text.hpp"
#include "base/round_trip.hpp"
#include "editor/entry_document.hpp"
#include "editor/export_gate.hpp"
#include "library/entry_failure.hpp"
#include "library/entry_of_file.hpp"
#include "library/entry_title.hpp"
#include "platform/scene_view.hpp"

namespace vantorel {
namespace {

constexpr const char* draftsTitle = "Unsaved annotations";
constexpr const char* isBack = "Unsaved changes from last time are back";
constexpr const char* isBackOverOther =
    "Unsaved changes from last time are back, with what was changed in the capture since. Undo "
    "leads to what is stored.";
constexpr const char* cantEditUnread =
    "The capture has annotations that this version of Vantorel can't read. To keep them, it isn't "
    "opened.";

/// What is seen of the document: the crop, with the background round it.
PixelSize shownSize(const EditorDocument& document, PixelSize capture) {
  const PixelRect part = shownPart(document, capture);
  const double padding =
      paddingPixels(document.background, {double(part.width), double(part.height)});
  const auto both = static_cast<int>(std::lround(2 * padding));
  return {part.width + both, part.height + both};
}

/// As far as the library knows.
PixelSize shownSize(const ScreenshotEntry& entry) {
  if (!entry.pixelWidth || !entry.pixelHeight) return {};
  const PixelSize capture{*entry.pixelWidth, *entry.pixelHeight};
  return shownSize(documentOf(entry, capture), capture);
}

std::string notAPicture(const Path& file, const Failure& failure) {
  if (failure.kind == FailureKind::notFound) {
    return fmt::format("{}: there is no such file.", file.string());
  }
  return fmt::format("{} couldn't be read as an image: {}.", file.string(), failure.reason);
}

std::string titlesOf(const std::vector<AnnotationDraft>& drafts) {
  std::string titles = fmt::format("“{}”", drafts[0].title);
  if (drafts.size() == 2) titles += fmt::format(" and “{}”", drafts[1].title);
  if (drafts.size() > 2) titles += fmt::format(" and {} others", drafts.size() - 1);
  return titles;
}

}  // namespace

/// One window, and what is on its way to it.
struct CaptureEditors::Editor {
  std::shared_ptr<OpenedCapture> capture;
  std::shared_ptr<AnnotateModel> model;
  Opened opened;
  int awaited = 0;  ///< the draft and the picture
  std::optional<AnnotationDraft> draft{};
  bool hasNewerDraft = false;
  Image base{};
  SceneDrawing* drawing = nullptr;
  Observation saving{};  ///< once the window is closed

  void answer(Result<void, std::string> result) {
    if (opened) std::exchange(opened, nullptr)(std::move(result));
  }
};

/// What a picture was read to.
struct CaptureEditors::Read {
  Image base;
  SceneDrawing* drawing = nullptr;
};

CaptureEditors::CaptureEditors(Services services)
    : services_(std::move(services)),
      pictures_({.main = services_.model.main,
                 .disk = services_.model.disk,
                 .clock = services_.clock,
                 .files = services_.model.files,
                 .library = services_.capture.library,
                 .drafts = services_.capture.drafts,
                 .folder = services_.model.layers},
                [this] { return namedPictures(); }) {
  pictures_.removeLeftOver();
  libraryObservation_ = services_.capture.library.store().observe(
      [this](const HistoryChange& change) { libraryChanged(change); });
}

CaptureEditors::~CaptureEditors() = default;

CaptureEditors::Opened CaptureEditors::reported() {
  return [alerts = &services_.model.alerts](const Result<void, std::string>& opened) {
    if (!opened) alerts->notify("Annotate", opened.error());
  };
}

CaptureEditors::EditorPointer CaptureEditors::find(const std::string& key) const {
  const auto found = editors_.find(key);
  return found == editors_.end() ? nullptr : found->second;
}

bool CaptureEditors::isOpen(const std::string& entryID) const { return editors_.contains(entryID); }

bool CaptureEditors::bringForward(const std::string& key) {
  Surface* const window = services_.surfaces.editors.surface(key);
  if (window != nullptr) window->bringForward();
  return window != nullptr;
}

/// A window for it, as large as what it is going to show. Null when there is none to be had, which
/// was answered.
CaptureEditors::EditorPointer CaptureEditors::make(OpenedCapture::Origin origin, EntryClaim claim,
                                                   PixelSize shown, Opened opened) {
  if (services_.windows == nullptr) {
    opened(std::unexpected("There is no display to show it on."));
    return nullptr;
  }
  auto editor = std::make_shared<Editor>();
  editor->capture =
      std::make_shared<OpenedCapture>(services_.capture, std::move(origin), std::move(claim));
  editor->model = std::make_shared<AnnotateModel>(services_.model, editor->capture);
  if (shown != PixelSize{}) editor->model->setPreview({}, shown);
  editor->opened = std::move(opened);
  const std::weak_ptr<Editor> weak = editor;
  editor->capture->onFiled = lifetime_.guard([this, weak](const std::string& oldKey) {
    const EditorPointer filed = weak.lock();
    if (!filed) return;
    const std::string& key = filed->capture->key();
    services_.surfaces.editors.rename(oldKey, key);
    if (auto node = editors_.extract(oldKey)) {
      node.key() = key;
      editors_.insert(std::move(node));
    }
    filed->model->entryChanged();
  });
  editor->capture->onDraftMoved = lifetime_.guard([weak] {
    if (const EditorPointer of = weak.lock()) of->model->draftMoved();
  });
  editor->capture->onRemark = lifetime_.guard([weak](const std::string& remark) {
    if (const EditorPointer of = weak.lock()) of->model->say(remark, true);
  });
  editor->capture->onRemoved = lifetime_.guard([this, weak] {
    const EditorPointer of = weak.lock();
    Surface* const window = of ? services_.surfaces.editors.surface(of->capture->key()) : nullptr;
    if (window != nullptr) window->requestClose([](bool) {});
  });
  const std::string key = editor->capture->key();
  editors_[key] = editor;
  services_.surfaces.editors.show(key, [this, &editor] {
    return services_.windows->openAnnotate(
        editor->model, lifetime_.guard([this, weak = std::weak_ptr<Editor>(editor)] {
          if (const EditorPointer gone = weak.lock()) closed(gone);
        }));
  });
  if (!services_.surfaces.editors.isOpen(key)) {
    editors_.erase(key);
    editor->answer(std::unexpected("The window couldn't be opened."));
    return nullptr;
  }
  return editor;
}

/// Its own event is not over yet, and what it saves may not have landed.
void CaptureEditors::closed(const EditorPointer& editor) {
  const std::string key = editor->capture->key();
  services_.surfaces.editors.closed(key);
  editors_.erase(key);
  editor->answer(std::unexpected("The window was closed."));
  // Changes that were undone a moment ago may still be kept.
  if (!editor->model->hasUnsavedChanges()) editor->model->keepDraft();
  if (!editor->model->isSaving()) {
    services_.model.main->post(lifetime_.guard([this, editor] { ended(editor); }));
    return;
  }
  editor->saving = editor->model->observe([editor, end = lifetime_.guard([this, editor] {
    ended(editor);
  })](const AnnotateModel::Change& change) mutable {
    if (!change.saving || editor->model->isSaving()) return;
    end();
    editor->saving.end();
  });
}

/// Nothing can be undone any more, and what was saved has landed.
void CaptureEditors::ended(const EditorPointer& editor) {
  pictures_.removeUnnamed(editor->model->ownPictures());
}

LayerPictures::Names CaptureEditors::namedPictures() const {
  LayerPictures::Names names;
  for (const auto& [key, editor] : editors_) {
    const auto& own = editor->model->ownPictures();
    names.insert(own.begin(), own.end());
  }
  return names;
}

// ---- captures of the library

void CaptureEditors::openEntry(const std::string& name, Opened opened) {
  services_.capture.library.whenReady(lifetime_.guard([this, name, opened = std::move(opened)] {
    Library& library = services_.capture.library;
    const auto entry = library.store().resolve(name);
    if (!entry) {
      using Case = AnnotationFault::Case;
      return opened(std::unexpected(
          entry.error().kind == FailureKind::denied
              ? sentence(EntryFailure{EntryFailure::Case::unnamed, entry.error().reason})
              : sentence(AnnotationFault{Case::notFound, entry.error().reason})));
    }
    const std::string id = (*entry)->id;
    if (bringForward(id)) return opened({});
    if ((*entry)->medium != CaptureMedium::image) {
      return opened(std::unexpected(sentence(AnnotationFault{AnnotationFault::Case::noPicture})));
    }
    if (hasUnreadAnnotations(**entry)) return opened(std::unexpected(cantEditUnread));
    auto claim = library.claim(id, EntryWork::editing);
    if (!claim) return opened(std::unexpected(sentence(claim.error())));
    const PixelSize shown = shownSize(**entry);
    const EditorPointer editor = make({.entryID = id}, *std::move(claim), shown, opened);
    if (!editor) return;
    showPreview(editor, *entry, shown);
    findDraft(editor);
    readEntry(editor);
  }));
}

void CaptureEditors::openTaken(const EntryPointer& entry, const Image& pixels) {
  Library& library = services_.capture.library;
  const bool isThere = library.isReady() && library.store().find(entry->id) != nullptr;
  if (!isThere || pixels.isEmpty()) return openEntry(entry->id, reported());
  if (bringForward(entry->id)) return;
  auto claim = library.claim(entry->id, EntryWork::editing);
  if (!claim) return reported()(std::unexpected(sentence(claim.error())));
  const EditorPointer editor =
      make({.entryID = entry->id}, *std::move(claim), pixels.size(), reported());
  if (!editor) return;
  editor->model->setPreview(pixels, pixels.size());
  editor->awaited = 1;
  read(editor, [pixels]() -> Result<Image, std::string> { return pixels; });
}

void CaptureEditors::showPreview(const EditorPointer& editor, const EntryPointer& entry,
                                 PixelSize shown) {
  if (!services_.preview || shown == PixelSize{}) return;
  services_.preview(entry, lifetime_.guard([editor, shown](const Image& preview) {
    if (preview.isEmpty()) return;
    // Of a tall capture it shows the top alone.
    const double off = double(preview.width()) * shown.height / preview.height() - shown.width;
    if (std::abs(off) > shown.width * 0.02) return;
    editor->model->setPreview(preview, shown);
  }));
}

void CaptureEditors::findDraft(const EditorPointer& editor) {
  editor->awaited = 2;
  services_.capture.drafts.find(editor->capture->draftKey(),
                                lifetime_.guard([this, editor](AnnotationDrafts::Found found) {
                                  editor->draft = std::move(found.draft);
                                  editor->hasNewerDraft = !found.newer.empty();
                                  if (--editor->awaited == 0) {
                                    start(editor, {editor->base, editor->drawing});
                                  }
                                }));
}

void CaptureEditors::readEntry(const EditorPointer& editor) {
  const std::string id = editor->capture->entryID();
  Library& library = services_.capture.library;
  library.findFiles(
      {id}, Library::Claimed::byCaller, *services_.model.disk,
      lifetime_.guard([this, editor, id](const std::set<std::string>& unsettled) {
        using Case = EntryFailure::Case;
        const EntryPointer entry = editor->capture->entry();
        if (!entry || unsettled.contains(id)) {
          return fail(editor, sentence(EntryFailure{entry ? Case::unsettled : Case::left}), false);
        }
        roundTrip(
            *services_.model.disk, services_.model.main,
            [files = services_.model.files, entry] { return absenceOf(*files, *entry); },
            lifetime_.guard([this, editor, entry](const std::optional<FileAbsence>& absence) {
              if (absence) {
                return fail(editor, sentence(*absence), absence->reach == FileReach::fileGone);
              }
              read(editor,
                   [files = services_.model.files, codec = services_.model.codec,
                    entry]() -> Result<Image, std::string> {
                     auto picture = readPictureFile(entry->path, 0, *files, *codec);
                     if (picture) return *std::move(picture);
                     if (auto gone = absenceOf(*files, *entry))
                       return std::unexpected(sentence(*gone));
                     return std::unexpected(
                         sentence(AnnotationFault{AnnotationFault::Case::captureNotRead,
                                                  picture.error().reason, entry->path}));
                   });
            }));
      }));
}

/// Reads the picture and what draws on it.
void CaptureEditors::read(const EditorPointer& editor,
                          std::function<Result<Image, std::string>()> job) {
  roundTrip(
      *services_.model.disk, services_.model.main,
      [job = std::move(job), drawing = services_.drawing]() -> Result<Read, std::string> {
        Image base = VT_TRY(job());
        auto loaded = drawing();
        if (!loaded) return std::unexpected(sentence(loaded.error()));
        return Read{std::move(base), *loaded};
      },
      lifetime_.guard([this, editor](Result<Read, std::string> read) {
        if (!read) return fail(editor, read.error(), false);
        editor->base = std::move(read->base);
        editor->drawing = read->drawing;
        if (--editor->awaited == 0) start(editor, {editor->base, editor->drawing});
      }));
}

void CaptureEditors::fail(const EditorPointer& editor, const std::string& sentence,
                          bool offersRemove) {
  editor->model->fail(sentence, offersRemove);
  editor->answer(std::unexpected(sentence));
}

void CaptureEditors::start(const EditorPointer& editor, Read read) {
  editor->base = {};
  const PixelSize size = read.base.size();
  AnnotateModel::Opened opened{.base = std::move(read.base), .drawing = read.drawing};
  EditorDocument stored;
  if (editor->capture->entryID().empty()) {
    stored.canvas.width = size.width;
    stored.canvas.height = size.height;
  } else {
    const EntryPointer entry = editor->capture->entry();
    if (!entry) return fail(editor, sentence(EntryFailure{EntryFailure::Case::left}), false);
    if (hasUnreadAnnotations(*entry)) return fail(editor, cantEditUnread, false);
    stored = documentOf(*entry, size);
    opened.captureScale = entry->captureScale;
    opened.recognised = entry->ocrBlocks;
    opened.wasCombined = entry->combine && (!entry->layers || entry->layers->empty());
  }
  opened.document = stored;
  if (editor->draft) {
    opened.draft = reopenedDraft(*editor->draft, stored, size);
    opened.remark = editor->draft->stored == stored ? isBack : isBackOverOther;
  } else if (editor->hasNewerDraft) {
    opened.remark =
        "A newer version of Vantorel has unsaved changes of this capture. They are "
        "kept, and not shown here.";
  }
  draftIsOver(editor->capture->draftKey());
  editor->capture->setRead(opened.base, opened.captureScale, std::move(stored));
  editor->draft.reset();
  editor->model->open(std::move(opened));
  editor->answer({});
}

/// It was opened, or its capture has left: nothing is to be told of it any more.
void CaptureEditors::draftIsOver(const std::string& key) {
  if (leftOver_.erase(key) == 0) return;
  if (leftOver_.empty()) services_.model.alerts.withdraw(draftsTitle);
  if (onDraftsChange) onDraftsChange();
}

// ---- pictures from elsewhere

void CaptureEditors::openFile(const Path& file, Opened opened) {
  struct Looked {
    Path file;
    std::string entryID;
    PixelSize size;
  };
  services_.capture.library.whenReady(lifetime_.guard([this, file, opened = std::move(opened)] {
    roundTrip(
        *services_.model.disk, services_.model.main,
        [file, files = services_.model.files, codec = services_.model.codec,
         entries = services_.capture.library.store().entries()]() -> Result<Looked, std::string> {
          const auto size = codec->pixelSize(*files, file);
          const auto resolved = files->resolved(file);
          std::string id = entryOfFile(*files, file, entries);
          // Of a capture it is the library that says what is wrong with it.
          if (id.empty() && !size) return std::unexpected(notAPicture(file, size.error()));
          return Looked{resolved ? *resolved : file, std::move(id), size.value_or(PixelSize{})};
        },
        lifetime_.guard([this, opened](Result<Looked, std::string> looked) {
          if (!looked) return opened(std::unexpected(looked.error()));
          if (!looked->entryID.empty()) return openEntry(looked->entryID, opened);
          openPicture(looked->file, looked->size, opened);
        }));
  }));
}

void CaptureEditors::openPicture(const Path& file, PixelSize size, Opened opened) {
  OpenedCapture::Origin origin{.file = file};
  if (bringForward(OpenedCapture::keyOf(origin))) return opened({});
  const EditorPointer editor = make(std::move(origin), {}, size, std::move(opened));
  if (!editor) return;
  findDraft(editor);
  read(editor,
       [file, files = services_.model.files,
        codec = services_.model.codec]() -> Result<Image, std::string> {
         auto picture = readPictureFile(file, 0, *files, *codec);
         if (!picture) return std::unexpected(notAPicture(file, picture.error()));
         return *std::move(picture);
       });
}

void CaptureEditors::openClipboard(const Opened& opened) {
  Clipboard* const clipboard = services_.model.clipboard();
  if (clipboard == nullptr) return opened(std::unexpected("There is no clipboard here."));
  const auto unread = [](const Failure& failure) {
    return std::unexpected(fmt::format("The clipboard couldn't be read: {}.", failure.reason));
  };
  clipboard->read(
      clipboard_types::pictures,
      lifetime_.guard([this, clipboard, unread, opened](Result<ClipboardItem> picture) {
        if (picture) {
          return openPictureBytes(std::make_shared<const std::string>(std::move(picture->bytes)),
                                  {}, opened);
        }
        if (picture.error().kind != FailureKind::notFound) return opened(unread(picture.error()));
        clipboard->read({clipboard_types::files},
                        lifetime_.guard([this, unread, opened](Result<ClipboardItem> list) {
                          if (list) return openFiles(pathsOfURIList(list->bytes), opened);
                          if (list.error().kind != FailureKind::notFound) {
                            return opened(unread(list.error()));
                          }
                          opened(std::unexpected("There is no picture on the clipboard."));
                        }));
      }));
}

/// Copied in a file manager.
void CaptureEditors::openFiles(const std::vector<std::string>& files, const Opened& opened) {
  if (files.empty()) return opened(std::unexpected("There is no picture on the clipboard."));
  std::vector<NamedPicture> pictures;
  for (const std::string& file : files) pictures.push_back({.file = file});
  openAll(pictures, [opened](const std::vector<UnopenedPicture>& unopened) {
    std::string sentences;
    for (const UnopenedPicture& one : unopened) {
      sentences += (sentences.empty() ? "" : " ") + sentence(one);
    }
    if (unopened.empty()) return opened({});
    opened(std::unexpected(sentences));
  });
}

void CaptureEditors::openAll(const std::vector<NamedPicture>& pictures, AllOpened opened) {
  struct Opening {
    std::size_t left;
    std::vector<UnopenedPicture> all;  // with nothing to say of those that are open
    AllOpened opened;
  };
  const auto opening = std::make_shared<Opening>(Opening{pictures.size(), {}, std::move(opened)});
  for (const NamedPicture& picture : pictures) opening->all.push_back({picture, {}});
  for (std::size_t i = 0; i < pictures.size(); ++i) {
    const Opened answered = [opening, i](const Result<void, std::string>& one) {
      if (!one) opening->all[i].why = one.error();
      if (--opening->left > 0) return;
      std::erase_if(opening->all, [](const UnopenedPicture& each) { return each.why.empty(); });
      opening->opened(opening->all);
    };
    if (pictures[i].file.empty()) {
      openEntry(pictures[i].capture, answered);
    } else {
      openFile(pictures[i].file, answered);
    }
  }
}

void CaptureEditors::openPictureBytes(const std::shared_ptr<const std::string>& bytes,
                                      const std::string& called, Opened opened) {
  roundTrip(
      *services_.model.work, services_.model.main,
      [bytes, called, codec = services_.model.codec] {
        struct Known {
          OpenedCapture::Origin origin;
          std::string key;
          Result<PictureHeader> header;
        };
        OpenedCapture::Origin origin{.clipboard = bytes, .called = called};
        std::string key = OpenedCapture::keyOf(origin);
        return Known{std::move(origin), std::move(key), codec->header(*bytes)};
      },
      lifetime_.guard([this, bytes, opened = std::move(opened)](auto known) {
        if (!known.header) {
          return opened(std::unexpected(
              fmt::format("What is on the clipboard couldn't be read as an image: {}.",
                          known.header.error().reason)));
        }
        if (bringForward(known.key)) return opened({});
        const EditorPointer editor = make(std::move(known.origin), {}, known.header->size, opened);
        if (!editor) return;
        findDraft(editor);
        read(editor, [bytes, codec = services_.model.codec]() -> Result<Image, std::string> {
          auto picture = codec->decode(*bytes);
          if (picture) return *std::move(picture);
          return std::unexpected(
              fmt::format("The picture couldn't be read: {}.", picture.error().reason));
        });
      }));
}

// ---- what was left unsaved

void CaptureEditors::tellOfDrafts() {
  services_.capture.library.whenReady(lifetime_.guard([this] {
    services_.capture.drafts.list(lifetime_.guard([this](std::vector<AnnotationDraft> drafts) {
      dropSuperseded(drafts);
      std::erase_if(drafts, [this](const AnnotationDraft& draft) {
        const bool hasLeft = !draft.entryID.empty() &&
                             services_.capture.library.store().find(draft.entryID) == nullptr;
        return hasLeft || isOpenAs(draft);
      });
      if (drafts.empty()) return;
      for (const AnnotationDraft& draft : drafts) leftOver_.insert(AnnotationDrafts::keyOf(draft));
      if (onDraftsChange) onDraftsChange();
      services_.model.alerts.tell(
          draftsTitle,
          fmt::format("{} {} changes that were not saved. Open {} in Annotate to go on.",
                      titlesOf(drafts), drafts.size() == 1 ? "has" : "have",
                      drafts.size() == 1 ? "it" : "them"),
          [] {});
    }));
  }));
}

/// A picture that was being filed when the program ended has two drafts: its own, and that of the
/// capture it is to become, which counts once there is that capture, with the newer annotations.
/// Until then both stay: the capture may lie staged until a library can be written.
void CaptureEditors::dropSuperseded(std::vector<AnnotationDraft>& drafts) {
  std::set<std::string> superseded;
  for (AnnotationDraft& draft : drafts) {
    if (draft.from.empty()) continue;
    if (services_.capture.library.store().find(draft.entryID) == nullptr) {
      unfiled_.insert(draft.entryID);
      continue;
    }
    unfiled_.erase(draft.entryID);
    const auto origin = std::ranges::find(drafts, draft.from, AnnotationDrafts::keyOf);
    if (origin == drafts.end() || isOpenAs(draft) || isOpenAs(*origin)) continue;
    superseded.insert(draft.from);
    if (origin->keptAt <= draft.keptAt) continue;
    draft.document = origin->document;
    draft.keptAt = origin->keptAt;
    services_.capture.drafts.keep(AnnotationDrafts::keyOf(draft), draft);
  }
  for (const std::string& key : superseded) {
    services_.capture.drafts.drop(key);
    draftIsOver(key);
  }
  std::erase_if(drafts, [&](const AnnotationDraft& draft) {
    return superseded.contains(AnnotationDrafts::keyOf(draft));
  });
}

bool CaptureEditors::isOpenAs(const AnnotationDraft& draft) const {
  const std::string key = AnnotationDrafts::keyOf(draft);
  return std::ranges::any_of(
      editors_, [&](const auto& editor) { return editor.second->capture->draftKey() == key; });
}

void CaptureEditors::openDrafts(Opened opened) {
  services_.capture.drafts.list(
      lifetime_.guard([this, opened = std::move(opened)](std::vector<AnnotationDraft> drafts) {
        std::erase_if(drafts, [this](const AnnotationDraft& draft) {
          return !leftOver_.contains(AnnotationDrafts::keyOf(draft));
        });
        for (const AnnotationDraft& draft : drafts) openDraft(draft, opened);
      }));
}

void CaptureEditors::openDraft(const AnnotationDraft& draft, const Opened& opened) {
  if (!draft.entryID.empty()) return openEntry(draft.entryID, opened);
  if (!draft.file.empty()) return openFile(draft.file, opened);
  services_.capture.drafts.readPicture(
      draft, lifetime_.guard([this, title = draft.title, opened](Result<std::string> picture) {
        if (picture) {
          return openPictureBytes(std::make_shared<const std::string>(*std::move(picture)), title,
                                  opened);
        }
        opened(std::unexpected(
            fmt::format("The picture couldn't be read: {}.", picture.error().reason)));
      }));
}

void CaptureEditors::keepDrafts(std::function<void()> done) {
  for (const auto& [key, editor] : editors_) editor->model->keepDraft();
  services_.capture.drafts.settle(std::move(done));
}

// ---- the end, and what happens meanwhile

void CaptureEditors::closeAll(std::function<void(bool)> done) {
  waitingForClose_.push_back(std::move(done));
  if (waitingForClose_.size() > 1) return static_cast<void>(bringForward(asked_));
  std::vector<std::string> keys;
  for (const auto& [key, editor] : editors_) {
    if (editor->model->hasUnsavedChanges()) keys.push_back(key);
  }
  closeNext(std::move(keys));
}

void CaptureEditors::closeNext(std::vector<std::string> keys) {
  if (keys.empty()) return endClosing(true);
  asked_ = std::move(keys.back());
  keys.pop_back();
  Surface* const window = services_.surfaces.editors.surface(asked_);
  const EditorPointer editor = find(asked_);
  if (window == nullptr || !editor || !editor->model->hasUnsavedChanges()) {
    return closeNext(std::move(keys));
  }
  window->bringForward();
  window->requestClose(lifetime_.guard([this, keys = std::move(keys)](bool isClosed) {
    isClosed ? closeNext(keys) : endClosing(false);
  }));
}

void CaptureEditors::endClosing(bool areClosed) {
  asked_.clear();
  for (const auto& done : std::exchange(waitingForClose_, {})) done(areClosed);
}

void CaptureEditors::libraryChanged(const HistoryChange& change) {
  for (const HistoryChange::Update& update : change.updated) {
    const EditorPointer editor = find(update.after->id);
    if (!editor) continue;
    editor->capture->entryChanged();
    editor->model->entryChanged();
    if (editor->model->stage() != AnnotateModel::Stage::ready) continue;
    const auto& before = update.before->fileIdentity;
    const auto& after = update.after->fileIdentity;
    const bool isOurs = editor->model->isSwitchingRedaction();  // which takes it over
    if (before && after && !before->isSameFileAs(*after) && !isOurs) {
      editor->capture->fileChanged();
      editor->model->say(
          "The picture was changed by another program. You see it as it was when it was opened.",
          true);
    }
  }
  const bool isFiled = std::ranges::any_of(
      change.added, [this](const EntryPointer& entry) { return unfiled_.erase(entry->id) > 0; });
  if (isFiled) tellOfDrafts();
  for (const EntryPointer& entry : change.added) {  // its file came back
    const EditorPointer editor = find(entry->id);
    if (!editor) continue;
    editor->capture->entryChanged();
    editor->model->entryChanged();
  }
  for (const EntryPointer& entry : change.removed) {
    draftIsOver(AnnotationDrafts::keyOfEntry(entry->id));
    const EditorPointer editor = find(entry->id);
    if (!editor) continue;
    editor->model->entryChanged();
    if (editor->model->stage() != AnnotateModel::Stage::ready) continue;
    editor->capture->entryLeft();
    editor->model->say("The capture has left History. Saving files what you see as a new one.",
                       true);
  }
}

}  // namespace vantorel
