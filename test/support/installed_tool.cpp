#include "installed_tool.h"

#include <filesystem>

#include "zel_paths.h"

namespace zel::test {

std::string ToolPath(const std::string& name) { return std::string(ZEL_TEST_BIN_DIR) + "/" + name; }

void RestoreShippedConf() {
    namespace fs = std::filesystem;
    fs::remove_all(paths::kSystemConfDir);
    fs::remove_all(paths::kUserConfDir);
    fs::create_directories(paths::kUserConfDir);
    fs::copy(ZEL_TEST_SOURCE_CONF_DIR, paths::kUserConfDir, fs::copy_options::recursive);
}

ProcessResult RunTool(const std::string& name, const std::vector<std::string>& words,
                      const std::vector<std::string>& env) {
    std::vector<std::string> argv{name};
    argv.insert(argv.end(), words.begin(), words.end());
    return RunProgram(ToolPath(name), argv, env);
}

}  // namespace zel::test
