// Compares zel-tool log-convert with dlt-convert -a, record by record, on files the public
// DLT tools wrote: a real daemon session recorded by dlt-receive, and a file written by libdlt.
#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <sstream>
#include <thread>

#include "dlt_daemon.h"
#include "installed_tool.h"
#include "log_files.h"
#include "process.h"

namespace zel::test {
namespace {

struct Fields {
    std::string counter, apid, ctid, level, payload, dataTime, storeTime;
};

// The fields of every line of a tool's output, matched with line; a line that does not match
// fails the test.
template <typename ToFields>
std::vector<Fields> ParseLines(const std::string& output, const std::regex& line, const char* tool, ToFields toFields) {
    std::vector<Fields> records;
    std::istringstream in(output);
    for (std::string text; std::getline(in, text);) {
        std::smatch m;
        if (std::regex_match(text, m, line)) {
            records.push_back(toFields(m));
        } else {
            ADD_FAILURE() << tool << " line not understood: " << text;
        }
    }
    return records;
}

std::string StripPadding(std::string id) {
    while (!id.empty() && id.back() == '-') {
        id.pop_back();
    }
    return id;
}

// "index date time timestamp counter ecu apid ctid type subtype mode noar [payload]"
std::vector<Fields> PeerRecords(const std::string& file) {
    const ProcessResult r = RunProgram("/usr/bin/dlt-convert", {"dlt-convert", "-a", file}, {"TZ=UTC"});
    static const std::regex line(R"(^\d+ (\S+ \S+) +(\d+) (\d{3}) \S+ (\S+) (\S+) (\S+) (\S+) [VN] \d+ \[(.*)\]$)");
    return ParseLines(r.out, line, "dlt-convert", [](const std::smatch& m) {
        const std::string type = m[6];
        char seconds[32];
        std::snprintf(seconds, sizeof(seconds), "%.6f", std::stoull(m[2]) / 10000.0);
        return Fields{m[3], StripPadding(m[4]), StripPadding(m[5]), type == "log" ? m[7].str() : type, m[8], seconds,
                      m[1]};
    });
}

// "<data time> <storage date> <storage time> counter apid ctid level [payload]"
std::vector<Fields> OurRecords(const std::string& file) {
    const ProcessResult r = RunTool("zel-tool", {"log-convert", file}, {"TZ=UTC"});
    EXPECT_EQ(r.exitStatus, 0);
    static const std::regex line(R"(^(\S+) (\S+ \S+) (\d{3}) (\S*) (\S*) (\S+) \[(.*)\]$)");
    return ParseLines(r.out, line, "zel-tool",
                      [](const std::smatch& m) { return Fields{m[3], m[4], m[5], m[6], m[7], m[1], m[2]}; });
}

void ExpectSameRecords(const std::string& dltFile, std::size_t atLeast) {
    const std::string logFile = dltFile + ".log";  // zel-tool takes .log files only
    std::filesystem::copy_file(dltFile, logFile, std::filesystem::copy_options::overwrite_existing);
    const auto peer = PeerRecords(dltFile);
    const auto ours = OurRecords(logFile);
    ASSERT_GE(peer.size(), atLeast);
    ASSERT_EQ(ours.size(), peer.size());
    for (std::size_t i = 0; i < peer.size(); ++i) {
        SCOPED_TRACE("record " + std::to_string(i) + ": " + peer[i].payload);
        EXPECT_EQ(ours[i].counter, peer[i].counter);
        EXPECT_EQ(ours[i].apid, peer[i].apid);
        EXPECT_EQ(ours[i].ctid, peer[i].ctid);
        EXPECT_EQ(ours[i].level, peer[i].level);
        EXPECT_EQ(ours[i].payload, peer[i].payload);
        EXPECT_EQ(ours[i].dataTime, peer[i].dataTime);
        EXPECT_EQ(ours[i].storeTime, peer[i].storeTime);
    }
}

TEST(PeerCompareTest, RecordedDaemonSession) {
    TempDir dir;
    DltDaemon daemon(dir.Path("ctrl.sock"));
    ASSERT_TRUE(daemon.Ready());
    const std::string record = dir.Path("session.dlt");
    ASSERT_TRUE(daemon.Record(record));
    const char* user = "/usr/lib/libdlt-examples/dlt-example-user";
    // verbose, then non-verbose
    Process& verbose = daemon.StartClient(user, {"dlt-example-user", "-n", "12", "-d", "20", "hello"});
    EXPECT_EQ(verbose.Wait(std::chrono::seconds(30)).exitStatus, 0);
    Process& nonVerbose = daemon.StartClient(user, {"dlt-example-user", "-g", "-n", "12", "-d", "20", "hello"});
    EXPECT_EQ(nonVerbose.Wait(std::chrono::seconds(30)).exitStatus, 0);
    Process& tests = daemon.StartClient("/usr/lib/libdlt-examples/dlt-test-user", {"dlt-test-user", "-n", "1"});
    EXPECT_EQ(tests.Wait(std::chrono::seconds(90)).exitStatus, 0);
    ASSERT_TRUE(daemon.WaitForLog("Unregistered ApID 'DIFT'") || WaitForFileText(record, "Tests finished"));
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    daemon.StopRecording();
    ExpectSameRecords(record, 100);
}

TEST(PeerCompareTest, FileWrittenByLibdlt) {
    TempDir dir;
    const std::string file = dir.Path("peer.dlt");
    ASSERT_EQ(RunProgram(ZEL_TEST_PEER_WRITER, {"dlt_peer_writer", file}).exitStatus, 0);
    ExpectSameRecords(file, 11);
}

}  // namespace
}  // namespace zel::test
