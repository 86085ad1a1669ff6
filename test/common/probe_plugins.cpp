#include "probe_plugins.h"

#include <memory>
#include <thread>

#include "plugin.h"
#include "plugin_factory.h"

namespace zel::clt::probe {

std::vector<std::string> lastWords;
int32_t result = 0;
int created = 0;
std::atomic<bool> slowStarted{false};
std::atomic<int> terminateCalls{0};
std::atomic<int64_t> terminateAtNs{0};
std::chrono::milliseconds slowLinger{0};

int64_t NowNs() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

namespace {

class ProbePlugin : public Plugin {
public:
    ProbePlugin() { ++created; }
    int32_t ExecCmd(const std::vector<std::string>& cmd) override {
        lastWords = cmd;
        return result;
    }
};

class SlowPlugin : public Plugin {
public:
    int32_t ExecCmd(const std::vector<std::string>&) override {
        slowStarted = true;
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
        while (terminateCalls == 0 && std::chrono::steady_clock::now() < deadline) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        std::this_thread::sleep_for(slowLinger);
        return 0;
    }
    void Terminate() override {
        if (terminateCalls.fetch_add(1) == 0) {
            terminateAtNs = NowNs();
        }
    }
};

std::unique_ptr<Plugin> CreateProbe() { return std::make_unique<ProbePlugin>(); }
std::unique_ptr<Plugin> CreateSlow() { return std::make_unique<SlowPlugin>(); }
std::unique_ptr<Plugin> CreateNothing() { return nullptr; }

const PluginFactory g_probe("ut-probe", CreateProbe);
const PluginFactory g_slow("ut-slow", CreateSlow);
const PluginFactory g_probeAgain("ut-probe", CreateNothing);  // a second registration is ignored

}  // namespace
}  // namespace zel::clt::probe
