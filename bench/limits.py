#!/usr/bin/env python3
"""How `zel-tool log-convert` fares under the limits of a service on the SoC. Prints figures only;
nothing here passes or fails.

    limits.py --tool ZEL_TOOL --gen DLT_GEN [--work DIR]   (as root, with strace installed)

1. Address-space limits (prlimit --as) of 8 to 64 MB, with the affinity mask faked to 2, 16 and
   64 processors (test/affinity_shim.c): the exit status of converting a 75 MB file, and 'same'
   where its text is that of an unlimited run, else what it wrote on standard error.
2. A pids limit of 4 (cgroup v1 pids controller, or v2 pids.max): how many thread starts failed
   (clone EAGAIN, counted by strace) in that conversion, and whether its text is the same.
3. SIGINT during `continue 100000000` on a 280 MB file, while the tool goes back over its
   records: the time from the signal to the exit, five runs.
"""
import hashlib, os, signal, subprocess, time

from processors import affinity_shim, parser_for, put


def digest(command, env=None, preexec=None):
    """Exit status, digest of standard output and standard error of command."""
    out = subprocess.run(command, env=env, capture_output=True, preexec_fn=preexec)
    return out.returncode, hashlib.sha256(out.stdout).hexdigest(), out.stderr.decode(errors="replace").strip()


def pids_group():
    """A new group allowed 4 tasks (its cgroup.procs file)."""
    group = "/sys/fs/cgroup/pids/zel-bench" if os.path.isdir("/sys/fs/cgroup/pids") else "/sys/fs/cgroup/zel-bench"
    os.makedirs(group, exist_ok=True)
    put(group + "/pids.max", "4")
    return group


def main():
    args = parser_for("/tmp/zel-bench-limits").parse_args()
    shim = affinity_shim(args.work)
    log, big = (os.path.join(args.work, name) for name in ("75MB.log", "280MB.log"))
    for path, records in ((log, 700000), (big, 2600000)):
        subprocess.run([args.gen, "--records", str(records), "--out", path], check=True, stdout=subprocess.DEVNULL)
    convert = [args.tool, "log-convert", log]
    _, unlimited, _ = digest(convert)

    print("ulimit -v | 2 processors | 16 | 64")
    for megabytes in (8, 12, 16, 24, 32, 64):
        row = []
        for processors in ("2", "16", "64"):
            env = {**os.environ, "LD_PRELOAD": shim, "ZEL_SHIM_PROCESSORS": processors}
            status, text, error = digest(["prlimit", f"--as={megabytes << 20}", *convert], env)
            row.append(f"{status} {'same' if text == unlimited else error or 'other text'}")
        print(f"{megabytes} MB", *row, sep=" | ")

    group = pids_group()
    trace = os.path.join(args.work, "strace")
    enter = f"echo $$ > {group}/cgroup.procs && exec {' '.join(convert)}"
    status, text, _ = digest(["strace", "-f", "-qq", "-e", "trace=clone,clone3", "-o", trace, "sh", "-c", enter])
    with open(trace) as f:
        failed = sum("EAGAIN" in line for line in f)
    os.rmdir(group)
    print(f"pids.max 4: status {status}, {'same text' if text == unlimited else 'other text'}, "
          f"{failed} failed thread starts")

    waits = []
    for _ in range(5):
        tool = subprocess.Popen([args.tool, "log-convert", "continue", "100000000", big], stdout=subprocess.DEVNULL)
        time.sleep(0.3)  # inside the going back over 2.6 million records
        start = time.monotonic()
        tool.send_signal(signal.SIGINT)
        tool.wait()
        waits.append(f"{time.monotonic() - start:.3f}")
    print("SIGINT during continue 100000000 on 280 MB, to the exit (s):", *waits)


if __name__ == "__main__":
    main()
