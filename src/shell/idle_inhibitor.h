#pragma once
#include <QObject>
#include <QTimer>
#include <QVariant>
#include <optional>

#include "shell/inhibit_plan.h"

namespace lumox {

// Keeps the screen awake while the flight is shown: an idle inhibit held on the session bus
// (the freedesktop screensaver service, or else the desktop portal), and on X11 a periodic
// nudge of the X server's own saver and of XScreenSaver. Minimised or closed, it lets go.
// With no bus, no service or no saver there is nothing to do, and it says nothing.
class IdleInhibitor : public QObject {
  Q_OBJECT
 public:
  // Follows the display window from its first showing, wherever that window is created from.
  IdleInhibitor();
  ~IdleInhibitor() override;

  // Takes effect once the state has held for a moment (kSettleMs).
  void SetShown(bool shown);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void Apply();
  void Carry(std::optional<InhibitStep> step);
  void Ask(InhibitRoute route);
  void Release(InhibitRoute route);

  InhibitPlan plan_;
  QVariant grant_;  // what the inhibit held now was granted as: a cookie, or the portal's request
  bool shown_ = false;
  QTimer settle_;
  QTimer nudge_;
};

}  // namespace lumox
