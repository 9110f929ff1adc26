#pragma once
// The display the program starts on, decided before Qt looks for one: Qt's answer to a display
// that is gone is a page of plugin advice and an abort.
#include <QString>

#include "desktop/display_choice.h"

namespace lumox {

// Decides the display for this use and sets QT_QPA_PLATFORM for Qt to match. Ends the process
// with one line on standard error when nothing to start on answers: status 2 with
// `option_error` when there is one (a bad option is the more useful news), else status 1.
DisplayChoice::Host DecideDisplay(int argc, char** argv, DisplayUse use, const QString& option_error);

}  // namespace lumox
