// The command driver with a plug-in of the test's own: the signals that end a running plug-in.
#include <gtest/gtest.h>
#include <signal.h>

#include <atomic>
#include <thread>

#include "clt_logger.h"
#include "cmd_line_tool.h"
#include "plugin_factory.h"
#include "support.h"

namespace zel::clt {
namespace {

using namespace std::chrono_literals;

std::atomic<bool> g_running{false};  // "ut-slow" has started
std::atomic<int> g_terminates{0};    // and how often it was terminated

// "ut-slow" runs until Terminate is called (at most 5 s), and then a while longer.
struct Slow : Plugin {
    int32_t ExecCmd(const std::vector<std::string>&) override {
        g_running = true;
        for (int i = 0; i < 5000 && g_terminates == 0; ++i) std::this_thread::sleep_for(1ms);
        std::this_thread::sleep_for(300ms);
        return 0;
    }
    void Terminate() override { ++g_terminates; }
};
const PluginFactory g_slow("ut-slow", [] { return std::unique_ptr<Plugin>(new Slow); });

// Runs "ut-slow", sending the signals once it runs, 150 ms apart, and one more after the run
// (the handler stays and only stores the flag); exits 0 when Run returned 0 and Terminate was
// called exactly once.
void RunSlow(const std::vector<int>& signals) {
    std::thread sender([&] {
        while (!g_running) std::this_thread::sleep_for(1ms);
        for (const int sig : signals) {
            kill(getpid(), sig);
            std::this_thread::sleep_for(150ms);
        }
    });
    const int32_t result = CmdLineTool({"ut-slow"}).Run();
    sender.join();
    kill(getpid(), SIGINT);
    std::_Exit(result == 0 && g_terminates == 1 ? 0 : 1);
}

// Signal handling changes process-wide state that is never reset, so each case runs in a child.
TEST(DriverTest, SignalsEndingARunningPlugin) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    CltLogger::GetInstance().InitLoger();
    test::ConfTree tree("ut-signals");
    tree.Write("ut-slow", "slow", {"ut-slow"});
    EXPECT_EXIT(RunSlow({SIGINT, SIGINT}), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(RunSlow({SIGTERM}), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(RunSlow({SIGQUIT}), testing::KilledBySignal(SIGQUIT), "");  // only SIGINT and SIGTERM are caught
}

}  // namespace
}  // namespace zel::clt
