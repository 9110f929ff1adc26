#include "support/gl_recorder.h"

namespace lumox::testing {
namespace {
GlRecorder* g_recorder = nullptr;
}

GlRecorder::GlRecorder(const StarField* field, size_t capacity) : field_(field) {
  calls_.reserve(capacity);
  g_recorder = this;
}

GlRecorder::~GlRecorder() { g_recorder = nullptr; }

void GlRecorder::Record(const char* name, double a, double b, double c, double d) {
  GlRecorder* r = g_recorder;
  GlCall& call = r->calls_.emplace_back();
  call.name.assign(name);  // short names fit the string's own buffer
  call.args = {a, b, c, d};
  call.camera_z = r->field_->CameraZ;
}

const GlApi& GlRecorder::Api() const {
  static const GlApi api{
      [](unsigned m) { Record("glMatrixMode", m); },
      [] { Record("glLoadIdentity"); },
      [](double a, double b, double c, double d) { Record("gluPerspective", a, b, c, d); },
      [](float a, float b, float c, float d) { Record("glClearColor", a, b, c, d); },
      [](unsigned m) { Record("glClear", m); },
      [](float s) { Record("glPointSize", s); },
      [](unsigned c) { Record("glEnable", c); },
      [](float x, float y, float z) { Record("glTranslatef", x, y, z); },
      [](float a, float x, float y, float z) { Record("glRotatef", a, x, y, z); },
      [](unsigned m) { Record("glBegin", m); },
      [](double r, double g, double b) { Record("glColor3d", r, g, b); },
      [](float x, float y, float z) { Record("glVertex3f", x, y, z); },
      [] { Record("glEnd"); },
  };
  return api;
}

const GlApi& NullGl() {
  static const GlApi api{
      [](unsigned) {}, [] {}, [](double, double, double, double) {}, [](float, float, float, float) {},
      [](unsigned) {}, [](float) {}, [](unsigned) {}, [](float, float, float) {},
      [](float, float, float, float) {}, [](unsigned) {}, [](double, double, double) {},
      [](float, float, float) {}, [] {},
  };
  return api;
}

}  // namespace lumox::testing
