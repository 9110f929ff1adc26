#pragma once
// End-to-end harness: a private X server (Xvfb) with openbox, the real lumox started on it with
// its own data folder, xdotool for keys and clicks, and screenshots of the whole screen.
#include <sys/types.h>

#include <QImage>
#include <QRect>
#include <string>

#include "support/pixels.h"

namespace lumox::e2e {

class XSession {
 public:
  XSession(int width, int height);
  ~XSession();
  XSession(const XSession&) = delete;
  XSession& operator=(const XSession&) = delete;

  const std::string& Display() const { return display_; }
  // Runs a shell command against this display; gives its standard output.
  std::string Shell(const std::string& command) const;
  // xdotool with the given arguments, e.g. Xdo("key Escape").
  std::string Xdo(const std::string& args) const;
  QImage Screenshot() const;

 private:
  pid_t xvfb_ = -1;
  pid_t wm_ = -1;
  std::string display_;
};

class LumoxProcess {
 public:
  // Starts lumox with XDG_DATA_HOME set to `data_home`.
  LumoxProcess(const XSession& session, const std::string& data_home);
  ~LumoxProcess();

  bool Running();
  void Signal(int signal);
  // Waits for the process to end; gives false if it is still running after `ms`.
  bool WaitForExit(int ms);
  int ExitStatus() const { return status_; }
  // The X window id of the top-level window with this exact title, or "" if none within `ms`.
  std::string WaitForWindow(const std::string& title, int ms = 10000) const;
  // Presses GO (Return) in the start window; gives the display window's id, or "" if none came.
  std::string Go() const;
  // Client-area geometry of a window, as the window manager reports it.
  QRect Geometry(const std::string& window) const;

 private:
  const XSession& session_;
  pid_t pid_ = -1;
  int status_ = -1;
};

// A fresh, empty temporary directory, removed with the object.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  const std::string& Path() const { return path_; }
  std::string File(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

std::string ReadFile(const std::string& path);
void WriteFile(const std::string& path, const std::string& text);
void SleepMs(int ms);
using testing::LitPixels;
// Pixels that differ between two images of the same size.
int DifferentPixels(const QImage& a, const QImage& b);

}  // namespace lumox::e2e
