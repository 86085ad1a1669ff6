#include "log_convert_service.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <utility>

#include "standard_output.h"

namespace zel::clt {
namespace {

constexpr int kPipeSize = 1024 * 1024;
constexpr char kLogSuffix[] = ".log";
constexpr char kGzipSuffix[] = ".log.gz";
constexpr auto kPollInterval = std::chrono::seconds(1);

// The only compressed-file header that is recognised: gzip, deflate, no flags, no time stamp,
// no extra flags, operating system Unix.
constexpr uint8_t kGzipHeader[] = {0x1F, 0x8B, 0x08, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x03};

bool CompareLogStorageMark(const std::vector<uint8_t>& buffer, uint64_t pos) {
    return pos <= buffer.size() && ara::log::LogStorageMsg::StartsWithMark(buffer.data() + pos, buffer.size() - pos);
}

bool IsGzipFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in.is_open()) {
        std::cout << "call file open failed" << std::flush;
        return false;
    }
    char header[sizeof(kGzipHeader)] = {};
    in.read(header, sizeof(header));
    return in.gcount() == static_cast<std::streamsize>(sizeof(header)) &&
           std::equal(header, header + sizeof(header), reinterpret_cast<const char*>(kGzipHeader));
}

// A pipe to a reader such as grep or less holds 64 KB: the tool would wait for the reader after
// every piece it writes. A wider pipe lets both run at once; where it cannot be widened, nothing
// changes.
void WidenOutputPipe() {
    struct stat st {};
    if (fstat(STDOUT_FILENO, &st) == 0 && S_ISFIFO(st.st_mode)) {
        (void)fcntl(STDOUT_FILENO, F_SETPIPE_SZ, kPipeSize);
    }
}

}  // namespace

LogConvertService::LogConvertService(ConvertCommand cmd, std::optional<PassShape> firstPass)
    : cmd_(std::move(cmd)),
      firstPass_(firstPass),
      text_(cmd_.isDatatime, cmd_.isManatime),
      decoder_(text_),
      following_(cmd_.isContinue) {}

void LogConvertService::Stop() {
    {
        std::lock_guard<std::mutex> lock(stopMutex_);
        following_ = false;
        stopRequested_ = true;
    }
    stopped_.notify_all();
}

bool LogConvertService::OutputLost() {
    if (!StandardOutputFailed()) {
        return false;
    }
    following_ = false;
    return true;
}

void LogConvertService::WaitForGrowth() {
    std::unique_lock<std::mutex> lock(stopMutex_);
    stopped_.wait_for(lock, kPollInterval, [this] { return !following_; });
}

bool LogConvertService::CheckFileName() {
    const std::string& name = cmd_.filename;
    const std::size_t at = name.rfind(kLogSuffix);
    const std::string tail = at == std::string::npos ? std::string() : name.substr(at);
    if (tail != kLogSuffix && tail != kGzipSuffix) {
        std::cout << "File: " << name << " cannot find suffix .log or .log.gz" << std::endl;
        return false;
    }
    char resolved[PATH_MAX + 1] = {};
    if (realpath(name.c_str(), resolved) == nullptr) {
        std::cout << "error, file path: " << name << " is not exist" << std::endl;
        return false;
    }
    if (access(resolved, R_OK) != 0) {
        std::cout << "File " << resolved << " cannot be accessed!" << std::endl;
        return false;
    }
    realPathFileName_ = resolved;
    return true;
}

bool LogConvertService::OpenLogFile() {
    // Only regular files: a directory or a device named *.log opens but cannot be read as a log.
    if (!reader_.Open(realPathFileName_)) {
        std::cout << "File " << realPathFileName_ << " cannot be opened!" << std::endl;
        return false;
    }
    if (IsGzipFile(realPathFileName_)) {
        isGzip_ = true;
        cmd_.isContinue = false;  // a compressed file is never followed
        following_ = false;
        reader_.Seek(sizeof(kGzipHeader));
    }
    return true;
}

bool LogConvertService::CalculateFileSize() {
    if (reader_.Size(fileSize_)) {
        return true;
    }
    Message() << "File stream is abnormal" << std::endl;
    return false;
}

bool LogConvertService::ReverseReadLogFile(Bytes& span, const Bytes& front) {
    const uint64_t pos = reader_.Position();
    if (pos == 0) {
        return false;
    }
    const auto length = static_cast<std::size_t>(std::min<uint64_t>(kBlockSize, pos));
    const uint64_t blockStart = pos - length;
    span.resize(length);
    reader_.Seek(blockStart);
    if (reader_.Read(span.data(), length) < length) {
        Message() << "File stream read failed " << std::endl;
        return false;
    }
    reader_.Seek(blockStart);
    span.insert(span.end(), front.begin(), front.end());
    return true;
}

