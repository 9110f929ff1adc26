// EGL over the Wayland connection: desktop GL in a window of RGB with a depth buffer, as the
// display window has.
#include <EGL/egl.h>
#include <EGL/eglext.h>

#include "desktop/wayland/wayland_state.h"

namespace lumox {

bool SetUpEgl(WaylandState& s) {
  s.egl = eglGetPlatformDisplay(EGL_PLATFORM_WAYLAND_KHR, s.display, nullptr);
  if (s.egl == EGL_NO_DISPLAY || !eglInitialize(s.egl, nullptr, nullptr)) return false;
  if (!eglBindAPI(EGL_OPENGL_API)) return false;
  const EGLint attributes[] = {EGL_SURFACE_TYPE, EGL_WINDOW_BIT, EGL_RENDERABLE_TYPE, EGL_OPENGL_BIT,
                               EGL_RED_SIZE, 8, EGL_GREEN_SIZE, 8, EGL_BLUE_SIZE, 8, EGL_DEPTH_SIZE, 24, EGL_NONE};
  EGLint count = 0;
  return eglChooseConfig(s.egl, attributes, &s.config, 1, &count) && count == 1;
}

}  // namespace lumox
