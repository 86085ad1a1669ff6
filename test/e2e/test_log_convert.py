"""log-convert run as the installed tool: follow mode, signals, shrinking and unreadable files,
memory on garbage, and the text beside dlt-convert's and the version 2 reference recordings'."""
import glob, itertools, os, re, shutil, signal, socket, struct, subprocess, tempfile, time
import pytest
from conftest import CC, EMULATOR, ENV, SAMPLE, SOURCE, expand, installed, run, sample, wait_for

LV, REFERENCE = 'zel-tool/log-convert.json', SOURCE + '/test/data/v2-reference'

@pytest.fixture
def shim(tmp_path):
    """Environment that loads read_shim.c into the tool: reads of watched fail at fail_at, and
    count() is how many bytes of it were read."""
    library = tmp_path / 'read_shim.so'
    subprocess.run([CC, '-shared', '-fPIC', '-o', library, os.path.dirname(__file__) + '/read_shim.c'], check=True)
    def env(watched, fail_at=None):
        # a sanitized tool wants its runtime loaded first; this one only passes reads on
        shims = f"{ENV.get('LD_PRELOAD', '')} {library}"  # after a shim the suite runs under
        preload = {'QEMU_SET_ENV': f'LD_PRELOAD={library}'} if EMULATOR else {'LD_PRELOAD': shims}  # not qemu's
        return {**ENV, **preload, 'ZEL_SHIM_FILE': os.path.realpath(watched),
                'ZEL_SHIM_COUNT': str(tmp_path / 'count'),
                'ASAN_OPTIONS': ENV.get('ASAN_OPTIONS', '') + ':verify_asan_link_order=0',
                **({'ZEL_SHIM_FAIL_AT': str(fail_at)} if fail_at else {})}
    env.count = lambda: int((tmp_path / 'count').read_text())
    return env

class Follow:
    """zel-tool log-convert ... FILE on a file holding records; its output is read as it runs."""
    def __init__(self, tmp_path, records, *words, env=ENV):
        self.log, self.out = tmp_path / 'follow.log', tmp_path / 'out'
        self.log.write_bytes(b''.join(records))
        with open(self.out, 'wb') as out:  # the tool has its own copy
            self.proc = subprocess.Popen([*installed(), 'log-convert', *words, self.log], env=env, stdout=out,
                                         stderr=subprocess.PIPE)
    def append(self, *records):
        with open(self.log, 'ab') as f:
            f.write(b''.join(records))
    def text(self, wait_for_text=''):
        assert wait_for(lambda: wait_for_text in self.out.read_text('latin-1'), 10)
        return self.out.read_text('latin-1')
    def stop(self, sig):
        """Sends sig; the exit status once the tool has ended, and what it wrote on standard error."""
        self.proc.send_signal(sig)
        return self.proc.wait(10), self.proc.stderr.read()

@pytest.mark.parametrize('sig, words, tail', [(signal.SIGINT, ['continue', '2'], 2),
                                             (signal.SIGTERM, ['manatime', 'continue'], 10)])  # ten by default
def test_follow_prints_every_appended_record_once(tmp_path, shim, sig, words, tail):
    records, lines = sample(*[w for w in words if w.endswith('time')])
    tool = Follow(tmp_path, records[:12], *words, env=shim(tmp_path / 'follow.log'))
    tool.text(lines[11])
    tool.append(*records[12:15])
    tool.text(lines[14])
    read = shim.count()
    tool.append(records[15][:30])  # one record written in two parts, the tool reading in between
    assert wait_for(lambda: shim.count() > read, 10)
    tool.append(records[15][30:])
    for record in records[16:]:  # a burst of small appends
        tool.append(record)
    tool.text(lines[-1])
    assert tool.stop(sig) == (0, b'')
    assert tool.text() == ''.join(lines[12 - tail:])

