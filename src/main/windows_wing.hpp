#pragma once

#include <memory>

#include "app/annotation_drafts.hpp"
#include "app/autostart_switch.hpp"
#include "app/capture_editors.hpp"
#include "app/capture_pins.hpp"
#include "app/capture_weigher.hpp"
#include "app/card_stack.hpp"
#include "app/help_model.hpp"
#include "app/history_model.hpp"
#include "app/library_pane.hpp"
#include "app/settings_model.hpp"
#include "app/shortcut_recorder.hpp"
#include "app/smart_redact_session.hpp"
#include "app/text_pane.hpp"
#include "app/welcome_model.hpp"
#include "library/entry_look.hpp"
#include "library/preview_cache.hpp"
#include "main/editor_wing.hpp"
#include "main/text_wing.hpp"
#include "platform/linux/desktop_file_launcher.hpp"
#include "platform/linux/desktop_key_holders.hpp"

namespace vantorel {

/// The program's windows in the tray, and what they are made of. Lives on the main runner.
struct WindowsWing {
  WindowsWing(CaptureWing& captures, EditorWing& editor, TextWing& text);
  WindowsWing(const WindowsWing&) = delete;
  WindowsWing& operator=(const WindowsWing&) = delete;
  ~WindowsWing();

  CaptureWing& captures;
  EditorWing& editor;
  TextWing& text;
  PictureFinish finish;  ///< draws what is on captures, for the screen
  DesktopFileLauncher launcher;
  DesktopKeyHolders keyHolders;
  AutostartSwitch autostart;
  LibraryPane library;
  TextPane textPane;
  ShortcutRecorder recorder;
  CaptureWeigher weigher;
  AnnotationDrafts drafts;
  CaptureEditors editors;
  CapturePins pins;
  CardStack cards;

 private:
  [[nodiscard]] Path draggedFiles() const;
  [[nodiscard]] CaptureEditors::Services editing();
  void open(const EntryPointer& entry, const FileLauncher::Done& done);
  void pin(const EntryPointer& entry, const FileLauncher::Done& done);
  [[nodiscard]] ScanPicture scanning();
  void redact(const std::string& id, const std::function<void(Result<int, std::string>)>& done);
  [[nodiscard]] SwitchRedaction switchRedaction(Library::Claimed claimed);
  void copy(const std::string& words, const std::function<void(const std::string& failure)>& done);
  void previewFor(const EntryPointer& entry, std::function<void(const Image&)> done);
  [[nodiscard]] std::shared_ptr<HistoryModel> history();
  [[nodiscard]] std::shared_ptr<PreviewCache> previews();
  /// The one of the open window, if there is one.
  [[nodiscard]] std::shared_ptr<SettingsModel> settings();
  [[nodiscard]] std::shared_ptr<HelpModel> help();
  [[nodiscard]] std::shared_ptr<WelcomeModel> welcome();
  [[nodiscard]] FileLauncher::Done reported();

  std::weak_ptr<SettingsModel> openSettings_;
  Observation redactions_;
};

}  // namespace vantorel
