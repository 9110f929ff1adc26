#pragma once
// Qt's screens as the desktop core's outputs, for the backends whose surfaces are Qt windows:
// each announced and described by its name, then followed as Qt adds, removes and reshapes it.
#include <QObject>
#include <QPointer>
#include <QScreen>
#include <map>
#include <optional>

#include "desktop/backend.h"

namespace lumox {

class QtScreens : public QObject {
 public:
  explicit QtScreens(DesktopSink& sink) : sink_(sink) {}
  void Watch();
  // The screen that is this output; null once it has gone.
  QScreen* Screen(uint32_t output) const;
  // The screen's place in the desktop, in logical pixels.
  std::optional<ViewRect> Place(uint32_t output) const;

 private:
  void Added(QScreen* screen);
  DesktopSink& sink_;
  std::map<uint32_t, QPointer<QScreen>> screens_;
  uint32_t next_id_ = 1;
};

}  // namespace lumox
