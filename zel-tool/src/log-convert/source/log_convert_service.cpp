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

#include "record_line.h"
#include "standard_output.h"

namespace zel::clt {
namespace {

constexpr std::size_t kBlockSize = 2048;
// Record lines go to the writer thread in pieces of about this size. Waking the thread costs
// tens of microseconds on a virtual machine: 64 KB pieces made the tool slower than writing
// itself, 512 KB ones leave that cost at a few per cent.
constexpr std::size_t kOutputChunk = 512 * 1024;
constexpr int kPipeSize = 1024 * 1024;
constexpr std::size_t kMarkSize = 4;
constexpr char kLogSuffix[] = ".log";
constexpr char kGzipSuffix[] = ".log.gz";
constexpr auto kPollInterval = std::chrono::seconds(1);

// The only compressed-file header that is recognised: gzip, deflate, no flags, no time stamp,
// no extra flags, operating system Unix.
constexpr uint8_t kGzipHeader[] = {0x1F, 0x8B, 0x08, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x03};

bool CompareLogStorageMark(const std::vector<uint8_t>& buffer, uint64_t pos) {
    if (pos + kMarkSize > buffer.size()) {
        return false;
    }
    return buffer[pos] == 'D' && buffer[pos + 1] == 'L' && buffer[pos + 2] == 'T' &&
           (buffer[pos + 3] == 0x01 || buffer[pos + 3] == 0x02);
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

LogConvertService::LogConvertService(ConvertCommand cmd) : cmd_(std::move(cmd)), following_(cmd_.isContinue) {}

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
        Seek(sizeof(kGzipHeader));
        return true;
    }
    Seek(0);
    return true;
}

bool LogConvertService::CalculateFileSize() {
    if (Tell() >= 0 && reader_.Size(fileSize_)) {
        return true;
    }
    Message() << "File stream is abnormal" << std::endl;
    return false;
}

std::streamoff LogConvertService::Tell() const { return readFailed_ ? -1 : position_; }

void LogConvertService::Seek(std::streamoff pos) { position_ = pos; }

bool LogConvertService::CheckedPosition(std::streamoff& pos) {
    pos = Tell();
    if (pos < 0) {
        Message() << "File stream is abnormal" << std::endl;
        return false;
    }
    return true;
}

bool LogConvertService::ReadBlock(uint8_t* into, uint64_t length) {
    if (!reader_.Read(static_cast<uint64_t>(position_), into, length)) {
        readFailed_ = true;  // there is no read position any more
        Message() << "File stream read failed " << std::endl;
        return false;
    }
    position_ += static_cast<std::streamoff>(length);
    return true;
}

bool LogConvertService::ReadLogFile() {
    std::streamoff pos = 0;
    if (!CheckedPosition(pos)) {
        return false;
    }
    readDataBuf_.swap(leftDataBuf_);
    leftDataBuf_.clear();
    // a file that shrank below the read position is read past its end, which fails
    const auto at = static_cast<uint64_t>(pos);
    const uint64_t length = at > fileSize_ ? kBlockSize : std::min<uint64_t>(kBlockSize, fileSize_ - at);
    const std::size_t start = readDataBuf_.size();
    readDataBuf_.resize(start + length);
    if (!ReadBlock(readDataBuf_.data() + start, length) || isGzip_) {
        readDataBuf_.resize(start);
        return false;
    }
    return true;
}

bool LogConvertService::ReverseReadLogFile() {
    std::streamoff pos = 0;
    if (!CheckedPosition(pos) || pos == 0) {
        return false;
    }
    const auto length = std::min<uint64_t>(kBlockSize, static_cast<uint64_t>(pos));
    const std::streamoff blockStart = pos - static_cast<std::streamoff>(length);
    Bytes block(length, 0);
    Seek(blockStart);
    if (!ReadBlock(block.data(), length)) {
        return false;
    }
    Seek(blockStart);
    block.insert(block.end(), leftDataBuf_.begin(), leftDataBuf_.end());
    readDataBuf_.swap(block);
    return true;
}

uint64_t LogConvertService::DiscardLeftData() {
    if (leftDataBuf_.size() < kMarkSize) {
        return 0;
    }
    // Drops what lies before the first mark that can still open a record: a mark whose headers
    // are known to be invalid is garbage, so at most one record is ever carried. The block may
    // end inside the mark of the next record, so a tail that begins like a mark is kept too.
    const uint8_t* data = leftDataBuf_.data();
    const std::size_t size = leftDataBuf_.size();
    std::size_t first = 0;
    while (first < size) {
        const void* d = std::memchr(data + first, 'D', size - first);
        first = d == nullptr ? size : static_cast<std::size_t>(static_cast<const uint8_t*>(d) - data);
        if (first == size || ara::log::LogStorageMsg::CanOpenRecord(data + first, size - first)) {
            break;
        }
        ++first;
    }
    leftDataBuf_.erase(leftDataBuf_.begin(), leftDataBuf_.begin() + static_cast<std::ptrdiff_t>(first));
    return first;
}

void LogConvertService::SetLogStartPos() {
    Seek(static_cast<std::streamoff>(fileSize_));
    while (cmd_.tailNum > 0 && ReverseReadLogFile()) {
        ReverseParseLogFile();
    }
    readDataBuf_.clear();
    if (cmd_.tailNum == 0) {
        // the carried front ends where the earliest record found begins
        Seek(position_ + static_cast<std::streamoff>(leftDataBuf_.size()));
    }
    leftDataBuf_.clear();
}

void LogConvertService::ReverseParseLogFile() {
    std::size_t end = readDataBuf_.size();
    std::size_t candidate = readDataBuf_.size();
    while (cmd_.tailNum >= 1) {
        if (CompareLogStorageMark(readDataBuf_, candidate)) {
            const int64_t consumed = msg_.Deserialize(readDataBuf_.data() + candidate, end - candidate);
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
    leftDataBuf_.assign(readDataBuf_.begin(), readDataBuf_.begin() + static_cast<std::ptrdiff_t>(keep));
}

void LogConvertService::FlushRecords() {
    if (!pending_.Empty()) {
        writer_.Post(pending_);
    }
    writer_.Drain();
}

std::ostream& LogConvertService::Message() {
    FlushRecords();  // the lines of the records before stay in front of the message
    return std::cout;
}

void LogConvertService::ReportDiscard(uint64_t bytes) {
    Message() << "Log file cannot be parse completely. Discard " << bytes << " bytes." << std::endl;
}

void LogConvertService::PrintLog() {
    std::size_t offset = 0;
    while (offset < readDataBuf_.size()) {
        const int64_t consumed = msg_.Deserialize(readDataBuf_.data() + offset, readDataBuf_.size() - offset);
        if (consumed < 1) {
            break;
        }
        // a record that ends with the bytes read so far is judged again with the bytes after it
        if (offset + static_cast<std::size_t>(consumed) == readDataBuf_.size() &&
            static_cast<uint64_t>(position_) < fileSize_) {
            break;
        }
        offset += static_cast<std::size_t>(consumed);
        const uint64_t total = static_cast<uint64_t>(consumed) + discardSize_;
        discardSize_ = total - msg_.GetLength();
        if (total != msg_.GetLength()) {
            ReportDiscard(discardSize_);
            discardSize_ = 0;
        }
        PrintMsg(msg_);
    }
    leftDataBuf_.assign(readDataBuf_.begin() + static_cast<std::ptrdiff_t>(offset), readDataBuf_.end());
    discardSize_ += DiscardLeftData();
}

void LogConvertService::DrainLeftData() {
    while (!leftDataBuf_.empty()) {
        readDataBuf_.assign(leftDataBuf_.begin() + 1, leftDataBuf_.end());
        ++discardSize_;
        PrintLog();
    }
}

void LogConvertService::PrintMsg(const ara::log::LogStorageMsg& msg) {
    AppendRecordLine(msg, cmd_.isDatatime, cmd_.isManatime, pending_);
}

void LogConvertService::ReadAndPrintLog() {
    if (!startPositioned_) {
        startPositioned_ = true;
        if (cmd_.isContinue) {
            SetLogStartPos();
        }
    }
    while (true) {
        if (stopRequested_ && !cmd_.isContinue) {
            passStopped_ = true;  // the rest was never read: nothing to report of it
            return;
        }
        const std::streamoff pos = Tell();
        if (pos < 0) {
            break;
        }
        if (static_cast<uint64_t>(pos) == fileSize_ || !ReadLogFile()) {
            return;
        }
        PrintLog();
        if (pending_.Size() >= kOutputChunk) {
            writer_.Post(pending_);
            if (OutputLost()) {
                passStopped_ = true;
                return;
            }
        }
    }
    Message() << "File stream is abnormal " << std::endl;
}

int32_t LogConvertService::ConvertLogFile() {
    if (!CheckFileName() || !OpenLogFile() || !CalculateFileSize()) {
        return -1;
    }
    WidenOutputPipe();
    ReadAndPrintLog();
    if (!cmd_.isContinue && !passStopped_) {
        DrainLeftData();
    }
    discardSize_ += leftDataBuf_.size();
    if (discardSize_ != 0 && !passStopped_) {
        ReportDiscard(discardSize_);
        discardSize_ = 0;
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
