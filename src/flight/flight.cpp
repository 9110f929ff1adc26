#include "flight/flight.h"

#include <GL/gl.h>

#include "flight/flight_options.h"
#include "flight/frame.h"
#include "flight/gl_api.h"

namespace lumox {

Flight::Flight() : timer2_([this] { Timer2_Action(); }) {
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

void Flight::Follow(const FollowStep& step) {
  if (step.kind == FollowStep::kKeep) return;
  ApplySettings(step.settings);
  // A paused flight (or one not yet off) sets its period as it resumes (or takes off).
  if (step.new_period && timer1_.isActive()) ResetTimer2Period();
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

void Flight::ResetTimer2Period() {
  timer2_.SetPeriod(Timer2Period(StarMax, Speed));
  timer2_.Arm();  // a new StarMax may bring in stars the camera has passed
}

Flight::~Flight() { timer1_.stop(); }

void Flight::Pause() {
  // A flight not yet off the ground (or paused already) has nothing to stop.
  if (!timer1_.isActive()) return;
  // Nothing wakes the process while the flight is paused: no shading, no sweep.
  timer1_.stop();
  timer2_.Stop();
  paused_ = true;
}

void Flight::Timer1_Action() {
  if (target_ && !target_->TakesFrames()) {
    Pause();
    return;
  }
  ShadeStars(*this);
  Render();
}

void Flight::Resume() {
  if (!paused_) return;
  paused_ = false;
  ResetTimer2Period();
  timer1_.start();
}

void Flight::Timer2_Action() { lumox::Timer2_Action(*this); }

bool Flight::Surface_Render() {
  const double ratio = target_ ? target_->PixelRatio() : 1.0;
  if (FpsShown()) return RenderWithReadout(*this, MesaGl(), fps_readout_.Frame(ratio), MesaOverlayGl(), ratio);
  return lumox::Surface_Render(*this, MesaGl(), ratio);
}

bool Flight::Begin() {
  if (!target_ || !target_->MakeCurrent()) return false;
  glViewport(0, 0, target_->DeviceWidth(), target_->DeviceHeight());
  return true;
}

void Flight::Render() {
  if (!Begin()) return;
  Surface_Render();
  timer2_.Arm();  // the camera moved: a sweep is due
  target_->Swap();
}

QImage Flight::RenderAndCapture() {
  if (!Begin()) return {};
  Surface_Render();
  timer2_.Arm();
  QImage image(target_->DeviceWidth(), target_->DeviceHeight(), QImage::Format_RGBA8888);
  glReadBuffer(GL_BACK);
  glPixelStorei(GL_PACK_ALIGNMENT, 4);
  glReadPixels(0, 0, image.width(), image.height(), GL_RGBA, GL_UNSIGNED_BYTE, image.bits());
  target_->Swap();
  return image.mirrored();
}

void Flight::Event_Paint() { Render(); }

}  // namespace lumox
