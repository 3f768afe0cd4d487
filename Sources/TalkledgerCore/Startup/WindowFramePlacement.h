#pragma once

namespace talkledger {

struct WindowSize {
    double width{0};
    double height{0};

    bool operator==(const WindowSize&) const = default;
};

struct WindowFrame {
    double x{0};
    double y{0};
    double width{0};
    double height{0};

    bool operator==(const WindowFrame&) const = default;
};

/// Where the recordings window stands on a screen, in logical pixels. Frames are centred, so the result holds for
/// coordinates that count from the top as well as from the bottom, as long as both are the same kind.
struct WindowFramePlacement {
    WindowFrame frame;
    WindowSize minimumSize;

    bool operator==(const WindowFramePlacement&) const = default;

    /// Assumed when no screen is known.
    static constexpr WindowFrame fallbackVisibleFrame{.x = 0, .y = 0, .width = 1280, .height = 720};

    /// `visibleFrame` is the screen without panels and docks.
    static WindowFramePlacement recordingsWindow(const WindowFrame& visibleFrame);
};

} // namespace talkledger
