#include "ui/settings/setting_editors.hpp"

#include <QColorDialog>
#include <QComboBox>
#include <QFileDialog>
#include <QFontMetrics>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>
#include <QSlider>
#include <QStyle>
#include <algorithm>
#include <cmath>
#include <string>

#include "ui/kit/accessible_role.hpp"
#include "ui/kit/icons.hpp"
#include "ui/kit/role_label.hpp"
#include "ui/kit/toggle_switch.hpp"
#include "ui/kit/tokens.hpp"
#include "ui/kit/wheel_passing.hpp"

namespace vantorel {
namespace {

using Model = std::shared_ptr<SettingsModel>;

QString text(const std::string& utf8) { return QString::fromStdString(utf8); }

SettingEditor toggleEditor(const Model& model, const std::string& id, QWidget* parent) {
  auto* const toggle = new ToggleSwitch(parent);
  QObject::connect(toggle, &QAbstractButton::clicked, toggle,
                   [model, id](bool isOn) { model->set(id, isOn ? "true" : "false"); });
  return {toggle, [toggle](const SettingsLine& line) { toggle->setChecked(line.value == "true"); }};
}

SettingEditor choiceEditor(const Model& model, const std::string& id, QWidget* parent) {
  auto* const box = new QComboBox(parent);
  setAccessibleRole(*box, QAccessible::ComboBox);
  passWheelUnlessFocused(*box);
  // Wider only for words that need it, which a large font makes of most.
  box->setMinimumWidth(settingControlWidth);
  const double scale = QFontMetrics(tokens::bodyFont()).height() / 17.0;
  box->setMaximumWidth(static_cast<int>(settingControlWidth * std::clamp(scale, 1.0, 2.0)));
  box->setSizeAdjustPolicy(QComboBox::AdjustToContents);
  box->setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);
  QObject::connect(box, &QComboBox::activated, box, [model, id, box](int index) {
    model->set(id, box->itemData(index).toString().toStdString());
  });
  return {box, [box](const SettingsLine& line) {
            bool isSame = box->count() == static_cast<int>(line.choices.size());
            for (int i = 0; isSame && i < box->count(); ++i) {
              const auto& choice = line.choices[static_cast<std::size_t>(i)];
              isSame = box->itemText(i) == text(choice.words) &&
                       box->itemData(i).toString() == text(choice.value);
            }
            if (!isSame) {
              box->clear();
              for (const auto& choice : line.choices) {
                box->addItem(text(choice.words), text(choice.value));
              }
            }
            box->setCurrentIndex(box->findData(text(line.value)));
          }};
}

SettingEditor numberEditor(const Model& model, const SettingsLine& first, QWidget* parent) {
  auto* const both = new QWidget(parent);
  setAccessibleRole(*both, QAccessible::Grouping);
  both->setFixedWidth(settingControlWidth);
  auto* const row = new QHBoxLayout(both);
  row->setContentsMargins(0, 0, 0, 0);
  row->setSpacing(tokens::space8);
  auto* const slider = new QSlider(Qt::Horizontal, both);
  passWheelUnlessFocused(*slider);
  auto* const words = new RoleLabel({}, &PaletteRoles::quiet, tokens::smallFont, both);
  words->setWordWrap(false);
  words->setAlignment(Qt::AlignTrailing | Qt::AlignVCenter);
  row->addWidget(slider, 1);
  row->addWidget(words);
  slider->setRange(static_cast<int>(std::lround(first.least / first.step)),
                   static_cast<int>(std::lround(first.most / first.step)));
  slider->setPageStep(2);
  both->setFocusProxy(slider);
  QObject::connect(
      slider, &QSlider::valueChanged, slider,
      [model, id = first.id, step = first.step](int value) { model->setNumber(id, value * step); });
  return {both, [slider, words](const SettingsLine& line) {
            const QSignalBlocker blocker(slider);
            slider->setValue(static_cast<int>(std::lround(line.number / line.step)));
            // The width of the digits stays while they change.
            QString widest = text(line.words);
            for (QChar& c : widest) c = c.isDigit() ? QLatin1Char('0') : c;
            words->setMinimumWidth(
                QFontMetrics(words->font()).horizontalAdvance(QStringLiteral("0") + widest));
            words->setText(text(line.words));
          }};
}

SettingEditor textEditor(const Model& model, const std::string& id, QWidget* parent) {
  auto* const field = new QLineEdit(parent);
  field->setFixedWidth(settingControlWidth);
  QObject::connect(field, &QLineEdit::textEdited, field,
                   [model, id](const QString& edited) { model->set(id, edited.toStdString()); });
  return {field, [field](const SettingsLine& line) {
            // What was refused stays, to be put right.
            const QString shown = text(line.refused.value_or(line.value));
            if (field->text() != shown) field->setText(shown);
          }};
}

SettingEditor colorEditor(const Model& model, const std::string& id, QWidget* parent) {
  auto* const button = new QPushButton(parent);
  button->setFixedWidth(settingControlWidth);
  QObject::connect(button, &QPushButton::clicked, button, [model, id, button] {
    auto* const dialog = new QColorDialog(QColor(text(model->line(id).value)), button);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowTitle(button->accessibleName());
    QObject::connect(dialog, &QColorDialog::colorSelected, button,
                     [model, id](const QColor& color) {
                       model->set(id, color.name(QColor::HexRgb).toStdString());
                     });
    dialog->open();
  });
  return {button, [button](const SettingsLine& line) {
            QPixmap swatch(QSize(rowIconSize, rowIconSize) * button->devicePixelRatioF());
            swatch.setDevicePixelRatio(button->devicePixelRatioF());
            swatch.fill(QColor(text(line.value)));
            button->setIcon(swatch);
            button->setText(text(line.words));
          }};
}

SettingEditor pictureEditor(const Model& model, const std::string& id, QWidget* parent) {
  auto* const button = new QPushButton(QStringLiteral("Choose…"), parent);
  QObject::connect(button, &QPushButton::clicked, button, [model, id, button] {
    auto* const dialog = new QFileDialog(button, button->accessibleName());
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(QFileDialog::ExistingFile);
    dialog->setNameFilter(QStringLiteral("Pictures (*.png *.jpg *.jpeg *.webp *.heic)"));
    QObject::connect(dialog, &QFileDialog::fileSelected, button,
                     [model, id](const QString& path) { model->set(id, path.toStdString()); });
    dialog->open();
  });
  return {button, [](const SettingsLine&) {}};
}

}  // namespace

SettingEditor makeSettingEditor(const std::shared_ptr<SettingsModel>& model,
                                const SettingsLine& line, QWidget* parent) {
  if (!line.control) return {};
  switch (*line.control) {
    case SettingControl::toggle: return toggleEditor(model, line.id, parent);
    case SettingControl::choice:
    case SettingControl::collection: return choiceEditor(model, line.id, parent);
    case SettingControl::number: return numberEditor(model, line, parent);
    case SettingControl::text: return textEditor(model, line.id, parent);
    case SettingControl::color: return colorEditor(model, line.id, parent);
    case SettingControl::picture: return pictureEditor(model, line.id, parent);
    case SettingControl::folder:
    case SettingControl::shortcut: return {};
  }
  return {};
}

}  // namespace vantorel
