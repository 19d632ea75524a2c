#include "app/window_keys.hpp"

namespace vantorel {

const std::vector<WindowKeys>& windowKeys() {
  static const std::vector<WindowKeys> all{
      {"Every window",
       {{"Help", "F1"},
        {"Settings", "Ctrl+,"},
        {"Close", "Ctrl+W"},
        {"Quit Vantorel", "Ctrl+Q"},
        {"Next pane", "F6"},
        {"Context menu", "Menu or Shift+F10"},
        {"Leave the innermost thing", "Esc"}}},
      {"History",
       {{"Preview", "Space"},
        {"Annotate", "Return"},
        {"Rename", "F2"},
        {"Search", "Ctrl+F"},
        {"Select all", "Ctrl+A"},
        {"Extend the selection", "Shift+Arrow"},
        {"Move without selecting", "Ctrl+Arrow"},
        {"Select or deselect", "Ctrl+Space"},
        {"Copy the picture", "Ctrl+C"},
        {"Copy the path", "Ctrl+Shift+C"},
        {"Save as", "Ctrl+Shift+S"},
        {"Star", "Ctrl+D"},
        {"Collect", "Ctrl+L"},
        {"Reveal", "Ctrl+Shift+R"},
        {"Move to Trash", "Del"},
        {"Remove from History", "Shift+Del"},
        {"Undo", "Ctrl+Z"},
        {"Grid", "Ctrl+1"},
        {"List", "Ctrl+2"},
        {"Larger tiles", "Ctrl+Plus"},
        {"Smaller tiles", "Ctrl+Minus"},
        {"Sidebar", "F9"},
        {"Move a collection", "Alt+Up or Alt+Down"}}},
      {"Card",
       {{"Copy", "C"},
        {"Save as", "S"},
        {"Annotate", "E or Return"},
        {"Reveal", "R"},
        {"Format", "F"},
        {"Move to Trash", "Del"},
        {"Next action", "Left or Right"},
        {"Next card", "Up or Down"},
        {"Give the focus back", "Esc"}}},
  };
  return all;
}

}  // namespace vantorel
