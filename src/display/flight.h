#pragma once
#include <QTimer>

#include "display/fps_readout.h"
#include "display/opengl_surface.h"
#include "display/sweep_timer.h"
#include "starfield/star_field.h"

namespace lumox {

// The flight itself: the stars and their five settings, the GL surface, Timer1 (shade and draw
// a frame) and Timer2 (recycle the passed stars), and the frame with its readout. The display
// window and the embedded screensaver both host one; the host decides where the surface goes
// and owns it from then on.
class Flight : public StarField {
 public:
  Flight();
  Flight(const Flight&) = delete;
  Flight& operator=(const Flight&) = delete;
  virtual ~Flight() = default;

  OpenGLSurface* Surface() const { return surface_; }
  QTimer* Timer1() { return &timer1_; }
  SweepTimer* Timer2() { return &timer2_; }

  void Timer1_Action();
  void Timer2_Action();
  bool Surface_Render();
  void Event_Paint();

  // Timer2's period from the present StarMax and Speed.
  void ResetTimer2Period();
  Settings CurrentSettings() const;
  void ApplySettings(const Settings& settings);

  // Takes off with `settings`: CameraZ back to 0, the stars made anew, the first frame drawn and
  // both timers running.
  void TakeOff(const Settings& settings);

 private:
  OpenGLSurface* surface_ = nullptr;
  QTimer timer1_;
  SweepTimer timer2_;
  FpsReadout fps_readout_;
};

}  // namespace lumox
