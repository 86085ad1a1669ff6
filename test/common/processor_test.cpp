#include "processor.h"

#include <gtest/gtest.h>

#include "conf_tree.h"
#include "configuration.h"

namespace zel::clt {

using Words = std::vector<std::string>;

// Reaches the matcher's internals to count readings of one pattern.
class ProcessorTest : public testing::Test {
protected:
    static uint32_t Readings(const std::string& pattern, const Words& input) {
        return Processor::CheckOneConfigCmd(pattern, input);
    }
    static std::string Squeeze(const std::string& s) { return Processor::DeleteSpaceAroundOr(s); }
    static Words Tokens(const std::string& s) { return Processor::TransStringToVector(s); }
    static bool Brackets(const std::string& s) { return Processor::CheckBracket(s); }
    static bool IsInt(const std::string& s) { return Processor::IsInt(s); }

    // Loads the patterns as the current configuration; returns CheckCmd's result and output.
    std::pair<bool, std::string> Check(const Words& patterns, const Words& input) {
        tree_.Write("matcher", "matcher", patterns);
        EXPECT_TRUE(Configuration::GetInstance().Load("matcher"));
        test::CoutCapture out;
        const bool accepted = Processor::CheckCmd(input);
        return {accepted, out.Text()};
    }
    std::pair<bool, std::string> CheckWithPid(const Words& patterns, const Words& input) {
        tree_.Write("matcher", "matcher", patterns);
        EXPECT_TRUE(Configuration::GetInstance().Load("matcher"));
        test::CoutCapture out;
        const bool accepted = Processor::CheckCmdWithPid(input);
        return {accepted, out.Text()};
    }

