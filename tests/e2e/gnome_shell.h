#pragma once
// A headless GNOME Shell as the unprivileged user, with a session bus of its own and a private
// system bus where python-dbusmock's logind stands in. Lumox and its extension come from `cmake
// --install` into the home's ~/.local, enabled (with the tests' own extension, which opens the
// Shell's Eval and Screenshot calls) before the Shell starts.
#include <sys/types.h>

#include <QImage>
#include <QSize>
#include <string>

#include "e2e/desktop.h"

namespace lumox::e2e {

class GnomeShell {
 public:
  explicit GnomeShell(const std::vector<QSize>& monitors);
  ~GnomeShell();
  // Runs a shell command as the session's user, in the session; gives its standard output.
  std::string Shell(const std::string& command) const;
  // The JavaScript's value in the Shell, as text; "" where it threw.
  std::string Eval(const std::string& js) const;
  QImage Screenshot() const;
  // The lumox the extension started, or -1.
  pid_t Lumox() const;
  std::string Log() const;
  // Whether the Shell came up and answers.
  bool Started() const { return started_; }

 private:
  std::string home_, env_;
  pid_t buses_[2] = {-1, -1};  // system, session
  pid_t logind_ = -1, shell_ = -1;
  bool started_ = false;
};

}  // namespace lumox::e2e
