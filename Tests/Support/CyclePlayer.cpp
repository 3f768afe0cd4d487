#include "Support/CyclePlayer.h"

#include "Support/ChildProcess.h"

#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <utility>

namespace talkledger::testing {
namespace {

constexpr std::chrono::seconds kPatience{30};

class LoopLock {
public:
    explicit LoopLock(pw_thread_loop* loop) : loop_(loop) { pw_thread_loop_lock(loop_); }

    ~LoopLock() { pw_thread_loop_unlock(loop_); }

    LoopLock(const LoopLock&) = delete;
    LoopLock& operator=(const LoopLock&) = delete;

private:
    pw_thread_loop* loop_;
};

std::string portName(std::size_t index) {
    return "channel" + std::to_string(index);
}

} // namespace

CyclePlayer::CyclePlayer(std::string nodeName, std::vector<PlayedChannel> channels) : nodeName_(std::move(nodeName)) {
    for (PlayedChannel& channel : channels) {
        frameCount_ = channel.samples.size();
        ports_.push_back({.channel = std::move(channel)});
    }
    pw_init(nullptr, nullptr);
    loop_.reset(pw_thread_loop_new(nodeName_.c_str(), nullptr));
    if (!loop_ || pw_thread_loop_start(loop_.get()) < 0) {
        throw std::runtime_error("The player's thread could not be started.");
    }
    try {
        connect();
        for (std::size_t index = 0; index < ports_.size(); ++index) {
            for (const std::string& target : ports_[index].channel.targets) {
                ChildProcessOptions link;
                link.arguments = {"pw-link", nodeName_ + ":" + portName(index), target};
                runProgram(link);
            }
        }
    } catch (...) {
        pw_thread_loop_stop(loop_.get());
        throw;
    }
}

CyclePlayer::~CyclePlayer() {
    pw_thread_loop_stop(loop_.get());
    filter_.reset();
}

void CyclePlayer::connect() {
    static const pw_filter_events events = [] {
        pw_filter_events handlers{};
        handlers.version = PW_VERSION_FILTER_EVENTS;
        handlers.state_changed = [](void* self, pw_filter_state, pw_filter_state, const char* error) {
            auto* player = static_cast<CyclePlayer*>(self);
            if (error != nullptr) {
                player->failure_ = error;
            }
            pw_thread_loop_signal(player->loop_.get(), false);
        };
        handlers.process = [](void* self, spa_io_position* position) {
            static_cast<CyclePlayer*>(self)->playCycle(position->clock);
        };
        return handlers;
    }();

    const LoopLock lock(loop_.get());
    // A late player would hold up the whole graph; this gives its thread realtime priority where that is allowed.
    context_.reset(pw_context_new(pw_thread_loop_get_loop(loop_.get()),
                                  pw_properties_new(PW_KEY_CONFIG_NAME, "client-rt.conf", nullptr), 0));
    pw_core* core = context_ ? pw_context_connect(context_.get(), nullptr, 0) : nullptr;
    if (core == nullptr) {
        throw std::runtime_error("The player cannot reach the sound server.");
    }
    filter_.reset(pw_filter_new(core, nodeName_.c_str(),
                                pw_properties_new(PW_KEY_NODE_NAME, nodeName_.c_str(), PW_KEY_NODE_AUTOCONNECT, "false",
                                                  PW_KEY_MEDIA_TYPE, "Audio", nullptr)));
    if (!filter_) {
        throw std::runtime_error("The player could not be made.");
    }
    pw_filter_add_listener(filter_.get(), &listener_, &events, this);
    for (std::size_t index = 0; index < ports_.size(); ++index) {
        ports_[index].handle =
            pw_filter_add_port(filter_.get(), PW_DIRECTION_OUTPUT, PW_FILTER_PORT_FLAG_MAP_BUFFERS, 1,
                               pw_properties_new(PW_KEY_FORMAT_DSP, "32 bit float mono audio", PW_KEY_PORT_NAME,
                                                 portName(index).c_str(), nullptr),
                               nullptr, 0);
    }
    if (pw_filter_connect(filter_.get(), PW_FILTER_FLAG_RT_PROCESS, nullptr, 0) < 0) {
        throw std::runtime_error("The player could not be connected to the sound server.");
    }
    timespec deadline{};
    pw_thread_loop_get_time(loop_.get(), &deadline, std::chrono::nanoseconds(kPatience).count());
    while (pw_filter_get_state(filter_.get(), nullptr) < PW_FILTER_STATE_PAUSED) {
        if (!failure_.empty() || pw_thread_loop_timed_wait_full(loop_.get(), &deadline) == -ETIMEDOUT) {
            throw std::runtime_error("The sound server did not accept the player: " + failure_);
        }
    }
}

void CyclePlayer::play() {
    plays_ = true;
}

void CyclePlayer::waitUntilPlayed(std::chrono::milliseconds patience) {
    if (!played_.try_acquire_for(patience)) {
        const LoopLock lock(loop_.get());
        throw std::runtime_error("The player did not come to its end: " + failure_);
    }
}

void CyclePlayer::playCycle(const spa_io_clock& clock) {
    const auto cycleLength = static_cast<std::size_t>(clock.duration);
    bool isLinked = true;
    for (Port& port : ports_) {
        port.buffer =
            static_cast<float*>(pw_filter_get_dsp_buffer(port.handle, static_cast<std::uint32_t>(cycleLength)));
        isLinked = isLinked && port.buffer != nullptr; // without a buffer the frames would be lost
    }
    const std::size_t count = plays_ && isLinked ? std::min(cycleLength, frameCount_ - framesPlayed_) : 0;
    if (count > 0 && framesPlayed_ == 0) {
        beginning_ = std::chrono::steady_clock::time_point(std::chrono::nanoseconds(clock.nsec));
    } else if (count > 0 && clock.position != nextPosition_) {
        hasMissedACycle_ = true;
    }
    nextPosition_ = clock.position + clock.duration;
    for (const Port& port : ports_) {
        if (port.buffer != nullptr) {
            float* rest = std::copy_n(port.channel.samples.data() + framesPlayed_, count, port.buffer);
            std::fill(rest, port.buffer + cycleLength, 0.0F);
        }
    }
    framesPlayed_ += count;
    if (count > 0 && framesPlayed_ == frameCount_) {
        played_.release();
    }
}

} // namespace talkledger::testing
