#pragma once

#include "Rehearsal/PrivateHome.h"
#include "Rehearsal/Waiting.h"
#include "Support/ChildProcess.h"
#include "TalkledgerCore/Model/Models.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace talkledger::rehearsal {

/// The real program, run in a private home and driven over the session bus as a desktop drives it. Throws
/// RehearsalError. Not thread-safe; the thread that makes it must outlive it.
class RehearsedProgram {
public:
    /// Starts it, by `command` (the program, or what runs it), and waits until its name is on the bus. `surroundings`
    /// are the sound session and the display.
    RehearsedProgram(const std::vector<std::string>& command, const testing::EnvironmentChanges& surroundings);

    const PrivateHome& home() const { return home_; }

    /// The program's.
    const testing::EnvironmentChanges& environment() const { return environment_; }

    pid_t pid() const { return process_->pid(); }

    /// Returns the new recording's folder. Asks again while the program is still busy with the last one.
    std::filesystem::path startRecording(std::chrono::seconds patience = kPatience);

    /// The same, asked for in another way.
    std::filesystem::path startRecording(const std::function<void()>& ask, std::chrono::seconds patience = kPatience);

    void stopRecording() { activateAction("stop-recording"); }

    /// The folders of recordings, in no particular order.
    std::set<std::filesystem::path> recordings() const;

    /// Waits until both tracks of the recording grow.
    void waitUntilCapturing(const std::filesystem::path& recording);

    /// Waits until both tracks are transcribed live.
    void waitUntilListening();

    /// What the program shows of the conversation in progress.
    TranscriptDocument liveTranscript();

    /// What the program has made of it so far.
    SalesSummary liveSummary();

    /// The finished recording's Markdown document, once it is there.
    std::filesystem::path waitForDocument(std::chrono::seconds patience);

    /// Waits as `waitUntil` does, and fails at once when the program ends meanwhile.
    void await(const std::string& what, const std::function<bool()>& holds, std::chrono::seconds patience = kPatience);

    /// Used so far by the program and all that it has started.
    std::chrono::duration<double> processorTime() const;

    void kill();

    /// Ends it as a session does that logs out. Throws when it does not end, or not with success.
    void end();

    std::string standardError() const { return process_->standardError(); }

private:
    void demandRunning(const std::string& purpose);
    void activateAction(const std::string& action);
    std::string answer(const std::string& method);
    std::string outputOf(const std::string& purpose, const std::vector<std::string>& command);

    PrivateHome home_;
    testing::EnvironmentChanges environment_;
    std::unique_ptr<testing::ChildProcess> process_;
};

} // namespace talkledger::rehearsal
