#include "ui/history/tile_painting.hpp"

#include <fmt/format.h>

#include <QPainter>
#include <QPainterPath>
#include <QStyle>
#include <array>
#include <utility>

#include "base/size_text.hpp"
#include "base/time_text.hpp"
#include "editor/capture_text.hpp"
#include "library/entry_title.hpp"
#include "ui/history/hit_painting.hpp"
#include "ui/kit/box_painting.hpp"
#include "ui/kit/icons.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr int badgeHeight = 20;
constexpr std::size_t mostText = 600;  // bytes of a text that are painted at most
const QColor starColor(0xff, 0xc4, 0x2e);

/// Numbers and words stay in their order in a mirrored window.
QString leftToRight(const QString& text) { return QChar(0x2066) + text + QChar(0x2069); }

void paintIcon(QPainter& painter, IconName name, int side, const QPoint& center,
               const QColor& color) {
  const double ratio = painter.device()->devicePixelRatioF();
  painter.drawPixmap(center - QPoint(side / 2, side / 2),
                     iconPixmap(name, QSize(side, side), ratio, color));
}

/// A dark label in the picture's corner.
void paintBadge(QPainter& painter, const QRect& picture, const QString& text,
                std::optional<IconName> symbol) {
  const QFont font = tokens::smallFont();
  const QFontMetrics metrics(font);
  const int height = std::max(badgeHeight, metrics.height() + 4);
  const int symbolRoom = symbol ? 16 : 0;
  const int width = metrics.horizontalAdvance(text) + symbolRoom + 14;
  const QRect badge = QStyle::visualRect(
      painter.layoutDirection(), picture,
      QRect(picture.right() - width - 5, picture.bottom() - height - 5, width, height));
  paintBox(painter, badge, tokens::keyCapRadius + 1, QColor(20, 21, 24, 205), Qt::NoPen);
  if (symbol)
    paintIcon(painter, *symbol, 12, {badge.left() + 13, badge.center().y() + 1}, Qt::white);
  painter.setFont(font);
  painter.setPen(Qt::white);
  painter.drawText(badge.adjusted(7 + symbolRoom, 0, -7, 0), Qt::AlignCenter, text);
}

void paintText(QPainter& painter, const QRect& area, const ScreenshotEntry& entry,
               const PaletteRoles& roles) {
  const std::string all = captureText(entry);
  const QString text =
      QString::fromUtf8(all.data(), static_cast<qsizetype>(std::min(all.size(), mostText)));
  painter.save();
  painter.setClipRect(area.adjusted(0, 0, 0, -tokens::space12));
  painter.setFont(tokens::bodyFont());
  painter.setPen(roles.text);
  painter.drawText(area.adjusted(tokens::space16, tokens::space16, -tokens::space16, 0),
                   Qt::AlignLeading | Qt::AlignTop | Qt::TextWordWrap, text);
  painter.restore();
}

IconName iconOf(CaptureMedium medium) {
  switch (medium) {
    case CaptureMedium::image: return IconName::image;
    case CaptureMedium::recording:
    case CaptureMedium::gif:
    case CaptureMedium::project: return IconName::movie;
    case CaptureMedium::text: return IconName::textClip;
  }
  std::unreachable();
}

QString unreadableText() { return QStringLiteral("Can't be read"); }

