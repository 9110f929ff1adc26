#pragma once
#include <string>

namespace lumox {

// Whether the X display answers. The connection is held until LetGoOfX11Probe: an X server that
// resets when its last client leaves (as xvfb-run starts Xvfb) would otherwise reset between
// this question and Qt's own connection, and Qt aborts on a connection made during a reset.
bool X11Answers(const std::string& name);
void LetGoOfX11Probe();

}  // namespace lumox
