#pragma once
// Carries out the desktop core's effects with a backend: owns a flight and a surface for each
// output that flies, the timer for what falls due, and the end of the process.
#include <QElapsedTimer>
#include <QObject>
#include <QTimer>
#include <map>
#include <memory>

#include "desktop/backend.h"
#include "desktop/desktop_core.h"
#include "flight/flight.h"

namespace lumox {

class DesktopHost : public QObject, public DesktopSink {
 public:
  // `ended` is called once, with the exit status and the line to say (unless empty).
  DesktopHost(DesktopModeOptions options, std::function<void(int, const std::string&)> ended);
  ~DesktopHost() override;

  // Connects the backend, learns the outputs and flies on them. Gives 0, or the exit status with
  // `error` set: 1 for a display that can't host the flights, 2 for an output that is not there.
  int Start(std::unique_ptr<DesktopBackend> backend, std::string& error);
  // A signal that ends the process (SIGTERM, SIGINT) arrived.
  void Signalled();
  // The settings file changed: every flight in the air follows it.
  void FollowSettings();
  // Every output holds still while `held` (on battery), flying again once let go.
  void Hold(bool held);

  std::vector<uint32_t> FlyingOutputs() const;
  const Flight* FlightOn(uint32_t output) const;
  const DesktopCore& Core() const { return core_; }
  const DesktopModeOptions& Options() const { return options_; }
  DesktopBackend* Backend() const { return backend_.get(); }

  void OutputAdded(uint32_t output) override;
  void OutputDescribed(uint32_t output, const std::string& name) override;
  void OutputRemoved(uint32_t output) override;
  void OutputReshaped(uint32_t output) override;
  void SurfaceReady(uint32_t output, int width) override;
  void SurfaceRedraw(uint32_t output) override;
  void SurfaceCovered(uint32_t output, bool covered) override;
  void SurfaceClosed(uint32_t output) override;
  void SurfaceFailed(const std::string& line) override;
  void UserInput(const InputEvent& event) override;
  void ConnectionLost(const std::string& display) override;

 private:
  struct Flying {
    std::unique_ptr<DrawTarget> surface;
    std::unique_ptr<Flight> flight;  // drawn on `surface`, so it goes first; none in a span
    int width = 0;                   // in logical pixels, once it has taken off (or is ready)
  };
  void Carry(const DesktopEffects& effects);
  void Land(uint32_t output);
  // A span's views cut anew from the outputs' places, as outputs come, go or move.
  void Recut();
  // The span stands still while every output does, and flies while any one can.
  void SteerSpan();
  void Schedule();
  int64_t Now() const { return clock_.elapsed(); }

  DesktopModeOptions options_;
  std::function<void(int, const std::string&)> ended_;
  DesktopCore core_;
  std::unique_ptr<DesktopBackend> backend_;
  std::map<uint32_t, Flying> flights_;
  // With --span, the one flight the outputs show, and their bounding box.
  std::unique_ptr<Flight> span_;
  ViewRect box_;
  bool span_off_ = false;  // it has taken off
  QElapsedTimer clock_;
  QTimer due_;
};

}  // namespace lumox
