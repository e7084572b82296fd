#pragma once

#include <string>

namespace vlm {

/// The shortest decimal text that reads back as the same number: 59.94 for the 32-bit number next to it, 60 for 60.0.
/// Always with a full stop; "inf", "-inf" and "nan" for what is no finite number.
std::string shortestText(double number);
std::string shortestText(float number);

}  // namespace vlm
