// How long the real program takes from its start to a painted window, on a virtual display with a window manager, when
// everything has been read from the disk before: milliseconds, with an empty library and with five thousand recordings.
// About 400 is the aim; nothing is asserted, since the machine decides.

#include "Rehearsal/PrivateHome.h"
#include "Rehearsal/VirtualDisplay.h"
#include "Rehearsal/Waiting.h"
#include "Support/ChildProcess.h"
#include "TalkledgerCore/Model/ModelsJson.h"
#include "TalkledgerCore/Storage/RecordingStore.h"
#include "TalkledgerCore/Support/Json.h"

#include <boost/uuid/random_generator.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

using namespace talkledger;
using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr int kRounds = 5;
constexpr int kRecordings = 5000;

/// Without the care of the program's own store, which would take minutes over it.
void fill(const std::filesystem::path& library) {
    boost::uuids::random_generator identify;
    for (int number = 0; number < kRecordings; ++number) {
        const Date start{std::chrono::hours(400'000) + std::chrono::minutes(45 * number)};
        RecordingSession session;
        session.id = identify();
        session.title = "Quote review " + std::to_string(number);
        session.startedAt = start;
        session.endedAt = start + std::chrono::minutes(40);
        session.directory = library / RecordingStore::sessionDirectoryName(session.id, session.title, start);
        std::filesystem::create_directories(session.directory);
        std::ofstream(session.directory / "session.json") << encodeJson(toJson(session));
    }
}

Milliseconds timeToWindow(const rehearsal::VirtualDisplay& display, const testing::EnvironmentChanges& environment) {
    testing::ChildProcessOptions options;
    options.arguments = {TALKLEDGER_PROGRAM};
    options.environment = environment;
    const Clock::time_point start = Clock::now();
    testing::ChildProcess program(options);
    rehearsal::waitUntil("the window is painted", [&] { return display.showsPaintedWindow(program.pid()); });
    const Milliseconds taken = Clock::now() - start;
    program.signal(SIGTERM);
    program.wait(rehearsal::kPatience);
    return taken;
}

void measure(const char* library, const rehearsal::VirtualDisplay& display, const rehearsal::PrivateHome& home) {
    testing::EnvironmentChanges environment = display.environment();
    environment.insert(home.environment().begin(), home.environment().end());
    timeToWindow(display, environment); // warms the caches
    std::vector<Milliseconds> rounds;
    for (int round = 0; round < kRounds; ++round) {
        rounds.push_back(timeToWindow(display, environment));
    }
    std::ranges::sort(rounds);
    std::printf("%s: window after %.0f ms (median of %d, %.0f to %.0f)\n", library, rounds[kRounds / 2].count(),
                kRounds, rounds.front().count(), rounds.back().count());
}

} // namespace

int main() {
    try {
        const rehearsal::VirtualDisplay display;
        const rehearsal::PrivateHome home;
        measure("empty library", display, home);
        fill(home.recordings());
        measure("5000 recordings", display, home);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
