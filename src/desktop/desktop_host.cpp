#include "desktop/desktop_host.h"

#include <algorithm>

namespace lumox {

DesktopHost::DesktopHost(DesktopModeOptions options, std::function<void(int, const std::string&)> ended)
    : options_(std::move(options)), ended_(std::move(ended)), core_(options_.role, options_.output) {
  clock_.start();
  due_.setSingleShot(true);
  due_.setTimerType(Qt::PreciseTimer);
  connect(&due_, &QTimer::timeout, this, [this] { Carry(core_.Tick(Now())); });
  if (options_.span) span_ = std::make_unique<Flight>();
}

DesktopHost::~DesktopHost() {
  while (!flights_.empty()) Land(flights_.begin()->first);
  backend_.reset();
}

int DesktopHost::Start(std::unique_ptr<DesktopBackend> backend, std::string& error) {
  backend_ = std::move(backend);
  if (!backend_->Connect(error)) return 1;
  const DesktopEffects effects = core_.Started(Now());
  for (const DesktopEffect& effect : effects) {
    if (effect.kind != DesktopEffect::kEnd) continue;
    error = effect.line;
    return effect.status;
  }
  Carry(effects);
  return core_.Ended() ? 1 : 0;
}

void DesktopHost::Signalled() { Carry(core_.Signal()); }

void DesktopHost::FollowSettings() {
  if (!options_.follow) return;
  if (span_) {
    if (span_off_) options_.follow(*span_, static_cast<int>(box_.width));
    return;
  }
  for (auto& [output, entry] : flights_)
    if (entry.width && !options_.follow(*entry.flight, entry.width)) return;  // one line for all
}

void DesktopHost::Hold(bool held) { Carry(core_.Held(held)); }

void DesktopHost::Carry(const DesktopEffects& effects) {
  for (const DesktopEffect& effect : effects) {
    const auto found = flights_.find(effect.output);
    Flight* flight = found == flights_.end() ? nullptr : found->second.flight.get();
    switch (effect.kind) {
      case DesktopEffect::kFly: {
        if (found != flights_.end()) break;
        std::unique_ptr<DrawTarget> surface = backend_->MakeSurface(effect.output);
        if (!surface) break;
        if (span_) {
          flights_[effect.output].surface = std::move(surface);
          Recut();
          break;
        }
        // It takes off once the surface says it is ready, never inside MakeSurface.
        Flying& entry = flights_[effect.output];
        entry.flight = std::make_unique<Flight>();
        entry.flight->SetTarget(surface.get());
        entry.surface = std::move(surface);
        break;
      }
      case DesktopEffect::kLand:
        Land(effect.output);
        break;
      case DesktopEffect::kPause:
        if (span_) SteerSpan();
        if (flight) flight->Pause();
        break;
      case DesktopEffect::kResume:
        if (span_) SteerSpan();
        if (flight) flight->Resume();
        break;
      case DesktopEffect::kGrab:
        Carry(core_.Grabbed(found != flights_.end() && backend_->Grab(effect.output), Now()));
        break;
      case DesktopEffect::kEnd:
        due_.stop();
        // The flights go with the host, once the loop has ended: this may be inside one's own event.
        ended_(effect.status, effect.line);
        return;
    }
  }
  Schedule();
}

void DesktopHost::Land(uint32_t output) {
  const auto found = flights_.find(output);
  if (found == flights_.end()) return;
  Flying gone = std::move(found->second);
  flights_.erase(found);
  if (span_) {
    Recut();  // before its surface goes
    SteerSpan();
  }
  gone.flight.reset();
  gone.surface.reset();
}

void DesktopHost::Recut() {
  std::map<uint32_t, ViewRect> places;
  std::vector<ViewRect> rects;
  for (const auto& [output, entry] : flights_)
    if (const std::optional<ViewRect> place = backend_->Place(output)) rects.push_back(places[output] = *place);
  box_ = BoundingBox(rects);
  std::vector<Flight::View> views;
  for (const auto& [output, place] : places)
    if (const Flying& entry = flights_.at(output); entry.width) views.push_back({entry.surface.get(), place, box_});
  span_->SetViews(std::move(views));
}

void DesktopHost::SteerSpan() {
  if (std::all_of(flights_.begin(), flights_.end(), [this](const auto& entry) { return core_.Still(entry.first); }))
    span_->Pause();
  else
    span_->Resume();
}

void DesktopHost::Schedule() {
  const int64_t due = core_.NextDue();
  if (due < 0) {
    due_.stop();
    return;
  }
  due_.start(static_cast<int>(std::max<int64_t>(due - Now(), 0)));
}

void DesktopHost::OutputAdded(uint32_t output) { Carry(core_.Added(output)); }
void DesktopHost::OutputDescribed(uint32_t output, const std::string& name) {
  Carry(core_.Described(output, name));
  if (span_ && flights_.count(output)) Recut();  // it may have moved
}
void DesktopHost::OutputRemoved(uint32_t output) { Carry(core_.Removed(output)); }
void DesktopHost::OutputReshaped(uint32_t output) { Carry(core_.Reshaped(output)); }

void DesktopHost::SurfaceReady(uint32_t output, int width) {
  const auto found = flights_.find(output);
  if (found == flights_.end()) return;
  found->second.width = width;
  if (span_) {
    Recut();
    if (!span_off_) span_->TakeOff(options_.starting(static_cast<int>(box_.width)));
    span_off_ = true;
    SteerSpan();
    return;
  }
  found->second.flight->TakeOff(options_.starting(width));
  if (core_.Still(output)) found->second.flight->Pause();
}

void DesktopHost::SurfaceRedraw(uint32_t output) {
  const auto found = flights_.find(output);
  if (found == flights_.end()) return;
  Flight* flight = span_ ? span_.get() : found->second.flight.get();
  if (flight->Timer1()->isActive()) flight->Render();
}

void DesktopHost::SurfaceCovered(uint32_t output, bool covered) { Carry(core_.Covered(output, covered)); }

void DesktopHost::SurfaceClosed(uint32_t output) {
  // Not from inside the closed surface's own event: its flight goes once that has returned.
  QMetaObject::invokeMethod(this, [this, output] { Carry(core_.Closed(output, Now())); }, Qt::QueuedConnection);
}

void DesktopHost::SurfaceFailed(const std::string& line) {
  QMetaObject::invokeMethod(this, [this, line] { Carry(core_.Failed(line)); }, Qt::QueuedConnection);
}

void DesktopHost::UserInput(const InputEvent& event) { Carry(core_.Input(event)); }
void DesktopHost::ConnectionLost(const std::string& display) { Carry(core_.Lost(display)); }

std::vector<uint32_t> DesktopHost::FlyingOutputs() const {
  std::vector<uint32_t> outputs;
  for (const auto& [output, entry] : flights_) outputs.push_back(output);
  return outputs;
}

const Flight* DesktopHost::FlightOn(uint32_t output) const {
  const auto found = flights_.find(output);
  if (found == flights_.end()) return nullptr;
  return span_ ? span_.get() : found->second.flight.get();
}

}  // namespace lumox
