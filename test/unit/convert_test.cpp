// Log conversion in the process: record lines, files cut and mixed with garbage wherever it
// matters to the 2048-byte blocks, the tail of follow mode, the file checks, stopping a follow.
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>

#include <atomic>
#include <ctime>
#include <future>
#include <iterator>
#include <optional>
#include <random>
#include <thread>

#include "clt_logger.h"
#include "cmd_line_tool.h"
#include "dlt_record.h"
#include "log_convert_plugin.h"
#include "log_convert_service.h"
#include "parallel_pass.h"
#include "plugin_factory.h"
#include "support.h"

namespace zel::clt {
namespace {

using dltgen::Arg;
using dltgen::Record;

std::string Text(int i, std::size_t size) {
    const std::string text = "record " + std::to_string(i) + " ";
    return text + std::string(size > text.size() ? size - text.size() : 0, 'x');
}
// Record i: counter i % 256, APP/CTX at info, data time i s since start-up, stored at
// 1700000000 + i, one string argument of size characters; and the line printed for it (UTC).
Record Numbered(int i, std::size_t size = 20, int version = 1) {
    Record r;
    r.version = version;
    r.mcnt = static_cast<uint8_t>(i % 256);
    r.timestamp = static_cast<uint32_t>(i) * 10000;
    r.tsSeconds = static_cast<uint64_t>(i);
    r.tsNanos = 0;
    r.seconds = 1700000000 + i;
    r.args = {Arg::String(Text(i, size))};
    return r;
}
std::string Line(int i, std::size_t size = 20) {
    char text[64];
    const time_t stored = 1700000000 + i;
    std::strftime(text, sizeof(text), ".000000 %Y/%m/%d %H:%M:%S.000000 ", std::gmtime(&stored));
    return std::to_string(i) + text + std::to_string(1000 + i % 256).substr(1) + " APP CTX info [" + Text(i, size) +
           "]\n";
}
std::string Records(int first, int last, std::size_t size = 20, int version = 1) {
    std::string bytes;
    while (first <= last) {
        bytes += Encode(Numbered(first++, size, version));
    }
    return bytes;
}
std::string Lines(int first, int last, std::size_t size = 20) {
    std::string lines;
    while (first <= last) {
        lines += Line(first++, size);
    }
    return lines;
}
std::string Discard(std::size_t bytes) {
    return "Log file cannot be parse completely. Discard " + std::to_string(bytes) + " bytes.\n";
}

struct ConvertTest : testing::Test {
    static void SetUpTestSuite() {
        setenv("TZ", "UTC", 1);
        tzset();
    }
    // Converts the file; in follow mode it goes back tail records and is stopped once the first
    // pass has flushed its text. The first pass gives the same output on one thread and, unless
    // alone, cut into spans of one or two blocks on more (the short text limit ends spans early).
    static std::pair<int32_t, std::string> Convert(const std::string& path, bool follow = false, int32_t tail = 10,
                                                   bool alone = false) {
        std::optional<std::pair<int32_t, std::string>> first;
        for (const PassShape& shape : {PassShape{}, PassShape{2, 2048, 1 << 20}, PassShape{3, 4096, 100}}) {
            if (first && alone) {
                break;
            }
            LogConvertService service(ConvertCommand{follow, true, true, tail, path}, shape);
            test::CoutCapture out;
            int32_t status = 0;
            if (follow) {
                auto converted = std::async(std::launch::async, [&] { return service.ConvertLogFile(); });
                EXPECT_TRUE(out.WaitForFlush());
                service.Stop();
                status = converted.get();
            } else {
                status = service.ConvertLogFile();
            }
            const std::pair<int32_t, std::string> result{status, out.Text()};
            if (!first) first = result;
            EXPECT_EQ(result, *first) << shape.workers << " threads";
        }
        return *first;
    }
    std::string Bytes(const std::string& bytes, bool alone = false) {
        return Convert(dir.Write("x.log", bytes), false, 10, alone).second;
    }
    test::TempDir dir;
};

TEST_F(ConvertTest, RecordLines) {
    Record bare = Numbered(5), trace = Numbered(6), odd = Numbered(7), empty = Numbered(255);
    Record noIds = Numbered(8, 20, 2), nonVerbose = Numbered(9, 20, 2), full = Numbered(10, 20, 2);
    full.ecu = "ECU-LONG-NAME";  // and segmentation, the extension field that real writers leave out
    full.segmentation = std::string("\x01\x02\x03", 3);
    bare.extended = bare.verbose = noIds.extended = nonVerbose.verbose = false;
    bare.timestamp.reset();
    bare.payload = "";
    nonVerbose.payload = "\x01";
    nonVerbose.messageId = 7;
    trace.type = dltgen::MessageType::kAppTrace;
    odd.typeInfo = 9;  // a level beyond verbose
    empty.args = {Arg::String("")};
    const auto with = [](int i, const std::string& part, const std::string& by) {  // Line(i) with part replaced
        std::string line = Line(i);
        return line.replace(line.find(part), part.size(), by);
    };
    EXPECT_EQ(Bytes(Encode(bare) + Encode(trace) + Encode(odd) + Encode(empty) + Encode(noIds) + Encode(nonVerbose) +
                    Encode(full)),
              "0.000000 2023/11/14 22:13:25.000000 005    []\n" + with(6, "info", "app_trace") +
                  with(7, "info", "unknown") + with(255, "[" + Text(255, 20) + "]", "[]") +
                  with(8, "APP CTX info ", "   ") + with(9, "APP CTX info [" + Text(9, 20) + "]", "   [7, 01]") +
                  Line(10));
}

TEST_F(ConvertTest, EveryPrefixPrintsTheCompleteRecords) {
    std::vector<std::string> records;  // sizes that put records across the block ends
    for (int i = 0; i < 9; ++i) {
        records.push_back(Encode(Numbered(i, 150 + 170 * i)));
    }
    std::string file;
    for (const auto& record : records) {
        file += record;
    }
    for (std::size_t cut = 0; cut <= file.size(); ++cut) {
        std::string expected;
        std::size_t complete = 0;
        for (int i = 0; i < 9 && complete + records[i].size() <= cut; ++i) {
            complete += records[i].size();
            expected += Line(i, 150 + 170 * i);
        }
        ASSERT_EQ(Bytes(file.substr(0, cut), cut % 16 != 0), expected + (cut > complete ? Discard(cut - complete) : ""))
            << cut;
    }
}

TEST_F(ConvertTest, GarbageIsCountedWhereItLies) {
    std::mt19937 random(7);
    std::string file, expected;
    for (int i = 0; i < 3000; ++i) {  // lines enough for several pieces of output
        std::string garbage(random() % 700, 'x');
        for (char& ch : garbage) ch = static_cast<char>('E' + random() % 180);  // never a 'D'
        const std::size_t size = 10 + random() % 400;
        file += garbage + Records(i, i, size);
        expected += (garbage.empty() ? "" : Discard(garbage.size())) + Line(i, size);
    }
    EXPECT_TRUE(Bytes(file + std::string(37, 'x')) == expected + Discard(37));
    // a mark split at the end of the first block, after garbage
    for (std::size_t before = 1; before <= 4; ++before) {
        EXPECT_EQ(Bytes(std::string(2048 - before, 'x') + Records(1, 2)), Discard(2048 - before) + Lines(1, 2));
    }
}

// A writer that died inside record k, and a restarted writer that went on with record k + 1:
// the cut record's length reaches into the records after it. Each real record is printed once,
// the cut bytes are reported in front of the next one. The cut records lie at several places
// relative to the block ends, and may claim to end exactly at one.
TEST_F(ConvertTest, RecordCutByADyingWriter) {
    for (const int version : {1, 2}) {
        for (const int k : {0, 2, 3, 5, 7}) {
            for (const std::size_t cut : {2, 9, 30, 150}) {
                for (const bool toBlockEnd : {false, true}) {
                    std::string file, expected;
                    for (int i = 0; i < 10; ++i) {
                        Record r = Numbered(i, 200 + 37 * i, version);
                        if (i == k && toBlockEnd)
                            r.lengthOverride = (file.size() / 2048 + 1) * 2048 - file.size() - (version == 1 ? 16 : 18);
                        file += i == k ? Encode(r).substr(0, cut) : Encode(r);
                        expected += i == k ? "" : (i == k + 1 ? Discard(cut) : "") + Line(i, 200 + 37 * i);
                    }
                    EXPECT_EQ(Bytes(file), expected) << version << " " << k << " " << cut << " " << toBlockEnd;
                }
            }
        }
    }
}

TEST_F(ConvertTest, LongRecordsAndMarksInPayloads) {
    Record outer = Numbered(1);
    outer.args = {Arg::Raw(Records(9, 9))};
    const std::string out = Bytes(Records(0, 0) + Encode(outer) + Records(2, 2));
    EXPECT_EQ(out.find("record 9"), std::string::npos);  // the inner record is payload
    EXPECT_EQ(std::count(out.begin(), out.end(), '\n'), 3);
    // backwards: a record over a whole block is printed but not counted, nor is one with a mark inside
    const std::string big = dir.Write("big.log", Records(1, 9) + Records(10, 10, 5000) + Records(11, 12));
    EXPECT_EQ(Convert(big, true, 2).second, Lines(11, 12));
    EXPECT_EQ(Convert(big, true, 3).second, Lines(9, 9) + Lines(10, 10, 5000) + Lines(11, 12));
    Record marked = Numbered(5);
    marked.args = {Arg::String(std::string("a DLT\x01 mark", 12))};
    const std::string path = dir.Write("marked.log", Records(1, 4) + Encode(marked) + Records(6, 7));
    EXPECT_EQ(Convert(path, true, 3).second,
              Lines(4, 4) + "5.000000 2023/11/14 22:13:25.000000 005 APP CTX info [a DLT\x01 mark]\n" + Lines(6, 7));
}

TEST_F(ConvertTest, TailAcrossBlocks) {
    for (const int version : {1, 2}) {
        const std::string path = dir.Write("tail.log", Records(1, 25, 300, version));
        for (const auto& [count, first] : {std::pair{10, 16}, {1, 25}, {25, 1}, {26, 1}, {0, 26}, {-4, 26}}) {
            EXPECT_EQ(Convert(path, true, count), std::make_pair(0, Lines(first, 25, 300))) << version << " " << count;
        }
    }
    EXPECT_EQ(Convert(dir.Write("empty.log", ""), true), std::make_pair(0, std::string()));
}

// Version 2 storage times: a version 1 record, then version 2 records of one writer (stored at
// seconds, nanoseconds), whose times the file's records decide how to read. Every pass reads them
// alike: one, two, three and sixteen threads, the tail, and a follow that started on version 1 alone.
TEST_F(ConvertTest, StorageTimeLayouts) {
    using Layout = dltgen::TimeLayout;
    using Times = std::vector<std::pair<uint64_t, uint32_t>>;
    const std::pair<uint64_t, uint32_t> y1990{631152000, 0}, y2026{1780272000, 999999999}, zero{0, 0},
        y2099{4102444799, 123456789}, halfAlsoA{1780272000, 500000000}, broken{1780272000, 0xFFFFFFFF};
    const std::string t1990 = "631152000.000000", t2026 = "2026/06/01 00:00:00.999999",
                      t2099 = "2099/12/31 23:59:59.123456";
    const std::vector<std::tuple<Layout, Times, test::Words>> rows{
        {Layout::kA, {y1990, y2026, y2099}, {t1990, t2026, t2099}},
        {Layout::kB, {y1990, y2026, y2099}, {t1990, t2026, t2099}},
        {Layout::kC, {y1990, y2026, y2099}, {t1990, t2026, t2099}},
        {Layout::kC, {y2026, halfAlsoA, y2099}, {t2026, "2026/06/01 00:00:00.500000", t2099}},  // one fits A too
        {Layout::kB, {y2026, broken, zero, y2099}, {t2026, "2026/06/01 00:00:00.4294967", "0.000000", t2099}},
        {Layout::kB, {{1780272000, 999999744}}, {"2026/06/01 00:00:00.013212"}},  // every record fits A too: A
    };
    for (const auto& [layout, times, printed] : rows) {
        std::string v2, expected = Line(0, 1500);
        for (std::size_t i = 0; i < times.size(); ++i) {
            Record r = Numbered(static_cast<int>(i) + 1, 1500, 2);
            std::tie(r.seconds, r.subseconds) = times[i];
            r.layout = layout;
            v2 += Encode(r);
            expected += Line(static_cast<int>(i) + 1, 1500).replace(9, 26, printed[i]);
        }
        const std::string path = dir.Write("layout.log", Encode(Numbered(0, 1500)));
        LogConvertService follow(ConvertCommand{true, true, true, 10, path});
        test::CoutCapture out;
        auto following = std::async(std::launch::async, [&] { return follow.ConvertLogFile(); });
        EXPECT_TRUE(out.WaitFor(Line(0, 1500)));
        std::ofstream(path, std::ios::binary | std::ios::app) << v2;
        EXPECT_TRUE(out.WaitFor(expected)) << out.Text();
        follow.Stop();
        EXPECT_EQ(following.get(), 0);
        EXPECT_EQ(Convert(path).second, expected);
        EXPECT_EQ(Convert(path, true, 1).second, expected.substr(expected.rfind('\n', expected.size() - 2) + 1));
        LogConvertService sixteen(ConvertCommand{false, true, true, 10, path}, PassShape{16, 2048, 1 << 20});
        test::CoutCapture out16;
        EXPECT_EQ(sixteen.ConvertLogFile(), 0);
        EXPECT_EQ(out16.Text(), expected);
    }
}

// Workers start where one thread would be, but in a record longer than they look back: there
// the joining thread decodes until the record ends (2048 bytes), and nothing more.
TEST_F(ConvertTest, ParallelPassDecodesOnlyWrongGuessesAgain) {
    const std::string bytes = Records(0, 99, 150) + Records(100, 100, 7000) + Records(101, 999, 150);
    test::CoutCapture written;
    OutputWriter out;
    FileReader reader;
    ASSERT_TRUE(reader.Open(dir.Write("p.log", bytes)));
    ConvertText text(true, true);
    BlockDecoder decoder(text);
    decoder.StartPass(bytes.size());
    ParallelPass pass(reader, decoder, text, out, PassShape{3, 8192, 1 << 20}, nullptr);
    const PassEnd end = pass.Run(bytes.size());
    out.Drain();
    EXPECT_EQ(std::make_tuple(end, pass.Redecoded(), reader.Position(), written.Text()),
              std::make_tuple(PassEnd::kDone, uint64_t{2048}, bytes.size(),
                              Lines(0, 99, 150) + Lines(100, 100, 7000) + Lines(101, 999, 150)));
}

// Workers: as many as the smaller of the mask and the quota, rounded up, at most 16; one thread
// below two processors' worth or on a file of a few megabytes.
TEST_F(ConvertTest, WorkersFromTheMaskAndTheQuota) {
    const uint64_t big = uint64_t{1} << 32;
    const std::vector<std::tuple<unsigned, double, uint64_t, unsigned>> rows{
        {2, 0, big, 2},    {64, 0, big, 16},  {1, 0, big, 1}, {16, 0.2, big, 1},
        {16, 1.9, big, 1}, {16, 2.5, big, 3}, {3, 8, big, 3}, {16, 0, 1 << 20, 1}};
    for (const auto& [mask, quota, bytes, workers] : rows) {
        EXPECT_EQ(ShapeFor(bytes, ProcessorBudget{mask, quota}).workers, workers) << mask << " " << quota;
    }
}

// The quota of the process's group, the smallest on its path up, from /proc/self/cgroup, its
// mountinfo (the usual layout where it says nothing) and files below /sys/fs/cgroup.
TEST_F(ConvertTest, CgroupQuota) {
    const std::string v2 = "41 31 0:38 / /sys/fs/cgroup rw - cgroup2 cgroup2 rw\n";
    const std::string v1 = "32 31 0:29 / /sys/fs/cgroup/cpu,cpuacct rw - cgroup cgroup rw,cpu,cpuacct\n";
    const std::string pod = "41 31 0:38 /pod /sys/fs/cgroup rw - cgroup2 cgroup2 rw\n";  // the pod's group alone
    const std::string c = "cpu,cpuacct";
    const std::string q = "/cpu.cfs_quota_us";
    const std::string p = "/cpu.cfs_period_us";
    using Files = std::vector<std::pair<std::string, std::string>>;
    const std::vector<std::tuple<std::string, std::string, Files, double>> rows{
        {"0::/svc", v2, {{"svc/cpu.max", "20000 100000"}}, 0.2},
        {"0::/a/b/c", v2, {{"a/cpu.max", "4 1"}, {"a/b/cpu.max", "15 10"}, {"a/b/c/cpu.max", "3 1"}}, 1.5},
        {"0::/pod/svc", pod, {{"cpu.max", "max 100000"}, {"svc/cpu.max", "3 1"}}, 3},
        {"4:memory:/m\n1:cpu,cpuacct:/svc\n0::/", v2 + v1, {{c + "/svc" + q, "250"}, {c + "/svc" + p, "100"}}, 2.5},
        {"1:cpu,cpuacct:/svc", "", {{c + q, "5"}, {c + p, "10"}, {c + "/svc" + q, "-1"}}, 0.5},
        {"0::/gone", v2, {}, 0},
        {"0::svc", v2, {{"svc/cpu.max", "1 1"}}, 0},  // no path: read up to the root, not for ever
        {"0::/svc", v2, {{"svc/cpu.max", "20000"}}, 0}};
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const auto& [cgroup, mounts, files, quota] = rows[i];
        const std::string root = "tree" + std::to_string(i) + "/";
        dir.Write(root + "proc/self/cgroup", cgroup);
        dir.Write(root + "proc/self/mountinfo", mounts);
        for (const auto& [path, text] : files) {
            dir.Write(root + "sys/fs/cgroup/" + path, text);
        }
        EXPECT_EQ(CgroupCpuQuota(dir.Path(root + "proc"), dir.Path(root + "sys")), quota) << "row " << i;
    }
}

TEST_F(ConvertTest, FileChecks) {
    const std::string gzip("\x1f\x8b\x08\0\0\0\0\0\0\x03", 10);
    const std::string missing = dir.Path("missing.log");
    test::fs::create_symlink(missing, dir.Path("dangling.log"));
    test::fs::create_directory(dir.Path("dir.log"));
    test::fs::create_symlink(dir.Write("target.bin", Records(0, 0)), dir.Path("link.log"));
    const std::vector<std::tuple<std::string, std::string, int32_t, std::string>> rows{
        {"a.log.gz", gzip + "compressed", 0, ""},
        {"b.log", gzip + Records(0, 3), 0, ""},  // recognised by its header
        {"c.log.gz", std::string("\x1f\x8b\x08\0\x01\x02\x03\x04\0\x03", 10) + Records(0, 1), 0,
         Discard(10) + Lines(0, 1)},  // only that header: a time stamp in it makes garbage
        {"a.log.1", Records(0, 0), -1, "File: %s cannot find suffix .log or .log.gz\n"},
        {"a.logs", Records(0, 0), -1, "File: %s cannot find suffix .log or .log.gz\n"},
        {"a.LOG", Records(0, 0), -1, "File: %s cannot find suffix .log or .log.gz\n"},
        {".log.gzip", Records(0, 0), -1, "File: %s cannot find suffix .log or .log.gz\n"},
        {"missing.log", "", -1, "error, file path: %s is not exist\n"},
        {"dangling.log", "", -1, "error, file path: %s is not exist\n"},
        {"dir.log", "", -1, "File %s cannot be opened!\n"},
        {"link.log", "", 0, Lines(0, 0)},
    };
    for (auto [name, bytes, result, out] : rows) {
        if (!bytes.empty()) dir.Write(name, bytes);
        if (out.find("%s") != std::string::npos) out.replace(out.find("%s"), 2, dir.Path(name));
        EXPECT_EQ(Convert(dir.Path(name)), std::make_pair(result, out)) << name;
    }
}

// Whether the thread tid waits in the kernel (its state in /proc is S).
bool Sleeping(pid_t tid) {
    std::ifstream stat("/proc/self/task/" + std::to_string(tid) + "/stat");
    const std::string line{std::istreambuf_iterator<char>(stat), {}};
    return tid != 0 && line.size() > line.rfind(')') + 2 && line[line.rfind(')') + 2] == 'S';
}

// Write puts its lines after the piece in flight: the piece is held in its write until the
// producer's Write has returned (its lines first: the fault) or waits.
TEST_F(ConvertTest, WriteWaitsForThePieceInFlight) {
    test::CoutCapture written;
    std::atomic<pid_t> producer{0};
    std::atomic<bool> held{false};
    std::atomic<bool> writing{false};
    std::atomic<bool> wrote{false};
    written.holdFirstUntil = [&] {
        held = true;
        return wrote || (writing && Sleeping(producer));
    };
    OutputWriter out;
    std::thread([&] {
        producer = gettid();
        LineBuffer first;
        LineBuffer second;
        first.Commit(std::copy_n("in flight\n", 10, first.Reserve(10)));
        second.Commit(std::copy_n("written\n", 8, second.Reserve(8)));
        out.Post(first);
        for (int i = 0; i < 60000 && !held; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        writing = true;
        out.Write(second);
        wrote = true;
        out.Drain();
    }).join();
    EXPECT_EQ(written.Text(), "in flight\nwritten\n");
}

// Terminate returns once no conversion runs: after a wrong command, after a finished one, and
// when it came first (and a signal interrupted its wait), once the conversion it stopped before
// its start has returned.
TEST_F(ConvertTest, PluginTerminate) {
    const std::string path = dir.Write("f.log", Records(0, 24));
    for (const test::Words& words : {test::Words{"log-convert"}, test::Words{"log-convert", path}}) {
        LogConvertPlugin plugin;
        test::CoutCapture quiet;
        EXPECT_EQ(plugin.ExecCmd(words), 0);
        EXPECT_EQ(std::async(std::launch::async, [&] { plugin.Terminate(); }).wait_for(std::chrono::seconds(5)),
                  std::future_status::ready);
    }
    LogConvertPlugin plugin;
    std::promise<void> returned;
    std::atomic<pid_t> waiting{0};
    std::thread terminator([&] {
        waiting = gettid();
        plugin.Terminate();
        returned.set_value();
    });
    struct sigaction wake {};
    wake.sa_handler = [](int) {};
    sigaction(SIGUSR1, &wake, nullptr);
    for (int i = 0; i < 60000 && !Sleeping(waiting); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    pthread_kill(terminator.native_handle(), SIGUSR1);  // a signal in the middle of its wait
    auto terminated = returned.get_future();
    // it must not return, whatever the time: waiting longer only catches more
    EXPECT_EQ(terminated.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    test::CoutCapture out;
    EXPECT_EQ(plugin.ExecCmd({"log-convert", "continue", "3", path}), 0);
    const bool ended = terminated.wait_for(std::chrono::seconds(5)) == std::future_status::ready;
    ended ? terminator.join() : terminator.detach();
    EXPECT_TRUE(ended);
    EXPECT_EQ(out.Text(), "");
}

std::atomic<int> g_terminates{0};
std::atomic<bool> g_stopsSent{false};
// "ut-follow": the conversion plug-in, counting the calls of Terminate and returning only once
// every stop of the case was sent, so that a second signal finds it still running.
struct CountingFollow : LogConvertPlugin {
    int32_t ExecCmd(const std::vector<std::string>& words) override {
        const int32_t result = LogConvertPlugin::ExecCmd(words);
        while (!g_stopsSent) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return result;
    }
    void Terminate() override {
        ++g_terminates;
        LogConvertPlugin::Terminate();
    }
};
const PluginFactory g_follow("ut-follow", [] { return std::unique_ptr<Plugin>(new CountingFollow); });

// Follows path from its last two records; once they are out, appends records, and once those
// are out too (after a poll of the size), stops the follow: with Terminate from another thread
// (no signals), or with the signals through the driver's exit thread, the first of them once the
// exit thread has called Terminate. One more signal after the run finds the handler still there.
// Exits 0 when the run returned 0, printed every line and Terminate was called exactly once.
[[noreturn]] void FollowAndStop(const std::string& path, const std::vector<int>& signals, int appended) {
    CltLogger::GetInstance().InitLoger();
    const test::Words words = {"ut-follow", "continue", "2", path};
    CountingFollow plugin;
    test::CoutCapture out;
    bool seen = false;
    std::thread stopper([&] {
        seen = out.WaitFor(Lines(8, 9));
        std::ofstream(path, std::ios::binary | std::ios::app) << Records(10, 9 + appended);
        seen = seen && out.WaitFor(Lines(8, 9 + appended));
        if (signals.empty()) {
            g_stopsSent = true;
            plugin.Terminate();
        }
        for (const int sig : signals) {
            kill(getpid(), sig);
            while (g_terminates == 0) {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
        }
        g_stopsSent = true;
    });
    const int32_t result = signals.empty() ? plugin.ExecCmd(words) : CmdLineTool(words).Run();
    stopper.join();
    if (!signals.empty()) kill(getpid(), SIGINT);
    std::_Exit(result == 0 && seen && out.Text() == Lines(8, 9 + appended) && g_terminates == 1 ? 0 : 1);
}

// Each case in a child process: signal handling is process-wide. Built with ThreadSanitizer too.
TEST_F(ConvertTest, PluginStopsARunningFollow) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    test::ConfTree tree;
    tree.Write("ut-follow", "ut-follow", {"ut-follow continue <num> <file>"});
    const std::string path = dir.Write("follow.log", Records(0, 9));
    const std::pair<std::vector<int>, int> cases[] = {{{}, 0}, {{}, 3}, {{SIGINT, SIGINT}, 0}, {{SIGTERM}, 3}};
    for (const auto& [signals, appended] : cases) {
        EXPECT_EXIT(FollowAndStop(path, signals, appended), testing::ExitedWithCode(0), "")
            << testing::PrintToString(signals) << ", " << appended << " appended";
    }
    EXPECT_EXIT(FollowAndStop(path, {SIGQUIT}, 0), testing::KilledBySignal(SIGQUIT), "");  // not caught
}

}  // namespace
}  // namespace zel::clt
