#include "TalkledgerWorkers/WorkerProgram.h"

#include "TalkledgerWorkers/Protocol/WorkerMessages.h"

#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <exception>
#include <utility>

namespace talkledger {

namespace {

bool isSocket(int descriptor) {
    int type = 0;
    socklen_t length = sizeof type;
    return getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &type, &length) == 0 && type == SOCK_STREAM;
}

/// What was said in a meeting is nothing for a crash report.
void keepMemoryPrivate() {
    const rlimit none{0, 0};
    setrlimit(RLIMIT_CORE, &none);
    prctl(PR_SET_DUMPABLE, 0, 0, 0, 0);
}

} // namespace

int runWorkerProgram(const WorkerProgram& program) {
    if (!isSocket(workerSocketDescriptor)) {
        std::fprintf(stderr, "%s is started by Talkledger itself, not by hand.\n", program.name);
        return 2;
    }
    keepMemoryPrivate();
    setpriority(PRIO_PROCESS, 0, program.niceness);
    std::signal(SIGPIPE, SIG_IGN); // a closed socket is found out by reading
    try {
        boost::asio::io_context context;
        FrameSocket::Socket socket(context, boost::asio::local::stream_protocol(), workerSocketDescriptor);
        program.serve(context, std::move(socket));
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "%s: %s\n", program.name, failure.what());
        return 1;
    }
    return 0;
}

void limitTheEnd() {
    constexpr unsigned patience = 2; // seconds
    alarm(patience);
}

} // namespace talkledger
