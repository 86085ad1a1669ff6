#include "plugin_factory.h"

#include <gtest/gtest.h>

#include "clt_logger.h"
#include "probe_plugins.h"

namespace zel::clt {
namespace {

TEST(PluginFactoryTest, EachLookupCreatesAFreshInstance) {
    const int before = probe::created;
    auto first = PluginFactory::FindPlugin("ut-probe");
    auto second = PluginFactory::FindPlugin("ut-probe");
    ASSERT_NE(first, nullptr);  // the first registration of the name won
    ASSERT_NE(second, nullptr);
    EXPECT_NE(first.get(), second.get());
    EXPECT_EQ(probe::created, before + 2);
}

TEST(PluginFactoryTest, LookupIsExactAndCaseSensitive) {
    EXPECT_TRUE(PluginFactory::IsPluginRegistered("ut-probe"));
    EXPECT_FALSE(PluginFactory::IsPluginRegistered("UT-Probe"));
    EXPECT_FALSE(PluginFactory::IsPluginRegistered(""));
    EXPECT_FALSE(PluginFactory::IsPluginRegistered("ut-probe "));
    EXPECT_EQ(PluginFactory::FindPlugin("UT-Probe"), nullptr);
    EXPECT_EQ(PluginFactory::FindPlugin(""), nullptr);
}

TEST(GetFilenameTest, BaseNameIsAViewIntoThePath) {
    EXPECT_EQ(GetFilename("name.cpp"), "name.cpp");
    const ara::core::StringView path = "/a/b/name";
    EXPECT_EQ(GetFilename(path), "name");
    EXPECT_EQ(GetFilename(path).data(), path.data() + 5);
    EXPECT_EQ(GetFilename("/a/b/"), "");
}

}  // namespace
}  // namespace zel::clt
