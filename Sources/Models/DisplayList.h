#pragma once

#include <vector>

#include "Platform/Quartz.h"

namespace vlm {

/// Every display of the window server's list, online or not, at most 99; empty when it cannot be read.
std::vector<CGDirectDisplayID> displayList();

}  // namespace vlm
