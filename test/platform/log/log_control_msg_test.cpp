#include "ara/log/log_control_msg.h"

#include <gtest/gtest.h>

namespace ara::log {
namespace {

std::vector<char> Bytes(std::initializer_list<int> values) {
    std::vector<char> bytes;
    for (const int v : values) {
        bytes.push_back(static_cast<char>(v));
    }
    return bytes;
}

// Header of every request: HTYP, MCNT, LEN (filled per case), ECU "CLT", MSIN, NOAR, "CLT", "clt".
std::vector<char> Header(int length) {
    return Bytes({0x25, 0x00, 0x00, length, 'C', 'L', 'T', 0, 0x16, 0x01, 'C', 'L', 'T', 0, 'c', 'l', 't', 0});
}

std::vector<char> Concat(std::vector<char> a, const std::vector<char>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

TEST(LogControlMsgTest, SetLogLevelBytes) {
    LogControlMsg msg;
    msg.SetControlLogLevel(LogControlMsgSetLogLevel("LOG", "TEST", LogLevel::kVerbose));
    EXPECT_EQ(
        msg.Serialize(),
        Concat(Header(35), Bytes({0x01, 0, 0, 0, 'L', 'O', 'G', 0, 'T', 'E', 'S', 'T', 0x06, 'r', 'e', 'm', 'o'})));
}

TEST(LogControlMsgTest, AnyIdIsAllNulAndLongIdsAreCut) {
    LogControlMsg msg;
    msg.SetControlLogLevel(LogControlMsgSetLogLevel("APPLICATION", "*", LogLevel::kOff));
    EXPECT_EQ(msg.Serialize(),
              Concat(Header(35), Bytes({0x01, 0, 0, 0, 'A', 'P', 'P', 'L', 0, 0, 0, 0, 0x00, 'r', 'e', 'm', 'o'})));
}

TEST(LogControlMsgTest, SetDefaultLogLevelBytesReplaceTheEarlierRequest) {
    LogControlMsg msg;
    msg.SetControlLogLevel(LogControlMsgSetLogLevel("LOG", "TEST", LogLevel::kVerbose));
    msg.SetControlDefaultLogLevel(LogControlMsgSetDefaultLogLevel(LogLevel::kWarn));
    EXPECT_EQ(msg.Serialize(), Concat(Header(27), Bytes({0x11, 0, 0, 0, 0x03, 'r', 'e', 'm', 'o'})));
}

TEST(LogControlMsgTest, NothingSetSerialisesToNothing) { EXPECT_TRUE(LogControlMsg().Serialize().empty()); }

}  // namespace
}  // namespace ara::log
