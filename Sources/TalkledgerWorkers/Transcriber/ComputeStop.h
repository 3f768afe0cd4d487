#pragma once

#include <functional>

namespace talkledger {

/// Ends what the engine computes on this thread as soon as nobody wants it any more. The engine asks for itself only
/// between its stages, one of which takes seconds with a large model. One at a time on a thread.
class ComputeStop {
public:
    /// `shouldStop` is asked on this thread between any two operations; once it has said so it is not asked again.
    explicit ComputeStop(std::function<bool()> shouldStop);
    ~ComputeStop();
    ComputeStop(const ComputeStop&) = delete;
    ComputeStop& operator=(const ComputeStop&) = delete;

    /// Whether to stop, now or before: whoever asked for it may think better of it.
    bool isWanted();

    /// `isWanted` in the form that the engine asks in.
    static bool ask(void* stop) { return static_cast<ComputeStop*>(stop)->isWanted(); }

private:
    std::function<bool()> shouldStop_;
    bool isWanted_{false};
};

} // namespace talkledger
