#pragma once

#include <string>

#include "Platform/PropertyList.h"
#include "Platform/System.h"

namespace vlm::sim {

/// The platform's table of standard modes, made from the published timings that have a number of the platform's:
/// {"std-modes": {"150": {"TM": 160 bytes, "DM": 36 bytes}, …}}. Big-endian, but for what the platform keeps in host
/// order: insets and all from byte 128 on in TM, rate and depth index in DM.
const plist::Dictionary& standardModeTable();

/// Where a system of that version keeps it.
const std::string& standardModeTablePath(const OperatingSystemVersion& version);

}  // namespace vlm::sim
