#include "TalkledgerPlatform/Audio/PlaybackMix.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <functional>

namespace talkledger {

PlaybackMix::PlaybackMix(const PlaybackRequest& request)
    : stretch_(TrackReader::sampleRate, request.speed,
               [this](std::span<float> interleaved) { return mix(interleaved); }) {
    for (std::size_t index = 0; index < request.tracks.size(); ++index) {
        const PlaybackTrack& track = request.tracks[index];
        try {
            auto reader = std::make_unique<TrackReader>(track.file);
            const std::int64_t frame = std::llround((request.from - track.start) * TrackReader::sampleRate);
            reader->seek(frame);
            tracks_.push_back(
                {.reader = std::move(reader), .silence = std::max<std::int64_t>(-frame, 0), .hasEnded = false});
        } catch (const std::exception& error) {
            failures_.push_back({.track = index, .description = error.what()});
        }
    }
}

std::size_t PlaybackMix::mix(std::span<float> interleaved) {
    std::ranges::fill(interleaved, 0.0F);
    std::size_t longest = 0;
    for (Track& track : tracks_) {
        longest = std::max(longest, add(track, interleaved));
    }
    for (float& sample : interleaved) { // two voices at once can be louder than there is room for
        sample = std::clamp(sample, -1.0F, 1.0F);
    }
    return longest;
}

std::size_t PlaybackMix::add(Track& track, std::span<float> interleaved) {
    if (track.hasEnded) {
        return 0;
    }
    const std::size_t frames = interleaved.size() / TrackReader::channelCount;
    const auto silent =
        static_cast<std::size_t>(std::min<std::int64_t>(track.silence, static_cast<std::int64_t>(frames)));
    track.silence -= static_cast<std::int64_t>(silent);
    const std::span<float> heard = interleaved.subspan(silent * TrackReader::channelCount);
    samples_.resize(heard.size());
    const std::size_t read = track.reader->read(samples_);
    std::transform(heard.begin(), heard.begin() + static_cast<std::ptrdiff_t>(read * TrackReader::channelCount),
                   samples_.begin(), heard.begin(), std::plus<>());
    track.hasEnded = silent + read < frames;
    return silent + read;
}

} // namespace talkledger
