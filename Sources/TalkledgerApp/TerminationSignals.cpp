#include "TalkledgerApp/TerminationSignals.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <system_error>

namespace talkledger {
namespace {

/// The session's end, the keyboard, and the terminal that the program was started from being closed.
constexpr std::array handledSignals = {SIGTERM, SIGINT, SIGHUP};

/// The one thing that a signal handler can reach: where it tells the event loop.
std::atomic<int> writeEnd{-1};
static_assert(std::atomic<int>::is_always_lock_free);

extern "C" void tellEventLoop(int) {
    const int savedError = errno;
    const char byte = 0;
    [[maybe_unused]] const ssize_t written = ::write(writeEnd.load(), &byte, 1);
    errno = savedError;
}

} // namespace

TerminationSignals::TerminationSignals() {
    if (::pipe2(pipe_, O_CLOEXEC | O_NONBLOCK) != 0) {
        throw std::system_error(errno, std::generic_category(), "The program cannot listen for its end");
    }
    writeEnd = pipe_[1];
    notifier_ = std::make_unique<QSocketNotifier>(pipe_[0], QSocketNotifier::Read);
    connect(notifier_.get(), &QSocketNotifier::activated, this, [this] {
        std::array<char, 16> bytes{};
        while (::read(pipe_[0], bytes.data(), bytes.size()) > 0) {
        }
        Q_EMIT terminationRequested();
    });

    struct sigaction action {};

    action.sa_handler = tellEventLoop;
    action.sa_flags = static_cast<int>(SA_RESTART | SA_RESETHAND);
    for (const int handled : handledSignals) {
        ::sigaction(handled, &action, nullptr);
    }
}

TerminationSignals::~TerminationSignals() {
    for (const int handled : handledSignals) {
        std::signal(handled, SIG_DFL);
    }
    notifier_.reset();
    writeEnd = -1;
    ::close(pipe_[0]);
    ::close(pipe_[1]);
}

} // namespace talkledger
