#pragma once

namespace vlm {

/// The switch between the integrated and the discrete graphics processor.
class GSMux {
 public:
  /// Whether the machine has such a switch.
  static bool canSwitchGPU();
};

}  // namespace vlm
