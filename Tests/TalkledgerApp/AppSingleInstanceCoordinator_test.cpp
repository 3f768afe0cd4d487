#include "Rehearsal/PrivateHome.h"
#include "Rehearsal/RehearsedProgram.h"
#include "Rehearsal/Waiting.h"
#include "Support/ChildProcess.h"
#include "TalkledgerApp/AppSingleInstanceCoordinator.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <list>
#include <memory>
#include <string>
#include <vector>

namespace talkledger {
namespace {

using rehearsal::kPatience;
using testing::ChildProcess;
using testing::EnvironmentChanges;

constexpr const char* program = TALKLEDGER_PROGRAM;
const EnvironmentChanges noScreen = {{"QT_QPA_PLATFORM", "offscreen"}, {"QT_QUICK_BACKEND", "software"}};

EnvironmentChanges inHome(const rehearsal::PrivateHome& home, EnvironmentChanges changes) {
    changes.merge(EnvironmentChanges(noScreen));
    changes.merge(EnvironmentChanges(home.environment()));
    return changes;
}

std::unique_ptr<ChildProcess> start(const EnvironmentChanges& environment) {
    testing::ChildProcessOptions options;
    options.arguments = {program};
    options.environment = environment;
    return std::make_unique<ChildProcess>(options);
}

TEST(AppSingleInstanceCoordinator, FurtherCopiesEndAndTheFirstOneTakesActions) {
    rehearsal::RehearsedProgram first({program}, noScreen);
    for (int copy = 0; copy < 2; ++copy) {
        const std::unique_ptr<ChildProcess> second = start(inHome(first.home(), {}));
        EXPECT_EQ(second->wait(kPatience), 0) << second->standardError();
    }
    EXPECT_EQ(first.standardError(), "");
    first.end();
}

TEST(AppSingleInstanceCoordinator, OfManyStartedAtOnceOneStays) {
    const rehearsal::PrivateHome home;
    std::list<std::unique_ptr<ChildProcess>> copies;
    for (int copy = 0; copy < 4; ++copy) {
        copies.push_back(start(inHome(home, {})));
    }
    const auto runningCopies = [&] {
        return std::ranges::count_if(copies, [](auto& copy) { return copy->isRunning(); });
    };
    rehearsal::waitUntil("one copy stays", [&] { return runningCopies() == 1; });
    for (const auto& copy : copies) {
        if (copy->isRunning()) {
            copy->signal(SIGTERM);
        }
        EXPECT_EQ(copy->wait(kPatience), 0) << copy->standardError();
    }
}

TEST(AppSingleInstanceCoordinator, WithoutABusALockFileDecides) {
    const rehearsal::PrivateHome home;
    const std::string runtime = home.folder() / "runtime";
    std::filesystem::create_directory(runtime);
    std::filesystem::permissions(runtime, std::filesystem::perms::owner_all);
    const EnvironmentChanges noBus =
        inHome(home, {{"DBUS_SESSION_BUS_ADDRESS", "unix:path=" + runtime + "/no-bus"}, {"XDG_RUNTIME_DIR", runtime}});
    const std::unique_ptr<ChildProcess> first = start(noBus);
    rehearsal::waitUntil("the first copy has made its library",
                         [&] { return std::filesystem::exists(home.recordings()) || !first->isRunning(); });
    const std::unique_ptr<ChildProcess> second = start(noBus);
    EXPECT_EQ(second->wait(kPatience), 0) << second->standardError();
    ASSERT_TRUE(first->isRunning()) << first->standardError();
    first->signal(SIGHUP); // as when its terminal is closed
    EXPECT_EQ(first->wait(kPatience), 0) << first->standardError();
    const std::unique_ptr<ChildProcess> next = start(noBus);
    EXPECT_EQ(next->wait(std::chrono::milliseconds(0)), std::nullopt) << "the lock goes with its process";
}

} // namespace
} // namespace talkledger
