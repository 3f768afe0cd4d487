#pragma once

#include "TalkledgerApp/AppStage.h"

#include <gmock/gmock.h>

namespace talkledger::testing {

class AppFixture : public ::testing::Test, public AppStage {};

} // namespace talkledger::testing
