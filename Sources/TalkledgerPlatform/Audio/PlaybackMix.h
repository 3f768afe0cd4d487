#pragma once

#include "TalkledgerCore/Ports/Playback.h"
#include "TalkledgerPlatform/Audio/TimeStretch.h"
#include "TalkledgerPlatform/Audio/TrackReader.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace talkledger {

/// A request as one stereo sound: its tracks added up, each at its place on the line. Used by one thread at a time.
class PlaybackMix {
public:
    /// Opens the tracks. What cannot be opened is left out and told in `failures`.
    explicit PlaybackMix(const PlaybackRequest& request);

    struct Failure {
        std::size_t track; ///< of the request's
        std::string description;
    };

    const std::vector<Failure>& failures() const { return failures_; }

    /// There is nothing to be read.
    bool isEmpty() const { return tracks_.empty(); }

    /// Fills left and right in turn; how many frames there were, fewer than asked for only at the end.
    std::size_t read(std::span<float> interleaved) { return stretch_.read(interleaved); }

private:
    struct Track {
        std::unique_ptr<TrackReader> reader;
        std::int64_t silence; ///< frames before its first
        bool hasEnded;
    };

    std::size_t mix(std::span<float> interleaved);
    std::size_t add(Track& track, std::span<float> interleaved);

    std::vector<Track> tracks_;
    std::vector<Failure> failures_;
    std::vector<float> samples_;
    TimeStretch stretch_;
};

} // namespace talkledger
