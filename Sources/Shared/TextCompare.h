#pragma once

#include <string_view>

namespace vlm {

/// Order in which people sort names: digits by the number that they write, letters without regard to case and to the
/// accents of Latin-1; signs before digits, digits before letters. What is equal so far is told apart by accents, then
/// the small letter stands first. Negative, 0 (the same text) or positive. UTF-8.
int localizedStandardCompare(std::string_view first, std::string_view second);

}  // namespace vlm
