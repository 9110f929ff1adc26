#pragma once
#include <algorithm>

namespace lumox {

// Where a window's frame starts along one axis so that it lies within the screen's free area,
// moved as little as possible; a frame longer than the area starts where the area starts, so the
// title bar stays reachable.
inline int FitSpan(int start, int length, int area_start, int area_length) {
  if (start + length > area_start + area_length) start = area_start + area_length - length;
  return std::max(start, area_start);
}

}  // namespace lumox
