// Runs the installed binary against the shipped configuration and compares standard output
// and exit status exactly.
#include <dirent.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <regex>

#include "dlt_daemon.h"
#include "installed_tool.h"
#include "process.h"
#include "zel_paths.h"

namespace zel::test {
namespace {

namespace fs = std::filesystem;
using Words = std::vector<std::string>;

const std::string kUserConf = paths::kUserConfDir;
const std::string kEmpty = "Error, input parameter was empty!\n";
const std::string kNotSupported = "Error, input cmd not support!\n";
const std::string kVersion = "command line tool version 1.0.0\n";

// The help that the tool prints for a configuration file, built independently of the tool.
std::string HelpOf(const std::string& file) {
    std::ifstream in(file);
    const auto json = nlohmann::json::parse(in);
    std::string text = json["app"].get<std::string>() + " usage: \n";
    for (const auto& line : json["help"]) {
        text += "\t" + line.get<std::string>() + "\n";
    }
    return text;
}
std::string CltHelp() { return HelpOf(kUserConf + "clt_plugin/clt.json"); }
std::string PluginHelp(const std::string& plugin, const std::string& tool = "zel-tool") {
    return HelpOf(kUserConf + tool + "/" + plugin + ".json");
}

// Configuration names of a tool directory in the order the directory yields them.
Words DirectoryOrder(const std::string& dir) {
    Words names;
    DIR* d = opendir(dir.c_str());
    while (const dirent* entry = readdir(d)) {
        const std::string name = entry->d_name;
        if (name[0] != '.' && name.size() > 5 && name.compare(name.size() - 5, 5, ".json") == 0) {
            names.push_back(name.substr(0, name.size() - 5));
        }
    }
    closedir(d);
    return names;
}

class ToolTest : public testing::Test {
protected:
    void SetUp() override { RestoreShippedConf(); }
    void TearDown() override { RestoreShippedConf(); }

