#include "clt_plugin.h"

#include <gtest/gtest.h>

#include "clt_executor.h"
#include "conf_tree.h"
#include "configuration.h"

namespace zel::clt {
namespace {

using Words = std::vector<std::string>;
using test::CoutCapture;

class CltPluginTest : public testing::Test {
protected:
    std::pair<int32_t, std::string> Exec(const Words& words) {
        CltPlugin plugin;
        CoutCapture out;
        const int32_t result = plugin.ExecCmd(words);
        return {result, out.Text()};
    }
    test::ConfTree tree_;
};

TEST_F(CltPluginTest, VersionInBothSpellings) {
    const auto expected = std::make_pair(0, std::string("command line tool version 1.0.0\n"));
    EXPECT_EQ(Exec({"-v"}), expected);
    EXPECT_EQ(Exec({"--version", "ignored"}), expected);
}

TEST_F(CltPluginTest, UnknownOptionWord) {
    const auto expected = std::make_pair(-1, std::string("Error, no match cmd\n"));
    EXPECT_EQ(Exec({"--List"}), expected);
    EXPECT_EQ(Exec({"-x"}), expected);
}

TEST_F(CltPluginTest, HelpPrintsTheLoadedConfiguration) {
    tree_.Write("p", "app-p", {}, {"line"});
    ASSERT_TRUE(Configuration::GetInstance().Load("p"));
    EXPECT_EQ(Exec({"-h"}), std::make_pair(0, std::string("app-p usage: \n\tline\n")));
    EXPECT_EQ(Exec({"--help"}), std::make_pair(0, std::string("app-p usage: \n\tline\n")));
}

TEST_F(CltPluginTest, ListingsLeaveOutMcuOnly) {
    tree_.Write("mcu", "mcu", {"mcu x"});
    tree_.Write("mcu2", "mcu2", {"mcu2 x", "mcu2 y"});
    tree_.Write("bare", "bare", {});
    std::string list = "command line tool support plugin: \n";
    std::string all;
    for (const auto& name : Configuration::GetInstance().GetAllPluginName()) {
        if (name == "mcu2") {
            list += "\tmcu2\n";
            all += "mcu2:\n\tmcu2 x\n\tmcu2 y\n\n";
        } else if (name == "bare") {
            list += "\tbare\n";
            all += "bare:\n\n";  // no patterns: the name line and the closing empty line
        }
    }
    EXPECT_EQ(Exec({"-l"}), std::make_pair(0, list));
    EXPECT_EQ(Exec({"--all"}), std::make_pair(0, all));
}

TEST_F(CltPluginTest, AllIsSilentWhenAFileIsBroken) {
    tree_.WriteRaw("broken", "{");
    CltPlugin plugin;
    CoutCapture out;
    EXPECT_EQ(plugin.ExecCmd({"-a"}), -1);
    EXPECT_EQ(out.Text(), "broken plugin config open failed\n");  // the store's own line only
}

TEST_F(CltPluginTest, EmptyListings) {
    EXPECT_EQ(Exec({"-l"}), std::make_pair(0, std::string("command line tool support plugin: \n")));
    EXPECT_EQ(Exec({"-a"}), std::make_pair(0, std::string()));
}

class CltExecutorTest : public CltPluginTest {};

TEST_F(CltExecutorTest, MatchesRegisteredNameFollowedByHelp) {
    EXPECT_TRUE(CltExecutor({"ut-probe", "help"}).Match());
    EXPECT_TRUE(CltExecutor({"clt", "help"}).Match());
    EXPECT_FALSE(CltExecutor({"foo", "help"}).Match());
    EXPECT_FALSE(CltExecutor({"ut-probe", "help", "x"}).Match());
    EXPECT_FALSE(CltExecutor({"help"}).Match());
    EXPECT_FALSE(CltExecutor({"ut-probe", "Help"}).Match());
}

TEST_F(CltExecutorTest, HelpLoadsThatPluginsConfiguration) {
    tree_.Write("ut-probe", "probe", {"ut-probe"}, {"probe help"});
    CltExecutor executor({"ut-probe", "help"});
    CoutCapture out;
    EXPECT_EQ(executor.Exec(), 0);
    EXPECT_EQ(out.Text(), "probe usage: \n\tprobe help\n");
}

TEST_F(CltExecutorTest, HelpWithoutConfiguration) {
    CltExecutor executor({"ut-probe", "help"});
    CoutCapture out;
    EXPECT_EQ(executor.Exec(), -1);
    EXPECT_EQ(out.Text(), "ut-probe plugin config open failed\nload ut-probe plugin fail\n");
}

}  // namespace
}  // namespace zel::clt
