"""log-convert run as the installed tool: follow mode with a writer appending to the file, the
signals that end it, a file that shrinks or may not be read, and the payload text beside
dlt-convert on a recorded daemon session."""
import os, re, shutil, signal, subprocess, tempfile, time
import pytest
from conftest import BIN, ENV, SAMPLE, expand, run, sample, wait_for

LV = 'zel-tool/log-convert.json'

class Follow:
    """zel-tool log-convert ... FILE on a file holding records; its output is read as it runs."""
    def __init__(self, tmp_path, records, *words):
        self.log, self.out = tmp_path / 'follow.log', tmp_path / 'out'
        self.log.write_bytes(b''.join(records))
        self.proc = subprocess.Popen(['zel-tool', 'log-convert', *words, self.log], executable=BIN + 'zel-tool',
                                     env=ENV, stdout=open(self.out, 'wb'), stderr=subprocess.PIPE)
    def append(self, *records):
        with open(self.log, 'ab') as f:
            f.write(b''.join(records))
    def text(self, wait_for_text=''):
        assert wait_for(lambda: wait_for_text in self.out.read_text('latin-1'), 10)
        return self.out.read_text('latin-1')
    def stop(self, sig):
        """Sends sig; the exit status once the tool has ended, within 1.5 s."""
        begin = time.monotonic()
        self.proc.send_signal(sig)
        status = self.proc.wait(10)
        assert time.monotonic() - begin < 1.5 and self.proc.stderr.read() == b''
        return status

def test_follow_prints_every_appended_record_once(tmp_path):
    records, lines = sample()
    tool = Follow(tmp_path, records[:5], 'continue', '2')
    tool.text(lines[4])
    tool.append(*records[5:10])
    tool.text(lines[9])
    tool.append(records[10][:30])  # one record written in two parts, the tool reading in between
    time.sleep(1.5)
    tool.append(records[10][30:])
    for record in records[11:]:  # a burst of small appends
        tool.append(record)
    tool.text(lines[-1])
    assert tool.stop(signal.SIGINT) == 0
    assert tool.text() == ''.join(lines[3:])

def test_sigterm_ends_following(tmp_path):
    records, lines = sample('manatime')
    tool = Follow(tmp_path, records, 'manatime', 'continue')
    tool.text(lines[-1])
    time.sleep(0.3)  # settled in its wait
    assert tool.stop(signal.SIGTERM) == 0
    assert tool.text() == ''.join(lines[-10:])  # ten records by default

def test_shrinking_file_ends_following(tmp_path):
    records, lines = sample()
    tool = Follow(tmp_path, records[:10], 'continue')
    tool.text(lines[9])
    os.truncate(tool.log, len(records[0]))
    assert tool.proc.wait(5) == 0
    assert tool.text() == ''.join(lines[:10]) + 'File stream read failed \nFile stream is abnormal\n' + expand([LV])

def test_compressed_file_is_not_followed(tmp_path):
    (tmp_path / 'z.log.gz').write_bytes(b'\x1f\x8b\x08\0\0\0\0\0\0\x03xyz')
    assert run('log-convert', 'continue', str(tmp_path / 'z.log.gz'), timeout=5) == (0, '')

@pytest.mark.skipif(os.geteuid() != 0 or not shutil.which('setpriv'), reason='needs root and setpriv')
def test_unreadable_file():
    with tempfile.TemporaryDirectory() as tmp:  # a directory that the other user may enter
        os.chmod(tmp, 0o755)
        log = shutil.copy(SAMPLE, tmp + '/secret.log')
        os.chmod(log, 0o600)
        out = subprocess.run(['setpriv', '--reuid=nobody', '--regid=nogroup', '--clear-groups', BIN + 'zel-tool',
                              'log-convert', log], capture_output=True, text=True).stdout
    assert out == f'File {log} cannot be accessed!\n' + expand([LV])

PEER = re.compile(r'\d+ (\S+ \S+) +(\S+) (\d{3}) \S+ (\S+) (\S+) (\S+) (\S+) [VN] \d+ \[(.*)\]')
OURS = re.compile(r'(\S+) (\S+ \S+) (\d{3}) (\S+) (\S+) (\S+) \[(.*)\]')

def same_records(dlt, at_least):
    """zel-tool's lines and dlt-convert -a's for the file: both time stamps, counter, ids, level
    (or message type) and payload."""
    expected = []
    for text in subprocess.run(['dlt-convert', '-a', dlt], capture_output=True, env=ENV).stdout.decode('latin-1').splitlines():
        stored, stamp, counter, apid, ctid, kind, level, payload = PEER.fullmatch(text).groups()
        expected.append((f'{int(stamp) / 10000:.6f}', stored, counter, apid.rstrip('-'), ctid.rstrip('-'),
                         level if kind == 'log' else kind, payload))
    status, out = run('log-convert', shutil.copy(dlt, str(dlt) + '.log'))  # zel-tool takes *.log files only
    assert status == 0 and len(expected) >= at_least
    assert [OURS.fullmatch(text).groups() for text in out.splitlines()] == expected

def test_payload_text_as_dlt_convert_prints_it(tmp_path, daemon):
    session, examples = tmp_path / 'session.dlt', '/usr/lib/libdlt-examples/'
    recorder = daemon.record(session)
    clients = [daemon.start(examples + 'dlt-example-user', *mode, '-n', '12', '-d', '20', 'hi') for mode in ([], ['-g'])]
    clients += [daemon.start(examples + 'dlt-test-user', '-n', '1', '-t', t) for t in '2345']  # every argument type
    assert [client.wait(60) for client in clients] == [0] * 6
    time.sleep(0.5)
    recorder.terminate()
    recorder.wait(5)
    same_records(session, 100)
    same_records(shutil.copy(SAMPLE, tmp_path), 20)
