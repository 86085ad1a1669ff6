// log-convert run as the installed binary: follow mode with a writer appending to the file,
// signals, the tail count, a file that shrinks, and a file the user may not read.
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>

#include "installed_tool.h"
#include "log_files.h"
#include "process.h"

namespace zel::test {
namespace {

using namespace std::chrono_literals;

void Append(const std::string& path, const std::string& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::app);
    out << bytes;
}

class FollowTest : public testing::Test {
protected:
    void SetUp() override { RestoreShippedConf(); }

    std::unique_ptr<Process> Follow(const std::vector<std::string>& words) {
        std::vector<std::string> argv{"zel-tool", "log-convert"};
        argv.insert(argv.end(), words.begin(), words.end());
        return std::make_unique<Process>(ToolPath(), argv, std::vector<std::string>{"TZ=UTC"});
    }
    // Sends sig and returns how long the tool took to exit, and its result.
    static std::pair<std::chrono::milliseconds, ProcessResult> Interrupt(Process& tool, int sig) {
        const auto start = std::chrono::steady_clock::now();
        tool.Signal(sig);
        ProcessResult result = tool.Wait(10s);
        return {std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start),
                result};
    }

    TempDir dir_;
};

TEST_F(FollowTest, EveryAppendedRecordOnceAndInOrder) {
    const std::string path = dir_.Write("follow.log", Records(0, 4));
    auto tool = Follow({"continue", "2", path});
    ASSERT_TRUE(tool->WaitForOut(LineOf(4)));
    Append(path, Records(5, 9));
    ASSERT_TRUE(tool->WaitForOut(LineOf(9)));
    // one record written in two parts, the tool reading in between
    const std::string split = Records(10, 10, 3000);
    Append(path, split.substr(0, 1234));
    std::this_thread::sleep_for(1500ms);
    Append(path, split.substr(1234));
    for (int i = 11; i <= 40; ++i) {
        Append(path, Records(i, i));  // a burst of small appends
    }
    ASSERT_TRUE(tool->WaitForOut(LineOf(40)));
    const auto [took, result] = Interrupt(*tool, SIGINT);
    std::printf("SIGINT to exit: %lld ms\n", static_cast<long long>(took.count()));
    EXPECT_LT(took, 1500ms);
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_TRUE(result.out == Lines(3, 9) + LineOf(10, 3000) + Lines(11, 40)) << result.out;
}

TEST_F(FollowTest, SigtermEndsFollowing) {
    const std::string path = dir_.Write("term.log", Records(0, 2));
    auto tool = Follow({"continue", path});
    ASSERT_TRUE(tool->WaitForOut(LineOf(2)));
    std::this_thread::sleep_for(300ms);  // let it settle into its wait
    const auto [took, result] = Interrupt(*tool, SIGTERM);
    std::printf("SIGTERM to exit: %lld ms\n", static_cast<long long>(took.count()));
    EXPECT_LT(took, 1500ms);
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.out, Lines(0, 2));
}

TEST_F(FollowTest, TailCounts) {
    const std::string path = dir_.Write("tail.log", Records(1, 25));
    struct Case {
        std::vector<std::string> words;
        std::string expected;
    };
    for (const auto& c : std::vector<Case>{{{"continue", path}, Lines(16, 25)},
                                           {{"continue", "1", path}, Lines(25, 25)},
                                           {{"continue", "25", path}, Lines(1, 25)},
                                           {{"continue", "100", path}, Lines(1, 25)},
                                           {{"datatime", "continue", "0", path}, ""},
                                           {{"manatime", "continue", "-3", path}, ""}}) {
        auto tool = Follow(c.words);
        std::this_thread::sleep_for(400ms);
        // a record appended afterwards comes next
        Append(path, Records(26, 26));
        ASSERT_TRUE(tool->WaitForOut("record 26"));
        const ProcessResult result = Interrupt(*tool, SIGINT).second;
        std::string expected = c.expected + LineOf(26);
        if (c.words[0] == "datatime") {
            expected = "26.000000 026 APP CTX info [record 26 klmnopqrst]\n";
        } else if (c.words[0] == "manatime") {
            expected = "2023/11/14 22:13:46.000000 026 APP CTX info [record 26 klmnopqrst]\n";
        }
        EXPECT_EQ(result.out, expected) << c.words[0] << " " << c.words[1];
        std::filesystem::resize_file(path, Records(1, 25).size());
    }
}

TEST_F(FollowTest, ShrinkingFileEndsFollowing) {
    const std::string path = dir_.Write("shrink.log", Records(0, 9));
    auto tool = Follow({"continue", path});
    ASSERT_TRUE(tool->WaitForOut(LineOf(9)));
    std::filesystem::resize_file(path, Records(0, 0).size());
    const ProcessResult result = tool->Wait(5s);
    EXPECT_EQ(result.exitStatus, 0);
    const std::string tail = "File stream read failed \nFile stream is abnormal\nlog-convert usage: \n";
    EXPECT_NE(result.out.find(Lines(0, 9) + tail), std::string::npos) << result.out;
}

TEST_F(FollowTest, CompressedFileIsNotFollowed) {
    const std::string path = dir_.Write("z.log.gz", std::string("\x1f\x8b\x08\x00\x00\x00\x00\x00\x00\x03xyz", 13));
    const ProcessResult result = RunTool("zel-tool", {"log-convert", "continue", path});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.out, "");
}

TEST(UnreadableFileTest, PermissionIsChecked) {
    if (geteuid() != 0 || access("/usr/bin/setpriv", X_OK) != 0) {
        GTEST_SKIP() << "needs root and setpriv to run the tool as another user";
    }
    RestoreShippedConf();
    TempDir dir;
    const std::string path = dir.Write("secret.log", Records(0, 0));
    chmod(path.c_str(), 0600);
    std::filesystem::permissions(std::filesystem::path(path).parent_path(), std::filesystem::perms(0755));
    const ProcessResult result = RunProgram("/usr/bin/setpriv", {"setpriv", "--reuid=nobody", "--regid=nogroup",
                                                                 "--clear-groups", ToolPath(), "log-convert", path});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.out.substr(0, result.out.find('\n') + 1), "File " + path + " cannot be accessed!\n");
}

}  // namespace
}  // namespace zel::test
