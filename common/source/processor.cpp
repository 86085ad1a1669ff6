#include "processor.h"

#include <iostream>

#include "configuration.h"
#include "string_to_int.h"

namespace zel::clt {
namespace {

// Opening brackets at 0..2, their closing partners three places further on.
constexpr char kBrackets[] = "{[<}]>";
constexpr std::size_t kOpenCount = 3;
constexpr std::size_t kNoBracket = std::string_view::npos;

// Where ch stands in kBrackets, or kNoBracket.
std::size_t BracketPosition(char ch) {
    const std::string_view brackets(kBrackets);
    return brackets.find(ch);
}

std::vector<std::string> Split(const std::string& s, char separator, bool keepEmpty) {
    std::vector<std::string> parts;
    std::string current;
    for (const char ch : s) {
        if (ch == separator) {
            if (keepEmpty || !current.empty()) {
                parts.push_back(current);
            }
            current.clear();
        } else {
            current += ch;
        }
    }
    if (keepEmpty || !current.empty()) {
        parts.push_back(current);
    }
    return parts;
}

}  // namespace

bool Processor::CheckCmd(const std::vector<std::string>& input) {
    const auto& patterns = Configuration::GetInstance().GetConfigCmds();
    if (patterns.empty()) {
        return false;
    }
    uint32_t total = 0;
    for (const auto& pattern : patterns) {
        if (!CheckBracket(pattern)) {
            std::cout << "Error, conf cmd bracket format may be wrong!" << std::endl;
            return false;
        }
        total += CheckOneConfigCmd(pattern, input);
    }
    if (total == 0) {
        return false;
    }
    if (total == 1) {
        return true;
    }
    std::cout << "Error, matched more than one cmd!" << std::endl;
    return false;
}

bool Processor::CheckCmdWithPid(std::vector<std::string> input) {
    if (input.empty() || !IsInt(input.back())) {
        return false;
    }
    input.pop_back();
    return CheckCmd(input);
}

bool Processor::IsInt(const std::string& word) {
    int32_t ignored = 0;
    return StringToInt(word, ignored);
}

bool Processor::CheckBracket(const std::string& pattern) {
    std::size_t open = kNoBracket;  // the opening bracket of the group open, if one is
    for (const char ch : pattern) {
        const std::size_t pos = BracketPosition(ch);
        if (pos == kNoBracket) {
            continue;
        }
        if (pos < kOpenCount) {
            if (open != kNoBracket) {
                return false;  // groups do not nest
            }
            open = pos;
        } else {
            if (open == kNoBracket || kBrackets[open + kOpenCount] != ch) {
                return false;
            }
            open = kNoBracket;
        }
    }
    return open == kNoBracket;
}

uint32_t Processor::CheckOneConfigCmd(const std::string& pattern, const std::vector<std::string>& input) {
    const std::vector<std::string> elements = TransStringToVector(DeleteSpaceAroundOr(pattern));
    ReadingStack stack;
    stack.push({0, 0});
    uint32_t count = 0;
    while (!stack.empty()) {
        if (MatchStack(stack, elements, input)) {
            ++count;
        }
    }
    return count;
}

std::string Processor::DeleteSpaceAroundOr(const std::string& s) {
    std::string result;
    std::size_t pos = 0;
    while (true) {
        const std::size_t bar = s.find('|', pos);
        const std::size_t first = s.find_first_not_of(' ', pos);
        if (bar == std::string::npos) {
            if (first != std::string::npos) {
                result += s.substr(first);
            }
            return result;
        }
        // first never passes the bar: the bar itself is not a space
        std::string segment = s.substr(first, bar - first);
        const std::size_t last = segment.find_last_not_of(' ');
        segment.erase(last == std::string::npos ? 0 : last + 1);
        result += segment;
        result += '|';
        pos = bar + 1;
    }
}

std::vector<std::string> Processor::TransStringToVector(const std::string& s) {
    std::vector<std::string> result;
    std::string current;
    bool inBracket = false;
    for (const char ch : s) {
        if (ch == ' ' && !inBracket) {
            if (!current.empty()) {
                result.push_back(current);
                current.clear();
            }
            continue;
        }
        current += ch;
        // toggling is enough: CheckBracket has ruled out nesting
        if (BracketPosition(ch) != kNoBracket) {
            inBracket = !inBracket;
        }
    }
    if (!current.empty()) {
        result.push_back(current);
    }
    return result;
}

bool Processor::MatchStack(ReadingStack& stack, const std::vector<std::string>& elements,
                           const std::vector<std::string>& input) {
    auto [e, i] = stack.top();
    stack.pop();
    while (true) {
        if (e >= elements.size()) {
            return i == input.size();
        }
        const std::string& x = elements[e];
        switch (x[0]) {
            case '[':
                stack.push({e + 1, i});  // the reading that skips this group
                if (!IsBracketMatched(x, input, i)) {
                    stack.pop();  // taking it failed, so skipping is this very reading
                }
                break;
            case '{':
                if (!IsBracketMatched(x, input, i)) {
                    return false;
                }
                break;
            case '<':
                if (!IsAngleBracketMatched(x, input, i)) {
                    return false;
                }
                break;
            default:
                if (!MatchOneElem(x, input, i)) {
                    return false;
                }
                ++i;
                break;
        }
        ++e;
    }
}

bool Processor::IsBracketMatched(const std::string& x, const std::vector<std::string>& input, uint32_t& index) {
    const std::vector<std::string> words = ProcessInBracket(x);
    const uint32_t start = index;
    for (const auto& word : words) {
        if (!MatchOneElem(word, input, index)) {
            index = start;
            return false;
        }
        ++index;
    }
    return true;
}

bool Processor::IsAngleBracketMatched(const std::string& x, const std::vector<std::string>& input, uint32_t& index) {
    const std::size_t n = ProcessInBracket(x).size();
    if (index + n > input.size()) {
        return false;
    }
    index += static_cast<uint32_t>(n);
    return true;
}

std::vector<std::string> Processor::ProcessInBracket(const std::string& x) {
    if (x.size() < 3) {
        return {};
    }
    return Split(x.substr(1, x.size() - 2), ' ', /*keepEmpty=*/false);
}

bool Processor::MatchOneElem(const std::string& x, const std::vector<std::string>& input, uint32_t index) {
    if (index >= input.size()) {
        return false;
    }
    if (x.empty()) {
        return input[index].empty();
    }
    for (const auto& alternative : Split(x, '|', /*keepEmpty=*/true)) {
        if (alternative == input[index]) {
            return true;
        }
    }
    return false;
}

}  // namespace zel::clt