/// What is in the way of a picture, and the disk its file is on.
void paintAbsence(QPainter& painter, const QRect& area, const PaintedCapture& capture,
                  const PaletteRoles& roles) {
  const bool isAway = capture.reach != FileReach::there && capture.reach != FileReach::fileGone;
  const IconName symbol = isAway ? IconName::offline : IconName::warning;
  if (capture.isSmall) return paintIcon(painter, symbol, 16, area.center(), roles.quiet);
  const QFontMetrics body(tokens::bodyFont());
  const QFontMetrics small(tokens::smallFont());
  QString disk = isAway ? diskText(capture.entry, capture.reach) : QString();
  int height = barIconSize + tokens::space4 + body.height();
  // Large fonts leave no room for it on small tiles; the tooltip has it.
  if (height + small.height() + tokens::space4 > area.height()) disk.clear();
  if (!disk.isEmpty()) height += small.height() + tokens::space4;
  const QRect inside = area.adjusted(tokens::space8, 0, -tokens::space8, 0);
  int y = area.center().y() - height / 2;
  paintIcon(painter, symbol, barIconSize, {area.center().x(), y + barIconSize / 2}, roles.quiet);
  y += barIconSize + tokens::space4;
  const auto line = [&](const QString& text, const QFont& font, const QFontMetrics& metrics) {
    painter.setFont(font);
    painter.setPen(roles.quiet);
    painter.drawText(QRect(inside.left(), y, inside.width(), metrics.height()), Qt::AlignCenter,
                     metrics.elidedText(text, Qt::ElideMiddle, inside.width()));
    y += metrics.height() + tokens::space4;
  };
  line(capture.reach == FileReach::there ? unreadableText() : reachText(capture.reach),
       tokens::bodyFont(), body);
  if (!disk.isEmpty()) line(disk, tokens::smallFont(), small);
}

}  // namespace

QString reachText(FileReach reach) {
  return reach == FileReach::fileGone ? QStringLiteral("File gone")
                                      : QStringLiteral("Out of reach");
}

QString diskText(const ScreenshotEntry& entry, FileReach reach) {
  return reach == FileReach::fileGone ? QString() : QString::fromStdString(diskNameOf(entry));
}

void paintCapture(QPainter& painter, const QRect& area, const PaintedCapture& capture,
                  const PaletteRoles& roles) {
  const ScreenshotEntry& entry = capture.entry;
  const int radius = capture.isSmall ? tokens::keyCapRadius : tokens::tileRadius;
  const QRectF frame = QRectF(area);
  if (capture.reach != FileReach::there || capture.isUnreadable) {
    paintBox(painter, frame, radius, roles.window, QPen(roles.fieldBorder));
    return paintAbsence(painter, area, capture, roles);
  }
  const bool isText = entry.medium == CaptureMedium::text;
  paintBox(painter, frame, radius, isText ? roles.window : mixed(roles.base, roles.text, 0.05),
           Qt::NoPen);
  if (!capture.pixmap.isNull()) {
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawPixmap(area, capture.pixmap);
    if (!capture.hits.empty()) {
      painter.save();
      painter.setClipRect(area, Qt::IntersectClip);
      paintHits(painter, capture.hits);
      painter.restore();
    }
  } else if (isText && entry.ocrText && !capture.isSmall) {
    paintText(painter, area, entry, roles);
  } else if (entry.medium != CaptureMedium::image) {
    paintIcon(painter, iconOf(entry.medium), capture.isSmall ? rowIconSize : emptyIconSize,
              area.center(), roles.quiet);
  }
  paintBox(painter, frame, radius, Qt::NoBrush, QPen(roles.line));
  if (capture.isSmall) return;
  if (entry.starred) {
    const QRect mark(area.right() - 22, area.top() + 6, 16, 16);
    const QPoint corner =
        QStyle::visualRect(painter.layoutDirection(), area, mark).center() + QPoint(1, 1);
    paintStar(painter, corner);
  }
  if (entry.durationSeconds) {
    paintBadge(painter, area, durationText(*entry.durationSeconds), IconName::play);
  } else if (entry.isTallCapture) {
    paintBadge(painter, area, QStringLiteral("Tall"), std::nullopt);
  }
}

void paintStar(QPainter& painter, const QPoint& center) {
  paintIcon(painter, IconName::starOn, 18, center, QColor(0, 0, 0, 150));
  paintIcon(painter, IconName::starOn, 15, center, starColor);
}

void paintCheck(QPainter& painter, const QPoint& center, const PaletteRoles& roles) {
  painter.setPen(QPen(Qt::white, 2));
  painter.setBrush(roles.accentFill);
  painter.drawEllipse(center, 11, 11);
  paintIcon(painter, IconName::check, 14, center + QPoint(1, 1), roles.onAccent);
}

