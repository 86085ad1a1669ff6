#include "cmd_line_tool.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <thread>

#include "conf_tree.h"
#include "configuration.h"
#include "probe_plugins.h"
#include "process.h"
#include "zel_paths.h"

namespace zel::clt {
namespace {

using Words = std::vector<std::string>;
using test::CoutCapture;

class CmdLineToolTest : public testing::Test {
protected:
    void SetUp() override {
        probe::lastWords.clear();
        probe::result = 0;
    }
    std::pair<int32_t, std::string> Run(const Words& words) {
        CmdLineTool tool(words);
        CoutCapture out;
        const int32_t result = tool.Run();
        return {result, out.Text()};
    }
    test::ConfTree tree_;
};

TEST_F(CmdLineToolTest, PluginGetsTheCheckedWords) {
    tree_.Write("ut-probe", "probe", {"ut-probe <a> [x]"});
    EXPECT_EQ(Run({"ut-probe", "1", "x"}), std::make_pair(0, std::string()));
    EXPECT_EQ(probe::lastWords, (Words{"ut-probe", "1", "x"}));
}

TEST_F(CmdLineToolTest, PluginResultBecomesZeroOrMinusOne) {
    tree_.Write("ut-probe", "probe", {"ut-probe"});
    probe::result = 3;
    EXPECT_EQ(Run({"ut-probe"}).first, 0);
    probe::result = -2;
    EXPECT_EQ(Run({"ut-probe"}).first, -1);
}

TEST_F(CmdLineToolTest, RejectedWordsPrintTheConfiguredHelp) {
    tree_.Write("ut-probe", "probe", {"ut-probe go"}, {"ut-probe go"});
    EXPECT_EQ(Run({"ut-probe", "stop"}),
              std::make_pair(-1, std::string("Error, input cmd not support!\nprobe usage: \n\tut-probe go\n")));
    EXPECT_TRUE(probe::lastWords.empty());
}

TEST_F(CmdLineToolTest, UnloadableConfigurationPrintsOnlyTheStoresLine) {
    EXPECT_EQ(Run({"ut-probe", "x"}), std::make_pair(-1, std::string("ut-probe plugin config open failed\n")));
    EXPECT_TRUE(probe::lastWords.empty());
}

TEST_F(CmdLineToolTest, BuiltInHelpLoadsNoPlugin) {
    tree_.Write("ut-probe", "probe", {"ut-probe help"}, {"h"});
    EXPECT_EQ(Run({"ut-probe", "help"}), std::make_pair(0, std::string("probe usage: \n\th\n")));
    EXPECT_TRUE(probe::lastWords.empty());  // the executor served it, though a pattern matches too
}

// The debug tool reads its own directory and hands its plug-ins a trailing process id.
class DebugToolTest : public CmdLineToolTest {
protected:
    void SetUp() override {
        CmdLineToolTest::SetUp();
        dir_ = std::string(paths::kUserConfDir) + "zel-dbg/";
        std::filesystem::create_directories(dir_);
        test::WriteFile(dir_ + "ut-probe.json", test::ConfJson("probe", {"ut-probe <a>"}, {}));
        Configuration::GetInstance().SetName("zel-dbg");
    }
    void TearDown() override { std::filesystem::remove(dir_ + "ut-probe.json"); }
    std::string dir_;
};

TEST_F(DebugToolTest, DirectMatchGetsPidZero) {
    EXPECT_EQ(Run({"ut-probe", "7"}).first, 0);
    EXPECT_EQ(probe::lastWords, (Words{"ut-probe", "7", "0"}));
}

TEST_F(DebugToolTest, TrailingIntegerIsKeptAsThePid) {
    EXPECT_EQ(Run({"ut-probe", "x", "1234"}).first, 0);
    EXPECT_EQ(probe::lastWords, (Words{"ut-probe", "x", "1234"}));
    EXPECT_EQ(Run({"ut-probe", "x", "y"}).first, -1);
}

// Signal handling changes process-wide state that is never reset, so each case runs in a
// child process of its own and reports through its exit status.
class SignalTest : public CmdLineToolTest {
protected:
    static void SetUpTestSuite() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }

