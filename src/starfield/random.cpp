#include "starfield/random.h"

#include <atomic>
#include <chrono>
#include <random>

namespace lumox {
namespace {

constexpr uint64_t kGolden = 0x9E3779B97F4A7C15ull;

uint64_t Mix(uint64_t z) {
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
  return z ^ (z >> 31);
}

uint64_t ProcessSeed() {
  std::random_device device;
  uint64_t seed = (uint64_t{device()} << 32) ^ device();
  return seed ^ static_cast<uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
}

std::atomic<uint64_t> g_created{0};

}  // namespace

// Each object's starting state is a bijective hash of a per-process seed and a creation count,
// so two objects never share a starting point, and their splitmix64 walks don't run into each
// other within the few hundred thousand draws a sweep can take.
Random::Random() {
  static const uint64_t process_seed = ProcessSeed();
  state_ = Mix(process_seed + g_created.fetch_add(1, std::memory_order_relaxed) * kGolden);
}

double Random::Number() {
  state_ += kGolden;
  return static_cast<double>(Mix(state_) >> 11) * 0x1.0p-53;
}

}  // namespace lumox
