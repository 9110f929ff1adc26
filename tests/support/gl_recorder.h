#pragma once
// A GL table that records each call, its arguments and the camera's z at the moment of the call,
// into storage reserved up front, so recording a frame allocates nothing.
#include <array>
#include <string_view>
#include <vector>

#include "display/fps_overlay.h"
#include "display/gl_api.h"
#include "starfield/star_field.h"

namespace lumox::testing {

struct GlCall {
  std::string_view name;
  std::array<double, 4> args{};
  float camera_z = 0.0f;
  friend bool operator==(const GlCall& a, const GlCall& b) { return a.name == b.name && a.args == b.args; }
};

class GlRecorder {
 public:
  explicit GlRecorder(const StarField* field);
  const GlApi& Api() const;
  // The readout's calls, recorded into the same list.
  const OverlayGlApi& OverlayApi() const;
  const std::vector<GlCall>& Calls() const { return calls_; }
  void Clear() { calls_.clear(); }

 private:
  static void Record(std::string_view name, double a = 0, double b = 0, double c = 0, double d = 0);
  const StarField* field_;
  std::vector<GlCall> calls_;
};

}  // namespace lumox::testing
