// For a portable build, in whose libraries the linker can rename nothing: the definitions of the program come before
// theirs.

#include <dlfcn.h>
#include <ggml-backend.h>

/// What ComputeStop puts in place of the engine's own.
extern "C" ggml_status computeUntilStopped(ggml_backend_sched_t scheduler,
                                           ggml_cgraph* graph) asm("__wrap_ggml_backend_sched_graph_compute");

/// The engine's own, by the name under which ComputeStop calls it.
extern "C" ggml_status compute(ggml_backend_sched_t scheduler,
                               ggml_cgraph* graph) asm("__real_ggml_backend_sched_graph_compute");

extern "C" ggml_status compute(ggml_backend_sched_t scheduler, ggml_cgraph* graph) {
    static const auto engine = reinterpret_cast<decltype(&ggml_backend_sched_graph_compute)>(
        dlsym(RTLD_NEXT, "ggml_backend_sched_graph_compute"));
    return engine(scheduler, graph);
}

ggml_status ggml_backend_sched_graph_compute(ggml_backend_sched_t scheduler, ggml_cgraph* graph) {
    return computeUntilStopped(scheduler, graph);
}
