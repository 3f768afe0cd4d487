#include "TalkledgerWorkers/Transcriber/ComputeStop.h"

#include <ggml-backend.h>

#include <utility>

namespace talkledger {

namespace {

thread_local ComputeStop* current = nullptr;

/// By name, since the engine finds its processors' parts at run time.
void watch(ggml_backend_t backend, ComputeStop* stop) {
    const ggml_backend_dev_t device = ggml_backend_get_device(backend);
    void* const function =
        ggml_backend_reg_get_proc_address(ggml_backend_dev_backend_reg(device), "ggml_backend_set_abort_callback");
    if (function != nullptr) {
        reinterpret_cast<ggml_backend_set_abort_callback_t>(function)(
            backend, stop == nullptr ? nullptr : ComputeStop::ask, stop);
    }
}

} // namespace

/// The engine's own, which the linker has renamed.
extern "C" ggml_status compute(ggml_backend_sched_t scheduler,
                               ggml_cgraph* graph) asm("__real_ggml_backend_sched_graph_compute");

/// In its place, which the engine calls for each of its stages.
extern "C" ggml_status computeUntilStopped(ggml_backend_sched_t scheduler,
                                           ggml_cgraph* graph) asm("__wrap_ggml_backend_sched_graph_compute");

extern "C" ggml_status computeUntilStopped(ggml_backend_sched_t scheduler, ggml_cgraph* graph) {
    for (int index = 0; index < ggml_backend_sched_get_n_backends(scheduler); ++index) {
        watch(ggml_backend_sched_get_backend(scheduler, index), current);
    }
    return compute(scheduler, graph);
}

ComputeStop::ComputeStop(std::function<bool()> shouldStop) : shouldStop_(std::move(shouldStop)) {
    current = this;
}

ComputeStop::~ComputeStop() {
    current = nullptr;
}

bool ComputeStop::isWanted() {
    isWanted_ = isWanted_ || shouldStop_();
    return isWanted_;
}

} // namespace talkledger
