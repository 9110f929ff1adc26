#pragma once
// The flight as the wallpaper or the screensaver of an X11 desktop, one flight on each monitor:
// the wallpaper in the root window, below every window; the saver in a window of its own above
// every window, with the keyboard and the pointer taken and the pointer hidden.
#include <QObject>
#include <QPointer>
#include <functional>
#include <map>
#include <memory>

#include "desktop/desktop_mode.h"
#include "flight/flight.h"
#include "desktop/desktop_core.h"

class QScreen;

namespace lumox {

class X11DesktopHost : public QObject {
 public:
  // `ended` is called once the saver sees the user back.
  X11DesktopHost(DesktopModeOptions options, std::function<void()> ended);
  ~X11DesktopHost() override;

  // Flies on the monitors there are. Gives 0, or 2 with `error` set for an output that is not there.
  int Start(std::string& error);
  // The user is back: a key or a button, or the pointer at this place on the screen.
  void UserPressed();
  void PointerAt(QPointF global);

 private:
  void Added(QScreen* screen);
  void Carry(const std::vector<OutputChange>& changes);
  uint32_t IdOf(QScreen* screen) const;

  DesktopModeOptions options_;
  std::function<void()> ended_;
  OutputPlan plan_;
  WakeWatch wake_;
  std::map<uint32_t, QPointer<QScreen>> screens_;
  std::map<uint32_t, std::unique_ptr<Flight>> flights_;
  uint32_t next_id_ = 1;
  uint32_t grabbing_ = 0;  // the monitor whose saver window holds the keyboard and the pointer
  bool ended_once_ = false;
};

}  // namespace lumox
