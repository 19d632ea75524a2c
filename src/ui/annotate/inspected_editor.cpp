#include "ui/annotate/inspected_editor.hpp"

#include <QFileDialog>
#include <QPointer>

#include "app/annotate_model.hpp"
#include "editor/canvas_scene.hpp"
#include "editor/layer_layout.hpp"
#include "ui/annotate/shown_name.hpp"
#include "ui/kit/shared_image.hpp"

namespace vantorel {
namespace {

void askForLayers(const std::shared_ptr<AnnotateModel>& model, QWidget* window) {
  auto* const dialog = new QFileDialog(
      window, QString::fromUtf8(layerChooserPrompt.data(), qsizetype(layerChooserPrompt.size())));
  dialog->setAttribute(Qt::WA_DeleteOnClose);
  dialog->setFileMode(QFileDialog::ExistingFiles);
  dialog->setNameFilter(QStringLiteral("Pictures (*.png *.jpg *.jpeg *.webp *.heic)"));
  QObject::connect(dialog, &QFileDialog::filesSelected, window, [model](const QStringList& files) {
    std::vector<Path> paths;
    for (const QString& file : files) {
      paths.emplace_back(QFile::encodeName(file).toStdString());
    }
    model->addLayers(paths);
  });
  dialog->open();
}

/// Of the document, and of what a build of the layers finds, which comes later.
Observation observation(AnnotateModel& model, const std::function<void()>& changed) {
  struct Watch {
    Observation document;
    Observation layers;
    LayersReport known;
  };
  const auto watch = std::make_shared<Watch>();
  watch->known = model.scene().report();
  watch->document = model.observe([changed](const AnnotateModel::Change& change) {
    if (change.document || change.stage) changed();
  });
  watch->layers = model.scene().observe(
      [changed, &scene = model.scene(), held = std::weak_ptr(watch)](const CanvasScene::Change&) {
        const auto told = held.lock();
        if (!told) return;
        LayersReport now = scene.report();
        if (now.missingLayerIDs == told->known.missingLayerIDs &&
            now.oversizedLayerIDs == told->known.oversizedLayerIDs) {
          return;
        }
        told->known = std::move(now);
        changed();
      });
  return Observation(watch);
}

}  // namespace

QString shownLayerName(const InspectedEditor& editor, const LayerSpec& layer) {
  const LayerSpec plain = newCaptureLayer(editor.model->captureSize());
  const bool isUnnamed = !layer.path && layer.name == plain.name;
  const std::string title = isUnnamed ? editor.captureName() : std::string();
  return shownName(title.empty() ? layer.name : title, QStringLiteral("Layer"));
}

InspectedEditor inspected(const std::shared_ptr<AnnotateModel>& model, QWidget* window) {
  InspectedEditor editor;
  editor.model = std::shared_ptr<EditorModel>(model, &model->editor());
  editor.observe = [model](const std::function<void()>& changed) {
    return observation(*model, changed);
  };
  editor.captureName = [model] { return model->title(); };
  editor.addLayers = [model, window = QPointer(window)] {
    if (window) askForLayers(model, window->window());
  };
  editor.missingLayers = [model] { return model->scene().report().missingLayerIDs; };
  editor.oversizedLayers = [model] { return model->scene().report().oversizedLayerIDs; };
  editor.thumbnail = [model](const LayerSpec& layer, QSize pixels,
                             const InspectedEditor::Thumbnail& given) {
    model->layerThumbnail(layer, {pixels.width(), pixels.height()},
                          [given](const Image& picture) { given(sharedImage(picture).copy()); });
  };
  editor.lookAtLayers = [model] { model->lookAtLayers(); };
  editor.copyText = [model](const std::string& text) { model->copyText(text); };
  return editor;
}

void whenReady(const std::shared_ptr<AnnotateModel>& model, QWidget* window, Observation& waiting,
               std::function<void(InspectedEditor editor)> begin) {
  if (model->stage() == AnnotateModel::Stage::ready) return begin(inspected(model, window));
  waiting = model->observe([held = std::weak_ptr(model), window,
                            begin = std::move(begin)](const AnnotateModel::Change& change) {
    const auto opened = held.lock();
    if (!opened || !change.stage || opened->stage() != AnnotateModel::Stage::ready) return;
    begin(inspected(opened, window));
  });
}

}  // namespace vantorel
