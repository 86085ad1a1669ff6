#include "conf_tree.h"

#include <unistd.h>

#include <filesystem>

#include "configuration.h"
#include "process.h"
#include "zel_paths.h"

namespace zel::test {
namespace {

std::string Quote(const std::string& s) {
    std::string quoted = "\"";
    for (const char ch : s) {
        if (ch == '"' || ch == '\\') {
            quoted += '\\';
        }
        quoted += ch;
    }
    return quoted + "\"";
}

std::string Array(const std::vector<std::string>& items) {
    std::string text = "[";
    for (std::size_t i = 0; i < items.size(); ++i) {
        text += (i == 0 ? "" : ", ") + Quote(items[i]);
    }
    return text + "]";
}

}  // namespace

std::string ConfJson(const std::string& app, const std::vector<std::string>& commands,
                     const std::vector<std::string>& helps) {
    return "{\"app\": " + Quote(app) + ", \"command\": " + Array(commands) + ", \"help\": " + Array(helps) + "}\n";
}

ConfTree::ConfTree()
    : toolName_("ut-" + std::to_string(getpid())), dir_(std::string(paths::kUserConfDir) + toolName_ + "/") {
    std::filesystem::create_directories(dir_);
    clt::Configuration::GetInstance().SetName(toolName_);
}

ConfTree::~ConfTree() {
    std::error_code ignored;
    std::filesystem::remove_all(dir_, ignored);
}

void ConfTree::WriteRaw(const std::string& name, const std::string& text) const {
    WriteFile(dir_ + name + ".json", text);
}

void ConfTree::Write(const std::string& name, const std::string& app, const std::vector<std::string>& commands,
                     const std::vector<std::string>& helps) const {
    WriteRaw(name, ConfJson(app, commands, helps));
}

}  // namespace zel::test
