#pragma once

#include "TalkledgerCore/Ports/Speech.h"
#include "TalkledgerCore/Support/Continuation.h"

#include <cstddef>
#include <deque>
#include <mutex>
#include <variant>

namespace talkledger {

/// Live audio on its way from the capture thread to the recogniser. Whoever puts it in never waits: when the reader
/// falls behind, the oldest is dropped. For source files only, since its includes are heavy.
class AnalyzerInputStream final : public AnalyzerInputSequence {
public:
    /// Inputs that wait at most; of 4096 frames each at 48 kHz, 20 seconds.
    static constexpr std::size_t capacity = 240;

    /// Any thread.
    void yield(AnalyzerInput input);

    /// No more is put in; the reader still gets what waits. Any thread.
    void finish();

    Task<std::optional<AnalyzerInput>> next() override;

private:
    using Wakeup = Continuation<std::monostate>;

    bool waitsFor(Wakeup& wakeup);
    void wakeReader();
    std::optional<AnalyzerInput> take();

    std::mutex lock_; ///< guards what follows
    std::deque<AnalyzerInput> inputs_;
    bool isFinished_{false};
    Wakeup* reader_{nullptr}; ///< while it waits
};

} // namespace talkledger
