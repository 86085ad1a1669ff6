// Processor: matches command words against the command patterns of the loaded configuration.
//
// Pattern language: literal words, "a|b" alternatives of single words, "{...}" required groups,
// "[...]" optional groups, "<...>" placeholders that consume as many words as they hold. Groups
// do not nest. The matcher counts every distinct reading of the words over all patterns;
// exactly one reading accepts the line, two or more are reported as an ambiguity. Stateless.
#ifndef ZEL_CLT_PROCESSOR_H
#define ZEL_CLT_PROCESSOR_H

#include <cstdint>
#include <stack>
#include <string>
#include <utility>
#include <vector>

namespace zel::clt {

class Processor {
public:
    // True when the words have exactly one reading over all configured patterns.
    static bool CheckCmd(const std::vector<std::string>& input);
    // True when the last word is an integer (as StringToInt reads it) and the words before it
    // pass CheckCmd.
    static bool CheckCmdWithPid(std::vector<std::string> input);

private:
    using Reading = std::pair<uint32_t, uint32_t>;  // (element index, input word index)
    using ReadingStack = std::stack<Reading>;

    static uint32_t CheckOneConfigCmd(const std::string& pattern, const std::vector<std::string>& input);
    static std::string DeleteSpaceAroundOr(const std::string& s);
    static bool CheckBracket(const std::string& pattern);
    static std::vector<std::string> TransStringToVector(const std::string& s);
    static bool MatchStack(ReadingStack& stack, const std::vector<std::string>& elements,
                           const std::vector<std::string>& input);
    static bool IsBracketMatched(const std::string& x, const std::vector<std::string>& input, uint32_t& index);
    static bool IsAngleBracketMatched(const std::string& x, const std::vector<std::string>& input, uint32_t& index);
    static std::vector<std::string> ProcessInBracket(const std::string& x);
    static bool MatchOneElem(const std::string& x, const std::vector<std::string>& input, uint32_t index);
    static bool IsInt(const std::string& word);
};

}  // namespace zel::clt

#endif  // ZEL_CLT_PROCESSOR_H