    // Runs "ut-slow" with a helper that sends the given signals once ExecCmd has started;
    // returns Run's result.
    static int32_t RunSlow(const std::vector<int>& signals, std::chrono::milliseconds gap) {
        std::thread sender([&] {
            while (!probe::slowStarted) {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
            for (const int sig : signals) {
                kill(getpid(), sig);
                std::this_thread::sleep_for(gap);
            }
        });
        CmdLineTool tool({"ut-slow"});
        const int32_t result = tool.Run();
        sender.join();
        return result;
    }

    static void Fail(const char* what) {
        std::fprintf(stderr, "%s\n", what);
        std::_Exit(1);
    }
};

TEST_F(SignalTest, SigintReachesTerminateOnce) {
    tree_.Write("ut-slow", "slow", {"ut-slow"});
    EXPECT_EXIT(
        {
            probe::slowLinger = std::chrono::milliseconds(400);
            const int64_t start = probe::NowNs();
            // a second SIGINT while ExecCmd still runs only sets the flag again
            if (RunSlow({SIGINT, SIGINT}, std::chrono::milliseconds(250)) != 0) Fail("run failed");
            if (probe::terminateCalls != 1) Fail("Terminate not called exactly once");
            const int64_t latencyMs = (probe::terminateAtNs - start) / 1000000;
            std::fprintf(stderr, "terminate after %lld ms\n", static_cast<long long>(latencyMs));
            if (latencyMs > 1000) Fail("Terminate came late");
            kill(getpid(), SIGINT);  // after the run the handler stays and only stores the flag
            std::_Exit(0);
        },
        testing::ExitedWithCode(0), "terminate after");
}

TEST_F(SignalTest, SigtermReachesTerminate) {
    tree_.Write("ut-slow", "slow", {"ut-slow"});
    EXPECT_EXIT(
        {
            if (RunSlow({SIGTERM}, std::chrono::milliseconds(0)) != 0) Fail("run failed");
            if (probe::terminateCalls != 1) Fail("Terminate not called");
            std::_Exit(0);
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(SignalTest, OnlyInterruptAndTerminateAreCaught) {
    tree_.Write("ut-slow", "slow", {"ut-slow"});
    EXPECT_EXIT(
        {
            std::thread watcher([] {
                while (!probe::slowStarted) {
                    std::this_thread::sleep_for(std::chrono::milliseconds(1));
                }
                struct sigaction current {};
                for (const int sig : {SIGHUP, SIGQUIT}) {
                    sigaction(sig, nullptr, &current);
                    if (current.sa_handler != SIG_DFL) Fail("a signal other than SIGINT/SIGTERM was caught");
                }
                for (const int sig : {SIGINT, SIGTERM}) {
                    sigaction(sig, nullptr, &current);
                    if (current.sa_handler == SIG_DFL || current.sa_handler == SIG_IGN) Fail("not caught");
                    if ((current.sa_flags & (SA_RESTART | SA_RESETHAND)) != 0) Fail("restarting or one-shot");
                }
                kill(getpid(), SIGINT);
            });
            CmdLineTool tool({"ut-slow"});
            tool.Run();
            watcher.join();
            std::_Exit(probe::terminateCalls == 1 ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(SignalTest, SigquitKeepsItsDefaultAction) {
    tree_.Write("ut-slow", "slow", {"ut-slow"});
    EXPECT_EXIT(
        {
            RunSlow({SIGQUIT}, std::chrono::milliseconds(0));
            std::_Exit(0);
        },
        testing::KilledBySignal(SIGQUIT), "");
}

TEST_F(SignalTest, QuickCommandEndsWithoutWaitingForThePoll) {
    tree_.Write("ut-probe", "probe", {"ut-probe"});
    EXPECT_EXIT(
        {
            const int64_t start = probe::NowNs();
            CmdLineTool tool({"ut-probe"});
            if (tool.Run() != 0) Fail("run failed");
            std::fprintf(stderr, "run took %lld us\n", static_cast<long long>((probe::NowNs() - start) / 1000));
            std::_Exit(0);
        },
        testing::ExitedWithCode(0), "run took");
}

}  // namespace
}  // namespace zel::clt
