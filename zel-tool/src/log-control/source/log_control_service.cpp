#include "log_control_service.h"

#include <sys/socket.h>

#include <iostream>
#include <utility>
#include <vector>

#include "zel_paths.h"

namespace zel::clt {
namespace {

constexpr int kStreamSendFlags = MSG_NOSIGNAL | MSG_DONTWAIT;  // 16448
constexpr int kDatagramSendFlags = 0;
constexpr std::size_t kIdLength = 4;

static_assert(kStreamSendFlags == 16448, "the daemon link sends without blocking and without SIGPIPE");

// Connects, sends the message once and closes; a failure is printed with the peer's name. A
// message without bytes (one the request cannot be carried in) fails as a send before any
// connection is made, so nothing reaches the peer.
template <typename Connection>
int32_t SendOnce(Connection& connection, const std::vector<char>& message, int flags, const char* peer) {
    if (message.empty()) {
        std::cout << "fail to send buffer to " << peer << std::endl;
        return -1;
    }
    if (!connection.StartUp()) {
        std::cout << "fail to create connection with " << peer << " " << std::endl;
        return -1;
    }
    const int sent = connection.Send(message, flags);
    connection.Close();
    if (sent < 0) {
        std::cout << "fail to send buffer to " << peer << std::endl;
        return -1;
    }
    return 0;
}

}  // namespace

LogControlService::LogControlService() : m_unixTcpconnect(paths::kLogDaemonCtrlSocket) {}

void LogControlService::ControlLevel(std::string appId, std::string ctxId, ara::log::LogLevel level) {
    appId = appId.substr(0, kIdLength);
    ctxId = ctxId.substr(0, kIdLength);
    m_ctrlMsg.SetControlLogLevel(ara::log::LogControlMsgSetLogLevel(std::move(appId), std::move(ctxId), level));
    if (SendLocalLogLevel() != 0) {
        std::cout << "fail to send local log level " << std::endl;
    }
}

void LogControlService::ControlDefaultLevel(ara::log::LogLevel level) {
    m_ctrlMsg.SetControlDefaultLogLevel(ara::log::LogControlMsgSetDefaultLogLevel(level));
    if (SendLocalLogLevel() != 0) {
        std::cout << "fail to send local log level " << std::endl;
    }
    if (SendLogLevelToRemote() != 0) {
        std::cout << "fail to send MCU log level " << std::endl;
    }
}

int32_t LogControlService::SendLocalLogLevel() {
    return SendOnce(m_unixTcpconnect, m_ctrlMsg.Serialize(), kStreamSendFlags, "log_daemon");
}

int32_t LogControlService::SendLogLevelToRemote() const {
    ara::log::InetUdpSocket socket(paths::kSocAddress, paths::kSocPort, paths::kMcuAddress, paths::kMcuPort);
    return SendOnce(socket, m_ctrlMsg.Serialize(), kDatagramSendFlags, "MCU");
}

}  // namespace zel::clt
