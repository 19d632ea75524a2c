#include "ui/history/capture_mime_data.hpp"

#include <QUrl>

namespace vantorel {
namespace {

constexpr const char* capturesType = "application/x-vantorel-captures";

}  // namespace

std::unique_ptr<QMimeData> makeCaptureMimeData(const EntryList& entries, const EntryList& leave,
                                               const std::string& png) {
  auto data = std::make_unique<QMimeData>();
  QList<QUrl> files;
  for (const EntryPointer& entry : leave) {
    files.append(QUrl::fromLocalFile(QString::fromStdString(entry->path)));
  }
  QByteArray ids;
  for (const EntryPointer& entry : entries) ids += QByteArray::fromStdString(entry->id) + '\n';
  if (!files.isEmpty()) data->setUrls(files);
  if (!png.empty()) data->setData(QStringLiteral("image/png"), QByteArray::fromStdString(png));
  data->setData(QLatin1String(capturesType), ids);
  return data;
}

std::vector<std::string> draggedCaptures(const QMimeData& data) {
  std::vector<std::string> ids;
  if (!data.hasFormat(QLatin1String(capturesType))) return ids;
  for (const QByteArray& id : data.data(QLatin1String(capturesType)).split('\n')) {
    if (!id.isEmpty()) ids.push_back(id.toStdString());
  }
  return ids;
}

}  // namespace vantorel
