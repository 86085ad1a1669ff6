#include "sockets.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <filesystem>

namespace zel::test {
namespace {

int RemainingMs(std::chrono::steady_clock::time_point deadline) {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    return left.count() > 0 ? static_cast<int>(left.count()) : 0;
}

bool Readable(int fd, int timeoutMs) {
    pollfd p{fd, POLLIN, 0};
    return poll(&p, 1, timeoutMs) > 0;
}

}  // namespace

UdpReceiver::UdpReceiver(const std::string& address, uint16_t port) {
    fd_ = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_in local{};
    local.sin_family = AF_INET;
    local.sin_port = htons(port);
    inet_pton(AF_INET, address.c_str(), &local.sin_addr);
    // no SO_REUSEADDR: the port stays this socket's alone
    if (bind(fd_, reinterpret_cast<const sockaddr*>(&local), sizeof(local)) != 0) {
        close(fd_);
        fd_ = -1;
    }
}

UdpReceiver::~UdpReceiver() {
    if (fd_ >= 0) {
        close(fd_);
    }
}

std::vector<std::string> UdpReceiver::Receive(int timeoutMs) {
    std::vector<std::string> datagrams;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (fd_ >= 0 && Readable(fd_, RemainingMs(deadline))) {
        char buffer[65536];
        const ssize_t n = recv(fd_, buffer, sizeof(buffer), 0);
        if (n >= 0) {
            datagrams.emplace_back(buffer, static_cast<std::size_t>(n));
        }
    }
    return datagrams;
}

UnixListener::UnixListener(const std::string& path) : path_(path) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::filesystem::remove(path);
    fd_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof(address.sun_path) - 1);
    if (bind(fd_, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0 || listen(fd_, 8) != 0) {
        close(fd_);
        fd_ = -1;
    }
}

UnixListener::~UnixListener() {
    if (fd_ >= 0) {
        close(fd_);
    }
    std::filesystem::remove(path_);
}

std::vector<std::string> UnixListener::Receive(int timeoutMs) {
    std::vector<std::string> messages;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (fd_ >= 0 && Readable(fd_, RemainingMs(deadline))) {
        const int connection = accept(fd_, nullptr, nullptr);
        if (connection < 0) {
            continue;
        }
        std::string message;
        char buffer[4096];
        while (Readable(connection, RemainingMs(deadline) + 100)) {
            const ssize_t n = recv(connection, buffer, sizeof(buffer), 0);
            if (n <= 0) {
                break;
            }
            message.append(buffer, static_cast<std::size_t>(n));
        }
        close(connection);
        messages.push_back(message);
    }
    return messages;
}

}  // namespace zel::test
