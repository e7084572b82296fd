#pragma once

namespace vlm {

/// Whether the user's appearance is dark at this moment.
bool Common_IsCurrentAppearanceDark();

}  // namespace vlm
