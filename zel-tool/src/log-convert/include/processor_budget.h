// ProcessorBudget: how much processor time the process may use at once, which sizes the pass
// (ShapeFor): the processors of its affinity mask, and the CPU quota of its own cgroup.
//
// The quota is read from the files of the cgroup that /proc/self/cgroup names, in the hierarchy
// that /proc/self/mountinfo says is mounted (or where /sys/fs/cgroup usually has it): cgroup v2
// "cpu.max" ("QUOTA PERIOD", or "max PERIOD" for none), v1 "cpu.cfs_quota_us" (-1 for none) over
// "cpu.cfs_period_us". A group may use no more than the groups above it, so the smallest quota on
// the path up to the hierarchy's root counts. A file that is missing or unreadable sets no quota.
//
// The functions keep no state; any thread may call them.
#ifndef ZEL_CLT_PROCESSOR_BUDGET_H
#define ZEL_CLT_PROCESSOR_BUDGET_H

#include <algorithm>
#include <string>

namespace zel::clt {

struct ProcessorBudget {
    unsigned processors = 1;  // in the affinity mask
    double quota = 0;         // processors' worth of time a period of the cgroup allows; 0: no quota

    // Processors' worth of time the process may use: the smaller of the two.
    double Usable() const { return quota > 0 ? std::min<double>(processors, quota) : processors; }
};

// The quota of the calling process's cgroup (0: none), with the files of /proc below procRoot
// and those of /sys below sysRoot (a mount point below /sys is looked for there).
double CgroupCpuQuota(const std::string& procRoot, const std::string& sysRoot);

// The budget of the calling process: its affinity mask, and the quota below /proc and /sys.
ProcessorBudget ThisProcessBudget();

}  // namespace zel::clt

#endif  // ZEL_CLT_PROCESSOR_BUDGET_H
