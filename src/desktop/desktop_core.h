#pragma once
// The desktop modes' logic, written once for every platform: which outputs fly, what ends the
// saver, what a covered output does, and how the process ends. Pure: a backend feeds it what the
// display server says, with the time, and carries out the effects it gives.
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "desktop/desktop_mode.h"
#include "flight/view_cut.h"

namespace lumox {

struct OutputChange {
  enum Kind { kFly, kLand } kind;
  uint32_t output;
  bool operator==(const OutputChange&) const = default;
};

class OutputPlan {
 public:
  // `wanted`: the one output to fly on, by name; empty for all of them.
  explicit OutputPlan(std::string wanted = {}) : wanted_(std::move(wanted)) {}

  // An output was announced; it gets no flight before it is described.
  void Added(uint32_t output);
  // The output's description is complete (or changed): its name is known now.
  std::vector<OutputChange> Described(uint32_t output, const std::string& name);
  // The output went away (unplugged or disabled): its flight, if any, lands. The others go on.
  std::vector<OutputChange> Removed(uint32_t output);

  bool Flying(uint32_t output) const;
  // The outputs with a flight, in the order they came.
  std::vector<uint32_t> FlyingOutputs() const;
  const std::string& Wanted() const { return wanted_; }
  // The described outputs' names, in the order they came.
  std::vector<std::string> Names() const;
  // Whether the wanted output (or, with none wanted, any output) is there.
  bool WantedPresent() const;

 private:
  struct Output {
    uint64_t order;
    std::string name;
    bool described = false;
    bool flying = false;
  };
  bool Wanted(const Output& output) const { return wanted_.empty() || output.name == wanted_; }
  std::string wanted_;
  std::map<uint32_t, Output> outputs_;
  uint64_t next_order_ = 0;
};

// The error line for an output that is not there, with those that are.
std::string NoSuchOutput(const std::string& wanted, const std::vector<std::string>& names);

// Whether `windows` together hide every pixel of `area`, all on one screen.
bool CoveredBy(const ViewRect& area, const std::vector<ViewRect>& windows);
// A window of the desktop's stack, as the stack is given: lowest first.
struct StackedWindow {
  uint32_t id;
  ViewRect rect;
};
// Whether the windows stacked above `id` hide all of it; false for a window not in the stack. Where a
// compositing window manager leaves the X server unable to say so, the wallpaper works it out.
bool Hidden(const std::vector<StackedWindow>& stack, uint32_t id);
// Whether a window stacked above `id`, other than `ours`, shows over any of it: a saver so placed
// goes back on top. The X server tells this only where no compositing window manager runs.
bool Overlapped(const std::vector<StackedWindow>& stack, uint32_t id, const std::vector<uint32_t>& ours);

// Tells when the user is back at a running saver: a key or a button at once, the pointer once it
// has moved more than a few pixels from where it was first seen, as a bump of the desk does not
// count. Positions are in logical pixels on one output; a pointer seen on another output moved.
class WakeWatch {
 public:
  static constexpr double kDistance = 8.0;
  bool Pointer(uint32_t output, double x, double y);

