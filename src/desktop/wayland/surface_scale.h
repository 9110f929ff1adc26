#pragma once
// A layer surface's scale in 120ths, the unit of the compositor's preferred fractional scale, so
// a whole buffer scale and a fractional one are one number: the buffer's size and the flight's
// pixel ratio follow from it. No Wayland here, so it is tested alone.
#include <cstdint>

namespace lumox {

inline constexpr uint32_t kScaleOne = 120;

// A whole buffer scale (the output's wl_output scale) in 120ths; under 1 counts as 1.
uint32_t WholeScale(int factor);
// The buffer's length in pixels for `logical` surface pixels at `scale` 120ths: the product
// rounded half away from zero, as the compositor rounds it for the surface it shows.
int BufferLength(int logical, uint32_t scale);
// Device pixels per logical pixel, which the flight sizes its stars and readout by.
double ScaleRatio(uint32_t scale);

}  // namespace lumox
