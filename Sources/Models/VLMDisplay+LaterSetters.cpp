#include "Models/VLMDisplay.h"

namespace vlm {

// Overscan and underscan will be set here, as parameters of the frame buffer.
void VLMDisplay::setInOverscan(bool /*overscan*/, DisplayTransaction* /*transaction*/) {}
void VLMDisplay::setUnderscan(float /*value*/, DisplayTransaction* /*transaction*/) {}
// High dynamic range will be switched here, through the private display services.
void VLMDisplay::setHDR(bool /*hdr*/, DisplayTransaction* /*transaction*/) {}
// A display will be turned here, by a call or by a probe of its frame buffer.
void VLMDisplay::setOrientation(std::int32_t /*angle*/, DisplayTransaction* /*transaction*/) {}

}  // namespace vlm
