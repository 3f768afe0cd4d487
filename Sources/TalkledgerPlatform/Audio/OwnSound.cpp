#include "TalkledgerPlatform/Audio/OwnSound.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

namespace talkledger {
namespace {

constexpr const char* kNodeName = "talkledger-own-sound";
constexpr std::size_t kRingFrames = 96000;
constexpr std::size_t kLongestCycle = 8192;
/// A channel of the output has the port of the same place and name here.
constexpr std::array<std::string_view, 2> kChannels{"FL", "FR"};

} // namespace

const pw_filter_events OwnSound::events = {
    .version = PW_VERSION_FILTER_EVENTS,
    .process = [](void* self, spa_io_position* position) { static_cast<OwnSound*>(self)->receive(position->clock); },
};

OwnSound::OwnSound(std::uint32_t sampleRate)
    : sampleRate_(sampleRate), interleaved_(kLongestCycle * kChannelCount), ring_(kChannelCount, kRingFrames) {}

void OwnSound::follow(PipeWireConnection& connection, std::uint32_t output) {
    const std::vector<PlayedPort> played = connection.portsOfThisProcessPlayingInto(output, kChannels);
    if (played.empty()) {
        close();
        return;
    }
    if (filter_ == nullptr && !open(connection)) {
        return;
    }
    for (auto& entry : links_) {
        entry.second.isWanted = false;
    }
    for (const PlayedPort& port : played) {
        if (const auto input = connection.portOf(pw_filter_get_node_id(filter_), port.channel)) {
            link(connection, port.port, *input);
        }
    }
    std::erase_if(links_, [](const auto& entry) {
        const Link& link = entry.second;
        if (!link.isWanted) {
            pw_proxy_destroy(link.proxy);
        }
        return !link.isWanted;
    });
}

void OwnSound::link(PipeWireConnection& connection, std::uint32_t outputPort, std::uint32_t inputPort) {
    const auto known = links_.find({outputPort, inputPort});
    if (known != links_.end()) {
        known->second.isWanted = true;
        return;
    }
    const std::string from = std::to_string(outputPort);
    const std::string to = std::to_string(inputPort);
    const std::array<spa_dict_item, 2> items{
        spa_dict_item{PW_KEY_LINK_OUTPUT_PORT, from.c_str()},
        spa_dict_item{PW_KEY_LINK_INPUT_PORT, to.c_str()},
    };
    const spa_dict properties{.flags = 0, .n_items = static_cast<std::uint32_t>(items.size()), .items = items.data()};
    auto* proxy = static_cast<pw_proxy*>(pw_core_create_object(
        connection.core(), "link-factory", PW_TYPE_INTERFACE_Link, PW_VERSION_LINK, &properties, 0));
    if (proxy != nullptr) {
        links_[{outputPort, inputPort}] = {.proxy = proxy, .isWanted = true};
    }
}

/// Its ports are told of later.
bool OwnSound::open(PipeWireConnection& connection) {
    filter_ = pw_filter_new(connection.core(), kNodeName,
                            pw_properties_new(PW_KEY_NODE_NAME, kNodeName, PW_KEY_NODE_AUTOCONNECT, "false",
                                              PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_APP_NAME, "Talkledger", nullptr));
    if (filter_ == nullptr) {
        return false;
    }
    pw_filter_add_listener(filter_, &listener_, &events, this);
    for (std::size_t index = 0; index < ports_.size(); ++index) {
        ports_[index] = pw_filter_add_port(filter_, PW_DIRECTION_INPUT, PW_FILTER_PORT_FLAG_MAP_BUFFERS, 1,
                                           pw_properties_new(PW_KEY_FORMAT_DSP, "32 bit float mono audio",
                                                             PW_KEY_PORT_NAME, kChannels[index].data(), nullptr),
                                           nullptr, 0);
    }
    isLinked_ = true;
    return pw_filter_connect(filter_, PW_FILTER_FLAG_RT_PROCESS, nullptr, 0) >= 0;
}

void OwnSound::close() {
    isLinked_ = false;
    for (const auto& [ports, link] : links_) {
        pw_proxy_destroy(link.proxy);
    }
    links_.clear();
    if (filter_ != nullptr) {
        spa_hook_remove(&listener_);
        pw_filter_destroy(filter_); // waits for a callback that is under way
        filter_ = nullptr;
    }
}

void OwnSound::receive(const spa_io_clock& clock) noexcept {
    const auto frames = static_cast<std::uint32_t>(std::min<std::uint64_t>(clock.duration, kLongestCycle));
    for (std::size_t channel = 0; channel < ports_.size(); ++channel) {
        const auto* samples = static_cast<const float*>(pw_filter_get_dsp_buffer(ports_[channel], frames));
        for (std::size_t frame = 0; frame < frames; ++frame) {
            interleaved_[frame * kChannelCount + channel] = samples != nullptr ? samples[frame] : 0.0F;
        }
    }
    ring_.push({.ticks = clock.position, .ticksPerSecond = clock.rate.denom, .driver = clock.id, .frames = frames},
               interleaved_.data());
}

void OwnSound::pass(const CapturePacket& packet, std::vector<float>& samples, const Receiver& receiver) {
    flush(receiver);
    if (isLinked_) {
        kept_ = {.packet = packet, .samples = std::exchange(samples, {})};
    } else {
        receiver(packet, samples);
    }
}

void OwnSound::flush(const Receiver& receiver) {
    if (kept_) {
        collectPassages();
        subtractFrom(*kept_);
        receiver(kept_->packet, kept_->samples);
        kept_.reset();
    }
}

void OwnSound::collectPassages() {
    Passage arrived;
    while (ring_.pop(arrived.packet, arrived.samples)) {
        passages_.push_back(arrived);
    }
}

void OwnSound::subtractFrom(Passage& played) {
    const auto offset = [&](const Passage& own) { // of its first frame in what was played
        return static_cast<std::int64_t>(own.packet.ticks - played.packet.ticks);
    };
    std::erase_if(passages_, [&](const Passage& own) {
        return own.packet.driver != played.packet.driver || offset(own) + own.packet.frames <= 0;
    });
    if (played.packet.ticksPerSecond != sampleRate_) {
        return;
    }
    for (const Passage& own : passages_) {
        const std::int64_t begin = std::max<std::int64_t>(offset(own), 0);
        const std::int64_t end = std::min<std::int64_t>(offset(own) + own.packet.frames, played.packet.frames);
        const std::int64_t shift = offset(own) * kChannelCount;
        for (std::int64_t index = begin * kChannelCount; index < end * kChannelCount; ++index) {
            played.samples[static_cast<std::size_t>(index)] -= own.samples[static_cast<std::size_t>(index - shift)];
        }
    }
}

} // namespace talkledger