 private:
  bool seen_ = false;
  uint32_t output_ = 0;
  double x_ = 0.0, y_ = 0.0;
};

// What the user did, as the platform reports it. Releases are never reported: a saver started
// by a key binding would end as the key comes up.
enum class InputKind { kKey, kButton, kWheel, kTouch, kMotion };
struct InputEvent {
  InputKind kind;
  uint32_t output = 0;     // where the pointer is, for kMotion
  double x = 0.0, y = 0.0;  // in logical pixels on that output
};

struct DesktopEffect {
  enum Kind {
    kFly,     // make the output's surface and fly on it
    kLand,    // drop the output's flight and surface
    kPause,   // the output's flight draws nothing: both timers stop
    kResume,  // it flies again
    kGrab,    // the saver takes the keyboard and the pointer on this output's surface
    kEnd,     // the process ends with `status`, after saying `line` unless it is empty
  } kind;
  uint32_t output = 0;
  int status = 0;
  std::string line;
  bool operator==(const DesktopEffect&) const = default;
};
using DesktopEffects = std::vector<DesktopEffect>;

// The one-line errors of the desktop modes, each a sentence for "lumox: " to go before.
namespace desktop_line {
std::string NoDisplay();
std::string DisplayGone(const std::string& display);  // "the Wayland compositor", "the X display ':1'"
std::string Unreachable(const std::string& display);
// On GNOME Shell, how to turn on the Shell extension that makes Lumox the wallpaper there.
std::string NoLayerShell(bool gnome);
std::string NoEgl();
std::string SurfaceFailed(const std::string& output);
std::string GrabTaken();
}  // namespace desktop_line

class DesktopCore {
 public:
  // A surface the display server closes is made anew after this pause, so a server that keeps
  // closing it costs a surface a second, not a loop.
  static constexpr int64_t kRemakePause = 1000;
  // How long the saver asks for the keyboard and the pointer before it gives up, and how often.
  static constexpr int64_t kGrabPatience = 5000;
  static constexpr int64_t kGrabRetry = 50;

  DesktopCore(DesktopRole role, std::string wanted) : role_(role), plan_(std::move(wanted)) {}

  // The outputs there are at the start have been announced and described: the flights begin,
  // or the process ends for an output asked for that is not there (status 2).
  DesktopEffects Started(int64_t now);
  DesktopEffects Added(uint32_t output);
  DesktopEffects Described(uint32_t output, const std::string& name);
  DesktopEffects Removed(uint32_t output);
  // The output's size or place changed where the surface can't follow: it is made anew at once.
  DesktopEffects Reshaped(uint32_t output);
  // The display server closed the output's surface.
  DesktopEffects Closed(uint32_t output, int64_t now);
  // The output's surface could not be made or drawn on: `line` says why, and the process ends.
  DesktopEffects Failed(const std::string& line);
  DesktopEffects Covered(uint32_t output, bool covered);
  // Every output holds still while `held` (the machine runs on its battery); let go, they fly
  // again, all but the covered ones.
  DesktopEffects Held(bool held);
  // Whether the output's flight is to stand still, covered or held: a flight that takes off then
  // pauses at once.
  bool Still(uint32_t output) const { return held_ || covered_.count(output); }
  DesktopEffects Input(const InputEvent& event);
  // SIGTERM, SIGINT: the end, as at a logout.
  DesktopEffects Signal();
  DesktopEffects Grabbed(bool taken, int64_t now);
  // The connection to the display server broke.
  DesktopEffects Lost(const std::string& display);
  // Whatever falls due by `now`: surfaces to make anew, grabs to ask for again.
  DesktopEffects Tick(int64_t now);
  // When Tick is next due; -1 for never.
  int64_t NextDue() const;

  const OutputPlan& Plan() const { return plan_; }
  bool Ended() const { return ended_; }
  bool HasStarted() const { return started_; }

 private:
  DesktopEffects Carry(const std::vector<OutputChange>& changes);
  DesktopEffects End(int status, const std::string& line);
  void GrabIfLost(DesktopEffects& effects, int64_t now);
  void Landed(uint32_t output);
  bool Saver() const { return role_ == DesktopRole::kSaver; }

  DesktopRole role_;
  OutputPlan plan_;
  WakeWatch wake_;
  bool started_ = false, ended_ = false;
  std::set<uint32_t> covered_;
  bool held_ = false;
  std::map<uint32_t, int64_t> remake_at_;  // closed surfaces waiting for their pause
  // The saver's output whose surface holds the keyboard and the pointer, once asked for.
  uint32_t grabbing_ = 0;
  bool grab_held_ = false;
  int64_t grab_since_ = -1, grab_retry_at_ = -1;
  int64_t now_ = 0;
};

}  // namespace lumox
