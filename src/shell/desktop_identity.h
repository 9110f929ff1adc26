#pragma once

namespace lumox {

// The name the desktop knows Lumox by: its desktop entry, its AppStream id and its icon.
inline constexpr char kDesktopId[] = "net.tallowby.Lumox";

// Gives every window the program's icon and ties the windows to the desktop entry (the app id
// on Wayland, the desktop file hint on X11). Called once, right after the application object.
void SetDesktopIdentity();

}  // namespace lumox
