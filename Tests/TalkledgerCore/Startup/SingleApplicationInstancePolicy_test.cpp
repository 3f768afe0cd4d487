#include "TalkledgerCore/Startup/SingleApplicationInstancePolicy.h"

#include <gtest/gtest.h>

namespace talkledger {
namespace {

constexpr const char* identifier = "app.talkledger.Talkledger";

RunningApplicationInstance copy(std::int32_t processIdentifier, bool isTerminated = false) {
    return {.processIdentifier = processIdentifier, .bundleIdentifier = identifier, .isTerminated = isTerminated};
}

TEST(SingleApplicationInstancePolicy, ChoosesTheOldestRunningCopyOfTheSameApplication) {
    const std::vector<RunningApplicationInstance> applications = {
        copy(900),
        copy(100, true),
        {.processIdentifier = 200, .bundleIdentifier = "app.talkledger.talkledger", .isTerminated = false},
        {.processIdentifier = 210, .bundleIdentifier = std::nullopt, .isTerminated = false},
        copy(500),
        copy(300),
    };
    EXPECT_EQ(SingleApplicationInstancePolicy().existingInstance(300, identifier, applications), copy(500));
}

TEST(SingleApplicationInstancePolicy, NamesNobodyWithoutAnotherCopyOrAnIdentifier) {
    const SingleApplicationInstancePolicy policy;
    EXPECT_EQ(policy.existingInstance(500, identifier, {copy(500)}), std::nullopt);
    EXPECT_EQ(policy.existingInstance(500, identifier, {}), std::nullopt);
    EXPECT_EQ(policy.existingInstance(1, "", {{.processIdentifier = 2, .bundleIdentifier = ""}}), std::nullopt);
    EXPECT_EQ(policy.existingInstance(1, std::nullopt, {{.processIdentifier = 2, .bundleIdentifier = std::nullopt}}),
              std::nullopt);
}

} // namespace
} // namespace talkledger
