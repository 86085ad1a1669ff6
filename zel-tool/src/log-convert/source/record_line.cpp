#include "record_line.h"

#include <cstring>
#include <iterator>
#include <string_view>

#include "ara/log/system_time.h"

namespace zel::clt {
namespace {

std::string_view LevelName(const ara::log::ExtendedHeader& header) {
    using ara::log::MessageType;
    switch (header.GetMessageType()) {
        case MessageType::kLog:
            break;
        case MessageType::kAppTrace:
            return "app_trace";
        case MessageType::kNwTrace:
            return "nw_trace";
        case MessageType::kControl:
            return "control";
        default:
            return "unknown";
    }
    const auto level = static_cast<std::size_t>(header.GetLogLevel());
    return level < std::size(ara::log::kLogLevelNames) ? ara::log::kLogLevelNames[level] : "unknown";
}

}  // namespace

void AppendRecordLine(const ara::log::LogStorageMsg& msg, bool datatime, bool manatime, LineBuffer& out) {
    using ara::log::SystemTime;
    const auto [dataTime, storageTime] = msg.GetPlatformTime();
    const ara::log::LogLTMessage& message = msg.GetLogMsg();
    const bool extended = message.GetStandardHeader().IsHytpUeh();
    const ara::log::ExtendedHeader& header = message.GetExtendedHeader();
    const std::string_view level = extended ? LevelName(header) : "";
    const std::string& payload = message.GetPayload();

    // The line is written piece by piece into room made once.
    char* p = out.Reserve(2 * (SystemTime::kMaxTextSize + 1) + 4 + header.GetApid().size() + header.GetCtid().size() +
                          level.size() + 3 + payload.size() + 3);
    auto put = [&p](std::string_view text) {
        std::memcpy(p, text.data(), text.size());
        p += text.size();
    };
    if (datatime) {
        p = SystemTime::WriteSystemTime(dataTime, p);
        *p++ = ' ';
    }
    if (manatime) {
        p = SystemTime::WriteSystemTime(storageTime, p);
        *p++ = ' ';
    }
    const unsigned counter = message.GetStandardHeader().GetMcnt();
    *p++ = static_cast<char>('0' + counter / 100);
    *p++ = static_cast<char>('0' + counter / 10 % 10);
    *p++ = static_cast<char>('0' + counter % 10);
    *p++ = ' ';
    if (extended) {
        put(header.GetApid());
        *p++ = ' ';
        put(header.GetCtid());
        *p++ = ' ';
        put(level);
        *p++ = ' ';
    } else {
        put("   ");
    }
    *p++ = '[';
    put(payload);
    put("]\n");
    out.Commit(p);
}

}  // namespace zel::clt