    test::ConfTree tree_;
};

TEST_F(ProcessorTest, WorkedExampleReadsEachInputOnce) {
    const std::string pattern = "log {on | off} [-v] <file>";
    EXPECT_EQ(Tokens(Squeeze(pattern)), (Words{"log", "{on|off}", "[-v]", "<file>"}));
    EXPECT_EQ(Readings(pattern, {"log", "on", "a.txt"}), 1u);
    EXPECT_EQ(Readings(pattern, {"log", "on", "-v", "a.txt"}), 1u);
    EXPECT_EQ(Readings(pattern, {"log", "off", "-v"}), 1u);  // the placeholder takes -v
    EXPECT_EQ(Readings(pattern, {"log", "maybe", "x"}), 0u);
    EXPECT_EQ(Readings(pattern, {"log", "on"}), 0u);
    EXPECT_EQ(Check({pattern}, {"log", "on", "-v", "a.txt"}), std::make_pair(true, std::string()));
    EXPECT_EQ(Check({pattern}, {"log", "maybe", "x"}), std::make_pair(false, std::string()));
}

TEST_F(ProcessorTest, AmbiguityIsCountedWithinAndAcrossPatterns) {
    EXPECT_EQ(Readings("show [all] [all]", {"show", "all"}), 2u);
    EXPECT_EQ(Check({"show [all] [all]"}, {"show", "all"}),
              std::make_pair(false, std::string("Error, matched more than one cmd!\n")));
    EXPECT_EQ(Check({"show <x>", "show all"}, {"show", "all"}),
              std::make_pair(false, std::string("Error, matched more than one cmd!\n")));
    EXPECT_EQ(Check({"show <x>", "show all"}, {"show", "some"}), std::make_pair(true, std::string()));
    // an empty optional group reads the same words taken and skipped
    EXPECT_EQ(Readings("cmd []", {"cmd"}), 2u);
    EXPECT_EQ(Readings("cmd [ ]", {"cmd"}), 2u);
}

TEST_F(ProcessorTest, EmptyInputAndEmptyGroups) {
    EXPECT_EQ(Readings("[x]", {}), 1u);
    EXPECT_EQ(Readings("<>", {}), 1u);
    EXPECT_EQ(Readings("cmd", {}), 0u);
    EXPECT_EQ(Readings("", {}), 1u);
    EXPECT_EQ(Readings("", {"x"}), 0u);
    EXPECT_EQ(Check({}, {"anything"}), std::make_pair(false, std::string()));
}

TEST_F(ProcessorTest, GroupsConsumeTheirWordCount) {
    EXPECT_EQ(Readings("go <a b>", {"go", "1", "2"}), 1u);
    EXPECT_EQ(Readings("go <a b>", {"go", "1"}), 0u);
    EXPECT_EQ(Readings("go <a b>", {"go", "1", "2", "3"}), 0u);
    EXPECT_EQ(Readings("go <> x", {"go", "x"}), 1u);
    // a placeholder swallows a keyword as well
    EXPECT_EQ(Readings("go <n> stop", {"go", "stop", "stop"}), 1u);
    EXPECT_EQ(Readings("go {a b}", {"go", "a", "b"}), 1u);
    EXPECT_EQ(Readings("go {a b}", {"go", "a", "c"}), 0u);
    // a failed second word of an optional group restores the word index for the skip reading
    EXPECT_EQ(Readings("go [a b] <x> <y>", {"go", "a", "c"}), 1u);
    EXPECT_EQ(Readings("go [a b] c", {"go", "a", "b", "c"}), 1u);
}

TEST_F(ProcessorTest, AlternativesCompareWholeSingleWords) {
    EXPECT_EQ(Readings("on|off", {"on"}), 1u);
    EXPECT_EQ(Readings("on|off", {"off"}), 1u);
    EXPECT_EQ(Readings("on|off", {"o"}), 0u);
    EXPECT_EQ(Readings("on|off", {"onn"}), 0u);
    EXPECT_EQ(Readings("On|off", {"on"}), 0u);
    // "|" binds single words inside a group: a, then b or x, then y
    EXPECT_EQ(Readings("{a b|x y}", {"a", "x", "y"}), 1u);
    EXPECT_EQ(Readings("{a b|x y}", {"a", "b", "y"}), 1u);
    EXPECT_EQ(Readings("{a b|x y}", {"a", "b"}), 0u);
    // an empty alternative matches only an empty word
    EXPECT_EQ(Readings("a||b", {""}), 1u);
    EXPECT_EQ(Readings("a|", {""}), 1u);
    EXPECT_EQ(Readings("a|b", {""}), 0u);
}

TEST_F(ProcessorTest, SpacesAroundBarsAreRemoved) {
    EXPECT_EQ(Squeeze("a | b"), "a|b");
    EXPECT_EQ(Squeeze("a  |  b"), "a|b");
    EXPECT_EQ(Squeeze("a|b"), "a|b");
    EXPECT_EQ(Squeeze("a|  |b"), "a||b");
    EXPECT_EQ(Squeeze("   "), "");
    EXPECT_EQ(Squeeze(""), "");
    EXPECT_EQ(Squeeze("  x y  "), "x y  ");
    EXPECT_EQ(Squeeze("x\t| y"), "x\t|y");  // only blanks, not tabs
    EXPECT_EQ(Readings("a | b", {"b"}), Readings("a|b", {"b"}));
}

TEST_F(ProcessorTest, TokensSplitOnBlanksOutsideBrackets) {
    EXPECT_EQ(Tokens("a  {b c}   [d] <e f>"), (Words{"a", "{b c}", "[d]", "<e f>"}));
    EXPECT_EQ(Tokens("ab{x y}"), (Words{"ab{x y}"}));
    EXPECT_EQ(Readings("ab{x y}", {"ab{x y}"}), 1u);  // a literal, as it starts with a letter
    EXPECT_EQ(Readings("}x", {"}x"}), 1u);
}

TEST_F(ProcessorTest, MalformedBracketsFailEveryLine) {
    EXPECT_TRUE(Brackets(""));
    EXPECT_TRUE(Brackets("a {b} [c] <d>"));
    EXPECT_FALSE(Brackets("{a [b]}"));
    EXPECT_FALSE(Brackets("a>"));
    EXPECT_FALSE(Brackets("[a"));
    EXPECT_FALSE(Brackets("{a]"));
    const std::string message = "Error, conf cmd bracket format may be wrong!\n";
    // one bad pattern anywhere refuses lines that another pattern matches
    EXPECT_EQ(Check({"ok", "bad {a [b]}"}, {"ok"}), std::make_pair(false, message));
    EXPECT_EQ(Check({"ok", "[unclosed"}, {"ok"}), std::make_pair(false, message));
}

TEST_F(ProcessorTest, TrailingPidIsAnIntegerThatIsDropped) {
    EXPECT_EQ(CheckWithPid({"stop <pid>"}, {"stop", "1234", "5"}), std::make_pair(true, std::string()));
    EXPECT_EQ(CheckWithPid({"stop"}, {"stop", "0042"}), std::make_pair(true, std::string()));
    EXPECT_EQ(CheckWithPid({"stop"}, {"stop", "-7"}), std::make_pair(true, std::string()));
    EXPECT_EQ(CheckWithPid({"stop"}, {"stop", "x1"}), std::make_pair(false, std::string()));
    EXPECT_EQ(CheckWithPid({"stop"}, {"stop", "-"}), std::make_pair(false, std::string()));
    // the integer test comes first: a bad pattern is not even looked at
    EXPECT_EQ(CheckWithPid({"[bad"}, {"stop", "x"}), std::make_pair(false, std::string()));
    EXPECT_EQ(CheckWithPid({"stop"}, {"stop"}), std::make_pair(false, std::string()));
    EXPECT_EQ(CheckWithPid({"stop"}, {}), std::make_pair(false, std::string()));
}

TEST_F(ProcessorTest, IntegerTestKeepsTheConversionsLeniency) {
    EXPECT_TRUE(IsInt("12abc"));
    EXPECT_TRUE(IsInt(" 7"));
    EXPECT_TRUE(IsInt("+3"));
    EXPECT_FALSE(IsInt("abc"));
    EXPECT_FALSE(IsInt(""));
    EXPECT_FALSE(IsInt("99999999999"));
    errno = 42;
    EXPECT_TRUE(IsInt("5"));
    EXPECT_EQ(errno, 42);
}

}  // namespace zel::clt
