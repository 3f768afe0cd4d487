#pragma once

#include "Support/ChildProcess.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace talkledger::testing {

/// Whether both devices are in one cycle from the start, as those of one card, and which of them gives the beat.
enum class SharedClock { none, outputs, microphones };

struct SoundSessionOptions {
    bool hasMicrophone{true};    ///< a mono virtual microphone called `SoundSession::kMicrophone`
    bool hasOutput{true};        ///< a stereo output called `SoundSession::kOutput`, that nobody hears
    std::uint32_t quantum{1024}; ///< frames per cycle
    SharedClock sharedClock{SharedClock::none};
};

/// A private sound session: a sound server and a session manager of our own in a folder of their own, without a sound
/// card, a session bus or anything of the desktop. Several live side by side. The constructor returns when sound can be
/// played and recorded; the destructor ends what was started. Needs the packages pipewire, pipewire-bin,
/// libspa-0.2-modules and wireplumber. Everything throws std::runtime_error with what the tools said. Not thread-safe;
/// the thread that makes it must outlive it.
class SoundSession {
public:
    static constexpr const char* kMicrophone = "talkledger-test-microphone";
    static constexpr const char* kOutput = "talkledger-test-output";

    explicit SoundSession(const SoundSessionOptions& options = {});
    ~SoundSession();
    SoundSession(const SoundSession&) = delete;
    SoundSession& operator=(const SoundSession&) = delete;

    /// What a program needs in its environment to use this session.
    const EnvironmentChanges& environment() const { return environment_; }

    /// Makes this process use the session. Call it before the process has a second thread.
    void enter() const;

    const std::filesystem::path& runtimeFolder() const { return folder_; }

    /// Both are gone afterwards, or back; what clients had is not.
    void stopServer();
    void startServer();

    void stopSessionManager();
    void startSessionManager();

    /// The server stands still (SIGSTOP), as one that hangs.
    void freezeServer();
    void thawServer();

    /// The same with the session manager, without which nobody new gets a connection.
    void freezeSessionManager();
    void thawSessionManager();

    /// Adds a device; `mediaClass` is "Audio/Sink", "Audio/Source/Virtual" or the like, `position` its channels ("FL
    /// FR", "MONO"). Of several, the one with the highest priority becomes the default. Returns when the session
    /// manager has made its choice of default known, if `becomesDefault`.
    void addNode(const std::string& name, const std::string& mediaClass, const std::string& position, int priority,
                 bool becomesDefault = true);
    void removeNode(const std::string& name);

    void waitForDefaultSink(const std::string& name) const;

    /// Plays a sound file to the default output.
    std::unique_ptr<ChildProcess> play(const std::filesystem::path& file) const;

    /// Makes the file itself the default microphone, called `name`: it starts when somebody records, passes sample for
    /// sample, and is unplugged at its end (pad half a second: the last part of a quantum can be lost). Returns when it
    /// is the default.
    std::unique_ptr<ChildProcess> playIntoMicrophone(const std::filesystem::path& file,
                                                     const std::string& name = "talkledger-test-voice") const;

    /// Starts a program inside the session.
    std::unique_ptr<ChildProcess> start(const std::vector<std::string>& arguments) const;
    /// Runs a program inside the session to its end; its output.
    std::string run(const std::vector<std::string>& arguments) const;

private:
    void writeConfiguration(const SoundSessionOptions& options) const;
    bool hasDefaultMetadata() const;
    /// The default device as the session manager tells it; empty when there is none.
    std::string defaultNode(const std::string& key) const;
    void waitForDefault(const std::string& key, const std::string& name) const;

    SoundSessionOptions options_; ///< what there is now
    std::filesystem::path folder_;
    EnvironmentChanges environment_;
    std::unique_ptr<ChildProcess> server_;
    std::unique_ptr<ChildProcess> sessionManager_;
};

} // namespace talkledger::testing
