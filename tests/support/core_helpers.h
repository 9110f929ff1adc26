#pragma once
// What the pure tests share: the bits of a single or a double, and a set of keys held down.
#include <bit>
#include <cstdint>
#include <initializer_list>

#include "flight/display_keys.h"

namespace lumox {
namespace {

inline uint32_t Bits(float value) { return std::bit_cast<uint32_t>(value); }
inline float FromBits(uint32_t bits) { return std::bit_cast<float>(bits); }
inline uint64_t Bits(double value) { return std::bit_cast<uint64_t>(value); }

inline KeySet Keys(std::initializer_list<int> codes) { KeySet k; for (int c : codes) k.set(c); return k; }

constexpr uint32_t kFloorBits = 0x3951B717, kCeilingBits = 0x3DCCCCCD;  // the singles nearest 0.0002 and 0.1

}  // namespace
}  // namespace lumox
