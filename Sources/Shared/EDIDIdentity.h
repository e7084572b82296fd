#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace vlm {

/// Who a monitor says that it is.
struct EDIDIdentity {
  bool isDigital = false;
  std::uint32_t manufactureYear = 0, manufactureWeek = 0;
  std::uint32_t serialNumber = 0;  ///< 0: none
  /// UTF-8; empty when there is none. Monitors are recognised by what has been stored of them.
  std::string name, serialText;
};

/// Zeros where the EDID is shorter.
EDIDIdentity identityInEDID(std::span<const std::uint8_t> edid);

}  // namespace vlm
