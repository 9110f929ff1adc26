#pragma once
#include <QMetaObject>
#include <QObject>
#include <QTimer>
#include <cstdint>
#include <functional>

namespace lumox {

// A repeating timer whose period can be 0. A period of 0 (or less) fires just before the event
// loop waits, once after each Arm: each frame (and each change of StarMax or Speed) is then
// followed by one sweep before the loop sleeps, without spinning the loop as a zero-interval
// timer would, and without sweeping again on passes that moved nothing (another output's frame).
class SweepTimer : public QObject {
  Q_OBJECT
 public:
  explicit SweepTimer(std::function<void()> action, QObject* parent = nullptr);
  ~SweepTimer() override;

  void SetPeriod(int64_t milliseconds);
  // No more sweeps until the next SetPeriod.
  void Stop();
  // Something moved: the next pass of the loop sweeps, at a period of 0.
  void Arm() { armed_ = true; }
  int64_t Period() const { return period_; }

 private:
  void Fire();
  std::function<void()> action_;
  QTimer timer_;
  QMetaObject::Connection loop_hook_;
  int64_t period_ = -1;
  bool armed_ = false;
};

}  // namespace lumox