@pytest.mark.parametrize('rewrite', [False, True], ids=['shrunk', 'truncated and refilled beyond its size'])
def test_shrinking_file_ends_following(tmp_path, rewrite):
    records, lines = sample()
    tool = Follow(tmp_path, records[:10], 'continue')
    tool.text(lines[9])
    if rewrite:  # in one write, so that no poll sees it shorter
        with open(tool.log, 'r+b') as f:
            f.write(b''.join(records[1:12]))
    else:
        os.truncate(tool.log, len(records[0]))
    assert tool.proc.wait(5) == 0
    assert tool.text() == ''.join(lines[:10]) + 'File stream read failed \nFile stream is abnormal\n' + expand([LV])

def test_compressed_file_is_not_followed(tmp_path):
    (tmp_path / 'z.log.gz').write_bytes(b'\x1f\x8b\x08\0\0\0\0\0\0\x03xyz')
    assert run('log-convert', 'continue', str(tmp_path / 'z.log.gz'), timeout=5) == (0, '')

@pytest.mark.skipif(os.geteuid() != 0 or not shutil.which('setpriv'), reason='needs root and setpriv')
@pytest.mark.parametrize('mode, limit', [(0o600, []), (0o644, ['prlimit', '--nproc=1'])])  # out of threads
def test_as_another_user(mode, limit):
    if limit and EMULATOR:
        pytest.skip('qemu-user aborts when it cannot start its own thread, before the program runs')
    env = {**ENV, 'ASAN_OPTIONS': ENV.get('ASAN_OPTIONS', '') + ':detect_leaks=0'}  # the leak check needs a thread
    with tempfile.TemporaryDirectory() as tmp:  # a directory that the other user may enter
        os.chmod(tmp, 0o755)
        log = shutil.copy(SAMPLE, tmp + '/secret.log')
        os.chmod(log, mode)
        out = subprocess.run(['setpriv', '--reuid=nobody', '--regid=nogroup', '--clear-groups', *limit,
                              *installed(), 'log-convert', log], env=env, capture_output=True).stdout
        expected = run('log-convert', log)[1] if limit else f'File {log} cannot be accessed!\n' + expand([LV])
    assert out.decode('latin-1') == expected

# index, storage time, data time, counter, ECU, application, context, in version 2 file, line and
# tags, message type, level or subtype, mode, argument count, payload
PEER = re.compile(r'\d+ (\S+ \S+) +(\S+) (\d{3}) \S+ (\S+) (\S+) (?:.*? )?'
                  r'(log|control|app_trace|nw_trace) (\S+) [VN] \d+ \[(.*)\]')
OURS = re.compile(r'(\S+|\S+ \S+) (\S+ \S+) (\d{3}) (\S*) (\S*) (\S+) \[(.*)\]')

def same_records(peer, ours, at_least, v2=False):
    """Our lines beside the peer's: both time stamps, counter, ids, level (or message type), payload."""
    expected = []
    for text in peer.splitlines():
        stored, stamp, counter, apid, ctid, kind, level, payload = PEER.fullmatch(text).groups()
        if '.' in stamp:  # seconds and nanoseconds
            stamp = time.strftime('%Y/%m/%d %H:%M:%S.', time.gmtime(int(stamp[:-10]))) + stamp[-9:-3]
        else:  # 0.1 ms since start-up
            stamp = '0.000000' if stamp == '----------' else f'{int(stamp) / 10000:.6f}'
        level = level if kind == 'log' else kind
        expected.append((stamp, stored, counter, apid.rstrip('-'), ctid.rstrip('-'), level, payload))
    ours = [OURS.fullmatch(text).groups() for text in ours.splitlines()]
    if v2:  # that converter prints no storage times: ours run forward inside the recording's window
        stored = [fields[1] for fields in ours]
        assert stored == sorted(stored) and '2026/11/23 03:48' < stored[0] and stored[-1] < '2026/11/23 04:00'
        ours, expected = [f[:1] + f[2:] for f in ours], [f[:1] + f[2:] for f in expected]
    assert len(expected) >= at_least and ours == expected

def convert_beside_dlt_convert(dlt, at_least):
    status, out = run('log-convert', shutil.copy(dlt, str(dlt) + '.log'))  # zel-tool takes *.log files only
    assert status == 0
    same_records(subprocess.run(['dlt-convert', '-a', dlt], capture_output=True, env=ENV).stdout.decode('latin-1'),
                 out, at_least)

