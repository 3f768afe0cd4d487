#pragma once

#include "TalkledgerWorkers/Protocol/FrameSocket.h"

#include <boost/asio/io_context.hpp>

#include <functional>

/// What the worker programs share: each serves the program over the socket that it inherits.
namespace talkledger {

struct WorkerProgram {
    const char* name{""};
    int niceness{0}; ///< capture and the desktop come first
    /// Works until the program is gone.
    std::function<void(boost::asio::io_context& context, FrameSocket::Socket socket)> serve;
};

/// A worker's `main`; returns its exit status. Started by hand, it says that it is not meant to be.
int runWorkerProgram(const WorkerProgram& program);

/// For a worker that the program has left: should its engine not come to an end in a moment, the process does.
void limitTheEnd();

} // namespace talkledger
