#include "TalkledgerCore/Startup/WindowFramePlacement.h"

#include <gtest/gtest.h>

namespace talkledger {
namespace {

WindowFramePlacement placed(WindowFrame frame, WindowSize minimumSize) {
    return {.frame = frame, .minimumSize = minimumSize};
}

TEST(WindowFramePlacement, CentresThePreferredSizeAndShrinksWithTheScreen) {
    EXPECT_EQ(WindowFramePlacement::recordingsWindow({.x = 0, .y = 25, .width = 1440, .height = 875}),
              placed({.x = 80, .y = 102.5, .width = 1280, .height = 720}, {.width = 1080, .height = 600}));
    EXPECT_EQ(WindowFramePlacement::recordingsWindow({.x = 0, .y = 0, .width = 800, .height = 600}),
              placed({.x = 24, .y = 24, .width = 752, .height = 552}, {.width = 752, .height = 552}));
    EXPECT_EQ(WindowFramePlacement::recordingsWindow({.x = -1920, .y = 0, .width = 1200, .height = 1080}),
              placed({.x = -1896, .y = 180, .width = 1152, .height = 720}, {.width = 1080, .height = 600}));
}

TEST(WindowFramePlacement, NeverGoesBelowTheFloorEvenIfTheScreenDoes) {
    EXPECT_EQ(WindowFramePlacement::recordingsWindow({.x = 0, .y = 0, .width = 300, .height = 300}),
              placed({.x = -10, .y = -10, .width = 320, .height = 320}, {.width = 320, .height = 320}));
}

} // namespace
} // namespace talkledger