void paintDayHeader(QPainter& painter, const QRect& area, const QString& title,
                    const QString& detail, const PaletteRoles& roles,
                    Qt::LayoutDirection direction) {
  painter.setLayoutDirection(direction);
  painter.setFont(tokens::strongFont());
  painter.setPen(roles.text);
  painter.drawText(area, Qt::AlignVCenter | Qt::AlignLeading, leftToRight(title));
  const int width =
      QFontMetrics(tokens::strongFont()).horizontalAdvance(title) + tokens::space8 + 2;
  painter.setFont(tokens::bodyFont());
  painter.setPen(roles.quiet);
  const bool isMirrored = direction == Qt::RightToLeft;
  painter.drawText(isMirrored ? area.adjusted(0, 0, -width, 0) : area.adjusted(width, 0, 0, 0),
                   Qt::AlignVCenter | Qt::AlignLeading, leftToRight(detail));
}

// The list.

ListColumns::ListColumns(int width, Qt::LayoutDirection direction) {
  struct Wanted {
    What what;
    int width;
  };
  constexpr int pictureWidth = 52;
  const std::array others{Wanted{What::application, 125}, Wanted{What::taken, 140},
                          Wanted{What::size, 105}, Wanted{What::kind, 80},
                          Wanted{What::collections, 120}};
  const int leastTitle = std::min(width / 3, 240);
  const double scale = QFontMetrics(tokens::bodyFont()).height() / 17.0;
  const int begin = tokens::space16 + pictureWidth + tokens::space16;
  const int room = width - begin - tokens::space16;
  std::vector<Wanted> shown;
  int taken = leastTitle;
  for (const Wanted& one : others) {
    const int wanted = static_cast<int>(one.width * std::max(1.0, scale));
    if (taken + wanted > room) break;
    taken += wanted;
    shown.push_back({one.what, wanted});
  }
  // What is left is the title's, but for names that would be cut off beside blank room.
  const int spare = std::max(0, room - taken);
  for (Wanted& one : shown) {
    const bool isOfNames = one.what == What::application || one.what == What::collections;
    if (!isOfNames) continue;
    const int more = std::min(spare / 4, one.width);
    one.width += more;
    taken += more;
  }
  int left = begin;
  const int title = std::max(leastTitle + room - taken, 40);
  columns_.push_back({What::title, left, title - tokens::space12});
  left += title;
  for (const Wanted& one : shown) {
    columns_.push_back({one.what, left, one.width - tokens::space12});
    left += one.width;
  }
  picture_ = tokens::space16;
  if (direction != Qt::RightToLeft) return;
  picture_ = width - picture_ - pictureWidth;
  for (Column& column : columns_) column.left = width - column.left - column.width;
}

QString lineOf(const std::string& title) { return QString::fromStdString(title).simplified(); }

QString nameOf(ListColumns::What column) {
  using enum ListColumns::What;
  switch (column) {
    case title: return QStringLiteral("Title");
    case application: return QStringLiteral("Application");
    case taken: return QStringLiteral("Taken");
    case size: return QStringLiteral("Size");
    case kind: return QStringLiteral("Kind");
    case collections: return QStringLiteral("Collections");
  }
  std::unreachable();
}

std::optional<HistorySort::By> sortOf(ListColumns::What column) {
  using enum ListColumns::What;
  switch (column) {
    case title: return HistorySort::By::title;
    case application: return HistorySort::By::application;
    case taken: return HistorySort::By::taken;
    case size: return HistorySort::By::size;
    case kind: return HistorySort::By::kind;
    case collections: return std::nullopt;
  }
  std::unreachable();
}

QString labelOf(HistorySort::By by) {
  using enum HistorySort::By;
  switch (by) {
    case taken: return nameOf(ListColumns::What::taken);
    case title: return nameOf(ListColumns::What::title);
    case application: return nameOf(ListColumns::What::application);
    case size: return nameOf(ListColumns::What::size);
    case kind: return nameOf(ListColumns::What::kind);
  }
  std::unreachable();
}

