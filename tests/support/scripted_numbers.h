#pragma once
#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <vector>

namespace lumox::testing {

// A source of N that gives exactly the values it was handed, and fails the test if asked for more.
class ScriptedNumbers {
 public:
  explicit ScriptedNumbers(std::vector<double> values) : values_(std::move(values)) {}
  double Number() {
    if (next_ >= values_.size()) {
      ADD_FAILURE() << "asked for N number " << next_ + 1 << " of " << values_.size();
      return 0.0;
    }
    return values_[next_++];
  }
  size_t Used() const { return next_; }

 private:
  std::vector<double> values_;
  size_t next_ = 0;
};

inline uint32_t Bits(float value) { return std::bit_cast<uint32_t>(value); }
inline float FromBits(uint32_t bits) { return std::bit_cast<float>(bits); }

}  // namespace lumox::testing
