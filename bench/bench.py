#!/usr/bin/env python3
"""Benchmark of `zel-tool log-convert` beside Debian's `dlt-convert -a`. Prints figures only;
nothing here passes or fails.

    bench.py --tool ZEL_TOOL --gen DLT_GEN [--work DIR] [--records N] [--runs N] [--zeros GB]

1. Converts an N-record version 1 file with both tools to /dev/null, to a file and through a
   pipe (`| cat > /dev/null`), in interleaved runs: median wall time, MB/s, peak RSS, the ratio
   to dlt-convert and to zel-tool's own /dev/null time. zel-tool runs on every processor the
   benchmark may use ("all") and, through `taskset`, on one ("one"); the scaling is one / all.
2. Garbage: GB of zero bytes (a sparse file) with a recorded daemon session behind it, on all
   processors and on one.
3. `continue 10` on the record file and on the garbage file: time until the 10 lines are out.
4. `zel-tool -v`: median time from start to exit (a Python spawn included).
Peak RSS comes from /usr/bin/time (Debian `time`) and covers every process of a case; wall
times include starting it and `sh` (a millisecond or two, the same for both tools).
"""
import argparse, os, signal, statistics, subprocess, tempfile, time

ONE = f"taskset -c {min(os.sched_getaffinity(0))}"

SINKS = {"/dev/null": "> /dev/null", "file": "> {out}", "pipe": "| cat > /dev/null"}


def run(command, work):
    """Wall seconds (to the microsecond; /usr/bin/time gives hundredths) and peak RSS (MB)."""
    report = os.path.join(work, "time.txt")
    subprocess.run(["rm", "-f", os.path.join(work, "out.txt")])  # a file case writes a new file
    start = time.monotonic()
    subprocess.run(["/usr/bin/time", "-f", "%M", "-o", report, "sh", "-c", command], check=True)
    return time.monotonic() - start, int(open(report).read().split()[-1]) / 1024


def compare(commands, runs, work):
    """Median wall time and largest RSS of each command, runs interleaved."""
    samples = {name: [] for name in commands}
    for _ in range(runs):
        for name, command in commands.items():
            samples[name].append(run(command, work))
    return {name: (statistics.median(s for s, _ in v), max(m for _, m in v)) for name, v in samples.items()}


def until_tail_is_out(tool, log):
    start = time.monotonic()
    follow = subprocess.Popen([tool, "log-convert", "continue", "10", log], stdout=subprocess.PIPE)
    for _ in range(10):
        follow.stdout.readline()
    elapsed = time.monotonic() - start
    follow.send_signal(signal.SIGINT)
    follow.communicate()
    return elapsed * 1000


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--tool", required=True)
    ap.add_argument("--gen", required=True)
    ap.add_argument("--work", default=tempfile.gettempdir())
    for option, default in (("--records", 1500000), ("--runs", 3), ("--zeros", 1)):
        ap.add_argument(option, type=int, default=default)
    ap.add_argument("--sample", default=os.path.join(os.path.dirname(__file__), "../samples/daemon-session.log"))
    a = ap.parse_args()
    log, garbage, out = (os.path.join(a.work, name) for name in ("bench.log", "garbage.log", "out.txt"))
    subprocess.run([a.gen, "--records", str(a.records), "--seed", "7", "--out", log], check=True)
    with open(garbage, "wb") as f:  # a hole of GB zeros, then the session
        f.seek(a.zeros << 30)
        f.write(open(a.sample, "rb").read())
    mb = os.path.getsize(log) / 1e6
    print(f"{a.records} records, {mb:.0f} MB; {a.runs} interleaved runs; median s, MB/s, peak RSS MB")
    print(f"processors: {len(os.sched_getaffinity(0))} (all), 1 (one: {ONE})")
    own = None
    for sink, redirect in SINKS.items():
        redirect = redirect.format(out=out)
        r = compare({"all": f"{a.tool} log-convert {log} {redirect}",
                     "one": f"{ONE} {a.tool} log-convert {log} {redirect}",
                     "peer": f"dlt-convert -a {log} {redirect}"}, a.runs, a.work)
        own = own or r["all"][0]
        for name, (seconds, rss) in r.items():
            print(f"  {name:4} > {sink:9} {seconds:7.3f} s {mb / seconds:7.1f} MB/s {rss:6.1f} MB")
        print(f"  ratio to dlt-convert: all {r['peer'][0] / r['all'][0]:.1f} x, one {r['peer'][0] / r['one'][0]:.1f} x;"
              f" scaling one / all {r['one'][0] / r['all'][0]:.2f} x; all to own /dev/null {r['all'][0] / own:.2f} x")
    r = compare({"all": f"{a.tool} log-convert {garbage} > /dev/null",
                 "one": f"{ONE} {a.tool} log-convert {garbage} > /dev/null"}, a.runs, a.work)
    for name, (seconds, rss) in r.items():
        print(f"garbage ({name}): {a.zeros} GB of zeros and a session: {seconds:.3f} s, "
              f"{a.zeros * 1.073741824 / seconds:.2f} GB/s, {rss:.1f} MB")
    for name in (log, garbage):
        ms = statistics.median(until_tail_is_out(a.tool, name) for _ in range(a.runs))
        print(f"continue 10 on {os.path.getsize(name) / 1e6:.0f} MB: last 10 records out after {ms:.1f} ms")
    starts = []
    for _ in range(50):
        start = time.monotonic()
        subprocess.run([a.tool, "-v"], stdout=subprocess.DEVNULL)
        starts.append(time.monotonic() - start)
    print(f"zel-tool -v: {statistics.median(starts) * 1000:.1f} ms median of 50, start to exit")


if __name__ == "__main__":
    main()
