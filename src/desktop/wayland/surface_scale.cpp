#include "desktop/wayland/surface_scale.h"

#include <algorithm>

namespace lumox {

uint32_t WholeScale(int factor) { return static_cast<uint32_t>(std::max(factor, 1)) * kScaleOne; }

int BufferLength(int logical, uint32_t scale) {
  // In integers: a double's product could fall a hair short of the half that rounds up.
  return static_cast<int>((static_cast<int64_t>(logical) * scale + kScaleOne / 2) / kScaleOne);
}

double ScaleRatio(uint32_t scale) { return static_cast<double>(scale) / kScaleOne; }

}  // namespace lumox