    // Runs and checks that nothing at all reaches standard error.
    static ProcessResult Tool(const Words& words, const std::string& name = "zel-tool") {
        ProcessResult r = RunTool(name, words);
        EXPECT_FALSE(r.timedOut);
        EXPECT_EQ(r.termSignal, 0);
        EXPECT_EQ(r.err, "");
        return r;
    }
    static void Expect(const ProcessResult& r, int status, const std::string& out) {
        EXPECT_EQ(r.exitStatus, status);
        EXPECT_EQ(r.out, out);
    }
};

TEST_F(ToolTest, NoWordsAndHelpShortcut) {
    Expect(Tool({}), 255, kEmpty + CltHelp());
    Expect(Tool({"help"}), 0, CltHelp());
    // help with more words is no shortcut: the clt patterns refuse it
    Expect(Tool({"help", "x"}), 255, kNotSupported + CltHelp());
}

TEST_F(ToolTest, BuiltInOptions) {
    for (const char* word : {"-h", "--help"}) {
        Expect(Tool({word}), 0, CltHelp());
    }
    for (const char* word : {"-v", "--version"}) {
        Expect(Tool({word}), 0, kVersion);
    }
    Expect(Tool({"-x"}), 255, kNotSupported + CltHelp());
    Expect(Tool({"--List"}), 255, kNotSupported + CltHelp());
    Expect(Tool({"-v", "extra"}), 255, kNotSupported + CltHelp());
}

TEST_F(ToolTest, ListLeavesOutMcu) {
    fs::copy_file(kUserConf + "zel-tool/log-control.json", kUserConf + "zel-tool/mcu.json");
    std::string expected = "command line tool support plugin: \n";
    for (const auto& name : DirectoryOrder(kUserConf + "zel-tool")) {
        if (name != "mcu") {
            expected += "\t" + name + "\n";
        }
    }
    EXPECT_NE(expected.find("\tlog-convert\n"), std::string::npos);
    Expect(Tool({"-l"}), 0, expected);
    Expect(Tool({"--list"}), 0, expected);
}

TEST_F(ToolTest, AllListsEveryPattern) {
    std::string expected;
    for (const auto& name : DirectoryOrder(kUserConf + "zel-tool")) {
        std::ifstream in(kUserConf + "zel-tool/" + name + ".json");
        const auto json = nlohmann::json::parse(in);
        expected += json["app"].get<std::string>() + ":\n";
        for (const auto& pattern : json["command"]) {
            expected += "\t" + pattern.get<std::string>() + "\n";
        }
        expected += "\n";
    }
    Expect(Tool({"-a"}), 0, expected);
    Expect(Tool({"--all"}), 0, expected);
}

TEST_F(ToolTest, PluginHelp) {
    Expect(Tool({"log-control", "help"}), 0, PluginHelp("log-control"));
    Expect(Tool({"log-convert", "help"}), 0, PluginHelp("log-convert"));
    Expect(Tool({"clt", "help"}), 0, CltHelp());
    // foo is no plug-in: its line goes to the clt patterns
    Expect(Tool({"foo", "help"}), 255, kNotSupported + CltHelp());
    Expect(Tool({"log-control", "Help"}), 255, kNotSupported + PluginHelp("log-control"));
}

TEST_F(ToolTest, WordsMatchingNoPattern) {
    Expect(Tool({"log-control", "foo"}), 255, kNotSupported + PluginHelp("log-control"));
    Expect(Tool({"log-control", "appid"}), 255, kNotSupported + PluginHelp("log-control"));
    Expect(Tool({"log-convert"}), 255, kNotSupported + PluginHelp("log-convert"));
    Expect(Tool({"log-convert", "datatime", "manatime", "x.log"}), 255, kNotSupported + PluginHelp("log-convert"));
    Expect(Tool({"whatever", "you", "say"}), 255, kNotSupported + CltHelp());
}

TEST_F(ToolTest, DebugToolWithAndWithoutPid) {
    Expect(Tool({"-v"}, "zel-dbg"), 0, kVersion);
    Expect(Tool({"-v", "1234"}, "zel-dbg"), 0, kVersion);
    Expect(Tool({"-v", "x"}, "zel-dbg"), 255, kNotSupported + CltHelp());
    Expect(Tool({"log-control", "help"}, "zel-dbg"), 0, PluginHelp("log-control", "zel-dbg"));
    // zel-tool knows no trailing pid
    Expect(Tool({"-v", "1234"}), 255, kNotSupported + CltHelp());
}

TEST_F(ToolTest, ProgramNameActsAsPluginName) {
    // a link from PATH: argv[0] is the bare name
    Expect(Tool({"help"}, "log-control"), 0, PluginHelp("log-control"));
    // started by a path, the first word keeps the path and names no plug-in
    ProcessResult byPath = RunProgram(ToolPath("log-control"), {ToolPath("log-control"), "help"});
    Expect(byPath, 255, kNotSupported + CltHelp());
    // zel-tool started by its path is still zel-tool
    Expect(RunProgram(ToolPath(), {ToolPath(), "-v"}), 0, kVersion);
    Expect(RunProgram(ToolPath(), {"./zel-tool", "-v"}), 0, kVersion);
}

TEST_F(ToolTest, NoConfigurationDirectory) {
    fs::remove_all(kUserConf);
    const std::string noClt = "clt plugin config open failed\n";
    Expect(Tool({"-v"}), 255, noClt);
    Expect(Tool({}), 255, kEmpty + noClt + "load clt plugin fail\n");
    Expect(Tool({"help"}), 0, noClt + "load clt plugin fail\n");
    Expect(Tool({"log-control", "help"}), 255, "log-control plugin config open failed\nload log-control plugin fail\n");
    Expect(Tool({"log-control", "level", "warn"}), 255, "log-control plugin config open failed\n");
}

TEST_F(ToolTest, EmptySystemDirectoryTakesPrecedence) {
    fs::create_directories(paths::kSystemConfDir);
    Expect(Tool({"-v"}), 255, "clt plugin config open failed\n");
    Expect(Tool({"log-convert", "help"}), 255, "log-convert plugin config open failed\nload log-convert plugin fail\n");
}

// Writes text as the log-control configuration and returns what "log-control level warn" and
// "log-control help" print.
class BrokenConfTest : public ToolTest {
protected:
    void Break(const std::string& text) {
        std::ofstream(kUserConf + "zel-tool/log-control.json", std::ios::trunc) << text;
    }
};

TEST_F(BrokenConfTest, UnloadableFiles) {
    const std::string loadFail = "load log-control plugin fail\n";
    Break(R"({"app": "log-control", "command": [)");
    Expect(Tool({"log-control", "help"}), 255, "log-control plugin config open failed\n" + loadFail);
    Expect(Tool({"log-control"}), 255, "log-control plugin config open failed\n");
    Break(R"({"command": ["log-control"], "app": "log-control", "help": []})");
    Expect(Tool({"log-control", "help"}), 255, "config keys error!\n" + loadFail);
    Break(R"({"app": "log-control", "command": ["log-control"], "help": [], "extra": []})");
    Expect(Tool({"log-control", "help"}), 255, "config keys error!\n" + loadFail);
    Break(R"({"app": "log-control", "command": "log-control", "help": []})");
    Expect(Tool({"log-control", "help"}), 255, loadFail);
    Break(R"({"app": "log-control", "command": ["log-control", 5], "help": []})");
    Expect(Tool({"log-control"}), 255, "");
    // -a stops at the broken file, after printing nothing of its own
    Expect(Tool({"-a"}), 255, "");
}

TEST_F(BrokenConfTest, MalformedPatternFailsEveryLine) {
    const std::string bracket = "Error, conf cmd bracket format may be wrong!\n";
    for (const char* pattern : {"log-control {level [x]}", "log-control [level"}) {
        Break(std::string(R"({"app": "lc", "command": ["log-control level <l>", ")") + pattern +
              R"("], "help": ["h"]})");
        Expect(Tool({"log-control", "level", "warn"}), 255, bracket + kNotSupported + "lc usage: \n\th\n");
    }
}