QString listText(ListColumns::What column, const ScreenshotEntry& entry, const HistoryModel& model,
                 std::size_t place) {
  using enum ListColumns::What;
  switch (column) {
    case title: return lineOf(titleOf(entry));
    case application:
      return entry.sourceApp ? QString::fromStdString(entry.sourceApp->name) : QString();
    case taken: return QString::fromStdString(model.listing().timeOf(place));
    case size:
      if (!entry.pixelWidth || !entry.pixelHeight) return {};
      return leftToRight(QStringLiteral("%1 × %2").arg(*entry.pixelWidth).arg(*entry.pixelHeight));
    case kind: return kindOf(entry);
    case collections: {
      QString names;
      for (const std::string& id : entry.collectionIDs) {
        const HistoryCollection* const collection = model.store().findCollection(id);
        if (collection == nullptr) continue;
        if (!names.isEmpty()) names += ", ";
        names += QString::fromStdString(collection->name);
      }
      return names;
    }
  }
  std::unreachable();
}

QString kindOf(const ScreenshotEntry& entry) {
  switch (entry.medium) {
    case CaptureMedium::image: return QStringLiteral("Image");
    case CaptureMedium::recording: return QStringLiteral("Recording");
    case CaptureMedium::gif: return QStringLiteral("GIF");
    case CaptureMedium::text: return QStringLiteral("Text");
    case CaptureMedium::project: return QStringLiteral("Project");
  }
  std::unreachable();
}

QString durationText(double seconds) {
  const int whole = static_cast<int>(std::min(seconds, 359'999.0));
  if (whole < 3600) {
    return QStringLiteral("%1:%2").arg(whole / 60).arg(whole % 60, 2, 10, QLatin1Char('0'));
  }
  return QStringLiteral("%1:%2:%3")
      .arg(whole / 3600)
      .arg(whole / 60 % 60, 2, 10, QLatin1Char('0'))
      .arg(whole % 60, 2, 10, QLatin1Char('0'));
}

std::string toolTipOf(const ScreenshotEntry& entry, FileReach reach, bool isUnreadable) {
  std::string text = titleOf(entry) + "\n" + tableTime(entry.capturedAt);
  if (entry.pixelWidth && entry.pixelHeight) {
    text += fmt::format(" · {} × {}", *entry.pixelWidth, *entry.pixelHeight);
  }
  if (entry.fileIdentity) {
    text += " · " + sizeText(static_cast<std::uint64_t>(entry.fileIdentity->size));
  }
  text += "\n" + entry.path;
  if (reach != FileReach::there) text += "\n" + reachText(reach).toStdString();
  if (reach == FileReach::there && isUnreadable) text += "\n" + unreadableText().toStdString();
  if (const QString disk = diskText(entry, reach); !disk.isEmpty()) {
    text += ": " + disk.toStdString();
  }
  return text;
}

QColor colorOf(CollectionColor color) {
  switch (color) {
    case CollectionColor::red: return {0xe0, 0x4f, 0x4f};
    case CollectionColor::orange: return {0xe0, 0x95, 0x2f};
    case CollectionColor::yellow: return {0xd9, 0xb9, 0x2a};
    case CollectionColor::green: return {0x3f, 0xa3, 0x5c};
    case CollectionColor::blue: return {0x3f, 0x85, 0xf0};
    case CollectionColor::purple: return {0x9a, 0x63, 0xd6};
    case CollectionColor::gray: return {0x8d, 0x90, 0x98};
  }
  std::unreachable();
}

QIcon dotOf(CollectionColor color) {
  QIcon dot;
  for (const int ratio : {1, 2, 3}) {
    QPixmap pixmap(rowIconSize * ratio, rowIconSize * ratio);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(colorOf(color));
    painter.drawEllipse(QRectF(3 * ratio, 3 * ratio, 10 * ratio, 10 * ratio));
    painter.end();
    pixmap.setDevicePixelRatio(ratio);
    dot.addPixmap(pixmap);
  }
  return dot;
}

}  // namespace vantorel
