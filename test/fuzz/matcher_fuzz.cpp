// Matches arbitrary words against arbitrary command patterns. Input: the first line holds the
// words (split on blanks), every further line is one pattern. The matcher enumerates every
// reading, so its cost doubles with each optional group: patterns with more than 8 are left out.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include "processor.h"

namespace zel::clt {

// The matcher's friend: counts the readings as CheckCmd does, without a loaded configuration.
class ProcessorTest {
public:
    static void Count(const std::vector<std::string>& patterns, const std::vector<std::string>& words) {
        for (const auto& pattern : patterns) {
            if (std::count(pattern.begin(), pattern.end(), '[') <= 8 && Processor::CheckBracket(pattern)) {
                (void)Processor::CheckOneConfigCmd(pattern, words);
            }
        }
        (void)Processor::CheckCmdWithPid(words);
    }
};

}  // namespace zel::clt

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    auto split = [](const std::string& text, char separator) {
        std::vector<std::string> parts;
        std::istringstream in(text);
        for (std::string part; std::getline(in, part, separator);) parts.push_back(part);
        return parts;
    };
    std::vector<std::string> patterns = split(std::string(reinterpret_cast<const char*>(data), size), '\n');
    const std::vector<std::string> words = patterns.empty() ? patterns : split(patterns.front(), ' ');
    if (!patterns.empty()) patterns.erase(patterns.begin());
    zel::clt::ProcessorTest::Count(patterns, words);
    return 0;
}
