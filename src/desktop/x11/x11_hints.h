#pragma once
#include <QWindow>

namespace lumox {

// Makes `window` a dialog of `parent` for the window manager (WM_TRANSIENT_FOR on X11, the
// parent toplevel on Wayland), or a window of its own again with `parent` null. Unlike Qt's
// transient parent, this takes effect on a window that is already shown.
void SetTransientFor(QWindow* window, QWindow* parent);

// Makes `window` a dialog of its application as a whole (_NET_WM_WINDOW_TYPE_DIALOG, with no one
// window it belongs to) and restacks it on top, or a normal window again; X11 only.
void SetDialogType(QWindow* window, bool dialog);

// Whether the program is a Wayland client.
bool OnWayland();

// The X11 window manager's name (_NET_WM_NAME of its check window), "" elsewhere.
QString WindowManagerName();

// Puts the window, before it is mapped, on the workspace that i3 shows on `output`: i3 opens a
// window on the focused output's, wherever it asks to be. Where i3 can't be asked, it does that.
void PutOnI3WorkspaceOf(QWindow* window, const QString& output);

// Whether windows are laid out by the display server as a tiling one does (sway, or i3 on X11):
// a new window goes into a tile whatever it asks, one of a fixed size floats where it asks, and a
// window mapped over a full-screen one shows only if it belongs to it.
bool TilingDesktop();
// The same on X11 alone: i3.
bool TilingWindowManager();

}  // namespace lumox
