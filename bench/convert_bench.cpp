// Benchmark of "zel-tool log-convert" beside Debian's dlt-convert -a. Prints figures only;
// nothing here passes or fails.
//
//   convert_bench --tool ZEL_TOOL --gen DLT_GEN [--work DIR] [--records N] [--runs N] [--scale N]
//
// 1. Converts an N-record version 1 file with both tools, to /dev/null and to a file, in
//    interleaved runs: median wall time, MB/s, records/s, peak RSS and the ratio.
// 2. Converts a file scale times larger with zel-tool: MB/s and peak RSS.
// 3. "continue 10" on both files: time until the last 10 records are out, and the delay until
//    a record appended afterwards is printed.
// 4. "zel-tool -v": median time from start to exit.
#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "dlt_record.h"

namespace {

using Clock = std::chrono::steady_clock;
namespace fs = std::filesystem;

struct Measure {
    double seconds = 0;
    long peakRssKb = 0;
    int status = -1;
};

// Runs argv with standard output to outPath; wall time and peak RSS of the child.
Measure RunOnce(const std::vector<std::string>& argv, const std::string& outPath) {
    const auto start = Clock::now();
    const pid_t pid = fork();
    if (pid == 0) {
        const int fd = open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        dup2(fd, 1);
        const int null = open("/dev/null", O_WRONLY);
        dup2(null, 2);
        std::vector<char*> args;
        for (const auto& a : argv) {
            args.push_back(const_cast<char*>(a.c_str()));
        }
        args.push_back(nullptr);
        execv(args[0], args.data());
        _exit(127);
    }
    int status = 0;
    rusage usage{};
    wait4(pid, &status, 0, &usage);
    Measure m;
    m.seconds = std::chrono::duration<double>(Clock::now() - start).count();
    m.peakRssKb = usage.ru_maxrss;
    m.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return m;
}

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const std::size_t n = values.size();
    return n % 2 == 1 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

std::size_t CountLines(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return static_cast<std::size_t>(std::count(std::istreambuf_iterator<char>(in), {}, '\n'));
}

struct Series {
    std::vector<double> seconds;
    long peakRssKb = 0;
    void Add(const Measure& m) {
        seconds.push_back(m.seconds);
        peakRssKb = std::max(peakRssKb, m.peakRssKb);
    }
};

void PrintRow(const char* name, const Series& s, double megabytes, double records) {
    const double t = Median(s.seconds);
    std::printf("| %-34s | %8.3f | %8.1f | %10.0f | %7.1f |\n", name, t, megabytes / t, records / t,
                s.peakRssKb / 1024.0);
}

// Follows the file with "continue 10": seconds until 10 lines are out, and until a record
// appended afterwards is out.
std::pair<double, double> FollowOnce(const std::string& tool, const std::string& file, const std::string& out) {
    const auto originalSize = fs::file_size(file);
    std::ofstream(out, std::ios::trunc).close();  // nothing of an earlier run may count
    const auto start = Clock::now();
    const pid_t pid = fork();
    if (pid == 0) {
        const int fd = open(out.c_str(), O_WRONLY | O_APPEND, 0644);
        dup2(fd, 1);
        execl(tool.c_str(), "zel-tool", "log-convert", "continue", "10", file.c_str(), nullptr);
        _exit(127);
    }
    auto waitLines = [&](std::size_t lines) {
        while (CountLines(out) < lines) {
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        }
        return Clock::now();
    };
    const double tail = std::chrono::duration<double>(waitLines(10) - start).count();
    zel::dltgen::Record record;
    record.args = {zel::dltgen::Arg::String("appended while following")};
    const auto appendAt = Clock::now();
    { std::ofstream(file, std::ios::binary | std::ios::app) << zel::dltgen::Encode(record); }
    const double delay = std::chrono::duration<double>(waitLines(11) - appendAt).count();
    kill(pid, SIGINT);
    waitpid(pid, nullptr, 0);
    fs::resize_file(file, originalSize);
    return {tail, delay};
}

}  // namespace

