#pragma once

#include "Platform/UserInterface.h"
#include "Simulator/Mac/SimulatedMac.h"

namespace vlm::sim {

class Session;

/// One process's status items and notices.
class SimulatedUserInterface : public UserInterface {
 public:
  SimulatedUserInterface(SimulatedMac& mac, Session& session) : mac_(mac), session_(session) {}

  StatusItemRef statusItemWithLength(double length) override;
  void removeStatusItem(StatusItemRef item) override;
  void setHighlightMode(StatusItemRef item, bool highlight) override;
  void setMenu(StatusItemRef item, std::shared_ptr<Menu> menu) override;
  void setVisible(StatusItemRef item, bool visible) override;
  void setImage(StatusItemRef item, const std::string& imageName) override;
  bool isCurrentAppearanceDark() override;
  void popUpMenu(std::shared_ptr<Menu> menu, Point location) override;
  void setUserNotificationCenterDelegate(NotificationActivation activation) override;
  void removeDeliveredNotification(const std::string& identifier) override;
  void CFUserNotificationDisplayNotice(double timeout, std::uint32_t flags, const std::string& header,
                                       const std::string& message) override;
  /// Nothing is delivered while it stands. One that neither the user nor a time-out would end is a fault.
  std::uint32_t CFUserNotificationDisplayAlert(double timeout, std::uint32_t flags, const std::string& header,
                                               const std::string& message, const std::string& defaultButton,
                                               const std::string& alternateButton,
                                               const std::string& otherButton) override;

  void activate(const std::string& identifier);
  void sessionEnded();

 private:
  /// The process's own item, or null.
  SimulatedMac::StatusItem* itemOf(StatusItemRef item);

  SimulatedMac& mac_;
  Session& session_;
  NotificationActivation activation_;
};

}  // namespace vlm::sim
