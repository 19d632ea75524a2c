#pragma once

#include <QString>
#include <QStringList>
#include <vector>

namespace vantorel {

struct Emoji {
  QString text;
  QString name;  ///< as Unicode calls it: "thumbs up"
};

struct EmojiGroup {
  QString name;
  std::vector<Emoji> all;
};

/// All that are offered, by group in the usual order; read once. Main thread.
[[nodiscard]] const std::vector<EmojiGroup>& emojiGroups();

/// Those in whose names each word of `query` begins a word: first the names that begin with the
/// query, else in the usual order.
[[nodiscard]] std::vector<Emoji> emojiNamed(const QString& query);

/// What an emoji is called; empty for others.
[[nodiscard]] QString emojiName(const QString& text);

}  // namespace vantorel
