#include "Simulator/Mac/SimulatedUserInterface.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "Simulator/Mac/JournalText.h"
#include "Simulator/Mac/Scheduler.h"
#include "Simulator/Mac/Session.h"

namespace vlm::sim {

namespace {

/// "1, header, message": level and texts of a notice or an alert.
std::string noticeText(std::uint32_t flags, const std::string& header, const std::string& message) {
  return std::to_string(flags) + ", " + quoted(header) + ", " + quoted(message);
}

const char* yesOrNo(bool value) { return value ? "yes" : "no"; }

/// An entry that can be chosen, in the menu or in one below it; null when there is none of that title.
const Menu::Item* entryNamed(const Menu& menu, const std::string& title) {
  for (const Menu::Item& item : menu.items) {
    if (item.title == title && item.action) return &item;
    const Menu::Item* const below = item.submenu == nullptr ? nullptr : entryNamed(*item.submenu, title);
    if (below != nullptr) return below;
  }
  return nullptr;
}

}  // namespace

SimulatedMac::StatusItem* SimulatedUserInterface::itemOf(StatusItemRef item) {
  for (SimulatedMac::StatusItem& known : mac_.statusItems()) {
    if (known.reference == item && known.processIdentifier == session_.processIdentifier()) return &known;
  }
  return nullptr;
}

StatusItemRef SimulatedUserInterface::statusItemWithLength(double length) {
  session_.record("statusItemWithLength(" + numberText(length) + ")");
  SimulatedMac::StatusItem item;
  item.reference = mac_.nextReference();
  item.processIdentifier = session_.processIdentifier();
  mac_.statusItems().push_back(item);
  return item.reference;
}

void SimulatedUserInterface::removeStatusItem(StatusItemRef item) {
  if (itemOf(item) == nullptr) return;
  session_.record("removeStatusItem()");
  std::erase_if(mac_.statusItems(), [&](const auto& known) { return known.reference == item; });
}

void SimulatedUserInterface::setHighlightMode(StatusItemRef item, bool highlight) {
  auto* const found = itemOf(item);
  if (found == nullptr) return;
  session_.record(std::string("setHighlightMode(") + yesOrNo(highlight) + ")");
  found->highlights = highlight;
}

void SimulatedUserInterface::setMenu(StatusItemRef item, std::shared_ptr<Menu> menu) {
  auto* const found = itemOf(item);
  if (found == nullptr) return;
  session_.record("setMenu(" + (menu == nullptr ? "none" : quoted(menu->title)) + ")");
  found->menu = std::move(menu);
}

void SimulatedUserInterface::setVisible(StatusItemRef item, bool visible) {
  auto* const found = itemOf(item);
  if (found == nullptr) return;
  session_.record(std::string("setVisible(") + yesOrNo(visible) + ")");
  found->visible = visible;
}

void SimulatedUserInterface::setImage(StatusItemRef item, const std::string& imageName) {
  auto* const found = itemOf(item);
  if (found == nullptr) return;
  session_.record("setImage(" + imageName + ")");
  found->imageName = imageName;
}

bool SimulatedUserInterface::isCurrentAppearanceDark() { return mac_.darkAppearance; }

void SimulatedUserInterface::popUpMenu(std::shared_ptr<Menu> menu, Point location) {
  const std::size_t entries = menu == nullptr ? 0 : menu->items.size();
  session_.record("popUpMenu(" + numberText(location.x) + ", " + numberText(location.y) + ", " +
                  std::to_string(entries) + (entries == 1 ? " entry)" : " entries)"));
  const auto title = std::exchange(mac_.menuChoice, std::nullopt);
  if (!title) return;
  const Menu::Item* const chosen = menu == nullptr ? nullptr : entryNamed(*menu, *title);
  if (chosen == nullptr) return mac_.addFault("the menu has no entry " + quoted(*title) + " that can be chosen");
  mac_.journal().add("user: choose(" + quoted(*title) + ")");
  // A copy: the menu may be made anew by what is chosen.
  const auto action = chosen->action;
  action();
}

void SimulatedUserInterface::setUserNotificationCenterDelegate(NotificationActivation activation) {
  session_.record("setUserNotificationCenterDelegate()");
  activation_ = std::move(activation);
}

void SimulatedUserInterface::removeDeliveredNotification(const std::string& identifier) {
  if (mac_.deliveredNotifications.erase(identifier) == 0) return;
  session_.record("removeDeliveredNotification(" + quoted(identifier) + ")");
}

void SimulatedUserInterface::CFUserNotificationDisplayNotice(double timeout, std::uint32_t flags,
                                                             const std::string& header, const std::string& message) {
  session_.record("CFUserNotificationDisplayNotice(" + numberText(timeout) + ", " + noticeText(flags, header, message) +
                  ")");
}

std::uint32_t SimulatedUserInterface::CFUserNotificationDisplayAlert(
    double timeout, std::uint32_t flags, const std::string& header, const std::string& message,
    const std::string& defaultButton, const std::string& alternateButton, const std::string& otherButton) {
  session_.record("CFUserNotificationDisplayAlert(" + numberText(timeout) + ", " + noticeText(flags, header, message) +
                  ", " + quoted(defaultButton) + ", " + quoted(alternateButton) + ", " + quoted(otherButton) + ")");
  if (mac_.alertAnswer) return *mac_.alertAnswer;
  if (!(timeout > 0)) mac_.addFault("an alert without a time-out stands unanswered: " + quoted(header));
  mac_.scheduler().passTime(timeout);
  return kCFUserNotificationCancelResponse;
}

void SimulatedUserInterface::activate(const std::string& identifier) {
  const NotificationActivation activation = activation_;
  if (activation) activation(identifier);
}

void SimulatedUserInterface::sessionEnded() {
  // Out of the list first: the menus own what the program put into their actions.
  auto& items = mac_.statusItems();
  const auto own = std::stable_partition(items.begin(), items.end(), [&](const auto& item) {
    return item.processIdentifier != session_.processIdentifier();
  });
  const std::vector<SimulatedMac::StatusItem> gone(std::make_move_iterator(own), std::make_move_iterator(items.end()));
  items.erase(own, items.end());
  activation_ = nullptr;
}

}  // namespace vlm::sim
