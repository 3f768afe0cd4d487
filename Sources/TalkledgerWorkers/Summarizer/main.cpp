#include "TalkledgerWorkers/Summarizer/Summarizer.h"
#include "TalkledgerWorkers/WorkerProgram.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <ggml.h>
#include <unistd.h>

#include <algorithm>
#include <thread>
#include <utility>

namespace {

using namespace talkledger;

constexpr int niceness = 10; // a transcript comes before its summary

/// The cores that capture and the transcriber leave over. More than a few wait for memory rather than work.
int engineThreads() {
    constexpr int needed = 2;
    constexpr int mostUseful = 8;
    return std::clamp(static_cast<int>(std::thread::hardware_concurrency()) - needed, 1, mostUseful);
}

void serve(boost::asio::io_context& context, FrameSocket::Socket socket) {
    Summarizer summarizer(std::move(socket), {.engineThreads = engineThreads()});
    boost::asio::co_spawn(context, summarizer.run(), boost::asio::detached);
    context.run();
    limitTheEnd();
}

} // namespace

int main() {
    // The library breaks off over broken models, and would first have a debugger print where.
    ggml_set_abort_callback([](const char*) { _exit(1); });
    prepareLlama();
    return runWorkerProgram({.name = "talkledger-summarizer", .niceness = niceness, .serve = serve});
}
