// Helpers of the in-process tests: what std::cout receives, private files, and configuration
// files of a tool name in the test programs' configuration directory.
#ifndef ZEL_TEST_SUPPORT_H
#define ZEL_TEST_SUPPORT_H

#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <mutex>
#include <nlohmann/json.hpp>
#include <streambuf>
#include <string>
#include <utility>

#include "configuration.h"
#include "zel_paths.h"

namespace zel::test {

namespace fs = std::filesystem;
using Words = std::vector<std::string>;

// Collects what std::cout receives while alive, from any thread; WaitFor waits until it has
// received exactly expected, WaitForFlush until std::cout was first flushed (false after a
// minute, a hang guard).
struct CoutCapture : std::streambuf {
    std::mutex mutex;
    std::condition_variable grown;
    std::string text;
    bool flushed = false;
    // The first write waits until this holds, or another write came first (a minute at most).
    std::function<bool()> holdFirstUntil;
    std::streambuf* old = std::cout.rdbuf(this);
    ~CoutCapture() override { std::cout.rdbuf(old); }
    std::streamsize xsputn(const char* s, std::streamsize n) override {
        {
            std::unique_lock<std::mutex> lock(mutex);
            const std::function<bool()> release = std::exchange(holdFirstUntil, nullptr);
            for (int waited = 0; release && waited < 60000 && text.empty() && !release(); ++waited) {
                grown.wait_for(lock, std::chrono::milliseconds(1));
            }
            text.append(s, static_cast<std::size_t>(n));
        }
        grown.notify_all();
        return n;
    }
    int overflow(int c) override {
        const char ch = static_cast<char>(c);
        return c == EOF ? 0 : (xsputn(&ch, 1), c);
    }
    int sync() override {
        {
            std::lock_guard<std::mutex> lock(mutex);
            flushed = true;
        }
        grown.notify_all();
        return 0;
    }
    std::string Text() {
        std::lock_guard<std::mutex> lock(mutex);
        return text;
    }
    bool WaitFor(const std::string& expected) {
        std::unique_lock<std::mutex> lock(mutex);
        return grown.wait_for(lock, std::chrono::minutes(1), [&] { return text == expected; });
    }
    bool WaitForFlush() {
        std::unique_lock<std::mutex> lock(mutex);
        return grown.wait_for(lock, std::chrono::minutes(1), [&] { return flushed; });
    }
};

// A directory of its own, removed with everything in it; in memory where there is one, as a
// disk that discards freed blocks makes files rewritten thousands of times slow.
struct TempDir {
    std::string dir = (fs::is_directory("/dev/shm") ? "/dev/shm" : "/tmp") + std::string("/zel-test-XXXXXX");
    TempDir() { mkdtemp(dir.data()); }
    ~TempDir() { fs::remove_all(dir); }
    std::string Path(const std::string& name) const { return dir + "/" + name; }
    std::string Write(const std::string& name, const std::string& bytes) const {  // in new folders if need be
        fs::create_directories(fs::path(Path(name)).parent_path());
        std::ofstream(Path(name), std::ios::binary | std::ios::trunc) << bytes;
        return Path(name);
    }
};

// <user conf dir>/<tool>/ for a tool name of the test's own (by default one of this process
// alone), made the tool name of the Configuration, and removed with everything in it. Test
// programs link configuration directories of their own, which nothing else writes.
struct ConfTree {
    explicit ConfTree(const std::string& tool = "ut-" + std::to_string(getpid()))
        : dir(paths::kUserConfDir + tool + "/") {
        fs::create_directories(dir);
        clt::Configuration::GetInstance().SetName(tool);
    }
    ~ConfTree() { fs::remove_all(dir); }
    void Put(const std::string& plugin, const std::string& text) const {
        std::ofstream(dir + plugin + ".json") << text;
    }
    void Write(const std::string& plugin, const std::string& app, const Words& commands) const {
        const nlohmann::ordered_json conf{{"app", app}, {"command", commands}, {"help", Words{}}};
        Put(plugin, conf.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace));  // any bytes
    }
    std::string dir;
};

}  // namespace zel::test

#endif  // ZEL_TEST_SUPPORT_H
