"""The installed tool under this build's platform root, its shipped configuration (put back
before every test), a recorded log, and private DLT daemons."""
import json, os, pathlib, shutil, socket, subprocess, tempfile, time
import pytest

ROOT, SOURCE = os.environ['ZEL_ROOT'], os.environ['ZEL_SOURCE']
BIN, CTRL_SOCKET = ROOT + '/usr/bin/', ROOT + '/tmp/log_daemon_ctrl.sock'
USER_CONF = ROOT + '/opt/usr/command_line_tool/conf/'
SYSTEM_CONF = ROOT + '/opt/platform/zel_platform/manual_service/command_line_tool/conf/'
ENV, SAMPLE = {**os.environ, 'TZ': 'UTC'}, SOURCE + '/samples/daemon-session.log'
# A build for another architecture: the emulator its programs run under (qemu-aarch64), its C compiler.
EMULATOR, CC = os.environ.get('ZEL_TEST_EMULATOR'), os.environ.get('ZEL_TEST_CC', 'cc')

def installed(name='zel-tool', argv0=None):
    """The start of a command line that runs the installed program name as argv0 (default: name, or its path
    without an emulator, where another argv0 needs Popen's executable=BIN + name). qemu's -0 passes argv0 on."""
    return [EMULATOR, '-0', argv0 or name, BIN + name] if EMULATOR else [argv0 or BIN + name]

def run(*words, name='zel-tool', argv0=None, env={}, timeout=20):
    """Runs the installed program as name: its status and standard output; nothing on standard error."""
    p = subprocess.run([*installed(name, argv0 or name), *words], executable=None if EMULATOR else BIN + name,
                       env={**ENV, **env}, capture_output=True, stdin=subprocess.DEVNULL, timeout=timeout)
    assert p.stderr == b''
    return p.returncode, p.stdout.decode('latin-1')

def expand(parts):
    """Expected output: a configuration file named in parts stands for its help, read here."""
    def help_of(path):
        with open(USER_CONF + path) as f:
            conf = json.load(f)
        return conf['app'] + ' usage: \n' + ''.join(f'\t{h}\n' for h in conf['help'])
    return ''.join(help_of(p) if p.endswith('.json') else p for p in parts)

def wait_for(done, timeout=60):
    """Polls until done() holds once (a state that comes and goes, as a thread's wait, counts);
    the time limit is only a guard against a hang."""
    end = time.monotonic() + timeout
    while not done():
        if time.monotonic() >= end:
            return False
        time.sleep(0.01)
    return True

@pytest.fixture(autouse=True)
def shipped_conf():
    """Every test starts from the shipped configuration alone."""
    shutil.rmtree(SYSTEM_CONF, ignore_errors=True)
    shutil.rmtree(USER_CONF, ignore_errors=True)
    shutil.copytree(SOURCE + '/conf', USER_CONF)

def sample(*words):
    """The records of the recorded sample session, and the lines the tool prints for them."""
    with open(SAMPLE, 'rb') as f:
        records = [b'DLT\x01' + r for r in f.read().split(b'DLT\x01')[1:]]
    return records, run('log-convert', *words, SAMPLE)[1].splitlines(keepends=True)

class Daemon:
    """A dlt-daemon of its own (directory, TCP port, control socket ctrl, by default in its
    directory); it stops every process started through it by its id."""
    def __init__(self, ctrl=None):
        self.dir, self.procs = tempfile.mkdtemp(prefix='zel-dlt-'), []
        self.env, ctrl = {'DLT_PIPE_DIR': self.dir}, ctrl or self.dir + '/ctrl.sock'
        with socket.socket() as s:
            s.bind(('127.0.0.1', 0))
            self.port = str(s.getsockname()[1])
        os.makedirs(os.path.dirname(ctrl), exist_ok=True)
        os.path.exists(ctrl) and os.remove(ctrl)
        with open(self.dir + '/dlt.conf', 'w') as f:
            f.write(f'ECUId = ECU1\nControlSocketPath = {ctrl}\nSharedMemorySize = 100000\nLoggingMode = 0\n'
                    'LoggingLevel = 5\n')
        with open(self.dir + '/daemon.out', 'wb') as out:  # the daemon has its own copy
            self.start('dlt-daemon', '-c', self.dir + '/dlt.conf', '-t', self.dir, '-p', self.port, out=out)
        assert wait_for(lambda: os.path.exists(self.dir + '/dlt') and os.path.exists(ctrl))
    def start(self, *argv, out=subprocess.DEVNULL):
        self.procs.append(subprocess.Popen(argv, env={**os.environ, **self.env}, stdout=out, stderr=subprocess.STDOUT))
        return self.procs[-1]
    def record(self, path):
        """Starts dlt-receive writing what the daemon forwards to path; returns it once connected."""
        recorder = self.start('dlt-receive', '-o', path, '-p', self.port, 'localhost')
        assert wait_for(lambda: os.path.exists(path) and b'Daemon launched' in pathlib.Path(path).read_bytes())
        return recorder
    def __enter__(self):
        return self
    def __exit__(self, *_):
        for p in reversed(self.procs):
            p.terminate()
            p.wait(5)
        shutil.rmtree(self.dir)

@pytest.fixture
def daemon():
    with Daemon() as d:
        yield d
