#include "convert_text.h"

#include <charconv>
#include <cstring>
#include <string_view>

#include "record_line.h"

namespace zel::clt {

void ConvertText::Decoded(const ara::log::LogStorageMsg& record) {
    if (!sawRecord_) {
        sawRecord_ = true;
        held_ = discardSize_;
        discardSize_ = 0;
    }
    ReportDropped();
    AppendRecordLine(record, datatime_, manatime_, lines_);
}

void ConvertText::Restart() {
    lines_.Clear();
    sawRecord_ = !holdFirst_;
    discardSize_ = 0;
}

void ConvertText::ReportDropped() {
    if (discardSize_ == 0) {
        return;
    }
    constexpr std::string_view kFront = "Log file cannot be parse completely. Discard ";
    constexpr std::string_view kBack = " bytes.\n";
    char* p = lines_.Reserve(kFront.size() + 20 + kBack.size());
    std::memcpy(p, kFront.data(), kFront.size());
    p = std::to_chars(p + kFront.size(), p + kFront.size() + 20, discardSize_).ptr;
    std::memcpy(p, kBack.data(), kBack.size());
    lines_.Commit(p + kBack.size());
    discardSize_ = 0;
}

}  // namespace zel::clt
