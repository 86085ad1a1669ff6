#include "ara/log/log_control_msg.h"

#include <cstdint>

#include "byte_order.h"

namespace ara::log {
namespace {

constexpr char kHtyp = 0x25;
constexpr char kMsinControlRequest = 0x16;
constexpr std::uint32_t kServiceSetLogLevel = 0x01;
constexpr std::uint32_t kServiceSetDefaultLogLevel = 0x11;
constexpr char kRemote[] = "remo";

}  // namespace

std::vector<char> LogControlMsg::Serialize() const {
    std::vector<char> payload;
    if (const auto* set = std::get_if<LogControlMsgSetLogLevel>(&request_)) {
        if (set->GetAppId().empty() || set->GetCtxId().empty()) {
            return {};  // four NULs would read as every application or context
        }
        bytes::StoreLe32(payload, kServiceSetLogLevel);
        bytes::StoreId(payload, set->GetAppId());
        bytes::StoreId(payload, set->GetCtxId());
        payload.push_back(static_cast<char>(set->GetLogLevel()));
    } else if (const auto* def = std::get_if<LogControlMsgSetDefaultLogLevel>(&request_)) {
        bytes::StoreLe32(payload, kServiceSetDefaultLogLevel);
        payload.push_back(static_cast<char>(def->GetLogLevel()));
    } else {
        return {};
    }
    payload.insert(payload.end(), kRemote, kRemote + 4);

    std::vector<char> message{kHtyp, 0, 0, 0};
    bytes::StoreId(message, "CLT");
    message.push_back(kMsinControlRequest);
    message.push_back(1);
    bytes::StoreId(message, "CLT");
    bytes::StoreId(message, "clt");
    message.insert(message.end(), payload.begin(), payload.end());
    const auto length = static_cast<std::uint16_t>(message.size());
    message[2] = static_cast<char>(length >> 8);
    message[3] = static_cast<char>(length & 0xFF);
    return message;
}

}  // namespace ara::log
