#include "cli/settings_command.hpp"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "base/json_writer.hpp"
#include "cli/command_outline.hpp"

namespace vantorel {
namespace {

using Verb = command::Settings::Verb;

/// A value as a person would type it to set it.
std::string plainText(const JSONValue& value) {
  if (const auto* const text = std::get_if<std::string>(&value.value)) return inOneCell(*text);
  if (std::holds_alternative<std::nullptr_t>(value.value)) return "none";
  return json::toText(value);
}

std::string line(const SettingDescription& setting, bool json) {
  if (!json) {
    const auto words = [](const std::string& text, const JSONValue& value) {
      return text.empty() ? plainText(value) : text;
    };
    return fmt::format(
        "{}\t{}\tdefault {}\t{}\t{}\n", setting.key, words(setting.valueWords, setting.value),
        words(setting.defaultWords, setting.defaultValue), setting.allowed, setting.meaning);
  }
  json::Writer writer;
  writer.beginObject();
  writer.member("key", setting.key);
  writer.member("group", setting.group);
  writer.member("type", setting.type);
  writer.member("allowed", setting.allowed);
  writer.member("meaning", setting.meaning);
  writer.member("value", setting.value);
  writer.member("default", setting.defaultValue);
  writer.endObject();
  return writer.take() + "\n";
}

CommandReply refused(const Failure& failure, const std::string& key) {
  if (failure.kind == FailureKind::notFound) {
    return failedReply(fmt::format(
        "There is no setting called \"{}\"; \"vantorel settings list\" names them all", key));
  }
  return failedReply(failure.reason);
}

/// The value in force, which may have been brought into its range.
CommandReply shown(const SettingsStore& settings, const std::string& key, bool json) {
  const auto value = settings.get(key);
  if (!value) return refused(value.error(), key);
  const Setting* const setting = findSetting(key);
  if (!json && setting->words)
    return {ExitStatus::done, setting->words(settings.values()) + "\n", {}};
  return {ExitStatus::done, (json ? json::toText(*value) : plainText(*value)) + "\n", {}};
}

}  // namespace

SettingsOptions::SettingsOptions(CLI::App& app)
    : settings_(app.add_subcommand("settings", "Show and change settings")) {
  settings_->require_subcommand(1);
  settings_
      ->add_subcommand("list", "All settings: key, value, default, what is allowed, what it does")
      ->callback([this] { given_.verb = Verb::list; });
  CLI::App* const get = settings_->add_subcommand("get", "Print the value of one setting");
  get->add_option("key", given_.key, "as \"vantorel settings list\" names it")
      ->type_name(kinds::setting)
      ->required();
  get->callback([this] { given_.verb = Verb::get; });
  CLI::App* const set = settings_->add_subcommand("set", "Change one setting; prints its value");
  set->add_option("key", given_.key, "as \"vantorel settings list\" names it")
      ->type_name(kinds::setting)
      ->required();
  set->add_option("value", given_.value, "text, number, true or false, or JSON")
      ->type_name(kinds::settingValue)
      ->required();
  set->callback([this] { given_.verb = Verb::set; });
  CLI::App* const reset = settings_->add_subcommand("reset", "Back to the default");
  reset->add_option("key", given_.key, "as \"vantorel settings list\" names it")
      ->type_name(kinds::setting);
  reset->add_flag("--all", all_, "every setting; captures and the library stay as they are");
  reset->callback([this] { given_.verb = all_ ? Verb::resetAll : Verb::reset; });
  for (CLI::App* const verb : settings_->get_subcommands({})) verb->fallthrough();
}

std::optional<command::Settings> SettingsOptions::chosen() const {
  if (!settings_->parsed()) return std::nullopt;
  return given_;
}

std::string SettingsOptions::problem() const {
  if (settings_->parsed() && settings_->got_subcommand("reset") && all_ != given_.key.empty()) {
    return "settings reset takes the key of one setting, or --all";
  }
  return {};
}

void runSettingsCommand(const command::Settings& what, bool json, SettingsStore& settings,
                        CommandDone done) {
  if (what.verb == Verb::list) {
    CommandReply reply;
    for (const SettingDescription& setting : describeSettings(settings)) {
      reply.output += line(setting, json);
    }
    done(std::move(reply));
    return;
  }
  const Setting* const named = findSetting(what.key);
  if (named != nullptr && !named->isOffered()) {
    done(failedReply(named->group == SettingGroup::state
                         ? what.key + " is no setting: the program remembers it by itself"
                         : "The setting " + what.key + " does nothing in this version"));
    return;
  }
  if (what.verb == Verb::get) {
    done(shown(settings, what.key, json));
    return;
  }
  Result<void> changed;
  if (what.verb == Verb::set) changed = settings.setFromText(what.key, what.value);
  if (what.verb == Verb::reset) changed = settings.reset(what.key);
  if (what.verb == Verb::resetAll) settings.resetAll();
  if (!changed) {
    done(refused(changed.error(), what.key));
    return;
  }
  CommandReply reply;
  if (what.verb != Verb::resetAll) reply = shown(settings, what.key, json);
  settings.flush([reply = std::move(reply),
                  done = std::move(done)](const Result<void>& stored) mutable {
    done(stored
             ? std::move(reply)
             : failedReply(fmt::format("The settings could not be saved: {}. Until they are, the "
                                       "change holds only while Vantorel runs",
                                       stored.error().reason)));
  });
}

}  // namespace vantorel