def test_payload_text_as_dlt_convert_prints_it(tmp_path, daemon):
    session, examples = tmp_path / 'session.dlt', '/usr/lib/libdlt-examples/'
    recorder = daemon.record(session)
    clients = [daemon.start(examples + 'dlt-example-user', *mode, '-n', '12', '-d', '20', 'hi')
               for mode in ([], ['-g'])]
    clients += [daemon.start(examples + 'dlt-test-user', '-n', '1', '-t', t) for t in '2345']  # every argument type
    assert [client.wait(60) for client in clients] == [0] * 6
    # the daemon reports an application gone once its last client has gone, after their records
    assert wait_for(lambda: all(b"Unregistered ApID '%s'" % a in session.read_bytes() for a in (b'LOG', b'DIFT')), 20)
    recorder.terminate()
    recorder.wait(5)
    convert_beside_dlt_convert(session, 100)
    convert_beside_dlt_convert(shutil.copy(SAMPLE, tmp_path), 20)

@pytest.mark.parametrize('service', [0, 1, 3, 4, 0x14, 0x15, 0xF01, 0xF05, 0xFFFFFFFF])
def test_every_control_status_as_dlt_convert_prints_it(tmp_path, service):
    def response(status):  # a version 1 control response with some bytes after the status, or none
        body = struct.pack('>4sIBB4s4s', b'ECU1', 1234, 0x26, 1, b'APP', b'CTX') + struct.pack('<IB', service, status)
        body += b'\x01\x02' if status % 3 else b''
        header = struct.pack('<II4sBB', 1700000000, 0, b'ECU1', 0x35, status) + struct.pack('>H', 4 + len(body))
        return b'DLT\x01' + header + body
    (tmp_path / 'control.dlt').write_bytes(b''.join(response(status) for status in range(256)))
    convert_beside_dlt_convert(tmp_path / 'control.dlt', 256)

@pytest.mark.parametrize('name', ['s1-verbose', 's3-mixed'])
def test_version_2_reference_recordings(name):
    with open(f'{REFERENCE}/{name}.ref.txt', encoding='utf-8') as ref:
        same_records(ref.read(), run('log-convert', f'{REFERENCE}/{name}.log')[1], 38, v2=True)

def convert_with_peak(tmp_path, log):
    """Standard output and peak resident memory (kB) of converting log."""
    out = subprocess.run(['/usr/bin/time', '-f', '%M', '-o', tmp_path / 'peak', *installed(), 'log-convert', log],
                         capture_output=True, timeout=30).stdout
    return out, int((tmp_path / 'peak').read_text())

@pytest.mark.parametrize('marks', [1, 12 << 20], ids=['one mark', 'marks only'])
def test_garbage_behind_a_mark_is_dropped_as_it_is_read(tmp_path, marks):
    log, size = tmp_path / 'garbage.log', 48 << 20
    with open(log, 'wb') as f:
        f.write(b'DLT\x01' * marks)
        f.truncate(size)  # zeros behind the marks, without writing them
    (empty := tmp_path / 'empty.log').write_bytes(b'')
    out, peak = convert_with_peak(tmp_path, log)
    assert out == f'Log file cannot be parse completely. Discard {size} bytes.\n'.encode()
    # kB above the tool's own footprint (larger in a sanitized build): one record at most is carried
    assert peak - convert_with_peak(tmp_path, empty)[1] < 12 * 1024
    os.remove(log)

@pytest.mark.skipif('ASAN_OPTIONS' in os.environ or bool(EMULATOR), reason='a sanitizer or qemu reserves address space')
@pytest.mark.parametrize('megabytes', [8, 12, 16, 64])  # below 8 MB the loader fails
def test_an_address_space_limit_never_aborts(tmp_path, megabytes):
    records, lines = sample()
    (log := tmp_path / 'big.log').write_bytes(b''.join(records) * 5000)  # long enough for several threads
    out = subprocess.run(['prlimit', f'--as={megabytes << 20}', *installed(), 'log-convert', log],
                         capture_output=True, env=ENV)
    if out.returncode != 0 and megabytes < 64:  # 64 MB is enough for any count of processors
        assert (out.returncode, out.stderr) == (255, b'zel-tool: out of memory\n')
    else:
        assert (out.returncode, out.stdout.decode('latin-1')) == (0, ''.join(lines) * 5000)

