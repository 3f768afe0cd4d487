#include "TalkledgerCore/Startup/WindowFramePlacement.h"

#include <algorithm>

namespace talkledger {
namespace {

constexpr double margin = 48;
constexpr double usableFloor = 320;
constexpr WindowSize minimumCap{.width = 1080, .height = 600};
constexpr WindowSize preferredCap{.width = 1280, .height = 720};

} // namespace

WindowFramePlacement WindowFramePlacement::recordingsWindow(const WindowFrame& visibleFrame) {
    const WindowSize usable{.width = std::max(visibleFrame.width - margin, usableFloor),
                            .height = std::max(visibleFrame.height - margin, usableFloor)};
    const WindowSize minimum{.width = std::min(usable.width, minimumCap.width),
                             .height = std::min(usable.height, minimumCap.height)};
    const WindowSize size{.width = std::max(minimum.width, std::min(usable.width, preferredCap.width)),
                          .height = std::max(minimum.height, std::min(usable.height, preferredCap.height))};
    return {.frame = {.x = visibleFrame.x + visibleFrame.width / 2 - size.width / 2,
                      .y = visibleFrame.y + visibleFrame.height / 2 - size.height / 2,
                      .width = size.width,
                      .height = size.height},
            .minimumSize = minimum};
}

} // namespace talkledger
