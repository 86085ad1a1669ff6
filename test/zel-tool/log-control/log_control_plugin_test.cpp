#include "log_control_plugin.h"

#include <gtest/gtest.h>

#include "conf_tree.h"
#include "configuration.h"
#include "sockets.h"
#include "zel_paths.h"

namespace zel::clt {
namespace {

using Words = std::vector<std::string>;

std::string Request(const std::string& payload) {
    const std::string header("\x25\x00\x00", 3);
    const std::string ids(
        "CLT\0\x16\x01"
        "CLT\0clt\0",
        14);
    return header + static_cast<char>(18 + payload.size() + 4) + ids + payload + "remo";
}
std::string SetLevel(const std::string& app4, const std::string& ctx4, char level) {
    return Request(std::string("\x01\0\0\0", 4) + app4 + ctx4 + level);
}
std::string SetDefault(char level) { return Request(std::string("\x11\0\0\0", 4) + level); }
const std::string kAll(4, '\0');

// Runs the plug-in with a stand-in daemon socket and MCU, and keeps what each received.
class LogControlPluginTest : public testing::Test {
protected:
    void SetUp() override {
        tree_.Write("log-control", "log-control", {}, {"help line"});
        ASSERT_TRUE(Configuration::GetInstance().Load("log-control"));
        ASSERT_TRUE(mcu_.Bound());
    }
    std::string Exec(const Words& words, bool withDaemon = true) {
        std::unique_ptr<test::UnixListener> daemon;
        if (withDaemon) {
            daemon = std::make_unique<test::UnixListener>(paths::kLogDaemonCtrlSocket);
        }
        test::CoutCapture out;
        LogControlPlugin plugin;
        EXPECT_EQ(plugin.ExecCmd(words), 0);
        daemonGot_ = daemon ? daemon->Receive(100) : Words{};
        mcuGot_ = mcu_.Receive(100);
        return out.Text();
    }

    test::ConfTree tree_;
    test::UdpReceiver mcu_{paths::kMcuAddress, 51344};
    Words daemonGot_;
    Words mcuGot_;
    const std::string help_ = "log-control usage: \n\thelp line\n";
};

TEST_F(LogControlPluginTest, LevelAloneSetsTheDefaultOnDaemonAndMcu) {
    EXPECT_EQ(Exec({"log-control", "level", "warn"}), "");
    EXPECT_EQ(daemonGot_, Words{SetDefault(3)});
    EXPECT_EQ(mcuGot_, Words{SetDefault(3)});
}

TEST_F(LogControlPluginTest, NameAloneSetsDefaultInfo) {
    EXPECT_EQ(Exec({"log-control"}), "");
    EXPECT_EQ(daemonGot_, Words{SetDefault(4)});
    EXPECT_EQ(mcuGot_, Words{SetDefault(4)});
}

TEST_F(LogControlPluginTest, ApplicationLevelGoesToTheDaemonOnly) {
    EXPECT_EQ(Exec({"log-control", "appid", "LOG", "ctxid", "TEST", "level", "verbose"}), "");
    EXPECT_EQ(daemonGot_, Words{SetLevel(std::string("LOG\0", 4), "TEST", 6)});
    EXPECT_TRUE(mcuGot_.empty());
    // an id not given is "*", the level not given is info; order does not matter
    EXPECT_EQ(Exec({"log-control", "ctxid", "TS", "appid", "APPLICATION"}), "");
    EXPECT_EQ(daemonGot_, Words{SetLevel("APPL", std::string("TS\0\0", 4), 4)});
    EXPECT_EQ(Exec({"log-control", "appid", "LOG"}), "");
    EXPECT_EQ(daemonGot_, Words{SetLevel(std::string("LOG\0", 4), kAll, 4)});
    EXPECT_TRUE(mcuGot_.empty());
}

TEST_F(LogControlPluginTest, LaterPairWins) {
    EXPECT_EQ(Exec({"log-control", "level", "debug", "level", "warn"}), "");
    EXPECT_EQ(daemonGot_, Words{SetDefault(3)});
    EXPECT_EQ(Exec({"log-control", "appid", "AAAA", "appid", "BBBB", "level", "off"}), "");
    EXPECT_EQ(daemonGot_, Words{SetLevel("BBBB", kAll, 0)});
}

TEST_F(LogControlPluginTest, UnknownLevelWordSendsNothing) {
    for (const std::string level : {"Debug", "7", "", "VERBOSE"}) {
        EXPECT_EQ(Exec({"log-control", "level", level}), "error, the input parameter level: " + level + "\n" + help_);
        EXPECT_TRUE(daemonGot_.empty()) << level;
        EXPECT_TRUE(mcuGot_.empty()) << level;
    }
}

TEST_F(LogControlPluginTest, UnknownKeywordPrintsHelpOnly) {
    EXPECT_EQ(Exec({"log-control", "app", "LOG", "level", "info"}), help_);
    // with a bad level too, the level error and the help come once each
    EXPECT_EQ(Exec({"log-control", "app", "LOG", "level", "loud"}), "error, the input parameter level: loud\n" + help_);
    // a keyword left without its value, as a trailing process id leaves it
    EXPECT_EQ(Exec({"log-control", "level", "warn", "0"}), help_);
    EXPECT_TRUE(daemonGot_.empty());
    EXPECT_TRUE(mcuGot_.empty());
}

TEST_F(LogControlPluginTest, NoDaemonStillSendsToTheMcu) {
    EXPECT_EQ(Exec({"log-control", "level", "error"}, /*withDaemon=*/false),
              "fail to create connection with log_daemon \nfail to send local log level \n");
    EXPECT_EQ(mcuGot_, Words{SetDefault(2)});
    EXPECT_EQ(Exec({"log-control", "appid", "X"}, /*withDaemon=*/false),
              "fail to create connection with log_daemon \nfail to send local log level \n");
    EXPECT_TRUE(mcuGot_.empty());
}

TEST_F(LogControlPluginTest, UnreachableMcuIsReportedAfterTheDaemon) {
    // a second socket on the SoC's port keeps the tool from binding it
    test::UdpReceiver squatter{paths::kSocAddress, 50513};
    ASSERT_TRUE(squatter.Bound());
    EXPECT_EQ(Exec({"log-control", "level", "fatal"}),
              "fail to create connection with MCU \nfail to send MCU log level \n");
    EXPECT_EQ(daemonGot_, Words{SetDefault(1)});
}

}  // namespace
}  // namespace zel::clt
