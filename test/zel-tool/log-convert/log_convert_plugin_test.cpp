#include "log_convert_plugin.h"

#include <gtest/gtest.h>

#include <future>
#include <thread>

#include "conf_tree.h"
#include "configuration.h"
#include "log_files.h"

namespace zel::clt {
namespace {

using Words = std::vector<std::string>;

class LogConvertPluginTest : public testing::Test {
protected:
    void SetUp() override {
        tree_.Write("log-convert", "log-convert", {}, {"h"});
        ASSERT_TRUE(Configuration::GetInstance().Load("log-convert"));
    }
    static std::string Exec(const Words& words) {
        LogConvertPlugin plugin;
        test::CoutCapture out;
        EXPECT_EQ(plugin.ExecCmd(words), 0);
        return out.Text();
    }

    test::ConfTree tree_;
    test::TempDir dir_;
    const std::string help_ = "log-convert usage: \n\th\n";
    const std::string wrong_ = "error, command is wrong \n" + help_;
    const std::string numError_ = "error, num can not convert to be int\n";
};

TEST_F(LogConvertPluginTest, AcceptedFormsReachTheService) {
    // the file does not exist, so every accepted form ends in the service's message
    const std::string missing = "error, file path: none.log is not exist\n" + help_;
    for (const Words& words : std::vector<Words>{
             {"log-convert", "none.log"},
             {"log-convert", "datatime", "none.log"},
             {"log-convert", "manatime", "none.log"},
             {"log-convert", "continue", "none.log"},
             {"log-convert", "datatime", "continue", "none.log"},
             {"log-convert", "manatime", "continue", "none.log"},
             {"log-convert", "continue", "0", "none.log"},
             {"log-convert", "continue", "-3", "none.log"},
             {"log-convert", "continue", "12abc", "none.log"},
             {"log-convert", "datatime", "continue", "5", "none.log"},
             {"log-convert", "manatime", "continue", " 7", "none.log"},
         }) {
        EXPECT_EQ(Exec(words), missing) << words.size() << " " << words[1];
    }
}

TEST_F(LogConvertPluginTest, WrongForms) {
    for (const Words& words : std::vector<Words>{
             {"log-convert"},
             {"log-convert", "datatime", "manatime", "x.log"},
             {"log-convert", "Continue", "x.log"},
             {"log-convert", "x.log", "datatime"},
             {"log-convert", "5", "x.log"},
             {"log-convert", "datatime", "5", "x.log"},
             {"log-convert", "a", "b", "c", "d", "e"},
             {"log-convert", ""},
             {"log-convert", "continue", "3", ""},
         }) {
        EXPECT_EQ(Exec(words), wrong_) << words.size();
    }
}

TEST_F(LogConvertPluginTest, UnconvertibleCount) {
    EXPECT_EQ(Exec({"log-convert", "continue", "abc", "x.log"}), numError_ + wrong_);
    // continue then a time keyword reads the keyword as the count
    EXPECT_EQ(Exec({"log-convert", "continue", "datatime", "x.log"}), numError_ + wrong_);
    EXPECT_EQ(Exec({"log-convert", "datatime", "continue", "99999999999", "x.log"}), numError_ + wrong_);
}

TEST_F(LogConvertPluginTest, ConvertsAFile) {
    setenv("TZ", "UTC", 1);
    tzset();
    const std::string path = dir_.Write("five.log", test::Records(0, 4));
    EXPECT_EQ(Exec({"log-convert", path}), test::Lines(0, 4));
}

TEST_F(LogConvertPluginTest, TerminateWithoutARunReturnsAtOnce) {
    LogConvertPlugin plugin;
    {
        test::CoutCapture out;
        plugin.ExecCmd({"log-convert", "bad"});
    }
    plugin.Terminate();  // a wrong command ran nothing
    LogConvertPlugin finished;
    {
        test::CoutCapture out;
        finished.ExecCmd({"log-convert", dir_.Write("f.log", test::Records(0, 1))});
    }
    finished.Terminate();  // after ExecCmd returned
}

TEST_F(LogConvertPluginTest, TerminateBeforeTheStartEndsFollowingAtItsFirstCheck) {
    setenv("TZ", "UTC", 1);
    tzset();
    const std::string path = dir_.Write("tail.log", test::Records(0, 24));
    LogConvertPlugin plugin;
    auto terminated = std::async(std::launch::async, [&] { plugin.Terminate(); });
    // Terminate waits for the conversion that is about to run
    EXPECT_EQ(terminated.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    test::CoutCapture out;
    EXPECT_EQ(plugin.ExecCmd({"log-convert", "continue", "3", path}), 0);
    EXPECT_EQ(terminated.wait_for(std::chrono::seconds(5)), std::future_status::ready);
    EXPECT_EQ(out.Text(), test::Lines(22, 24));
}

}  // namespace
}  // namespace zel::clt
