#include "ara/log/log_storage_msg.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "ara/log/system_time.h"
#include "dlt_record.h"

namespace ara::log {
namespace {

using zel::dltgen::Arg;
using zel::dltgen::Encode;
using zel::dltgen::Record;

std::vector<std::uint8_t> Bytes(const std::string& s) { return {s.begin(), s.end()}; }

// Decodes one record that must fill the bytes exactly; returns its payload text.
std::string PayloadOf(const Record& record, LogStorageMsg& msg) {
    const std::string bytes = Encode(record);
    EXPECT_EQ(msg.Deserialize(Bytes(bytes)), static_cast<std::int64_t>(bytes.size()));
    EXPECT_EQ(msg.GetLength(), bytes.size());
    return msg.GetLogMsg().GetPayload();
}
std::string PayloadOf(const Record& record) {
    LogStorageMsg msg;
    return PayloadOf(record, msg);
}

Record Verbose(std::vector<Arg> args, int version = 1) {
    Record r;
    r.version = version;
    r.args = std::move(args);
    return r;
}

TEST(LogStorageMsgTest, VerboseArgumentsInBothVersions) {
    for (const int version : {1, 2}) {
        SCOPED_TRACE(version);
        EXPECT_EQ(PayloadOf(Verbose({Arg::String("plain"), Arg::String("cr\rlf\nend"), Arg::String("")}, version)),
                  "plain cr lf end ");
        EXPECT_EQ(PayloadOf(Verbose({Arg::String(std::string("cut\0here", 8))}, version)), "cut");
        EXPECT_EQ(PayloadOf(Verbose({Arg::Bool(true), Arg::Bool(false), Arg::Int(-8, 1), Arg::Int(-1600, 2),
                                     Arg::Int(-320000, 4), Arg::Int(-6400000000LL, 8)},
                                    version)),
                  "1 0 -8 -1600 -320000 -6400000000");
        EXPECT_EQ(PayloadOf(Verbose({Arg::Uint(200, 1), Arg::Uint(60000, 2), Arg::Uint(4000000000U, 4),
                                     Arg::Uint(18000000000000000000ULL, 8)},
                                    version)),
                  "200 60000 4000000000 18000000000000000000");
        EXPECT_EQ(PayloadOf(Verbose({Arg::Float32(3.25f), Arg::Float64(-1e-300), Arg::Float64(123456789.0)}, version)),
                  "3.25 -1e-300 1.23457e+08");
        EXPECT_EQ(PayloadOf(Verbose({Arg::Raw(std::string("\xde\xad\x00\x7f", 4)), Arg::Raw("")}, version)),
                  "de'ad'00'7f ");
        EXPECT_EQ(PayloadOf(Verbose({Arg::Hex(0xab, 1), Arg::Hex(0xabc, 2), Arg::Hex(0x123456789ULL, 8)}, version)),
                  "0xab 0x0abc 0x0000000123456789");
        EXPECT_EQ(PayloadOf(Verbose({Arg::Bin(0xa5, 1), Arg::Bin(0x1234, 2)}, version)),
                  "0b1010 0101 0b0001 0010 0011 0100");
        EXPECT_EQ(PayloadOf(Verbose({Arg::Uint128(std::string("\x00\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0a\x0b\x0c"
                                                              "\x0d\x0e\x0f",
                                                              16))},
                                    version)),
                  "00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f");
        // names and units are carried but not shown
        EXPECT_EQ(PayloadOf(Verbose({Arg::Int(-5, 4).Named("speed", "km/h"), Arg::String("text").Named("label"),
                                     Arg::Bool(true).Named("flag"), Arg::Raw("\x01").Named("r")},
                                    version)),
                  "-5 text 1 01");
    }
}

TEST(LogStorageMsgTest, BigEndianPayloadOfVersionOne) {
    Record r = Verbose({Arg::Int(-1600, 2), Arg::Uint(4000000000U, 4), Arg::String("s"), Arg::Float64(0.5),
                        Arg::Hex(0xabc, 2).Named("n", "u")});
    r.bigEndian = true;
    EXPECT_EQ(PayloadOf(r), "-1600 4000000000 s 0.5 0x0abc");
}

TEST(LogStorageMsgTest, MalformedArgumentsEndInHex) {
    Record r = Verbose({Arg::Uint(7, 1), Arg::String("abc")});
    const std::string good = Encode(r);
    // announce a string longer than the payload holds: the bytes from that argument on in hex
    Record cut = r;
    cut.payload = std::string("\x41\x00\x00\x00\x07", 5) + std::string(
                                                               "\x00\x02\x00\x00\x09\x00"
                                                               "abc\0",
                                                               10);
    EXPECT_EQ(PayloadOf(cut), "7 00 02 00 00 09 00 61 62 63 00");
    // more arguments announced than present
    Record fewer = Verbose({Arg::Uint(7, 1)});
    fewer.payload = std::string("\x41\x00\x00\x00\x07", 5);
    fewer.args.push_back(Arg::Uint(1, 1));
    EXPECT_EQ(PayloadOf(fewer), "7 ");
    // a boolean whose length code is left at 0 is one byte
    Record lengthless = Verbose({Arg::Uint(1, 1)});
    lengthless.payload = std::string("\x10\x00\x00\x00\x01", 5);
    EXPECT_EQ(PayloadOf(lengthless), "1");
    // a boolean announced 16 bytes wide does not decode, in either byte order
    Record wideBool = Verbose({Arg::Uint(1, 1)});
    wideBool.payload = std::string("\x15\x00\x00\x00", 4) + std::string(16, '\x01');
    EXPECT_EQ(PayloadOf(wideBool), "15 00 00 00 01 01 01 01 01 01 01 01 01 01 01 01 01 01 01 01");
    wideBool.bigEndian = true;
    wideBool.payload = std::string("\x00\x00\x00\x15", 4) + std::string(16, '\x01');
    EXPECT_EQ(PayloadOf(wideBool), "00 00 00 15 01 01 01 01 01 01 01 01 01 01 01 01 01 01 01 01");
    // an unknown type
    Record unknown = Verbose({Arg::Uint(1, 1)});
    unknown.payload = std::string("\x00\x00\x00\x00\xff", 5);
    EXPECT_EQ(PayloadOf(unknown), "00 00 00 00 ff");
}

TEST(LogStorageMsgTest, NonVerboseAndControlPayloads) {
    Record nv;
    nv.verbose = false;
    nv.payload = std::string("\x0a\x00\x00\x00\xf3\x03", 6);
    EXPECT_EQ(PayloadOf(nv), "10, f3 03");
    nv.payload = std::string("\x0b\x00\x00\x00", 4);
    EXPECT_EQ(PayloadOf(nv), "11, ");
    nv.payload = std::string("\x0b\x00", 2);
    EXPECT_EQ(PayloadOf(nv), "0b 00");
    Record nv2 = nv;
    nv2.version = 2;
    nv2.messageId = 4711;
    nv2.payload = std::string("\x01\x02", 2);
    EXPECT_EQ(PayloadOf(nv2), "4711, 01 02");

    Record control;
    control.verbose = false;
    control.type = zel::dltgen::MessageType::kControl;
    control.typeInfo = 2;  // response
    control.payload = std::string("\x02\x0f\x00\x00\x00\x02\x00\x00\x00\x00", 10);
    EXPECT_EQ(PayloadOf(control), "service(3842), ok, 02 00 00 00 00");
    control.payload = std::string("\x01\x00\x00\x00\x02", 5);
    EXPECT_EQ(PayloadOf(control), "set_log_level, error");
    control.typeInfo = 1;  // request
    control.payload = std::string("\x11\x00\x00\x00\x03remo", 9);
    EXPECT_EQ(PayloadOf(control), "set_default_log_level, 03 72 65 6d 6f");
    control.version = 2;
    control.payload = std::string("\x13\x00\x00\x00", 4);
    EXPECT_EQ(PayloadOf(control), "get_software_version");
}

TEST(LogStorageMsgTest, HeadersOfVersionOne) {
    Record r = Verbose({Arg::String("x")});
    r.mcnt = 201;
    r.apid = "LOG";
    r.ctid = "TEST";
    r.typeInfo = 6;
    r.seconds = 1700000000;
    r.subseconds = 123456;
    r.timestamp = 123456789;  // 12345.6789 s
    r.sessionId = 99;
    LogStorageMsg msg;
    PayloadOf(r, msg);
    const auto& m = msg.GetLogMsg();
    EXPECT_EQ(m.GetStandardHeader().GetMcnt(), 201);
    EXPECT_TRUE(m.GetStandardHeader().IsHytpUeh());
    EXPECT_EQ(m.GetExtendedHeader().GetApid(), "LOG");
    EXPECT_EQ(m.GetExtendedHeader().GetCtid(), "TEST");
    EXPECT_EQ(m.GetExtendedHeader().GetLogLevel(), LogLevel::kVerbose);
    EXPECT_EQ(m.GetExtendedHeader().GetMessageType(), MessageType::kLog);
    const auto [data, storage] = msg.GetPlatformTime();
    EXPECT_EQ(data.tv_sec, 12345);
    EXPECT_EQ(data.tv_nsec, 678900000);
    EXPECT_EQ(storage.tv_sec, 1700000000);
    EXPECT_EQ(storage.tv_nsec, 123456000);

    r.timestamp.reset();
    r.extended = false;
    r.withEcuId = false;
    PayloadOf(r, msg);
    EXPECT_FALSE(msg.GetLogMsg().GetStandardHeader().IsHytpUeh());
    EXPECT_EQ(msg.GetPlatformTime().first.tv_sec, 0);
    EXPECT_EQ(msg.GetPlatformTime().first.tv_nsec, 0);
}

TEST(LogStorageMsgTest, HeadersOfVersionTwoWithEveryExtensionField) {
    Record r = Verbose({Arg::String("v2")}, 2);
    r.mcnt = 7;
    r.ecu = "ECU-LONG-NAME";
    r.apid = "APPLICATION";
    r.ctid = "CT";
    r.typeInfo = 2;
    r.sessionId = 1234;
    r.fileLine = std::make_pair(std::string("main.cpp"), 42u);
    r.tags = {"alpha", "", "gamma"};
    r.privacy = 3;
    r.segmentation = std::string("\x01\x02\x03", 3);
    r.seconds = 0x0123456789ULL;  // five bytes
    r.subseconds = 999999999;
    r.tsRelative = true;
    r.tsSeconds = 77;
    r.tsNanos = 5000;
    LogStorageMsg msg;
    EXPECT_EQ(PayloadOf(r, msg), "v2");
    const auto& m = msg.GetLogMsg();
    EXPECT_EQ(m.GetStandardHeader().GetMcnt(), 7);
    EXPECT_TRUE(m.GetStandardHeader().IsHytpUeh());
    EXPECT_EQ(m.GetExtendedHeader().GetApid(), "APPLICATION");
    EXPECT_EQ(m.GetExtendedHeader().GetCtid(), "CT");
    EXPECT_EQ(m.GetExtendedHeader().GetLogLevel(), LogLevel::kError);
    const auto [data, storage] = msg.GetPlatformTime();
    EXPECT_EQ(data.tv_sec, 77);
    EXPECT_EQ(data.tv_nsec, 5000);
    EXPECT_EQ(storage.tv_sec, static_cast<time_t>(0x0123456789ULL));
    EXPECT_EQ(storage.tv_nsec, 999999999);

    // absolute data time, nanoseconds of the storage header big-endian as older writers did
    r.tsRelative = false;
    r.tsSeconds = 1700000000;
    r.subseconds = 250000000;
    r.nanosBigEndian = true;
    PayloadOf(r, msg);
    EXPECT_EQ(msg.GetPlatformTime().first.tv_sec, 1700000000);
    EXPECT_EQ(msg.GetPlatformTime().second.tv_nsec, 250000000);

    // without ids, or non-verbose, there is no extended header to show
    r.extended = false;
    PayloadOf(r, msg);
    EXPECT_FALSE(msg.GetLogMsg().GetStandardHeader().IsHytpUeh());
    r.extended = true;
    r.verbose = false;
    r.payload = "";
    PayloadOf(r, msg);
    EXPECT_FALSE(msg.GetLogMsg().GetStandardHeader().IsHytpUeh());
}

TEST(LogStorageMsgTest, GarbageIsSkippedAndCounted) {
    const std::string record = Encode(Verbose({Arg::String("x")}));
    LogStorageMsg msg;
    const std::string garbage = std::string("DLT\x03junkDL", 9) + std::string("DLT\x01", 4);  // no valid headers
    EXPECT_EQ(msg.Deserialize(Bytes(garbage + record)), static_cast<std::int64_t>(garbage.size() + record.size()));
    EXPECT_EQ(msg.GetLength(), record.size());
    EXPECT_EQ(msg.GetLogMsg().GetPayload(), "x");
    EXPECT_EQ(msg.Deserialize(Bytes(garbage)), 0);
    EXPECT_EQ(msg.Deserialize(Bytes("")), 0);
}

TEST(LogStorageMsgTest, CutRecordWaitsForTheRest) {
    // a record whose payload holds a whole record of its own is not searched for it when cut
    const std::string inner = Encode(Verbose({Arg::String("inner")}));
    const std::string outer = Encode(Verbose({Arg::Raw(inner)}));
    LogStorageMsg msg;
    for (std::size_t cut = 0; cut < outer.size(); ++cut) {
        EXPECT_EQ(msg.Deserialize(Bytes(outer.substr(0, cut))), 0) << cut;
    }
    EXPECT_EQ(msg.Deserialize(Bytes(outer)), static_cast<std::int64_t>(outer.size()));
}

TEST(LogStorageMsgTest, InvalidHeadersAreGarbage) {
    const std::string good = Encode(Verbose({Arg::String("ok")}));
    Record shortLen = Verbose({Arg::String("bad")});
    shortLen.lengthOverride = 8;  // less than the headers it announces
    Record wrongVersion = Verbose({Arg::String("bad")});
    std::string wrong = Encode(wrongVersion);
    wrong[16] = static_cast<char>((wrong[16] & 0x1F) | 0x40);  // version 2 bits in a version 1 record
    Record v2Short = Verbose({Arg::String("bad")}, 2);
    v2Short.lengthOverride = 9;
    LogStorageMsg msg;
    for (const std::string& bad : {Encode(shortLen), wrong, Encode(v2Short)}) {
        EXPECT_EQ(msg.Deserialize(Bytes(bad + good)), static_cast<std::int64_t>(bad.size() + good.size()));
        EXPECT_EQ(msg.GetLogMsg().GetPayload(), "ok");
    }
}

TEST(SystemTimeTest, CalendarAndSinceStartUp) {
    setenv("TZ", "UTC", 1);
    tzset();
    EXPECT_EQ(SystemTime::SystemTimeToString({1700000000, 123456789}), "2023/11/14 22:13:20.123456");
    EXPECT_EQ(SystemTime::SystemTimeToString({12, 345600000}), "12.345600");
    EXPECT_EQ(SystemTime::SystemTimeToString({0, 0}), "0.000000");
    EXPECT_EQ(SystemTime::SystemTimeToString({946684800, 0}), "2000/01/01 00:00:00.000000");
    EXPECT_EQ(SystemTime::SystemTimeToString({946684799, 999999}), "946684799.000999");
}

}  // namespace
}  // namespace ara::log
