#include "display/flight.h"

#include "display/flight_options.h"
#include "display/frame.h"
#include "display/gl_api.h"

namespace lumox {

Flight::Flight() : timer2_([this] { Timer2_Action(); }) {
  surface_ = new OpenGLSurface([this] { return Surface_Render(); }, [this] { Event_Paint(); });
  timer1_.setTimerType(Qt::PreciseTimer);
  timer1_.setInterval(30);
  QObject::connect(&timer1_, &QTimer::timeout, [this] { Timer1_Action(); });
}

void Flight::ApplySettings(const Settings& s) {
  Rotn = s.Rotn;
  Speed = s.Speed;
  ColourSpread = s.ColourSpread;
  StarSize = s.StarSize;
  StarMax = s.StarMax;
}

Settings Flight::CurrentSettings() const {
  Settings s;
  s.Rotn = Rotn;
  s.Speed = Speed;
  s.ColourSpread = ColourSpread;
  s.StarSize = StarSize;
  s.StarMax = StarMax;
  return s;
}

void Flight::TakeOff(const Settings& settings) {
  CameraZ = 0.0f;
  Frames = 0;
  Turned = 0.0;
  ApplySettings(settings);
  StarMax = HoldStarMax(StarMax);
  ResetTimer2Period();
  GenerateStars(*this);
  Event_Paint();
  timer1_.start();
}

void Flight::ResetTimer2Period() { timer2_.SetPeriod(Timer2Period(StarMax, Speed)); }

void Flight::Timer1_Action() {
  ShadeStars(*this);
  surface_->Render();
}

void Flight::Timer2_Action() { lumox::Timer2_Action(*this); }

bool Flight::Surface_Render() {
  const double ratio = surface_->devicePixelRatio();
  if (FpsShown()) return RenderWithReadout(*this, MesaGl(), fps_readout_.Frame(), MesaOverlayGl(), ratio);
  return lumox::Surface_Render(*this, MesaGl(), ratio);
}

void Flight::Event_Paint() { surface_->Render(); }

}  // namespace lumox
