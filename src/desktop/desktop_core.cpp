#include "desktop/desktop_core.h"

#include <algorithm>
#include <cctype>
#include <cmath>

namespace lumox {

void OutputPlan::Added(uint32_t output) { outputs_.try_emplace(output, Output{next_order_++, {}}); }

std::vector<OutputChange> OutputPlan::Described(uint32_t output, const std::string& name) {
  const auto found = outputs_.find(output);
  if (found == outputs_.end()) return {};
  Output& o = found->second;
  o.name = name;
  o.described = true;
  if (o.flying == Wanted(o)) return {};
  o.flying = !o.flying;  // a renamed output may leave or join the wanted one
  return {{o.flying ? OutputChange::kFly : OutputChange::kLand, output}};
}

std::vector<OutputChange> OutputPlan::Removed(uint32_t output) {
  const auto found = outputs_.find(output);
  if (found == outputs_.end()) return {};
  const bool flying = found->second.flying;
  outputs_.erase(found);
  if (!flying) return {};
  return {{OutputChange::kLand, output}};
}

std::vector<uint32_t> OutputPlan::FlyingOutputs() const {
  std::vector<std::pair<uint64_t, uint32_t>> flying;
  for (const auto& [id, o] : outputs_)
    if (o.flying) flying.push_back({o.order, id});
  std::sort(flying.begin(), flying.end());
  std::vector<uint32_t> outputs;
  for (const auto& [order, id] : flying) outputs.push_back(id);
  return outputs;
}

bool OutputPlan::Flying(uint32_t output) const {
  const auto found = outputs_.find(output);
  return found != outputs_.end() && found->second.flying;
}

std::vector<std::string> OutputPlan::Names() const {
  std::vector<const Output*> described;
  for (const auto& [id, o] : outputs_)
    if (o.described) described.push_back(&o);
  std::sort(described.begin(), described.end(), [](const Output* a, const Output* b) { return a->order < b->order; });
  std::vector<std::string> names;
  for (const Output* o : described) names.push_back(o->name);
  return names;
}

bool OutputPlan::WantedPresent() const {
  return std::any_of(outputs_.begin(), outputs_.end(), [this](const auto& entry) {
    return entry.second.described && Wanted(entry.second);
  });
}

std::string NoSuchOutput(const std::string& wanted, const std::vector<std::string>& names) {
  std::string listed;
  for (const std::string& name : names) listed += (listed.empty() ? "" : ", ") + name;
  if (listed.empty()) listed = "none";
  return "No output '" + wanted + "'; the outputs are " + listed + ".";
}

bool CoveredBy(const ViewRect& area, const std::vector<ViewRect>& windows) {
  if (area.width <= 0 || area.height <= 0) return false;
  // The windows' edges cut the area into cells, each wholly inside a window or wholly outside all.
  std::vector<int64_t> xs{area.x, area.x + area.width}, ys{area.y, area.y + area.height};
  for (const ViewRect& w : windows) {
    for (const int64_t x : {w.x, w.x + w.width})
      if (x > area.x && x < area.x + area.width) xs.push_back(x);
    for (const int64_t y : {w.y, w.y + w.height})
      if (y > area.y && y < area.y + area.height) ys.push_back(y);
  }
  std::sort(xs.begin(), xs.end());
  std::sort(ys.begin(), ys.end());
  for (size_t i = 0; i + 1 < xs.size(); ++i)
    for (size_t j = 0; j + 1 < ys.size(); ++j)
      if (std::none_of(windows.begin(), windows.end(), [&](const ViewRect& w) {
            return w.x <= xs[i] && w.x + w.width >= xs[i + 1] && w.y <= ys[j] && w.y + w.height >= ys[j + 1];
          }))
        return false;
  return true;
}

namespace {
std::vector<StackedWindow>::const_iterator Find(const std::vector<StackedWindow>& stack, uint32_t id) {
  return std::find_if(stack.begin(), stack.end(), [&](const StackedWindow& w) { return w.id == id; });
}
}  // namespace

bool Hidden(const std::vector<StackedWindow>& stack, uint32_t id) {
  const auto self = Find(stack, id);
  if (self == stack.end()) return false;
  std::vector<ViewRect> above;
  for (auto w = self + 1; w != stack.end(); ++w) above.push_back(w->rect);
  return CoveredBy(self->rect, above);
}

bool Overlapped(const std::vector<StackedWindow>& stack, uint32_t id, const std::vector<uint32_t>& ours) {
  const auto self = Find(stack, id);
  if (self == stack.end()) return false;
  const ViewRect& a = self->rect;
  return std::any_of(self + 1, stack.end(), [&](const StackedWindow& w) {
    const ViewRect& b = w.rect;
    return std::find(ours.begin(), ours.end(), w.id) == ours.end() && b.x < a.x + a.width && a.x < b.x + b.width &&
           b.y < a.y + a.height && a.y < b.y + b.height;
  });
}

bool WakeWatch::Pointer(uint32_t output, double x, double y) {
  if (!seen_) {
    seen_ = true;
    output_ = output;
    x_ = x;
    y_ = y;
    return false;
  }
  return output != output_ || std::hypot(x - x_, y - y_) > kDistance;
}

namespace desktop_line {
std::string NoDisplay() {
  return "Neither WAYLAND_DISPLAY nor DISPLAY is set, and '--wallpaper' and '--saver' need a Wayland compositor "
         "with the layer shell or an X display.";
}
std::string DisplayGone(const std::string& display) {
  std::string line = display + " has gone away.";
  line[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(line[0])));
  return line;
}
std::string Unreachable(const std::string& display) {
  std::string line = display + " can't be reached.";
  line[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(line[0])));
  return line;
}
std::string NoLayerShell(bool gnome) {
  if (gnome)
    return "GNOME Shell has no layer shell; Lumox is its wallpaper through Lumox's Shell extension, turned on with "
           "'gnome-extensions enable lumox-wallpaper@lumox'.";
  return "This Wayland compositor has no layer shell (zwlr_layer_shell_v1), so Lumox can't be its wallpaper or "
         "screensaver.";
}
std::string NoEgl() { return "Can't set up OpenGL through EGL on this Wayland display."; }
std::string SurfaceFailed(const std::string& output) {
  return "Can't make an OpenGL surface to fly on output '" + output + "'.";
}
std::string GrabTaken() {
  return "Another program holds the keyboard or the pointer, and a screensaver that can't take them could not "
         "be ended, so it ends now.";
}
}  // namespace desktop_line

