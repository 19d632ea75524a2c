#include "ui/annotate/close_question.hpp"

#include <QDialog>
#include <QHBoxLayout>
#include <QPushButton>
#include <QVBoxLayout>
#include <memory>
#include <utility>

#include "ui/kit/accessible_role.hpp"
#include "ui/kit/role_label.hpp"
#include "ui/kit/tokens.hpp"
#include "ui/kit/vantorel_style.hpp"

namespace vantorel {
namespace {

constexpr int questionWidth = 380;

}  // namespace

QDialog* askBeforeClosing(QWidget* window, const QString& changes,
                          std::function<void(CloseAnswer)> answered) {
  const QString question = QStringLiteral("Save your changes?");
  auto* const dialog = new QDialog(window);
  setAccessibleRole(*dialog, QAccessible::AlertMessage);
  dialog->setAttribute(Qt::WA_DeleteOnClose);
  dialog->setWindowModality(Qt::WindowModal);
  dialog->setWindowTitle(QStringLiteral("Vantorel"));
  dialog->setObjectName(QStringLiteral("closeQuestion"));
  dialog->setAccessibleName(question);
  dialog->setAccessibleDescription(changes);
  auto* const title = new RoleLabel(question, &PaletteRoles::text, tokens::strongFont, dialog);
  auto* const description = new RoleLabel(changes, &PaletteRoles::quiet, tokens::bodyFont, dialog);
  auto* const discard = new QPushButton(QStringLiteral("Discard"), dialog);
  auto* const cancel = new QPushButton(QStringLiteral("Cancel"), dialog);
  auto* const save = new QPushButton(QStringLiteral("Save"), dialog);
  markDangerous(*discard);
  save->setDefault(true);
  auto* const column = new QVBoxLayout(dialog);
  column->setContentsMargins(tokens::space24, tokens::space24, tokens::space24, tokens::space16);
  column->setSpacing(tokens::space8);
  column->addWidget(title);
  column->addWidget(description);
  column->addSpacing(tokens::space16);
  auto* const buttons = new QHBoxLayout;
  buttons->setSpacing(tokens::space8);
  buttons->addWidget(discard);
  buttons->addStretch(1);
  buttons->addWidget(cancel);
  buttons->addWidget(save);
  column->addLayout(buttons);
  dialog->setMinimumWidth(questionWidth);
  // Save is reached first by Tab, and Discard last.
  QWidget::setTabOrder(save, cancel);
  QWidget::setTabOrder(cancel, discard);
  save->setFocus();
  const auto answer = std::make_shared<CloseAnswer>(CloseAnswer::cancel);
  const auto choose = [dialog, answer](QPushButton* button, CloseAnswer meaning) {
    QObject::connect(button, &QPushButton::clicked, dialog, [dialog, answer, meaning] {
      *answer = meaning;
      dialog->done(QDialog::Accepted);
    });
  };
  choose(discard, CloseAnswer::discard);
  choose(cancel, CloseAnswer::cancel);
  choose(save, CloseAnswer::save);
  QObject::connect(dialog, &QDialog::finished, dialog,
                   [answer, answered = std::move(answered)] { answered(*answer); });
  dialog->open();
  return dialog;
}

}  // namespace vantorel
