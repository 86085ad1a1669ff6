"""log-convert through the installed tool: bounded memory on garbage, Ctrl-C in a plain conversion."""
import os, re, signal, struct, subprocess, time, pytest

BIN = os.environ["ZEL_TEST_BIN_DIR"]


def record(counter, text):
    """A version 1 verbose info record of APP/CTX with one string argument."""
    arg = struct.pack("<IH", 0x200, len(text) + 1) + text + b"\0"
    body = bytes([0x41, 1]) + b"APP\0CTX\0" + arg
    return b"DLT\x01" + struct.pack("<II", 1700000000, 0) + b"ECU1" + bytes([0x21, counter]) + \
        struct.pack(">H", 4 + len(body)) + body


@pytest.mark.parametrize("marks", [1, 12 << 20], ids=["one mark", "marks only"])
def test_garbage_behind_a_mark_is_dropped_as_it_is_read(tmp_path, marks):
    log, size = tmp_path / "garbage.log", 48 << 20
    with open(log, "wb") as f:
        f.write(b"DLT\x01" * marks)
        f.truncate(size)  # zeros behind the marks, without writing them
    peak = tmp_path / "peak"
    out = subprocess.run(["/usr/bin/time", "-f", "%M", "-o", peak, "timeout", "-s", "KILL", "30",
                          f"{BIN}/zel-tool", "log-convert", log], capture_output=True).stdout
    assert out == f"Log file cannot be parse completely. Discard {size} bytes.\n".encode()
    assert int(peak.read_text()) < 16 * 1024  # kB: the carried bytes stay one record at most


@pytest.mark.parametrize("sig", [signal.SIGINT, signal.SIGTERM])
def test_a_signal_ends_a_plain_conversion_at_a_block_boundary(tmp_path, sig):
    log = tmp_path / "big.log"
    records = 400000
    log.write_bytes(b"".join(record(i % 256, b"line %07d of a long conversion" % i) for i in range(records)))
    tool = subprocess.Popen([f"{BIN}/zel-tool", "log-convert", "datatime", str(log)], stdout=subprocess.PIPE)
    out, start, signalled = b"", time.monotonic(), None
    while tool.poll() is None and time.monotonic() - start < 30:
        if signalled is None and time.monotonic() - start > 0.5:
            tool.send_signal(sig)
            signalled = time.monotonic()
        out += tool.stdout.read(4096)  # a slow reader: the whole file takes far longer than a second
        time.sleep(0.002)
    out += tool.stdout.read()
    assert tool.wait() == 0
    assert time.monotonic() - signalled < 2
    lines = out.decode().splitlines()
    assert 0 < len(lines) < records
    assert all(re.fullmatch(r"0\.000000 \d{3} APP CTX info \[line \d{7} of a long conversion\]", l) for l in lines)