TEST(ToolLoggerTest, ExecuteCommandReachesTheDaemonUnderCltClt) {
    DltDaemon daemon(std::string(ZEL_TEST_ROOT) + "/tmp/logger-test.sock");
    ASSERT_TRUE(daemon.Ready());
    const std::string record = daemon.Dir() + "/record.dlt";
    ASSERT_TRUE(daemon.Record(record));
    const ProcessResult r = RunTool("zel-tool", {"-v", "--", "x y"}, daemon.ClientEnv());
    EXPECT_EQ(r.err, "");
    ASSERT_TRUE(WaitForFileText(record, "zel-tool -v -- x y"));
    daemon.StopRecording();

    const ProcessResult converted = RunProgram("/usr/bin/dlt-convert", {"dlt-convert", "-a", record});
    // eight arguments: file, ":", line, " ", function, ":", message, the line as typed
    const std::regex line(
        R"(CLT- clt- log debug V 8 \[main\.cpp : [0-9]+   main : execute command: zel-tool -v -- x y\])");
    EXPECT_TRUE(std::regex_search(converted.out, line)) << converted.out;
}

TEST(ToolLoggerTest, WithoutDaemonNothingButOutput) {
    const ProcessResult r = RunTool("zel-tool", {"-v"}, {"DLT_PIPE_DIR=/nonexistent"});
    EXPECT_EQ(r.exitStatus, 0);
    EXPECT_EQ(r.out, kVersion);
    EXPECT_EQ(r.err, "");
}

}  // namespace
}  // namespace zel::test