def blocked_on_its_output(tool):
    """True while a thread of tool's own (not the logging library's) waits for room in its output."""
    own = ('zel-tool', os.path.basename(EMULATOR or 'zel-tool')[:15])  # the name of the tool's threads
    def waits(task):
        with open(task + '/comm') as comm, open(task + '/wchan') as wchan:
            return comm.read().strip() in own and re.search('pipe_write|poll', wchan.read())
    return any(waits(task) for task in glob.glob(f'/proc/{tool.pid}/task/*'))

@pytest.mark.parametrize('sig', [signal.SIGINT, signal.SIGTERM])
def test_a_signal_ends_a_conversion_whose_output_is_blocked(tmp_path, sig):
    records, lines = sample('datatime')
    (tmp_path / 'big.log').write_bytes(b''.join(records) * 17000)
    tool = subprocess.Popen([*installed(), 'log-convert', 'datatime', tmp_path / 'big.log'], stdout=subprocess.PIPE)
    assert wait_for(lambda: blocked_on_its_output(tool), 20)  # nobody reads the pipe
    tool.send_signal(sig)
    assert tool.wait(10) == 0  # the records not yet written are dropped
    out = tool.stdout.read().decode('latin-1').splitlines(True)
    assert 0 < len(out) < 17000 * len(records) and set(out) <= set(lines)  # whole lines only

@pytest.mark.parametrize('channel', [os.pipe, socket.socketpair])
def test_a_non_blocking_output_gets_every_byte(tmp_path, channel):
    records, lines = sample()
    (tmp_path / 'big.log').write_bytes(b''.join(records) * 1000)  # more than a widened pipe holds
    reader, writer = [end if isinstance(end, int) else end.detach() for end in channel()]
    os.set_blocking(writer, False)  # as a process sharing the output may set it
    tool = subprocess.Popen([*installed(), 'log-convert', tmp_path / 'big.log'], stdout=writer)
    os.close(writer)
    assert wait_for(lambda: blocked_on_its_output(tool) or tool.poll() is not None, 20)
    with open(reader, 'rb') as out:  # read only once the output has been full
        assert (out.read().decode('latin-1'), tool.wait(10)) == (''.join(lines) * 1000, 0)

@pytest.mark.parametrize('words', [[], ['continue', '5']])
def test_a_reader_that_goes_away_ends_the_tool(tmp_path, shim, words):
    records, lines = sample()
    (log := tmp_path / 'big.log').write_bytes(b''.join(records) * 20000)
    tool = subprocess.Popen([*installed(), 'log-convert', *words, log], stdout=subprocess.PIPE, env=shim(log))
    assert tool.stdout.readline().decode('latin-1') == lines[-5 if words else 0]
    tool.stdout.close()  # as head -1 does; a follow ends too, though nothing is appended
    assert tool.wait(10) == -signal.SIGPIPE
    assert shim.count() < 6 << 20  # no more than the spans in flight, whose texts (twice a span) hold 10 MB at most

def test_a_failed_read_keeps_every_block_before_it(tmp_path, shim):
    records, lines = sample()
    (log := tmp_path / 'eio.log').write_bytes(b''.join(records) * 600)  # beyond the first piece read
    block = 700_001 // 2048 * 2048  # a 2048-byte reader fails from here on
    ends = list(itertools.accumulate(len(r) for r in records * 600))
    printed = sum(end < block for end in ends)  # one that ends at the block is judged with what follows
    expected = ''.join((lines * 600)[:printed]) + 'File stream read failed \n'  # the record carried is dropped
    out = subprocess.run([*installed(), 'log-convert', log], env=shim(log, 700_001), capture_output=True)
    assert (out.returncode, out.stdout.decode('latin-1')) == (0, expected)
