#pragma once
// The X11 side of drawing into another program's window, as a screensaver display mode does.
#include <QAbstractNativeEventFilter>
#include <QSize>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "desktop/desktop_core.h"

namespace lumox {

// The window that stands for the desktop: the root window's child marked __SWM_VROOT (some
// window managers and screensavers draw there), else the root window. 0 without X11.
uint32_t X11VirtualRoot();

// The window's size in device pixels; empty when there is no such window. Qt reports a window
// of another program's as 0 by 0, so the X server is asked.
std::optional<QSize> X11WindowSize(uint32_t window);

// Asks for the maps, moves, restacks and ends of the window's children (its SubstructureNotify),
// beside the events this program asked for already: what covers what, told under any window manager.
void WatchChildren(uint32_t parent);

// The window's children that show, lowest first, each with its place and size, borders included.
std::vector<StackedWindow> X11ViewableChildren(uint32_t parent);

// Passes on the resizes and the end of a window of another program's. Its StructureNotify events
// are asked for on this program's connection, beside whatever this program asked for already.
class X11WindowWatcher : public QAbstractNativeEventFilter {
 public:
  X11WindowWatcher(uint32_t window, std::function<void(QSize)> resized, std::function<void()> destroyed);
  ~X11WindowWatcher() override;
  bool nativeEventFilter(const QByteArray& type, void* message, qintptr* result) override;

 private:
  uint32_t window_;
  std::function<void(QSize)> resized_;
  std::function<void()> destroyed_;
};

}  // namespace lumox
