#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Platform/Geometry.h"

namespace vlm {

/// A menu as a tree of values; an entry with an action can be chosen.
struct Menu {
  struct Item {
    std::string title;
    std::function<void()> action;
    std::shared_ptr<Menu> submenu;
  };
  std::string title;
  std::vector<Item> items;
};

/// A status item of the system's menu bar. 0 is none.
using StatusItemRef = std::uint64_t;
constexpr double kNSVariableStatusItemLength = -1.0;

/// Alert levels of notices and alerts.
constexpr std::uint32_t kCFUserNotificationNoteAlertLevel = 1;
constexpr std::uint32_t kCFUserNotificationCautionAlertLevel = 2;
/// Response flags of an alert, lowest two bits.
constexpr std::uint32_t kCFUserNotificationDefaultResponse = 0, kCFUserNotificationAlternateResponse = 1,
                        kCFUserNotificationOtherResponse = 2, kCFUserNotificationCancelResponse = 3;

/// What the user sees of the daemon: its status item and its notices. Main thread only.
class UserInterface {
 public:
  /// Called with the identifier of the notice that the user clicked.
  using NotificationActivation = std::function<void(const std::string&)>;

  virtual ~UserInterface() = default;

  virtual StatusItemRef statusItemWithLength(double length) = 0;
  virtual void removeStatusItem(StatusItemRef item) = 0;
  virtual void setHighlightMode(StatusItemRef item, bool highlight) = 0;
  virtual void setMenu(StatusItemRef item, std::shared_ptr<Menu> menu) = 0;
  virtual void setVisible(StatusItemRef item, bool visible) = 0;
  /// An image of the bundle, by name.
  virtual void setImage(StatusItemRef item, const std::string& imageName) = 0;
  virtual bool isCurrentAppearanceDark() = 0;
  /// Opens a menu at a point of the global display space, from a pop-up cell (empty title, not pulling down) in a
  /// window of one by one point (style 0, buffered backing, not deferred); returns when the user has chosen or
  /// dismissed it.
  virtual void popUpMenu(std::shared_ptr<Menu> menu, Point location) = 0;
  /// Becomes the delegate of the user-notification centre.
  virtual void setUserNotificationCenterDelegate(NotificationActivation activation) = 0;

  /// Takes a delivered notice off the notification centre; any other identifier is ignored.
  virtual void removeDeliveredNotification(const std::string& identifier) = 0;

  /// A notice that does not wait for the user; no time-out when it is 0. Seconds.
  virtual void CFUserNotificationDisplayNotice(double timeout, std::uint32_t flags, const std::string& header,
                                               const std::string& message) = 0;
  /// A modal alert; returns when the user answered or the time-out (seconds) passed. Answers the response flags;
  /// kCFUserNotificationCancelResponse when nobody answered.
  virtual std::uint32_t CFUserNotificationDisplayAlert(double timeout, std::uint32_t flags, const std::string& header,
                                                       const std::string& message, const std::string& defaultButton,
                                                       const std::string& alternateButton,
                                                       const std::string& otherButton) = 0;
};

}  // namespace vlm
