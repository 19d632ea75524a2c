#pragma once

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/clipboard.hpp"

namespace vantorel {

/// A clipboard in memory, which answers at once. Tests put on it what another program would have.
/// One thread.
class ClipboardInMemory final : public Clipboard {
 public:
  std::map<std::string, std::string> content;  ///< by type
  std::optional<Failure> refuses;              ///< every copy and every read
  int images = 0;                              ///< copied so far

  void setImage(std::string png, std::move_only_function<void(Result<void>)> done) override {
    if (put("image/png", std::move(png), done)) ++images;
  }
  void setText(std::string text, std::move_only_function<void(Result<void>)> done) override {
    (void)put("UTF8_STRING", std::move(text), done);
  }
  void setShapes(std::string json, std::move_only_function<void(Result<void>)> done) override {
    (void)put(std::string(shapesClipboardType), std::move(json), done);
  }
  [[nodiscard]] std::string shapes() const override {
    const auto found = content.find(std::string(shapesClipboardType));
    return found == content.end() ? std::string() : found->second;
  }
  void read(std::vector<std::string> types, Read done) override {
    if (refuses) return done(std::unexpected(*refuses));
    for (const std::string& type : types) {
      if (content.contains(type)) return done(ClipboardItem{type, content[type]});
    }
    done(failed(FailureKind::notFound, "there is nothing of the kind on the clipboard"));
  }
  void handOver() override {}

 private:
  bool put(std::string type, std::string bytes, std::move_only_function<void(Result<void>)>& done) {
    if (refuses) {
      done(std::unexpected(*refuses));
      return false;
    }
    content = {{std::move(type), std::move(bytes)}};
    done({});
    return true;
  }
};

}  // namespace vantorel
