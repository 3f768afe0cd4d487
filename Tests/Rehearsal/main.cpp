#include "Rehearsal/Rehearsal.h"

#include <QCoreApplication>
#include <cstdio>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using talkledger::rehearsal::RehearsalOptions;
using talkledger::rehearsal::RehearsalResult;

constexpr const char* kUsage = "Usage: talkledger-rehearsal --out DIR --program PATH [--conversation FILE]";

RehearsalOptions parse(const std::vector<std::string>& arguments) {
    RehearsalOptions options;
    for (std::size_t index = 0; index < arguments.size(); index += 2) {
        const std::string& name = arguments[index];
        if (index + 1 == arguments.size()) {
            throw std::invalid_argument(kUsage);
        }
        const std::string& value = arguments[index + 1];
        if (name == "--out") {
            options.outputFolder = value;
        } else if (name == "--program") {
            options.program = value;
        } else if (name == "--conversation") {
            options.conversation = value;
        } else {
            throw std::invalid_argument(kUsage);
        }
    }
    if (options.outputFolder.empty() || options.program.empty()) {
        throw std::invalid_argument(kUsage);
    }
    return options;
}

void printSummary(const RehearsalResult& result, const std::string& folder) {
    const auto& found = result.recording;
    std::printf(
        "The rehearsal passed: the real program recorded and transcribed a sales call.\n"
        "  words found     %.0f %% of me, %.0f %% of the customer\n"
        "  shown live      %.0f %% of me, %.0f %% of the customer\n"
        "  echoes removed  %zu\n"
        "  microphone      the passage stands in mic.wav sample for sample\n"
        "  system audio    the passage in speaker.m4a begins %+.3f ms off its place and is %+.3f ms longer\n"
        "  processor       %.1f %% of a core while recording, %.1f %% with the transcription\n"
        "  after the stop  %.1f s until the document was written\n"
        "The results are in %s: recording/, the Markdown document, window.png, window-recording.png, result.json\n",
        100 * found.words.me, 100 * found.words.customer, 100 * result.liveWords.me, 100 * result.liveWords.customer,
        result.echoesDropped, found.offsetMs, found.lengthErrorMs, 100 * result.captureCpuShare, 100 * result.cpuShare,
        result.stopSeconds, folder.c_str());
}

} // namespace

int main(int argumentCount, char** arguments) {
    try {
        const QCoreApplication application(argumentCount, arguments); // for the tray
        const RehearsalOptions options = parse({arguments + 1, arguments + argumentCount});
        printSummary(talkledger::rehearsal::rehearse(options), options.outputFolder.string());
        return 0;
    } catch (const std::exception& failure) {
        std::cerr << "talkledger-rehearsal: " << failure.what() << '\n';
        return 1;
    }
}
