// ConvertText: the text of a conversion, built from what a BlockDecoder reports: one line per
// record (record_line.h) and, in front of a record, the line "Log file cannot be parse
// completely. Discard N bytes." for the N bytes dropped since the record before. The count of
// bytes dropped since the last record is kept here and nowhere else; ReportDropped writes it
// out where no record follows (the end of a conversion).
//
// A text that starts in the middle of a file does not know what was dropped in front of it:
// made with holdFirst, it keeps the count in front of its first record (Held) instead of
// writing it, for the one who joins it to the text before.
//
// One thread uses it; the caller takes the lines (Lines) and clears them.
#ifndef ZEL_CLT_CONVERT_TEXT_H
#define ZEL_CLT_CONVERT_TEXT_H

#include <cstdint>

#include "block_decoder.h"
#include "line_buffer.h"

namespace zel::clt {

class ConvertText : public DecodeReporter {
public:
    ConvertText(bool datatime, bool manatime, bool holdFirst = false)
        : datatime_(datatime), manatime_(manatime), holdFirst_(holdFirst), sawRecord_(!holdFirst) {}

    // A text of the same kind that holds back the count in front of its first record.
    ConvertText Holding() const { return ConvertText(datatime_, manatime_, true); }
    // Empties the lines and forgets the counts, as made.
    void Restart();

    void Dropped(uint64_t bytes) override { discardSize_ += bytes; }
    void Decoded(const ara::log::LogStorageMsg& record) override;

    // Writes the line for the bytes dropped since the last record, if any.
    void ReportDropped();
    // Bytes dropped since the last record (with holdFirst and no record yet: since the start);
    // Dropped(bytes) adds to them.
    uint64_t DroppedSinceRecord() const { return discardSize_; }
    void SetDroppedSinceRecord(uint64_t bytes) { discardSize_ = bytes; }
    // With holdFirst: whether a record came and, once one has, what was dropped in front of it.
    bool SawRecord() const { return sawRecord_; }
    uint64_t Held() const { return held_; }

    LineBuffer& Lines() { return lines_; }

private:
    const bool datatime_;
    const bool manatime_;
    const bool holdFirst_;
    bool sawRecord_;
    uint64_t discardSize_ = 0;
    uint64_t held_ = 0;
    LineBuffer lines_;
};

}  // namespace zel::clt

#endif  // ZEL_CLT_CONVERT_TEXT_H