DesktopEffects DesktopCore::End(int status, const std::string& line) {
  if (ended_) return {};
  ended_ = true;
  return {{DesktopEffect::kEnd, 0, status, line}};
}

DesktopEffects DesktopCore::Carry(const std::vector<OutputChange>& changes) {
  DesktopEffects effects;
  for (const OutputChange& change : changes) {
    // A surface waiting to be made anew has landed already.
    if (remake_at_.erase(change.output) && change.kind == OutputChange::kLand) continue;
    if (change.kind == OutputChange::kLand) Landed(change.output);
    // Before the start the flights wait: the backend can't draw yet.
    if (started_)
      effects.push_back({change.kind == OutputChange::kFly ? DesktopEffect::kFly : DesktopEffect::kLand, change.output});
  }
  GrabIfLost(effects, now_);
  return effects;
}

void DesktopCore::Landed(uint32_t output) {
  covered_.erase(output);
  if (output != grabbing_) return;
  grabbing_ = 0;
  grab_held_ = false;
  grab_since_ = grab_retry_at_ = -1;
}

void DesktopCore::GrabIfLost(DesktopEffects& effects, int64_t now) {
  if (!Saver() || !started_ || ended_ || grabbing_) return;
  // The first output whose surface is there takes the keyboard and the pointer.
  for (uint32_t output : plan_.FlyingOutputs()) {
    if (remake_at_.count(output)) continue;
    grabbing_ = output;
    grab_held_ = false;
    grab_since_ = now;
    grab_retry_at_ = -1;
    effects.push_back({DesktopEffect::kGrab, output});
    return;
  }
}

DesktopEffects DesktopCore::Started(int64_t now) {
  now_ = now;
  started_ = true;
  if (!plan_.Wanted().empty() && !plan_.WantedPresent())
    return End(2, NoSuchOutput(plan_.Wanted(), plan_.Names()));
  DesktopEffects effects;
  for (uint32_t output : plan_.FlyingOutputs()) effects.push_back({DesktopEffect::kFly, output});
  GrabIfLost(effects, now);
  return effects;
}

