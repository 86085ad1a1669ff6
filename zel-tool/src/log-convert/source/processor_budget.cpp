#include "processor_budget.h"

#include <sched.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <vector>

namespace zel::clt {
namespace {

struct Hierarchy {
    std::string mount;  // where its root is, in this process's view
    std::string group;  // the process's group below that root: "" or "/a/b"
    bool v2;
};

std::vector<std::string> Split(const std::string& text, char by) {
    std::vector<std::string> parts;
    std::istringstream in(text);
    for (std::string part; std::getline(in, part, by);) {
        parts.push_back(part);
    }
    return parts;
}

bool Has(const std::vector<std::string>& list, const std::string& item) {
    return std::find(list.begin(), list.end(), item) != list.end();
}

// The tighter of two quotas, where 0 is none.
double Tighter(double a, double b) { return a == 0 ? b : b == 0 ? a : std::min(a, b); }

// A whole positive number of microseconds, or 0.
double Micros(const std::string& text) {
    char* end = nullptr;
    const long long value = std::strtoll(text.c_str(), &end, 10);
    return text.empty() || *end != '\0' || value <= 0 ? 0 : static_cast<double>(value);
}

std::string FirstLine(const std::string& path) {
    std::ifstream in(path);
    std::string line;
    std::getline(in, line);
    return line;
}

// Processors' worth that the files of the group in dir allow on their own; 0: no quota.
double GroupQuota(const std::string& dir, bool v2) {
    std::string quota;
    std::string period;
    if (v2) {
        std::istringstream(FirstLine(dir + "/cpu.max")) >> quota >> period;
    } else {
        quota = FirstLine(dir + "/cpu.cfs_quota_us");
        period = FirstLine(dir + "/cpu.cfs_period_us");
    }
    const double micros = Micros(quota);
    const double periodMicros = Micros(period);
    return micros > 0 && periodMicros > 0 ? micros / periodMicros : 0;
}

// A path as this process sees it, with /sys read below sysRoot.
std::string Below(const std::string& sysRoot, const std::string& path) {
    return path.compare(0, 5, "/sys/") == 0 ? sysRoot + path.substr(4) : path;
}

// Where the hierarchy with the cpu controller (v1) or the unified one (v2) is mounted, and the
// group's path relative to the mount's root; the usual layout where mountinfo does not say.
Hierarchy Locate(const std::string& procRoot, const std::string& sysRoot, const std::string& controllers,
                 const std::string& group, bool v2) {
    std::ifstream in(procRoot + "/self/mountinfo");
    for (std::string line; std::getline(in, line);) {
        const std::vector<std::string> fields = Split(line, ' ');
        const auto dash = std::find(fields.begin(), fields.end(), "-");
        if (fields.size() < 5 || fields.end() - dash < 4 || dash[1] != (v2 ? "cgroup2" : "cgroup") ||
            (!v2 && !Has(Split(dash[3], ','), "cpu"))) {
            continue;
        }
        const std::string& root = fields[3];  // the directory of the hierarchy mounted there
        const bool inside = root == "/" || (group.compare(0, root.size(), root) == 0 &&
                                            (group.size() == root.size() || group[root.size()] == '/'));
        return {Below(sysRoot, fields[4]), inside && root != "/" ? group.substr(root.size()) : group, v2};
    }
    return {sysRoot + "/fs/cgroup" + (v2 ? "" : "/" + controllers), group, v2};
}

// The smallest quota on the path from the group up to the hierarchy's root.
double SmallestOnPath(Hierarchy h) {
    double smallest = 0;
    while (true) {
        smallest = Tighter(smallest, GroupQuota(h.mount + h.group, h.v2));
        if (h.group.empty()) {
            return smallest;
        }
        const std::size_t slash = h.group.rfind('/');
        h.group.erase(slash == std::string::npos ? 0 : slash);  // a path without a slash is one step
    }
}

}  // namespace

double CgroupCpuQuota(const std::string& procRoot, const std::string& sysRoot) {
    double smallest = 0;
    std::ifstream in(procRoot + "/self/cgroup");
    for (std::string line; std::getline(in, line);) {  // "ID:CONTROLLERS:PATH"; v2: "0::PATH"
        const std::size_t first = line.find(':');
        const std::size_t second = line.find(':', first + 1);
        if (first == std::string::npos || second == std::string::npos) {
            continue;
        }
        const std::string controllers = line.substr(first + 1, second - first - 1);
        const bool v2 = line.compare(0, first, "0") == 0 && controllers.empty();
        if (!v2 && !Has(Split(controllers, ','), "cpu")) {
            continue;
        }
        std::string group = line.substr(second + 1);
        while (!group.empty() && group.back() == '/') {
            group.pop_back();
        }
        smallest = Tighter(smallest, SmallestOnPath(Locate(procRoot, sysRoot, controllers, group, v2)));
    }
    return smallest;
}

ProcessorBudget ThisProcessBudget() {
    ProcessorBudget budget;
    cpu_set_t set;
    CPU_ZERO(&set);
    if (sched_getaffinity(0, sizeof(set), &set) == 0) {
        budget.processors = static_cast<unsigned>(CPU_COUNT(&set));
    }
    budget.quota = CgroupCpuQuota("/proc", "/sys");
    return budget;
}

}  // namespace zel::clt
