// LogConvertService: converts one stored DLT log file to text on standard output.
//
// ConvertLogFile checks the name (".log" or ".log.gz"), opens the file, prints every complete
// record, reports bytes it could not parse, and in follow mode first goes back to the last
// tailNum records and then prints records as they are appended, polling the size once a
// second. The file is judged in 2048-byte blocks in both directions; only an incomplete record
// (or, backwards, the unparsed front of the span, at most one block) is carried between blocks.
// Before each forward pass the file's layout of version 2 storage times is settled, if the pass
// needs it (storage_layout_scan.h).
// Forward, a BlockDecoder judges the blocks and a ConvertText makes the lines (forward_pass.h);
// the first pass of a long file runs on several threads (parallel_pass.h), the output the same.
// Record lines go in large pieces (kOutputChunk) to a writer thread, so that writing overlaps
// decoding; they are all written at the end of every pass (so before every wait), before any
// other message and before returning.
//
// A failed write to standard output ends the conversion and the following; in follow mode a
// pipe whose reader has gone ends the process at the next poll (StandardOutput). A followed file
// that shrank below the read position, or was truncated and written again past it (the bytes
// before the position changed), ends the following as a failed read.
//
// ConvertLogFile runs on the main thread. Stop may be called from any other thread at any
// time. It ends the going back over the last records after the block being parsed, and a pass
// after the piece being decoded (its lines are written; what was not read is not reported as
// discarded); in follow mode it also ends the follow loop, which notices at once when waiting.
#ifndef ZEL_CLT_LOG_CONVERT_SERVICE_H
#define ZEL_CLT_LOG_CONVERT_SERVICE_H

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "ara/log/log_storage_msg.h"
#include "block_decoder.h"
#include "convert_command.h"
#include "convert_text.h"
#include "file_reader.h"
#include "forward_pass.h"
#include "output_writer.h"
#include "storage_layout_scan.h"

namespace zel::clt {

class LogConvertService {
public:
    // firstPass: how the first forward pass is cut; by default as ShapeFor says for its length and
    // the budget of this process (read only for a long pass).
    explicit LogConvertService(ConvertCommand cmd, std::optional<PassShape> firstPass = std::nullopt);
    virtual ~LogConvertService() = default;
    LogConvertService(const LogConvertService&) = delete;
    LogConvertService& operator=(const LogConvertService&) = delete;

    // 0, or -1 when the file is refused or cannot be opened or measured (the reason is printed).
    int32_t ConvertLogFile();
    // Ends following; safe from any thread.
    void Stop();

private:
    using Bytes = std::vector<uint8_t>;

    bool CheckFileName();
    bool OpenLogFile();
    bool CalculateFileSize();
    void ReadAndPrintLog();
    // The block before the reader's position, in front of the carried front; the reader stays
    // at the block's start.
    bool ReverseReadLogFile(Bytes& span, const Bytes& front);
    void SetLogStartPos();
    void ReverseParseLogFile(const Bytes& span, Bytes& front);
    // Forgets the record carried into the read that failed, and says so.
    void ReadFailed();
    // Writes the text made so far, and any piece still in flight, and flushes.
    void FlushRecords();
    // Standard output for a message line, after the text made so far.
    std::ostream& Message();
    // True once standard output has failed: nothing more reaches it, so following ends too.
    bool OutputLost();
    // Waits up to a second for Stop.
    void WaitForGrowth();

    ConvertCommand cmd_;
    std::optional<PassShape> firstPass_;
    bool isGzip_ = false;
    uint64_t fileSize_ = 0;
    std::string realPathFileName_;
    FileReader reader_;
    ConvertText text_;
    BlockDecoder decoder_;
    ara::log::LogStorageMsg backwardRecord_;  // reused for every record tried backwards; finds where
                                              // records start, which no storage-time layout changes
    StorageLayoutScan layoutScan_;            // the file's layout of version 2 storage times

    std::atomic<bool> following_;             // the follow flag: set from cmd_.isContinue, cleared by Stop
    std::atomic<bool> stopRequested_{false};  // set by Stop: the positioning and a pass end soon after
    bool passStopped_ = false;                // a forward pass was ended by Stop
    bool startPositioned_ = false;            // the backward positioning runs at most once
    std::mutex stopMutex_;                    // pairs with stopped_, so that a Stop is never missed
    std::condition_variable stopped_;
    OutputWriter writer_;
};

}  // namespace zel::clt

#endif  // ZEL_CLT_LOG_CONVERT_SERVICE_H