DesktopEffects DesktopCore::Added(uint32_t output) {
  plan_.Added(output);
  return {};
}

DesktopEffects DesktopCore::Described(uint32_t output, const std::string& name) {
  return ended_ ? DesktopEffects{} : Carry(plan_.Described(output, name));
}

DesktopEffects DesktopCore::Removed(uint32_t output) {
  return ended_ ? DesktopEffects{} : Carry(plan_.Removed(output));
}

DesktopEffects DesktopCore::Reshaped(uint32_t output) {
  if (ended_ || !plan_.Flying(output) || remake_at_.count(output)) return {};
  return Carry({{OutputChange::kLand, output}, {OutputChange::kFly, output}});
}

DesktopEffects DesktopCore::Closed(uint32_t output, int64_t now) {
  now_ = now;
  if (ended_ || !plan_.Flying(output) || remake_at_.count(output)) return {};
  Landed(output);
  remake_at_[output] = now + kRemakePause;
  DesktopEffects effects{{DesktopEffect::kLand, output}};
  GrabIfLost(effects, now);  // another surface holds the keyboard meanwhile
  return effects;
}

DesktopEffects DesktopCore::Failed(const std::string& line) { return End(1, line); }

DesktopEffects DesktopCore::Covered(uint32_t output, bool covered) {
  if (ended_ || !plan_.Flying(output) || remake_at_.count(output)) return {};
  if (covered) {
    // Held, it stands still already.
    const bool was_still = Still(output);
    covered_.insert(output);
    if (was_still) return {};
    return {{DesktopEffect::kPause, output}};
  }
  covered_.erase(output);
  if (Still(output)) return {};
  return {{DesktopEffect::kResume, output}};
}

DesktopEffects DesktopCore::Held(bool held) {
  if (ended_ || held == held_) return {};
  held_ = held;
  DesktopEffects effects;
  if (!started_) return effects;
  for (uint32_t output : plan_.FlyingOutputs()) {
    // A surface waiting to be made anew has no flight; a covered one stands still either way.
    if (remake_at_.count(output) || covered_.count(output)) continue;
    effects.push_back({held ? DesktopEffect::kPause : DesktopEffect::kResume, output});
  }
  return effects;
}

DesktopEffects DesktopCore::Input(const InputEvent& event) {
  if (!Saver()) return {};
  if (event.kind == InputKind::kMotion && !wake_.Pointer(event.output, event.x, event.y)) return {};
  return End(0, "");
}

DesktopEffects DesktopCore::Signal() { return End(0, ""); }

DesktopEffects DesktopCore::Grabbed(bool taken, int64_t now) {
  now_ = now;
  if (ended_ || !grabbing_) return {};
  if (taken) {
    grab_held_ = true;
    grab_since_ = grab_retry_at_ = -1;
    return {};
  }
  if (now - grab_since_ >= kGrabPatience) return End(1, desktop_line::GrabTaken());
  grab_retry_at_ = now + kGrabRetry;
  return {};
}

DesktopEffects DesktopCore::Lost(const std::string& display) { return End(1, desktop_line::DisplayGone(display)); }

DesktopEffects DesktopCore::Tick(int64_t now) {
  now_ = now;
  if (ended_) return {};
  std::vector<OutputChange> due;
  for (const auto& [output, at] : remake_at_)
    if (at <= now) due.push_back({OutputChange::kFly, output});
  DesktopEffects effects = Carry(due);
  if (grabbing_ && !grab_held_ && grab_retry_at_ >= 0 && grab_retry_at_ <= now) {
    grab_retry_at_ = -1;
    effects.push_back({DesktopEffect::kGrab, grabbing_});
  }
  return effects;
}

int64_t DesktopCore::NextDue() const {
  if (ended_) return -1;
  int64_t due = grabbing_ && !grab_held_ ? grab_retry_at_ : -1;
  for (const auto& [output, at] : remake_at_)
    if (due < 0 || at < due) due = at;
  return due;
}

}  // namespace lumox
