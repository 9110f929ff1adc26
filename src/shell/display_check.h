#pragma once
// Whether the display Qt is about to start on answers, asked before Qt asks: Qt's answer to a
// display that is gone is a page of plugin advice and an abort.
#include <QString>

namespace lumox {

// Ends the process with one line on standard error when no display to start on answers: status
// 2 with `option_error` when there is one (a bad option is the more useful news), else status 1
// naming the display that could not be reached. Where a dead Wayland display stands before a
// live X display, Qt is sent to X at once. With `x11_only`, for the screensaver's display mode,
// it takes an X display and nothing else.
void ExitWithoutDisplay(int argc, char** argv, bool x11_only, const QString& option_error);

}  // namespace lumox
