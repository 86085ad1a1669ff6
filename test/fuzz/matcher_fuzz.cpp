// Matches arbitrary words against arbitrary command patterns. Input: the first line holds the
// words (split on blanks), every further line is one pattern. The matcher enumerates every
// reading, so its cost doubles with each optional group: patterns with more than 8 are left out.
#include <algorithm>
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include "processor.h"

namespace zel::clt {

// The matcher's friend: counts the readings as CheckCmd does, without a loaded configuration.
class ProcessorTest {
public:
    static void Count(const std::vector<std::string>& lines) {
        std::istringstream first(lines.empty() ? "" : lines.front());
        std::vector<std::string> words;
        for (std::string word; std::getline(first, word, ' ');) words.push_back(word);
        for (std::size_t i = 1; i < lines.size(); ++i) {
            if (std::count(lines[i].begin(), lines[i].end(), '[') <= 8 && Processor::CheckBracket(lines[i])) {
                (void)Processor::CheckOneConfigCmd(lines[i], words);
            }
        }
        (void)Processor::CheckCmdWithPid(words);
    }
};

}  // namespace zel::clt

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::istringstream in(std::string(reinterpret_cast<const char*>(data), size));
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    zel::clt::ProcessorTest::Count(lines);
    return 0;
}
