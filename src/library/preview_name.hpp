#pragma once

#include <string>
#include <string_view>

#include "library/records/screenshot_entry.hpp"
#include "platform/files.hpp"

namespace vantorel {

/// What the files of previews are called: whose they are, what it looked like, and which file it
/// had, each as a hash in hexadecimal, with dashes between them. So the name alone tells whether a
/// preview still shows what its entry does.
struct PreviewName {
  /// Of all previews of the entry with this id.
  [[nodiscard]] static std::string owner(std::string_view id);

  /// Of those that show the entry as it is: begins with its owner.
  [[nodiscard]] static std::string look(const ScreenshotEntry& entry);

  /// Of the one that was made of a file of this size and time. Without an ending.
  [[nodiscard]] static std::string whole(const ScreenshotEntry& entry, const FileStatus& status);

  /// Whether a file of this name is a preview, of this build or an earlier one. In the folder may
  /// be files of others, above all where it is a link.
  [[nodiscard]] static bool isOne(std::string_view name);

  /// The part of a file's name that says whose it is; all of a name of another kind.
  [[nodiscard]] static std::string_view ownerIn(std::string_view name) {
    return name.substr(0, name.find('-'));
  }
};

}  // namespace vantorel
