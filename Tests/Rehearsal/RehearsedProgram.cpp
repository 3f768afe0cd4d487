#include "Rehearsal/RehearsedProgram.h"

#include "TalkledgerCore/Model/ModelsJson.h"

#include <unistd.h>

#include <csignal>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>

namespace talkledger::rehearsal {
namespace {

constexpr const char* kApplication = "app.talkledger.Talkledger";

std::string readFile(const std::filesystem::path& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

struct ProcessUse {
    pid_t parent{0};
    double seconds{0}; ///< of processor time, with that of the children it has waited for
};

std::map<pid_t, ProcessUse> readProcesses() {
    const auto ticksPerSecond = static_cast<double>(sysconf(_SC_CLK_TCK));
    std::map<pid_t, ProcessUse> processes;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        const std::string name = entry.path().filename();
        if (name.find_first_not_of("0123456789") != std::string::npos) {
            continue;
        }
        const std::string stat = readFile(entry.path() / "stat"); // empty once the process has ended
        const std::size_t nameEnd = stat.rfind(')');
        if (nameEnd == std::string::npos) {
            continue;
        }
        // Behind the name: the state, the parent, nine fields, then user, system, children's user, children's system.
        std::istringstream fields(stat.substr(nameEnd + 1));
        std::string skipped;
        ProcessUse process;
        fields >> skipped >> process.parent;
        for (int field = 0; field < 9; ++field) {
            fields >> skipped;
        }
        for (int field = 0; field < 4; ++field) {
            double ticks = 0;
            fields >> ticks;
            process.seconds += ticks / ticksPerSecond;
        }
        processes[static_cast<pid_t>(std::stol(name))] = process;
    }
    return processes;
}

double processorSeconds(pid_t root, const std::map<pid_t, ProcessUse>& processes) {
    const auto found = processes.find(root);
    double seconds = found == processes.end() ? 0 : found->second.seconds;
    for (const auto& [pid, process] : processes) {
        if (process.parent == root) {
            seconds += processorSeconds(pid, processes);
        }
    }
    return seconds;
}

std::string lastLine(const std::string& text) {
    std::istringstream lines(text);
    std::string last;
    for (std::string line; std::getline(lines, line);) {
        if (!line.empty()) {
            last = line;
        }
    }
    return last;
}

/// 0 when there is no such file.
std::uintmax_t sizeOf(const std::filesystem::path& path) {
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(path, error);
    return error ? 0 : size;
}

std::set<std::filesystem::path> entries(const std::filesystem::path& folder) {
    std::set<std::filesystem::path> found;
    std::error_code missing;
    for (const auto& entry : std::filesystem::directory_iterator(folder, missing)) {
        found.insert(entry.path());
    }
    return found;
}

} // namespace

RehearsedProgram::RehearsedProgram(const std::vector<std::string>& command,
                                   const testing::EnvironmentChanges& surroundings)
    : environment_(home_.environment()) {
    for (const auto& [name, value] : surroundings) {
        environment_.try_emplace(name, value);
    }
    testing::ChildProcessOptions options;
    options.arguments = command;
    options.environment = environment_;
    options.workingDirectory = home_.folder();
    process_ = std::make_unique<testing::ChildProcess>(options);

    testing::ChildProcessOptions watch;
    watch.arguments = {"gdbus", "wait", "--session", kApplication};
    watch.environment = environment_;
    testing::ChildProcess nameWatch(watch);
    await("the program is on the session bus", [&] { return nameWatch.wait(std::chrono::milliseconds(0)) == 0; });
}

std::filesystem::path RehearsedProgram::startRecording(std::chrono::seconds patience) {
    return startRecording([this] { activateAction("start-recording"); }, patience);
}

std::filesystem::path RehearsedProgram::startRecording(const std::function<void()>& ask,
                                                       std::chrono::seconds patience) {
    const std::set<std::filesystem::path> known = recordings();
    std::filesystem::path recording;
    std::optional<std::chrono::steady_clock::time_point> lastAsked;
    await(
        "a new recording's folder is there",
        [&] {
            for (const std::filesystem::path& folder : recordings()) {
                if (!known.contains(folder) && sizeOf(folder / "session.json") > 0) {
                    recording = folder;
                }
            }
            const auto now = std::chrono::steady_clock::now();
            if (recording.empty() && (!lastAsked || now - *lastAsked > std::chrono::seconds(2))) {
                ask();
                lastAsked = now;
            }
            return !recording.empty();
        },
        patience);
    return recording;
}

std::set<std::filesystem::path> RehearsedProgram::recordings() const {
    return entries(home_.recordings());
}

void RehearsedProgram::waitUntilCapturing(const std::filesystem::path& recording) {
    for (const char* track : {"mic.wav", "speaker.m4a"}) {
        std::uintmax_t first = 0;
        await(std::string(track) + " grows", [&] {
            const std::uintmax_t size = sizeOf(recording / track);
            if (first == 0) {
                first = size;
            }
            return size > first;
        });
    }
}

void RehearsedProgram::waitUntilListening() {
    await("both tracks are transcribed live", [&] {
        const std::string channels = answer("app.talkledger.LiveTranscript.ListeningChannels");
        return channels.find("mic") != std::string::npos && channels.find("speaker") != std::string::npos;
    });
}

TranscriptDocument RehearsedProgram::liveTranscript() {
    const JsonSource source{.name = "The program's live transcript", .advice = {}};
    return decodeJson<TranscriptDocument>(answer("app.talkledger.LiveTranscript.Transcript"), source);
}

SalesSummary RehearsedProgram::liveSummary() {
    const JsonSource source{.name = "The program's live summary", .advice = {}};
    return decodeJson<SalesSummary>(answer("app.talkledger.LiveTranscript.Summary"), source);
}

std::filesystem::path RehearsedProgram::waitForDocument(std::chrono::seconds patience) {
    std::filesystem::path document;
    await(
        "the Markdown document is written",
        [&] {
            for (const auto& path : entries(home_.documents())) {
                if (path.extension() == ".md" && sizeOf(path) > 0) {
                    document = path;
                }
            }
            return !document.empty();
        },
        patience);
    return document;
}

void RehearsedProgram::await(const std::string& what, const std::function<bool()>& holds,
                             std::chrono::seconds patience) {
    waitUntil(
        what,
        [&] {
            demandRunning(what);
            return holds();
        },
        patience);
}

void RehearsedProgram::demandRunning(const std::string& purpose) {
    if (const auto status = process_->wait(std::chrono::milliseconds(0))) {
        throw RehearsalError("The program ended with status " + std::to_string(*status) + " before this: " + purpose +
                             ". It said last: " + lastLine(process_->standardError()));
    }
}

std::chrono::duration<double> RehearsedProgram::processorTime() const {
    return std::chrono::duration<double>(processorSeconds(pid(), readProcesses()));
}

void RehearsedProgram::kill() {
    process_->signal(SIGKILL);
    process_->wait(kPatience);
}

void RehearsedProgram::end() {
    process_->signal(SIGTERM);
    const std::optional<int> status = process_->wait(kPatience);
    if (!status) {
        throw RehearsalError("The program did not end when it was asked to.");
    }
    if (*status != 0) {
        throw RehearsalError("The program ended with status " + std::to_string(*status) +
                             " when it was asked to end. It said last: " + lastLine(process_->standardError()));
    }
}

void RehearsedProgram::activateAction(const std::string& action) {
    outputOf("the action " + action, {"gapplication", "action", kApplication, action});
}

std::string RehearsedProgram::answer(const std::string& method) {
    return outputOf(method, {"dbus-send", "--session", "--print-reply=literal", "--dest=" + std::string(kApplication),
                             "/app/talkledger/Talkledger", method});
}

/// The command asks the program for something.
std::string RehearsedProgram::outputOf(const std::string& purpose, const std::vector<std::string>& command) {
    testing::ChildProcessOptions options;
    options.arguments = command;
    options.environment = environment_;
    testing::ChildProcess request(options);
    await(purpose + " is answered", [&] {
        const std::optional<int> status = request.wait(std::chrono::milliseconds(0));
        if (status && *status != 0) {
            demandRunning(purpose + " is answered");
            throw RehearsalError(purpose + " was refused: " + lastLine(request.standardError()));
        }
        return status.has_value();
    });
    return request.standardOutput();
}

} // namespace talkledger::rehearsal
