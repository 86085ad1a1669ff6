#include "parallel_pass.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <exception>
#include <new>
#include <thread>
#include <utility>

namespace zel::clt {
namespace {

// A span worker reads its span in pieces of this size.
constexpr std::size_t kSpanPiece = 128 * 1024;
// The most characters of text a byte judged may add: a byte of garbage and a record of 20 bytes
// make about 120 (a "Discard" line and a record line); raw data is 3 a byte.
constexpr std::size_t kMostTextPerByte = 6;
// How far before a span's start the record that holds it is looked for. A longer record is
// rare, and a wrong guess only costs the joining thread the blocks up to the record's end.
constexpr uint64_t kLook = 4096;
constexpr std::size_t kMarkSize = ara::log::LogStorageMsg::kMarkSize;
constexpr std::size_t kNone = static_cast<std::size_t>(-1);

}  // namespace

struct ParallelPass::Checkpoint {
    std::size_t carried;   // bytes carried at this block end
    std::size_t textSize;  // the length of the span's text there
    uint64_t dropped;      // bytes dropped since the span's last record, or its start
    bool sawRecord;
};

struct ParallelPass::Span {
    uint64_t start = 0;
    uint64_t end = 0;  // where its decoding ended: where it was to end, or earlier
    // [k]: at the block end k blocks after start (the pass end at most); [0] at start itself
    std::vector<Checkpoint> checkpoints;
    std::vector<uint8_t> carried;  // at end
    LineBuffer text;
    uint64_t held = 0;     // dropped in front of its first record
    uint64_t dropped = 0;  // dropped since its last record, or its start
    bool sawRecord = false;
    std::size_t decoded = kNone;  // the span whose decoding ended in this slot
};

class ParallelPass::SpanText : public ConvertText {
public:
    explicit SpanText(ConvertText&& text) : ConvertText(std::move(text)) {}
    void BlockDone(std::size_t carried) override {
        checkpoints->push_back({carried, Lines().Size(), DroppedSinceRecord(), SawRecord()});
    }
    std::vector<Checkpoint>* checkpoints = nullptr;
};

ParallelPass::ParallelPass(FileReader& reader, BlockDecoder& decoder, ConvertText& text, TextOutput& out,
                           const PassShape& shape, const std::atomic<bool>* stop)
    : reader_(reader), decoder_(decoder), text_(text), out_(out), shape_(shape), stop_(stop) {
    assert(shape.spanSize > 0 && shape.spanSize % decoder.BlockSize() == 0);  // spans are whole blocks
}

ParallelPass::~ParallelPass() = default;

// The worker threads of one pass: told to quit and joined however the pass ends.
class ParallelPass::Crew {
public:
    explicit Crew(ParallelPass& pass) : pass_(pass) {}
    ~Crew() {
        {
            std::lock_guard<std::mutex> lock(pass_.mutex_);
            pass_.quit_ = true;
        }
        pass_.slotFree_.notify_all();
        for (std::thread& thread : threads_) {
            thread.join();
        }
    }
    Crew(const Crew&) = delete;
    Crew& operator=(const Crew&) = delete;

