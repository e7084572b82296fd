#pragma once

#include <optional>
#include <string>

#include "Platform/PropertyList.h"

/// The message between the daemon and the control application.
namespace vlm {

/// Its name, in both directions; the command stands in the object.
inline constexpr const char* kDaemonNotificationName = "org.kelvane.velmoratix.daemon";
/// Keys of its user information.
inline constexpr const char* kParameter1Key = "parameter1";
inline constexpr const char* kParameter2Key = "parameter2";

/// Posts a message to every process of the session that listens, this one too; nobody's answer is waited for.
void postDaemonNotification(const std::string& object, std::optional<plist::Dictionary> userInfo = std::nullopt);

}  // namespace vlm
