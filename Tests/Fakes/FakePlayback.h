#pragma once

#include "TalkledgerCore/Ports/Playback.h"

#include <cstdint>
#include <optional>
#include <utility>

namespace talkledger::testing {

/// Plays nothing, and has come as far as the test says.
class FakePlayback final : public Playback {
public:
    std::optional<PlaybackRequest> request; ///< absent when nothing is played
    std::uint64_t number{0};
    double place{0};

    void setEventHandler(EventHandler handler) override { handler_ = std::move(handler); }

    std::uint64_t play(PlaybackRequest wanted) override {
        place = wanted.from;
        request = std::move(wanted);
        return ++number;
    }

    void stop() override { request.reset(); }

    double position() const override { return place; }

    void tell(const PlaybackEvent& event) { handler_(event); }

private:
    EventHandler handler_;
};

} // namespace talkledger::testing
