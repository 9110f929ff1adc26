#include "flight/sweep_timer.h"

#include <QAbstractEventDispatcher>
#include <QThread>
#include <climits>

namespace lumox {

SweepTimer::SweepTimer(std::function<void()> action, QObject* parent)
    : QObject(parent), action_(std::move(action)) {
  timer_.setTimerType(Qt::PreciseTimer);
  connect(&timer_, &QTimer::timeout, this, &SweepTimer::Fire);
}

SweepTimer::~SweepTimer() { disconnect(loop_hook_); }

void SweepTimer::SetPeriod(int64_t milliseconds) {
  const int64_t period = milliseconds < 0 ? 0 : milliseconds;
  if (period == period_) return;
  period_ = period;
  if (period == 0) {
    timer_.stop();
    if (!loop_hook_) {
      loop_hook_ = connect(QAbstractEventDispatcher::instance(thread()), &QAbstractEventDispatcher::aboutToBlock,
                           this, [this] {
                             if (!armed_) return;
                             armed_ = false;
                             Fire();
                           });
    }
  } else {
    disconnect(loop_hook_);
    loop_hook_ = {};
    // A settings file can ask for any period; QTimer takes an int.
    timer_.start(static_cast<int>(period > INT_MAX ? INT_MAX : period));
  }
}

void SweepTimer::Stop() {
  timer_.stop();
  disconnect(loop_hook_);
  loop_hook_ = {};
  period_ = -1;
  armed_ = false;
}

void SweepTimer::Fire() { action_(); }

}  // namespace lumox
