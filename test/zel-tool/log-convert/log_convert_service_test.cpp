#include "log_convert_service.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <random>

#include "conf_tree.h"
#include "log_files.h"

namespace zel::clt {
namespace {

using test::DiscardLine;
using test::Lines;
using test::Records;

class LogConvertServiceTest : public testing::Test {
protected:
    static void SetUpTestSuite() {
        setenv("TZ", "UTC", 1);
        tzset();
    }
    // Converts the file once, without following; returns the result and the output.
    static std::pair<int32_t, std::string> Convert(const std::string& path, bool datatime = true,
                                                   bool manatime = true) {
        ConvertCommand cmd;
        cmd.filename = path;
        cmd.isDatatime = datatime;
        cmd.isManatime = manatime;
        LogConvertService service(cmd);
        test::CoutCapture out;
        const int32_t result = service.ConvertLogFile();
        return {result, out.Text()};
    }
    std::pair<int32_t, std::string> ConvertBytes(const std::string& bytes, const std::string& name = "x.log") {
        return Convert(dir_.Write(name, bytes));
    }

    test::TempDir dir_;
};

TEST_F(LogConvertServiceTest, WholeFileOneLinePerRecord) {
    EXPECT_EQ(ConvertBytes(Records(0, 299)), std::make_pair(0, Lines(0, 299)));
}

TEST_F(LogConvertServiceTest, TimeStampChoice) {
    const std::string path = dir_.Write("t.log", Records(3, 3));
    EXPECT_EQ(Convert(path, true, false).second, "3.000000 003 APP CTX info [record 3 jklmnopqrst]\n");
    EXPECT_EQ(Convert(path, false, true).second,
              "2023/11/14 22:13:23.000000 003 APP CTX info [record 3 jklmnopqrst]\n");
    EXPECT_EQ(Convert(path, false, false).second, "003 APP CTX info [record 3 jklmnopqrst]\n");
}

TEST_F(LogConvertServiceTest, LineShapes) {
    dltgen::Record bare = test::Numbered(5);
    bare.extended = false;
    bare.verbose = false;
    bare.payload = "";
    dltgen::Record trace = test::Numbered(6);
    trace.type = dltgen::MessageType::kAppTrace;
    trace.typeInfo = 1;
    dltgen::Record odd = test::Numbered(7);
    odd.typeInfo = 9;  // a log level beyond verbose
    dltgen::Record empty = test::Numbered(255);
    empty.args = {dltgen::Arg::String("")};
    const auto [result, out] = ConvertBytes(Encode(bare) + Encode(trace) + Encode(odd) + Encode(empty), "shapes.log");
    EXPECT_EQ(result, 0);
    EXPECT_NE(out.find(" 005    []\n"), std::string::npos) << out;  // no extended header: four blanks
    EXPECT_NE(out.find(" 006 APP CTX app_trace [record 6"), std::string::npos) << out;
    EXPECT_NE(out.find(" 007 APP CTX unknown [record 7"), std::string::npos) << out;
    EXPECT_NE(out.find(" 255 APP CTX info []\n"), std::string::npos) << out;
}

TEST_F(LogConvertServiceTest, EveryPrefixPrintsTheCompleteRecords) {
    // sizes that put records across the 2048-byte block boundaries
    std::vector<std::string> records;
    std::string file;
    for (int i = 0; i < 9; ++i) {
        records.push_back(Encode(test::Numbered(i, 150 + 170 * i)));
        file += records.back();
    }
    ASSERT_GT(file.size(), 3 * 2048u);
    for (std::size_t cut = 0; cut <= file.size(); ++cut) {
        std::string expected;
        std::size_t complete = 0;
        for (int i = 0; i < 9 && complete + records[i].size() <= cut; ++i) {
            complete += records[i].size();
            expected += test::LineOf(i, 150 + 170 * i);
        }
        if (cut > complete) {
            expected += DiscardLine(cut - complete);
        }
        const auto [result, out] = ConvertBytes(file.substr(0, cut));
        ASSERT_EQ(result, 0) << cut;
        ASSERT_EQ(out, expected) << "cut at " << cut;
    }
}

TEST_F(LogConvertServiceTest, GarbageBetweenRecordsIsCountedExactly) {
    std::mt19937 random(7);
    std::string file;
    std::string expected;
    for (int i = 0; i < 60; ++i) {
        // garbage that holds no storage mark: 'D' never occurs in it
        std::string garbage(random() % 700, '\0');
        for (char& ch : garbage) {
            do {
                ch = static_cast<char>(random());
            } while (ch == 'D');
        }
        const std::size_t payloadSize = 10 + random() % 400;
        file += garbage + Records(i, i, payloadSize);
        if (!garbage.empty()) {
            expected += DiscardLine(garbage.size());
        }
        expected += test::LineOf(i, payloadSize);
    }
    file += std::string(37, 'x');
    expected += DiscardLine(37);
    const auto [result, out] = ConvertBytes(file);
    EXPECT_EQ(result, 0);
    EXPECT_TRUE(out == expected) << "output differs";
}

TEST_F(LogConvertServiceTest, MarkSplitAtABlockEndAfterGarbageIsKept) {
    // garbage, then a record whose mark straddles the first block boundary
    for (std::size_t before = 1; before <= 4; ++before) {
        const std::string garbage(2048 - before, 'x');
        EXPECT_EQ(ConvertBytes(garbage + Records(1, 2)), std::make_pair(0, DiscardLine(garbage.size()) + Lines(1, 2)))
            << before;
    }
}

TEST_F(LogConvertServiceTest, RecordLongerThanOneBlock) {
    EXPECT_EQ(ConvertBytes(Records(0, 0) + Records(1, 1, 7000) + Records(2, 2)),
              std::make_pair(0, Lines(0, 0) + Lines(1, 1, 7000) + Lines(2, 2)));
}

TEST_F(LogConvertServiceTest, StorageMarkInsideAPayload) {
    dltgen::Record outer = test::Numbered(1);
    outer.args = {dltgen::Arg::Raw(Records(9, 9))};
    const std::string bytes = Records(0, 0) + Encode(outer) + Records(2, 2);
    const auto [result, out] = ConvertBytes(bytes);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(out.find("record 9"), std::string::npos);  // the inner record is payload, not a record
    EXPECT_EQ(std::count(out.begin(), out.end(), '\n'), 3);
}

// A writer that died inside record k, and a restarted writer that went on with record k + 1:
// the cut record's length reaches into the records after it. Each real record is printed once,
// the cut bytes are reported in front of the next one, nothing is invented. The cut records lie
// at several places relative to the block ends, and may claim to end exactly at one.
TEST_F(LogConvertServiceTest, RecordCutByADyingWriter) {
    for (const int version : {1, 2}) {
        for (const int k : {0, 2, 3, 5, 7}) {
            for (const std::size_t cut : {2, 9, 30, 150}) {
                for (const bool toBlockEnd : {false, true}) {
                    std::string file;
                    std::string expected;
                    for (int i = 0; i < 10; ++i) {
                        dltgen::Record r = test::Numbered(i, 200 + 37 * i);
                        r.version = version;
                        r.tsSeconds = static_cast<uint64_t>(i);
                        r.tsNanos = 0;
                        const std::size_t storageSize = version == 1 ? 16 : 18;
                        if (i == k && toBlockEnd) {
                            r.lengthOverride = (file.size() / 2048 + 1) * 2048 - file.size() - storageSize;
                        }
                        const std::string bytes = Encode(r);
                        file += i == k ? bytes.substr(0, cut) : bytes;
                        expected += i == k + 1 ? DiscardLine(cut) : "";
                        expected += i == k ? "" : test::LineOf(i, 200 + 37 * i);
                    }
                    EXPECT_EQ(ConvertBytes(file), std::make_pair(0, expected))
                        << "version " << version << " record " << k << " cut " << cut << " " << toBlockEnd;
                }
            }
        }
    }
}

TEST_F(LogConvertServiceTest, HeadersThatAnnounceMoreThanTheRecordHolds) {
    dltgen::Record longer = test::Numbered(1);
    longer.lengthOverride = 500;  // the file ends first
    EXPECT_EQ(ConvertBytes(Records(0, 0) + Encode(longer)),
              std::make_pair(0, Lines(0, 0) + DiscardLine(Encode(longer).size())));
    dltgen::Record shorter = test::Numbered(1);
    shorter.lengthOverride = 6;  // fewer bytes than its own headers: garbage
    EXPECT_EQ(ConvertBytes(Records(0, 0) + Encode(shorter) + Records(2, 2)),
              std::make_pair(0, Lines(0, 0) + DiscardLine(Encode(shorter).size()) + Lines(2, 2)));
}

// Positions at the tail as follow mode does, and stops at the first check of the follow flag.
std::string Tail(const std::string& path, int32_t count) {
    ConvertCommand cmd;
    cmd.filename = path;
    cmd.isContinue = true;
    cmd.tailNum = count;
    LogConvertService service(cmd);
    service.Stop();
    test::CoutCapture out;
    EXPECT_EQ(service.ConvertLogFile(), 0);
    return out.Text();
}

TEST_F(LogConvertServiceTest, TailStartsAtTheNthLastRecord) {
    const std::string path = dir_.Write("tail.log", Records(1, 25, 300));  // several blocks
    EXPECT_EQ(Tail(path, 10), Lines(16, 25, 300));
    EXPECT_EQ(Tail(path, 1), Lines(25, 25, 300));
    EXPECT_EQ(Tail(path, 25), Lines(1, 25, 300));
    EXPECT_EQ(Tail(path, 26), Lines(1, 25, 300));
    EXPECT_EQ(Tail(path, 0), "");
    EXPECT_EQ(Tail(path, -4), "");
    EXPECT_EQ(Tail(dir_.Write("empty.log", ""), 10), "");
}

TEST_F(LogConvertServiceTest, BackwardScanSkipsARecordWithAMarkInside) {
    // the mark inside record 5 does not decode, but it cuts record 5 short for the count
    dltgen::Record marked = test::Numbered(5);
    marked.args = {dltgen::Arg::String(std::string("a DLT\x01 mark", 12))};
    const std::string path = dir_.Write("marked.log", Records(1, 4) + Encode(marked) + Records(6, 7));
    const std::string markedLine = "5.000000 2023/11/14 22:13:25.000000 005 APP CTX info [a DLT\x01 mark]\n";
    // three asked for, four printed: 5 is passed over by the count, not by the printing
    EXPECT_EQ(Tail(path, 3), Lines(4, 4) + markedLine + Lines(6, 7));
}

TEST_F(LogConvertServiceTest, BackwardScanSkipsARecordThatCoversABlock) {
    const std::string path = dir_.Write("big.log", Records(1, 9) + Records(10, 10, 5000) + Records(11, 12));
    EXPECT_EQ(Tail(path, 2), Lines(11, 12));
    // the long record is not counted, the one before it is, and the long one is printed
    EXPECT_EQ(Tail(path, 3), Lines(9, 9) + test::LineOf(10, 5000) + Lines(11, 12));
}

TEST_F(LogConvertServiceTest, VersionTwoFile) {
    std::string bytes;
    for (int i = 0; i < 40; ++i) {
        dltgen::Record r = test::Numbered(i, 100 + 37 * i);
        r.version = 2;
        r.tsRelative = true;
        r.tsSeconds = static_cast<uint64_t>(i);
        r.tsNanos = 0;
        bytes += Encode(r);
    }
    EXPECT_EQ(ConvertBytes(bytes, "v2.log").second, [] {
        std::string lines;
        for (int i = 0; i < 40; ++i) {
            lines += test::LineOf(i, 100 + 37 * i);
        }
        return lines;
    }());
}

TEST_F(LogConvertServiceTest, EmptyFile) { EXPECT_EQ(ConvertBytes(""), std::make_pair(0, std::string())); }

TEST_F(LogConvertServiceTest, CompressedHeaderYieldsNothing) {
    const std::string gzip("\x1f\x8b\x08\x00\x00\x00\x00\x00\x00\x03", 10);
    EXPECT_EQ(ConvertBytes(gzip + "compressed stuff", "a.log.gz"), std::make_pair(0, std::string()));
    EXPECT_EQ(ConvertBytes(gzip + Records(0, 3), "b.log"), std::make_pair(0, std::string()));
    // any other header is read as a log: a gzip header with a time stamp is garbage here
    const std::string stamped("\x1f\x8b\x08\x00\x01\x02\x03\x04\x00\x03", 10);
    EXPECT_EQ(ConvertBytes(stamped + Records(0, 1), "c.log.gz"), std::make_pair(0, DiscardLine(10) + Lines(0, 1)));
}

TEST_F(LogConvertServiceTest, NamesAndPaths) {
    for (const std::string name : {"a.log.1", "a.logs", "a.gz", "plain", "a.LOG", ".log.gzip"}) {
        dir_.Write(name, Records(0, 0));
        EXPECT_EQ(Convert(dir_.Path(name)),
                  std::make_pair(-1, "File: " + dir_.Path(name) + " cannot find suffix .log or .log.gz\n"));
    }
    const std::string missing = dir_.Path("missing.log");
    EXPECT_EQ(Convert(missing), std::make_pair(-1, "error, file path: " + missing + " is not exist\n"));
    const std::string dangling = dir_.Path("dangling.log");
    std::filesystem::create_symlink(missing, dangling);
    EXPECT_EQ(Convert(dangling), std::make_pair(-1, "error, file path: " + dangling + " is not exist\n"));
    const std::string directory = dir_.Path("dir.log");
    std::filesystem::create_directory(directory);
    EXPECT_EQ(Convert(directory), std::make_pair(-1, "File " + directory + " cannot be opened!\n"));
    // a link is followed, and its target's canonical path is what the messages name
    const std::string target = dir_.Write("target.bin", Records(0, 0));
    const std::string link = dir_.Path("link.log");
    std::filesystem::create_symlink(target, link);
    EXPECT_EQ(Convert(link), std::make_pair(0, Lines(0, 0)));
}

}  // namespace
}  // namespace zel::clt
