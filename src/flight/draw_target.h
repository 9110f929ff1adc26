#pragma once
// What a flight draws on: each host (the display window, a window of another program's, a saver
// window, a Wayland layer surface) gives one. No window code here, so a host outside Qt can too.

namespace lumox {

class DrawTarget {
 public:
  virtual ~DrawTarget() = default;
  // Makes the target's GL context current; false while there is nothing to draw on.
  virtual bool MakeCurrent() = 0;
  // The drawable's size in device pixels, and device pixels per logical pixel.
  virtual int DeviceWidth() const = 0;
  virtual int DeviceHeight() const = 0;
  virtual double PixelRatio() const = 0;
  // Brings the finished back buffer to the screen.
  virtual void Swap() = 0;
  // Whether the screen can take a frame now. A target that says no (a covered surface that gets
  // no frame callbacks) has its flight paused until its host resumes it.
  virtual bool TakesFrames() const { return true; }
};

}  // namespace lumox
