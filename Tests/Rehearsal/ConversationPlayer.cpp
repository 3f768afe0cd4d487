#include "Rehearsal/ConversationPlayer.h"

#include "Rehearsal/Waiting.h"
#include "Support/ChildProcess.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace talkledger::rehearsal {
namespace {

constexpr const char* kNode = "talkledger-rehearsal";
constexpr std::array<const char*, 3> kPorts{"left", "right", "microphone"};

class LoopLock {
public:
    explicit LoopLock(pw_thread_loop* loop) : loop_(loop) { pw_thread_loop_lock(loop_); }

    ~LoopLock() { pw_thread_loop_unlock(loop_); }

    LoopLock(const LoopLock&) = delete;
    LoopLock& operator=(const LoopLock&) = delete;

private:
    pw_thread_loop* loop_;
};

void link(const char* port, const std::string& target) {
    testing::ChildProcessOptions options;
    options.arguments = {"pw-link", std::string(kNode) + ":" + port, target};
    testing::runProgram(options);
}

} // namespace

ConversationPlayer::ConversationPlayer(Performance performance, const std::string& outputNode,
                                       const std::string& microphoneNode)
    : performance_(std::move(performance)) {
    pw_init(nullptr, nullptr);
    loop_.reset(pw_thread_loop_new(kNode, nullptr));
    if (!loop_ || pw_thread_loop_start(loop_.get()) < 0) {
        throw RehearsalError("The player's thread could not be started.");
    }
    try {
        connect();
    } catch (...) {
        pw_thread_loop_stop(loop_.get());
        throw;
    }
    link(kPorts[0], outputNode + ":playback_FL");
    link(kPorts[1], outputNode + ":playback_FR");
    link(kPorts[2], microphoneNode + ":input_MONO");
}

ConversationPlayer::~ConversationPlayer() {
    pw_thread_loop_stop(loop_.get());
    filter_.reset();
}

void ConversationPlayer::connect() {
    static const pw_filter_events events = [] {
        pw_filter_events handlers{};
        handlers.version = PW_VERSION_FILTER_EVENTS;
        handlers.state_changed = [](void* self, pw_filter_state, pw_filter_state, const char* error) {
            auto* player = static_cast<ConversationPlayer*>(self);
            if (error != nullptr) {
                player->failure_ = error;
            }
            pw_thread_loop_signal(player->loop_.get(), false);
        };
        handlers.process = [](void* self, spa_io_position* position) {
            static_cast<ConversationPlayer*>(self)->playCycle(position->clock.duration);
        };
        return handlers;
    }();

    const LoopLock lock(loop_.get());
    // A late player would hold up the whole graph; this gives its thread realtime priority where that is allowed.
    context_.reset(pw_context_new(pw_thread_loop_get_loop(loop_.get()),
                                  pw_properties_new(PW_KEY_CONFIG_NAME, "client-rt.conf", nullptr), 0));
    pw_core* core = context_ ? pw_context_connect(context_.get(), nullptr, 0) : nullptr;
    if (core == nullptr) {
        throw RehearsalError("The player cannot reach the sound server.");
    }
    filter_.reset(pw_filter_new(core, kNode,
                                pw_properties_new(PW_KEY_NODE_NAME, kNode, PW_KEY_NODE_AUTOCONNECT, "false",
                                                  PW_KEY_MEDIA_TYPE, "Audio", nullptr)));
    if (!filter_) {
        throw RehearsalError("The player could not be made.");
    }
    pw_filter_add_listener(filter_.get(), &listener_, &events, this);
    for (std::size_t index = 0; index < kPortCount; ++index) {
        ports_[index] = pw_filter_add_port(
            filter_.get(), PW_DIRECTION_OUTPUT, PW_FILTER_PORT_FLAG_MAP_BUFFERS, 1,
            pw_properties_new(PW_KEY_FORMAT_DSP, "32 bit float mono audio", PW_KEY_PORT_NAME, kPorts[index], nullptr),
            nullptr, 0);
    }
    if (pw_filter_connect(filter_.get(), PW_FILTER_FLAG_RT_PROCESS, nullptr, 0) < 0) {
        throw RehearsalError("The player could not be connected to the sound server.");
    }
    timespec deadline{};
    pw_thread_loop_get_time(loop_.get(), &deadline, std::chrono::nanoseconds(kPatience).count());
    while (pw_filter_get_state(filter_.get(), nullptr) < PW_FILTER_STATE_PAUSED) {
        if (!failure_.empty() || pw_thread_loop_timed_wait_full(loop_.get(), &deadline) == -ETIMEDOUT) {
            throw RehearsalError("The sound server did not accept the player: " + failure_);
        }
    }
}

void ConversationPlayer::play() {
    plays_ = true;
}

void ConversationPlayer::waitUntilPlayed(std::chrono::seconds patience) {
    if (!played_.try_acquire_for(patience)) {
        const LoopLock lock(loop_.get());
        throw RehearsalError("The conversation was not played to its end: " + failure_);
    }
}

void ConversationPlayer::playCycle(std::size_t frameCount) {
    std::array<float*, kPortCount> buffers{};
    for (std::size_t index = 0; index < kPortCount; ++index) {
        buffers[index] =
            static_cast<float*>(pw_filter_get_dsp_buffer(ports_[index], static_cast<std::uint32_t>(frameCount)));
    }
    // A port without a buffer is not linked yet; no frame may be lost to it.
    const bool isLinked = std::ranges::find(buffers, nullptr) == buffers.end();
    const std::size_t count = plays_ && isLinked ? std::min(frameCount, performance_.microphone.size() - position_) : 0;
    const std::array<const Samples*, kPortCount> tracks{&performance_.output, &performance_.output,
                                                        &performance_.microphone};
    for (std::size_t index = 0; index < kPortCount; ++index) {
        if (buffers[index] != nullptr) {
            float* rest = std::copy_n(tracks[index]->data() + position_, count, buffers[index]);
            std::fill(rest, buffers[index] + frameCount, 0.0F);
        }
    }
    position_ += count;
    if (count > 0 && position_ == performance_.microphone.size()) {
        played_.release();
    }
}

} // namespace talkledger::rehearsal
