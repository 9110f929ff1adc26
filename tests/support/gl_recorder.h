#pragma once
// A GL table that records each call with its arguments, and the camera's z at the moment of the
// call, into storage reserved up front (so recording a frame allocates nothing).
#include <array>
#include <string>
#include <vector>

#include "display/gl_api.h"
#include "starfield/star_field.h"

namespace lumox::testing {

struct GlCall {
  std::string name;
  std::array<double, 4> args{};
  float camera_z = 0.0f;
  friend bool operator==(const GlCall& a, const GlCall& b) { return a.name == b.name && a.args == b.args; }
};

class GlRecorder {
 public:
  explicit GlRecorder(const StarField* field, size_t capacity = 200000);
  ~GlRecorder();
  const GlApi& Api() const;
  const std::vector<GlCall>& Calls() const { return calls_; }
  void Clear() { calls_.clear(); }

  static void Record(const char* name, double a = 0, double b = 0, double c = 0, double d = 0);

 private:
  const StarField* field_;
  std::vector<GlCall> calls_;
};

// No-op GL: what a frame costs without a driver.
const GlApi& NullGl();

}  // namespace lumox::testing
