// Arbitrary bytes as the settings file: reading never fails badly, a change can be written, and no
// key of a file that made sense is lost by it.
#include <cstdint>
#include <string>

#include "base/check.hpp"
#include "base/json_document.hpp"
#include "base/log.hpp"
#include "platform/testing/fake_files.hpp"
#include "platform/testing/fake_runners.hpp"
#include "settings/settings_file.hpp"
#include "settings/settings_store.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace vantorel;
  static const LogSink formerSink = setLogSink([](LogLevel, std::string_view, std::string_view) {});
  const Path path = "/settings/settings.json";
  const std::string text(reinterpret_cast<const char*>(data), size);
  FakeFiles files;
  FakeRunners runners;
  files.put(path, text);
  const auto writeOnce = [&] {
    SettingsFile file({files, runners.main(), runners.runner("io")}, path);
    const SettingsStore store(file, {});
    VT_CHECK(daysOf(store.values().retentionDays) >= 0);
    file.set("fuzzed", JSONValue{std::int64_t{1}});
    bool isWritten = false;
    file.flush([&](const Result<void>& result) { isWritten = result.has_value(); });
    runners.run();
    VT_CHECK(isWritten);
    return files.text(path);
  };
  const std::string once = writeOnce();
  VT_CHECK(writeOnce() == once);

  const auto before = json::parseValue(text);
  const auto* const object =
      before ? std::get_if<json::Object>(&before->value) : static_cast<json::Object*>(nullptr);
  if (object == nullptr) return 0;
  const SettingsFile file({files, runners.main(), runners.runner("io")}, path);
  VT_CHECK(!file.problem());
  for (const auto& [key, value] : *object) VT_CHECK(file.value(key).has_value());
  return 0;
}
