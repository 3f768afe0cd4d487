#pragma once

#include "TalkledgerApp/WindowStage.h"

#include <gmock/gmock.h>

namespace talkledger::testing {

class WindowFixture : public ::testing::Test, public WindowStage {};

} // namespace talkledger::testing
