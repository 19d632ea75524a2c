#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/lifetime.hpp"
#include "base/observers.hpp"
#include "base/task_runner.hpp"
#include "platform/text_recogniser.hpp"

namespace vantorel {

/// What the language of that name of a recogniser's is called: "German" for "deu". Itself where
/// that is not known.
[[nodiscard]] std::string languageName(std::string_view code);

/// The languages that text is read in, as Settings shows them: which are there and how to get
/// another one. Lives on the main runner.
class TextPane {
 public:
  struct Services {
    std::shared_ptr<TaskRunner> main;
    std::shared_ptr<TaskRunner> work;  ///< looks at a folder
    std::shared_ptr<TextRecogniser> recogniser;
    std::string locale;  ///< of the session: "de_DE.UTF-8"; may be empty

    /// To the clipboard; `done` is told with a sentence when that failed, else with nothing.
    std::function<void(const std::string& text, std::function<void(const std::string&)> done)> copy;
  };

  explicit TextPane(Services services) : services_(std::move(services)) {}

  /// Looks again which are installed.
  void refresh();
  /// Looks unless somebody has.
  void lookOnce();

  /// "English; German"; empty before it is known.
  [[nodiscard]] std::string installed() const;
  /// That nothing can be read as it is; mostly empty.
  [[nodiscard]] std::string problem() const;

  /// The language that is proposed to be added, and how: "German", "sudo apt install
  /// tesseract-ocr-deu".
  [[nodiscard]] std::string proposed() const;
  [[nodiscard]] std::string command() const;
  /// Nothing happens before it is known what is installed.
  void copyCommand();
  /// What came of that: "Copied", or why not.
  [[nodiscard]] const std::string& copied() const { return copied_; }
  [[nodiscard]] bool hasCopyFailed() const { return hasCopyFailed_; }

  Observation observe(std::function<void()> observer) {
    return observers_.add(std::move(observer));
  }

 private:
  [[nodiscard]] std::string proposedCode() const;

  Services services_;
  bool hasLooked_ = false;
  bool isKnown_ = false;
  std::vector<std::string> languages_;
  std::string copied_;
  bool hasCopyFailed_ = false;
  Observers<> observers_;
  Lifetime looking_;
  Lifetime lifetime_;
};

}  // namespace vantorel
