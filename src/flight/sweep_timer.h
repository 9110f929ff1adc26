#pragma once
#include <QMetaObject>
#include <QObject>
#include <QTimer>
#include <cstdint>
#include <functional>

namespace lumox {

// A repeating timer whose period can be 0. A period of 0 (or less) fires once on every pass of
// the event loop, just before it waits: every frame, key and slider event is then followed by a
// sweep before the loop sleeps, without spinning the loop as a zero-interval timer would.
class SweepTimer : public QObject {
  Q_OBJECT
 public:
  explicit SweepTimer(std::function<void()> action, QObject* parent = nullptr);
  ~SweepTimer() override;

  void SetPeriod(int64_t milliseconds);
  // No more sweeps until the next SetPeriod.
  void Stop();
  int64_t Period() const { return period_; }

 private:
  void Fire();
  std::function<void()> action_;
  QTimer timer_;
  QMetaObject::Connection loop_hook_;
  int64_t period_ = -1;
};

}  // namespace lumox
