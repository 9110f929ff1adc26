#include "flight/flight_options.h"

#include <QGuiApplication>
#include <QPointer>
#include <QScreen>

namespace lumox {

namespace {
QPointer<QScreen> g_screen;  // cleared by Qt when the screen is unplugged
bool g_fps_shown = false;
}  // namespace

QScreen* FlightScreen() { return g_screen ? g_screen.data() : QGuiApplication::primaryScreen(); }

void SetFlightScreen(QScreen* screen) { g_screen = screen; }

bool FpsShown() { return g_fps_shown; }

void SetFpsShown(bool shown) { g_fps_shown = shown; }

}  // namespace lumox
