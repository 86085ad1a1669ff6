#include "ara/log/socket.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>

namespace ara::log {
namespace {

// How long a connect to the log daemon may wait: a daemon that is stopped or stuck stops
// accepting, its queue of pending connections fills, and connect would wait for ever. (The
// service sends without waiting, MSG_DONTWAIT: a full socket buffer fails the send at once.)
constexpr timeval kStreamTimeout{1, 0};

// Fills an address that the caller value-initialised.
bool ToSockaddr(const core::String& address, std::uint16_t port, sockaddr_in& out) {
    out.sin_family = AF_INET;
    out.sin_port = htons(port);
    return inet_pton(AF_INET, address.c_str(), &out.sin_addr) == 1;
}

}  // namespace

void Socket::Close() {
    if (fd_ >= 0) {
        close(fd_);
        fd_ = -1;
    }
}

int TcpClient::Send(const std::vector<char>& bytes, int flags) {
    if (fd_ < 0) {
        return -1;
    }
    std::size_t sent = 0;
    while (sent < bytes.size()) {
        const ssize_t n = send(fd_, bytes.data() + sent, bytes.size() - sent, flags);
        if (n < 0) {
            return -1;
        }
        sent += static_cast<std::size_t>(n);
    }
    return static_cast<int>(sent);
}

bool UnixTcpClient::StartUp() {
    Close();
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path_.size() >= sizeof(address.sun_path)) {
        return false;
    }
    std::memcpy(address.sun_path, path_.c_str(), path_.size() + 1);
    fd_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd_ < 0) {
        return false;
    }
    // The send timeout bounds connect too: on a full queue it fails with EAGAIN once it expires.
    if (setsockopt(fd_, SOL_SOCKET, SO_SNDTIMEO, &kStreamTimeout, sizeof(kStreamTimeout)) != 0 ||
        connect(fd_, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
        Close();
        return false;
    }
    return true;
}

bool InetUdpSocket::StartUp() {
    Close();
    sockaddr_in local{};
    sockaddr_in remote{};
    if (!ToSockaddr(localAddress_, localPort_, local) || !ToSockaddr(remoteAddress_, remotePort_, remote)) {
        return false;
    }
    fd_ = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd_ < 0) {
        return false;
    }
    const int on = 1;
    setsockopt(fd_, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
    if (bind(fd_, reinterpret_cast<const sockaddr*>(&local), sizeof(local)) != 0) {
        Close();
        return false;
    }
    return true;
}

int InetUdpSocket::Send(const std::vector<char>& bytes, int flags) const {
    sockaddr_in remote{};
    if (!ToSockaddr(remoteAddress_, remotePort_, remote)) {
        return -1;
    }
    const ssize_t n =
        sendto(fd_, bytes.data(), bytes.size(), flags, reinterpret_cast<const sockaddr*>(&remote), sizeof(remote));
    return n < 0 ? -1 : static_cast<int>(n);
}

}  // namespace ara::log