void LogConvertService::SetLogStartPos() {
    reader_.Seek(fileSize_);
    Bytes span;
    Bytes front;  // the bytes in front of the earliest mark tried, up to one block
    while (cmd_.tailNum > 0 && !stopRequested_ && ReverseReadLogFile(span, front)) {
        ReverseParseLogFile(span, front);
    }
    if (cmd_.tailNum == 0) {
        // the carried front ends where the earliest record found begins
        reader_.Seek(reader_.Position() + front.size());
    }
}

void LogConvertService::ReverseParseLogFile(const Bytes& span, Bytes& front) {
    std::size_t end = span.size();
    std::size_t candidate = span.size();
    while (cmd_.tailNum >= 1) {
        if (CompareLogStorageMark(span, candidate)) {
            const int64_t consumed = backwardRecord_.Deserialize(span.data() + candidate, end - candidate);
            // a mark moves the end even when it does not decode: a mark inside a payload cuts
            // the record around it short, and that record is not counted
            end = candidate;
            if (consumed > 0) {
                --cmd_.tailNum;
            }
        }
        if (candidate == 0) {
            break;
        }
        --candidate;
    }
    const std::size_t keep = std::min(end, kBlockSize);
    front.assign(span.begin(), span.begin() + static_cast<std::ptrdiff_t>(keep));
}

void LogConvertService::FlushRecords() {
    if (!text_.Lines().Empty()) {
        writer_.Post(text_.Lines());
    }
    writer_.Drain();
}

std::ostream& LogConvertService::Message() {
    FlushRecords();  // the lines of the records before stay in front of the message
    return std::cout;
}

void LogConvertService::ReadAndPrintLog() {
    const bool firstPass = !startPositioned_;
    if (firstPass) {
        startPositioned_ = true;
        if (cmd_.isContinue) {
            SetLogStartPos();
        }
    }
    if (reader_.Failed()) {  // the backward positioning could not read the file
        Message() << "File stream is abnormal " << std::endl;
        return;
    }
    if (stopRequested_) {  // during the backward positioning: nothing was printed yet
        passStopped_ = true;
        return;
    }
    if (!firstPass && reader_.Rewritten()) {  // truncated and written again: as if it shrank
        reader_.Fail();
        ReadFailed();
        return;
    }
    const uint64_t start = reader_.Position();
    if (isGzip_) {  // a compressed file is read once, and not decoded
        Bytes block(static_cast<std::size_t>(std::min<uint64_t>(kBlockSize, fileSize_ - start)));
        if (start < fileSize_ && reader_.Read(block.data(), block.size()) < block.size()) {
            Message() << "File stream read failed " << std::endl;
        }
        return;
    }
    layoutScan_.Look(reader_, start - decoder_.CarriedSize(), fileSize_);  // before the pass decodes a record
    decoder_.SetStorageLayout(layoutScan_.Layout());
    const PassShape shape = !firstPass ? PassShape{} : firstPass_ ? *firstPass_ : ShapeFor(fileSize_ - start);
    switch (RunForwardPass(reader_, decoder_, text_, writer_, fileSize_, shape, &stopRequested_)) {
        case PassEnd::kDone:
            break;
        case PassEnd::kOutputFailed:
            OutputLost();  // ends following too
            passStopped_ = true;
            break;
        case PassEnd::kStopped:
            passStopped_ = true;  // the rest was never read: nothing to report of it
            break;
        case PassEnd::kReadFailed:
            ReadFailed();
            break;
    }
    if (cmd_.isContinue) {
        reader_.NoteTail();
    }
}

void LogConvertService::ReadFailed() {
    decoder_.Reset();  // the record carried into the block that failed goes with it, uncounted
    Message() << "File stream read failed " << std::endl;
}

int32_t LogConvertService::ConvertLogFile() {
    if (!CheckFileName() || !OpenLogFile() || !CalculateFileSize()) {
        return -1;
    }
    WidenOutputPipe();
    ReadAndPrintLog();
    if (!passStopped_) {
        if (!cmd_.isContinue) {
            decoder_.Drain();
        }
        // in follow mode the carried bytes are counted now and still carried
        text_.Dropped(decoder_.CarriedSize());
        text_.ReportDropped();
    }
    FlushRecords();
    if (isGzip_) {
        return 0;
    }
    while (following_ && !OutputLost()) {
        StandardOutput::EndIfReaderGone();  // as tail -f does, also while nothing is appended
        const uint64_t knownSize = fileSize_;
        if (!CalculateFileSize()) {
            return -1;
        }
        if (fileSize_ == knownSize) {
            WaitForGrowth();
            continue;
        }
        ReadAndPrintLog();
        FlushRecords();
    }
    return 0;
}

}  // namespace zel::clt
