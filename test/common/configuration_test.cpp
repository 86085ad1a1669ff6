#include "configuration.h"

#include <dirent.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>

#include "conf_tree.h"
#include "process.h"
#include "zel_paths.h"

namespace zel::clt {
namespace {

using Words = std::vector<std::string>;
using test::CoutCapture;

class ConfigurationTest : public testing::Test {
protected:
    Configuration& conf_ = Configuration::GetInstance();
    test::ConfTree tree_;

    std::pair<bool, std::string> Load(const std::string& name) {
        CoutCapture out;
        const bool loaded = conf_.Load(name);
        return {loaded, out.Text()};
    }
    std::string Help() {
        CoutCapture out;
        conf_.PrintHelp();
        return out.Text();
    }
};

TEST_F(ConfigurationTest, LoadsTheThreeKeysAndPrintsHelp) {
    tree_.Write("log-control", "log-control", {"log-control", "log-control level <l>"}, {"one", "two"});
    EXPECT_EQ(Load("log-control"), std::make_pair(true, std::string()));
    EXPECT_EQ(conf_.GetConfigCmds(), (Words{"log-control", "log-control level <l>"}));
    EXPECT_EQ(Help(), "log-control usage: \n\tone\n\ttwo\n");
}

TEST_F(ConfigurationTest, EmptyHelpPrintsOnlyTheUsageLine) {
    tree_.Write("p", "p", {}, {});
    EXPECT_TRUE(Load("p").first);
    EXPECT_TRUE(conf_.GetConfigCmds().empty());
    EXPECT_EQ(Help(), "p usage: \n");
}

TEST_F(ConfigurationTest, RejectsFilesThatAreNotExactlyTheThreeKeys) {
    tree_.WriteRaw("order", R"({"command": [], "app": "x", "help": []})");
    EXPECT_EQ(Load("order"), std::make_pair(false, std::string("config keys error!\n")));
    tree_.WriteRaw("fourth", R"({"app": "x", "command": [], "help": [], "more": 1})");
    EXPECT_EQ(Load("fourth"), std::make_pair(false, std::string("config keys error!\n")));
    tree_.WriteRaw("missing", R"({"app": "x", "command": []})");
    EXPECT_EQ(Load("missing"), std::make_pair(false, std::string("config keys error!\n")));
}

TEST_F(ConfigurationTest, UnopenableStorageNamesThePlugin) {
    const std::string message = "nothing plugin config open failed\n";
    EXPECT_EQ(Load("nothing"), std::make_pair(false, message));
    tree_.WriteRaw("broken", R"({"app": "x", "command": [)");
    EXPECT_EQ(Load("broken"), std::make_pair(false, std::string("broken plugin config open failed\n")));
    tree_.WriteRaw("array", R"(["app", "command", "help"])");
    EXPECT_EQ(Load("array"), std::make_pair(false, std::string("array plugin config open failed\n")));
    tree_.WriteRaw("twice", R"({"app": "x", "command": [], "help": [], "help": []})");
    EXPECT_EQ(Load("twice"), std::make_pair(false, std::string("twice plugin config open failed\n")));
}

// Entries named *.json that are not readable regular files fail like a missing file, without
// blocking or throwing.
TEST_F(ConfigurationTest, BadEntriesFailLikeAMissingFile) {
    namespace fs = std::filesystem;
    const std::vector<std::pair<std::string, std::function<void(const std::string&)>>> kinds = {
        {"directory", [](const std::string& path) { fs::create_directory(path); }},
        {"fifo", [](const std::string& path) { mkfifo(path.c_str(), 0644); }},
        {"dangling", [](const std::string& path) { fs::create_symlink(path + ".gone", path); }},
        {"empty", [](const std::string& path) { std::ofstream{path}; }},
        {"unreadable",
         [](const std::string& path) {
             std::ofstream{path} << test::ConfJson("x", {}, {});
             fs::permissions(path, fs::perms::none);
         }},
    };
    for (const auto& [name, make] : kinds) {
        if (name == "unreadable" && geteuid() == 0) {
            continue;  // root reads it all the same
        }
        make(tree_.Dir() + "/" + name + ".json");
        EXPECT_EQ(Load(name), std::make_pair(false, name + " plugin config open failed\n"));
    }
}

TEST_F(ConfigurationTest, ArraysMustHoldStringsOnlyWhileAppMayBeUnreadable) {
    tree_.WriteRaw("nums", R"({"app": "x", "command": ["a", 1], "help": []})");
    EXPECT_EQ(Load("nums"), std::make_pair(false, std::string()));
    tree_.WriteRaw("str", R"({"app": "x", "command": "a", "help": []})");
    EXPECT_EQ(Load("str"), std::make_pair(false, std::string()));
    tree_.WriteRaw("help", R"({"app": "x", "command": [], "help": {}})");
    EXPECT_EQ(Load("help"), std::make_pair(false, std::string()));
    tree_.WriteRaw("noname", R"({"app": 7, "command": ["a"], "help": ["h"]})");
    EXPECT_EQ(Load("noname"), std::make_pair(true, std::string()));
    EXPECT_EQ(Help(), " usage: \n\th\n");
}

TEST_F(ConfigurationTest, FailedLoadKeepsThePreviousFile) {
    tree_.Write("good", "good", {"a b"}, {"help of good"});
    ASSERT_TRUE(Load("good").first);
    tree_.WriteRaw("bad", R"({"app": "bad", "command": [1], "help": []})");
    EXPECT_FALSE(Load("bad").first);
    EXPECT_EQ(conf_.GetConfigCmds(), (Words{"a b"}));
    EXPECT_EQ(Help(), "good usage: \n\thelp of good\n");
}

TEST_F(ConfigurationTest, ListsJsonStemsOnly) {
    for (const char* name : {"a.json", ".json", ".hidden.json", "b.json.bak", "c.JSON", "d.txt", "e.json"}) {
        test::WriteFile(tree_.Dir() + name, "{}");
    }
    std::filesystem::create_directory(tree_.Dir() + "f.json");  // directories are not told apart
    Words names = conf_.GetAllPluginName();
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (Words{"a", "e", "f"}));
}

TEST_F(ConfigurationTest, ListingInDirectoryOrder) {
    tree_.Write("one", "one", {});
    tree_.Write("two", "two", {});
    tree_.Write("three", "three", {});
    Words expected;
    DIR* dir = opendir(tree_.Dir().c_str());
    while (const dirent* entry = readdir(dir)) {
        const std::string name = entry->d_name;
        if (name[0] != '.') {
            expected.push_back(name.substr(0, name.size() - 5));
        }
    }
    closedir(dir);
    EXPECT_EQ(conf_.GetAllPluginName(), expected);
}

TEST_F(ConfigurationTest, MissingToolDirectoryIsReported) {
    conf_.SetName(tree_.ToolName() + "-absent");
    CoutCapture out;
    EXPECT_TRUE(conf_.GetAllPluginName().empty());
    EXPECT_EQ(out.Text(), std::string("Open conf dir ") + paths::kUserConfDir + " failed\n");
}

TEST_F(ConfigurationTest, GetAllConfStopsAtTheFirstBrokenFile) {
    tree_.Write("x", "x", {"x 1"});
    tree_.Write("y", "y", {"y 1"});
    tree_.Write("z", "z", {"z 1"});
    const Words order = conf_.GetAllPluginName();
    ASSERT_EQ(order.size(), 3u);
    tree_.WriteRaw(order[1], R"({"app": "b", "command": [], "help": [], "x": 0})");
    std::vector<ConfTuple> confs;
    CoutCapture out;
    EXPECT_FALSE(conf_.GetAllConf(confs));
    ASSERT_EQ(confs.size(), 1u);
    EXPECT_EQ(std::get<0>(confs[0]), order[0]);
    EXPECT_EQ(out.Text(), "config keys error!\n");
}

TEST_F(ConfigurationTest, RegisteredPluginsAreNotClt) {
    EXPECT_TRUE(Configuration::IsCltPlugin("no-such-plugin"));
    EXPECT_TRUE(Configuration::IsCltPlugin(""));
}

// The system directory, once it exists, takes every lookup: even when it is empty.
class SystemDirTest : public ConfigurationTest {
protected:
    void SetUp() override { std::filesystem::create_directories(paths::kSystemConfDir); }
    void TearDown() override { std::filesystem::remove_all(paths::kSystemConfDir); }
};

TEST_F(SystemDirTest, SystemDirectoryWinsEvenWhenEmpty) {
    tree_.Write("p", "p", {"p"});
    EXPECT_EQ(conf_.SelectPath(), paths::kSystemConfDir);
    EXPECT_EQ(Load("p"), std::make_pair(false, std::string("p plugin config open failed\n")));
    const std::string sysTool = std::string(paths::kSystemConfDir) + tree_.ToolName() + "/";
    std::filesystem::create_directories(sysTool);
    test::WriteFile(sysTool + "p.json", test::ConfJson("from-system", {"p"}, {}));
    EXPECT_TRUE(Load("p").first);
    EXPECT_EQ(Help(), "from-system usage: \n");
}

TEST_F(SystemDirTest, CltLivesInItsOwnDirectoryWhateverTheToolName) {
    const std::string cltDir = std::string(paths::kSystemConfDir) + "clt_plugin/";
    std::filesystem::create_directories(cltDir);
    test::WriteFile(cltDir + "clt.json", test::ConfJson("clt-app", {"-v"}, {}));
    conf_.SetName("zel-dbg");
    EXPECT_TRUE(Load("clt").first);
    EXPECT_EQ(conf_.GetConfigCmds(), (Words{"-v"}));
    // any other name reads <tool name>/<name>.json
    const std::string dbgDir = std::string(paths::kSystemConfDir) + "zel-dbg/";
    std::filesystem::create_directories(dbgDir);
    test::WriteFile(dbgDir + "log-control.json", test::ConfJson("dbg-log-control", {}, {}));
    EXPECT_TRUE(Load("log-control").first);
    EXPECT_EQ(Help(), "dbg-log-control usage: \n");
}

}  // namespace
}  // namespace zel::clt
