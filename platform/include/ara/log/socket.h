// Sockets that carry log-control requests: a Unix-domain stream client to the local log daemon
// and a UDP socket between two IPv4 endpoints to the MCU. Each object owns at most one open
// descriptor, closed by Close or the destructor. Not shared between threads.
#ifndef ARA_LOG_SOCKET_H
#define ARA_LOG_SOCKET_H

#include <cstdint>
#include <vector>

#include "ara/core/string.h"

namespace ara::log {

class Socket {
public:
    Socket() = default;
    virtual ~Socket() { Close(); }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

    void Close();

protected:
    int fd_ = -1;
};

class TcpClient : public Socket {
public:
    // Connects; false when the peer is not reachable within about a second.
    virtual bool StartUp() = 0;
    // Sends the whole buffer with send(2) flags; the bytes sent, or negative on failure. Without
    // MSG_DONTWAIT a send gives up after about a second without progress.
    int Send(const std::vector<char>& bytes, int flags);
};

class UnixTcpClient : public TcpClient {
public:
    explicit UnixTcpClient(const core::String& path) : path_(path) {}
    bool StartUp() override;

private:
    core::String path_;
};

class UdpSocket : public Socket {
public:
    // Opens and binds the socket; false on failure.
    virtual bool StartUp() = 0;
    // Sends one datagram with sendto(2) flags; the bytes sent, or negative on failure.
    virtual int Send(const std::vector<char>& bytes, int flags) const = 0;
};

class InetUdpSocket : public UdpSocket {
public:
    InetUdpSocket(const core::String& localAddress, std::uint16_t localPort, const core::String& remoteAddress,
                  std::uint16_t remotePort)
        : localAddress_(localAddress), localPort_(localPort), remoteAddress_(remoteAddress), remotePort_(remotePort) {}
    bool StartUp() override;
    int Send(const std::vector<char>& bytes, int flags) const override;

private:
    core::String localAddress_;
    std::uint16_t localPort_;
    core::String remoteAddress_;
    std::uint16_t remotePort_;
};

}  // namespace ara::log

#endif  // ARA_LOG_SOCKET_H
