#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace talkledger {

/// A sound file, and where its first sample lies on the time line that is played, in seconds.
struct PlaybackTrack {
    std::filesystem::path file;
    double start{0};

    bool operator==(const PlaybackTrack&) const = default;
};

/// What is to be played: the tracks together, each at its place on the line, from a time on.
struct PlaybackRequest {
    std::vector<PlaybackTrack> tracks;
    double from{0};  ///< seconds on the line
    double speed{1}; ///< 0.5 to 2; the voices keep their pitch

    bool operator==(const PlaybackRequest&) const = default;
};

struct PlaybackEvent {
    enum class Kind {
        trackFailed, ///< the others go on
        failed,      ///< nothing is played
        ended,       ///< all has been played
    };

    Kind kind{Kind::ended};
    std::uint64_t request{0};
    std::size_t track{0};    ///< of the request's, for `trackFailed`
    std::string description; ///< the user-visible reason of a failure

    bool operator==(const PlaybackEvent&) const = default;
};

/// Plays sound files to the user's default output; one request at a time, the latest. Called on the main executor;
/// nothing of it waits for a disk or the sound server.
class Playback {
public:
    /// Called on a thread of the adapter's.
    using EventHandler = std::function<void(const PlaybackEvent&)>;

    Playback() = default;
    Playback(const Playback&) = delete;
    Playback& operator=(const Playback&) = delete;
    virtual ~Playback() = default;

    /// Before the first request.
    virtual void setEventHandler(EventHandler handler) = 0;

    /// Takes the place of what is being played. The number of the request, by which its events are known.
    virtual std::uint64_t play(PlaybackRequest request) = 0;
    virtual void stop() = 0;

    /// Where on the line the latest request has come, in seconds.
    virtual double position() const = 0;
};

} // namespace talkledger
