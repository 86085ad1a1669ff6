// LogConvertService: converts one stored DLT log file to text on standard output.
//
// ConvertLogFile checks the name (".log" or ".log.gz"), opens the file, prints every complete
// record, reports bytes it could not parse, and in follow mode first goes back to the last
// tailNum records and then prints records as they are appended, polling the size once a
// second. The file is read in 2048-byte blocks in both directions; only an incomplete record
// (or, backwards, the unparsed front of the span, at most one block) is carried between blocks.
// Forward blocks come out of larger pieces that a reader thread reads ahead (FileReader).
// Record lines are gathered and handed in large pieces (kOutputChunk) to a writer thread, so that
// writing overlaps decoding; they are all written before a message line, at the end of every
// pass (so before every wait) and before returning. Every other message is flushed at once.
//
// A failed write to standard output ends the conversion and the following; in follow mode a
// pipe whose reader has gone ends the process at the next poll (StandardOutput).
//
// ConvertLogFile runs on the main thread. Stop may be called from any other thread at any
// time. It ends a plain conversion after the block being printed (its lines are written; what
// was not read is not reported as discarded); in follow mode it ends the follow loop, which
// notices at once when waiting and otherwise after the pass it is printing.
#ifndef ZEL_CLT_LOG_CONVERT_SERVICE_H
#define ZEL_CLT_LOG_CONVERT_SERVICE_H

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <ios>
#include <mutex>
#include <string>
#include <vector>

#include "ara/log/log_storage_msg.h"
#include "convert_command.h"
#include "file_reader.h"
#include "line_buffer.h"
#include "output_writer.h"

namespace zel::clt {

class LogConvertService {
public:
    explicit LogConvertService(ConvertCommand cmd);
    virtual ~LogConvertService() = default;
    LogConvertService(const LogConvertService&) = delete;
    LogConvertService& operator=(const LogConvertService&) = delete;

    // 0, or -1 when the file is refused or cannot be opened or measured (the reason is printed).
    int32_t ConvertLogFile();
    // Ends following; safe from any thread.
    void Stop();

private:
    using Bytes = std::vector<uint8_t>;

    // The read position; -1 once a read has failed.
    std::streamoff Tell() const;
    void Seek(std::streamoff pos);
    bool CheckFileName();
    bool OpenLogFile();
    bool CalculateFileSize();
    void ReadAndPrintLog();
    // The read position, or false (the message printed) when the stream has failed.
    bool CheckedPosition(std::streamoff& pos);
    // Reads length bytes at the read position; a failed read is reported.
    bool ReadBlock(uint8_t* into, uint64_t length);
    bool ReadLogFile();
    bool ReverseReadLogFile();
    void SetLogStartPos();
    void ReverseParseLogFile();
    void PrintLog();
    uint64_t DiscardLeftData();
    // At the end of a plain conversion a carried record can no longer be completed: its mark is
    // garbage, and whole records may still follow it in the carried bytes.
    void DrainLeftData();
    void PrintMsg(const ara::log::LogStorageMsg& msg);
    void ReportDiscard(uint64_t bytes);
    // Writes the record lines gathered so far, and any piece still in flight, and flushes.
    void FlushRecords();
    // Standard output for a message line, after the record lines gathered so far.
    std::ostream& Message();
    // True once standard output has failed: nothing more reaches it, so following ends too.
    bool OutputLost();
    // Waits up to a second for Stop.
    void WaitForGrowth();

    bool isGzip_ = false;
    uint64_t fileSize_ = 0;
    std::string realPathFileName_;
    Bytes readDataBuf_;
    Bytes leftDataBuf_;
    FileReader reader_;
    std::streamoff position_ = 0;
    bool readFailed_ = false;
    ConvertCommand cmd_;
    uint64_t discardSize_ = 0;

    std::atomic<bool> following_;             // the follow flag: set from cmd_.isContinue, cleared by Stop
    std::atomic<bool> stopRequested_{false};  // set by Stop: a plain conversion ends at a block boundary
    bool passStopped_ = false;                // a forward pass was ended by Stop
    bool startPositioned_ = false;            // the backward positioning runs at most once
    std::mutex stopMutex_;                    // pairs with stopped_, so that a Stop is never missed
    std::condition_variable stopped_;
    ara::log::LogStorageMsg msg_;  // reused for every record
    LineBuffer pending_;           // record lines not yet handed to writer_, about kOutputChunk at most
    OutputWriter writer_;
};

}  // namespace zel::clt

#endif  // ZEL_CLT_LOG_CONVERT_SERVICE_H
