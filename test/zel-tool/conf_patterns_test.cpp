// Walks every command form of the log-control and log-convert grammars against the shipped
// configuration files: each accepted form has exactly one reading, and nothing else matches.
#include <gtest/gtest.h>

#include <filesystem>

#include "conf_tree.h"
#include "configuration.h"
#include "processor.h"

namespace zel::clt {
namespace {

using Words = std::vector<std::string>;

class ShippedPatternsTest : public testing::TestWithParam<const char*> {
protected:
    void SetUp() override {
        // the shipped file of this tool name, under the test's own tool directory
        const std::string shipped = std::string(ZEL_TEST_SOURCE_CONF_DIR) + "/" + GetParam() + "/";
        for (const char* plugin : {"log-control", "log-convert"}) {
            std::filesystem::copy_file(shipped + plugin + ".json", tree_.Dir() + plugin + ".json");
        }
    }
    // CheckCmd's result; any output (an ambiguity or a bracket error) fails the test.
    bool Accepts(const std::string& plugin, const Words& words) {
        EXPECT_TRUE(Configuration::GetInstance().Load(plugin));
        test::CoutCapture out;
        const bool accepted = Processor::CheckCmd(words);
        EXPECT_EQ(out.Text(), "") << words.size();
        return accepted;
    }

    test::ConfTree tree_;
};

TEST_P(ShippedPatternsTest, LogControlAcceptsUpToSixPairsInAnyOrder) {
    const Words keywords{"appid", "ctxid", "level"};
    // values that look like keywords must not add a reading
    const Words values{"LOG", "level", "appid"};
    EXPECT_TRUE(Accepts("log-control", {"log-control"}));
    std::vector<Words> forms{{}};
    for (std::size_t pairs = 1; pairs <= 6; ++pairs) {
        std::vector<Words> longer;
        for (const auto& form : forms) {
            for (std::size_t k = 0; k < keywords.size(); ++k) {
                Words next = form;
                next.push_back(keywords[k]);
                next.push_back(values[(k + pairs) % values.size()]);
                longer.push_back(next);
            }
        }
        forms = longer;
        for (const auto& form : forms) {
            Words words{"log-control"};
            words.insert(words.end(), form.begin(), form.end());
            EXPECT_TRUE(Accepts("log-control", words)) << testing::PrintToString(words);
        }
    }
}

TEST_P(ShippedPatternsTest, LogControlRefusesTheRest) {
    for (const Words& words : std::vector<Words>{
             {"log-control", "appid"},
             {"log-control", "level", "info", "ctxid"},
             {"log-control", "app", "LOG"},
             {"log-control", "Level", "info"},
             {"log-control", "level", "a", "level", "b", "level", "c", "level", "d", "appid", "e", "appid", "f",
              "ctxid", "g"},
             {"log-control", "help", "me"},
         }) {
        EXPECT_FALSE(Accepts("log-control", words)) << testing::PrintToString(words);
    }
}

TEST_P(ShippedPatternsTest, LogConvertAcceptsEveryForm) {
    for (const std::string file : {"a.log", "continue", "datatime", "5"}) {
        for (const Words& form : std::vector<Words>{
                 {},
                 {"datatime"},
                 {"manatime"},
                 {"continue"},
                 {"datatime", "continue"},
                 {"manatime", "continue"},
                 {"continue", "7"},
                 {"datatime", "continue", "7"},
                 {"manatime", "continue", "-1"},
             }) {
            Words words{"log-convert"};
            words.insert(words.end(), form.begin(), form.end());
            words.push_back(file);
            EXPECT_TRUE(Accepts("log-convert", words)) << testing::PrintToString(words);
        }
    }
}

TEST_P(ShippedPatternsTest, LogConvertRefusesTheRest) {
    for (const Words& words : std::vector<Words>{
             {"log-convert"},
             {"log-convert", "datatime", "manatime", "a.log"},
             {"log-convert", "datatime", "7", "a.log"},
             {"log-convert", "7", "a.log"},
             {"log-convert", "continue", "datatime", "7", "a.log"},
             {"log-convert", "a", "b", "c", "d", "e"},
         }) {
        EXPECT_FALSE(Accepts("log-convert", words)) << testing::PrintToString(words);
    }
}

INSTANTIATE_TEST_SUITE_P(ToolNames, ShippedPatternsTest, testing::Values("zel-tool", "zel-dbg"));

}  // namespace
}  // namespace zel::clt
