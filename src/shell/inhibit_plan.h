#pragma once
// When to ask the desktop to hold off the screensaver and when to let go, as a pure state
// machine: the flight's shown state and the answers to our requests in, one request out.
// Requests are answered later (the bus is never waited on), so the flight can be minimised or
// restored while one is under way; the plan keeps at most one request in flight.
#include <optional>

namespace lumox {

// On X11, how often the X server's saver and XScreenSaver are told the user is still there while
// the flight is shown: well inside the shortest saver timeout anyone sets (a minute), at a cost
// of two round trips to the X server.
inline constexpr int kIdleNudgeMs = 10000;

// The services that can hold off idleness, in the order they are tried.
enum class InhibitRoute {
  ScreenSaver,         // org.freedesktop.ScreenSaver at /org/freedesktop/ScreenSaver
  ScreenSaverOldPath,  // the same service at /ScreenSaver, where older desktops put it
  Portal,              // org.freedesktop.portal.Inhibit, flag 8 (idle)
};

enum class InhibitRefusal {
  NoService,  // nobody owns the name: the other path of the same service is not worth a try
  Other,      // the service is there but the call failed (no such object, an error, no answer)
};

struct InhibitStep {
  enum class Kind {
    Ask,      // Inhibit on `route`
    Release,  // let go of what `route` granted (UnInhibit with its cookie, or Close its request)
  };
  Kind kind;
  InhibitRoute route;
  friend bool operator==(const InhibitStep&, const InhibitStep&) = default;
};

class InhibitPlan {
 public:
  // The flight became shown (true) or minimised or closed (false).
  std::optional<InhibitStep> SetShown(bool shown);
  // The answer to the last Ask: granted, or refused for this reason.
  std::optional<InhibitStep> Granted();
  std::optional<InhibitStep> Refused(InhibitRefusal why);

 private:
  enum class Phase { Free, Asking, Held };
  std::optional<InhibitStep> Ask(InhibitRoute route);

  Phase phase_ = Phase::Free;
  bool shown_ = false;
  InhibitRoute route_ = InhibitRoute::ScreenSaver;
};

}  // namespace lumox
