#pragma once

// The present screen in the two units of the window code: pixels, and twips (1,440 to the inch).
struct ScreenMetrics {
    int widthPixels = 1024;
    int heightPixels = 768;
    double twipsPerPixelX = 15.0;
    double twipsPerPixelY = 15.0;

    long WidthTwips() const { return static_cast<long>(widthPixels * twipsPerPixelX); }
    long HeightTwips() const { return static_cast<long>(heightPixels * twipsPerPixelY); }

    // The primary screen now, or the fallback above when no screen exists (a headless tool).
    static ScreenMetrics Current();
    // Tests fix the screen with this; a null pointer goes back to the real screen.
    static void Override(const ScreenMetrics* metrics);
};
