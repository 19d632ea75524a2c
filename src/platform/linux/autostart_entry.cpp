#include "platform/linux/autostart_entry.hpp"

#include <fmt/format.h>

namespace vantorel {
namespace {

constexpr std::uint64_t longestEntry = 64 * 1024;

/// As the "Exec" key wants an argument: in quotes, with what is special in them escaped twice, once
/// for the quotes and once for the value.
std::string quoted(const std::string& argument) {
  std::string text = "\"";
  for (const char c : argument) {
    if (c == '\\') {
      text += "\\\\\\\\";
    } else if (c == '"' || c == '`' || c == '$') {
      text.append("\\\\").push_back(c);
    } else if (c == '%') {
      text += "%%";
    } else {
      text += c;
    }
  }
  return text + "\"";
}

}  // namespace

bool AutostartEntry::isOn() const {
  const auto text = files_.read(entry_, longestEntry);
  if (!text) return false;
  return text->find("\nHidden=true") == std::string::npos &&
         text->find("\nX-GNOME-Autostart-enabled=false") == std::string::npos;
}

Result<void> AutostartEntry::set(bool on) {
  if (!on) {
    const auto removed = files_.remove(entry_);
    if (!removed && removed.error().kind != FailureKind::notFound) return removed;
    return {};
  }
  std::string exec;
  for (const std::string& argument : command_) {
    if (argument.find('\n') != std::string::npos) {
      return failed(FailureKind::unsupported, "the program's path has a line break in it");
    }
    exec += (exec.empty() ? "" : " ") + quoted(argument);
  }
  VT_TRY(files_.makeFolder(entry_.parent_path(), Privacy::byUmask));
  return files_.replace(entry_,
                        fmt::format("[Desktop Entry]\nType=Application\nName=Vantorel\n"
                                    "Comment=Screen captures, from the tray\nExec={}\n"
                                    "Icon=com.hollen.Vantorel\nTerminal=false\n",
                                    exec),
                        Privacy::byUmask);
}

}  // namespace vantorel
