#pragma once

namespace lumox {

// Tells the X server's own saver and a running XScreenSaver that the user is still there; a
// blank or lock the user asked for is left alone. Nothing off X11.
void NudgeX11Savers();

}  // namespace lumox
