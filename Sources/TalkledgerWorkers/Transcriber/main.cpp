#include "TalkledgerWorkers/Protocol/WorkerMessages.h"
#include "TalkledgerWorkers/Transcriber/PocketSphinxEngine.h"
#include "TalkledgerWorkers/Transcriber/Transcriber.h"

extern "C" {
#include <libavutil/log.h>
}

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/io_context.hpp>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <exception>
#include <memory>
#include <string>

namespace {

using namespace talkledger;

bool isSocket(int descriptor) {
    int type = 0;
    socklen_t length = sizeof type;
    return getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &type, &length) == 0 && type == SOCK_STREAM;
}

/// A meeting's sound is nothing for a crash report.
void keepMemoryPrivate() {
    const rlimit none{0, 0};
    setrlimit(RLIMIT_CORE, &none);
    prctl(PR_SET_DUMPABLE, 0, 0, 0, 0);
}

/// Capture and the desktop come first.
void lowerPriority() {
    constexpr int niceness = 5; // more, and a busy machine would leave a transcript unfinished for minutes
    setpriority(PRIO_PROCESS, 0, niceness);
}

std::unique_ptr<SpeechEngine> makeEngine(const std::string& locale) {
    if (locale != "en_US") {
        throw SpeechEngineError("No speech engine for " + locale + " is installed.");
    }
    return std::make_unique<PocketSphinxEngine>(TALKLEDGER_POCKETSPHINX_MODELS);
}

void serve() {
    boost::asio::io_context context;
    FrameSocket::Socket socket(context, boost::asio::local::stream_protocol(), workerSocketDescriptor);
    Transcriber transcriber(std::move(socket), makeEngine, {});
    boost::asio::co_spawn(context, transcriber.run(), boost::asio::detached);
    context.run();
    // The program is gone. Should an engine not come to an end now, this process does.
    constexpr unsigned patience = 2; // seconds
    alarm(patience);
}

} // namespace

int main() {
    if (!isSocket(workerSocketDescriptor)) {
        std::fputs("talkledger-transcriber is started by Talkledger itself, not by hand.\n", stderr);
        return 2;
    }
    keepMemoryPrivate();
    lowerPriority();
    std::signal(SIGPIPE, SIG_IGN); // a closed socket is found out by reading
    av_log_set_level(AV_LOG_QUIET);
    silencePocketSphinx();
    try {
        serve();
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "talkledger-transcriber: %s\n", failure.what());
        return 1;
    }
    return 0;
}
