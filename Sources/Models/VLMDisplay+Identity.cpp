#include "Models/VLMDisplay.h"
#include "Shared/Log.h"

namespace vlm {

namespace {

bool isKnownAndEqual(std::uint32_t a, std::uint32_t b) { return a != 0 && a == b; }

bool isKnownAndEqual(const std::optional<std::string>& a, const std::optional<std::string>& b) {
  return a.has_value() && a == b;
}

/// A saved location may lack components that the system has added since. An empty one says nothing.
bool containsLocation(const std::optional<std::string>& live, const std::optional<std::string>& saved) {
  return live && saved && !saved->empty() && live->find(*saved) != std::string::npos;
}

}  // namespace

int VLMDisplay::identityScoreOf(const VLMDisplay& candidate) const {
  if (candidate.isDirty()) return -1;
  if (candidate.displayVendorID != displayVendorID || candidate.displayProductID != displayProductID) return -1;

  const int date = isKnownAndEqual(manufactureYear, candidate.manufactureYear) &&
                   isKnownAndEqual(manufactureWeek, candidate.manufactureWeek);
  const int serial = isKnownAndEqual(serialNumber, candidate.serialNumber);
  const int edidSerial = isKnownAndEqual(edidSerialString, candidate.edidSerialString);
  const int driver = containsLocation(driverLocationName, candidate.driverLocationName);
  const int uuid = isKnownAndEqual(displayUUIDString, candidate.displayUUIDString);
  const int score = 2 * date + 2 * serial + 2 * edidSerial + driver + 2 * uuid;
  // The place of the model's own result has always been 0.
  VLMLog(" -> match PID=%d DATE=%d SN=%d DRV=%d SN# = %d UUID = %d", 0, date, serial, driver, edidSerial, uuid);
  VLMLog(" -> level %d", score);
  return score;
}

}  // namespace vlm
