#include "platform/linux/autostart_entry.hpp"

#include <fmt/format.h>

#include <optional>

namespace vantorel {
namespace {

constexpr std::uint64_t longestEntry = std::uint64_t{64} * 1024;

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

/// Nothing when there is no such entry.
std::optional<bool> starts(const Files& files, const std::filesystem::path& entry) {
  const auto text = files.read(entry, longestEntry);
  if (!text) return std::nullopt;
  return text->find("\nHidden=true") == std::string::npos &&
         text->find("\nX-GNOME-Autostart-enabled=false") == std::string::npos;
}

}  // namespace

bool AutostartEntry::isOn() const {
  auto found = starts(files_, entry_);
  for (auto each = shared_.begin(); !found && each != shared_.end(); ++each) {
    found = starts(files_, *each);
  }
  return found.value_or(false);
}

Result<void> AutostartEntry::set(bool on) {
  if (!on) {
    const auto removed = files_.remove(entry_);
    if (!removed && removed.error().kind != FailureKind::notFound) return removed;
    if (!isOn()) return {};
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
                                    "Icon=com.hollen.Vantorel\nTerminal=false\n{}",
                                    exec, on ? "" : "Hidden=true\n"),
                        Privacy::byUmask);
}

}  // namespace vantorel
