#pragma once
#include <cstdint>

namespace lumox {

// The star field's source of N: a double in [0, 1). Creating one is a few instructions, and
// every new object starts a sequence of its own, so the sweep can make one per tick.
class Random {
 public:
  Random();
  double Number();

 private:
  uint64_t state_;
};

}  // namespace lumox
