#pragma once

#include "cli/command_runner.hpp"
#include "cli/library_command.hpp"
#include "main/editor_wing.hpp"
#include "main/scrolling_wing.hpp"
#include "main/text_wing.hpp"

namespace vantorel {

/// What carries out the commands that are typed or sent. Lives on the main runner.
struct CommandWing {
  CommandWing(CaptureWing& captures, EditorWing& editor, TextWing& text, ScrollingWing& scrolling);

  LibraryCommands library;
  CommandRunner runner;
};

}  // namespace vantorel