    // Starts up to n threads: the first that cannot start (the process is out of threads or
    // memory) ends the trying, and those started do the work.
    void Start(unsigned n) {
        try {
            threads_.reserve(n);
            while (threads_.size() < n) {
                std::lock_guard<std::mutex> lock(pass_.mutex_);  // a thread counts itself out under it
                threads_.emplace_back(&ParallelPass::Work, &pass_);
                ++pass_.live_;
            }
        } catch (const std::exception&) {
        }
    }
    bool Empty() const { return threads_.empty(); }

private:
    ParallelPass& pass_;
    std::vector<std::thread> threads_;
};

uint64_t ParallelPass::MostHeld(const PassShape& shape) {
    return (uint64_t{shape.workers} + 1) * std::min<uint64_t>(shape.textLimit, 2 * shape.spanSize) +
           uint64_t{shape.workers} * 2 * kSpanPiece;
}

PassEnd ParallelPass::Run(uint64_t end) {
    start_ = reader_.Position();
    end_ = end;
    spanCount_ = static_cast<std::size_t>((end - start_ + shape_.spanSize - 1) / shape_.spanSize);
    initial_.assign(decoder_.Carried(), decoder_.Carried() + decoder_.CarriedSize());
    slots_.resize(std::min<std::size_t>(shape_.workers + 1, spanCount_));
    // the joining thread's room for the text it decodes itself, taken before the workers take
    // theirs: where memory is short, fewer workers start
    (void)text_.Lines().Reserve(kOutputChunk + kSpanPiece);
    Crew crew(*this);
    crew.Start(shape_.workers);
    return crew.Empty() ? PassEnd::kDone : Join();
}

void ParallelPass::Work() {
    try {
        SpanText text(text_.Holding());
        BlockDecoder decoder(text, decoder_.BlockSize());
        decoder.SetStorageLayout(decoder_.StorageLayout());
        std::vector<uint8_t> look;
        std::unique_lock<std::mutex> lock(mutex_);
        while (!quit_ && next_ < spanCount_) {
            const std::size_t index = next_++;
            slotFree_.wait(lock, [&] { return quit_ || index < joined_ + slots_.size(); });
            if (quit_) {
                break;
            }
            Span& span = slots_[index % slots_.size()];
            lock.unlock();
            const bool decoded = DecodeOrLeave(index, span, text, decoder, look);
            lock.lock();
            span.decoded = index;
            spanDone_.notify_one();
            if (!decoded) {
                break;
            }
        }
    } catch (const std::bad_alloc&) {
        // this thread's buffers could not be had: the other threads and the joining one decode
    }
    std::lock_guard<std::mutex> lock(mutex_);
    --live_;
    spanDone_.notify_one();
}

bool ParallelPass::DecodeOrLeave(std::size_t index, Span& span, SpanText& text, BlockDecoder& decoder,
                                 std::vector<uint8_t>& look) {
    try {
        Decode(index, span, text, decoder, look);
        return true;
    } catch (const std::bad_alloc&) {  // the span is left whole to the joining thread
        span.start = start_ + index * shape_.spanSize;
        span.end = span.start;
        span.checkpoints.clear();
        return false;
    }
}

void ParallelPass::Decode(std::size_t index, Span& span, SpanText& text, BlockDecoder& decoder,
                          std::vector<uint8_t>& look) {
    span.start = start_ + index * shape_.spanSize;
    const uint64_t planned = std::min(span.start + shape_.spanSize, end_);
    span.checkpoints.clear();
    std::swap(span.text, text.Lines());  // the text goes into the slot's room
    text.Restart();
    // made once at its full size: grown step by step, every slot's text would leave the steps
    // behind in the heap
    text.Lines().Reserve(static_cast<std::size_t>(std::min<uint64_t>(shape_.textLimit, 2 * shape_.spanSize)));
    text.checkpoints = &span.checkpoints;
    decoder.Reset();
    if (index == 0) {
        decoder.Carry(initial_.data(), initial_.size());
    } else {
        const uint8_t* bytes = nullptr;
        const std::size_t carried = LikelyCarried(span.start, decoder, look, bytes);
        decoder.Carry(bytes, carried);
    }
    decoder.StartPass(end_ - span.start);
    span.checkpoints.push_back({decoder.CarriedSize(), 0, 0, false});
    const std::size_t piece = std::max<std::size_t>(1, kSpanPiece / decoder.BlockSize()) * decoder.BlockSize();
    uint64_t pos = span.start;
    // a block at a time, the first whatever its text, the next only while the text has room for what it may add
    auto room = [&](uint64_t at) {
        return at == span.start ||
               text.Lines().Size() + kMostTextPerByte * (decoder.CarriedSize() + decoder.BlockSize()) <=
                   shape_.textLimit;
    };
    while (pos < planned && !Stopping() && !quit_ && room(pos)) {
        const auto n = static_cast<std::size_t>(std::min<uint64_t>(piece, planned - pos));
        const std::size_t got = reader_.ReadAt(pos, decoder.Room(n), n);
        const std::size_t whole = got < n ? decoder.WholeBlocks(got) : n;
        std::size_t added = 0;
        while (added < whole && room(pos + added)) {
            const std::size_t step = std::min(whole - added, decoder.BlockSize());
            decoder.Add(step);
            added += step;
        }
        pos += added;
        if (added < n) {
            break;  // the text is full, or a read failed: the joining thread reads that block again, and fails there
        }
    }
    span.end = pos;
    span.carried.assign(decoder.Carried(), decoder.Carried() + decoder.CarriedSize());
    std::swap(span.text, text.Lines());
    span.held = text.Held();
    span.dropped = text.DroppedSinceRecord();
    span.sawRecord = text.SawRecord();
}

std::size_t ParallelPass::LikelyCarried(uint64_t at, BlockDecoder& decoder, std::vector<uint8_t>& look,
                                        const uint8_t*& bytes) const {
    const uint64_t from = at - std::min(at - start_, kLook);
    const uint64_t to = std::min<uint64_t>(at + kMarkSize - 1, end_);  // a mark just before at runs past it
    look.resize(static_cast<std::size_t>(to - from));
    if (reader_.ReadAt(from, look.data(), look.size()) != look.size()) {
        return 0;  // the joining thread meets the failure
    }
    const auto before = static_cast<std::size_t>(at - from);
    const std::size_t carried = decoder.CarriedAt(look.data(), before, look.size());
    bytes = look.data() + before - carried;
    return carried;
}

PassEnd ParallelPass::Join() {
    for (std::size_t index = 0; index < spanCount_; ++index) {
        Span& span = slots_[index % slots_.size()];
        {
            std::unique_lock<std::mutex> lock(mutex_);
            spanDone_.wait(lock, [&] { return span.decoded == index || live_ == 0; });
            if (span.decoded != index) {
                return PassEnd::kDone;  // no worker is left: the caller goes on alone
            }
        }
        if (Stopping()) {
            return PassEnd::kStopped;
        }
        const PassEnd result = JoinSpan(span);
        {
            std::lock_guard<std::mutex> lock(mutex_);
            joined_ = index + 1;
        }
        slotFree_.notify_all();
        if (result != PassEnd::kDone) {
            return result;
        }
    }
    return PassEnd::kDone;
}

PassEnd ParallelPass::JoinSpan(Span& span) {
    const std::size_t block = decoder_.BlockSize();
    while (reader_.Position() < span.start) {  // what the span before left undecoded
        const PassEnd result = DecodeBlock();
        if (result != PassEnd::kDone) {
            return result;
        }
    }
    while (true) {
        const auto k = static_cast<std::size_t>((reader_.Position() - span.start + block - 1) / block);
        if (k < span.checkpoints.size() && Same(span.checkpoints[k])) {
            return Splice(span, k);
        }
        if (reader_.Position() >= span.end) {
            return PassEnd::kDone;  // no state of the span was the true one
        }
        const PassEnd result = DecodeBlock();
        if (result != PassEnd::kDone) {
            return result;
        }
    }
}

bool ParallelPass::Same(const Checkpoint& checkpoint) const {
    return checkpoint.carried == decoder_.CarriedSize() &&
           (!checkpoint.sawRecord || checkpoint.dropped == text_.DroppedSinceRecord());
}

PassEnd ParallelPass::Splice(Span& span, std::size_t k) {
    const Checkpoint& at = span.checkpoints[k];
    if (!at.sawRecord) {  // the span's count from there to its first record joins the true one
        text_.SetDroppedSinceRecord(text_.DroppedSinceRecord() + (span.sawRecord ? span.held : span.dropped) -
                                    at.dropped);
        if (span.sawRecord) {
            text_.ReportDropped();
        }
    }
    if (span.sawRecord) {
        text_.SetDroppedSinceRecord(span.dropped);
    }
    if (!text_.Lines().Empty() && !out_.Write(text_.Lines())) {
        return PassEnd::kOutputFailed;
    }
    span.text.DropFront(at.textSize);
    if (!span.text.Empty() && !out_.Write(span.text)) {
        return PassEnd::kOutputFailed;
    }
    decoder_.Reset();
    decoder_.Carry(span.carried.data(), span.carried.size());
    decoder_.StartPass(end_ - span.end);
    reader_.Seek(span.end);
    return PassEnd::kDone;
}

PassEnd ParallelPass::DecodeBlock() {
    if (Stopping()) {
        return PassEnd::kStopped;
    }
    const auto n = static_cast<std::size_t>(std::min<uint64_t>(decoder_.BlockSize(), end_ - reader_.Position()));
    redecoded_ += n;
    return DecodeNext(reader_, decoder_, text_, n, out_, true);
}

}  // namespace zel::clt
