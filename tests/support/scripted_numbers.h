#pragma once
#include <bit>
#include <cstdint>
#include <vector>

namespace lumox::testing {

// A source of N that gives exactly the values it was handed; asked for more, it throws and the test fails.
struct ScriptedNumbers {
  std::vector<double> values;
  size_t used = 0;
  double Number() { return values.at(used++); }
};

inline uint32_t Bits(float value) { return std::bit_cast<uint32_t>(value); }
inline float FromBits(uint32_t bits) { return std::bit_cast<float>(bits); }

}  // namespace lumox::testing
