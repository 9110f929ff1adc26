#pragma once
// Choices from the command line that the display window reads as it opens and draws.
class QScreen;

namespace lumox {

// The screen the flight fills, whose width gives the default star size and count: the primary
// screen unless another was chosen (or the chosen one has gone).
QScreen* FlightScreen();
void SetFlightScreen(QScreen* screen);

// Whether the frames per second and the CPU use are drawn over the flight.
bool FpsShown();
void SetFpsShown(bool shown);

}  // namespace lumox
