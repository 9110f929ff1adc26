#pragma once
#include <cstdint>

namespace lumox {

// One star. The fields keep their order and widths; a new record is all zeros.
// size, colour, dx and dy are carried but never used: stars don't drift and share one size.
struct StarData {
  float x = 0.0f;
  float y = 0.0f;
  float z = 0.0f;
  int64_t size = 0;
  uint32_t colour = 0;
  float red = 0.0f;
  float green = 0.0f;
  float blue = 0.0f;
  float brightness = 0.0f;
  float dx = 0.0f;
  float dy = 0.0f;
  float cbrightness = 0.0f;
  float cred = 0.0f;
  float cgreen = 0.0f;
  float cblue = 0.0f;
};

}  // namespace lumox
