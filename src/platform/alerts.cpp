#include "platform/alerts.hpp"

namespace vantorel {

std::size_t Alert::cancelButton() const {
  for (const bool AlertButton::* wanted : {&AlertButton::isCancel, &AlertButton::isDefault}) {
    for (std::size_t i = 0; i < buttons.size(); ++i) {
      if (buttons[i].*wanted) return i;
    }
  }
  return buttons.size() - 1;
}

}  // namespace vantorel
