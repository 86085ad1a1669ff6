// Entry point of zel-tool and zel-dbg. Any other program name runs as zel-tool, with the
// program name (as the system passed it) as the first command word.
#include <iostream>
#include <string>
#include <vector>

#include "clt_logger.h"
#include "cmd_line_tool.h"
#include "configuration.h"

int main(int argc, char* argv[]) {
    using zel::clt::Configuration;
    zel::clt::CltLogger::GetInstance().InitLoger();
    // Standard output is written through std::cout alone; without the C stdio behind it, large
    // writes (a block of converted records) go to the descriptor without another copy.
    std::ios::sync_with_stdio(false);

    const std::string name(zel::clt::GetFilename(argc > 0 && argv[0] != nullptr ? argv[0] : ""));
    int first = 0;
    if (name == zel::clt::kToolName || name == zel::clt::kDebugToolName) {
        Configuration::GetInstance().SetName(name);
        first = 1;
    } else {
        Configuration::GetInstance().SetName(zel::clt::kToolName);
    }

    std::vector<std::string> words;
    std::string line = name;
    for (int i = first; i < argc; ++i) {
        words.emplace_back(argv[i]);
        line += " ";
        line += argv[i];
    }
    CLT_LOG_DEBUG << "execute command:" << line;

    zel::clt::CmdLineTool tool(words);
    return tool.Run() < 0 ? -1 : 0;
}
