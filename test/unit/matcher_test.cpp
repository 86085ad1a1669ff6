// The command pattern matcher: what it makes of words against loaded patterns, and every
// command form of the shipped configuration files.
#include <gtest/gtest.h>

#include <cerrno>
#include <iterator>

#include "processor.h"
#include "string_to_int.h"
#include "support.h"

namespace zel::clt {

using test::Words;

class ProcessorTest : public testing::Test {
protected:
    enum Outcome { kNone, kOne, kTwo, kBracket };  // no reading, one, more than one, a bad pattern
    struct Row {
        Words patterns, words;
        Outcome outcome;
        bool withPid = false;  // zel-dbg's check: a trailing process id
    };
    // CheckCmd's (or CheckCmdWithPid's) answer and output for the words under the patterns.
    std::pair<bool, std::string> Check(const Row& row) {
        tree_.Write("matcher", "matcher", row.patterns);
        EXPECT_TRUE(Configuration::GetInstance().Load("matcher"));
        test::CoutCapture out;
        const bool accepted = row.withPid ? Processor::CheckCmdWithPid(row.words) : Processor::CheckCmd(row.words);
        return {accepted, out.Text()};
    }
    test::ConfTree tree_;
};

TEST_F(ProcessorTest, ReadingsOverAllPatterns) {
    const std::vector<Row> rows{
        {{"log {on | off} [-v] <file>"}, {"log", "on", "a.txt"}, kOne},
        {{"log {on | off} [-v] <file>"}, {"log", "on", "-v", "a.txt"}, kOne},
        {{"log {on | off} [-v] <file>"}, {"log", "off", "-v"}, kOne},  // the placeholder takes -v
        // ambiguity within one pattern and across patterns
        {{"show [all] [all]"}, {"show", "all"}, kTwo},
        {{"show <x>", "show all"}, {"show", "all"}, kTwo},
        {{"show <x>", "show all"}, {"show", "some"}, kOne},
        {{"cmd []"}, {"cmd"}, kTwo},  // an empty optional group reads the same words taken and skipped
        {{"[x]"}, {}, kOne},
        {{"   "}, {}, kOne},
        {{}, {"anything"}, kNone},
        // groups consume their word count; a placeholder swallows a keyword as well
        {{"go <a b>"}, {"go", "1", "2"}, kOne},
        {{"go <a b>"}, {"go", "1"}, kNone},
        {{"go <> x"}, {"go", "x"}, kOne},
        {{"go <n> stop"}, {"go", "stop", "stop"}, kOne},
        {{"go {a  b}"}, {"go", "a", "b"}, kOne},  // blanks inside a group make no empty word
        {{"go {a b}"}, {"go", "a", "c"}, kNone},
        {{"go [a b] <x> <y>"}, {"go", "a", "c"}, kOne},  // a failed optional group restores the index
        {{"go [a b] c"}, {"go", "a", "b", "c"}, kOne},
        {{"ab{x y}"}, {"ab{x y}"}, kOne},  // a literal, as it starts with a letter
        // alternatives compare whole single words; blanks (not tabs) around bars are dropped
        {{"on|off"}, {"off"}, kOne},
        {{"on|off"}, {"o"}, kNone},
        {{"On|off"}, {"on"}, kNone},
        {{"{a b|x y}"}, {"a", "x", "y"}, kOne},
        {{"a||b"}, {""}, kOne},
        {{"a|b"}, {""}, kNone},
        {{"a  |  b"}, {"b"}, kOne},
        {{"x\t| y"}, {"x\t"}, kOne},
        // one malformed pattern refuses every line
        {{"ok", "bad {a [b]}"}, {"ok"}, kBracket},
        {{"ok", "[unclosed"}, {"ok"}, kBracket},
        {{"a>"}, {"a>"}, kBracket},
        {{"{a]"}, {"a"}, kBracket},
        // a trailing process id: an integer as StringToInt reads it, then dropped
        {{"stop <pid>"}, {"stop", "1234", "5"}, kOne, true},
        {{"stop"}, {"stop", "x1"}, kNone, true},
        {{"[bad"}, {"stop", "x"}, kNone, true},  // the integer test comes first
    };
    const char* messages[] = {"", "", "Error, matched more than one cmd!\n",
                              "Error, conf cmd bracket format may be wrong!\n"};
    for (const Row& row : rows) {
        EXPECT_EQ(Check(row), std::make_pair(row.outcome == kOne, std::string(messages[row.outcome])))
            << testing::PrintToString(row.patterns) << " " << testing::PrintToString(row.words);
    }
}

// The leniency of std::stoi, and errno as it leaves it: kept, also beyond int's range, but
// ERANGE beyond long's.
TEST(StringToIntTest, ReadsAsStoi) {
    const std::tuple<const char*, bool, int32_t, int> rows[] = {
        {"-7", true, -7, 42},
        {"12abc", true, 12, 42},
        {" +3", true, 3, 42},
        {"2147483647", true, INT32_MAX, 42},
        {"", false, 0, 42},
        {"2147483648", false, 0, 42},
        {"99999999999999999999", false, 0, ERANGE},
    };
    for (const auto& [word, accepted, expected, errnoAfter] : rows) {
        errno = 42;
        int32_t value = 0;
        EXPECT_EQ(StringToInt(word, value), accepted) << word;
        EXPECT_EQ(value, expected) << word;
        EXPECT_EQ(errno, errnoAfter) << word;
    }
}

// Every form of the log-control (up to six pairs) and log-convert grammars has exactly one
// reading in the shipped files of both tool names; the forms they refuse have none.
TEST_F(ProcessorTest, ShippedPatterns) {
    std::vector<std::string> control{"log-control"}, convert;
    const char* keywords[] = {" appid ", " ctxid ", " level "};
    const char* values[] = {"LOG", "level", "appid"};  // values that look like keywords too
    for (std::size_t pairs = 1, from = 0, to = 1; pairs <= 6; ++pairs, from = to, to = control.size()) {
        for (std::size_t i = from; i < to; ++i) {
            for (std::size_t k = 0; k < 3; ++k) {
                control.push_back(control[i] + keywords[k] + values[(k + pairs) % 3]);
            }
        }
    }
    for (const char* file : {"a.log", "continue", "datatime", "5"}) {
        for (const char* option : {"", "datatime", "manatime", "continue", "datatime continue", "manatime continue",
                                   "continue 7", "datatime continue 7", "manatime continue -1"}) {
            convert.push_back(std::string("log-convert ") + option + " " + file);
        }
    }
    const std::vector<std::tuple<const char*, std::vector<std::string>, std::vector<std::string>>> plugins{
        {"log-control",
         control,
         {"log-control appid", "log-control level info ctxid", "log-control Level info",
          "log-control level a level b level c level d appid e appid f ctxid g", "log-control help me"}},
        {"log-convert",
         convert,
         {"log-convert", "log-convert datatime manatime a.log", "log-convert datatime 7 a.log", "log-convert 7 a.log",
          "log-convert continue datatime 7 a.log", "log-convert a b c d e"}}};
    const auto check = [](const std::string& line) {
        std::istringstream words(line);
        return Processor::CheckCmd(Words(std::istream_iterator<std::string>(words), {}));
    };
    for (const char* tool : {"zel-tool", "zel-dbg"}) {
        for (const auto& [plugin, accepted, refused] : plugins) {
            const std::string shipped = std::string(ZEL_TEST_SOURCE_DIR) + "/conf/" + tool + "/" + plugin + ".json";
            tree_.Put(plugin, nlohmann::ordered_json::parse(std::ifstream(shipped)).dump());
            ASSERT_TRUE(Configuration::GetInstance().Load(plugin));
            test::CoutCapture out;
            for (const auto& line : accepted) {
                EXPECT_TRUE(check(line)) << tool << ": " << line;
            }
            for (const auto& line : refused) {
                EXPECT_FALSE(check(line)) << tool << ": " << line;
            }
            EXPECT_EQ(out.Text(), "") << tool;  // no ambiguity and no bracket error
        }
    }
}

}  // namespace zel::clt
