#include "ara/per/key_value_storage.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "process.h"

namespace ara::per {
namespace {

class KeyValueStorageTest : public testing::Test {
protected:
    std::string Write(const std::string& text) {
        zel::test::WriteFile(path_, text);
        return path_;
    }
    void TearDown() override { unlink(path_.c_str()); }
    std::string path_ = "/tmp/zel-kvs-test-" + std::to_string(getpid()) + ".json";
};

TEST_F(KeyValueStorageTest, KeysComeInFileOrder) {
    auto db = OpenKeyValueStorage(Write(R"({"zeta": "z", "alpha": ["a", "b"], "mid": 3})"));
    ASSERT_TRUE(db.HasValue());
    const auto keys = db.Value()->GetAllKeys();
    ASSERT_TRUE(keys.HasValue());
    EXPECT_EQ(keys.Value(), (core::Vector<core::String>{"zeta", "alpha", "mid"}));
}

TEST_F(KeyValueStorageTest, TypedReads) {
    auto db = OpenKeyValueStorage(Write(R"({"s": "text", "a": ["x", "y"], "mixed": ["x", 1], "n": 3, "e": []})"));
    ASSERT_TRUE(db.HasValue());
    const auto& kvs = *db.Value();
    core::String s;
    EXPECT_TRUE(kvs.GetBaseValue("s", s).HasValue());
    EXPECT_EQ(s, "text");
    EXPECT_FALSE(kvs.GetBaseValue("n", s).HasValue());
    EXPECT_FALSE(kvs.GetBaseValue("absent", s).HasValue());

    kvstype::KvsType value;
    ASSERT_TRUE(kvs.GetBaseValue("a", value).HasValue());
    const auto array = value.GetKvsArray<core::String>();
    ASSERT_TRUE(array.HasValue());
    EXPECT_EQ(array.Value(), (core::Vector<core::String>{"x", "y"}));
    ASSERT_TRUE(kvs.GetBaseValue("e", value).HasValue());
    EXPECT_TRUE(value.GetKvsArray<core::String>().HasValue());
    for (const char* key : {"mixed", "n", "s"}) {
        ASSERT_TRUE(kvs.GetBaseValue(key, value).HasValue());
        EXPECT_FALSE(value.GetKvsArray<core::String>().HasValue()) << key;
    }
    EXPECT_FALSE(kvs.GetBaseValue("absent", value).HasValue());
}

TEST_F(KeyValueStorageTest, OpeningRefusesWhatIsNotOneObject) {
    EXPECT_FALSE(OpenKeyValueStorage("/nonexistent/x.json").HasValue());
    EXPECT_FALSE(OpenKeyValueStorage(Write("")).HasValue());
    EXPECT_FALSE(OpenKeyValueStorage(Write("{\"a\": }")).HasValue());
    EXPECT_FALSE(OpenKeyValueStorage(Write("[1, 2]")).HasValue());
    EXPECT_FALSE(OpenKeyValueStorage(Write("\"text\"")).HasValue());
    EXPECT_FALSE(OpenKeyValueStorage(Write(R"({"a": 1, "a": 2})")).HasValue());
    // equal keys in different objects are fine
    EXPECT_TRUE(OpenKeyValueStorage(Write(R"({"a": {"k": 1}, "b": {"k": 2}})")).HasValue());
    EXPECT_FALSE(OpenKeyValueStorage(Write(R"({"a": {"k": 1, "k": 2}})")).HasValue());
}

}  // namespace
}  // namespace ara::per
