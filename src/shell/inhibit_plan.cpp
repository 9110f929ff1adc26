#include "shell/inhibit_plan.h"

namespace lumox {

std::optional<InhibitStep> InhibitPlan::Ask(InhibitRoute route) {
  phase_ = Phase::Asking;
  route_ = route;
  return InhibitStep{InhibitStep::Kind::Ask, route};
}

std::optional<InhibitStep> InhibitPlan::SetShown(bool shown) {
  shown_ = shown;
  if (shown && phase_ == Phase::Free) return Ask(InhibitRoute::ScreenSaver);
  if (!shown && phase_ == Phase::Held) {
    phase_ = Phase::Free;
    return InhibitStep{InhibitStep::Kind::Release, route_};
  }
  return std::nullopt;  // already held or asked for; or nothing held; or the answer will settle it
}

std::optional<InhibitStep> InhibitPlan::Granted() {
  if (phase_ != Phase::Asking) return std::nullopt;
  if (shown_) {
    phase_ = Phase::Held;
    return std::nullopt;
  }
  phase_ = Phase::Free;  // minimised while we asked: give it back at once
  return InhibitStep{InhibitStep::Kind::Release, route_};
}

std::optional<InhibitStep> InhibitPlan::Refused(InhibitRefusal why) {
  if (phase_ != Phase::Asking) return std::nullopt;
  phase_ = Phase::Free;
  if (!shown_) return std::nullopt;
  switch (route_) {
    case InhibitRoute::ScreenSaver:
      return Ask(why == InhibitRefusal::NoService ? InhibitRoute::Portal : InhibitRoute::ScreenSaverOldPath);
    case InhibitRoute::ScreenSaverOldPath: return Ask(InhibitRoute::Portal);
    case InhibitRoute::Portal: break;
  }
  return std::nullopt;  // nothing left to try until the flight is shown again
}

}  // namespace lumox
