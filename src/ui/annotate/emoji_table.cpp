#include "ui/annotate/emoji_table.hpp"

#include <QFile>
#include <QHash>
#include <algorithm>

// Of the static library: nothing else takes them in. Outside of any namespace, as the macro wants.
static void keepEmoji() { Q_INIT_RESOURCE(emoji); }

namespace vantorel {
namespace {

std::vector<EmojiGroup> readEmoji() {
  keepEmoji();
  std::vector<EmojiGroup> groups;
  QFile file(QStringLiteral(":/emoji/emoji.txt"));
  if (!file.open(QIODevice::ReadOnly)) return groups;
  const QStringList lines = QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts);
  for (const QString& line : lines) {
    if (line.startsWith(u'@')) {
      groups.push_back({line.mid(1), {}});
      continue;
    }
    const qsizetype tab = line.indexOf(u'\t');
    if (tab > 0 && !groups.empty())
      groups.back().all.push_back({line.left(tab), line.mid(tab + 1)});
  }
  return groups;
}

/// A word begins behind anything that is no letter or digit.
bool hasWordOf(const QString& name, const QString& start) {
  for (qsizetype at = name.indexOf(start, 0, Qt::CaseInsensitive); at >= 0;
       at = name.indexOf(start, at + 1, Qt::CaseInsensitive)) {
    if (at == 0 || !name[at - 1].isLetterOrNumber()) return true;
  }
  return false;
}

}  // namespace

const std::vector<EmojiGroup>& emojiGroups() {
  static const std::vector<EmojiGroup> groups = readEmoji();
  return groups;
}

std::vector<Emoji> emojiNamed(const QString& query) {
  const QString wanted = query.simplified();
  const QStringList words = wanted.split(u' ', Qt::SkipEmptyParts);
  std::vector<Emoji> found;
  for (const EmojiGroup& group : emojiGroups()) {
    for (const Emoji& emoji : group.all) {
      const bool isMeant =
          emoji.text == wanted || std::ranges::all_of(words, [&](const QString& word) {
            return hasWordOf(emoji.name, word);
          });
      if (isMeant) found.push_back(emoji);
    }
  }
  std::ranges::stable_partition(found, [&](const Emoji& emoji) {
    return emoji.name.startsWith(wanted, Qt::CaseInsensitive);
  });
  return found;
}

QString emojiName(const QString& text) {
  static const QHash<QString, QString> names = [] {
    QHash<QString, QString> all;
    for (const EmojiGroup& group : emojiGroups()) {
      for (const Emoji& emoji : group.all) all.insert(emoji.text, emoji.name);
    }
    return all;
  }();
  return names.value(text);
}

}  // namespace vantorel
