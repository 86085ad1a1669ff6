// log-control against a real DLT daemon that uses the tool's control socket, with
// dlt-example-user logging as application LOG (contexts TEST, TS1, TS2). What counts is what
// the daemon reports it sent to the application's contexts, not that bytes left the tool.
#include <gtest/gtest.h>

#include "dlt_daemon.h"
#include "installed_tool.h"
#include "sockets.h"
#include "zel_paths.h"

namespace zel::test {
namespace {

const char kExampleUser[] = "/usr/lib/libdlt-examples/dlt-example-user";

class LogControlDaemonTest : public testing::Test {
protected:
    void SetUp() override {
        RestoreShippedConf();
        ASSERT_TRUE(daemon_.Ready());
        daemon_.StartClient(kExampleUser, {"dlt-example-user", "-n", "100000", "-d", "100", "hello"});
        ASSERT_TRUE(daemon_.WaitForLog("Send log-level to context: LOG:TS2"));
    }
    ProcessResult LogControl(const std::vector<std::string>& words) {
        std::vector<std::string> all{"log-control"};
        all.insert(all.end(), words.begin(), words.end());
        return RunTool("zel-tool", all, daemon_.ClientEnv());
    }

    DltDaemon daemon_{paths::kLogDaemonCtrlSocket};
    UdpReceiver mcu_{"127.0.0.1", 51344};
};

TEST_F(LogControlDaemonTest, OneContextGetsTheLevel) {
    const ProcessResult r = LogControl({"appid", "LOG", "ctxid", "TEST", "level", "verbose"});
    EXPECT_EQ(r.exitStatus, 0);
    EXPECT_EQ(r.out, "");
    EXPECT_TRUE(daemon_.WaitForLog("Send log-level to context: LOG:TEST [6 -> 6]")) << daemon_.Log();
    EXPECT_EQ(daemon_.Log().find("LOG:TS1 [6"), std::string::npos);
    EXPECT_TRUE(mcu_.Receive(200).empty());
}

TEST_F(LogControlDaemonTest, EveryContextOfTheApplication) {
    const ProcessResult r = LogControl({"appid", "LOG", "level", "debug"});
    EXPECT_EQ(r.out, "");
    for (const char* context : {"TEST", "TS1", "TS2"}) {
        EXPECT_TRUE(daemon_.WaitForLog(std::string("Send log-level to context: LOG:") + context + " [5 -> 5]"))
            << daemon_.Log();
    }
    EXPECT_TRUE(mcu_.Receive(200).empty());
}

TEST_F(LogControlDaemonTest, DefaultLevelOnDaemonAndMcu) {
    const ProcessResult r = LogControl({"level", "warn"});
    EXPECT_EQ(r.exitStatus, 0);
    EXPECT_EQ(r.out, "");
    // contexts that follow the default report it as their new effective level
    EXPECT_TRUE(daemon_.WaitForLog("Send log-level to context: LOG:TS1 [-1 -> 3]")) << daemon_.Log();
    const std::string request(
        "\x25\x00\x00\x1b"
        "CLT\0\x16\x01"
        "CLT\0clt\0\x11\0\0\0\x03remo",
        27);
    EXPECT_EQ(mcu_.Receive(300), std::vector<std::string>{request});
}

TEST(LogControlNoDaemonTest, McuIsStillSentTo) {
    RestoreShippedConf();
    UdpReceiver mcu{"127.0.0.1", 51344};
    const ProcessResult r = RunTool("zel-tool", {"log-control", "level", "warn"});
    EXPECT_EQ(r.exitStatus, 0);
    EXPECT_EQ(r.out, "fail to create connection with log_daemon \nfail to send local log level \n");
    EXPECT_EQ(mcu.Receive(300).size(), 1u);
}

TEST(LogControlBadInputTest, NothingIsSent) {
    RestoreShippedConf();
    UnixListener daemon{paths::kLogDaemonCtrlSocket};
    UdpReceiver mcu{"127.0.0.1", 51344};
    const std::string help = "log-control usage: \n";
    struct Case {
        std::vector<std::string> words;
        int status;
        std::string firstLine;
    };
    const std::vector<Case> cases{
        {{"level", "Debug"}, 0, "error, the input parameter level: Debug\n"},
        {{"level", "7"}, 0, "error, the input parameter level: 7\n"},
        {{"level", ""}, 0, "error, the input parameter level: \n"},
        {{"appid", "LOG", "level", "loud"}, 0, "error, the input parameter level: loud\n"},
        {{"app", "LOG"}, 255, "Error, input cmd not support!\n"},
        {{"level"}, 255, "Error, input cmd not support!\n"},
        {{"appid", "LOG", "ctxid"}, 255, "Error, input cmd not support!\n"},
        {{"level", "warn", "level", "info", "level", "off", "level", "off", "level", "off", "level", "off", "level",
          "off"},
         255,
         "Error, input cmd not support!\n"},
    };
    for (const auto& c : cases) {
        std::vector<std::string> words{"log-control"};
        words.insert(words.end(), c.words.begin(), c.words.end());
        const ProcessResult r = RunTool("zel-tool", words);
        EXPECT_EQ(r.exitStatus, c.status) << words.size();
        EXPECT_EQ(r.out.substr(0, c.firstLine.size() + help.size()), c.firstLine + help);
    }
    EXPECT_TRUE(daemon.Receive(200).empty());
    EXPECT_TRUE(mcu.Receive(200).empty());
}

TEST(LogControlLongIdsTest, IdsAreCutToFourCharacters) {
    RestoreShippedConf();
    UnixListener daemon{paths::kLogDaemonCtrlSocket};
    const ProcessResult r =
        RunTool("zel-tool", {"log-control", "appid", "LOGGING", "ctxid", "TESTING", "level", "off"});
    EXPECT_EQ(r.out, "");
    const std::vector<std::string> got = daemon.Receive(300);
    ASSERT_EQ(got.size(), 1u);
    EXPECT_EQ(got[0].substr(18, 13), std::string("\x01\0\0\0LOGGTEST\0", 13));
}

}  // namespace
}  // namespace zel::test
