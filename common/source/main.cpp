// Entry point of zel-tool and zel-dbg. Any other program name runs as zel-tool, with the
// program name (as the system passed it) as the first command word.
#include <cstring>
#include <iostream>
#include <new>
#include <string>
#include <vector>

#include "clt_logger.h"
#include "cmd_line_tool.h"
#include "configuration.h"
#include "process_limits.h"
#include "standard_output.h"

namespace {

// Standard output is what failed, so this one message goes to standard error.
void ReportWriteError(int error) { std::cerr << "zel-tool: write error: " << std::strerror(error) << std::endl; }

}  // namespace

int main(int argc, char* argv[]) {
    using zel::clt::Configuration;
    using zel::clt::StandardOutput;
    // before any thread starts, the logging library's included
    zel::clt::BoundReservations();
    // before the logging library opens its files, so none of them becomes standard output
    StandardOutput::ReserveStandardDescriptors();
    try {
        zel::clt::CltLogger::GetInstance().InitLoger();
        // Standard output is written through std::cout alone, and its own buffer sees every failed
        // write; large writes (a piece of converted records) go to the descriptor without a copy.
        StandardOutput output;

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
        const int32_t result = tool.Run();
        std::cout.flush();
        if (output.Error() != 0) {
            ReportWriteError(output.Error());
            return -1;
        }
        return result < 0 ? -1 : 0;
    } catch (const std::bad_alloc&) {  // the threads are joined and what was made is written
        zel::clt::ExitOutOfMemory();
    }
}
