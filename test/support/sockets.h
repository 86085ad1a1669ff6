// The receiving ends of the tool's log-control links, for tests: a UDP socket standing in for
// the MCU and a Unix stream listener standing in for the log daemon's control socket.
#ifndef ZEL_TEST_SUPPORT_SOCKETS_H
#define ZEL_TEST_SUPPORT_SOCKETS_H

#include <cstdint>
#include <string>
#include <vector>

namespace zel::test {

class UdpReceiver {
public:
    UdpReceiver(const std::string& address, uint16_t port);
    ~UdpReceiver();
    UdpReceiver(const UdpReceiver&) = delete;
    UdpReceiver& operator=(const UdpReceiver&) = delete;
    bool Bound() const { return fd_ >= 0; }
    // Every datagram that arrives within the time, as bytes.
    std::vector<std::string> Receive(int timeoutMs = 300);

private:
    int fd_ = -1;
};

class UnixListener {
public:
    explicit UnixListener(const std::string& path);
    ~UnixListener();
    UnixListener(const UnixListener&) = delete;
    UnixListener& operator=(const UnixListener&) = delete;
    bool Listening() const { return fd_ >= 0; }
    // What each connection made within the time sent, one string per connection.
    std::vector<std::string> Receive(int timeoutMs = 300);

private:
    int fd_ = -1;
    std::string path_;
};

}  // namespace zel::test

#endif  // ZEL_TEST_SUPPORT_SOCKETS_H
