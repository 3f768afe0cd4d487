#pragma once

#include "TalkledgerPlatform/Audio/PipeWireConnection.h"
#include "TalkledgerPlatform/Audio/SampleRing.h"

#include <pipewire/filter.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <utility>
#include <vector>

namespace talkledger {

/// Takes what this process itself plays out of what a stereo output plays. What connections of this process play into
/// the output is linked here as well; it arrives with the positions at which the output mixes it, and is subtracted
/// there. Nothing is linked as long as this process plays nothing. What remains: the moment until a sound is linked,
/// and all of it while the output has other channels than left and right, or the graph another rate than the track.
class OwnSound {
public:
    /// `sampleRate` is the track's.
    explicit OwnSound(std::uint32_t sampleRate);
    ~OwnSound() = default; // `close` comes first, while there is a connection
    OwnSound(const OwnSound&) = delete;
    OwnSound& operator=(const OwnSound&) = delete;

    /// Links what `output` plays of this process now. With the connection's lock held, after each change.
    void follow(PipeWireConnection& connection, std::uint32_t output);

    /// With the connection's lock held.
    void close();

    using Receiver = std::function<void(const CapturePacket&, std::span<const float>)>;

    /// Hands on what the output played, interleaved left and right, without what this process played. While it plays,
    /// one packet is kept back: its own sound may arrive just after it; `samples` are then taken. On the delivery
    /// thread.
    void pass(const CapturePacket& packet, std::vector<float>& samples, const Receiver& receiver);

    /// Hands on what is kept back. On the delivery thread.
    void flush(const Receiver& receiver);

private:
    static constexpr std::uint32_t kChannelCount = 2;

    struct Passage {
        CapturePacket packet;
        std::vector<float> samples;
    };

    struct Link {
        pw_proxy* proxy;
        bool isWanted;
    };

    bool open(PipeWireConnection& connection);
    void link(PipeWireConnection& connection, std::uint32_t outputPort, std::uint32_t inputPort);
    void receive(const spa_io_clock& clock) noexcept;
    void collectPassages();
    void subtractFrom(Passage& played);

    static const pw_filter_events events;

    const std::uint32_t sampleRate_;

    // Guarded by the connection's lock.
    pw_filter* filter_{nullptr};
    spa_hook listener_{};
    std::map<std::pair<std::uint32_t, std::uint32_t>, Link> links_; ///< by output and input port

    // The realtime thread's own while there is a filter.
    std::array<void*, kChannelCount> ports_{};
    std::vector<float> interleaved_;

    std::atomic<bool> isLinked_{false};
    SampleRing ring_; ///< from the realtime thread to the delivery thread

    // The delivery thread's own.
    std::deque<Passage> passages_; ///< of this process's sound, not yet past
    std::optional<Passage> kept_;
};

} // namespace talkledger
