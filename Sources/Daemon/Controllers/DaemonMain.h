#pragma once

#include <optional>
#include <string>

#include "Platform/Application.h"

namespace vlm {

/// The daemon's `main`, whatever the system behind the ports. 0, also when there was nothing to do.
int VLMDaemonMain();

/// The application classes that the daemon's program has, for the adapter's look-up by name.
std::optional<ApplicationClass> applicationClassNamed(const std::string& name);

}  // namespace vlm
