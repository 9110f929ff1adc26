#pragma once
// What a first start gives on a screen of each width the tests run at, from the design's
// tables; 3840 holds its 57600 stars to the array's 50000. Shared by the UI and end-to-end tests.
#include <cstdint>

namespace lumox::testing {

struct ScreenDefaults {
  int width;
  uint32_t star_size_bits;
  int64_t star_max;
  int slider5;
  const char* file;
};

// The row for this width; null for a width the table has not.
inline const ScreenDefaults* DefaultsFor(int width) {
  static const ScreenDefaults rows[] = {
      {1024, 0x3F83126F, 15360, 10, "35\n0.0035\n170\n1.024\n15360\n"},
      {1280, 0x3FA3D70A, 19200, 12, "35\n0.0035\n170\n1.28\n19200\n"},
      {1440, 0x3FB851EC, 21600, 14, "35\n0.0035\n170\n1.44\n21600\n"},
      {1920, 0x3FF5C28F, 28800, 19, "35\n0.0035\n170\n1.92\n28800\n"},
      {2560, 0x4023D70A, 38400, 25, "35\n0.0035\n170\n2.56\n38400\n"},
      {3840, 0x4075C28F, 50000, 38, "35\n0.0035\n170\n3.84\n50000\n"},
  };
  for (const ScreenDefaults& row : rows)
    if (row.width == width) return &row;
  return nullptr;
}

}  // namespace lumox::testing
