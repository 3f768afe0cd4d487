#include "Support/LoopbackHost.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace talkledger::testing {
namespace {

std::string readHead(int connection) {
    std::string head;
    std::array<char, 1024> piece{};
    while (head.find("\r\n\r\n") == std::string::npos) {
        const ssize_t count = recv(connection, piece.data(), piece.size(), 0);
        if (count <= 0) {
            break;
        }
        head.append(piece.data(), static_cast<std::size_t>(count));
    }
    return head;
}

void sendAll(int connection, std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = send(connection, text.data(), text.size(), MSG_NOSIGNAL);
        if (count <= 0) {
            return;
        }
        text.remove_prefix(static_cast<std::size_t>(count));
    }
}

} // namespace

LoopbackHost::LoopbackHost(Answer answer)
    : answer_(std::move(answer)), listener_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    if (listener_ < 0 || bind(listener_, generic, length) != 0 || listen(listener_, 8) != 0 ||
        getsockname(listener_, generic, &length) != 0) {
        throw std::runtime_error("No loopback host could be started.");
    }
    port_ = ntohs(address.sin_port);
    thread_ = std::thread([this] { serve(); });
}

LoopbackHost::~LoopbackHost() {
    isEnding_ = true;
    shutdown(listener_, SHUT_RDWR);
    thread_.join();
    close(listener_);
}

std::string LoopbackHost::address(const std::string& path) const {
    return "http://127.0.0.1:" + std::to_string(port_) + path;
}

std::vector<std::string> LoopbackHost::requests() const {
    const std::lock_guard guard(lock_);
    return requests_;
}

void LoopbackHost::serve() {
    while (!isEnding_) {
        const int connection = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        if (connection < 0) {
            continue;
        }
        const std::string head = readHead(connection);
        {
            const std::lock_guard guard(lock_);
            requests_.push_back(head);
        }
        sendAll(connection, answer_(head));
        close(connection);
    }
}

} // namespace talkledger::testing
