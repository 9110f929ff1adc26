#pragma once
#include <QImage>

namespace lumox {

// The two pictures that ship with the program, each loaded once and kept for the process.
// A picture that fails to load is a null image: its canvas stays blank.
const QImage& StartPicture();    // "lumox2closseup.jpeg"
const QImage& AboutPicture();    // "closeup"

inline const char* const kMakerHost = "tallowby.net";
inline const char* const kMakerUrl = "https://tallowby.net/";

}  // namespace lumox
