// Decodes arbitrary bytes record by record, as the converter walks a block, and reads every
// accessor of each record, its payload text and both time stamps as text.
#include <cstddef>
#include <cstdint>
#include <string>

#include "ara/log/log_storage_msg.h"
#include "ara/log/system_time.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ara::log::LogStorageMsg msg;
    std::size_t offset = 0;
    while (offset < size) {
        const int64_t consumed = msg.Deserialize(data + offset, size - offset);
        if (consumed < 1) {
            break;
        }
        if (static_cast<uint64_t>(consumed) > size - offset || msg.GetLength() > static_cast<uint64_t>(consumed)) {
            __builtin_trap();  // a record never reaches past the bytes it was decoded from
        }
        offset += static_cast<std::size_t>(consumed);
        const auto [dataTime, storageTime] = msg.GetPlatformTime();
        const auto& message = msg.GetLogMsg();
        const auto& header = message.GetExtendedHeader();
        // the parts of the record line, as the converter puts them together
        const std::string line = ara::log::SystemTime::SystemTimeToString(dataTime) + ' ' +
                                 ara::log::SystemTime::SystemTimeToString(storageTime) + ' ' +
                                 std::to_string(message.GetStandardHeader().GetMcnt()) + ' ' +
                                 std::string(header.GetApid()) + ' ' + std::string(header.GetCtid()) + ' ' +
                                 std::to_string(static_cast<int>(header.GetLogLevel())) +
                                 std::to_string(static_cast<int>(header.GetMessageType())) +
                                 std::to_string(message.GetStandardHeader().IsHytpUeh()) + message.GetPayload();
        (void)line;
    }
    return 0;
}
