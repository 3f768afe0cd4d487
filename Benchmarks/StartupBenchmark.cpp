// How long the real program takes from its start to a painted window, on a virtual display with a window manager, when
// everything has been read from the disk before: milliseconds, with an empty library and with five thousand recordings.
// About 400 is the aim; nothing is asserted, since the machine decides.

#include "ManyRecordings.h"
#include "Rehearsal/PrivateHome.h"
#include "Rehearsal/VirtualDisplay.h"
#include "Rehearsal/Waiting.h"
#include "Support/ChildProcess.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <exception>
#include <vector>

namespace {

using namespace talkledger;
using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr int kRounds = 5;
constexpr std::size_t kRecordings = 5000;

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
        addRecordings(home.recordings(), kRecordings, {});
        measure("5000 recordings", display, home);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
