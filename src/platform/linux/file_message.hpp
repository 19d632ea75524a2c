#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "platform/files.hpp"

namespace vantorel {

/// What this program asks of the process that serves it the files of one mount; see `FileServer`.
/// Each names a function of `Files`, or what is done with something opened before, by its number.
enum class FileRequest : std::uint8_t {
  read,
  status,
  list,
  resolved,
  location,
  hold,
  makeFolder,
  create,
  replace,
  open,
  replaceWithParts,
  makeOwnerOnly,
  moveNew,
  linkNew,
  copyNew,
  remove,
  flushFolder,
  flushFiles,
  checkWritable,
  attribute,
  setAttribute,
  removeAttribute,
  lock,
  lockHolder,
  contentStatus,
  contentRead,
  watch,  ///< adds to the inotify queue that comes behind the request
  letGo,  ///< of a folder, content or lock; has no answer
};

/// The members of a record that goes over, in either direction.
template <class Message, class Record>
  requires std::same_as<std::remove_const_t<Record>, Failure>
void describe(Message& message, Record& failure) {
  message(failure.kind, failure.reason);
}
template <class Message, class Record>
  requires std::same_as<std::remove_const_t<Record>, FileStatus>
void describe(Message& message, Record& status) {
  message(status.type, status.size, status.modified, status.device, status.inode, status.mode,
          status.owner);
}
template <class Message, class Record>
  requires std::same_as<std::remove_const_t<Record>, FolderItem>
void describe(Message& message, Record& item) {
  message(item.name, item.type);
}
template <class Message, class Record>
  requires std::same_as<std::remove_const_t<Record>, FolderLocation>
void describe(Message& message, Record& location) {
  message(location.volume, location.folder);
}

/// A folder that the serving process holds.
struct ServedFolder {
  std::uint64_t number = 0;
  Path path;
};
template <class Message, class Record>
  requires std::same_as<std::remove_const_t<Record>, ServedFolder>
void describe(Message& message, Record& folder) {
  message(folder.number, folder.path);
}

/// A part of a file to be written: bytes, or a run of a content that the serving process has open.
struct ServedPart {
  std::string bytes;
  std::uint64_t content = 0;  ///< its number; 0 for bytes
  std::uint64_t offset = 0;
  std::uint64_t length = 0;
};
template <class Message, class Record>
  requires std::same_as<std::remove_const_t<Record>, ServedPart>
void describe(Message& message, Record& part) {
  message(part.bytes, part.content, part.offset, part.length);
}

/// Puts values one behind the other, for a process of the same build.
class MessageWriter {
 public:
  template <class... Values>
  void operator()(const Values&... values) {
    (put(values), ...);
  }
  [[nodiscard]] std::string take() { return std::exchange(bytes_, {}); }

 private:
  template <class Value>
    requires std::is_arithmetic_v<Value> || std::is_enum_v<Value>
  void put(Value value) {
    bytes_.append(reinterpret_cast<const char*>(&value), sizeof value);
  }
  void put(std::string_view text) {
    put(std::uint64_t{text.size()});
    bytes_ += text;
  }
  void put(const std::string& text) { put(std::string_view(text)); }
  void put(const Path& path) { put(std::string_view(path.native())); }
  template <class Item>
  void put(const std::vector<Item>& items) {
    put(std::uint64_t{items.size()});
    for (const Item& item : items) put(item);
  }
  template <class Value>
  void put(const std::optional<Value>& value) {
    put(value.has_value());
    if (value) put(*value);
  }
  template <class Value>
  void put(const Result<Value>& result) {
    put(result.has_value());
    if (!result) return put(result.error());
    if constexpr (!std::is_void_v<Value>) put(*result);
  }
  template <class Record>
    requires requires(MessageWriter& writer, const Record& record) { describe(writer, record); }
  void put(const Record& record) {
    describe(*this, record);
  }

  std::string bytes_;
};

/// Takes them out again. What is not there is left as it is.
class MessageReader {
 public:
  explicit MessageReader(std::string_view bytes) : rest_(bytes) {}

  template <class... Values>
  void operator()(Values&... values) {
    (get(values), ...);
  }
  /// Whether everything asked for was there.
  [[nodiscard]] bool isWhole() const { return isWhole_; }

 private:
  std::string_view next(std::uint64_t size) {
    isWhole_ = isWhole_ && size <= rest_.size();
    if (!isWhole_) return {};
    const std::string_view found = rest_.substr(0, static_cast<std::size_t>(size));
    rest_.remove_prefix(found.size());
    return found;
  }
  template <class Value>
    requires std::is_arithmetic_v<Value> || std::is_enum_v<Value>
  void get(Value& value) {
    const std::string_view bytes = next(sizeof value);
    if (isWhole_) std::memcpy(&value, bytes.data(), sizeof value);
  }
  void get(std::string& text) {
    std::uint64_t size = 0;
    get(size);
    text = next(size);
  }
  void get(Path& path) {
    std::string text;
    get(text);
    path = std::move(text);
  }
  template <class Item>
  void get(std::vector<Item>& items) {
    std::uint64_t count = 0;
    get(count);
    for (std::uint64_t i = 0; i < count && isWhole_; ++i) get(items.emplace_back());
  }
  template <class Value>
  void get(std::optional<Value>& value) {
    bool isThere = false;
    get(isThere);
    if (isThere) get(value.emplace());
  }
  template <class Value>
  void get(Result<Value>& result) {
    bool isThere = false;
    get(isThere);
    if (!isThere) {
      Failure failure;
      get(failure);
      result = std::unexpected(std::move(failure));
    } else if constexpr (!std::is_void_v<Value>) {
      get(result.emplace());
    }
  }
  template <class Record>
    requires requires(MessageReader& reader, Record& record) { describe(reader, record); }
  void get(Record& record) {
    describe(*this, record);
  }

  std::string_view rest_;
  bool isWhole_ = true;
};

}  // namespace vantorel
