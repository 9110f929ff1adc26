#include "flight/flight.h"

#include <GL/gl.h>

#include <algorithm>
#include <cmath>

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
  camera_ = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
  mover_ = nullptr;
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

bool Flight::TakesFrames() const {
  if (views_.empty()) return !target_ || target_->TakesFrames();
  return std::any_of(views_.begin(), views_.end(), [](const View& view) { return view.target->TakesFrames(); });
}

void Flight::Timer1_Action() {
  if (!TakesFrames()) {
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

bool Flight::Surface_Render() { return Draw(target_, nullptr); }

bool Flight::Draw(const DrawTarget* target, const Projection* cut) {
  const double ratio = target ? target->PixelRatio() : 1.0;
  if (FpsShown()) return RenderWithReadout(*this, MesaGl(), fps_readout_.Frame(ratio), MesaOverlayGl(), ratio, cut);
  return lumox::Surface_Render(*this, MesaGl(), ratio, cut);
}

bool Flight::Begin(DrawTarget* target, int left, int below, int wider, int taller) {
  if (!target || !target->MakeCurrent()) return false;
  glViewport(-left, -below, target->DeviceWidth() + wider, target->DeviceHeight() + taller);
  return true;
}

void Flight::SetViews(std::vector<View> views) {
  views_ = std::move(views);
  mover_ = nullptr;  // a view gone may leave its address to a new one
}

void Flight::RenderViews() {
  bool moved = false;
  for (const View& view : views_) {
    const ViewRect& part = view.part;
    const int width = view.target->DeviceWidth(), height = view.target->DeviceHeight();
    if (part.width <= 0 || part.height <= 0 || width <= 0 || height <= 0) continue;
    // Device pixels to a unit of the layout, each way: the pixel ratio where outputs are laid out
    // in logical pixels, 1 where in device pixels (GNOME's physical layout). The margin holds a
    // star of the target's own size in those units.
    const double across = width / static_cast<double>(part.width), down = height / static_cast<double>(part.height);
    const double star = StarSize * view.target->PixelRatio() / std::min(across, down);
    const ViewRect grown = GrownInside(part, view.whole, EdgeMargin(static_cast<float>(star)));
    const auto device = [](int64_t units, double per) {
      return static_cast<int>(std::lround(static_cast<double>(units) * per));
    };
    // A covered output waits; the others go on.
    if (!view.target->TakesFrames() ||
        !Begin(view.target, device(part.x - grown.x, across),
               device(grown.y + grown.height - part.y - part.height, down), device(grown.width - part.width, across),
               device(grown.height - part.height, down)))
      continue;
    const Projection cut = CutPerspective(grown, view.whole);
    if (moved) {
      DrawField(*this, MesaGl(), view.target->PixelRatio(), cut, camera_.data());
    } else {
      // The camera is the matrix of the context that moves it: one that takes over is given it.
      if (view.target != mover_) {
        glMatrixMode(GL_MODELVIEW);
        glLoadMatrixf(camera_.data());
      }
      Draw(view.target, &cut);
      MesaGl().GetModelview(camera_.data());
      mover_ = view.target;
      moved = true;
      timer2_.Arm();
    }
    view.target->Swap();
  }
}

void Flight::Render() {
  if (!views_.empty()) return RenderViews();
  if (!Begin(target_)) return;
  Surface_Render();
  timer2_.Arm();  // the camera moved: a sweep is due
  target_->Swap();
}

QImage Flight::RenderAndCapture() {
  if (!Begin(target_)) return {};
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