int main(int argc, char** argv) {
    std::map<std::string, std::string> options{
        {"--work", "/tmp/zel-bench"}, {"--records", "1500000"}, {"--runs", "5"}, {"--scale", "10"}};
    for (int i = 1; i + 1 < argc; i += 2) {
        options[argv[i]] = argv[i + 1];
    }
    if (options.count("--tool") == 0 || options.count("--gen") == 0) {
        std::fprintf(stderr, "usage: %s --tool ZEL_TOOL --gen DLT_GEN [--work DIR] [--records N] [--runs N]\n",
                     argv[0]);
        return 2;
    }
    const std::string tool = options["--tool"];
    const std::string work = options["--work"];
    const long records = std::stol(options["--records"]);
    const long scale = std::stol(options["--scale"]);
    const int runs = std::stoi(options["--runs"]);
    fs::create_directories(work);
    const std::string small = work + "/small.log";
    const std::string large = work + "/large.log";
    const std::string out = work + "/out.txt";
    for (const auto& [file, count] : {std::make_pair(small, records), std::make_pair(large, records * scale)}) {
        const Measure m = RunOnce(
            {options["--gen"], "--records", std::to_string(count), "--version", "1", "--seed", "7", "--out", file},
            "/dev/null");
        std::printf("generated %s: %ld records, %.1f MB in %.1f s\n", file.c_str(), count, fs::file_size(file) / 1e6,
                    m.seconds);
    }
    const double smallMb = fs::file_size(small) / 1e6;
    const double largeMb = fs::file_size(large) / 1e6;

    std::map<std::string, Series> table;
    const std::vector<std::pair<std::string, std::vector<std::string>>> commands{
        {"zel-tool log-convert", {tool, "log-convert", small}},
        {"dlt-convert -a", {"/usr/bin/dlt-convert", "-a", small}}};
    for (int run = 0; run < runs; ++run) {
        for (const auto& [name, command] : commands) {
            table[name + " > /dev/null"].Add(RunOnce(command, "/dev/null"));
            table[name + " > file"].Add(RunOnce(command, out));
        }
    }
    std::printf("\n%ld records, %.1f MB, %d interleaved runs each, median:\n\n", records, smallMb, runs);
    std::printf("| %-34s | %8s | %8s | %10s | %7s |\n", "command", "seconds", "MB/s", "records/s", "RSS MB");
    std::printf("|%s|%s|%s|%s|%s|\n", std::string(36, '-').c_str(), std::string(10, '-').c_str(),
                std::string(10, '-').c_str(), std::string(12, '-').c_str(), std::string(9, '-').c_str());
    for (const char* sink : {" > /dev/null", " > file"}) {
        for (const char* name : {"zel-tool log-convert", "dlt-convert -a"}) {
            PrintRow((std::string(name) + sink).c_str(), table[std::string(name) + sink], smallMb,
                     static_cast<double>(records));
        }
    }
    for (const char* sink : {" > /dev/null", " > file"}) {
        std::printf("throughput ratio%s: %.1f x\n", sink,
                    Median(table[std::string("dlt-convert -a") + sink].seconds) /
                        Median(table[std::string("zel-tool log-convert") + sink].seconds));
    }

    Series largeNull;
    Series largeFile;
    for (int run = 0; run < std::max(1, runs / 2); ++run) {
        largeNull.Add(RunOnce({tool, "log-convert", large}, "/dev/null"));
        largeFile.Add(RunOnce({tool, "log-convert", large}, out));
    }
    std::printf("\n%ld records, %.1f MB, zel-tool only:\n\n", records * scale, largeMb);
    PrintRow("zel-tool log-convert > /dev/null", largeNull, largeMb, static_cast<double>(records * scale));
    PrintRow("zel-tool log-convert > file", largeFile, largeMb, static_cast<double>(records * scale));
    fs::remove(out);

    const int followRuns = std::max(runs, 11);  // each is short; more runs steady the median
    std::printf("\ncontinue 10, median of %d runs (start to the 10th line, append to its line):\n\n", followRuns);
    std::printf("| %-10s | %-22s | %-28s |\n", "file", "last 10 printed after", "appended record printed after");
    for (const auto& [name, file] : {std::make_pair("small", small), std::make_pair("large", large)}) {
        std::vector<double> tails;
        std::vector<double> delays;
        for (int run = 0; run < followRuns; ++run) {
            const auto [tail, delay] = FollowOnce(tool, file, out);
            tails.push_back(tail);
            delays.push_back(delay);
        }
        std::printf("| %-10s | %19.2f ms | %25.1f ms |\n", name, Median(tails) * 1e3, Median(delays) * 1e3);
    }
    fs::remove(out);

    std::vector<double> version;
    for (int run = 0; run < 50; ++run) {
        version.push_back(RunOnce({tool, "-v"}, "/dev/null").seconds);
    }
    std::printf("\nzel-tool -v: median %.2f ms over 50 runs\n", Median(version) * 1e3);
    return 0;
}
