"""log-convert against text that nobody in this project wrote: dlt-convert on control responses,
and the version 2 reference recordings with their converter's text."""
import os, re, struct, subprocess, time, calendar, pytest

BIN = os.environ["ZEL_TEST_BIN_DIR"]
REFERENCE = os.path.join(os.environ["ZEL_TEST_SHARED_DIR"], "v2-reference")
ENV = dict(os.environ, TZ="UTC")


def convert(path):
    out = subprocess.run([f"{BIN}/zel-tool", "log-convert", path], env=ENV, capture_output=True, timeout=60)
    assert out.returncode == 0
    return out.stdout.decode("latin-1").splitlines()


def control_response(service, status, rest, counter):
    """A version 1 control response as the daemon stores it."""
    payload = struct.pack("<I", service) + bytes([status]) + rest
    body = b"ECU1" + struct.pack(">I", 1234) + bytes([0x26, 1]) + b"APP\0CTX\0" + payload
    return b"DLT\x01" + struct.pack("<II", 1700000000, 0) + b"ECU1" + bytes([0x35, counter]) + \
        struct.pack(">H", 4 + len(body)) + body


@pytest.mark.parametrize("service", [0, 1, 3, 4, 0x14, 0x15, 0xF01, 0xF05, 0xFFFFFFFF])
def test_every_control_status_reads_as_dlt_convert_prints_it(tmp_path, service):
    log = tmp_path / "control.log"
    log.write_bytes(b"".join(control_response(service, s, b"\x01\x02" if s % 3 else b"", s) for s in range(256)))
    peer = subprocess.run(["dlt-convert", "-a", str(log)], capture_output=True, timeout=60).stdout.decode()
    expected = [line[line.index("[") + 1:-1] for line in peer.splitlines()]
    ours = [line[line.index("[") + 1:-1] for line in convert(str(log))]
    assert len(expected) == 256
    assert ours == expected


# index, storage time (always 1970 in that converter), data time, counter, ECU, application,
# context, optional file/line/tags, type, level or subtype, mode, argument count, payload
REF_LINE = re.compile(r"^\d+ \S+ \S+ (\S+) (\d{3}) \S+ (\S+) (\S+) [^\[]*?(log|control|app_trace|nw_trace) (\S+) "
                      r"[VN] \d+ \[(.*)\]$")
OUR_LINE = re.compile(r"^(\S+(?: \S+)?) (\d{4}/\d\d/\d\d \d\d:\d\d:\d\d\.\d{6}) (\d{3}) (\S*) (\S*) (\S+) \[(.*)\]$")


def epoch_micros(text):
    if "/" not in text:  # a time since start-up
        seconds, _, fraction = text.partition(".")
        return int(seconds) * 10**6 + int(fraction)
    stamp, _, fraction = text.partition(".")
    return calendar.timegm(time.strptime(stamp, "%Y/%m/%d %H:%M:%S")) * 10**6 + int(fraction)


@pytest.mark.parametrize("name", ["s1-verbose", "s3-mixed"])
def test_version_2_reference_recordings(name):
    with open(os.path.join(REFERENCE, name + ".ref.txt"), encoding="utf-8") as ref:
        expected = [REF_LINE.match(line).groups() for line in ref.read().splitlines()]
    ours = [OUR_LINE.match(line).groups() for line in convert(os.path.join(REFERENCE, name + ".log"))]
    assert len(ours) == len(expected)
    window = (epoch_micros("2026/11/23 03:48:00.000000"), epoch_micros("2026/11/23 04:00:00.000000"))
    previous = window[0]
    for (data, stored, counter, apid, ctid, level, payload), ref in zip(ours, expected):
        ref_data, ref_counter, ref_apid, ref_ctid, ref_type, ref_level, ref_payload = ref
        assert (counter, apid or "----", ctid or "----", payload) == (ref_counter, ref_apid, ref_ctid, ref_payload)
        assert level == (ref_level if ref_type == "log" else ref_type)
        if ref_data != "----------":
            seconds, _, fraction = ref_data.partition(".")
            assert epoch_micros(data) == int(seconds) * 10**6 + int(fraction[:6])
        assert previous <= epoch_micros(stored) <= window[1]
        previous = epoch_micros(stored)
