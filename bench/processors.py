#!/usr/bin/env python3
"""Peak memory of `zel-tool log-convert` as on machines of many processors, and its time under a
CPU quota. Prints figures only; nothing here passes or fails.

    processors.py --tool ZEL_TOOL --gen DLT_GEN [--work DIR] [--runs N]

1. Peak RSS (/usr/bin/time) of converting four files to /dev/null with the affinity mask faked
   to 2, 16 and 64 processors (test/affinity_shim.c, built here, loaded with LD_PRELOAD): 700 000
   generated records (about 75 MB), 3 000 000 (about 330 MB), 70 MB of records of 64 000 raw
   bytes (3 characters of text a byte) and 70 MB of empty records each behind a byte of garbage
   (about 5 characters a byte).
2. Under a CPU quota of 20 % of one processor, in a cgroup made for it (root, and a cgroup v1
   cpu hierarchy or a v2 tree with the cpu controller): the median wall time of converting the
   75 MB file on all processors and under `taskset -c 0`, runs interleaved.
"""
import argparse, os, statistics, struct, subprocess, time

SOURCE = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))


def record(i, raw):
    """A version 1 record stored at 1700000000 + i: empty, or with one argument of raw bytes."""
    body = b""
    if raw:
        body = struct.pack(">I", i) + bytes([0x41, 1]) + b"APP\0CTX\0" + struct.pack("<IH", 0x400, len(raw)) + raw
    standard = bytes([0x20 | (0x11 if raw else 0), i % 256]) + struct.pack(">H", 4 + len(body)) + body
    return b"DLT\x01" + struct.pack("<II", 1700000000 + i, 0) + b"ECU1" + standard


def write(path, pieces, size):
    with open(path, "wb") as f:
        written, i = 0, 0
        while written < size:
            written += f.write(pieces(i))
            i += 1


def peak_mb(command, env):
    out = subprocess.run(["/usr/bin/time", "-f", "%M", *command], env=env, stdout=subprocess.DEVNULL,
                         stderr=subprocess.PIPE, check=True)
    return int(out.stderr.split()[-1]) / 1024


def put(path, text):
    with open(path, "w") as f:
        f.write(text)


def quota_group():
    """A new cgroup allowed 20 000 us of every 100 000 (its directory; removed once empty)."""
    if os.path.exists("/sys/fs/cgroup/cpu/cpu.cfs_quota_us"):
        group = "/sys/fs/cgroup/cpu/zel-bench"
        os.makedirs(group, exist_ok=True)
        put(group + "/cpu.cfs_quota_us", "20000")
    else:
        put("/sys/fs/cgroup/cgroup.subtree_control", "+cpu")
        group = "/sys/fs/cgroup/zel-bench"
        os.makedirs(group, exist_ok=True)
        put(group + "/cpu.max", "20000 100000")
    return group


def parser_for(work):
    """The options of the benchmarks of the process's limits: the tool, the generator, a folder."""
    parser = argparse.ArgumentParser()
    parser.add_argument("--tool", required=True)
    parser.add_argument("--gen", required=True)
    parser.add_argument("--work", default=work)
    return parser


def affinity_shim(work):
    """The shim that fakes the affinity mask (ZEL_SHIM_PROCESSORS), built in the folder work."""
    os.makedirs(work, exist_ok=True)
    shim = os.path.join(work, "affinity_shim.so")
    subprocess.run(["cc", "-shared", "-fPIC", "-o", shim, SOURCE + "/test/affinity_shim.c"], check=True)
    return shim


def main():
    parser = parser_for("/tmp/zel-bench-processors")
    parser.add_argument("--runs", type=int, default=11)
    args = parser.parse_args()
    shim = affinity_shim(args.work)
    files = {name: os.path.join(args.work, name + ".log") for name in ("75MB", "330MB", "raw64k", "garbage")}
    for name, records in (("75MB", 700000), ("330MB", 3000000)):
        subprocess.run([args.gen, "--records", str(records), "--out", files[name]], check=True,
                       stdout=subprocess.DEVNULL)
    write(files["raw64k"], lambda i: record(i, bytes(range(256)) * 250), 70_000_000)
    write(files["garbage"], lambda i: record(i, b"") + b"x", 70_000_000)

    print("peak RSS MB | 2 processors | 16 | 64")
    for name, path in files.items():
        peaks = [peak_mb([args.tool, "log-convert", path], {**os.environ, "LD_PRELOAD": shim, "ZEL_SHIM_PROCESSORS": n})
                 for n in ("2", "16", "64")]
        print(name, *("%.1f" % p for p in peaks), sep=" | ")

    group = quota_group()
    convert = f"echo $$ > {group}/cgroup.procs && exec {{}} {args.tool} log-convert {files['75MB']} > /dev/null"
    commands = {"all": convert.format(""), "one": convert.format("taskset -c 0")}
    walls = {name: [] for name in commands}
    for _ in range(args.runs):
        for name, command in commands.items():
            start = time.monotonic()
            subprocess.run(["sh", "-c", command], check=True)
            walls[name].append(time.monotonic() - start)
    os.rmdir(group)
    all_s, one_s = statistics.median(walls["all"]), statistics.median(walls["one"])
    print(f"20 % quota, 75 MB: all processors {all_s:.3f} s, one {one_s:.3f} s, all / one {all_s / one_s:.2f}")


if __name__ == "__main__":
    main()
