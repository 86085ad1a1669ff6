// Decodes arbitrary bytes record by record, as the converter walks a block, and formats each
// record's line with both time stamps.
#include <cstddef>
#include <cstdint>

#include "record_line.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ara::log::LogStorageMsg msg;
    zel::clt::LineBuffer lines;
    for (std::size_t offset = 0; offset < size;) {
        const int64_t consumed = msg.Deserialize(data + offset, size - offset);
        if (consumed < 1) {
            break;
        }
        if (static_cast<uint64_t>(consumed) > size - offset || msg.GetLength() > static_cast<uint64_t>(consumed)) {
            __builtin_trap();  // a record never reaches past the bytes it was decoded from
        }
        offset += static_cast<std::size_t>(consumed);
        zel::clt::AppendRecordLine(msg, true, true, lines);
    }
    return 0;
}
