#include "Rehearsal/Waiting.h"

#include <thread>

namespace talkledger::rehearsal {

void waitUntil(const std::string& what, const std::function<bool()>& holds, std::chrono::seconds patience) {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (!holds()) {
        if (std::chrono::steady_clock::now() > deadline) {
            throw RehearsalError("After " + std::to_string(patience.count()) +
                                 " seconds this had still not come about: " + what + ".");
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

} // namespace talkledger::rehearsal
