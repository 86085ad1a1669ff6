// Matches arbitrary words against arbitrary command patterns through the matcher's public
// operations. Input: the first line holds the words (split on blanks), every further line is one
// command pattern of a configuration file written for the input. The matcher enumerates every
// reading, so its cost doubles with each optional group: patterns with more than 8 are left out.
#include <algorithm>
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include "../unit/support.h"
#include "processor.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const zel::test::ConfTree tree;
    std::istringstream in(std::string(reinterpret_cast<const char*>(data), size));
    std::string first;
    std::getline(in, first);
    std::istringstream firstLine(first);
    std::vector<std::string> words, patterns;
    for (std::string word; std::getline(firstLine, word, ' ');) {
        words.push_back(word);
    }
    for (std::string line; std::getline(in, line);) {
        if (std::count(line.begin(), line.end(), '[') <= 8) {
            patterns.push_back(line);
        }
    }
    tree.Write("matcher", "matcher", patterns);
    std::streambuf* const saved = std::cout.rdbuf(nullptr);  // a stream without a buffer writes nothing
    if (zel::clt::Configuration::GetInstance().Load("matcher")) {
        (void)zel::clt::Processor::CheckCmd(words);
        (void)zel::clt::Processor::CheckCmdWithPid(words);
    }
    std::cout.rdbuf(saved);
    return 0;
}
