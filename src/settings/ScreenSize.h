#pragma once

// The screen in the two units of the window code: pixels, and twips (1,440 to the inch). The core
// cannot look at the screen itself; the program tells it at start and tests set what they need.
// The defaults stand in when there is no screen at all (a command-line tool).
struct ScreenSize {
    int widthPixels = 1024;
    int heightPixels = 768;
    double twipsPerPixelX = 15.0;
    double twipsPerPixelY = 15.0;

    long WidthTwips() const { return static_cast<long>(widthPixels * twipsPerPixelX); }
    long HeightTwips() const { return static_cast<long>(heightPixels * twipsPerPixelY); }
};
