#pragma once

#include <cstdint>
#include <optional>
#include <string>

/// Finding applications, and launching the control application. Locations are paths.
namespace vlm {

inline constexpr const char* kControlAppBundleIdentifier = "org.kelvane.velmoratix.app";

/// 0 when an application with that identifier runs, 1 when none does. The first of them goes into what is not null.
std::int32_t Find_RunningApp(const std::string& bundleIdentifier, std::int32_t* processIdentifier, std::string* path);

/// The control application: the one that runs, else the one that this daemon lies in, else whichever the system knows.
/// 0 or an error; the process identifier is set only when it runs already.
std::int32_t Find_ControlAppFromDaemon(std::string& path, std::int32_t& processIdentifier, bool& alreadyRunning);

/// By bundle identifier when one is given, else by creator code, else (no creator, or any) by name. 0 or fnfErr.
std::int32_t Find_FindAppURL(std::uint32_t creator, const std::optional<std::string>& bundleIdentifier,
                             const std::optional<std::string>& name, std::string& path);

/// Brings the control application to the front, launched if need be. 0, or fnfErr when there is none; a launch that
/// fails is not reported.
std::int32_t Find_LaunchControlAppFromDaemon();

/// Launches or reopens the control application with a four-character code that tells it what to show. 0 or an error.
std::int32_t Find_LaunchControlAppWithAEMessage(std::uint32_t code);

}  // namespace vlm
