// The stored-record decoder: payload text of both versions and byte orders, what is skipped as
// garbage, a record of the real version 2 writer read from its recording; and the time text.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>

#include "ara/log/log_storage_msg.h"
#include "ara/log/system_time.h"
#include "dlt_record.h"

namespace ara::log {
namespace {

using zel::dltgen::Arg;
using zel::dltgen::Encode;
using zel::dltgen::Record;

std::vector<std::uint8_t> Bytes(const std::string& s) { return {s.begin(), s.end()}; }

// Decodes bytes that hold exactly one record; returns its payload text.
std::string Decode(const std::string& bytes, LogStorageMsg& msg) {
    EXPECT_EQ(msg.Deserialize(Bytes(bytes)), static_cast<std::int64_t>(bytes.size()));
    EXPECT_EQ(msg.GetLength(), bytes.size());
    return msg.GetLogMsg().GetPayload();
}
std::string Decode(const Record& record) {
    LogStorageMsg msg;
    return Decode(Encode(record), msg);
}

Record Args(std::vector<Arg> args) {
    Record r;
    r.args = std::move(args);
    return r;
}
// A verbose record of noar arguments given as payload bytes.
Record Malformed(std::size_t noar, const std::string& payload, bool bigEndian = false) {
    Record r = Args(std::vector<Arg>(noar, Arg::Bool(true)));
    r.payload = payload;
    r.bigEndian = bigEndian;
    return r;
}
TEST(DecoderTest, PayloadText) {
    const std::string ones(16, '\x01'), onesText = " 01 01 01 01 01 01 01 01 01 01 01 01 01 01 01 01";
    const std::string sixteen("\x00\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0a\x0b\x0c\x0d\x0e\x0f", 16);
    // verbose arguments, in version 1 of either byte order and in version 2
    const std::vector<std::pair<std::vector<Arg>, std::string>> args{
        {{Arg::String("plain"), Arg::String("cr\rlf\nend"), Arg::String("")}, "plain cr lf end "},
        {{Arg::String(std::string("cut\0here", 8))}, "cut"},
        {{Arg::Bool(true), Arg::Bool(false), Arg::Int(-8, 1), Arg::Int(-1600, 2), Arg::Int(-320000, 4),
          Arg::Int(-6400000000LL, 8)},
         "1 0 -8 -1600 -320000 -6400000000"},
        {{Arg::Uint(200, 1), Arg::Uint(60000, 2), Arg::Uint(4000000000U, 4), Arg::Uint(18000000000000000000ULL, 8)},
         "200 60000 4000000000 18000000000000000000"},
        {{Arg::Float32(3.25f), Arg::Float64(-1e-300), Arg::Float64(123456789.0)}, "3.25 -1e-300 1.23457e+08"},
        {{Arg::Raw(std::string("\xde\xad\x00\x7f", 4)), Arg::Raw("")}, "de'ad'00'7f "},
        {{Arg::Hex(0xab, 1), Arg::Hex(0xabc, 2), Arg::Hex(0x123456789ULL, 8)}, "0xab 0x0abc 0x0000000123456789"},
        {{Arg::Bin(0xa5, 1), Arg::Bin(0x1234, 2)}, "0b1010 0101 0b0001 0010 0011 0100"},
        {{Arg::Int(-5, 4).Named("speed", "km/h"), Arg::String("text").Named("label"), Arg::Bool(true).Named("flag"),
          Arg::Raw("\x01").Named("r")},
         "-5 text 1 01"},  // names and units are carried but not shown
    };
    for (const auto& [values, text] : args) {
        for (const auto& [version, bigEndian] : {std::pair{1, false}, {1, true}, {2, false}}) {
            Record r = Args(values);
            r.version = version;
            r.bigEndian = bigEndian;
            EXPECT_EQ(Decode(r), text) << "version " << version << (bigEndian ? " big-endian" : "");
        }
    }
    const std::vector<std::pair<Record, std::string>> rows{
        {Args({Arg::Uint128(sixteen)}), "00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f"},
        // a malformed argument list: the arguments decoded so far, then the rest in hex
        {Malformed(2, std::string("\x41\0\0\0\x07\x00\x02\0\0\x09\0abc\0", 15)), "7 00 02 00 00 09 00 61 62 63 00"},
        {Malformed(2, std::string("\x41\0\0\0\x07", 5)), "7 "},
        {Malformed(1, std::string("\x10\0\0\0\x01", 5)), "1"},  // a boolean whose length code is 0
        {Malformed(1, std::string("\x15\0\0\0", 4) + ones), "15 00 00 00" + onesText},  // a 16-byte boolean
        {Malformed(1, std::string("\0\0\0\x15", 4) + ones, true), "00 00 00 15" + onesText},
        {Malformed(1, std::string("\0\0\0\0\xff", 5)), "00 00 00 00 ff"},    // an unknown type
        {Malformed(1, std::string("\x81\0\0\0\x05", 5)), "81 00 00 00 05"},  // a one-byte float
        {Malformed(1, std::string("\x20\0\0\0\x05", 5)), "20 00 00 00 05"},  // an integer of no length
        {Malformed(1, std::string("\x41\x08\0\0\x05\0\0\0\x07", 9)),
         "41 08 00 00 05 00 00 00 07"},                                         // name past the end
        {Malformed(1, std::string("\0\x0a\0\0\0\0", 6)), "00 0a 00 00 00 00"},  // a string's name length missing
    };
    for (const auto& [record, text] : rows) EXPECT_EQ(Decode(record), text);
}

// Record 7 of the COVESA version 2 writer's s1-verbose.log (test/data/v2-reference), with file,
// line and tags: its times to the nanosecond. The end-to-end tests compare every record's text.
TEST(DecoderTest, VersionTwoWriterBytes) {
    std::ifstream in(ZEL_TEST_SOURCE_DIR "/test/data/v2-reference/s1-verbose.log", std::ios::binary);
    const std::vector<std::uint8_t> file{std::istreambuf_iterator<char>(in), {}};
    LogStorageMsg msg;
    for (auto at = file.begin(); msg.GetLogMsg().GetPayload() != "0 hello v2 verbose";) {
        const std::int64_t used = msg.Deserialize({at, file.end()});
        ASSERT_GT(used, 0);
        at += used;
    }
    const auto [data, storage] = msg.GetPlatformTime();
    EXPECT_EQ(std::make_tuple(data.tv_sec, data.tv_nsec, storage.tv_sec, storage.tv_nsec),
              std::make_tuple(time_t{1795405730}, 404913640L, time_t{1795405730}, 405166575L));
}

TEST(DecoderTest, GarbageAndCutRecords) {
    const std::string good = Encode(Args({Arg::String("ok")}));
    Record shortLen = Args({Arg::String("bad")});
    shortLen.lengthOverride = 21;  // one byte less than the headers it announces
    std::string wrongVersion = Encode(Args({Arg::String("bad")}));
    wrongVersion[16] = static_cast<char>((wrongVersion[16] & 0x1F) | 0x40);  // version 2 in a version 1 header
    Record v2Short = shortLen;
    v2Short.version = 2;
    v2Short.lengthOverride = 9;  // ends in the time stamp, with no extension that could fail instead
    v2Short.extended = v2Short.withEcuId = false;
    Record v2Tags = v2Short;
    v2Tags.tags = {"TAG1", "TAG2"};
    v2Tags.lengthOverride.reset();
    v2Tags.lengthOverride = Encode(v2Tags).size() - 18 - 10 - 2;  // ends inside the last tag
    Record v2 = Args({Arg::String("bad")});
    v2.version = 2;
    std::string v2Kind = Encode(v2);
    v2Kind[14 + v2Kind[13]] |= 0x03;  // content type 3, which no message has
    LogStorageMsg msg;
    for (const std::string& bad : {std::string("DLT\x03junkDLDLT\x01", 14), Encode(shortLen), wrongVersion,
                                   Encode(v2Short), Encode(v2Tags), v2Kind}) {
        EXPECT_EQ(msg.Deserialize(Bytes(bad + good)), static_cast<std::int64_t>(bad.size() + good.size()));
        EXPECT_EQ(msg.GetLength(), good.size());
        EXPECT_EQ(msg.GetLogMsg().GetPayload(), "ok");
        EXPECT_EQ(msg.Deserialize(Bytes(bad)), 0);
    }
    // a cut record waits for the rest, and is not searched for the record its payload holds
    for (const int version : {1, 2}) {
        Record r = Args({Arg::Raw(good)});
        r.version = version;
        const std::string outer = Encode(r);
        for (auto n = 0u; n < outer.size(); ++n) EXPECT_EQ(msg.Deserialize(Bytes(outer.substr(0, n))), 0) << n;
        EXPECT_EQ(msg.Deserialize(Bytes(outer)), static_cast<std::int64_t>(outer.size()));
    }
}

TEST(DecoderTest, TimeText) {
    setenv("TZ", "UTC", 1), tzset();
    EXPECT_EQ(SystemTime::SystemTimeToString({946684800, 0}), "2000/01/01 00:00:00.000000");
    EXPECT_EQ(SystemTime::SystemTimeToString({946684799, 999999}), "946684799.000999");
}

}  // namespace
}  // namespace ara::log
