#include "ara/log/log_control_msg.h"

#include <cstdint>

namespace ara::log {
namespace {

constexpr char kHtyp = 0x25;
constexpr char kMsinControlRequest = 0x16;
constexpr std::uint32_t kServiceSetLogLevel = 0x01;
constexpr std::uint32_t kServiceSetDefaultLogLevel = 0x11;
constexpr char kRemote[] = "remo";

void PutId(std::vector<char>& out, const core::String& id) {
    const core::String wire = id == "*" ? core::String() : id.substr(0, 4);
    for (std::size_t i = 0; i < 4; ++i) {
        out.push_back(i < wire.size() ? wire[i] : '\0');
    }
}

void PutUint32Le(std::vector<char>& out, std::uint32_t value) {
    for (int shift = 0; shift < 32; shift += 8) {
        out.push_back(static_cast<char>((value >> shift) & 0xFF));
    }
}

}  // namespace

std::vector<char> LogControlMsg::Serialize() const {
    std::vector<char> payload;
    if (const auto* set = std::get_if<LogControlMsgSetLogLevel>(&request_)) {
        PutUint32Le(payload, kServiceSetLogLevel);
        PutId(payload, set->GetAppId());
        PutId(payload, set->GetCtxId());
        payload.push_back(static_cast<char>(set->GetLogLevel()));
    } else if (const auto* def = std::get_if<LogControlMsgSetDefaultLogLevel>(&request_)) {
        PutUint32Le(payload, kServiceSetDefaultLogLevel);
        payload.push_back(static_cast<char>(def->GetLogLevel()));
    } else {
        return {};
    }
    payload.insert(payload.end(), kRemote, kRemote + 4);

    std::vector<char> message{kHtyp, 0, 0, 0};
    PutId(message, "CLT");
    message.push_back(kMsinControlRequest);
    message.push_back(1);
    PutId(message, "CLT");
    PutId(message, "clt");
    message.insert(message.end(), payload.begin(), payload.end());
    const auto length = static_cast<std::uint16_t>(message.size());
    message[2] = static_cast<char>(length >> 8);
    message[3] = static_cast<char>(length & 0xFF);
    return message;
}

}  // namespace ara::log
