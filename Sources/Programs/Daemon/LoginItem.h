#pragma once

#include <optional>
#include <string_view>

namespace vlm::native {

/// What the program is called with to start with the session from now on, or no more. It says on the standard streams
/// what came of it and does not become the daemon.
inline constexpr std::string_view kRegisterLoginItem = "--register-login-item";
inline constexpr std::string_view kUnregisterLoginItem = "--unregister-login-item";

/// The exit status of the request that the argument makes: 0 when it was met, 1 when not. Absent for any other
/// argument.
std::optional<int> answerLoginItemRequest(std::string_view argument);

}  // namespace vlm::native
