#pragma once

#include <deque>

namespace talkledger {

/// Tells where the seconds that an engine has heard of a stream lie on the recording's time line. Both go at the same
/// pace as long as the audio is whole; where a piece of it is missing, or its clock has drifted, they are set against
/// each other anew.
class StreamClock {
public:
    /// The seconds that are missing before audio that begins at `time`; below zero when it begins too early.
    double secondsMissing(double time) const;

    /// What is heard next lies at `time`.
    void resume(double time);

    /// So many seconds have been heard.
    void advance(double seconds) { heard_ += seconds; }

    /// Where that second of the stream lies.
    double time(double streamSeconds) const;

private:
    struct Anchor {
        double streamSeconds{0};
        double time{0};
    };

    std::deque<Anchor> anchors_; ///< in the order of the stream
    double heard_{0};
};

} // namespace talkledger
