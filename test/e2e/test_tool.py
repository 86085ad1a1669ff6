"""The installed zel-tool and zel-dbg: standard output and exit status of the command forms,
the configuration lookup and refused configuration files, and the tool's own logger."""
import json, os, pathlib, re, shutil, subprocess
import pytest
from conftest import BIN, SAMPLE, SOURCE, SYSTEM_CONF, USER_CONF, expand, installed, run, wait_for

CLT, LC, LV = 'clt_plugin/clt.json', 'zel-tool/log-control.json', 'zel-tool/log-convert.json'
VERSION, NOT = 'command line tool version 1.0.0\n', 'Error, input cmd not support!\n'
WRONG = 'error, command is wrong \n'
NUM, MISSING = 'error, num can not convert to be int\n', 'error, file path: none.log is not exist\n'

@pytest.mark.parametrize('name, words, status, out', [
    ('zel-tool', [], 255, ['Error, input parameter was empty!\n', CLT]),
    ('zel-tool', ['help'], 0, [CLT]),
    ('zel-tool', ['help', 'x'], 255, [NOT, CLT]),
    ('zel-tool', ['-h'], 0, [CLT]),
    ('zel-tool', ['-v'], 0, [VERSION]),
    ('zel-tool', ['-x'], 255, [NOT, CLT]),
    ('zel-tool', ['-v', '1234'], 255, [NOT, CLT]),
    ('zel-tool', ['-v', 'x' * 65523], 255, [NOT, CLT]),  # the logger cuts what it hands to libdlt
    ('zel-tool', ['-v'] + ['x'] * 100000, 255, [NOT, CLT]),
    ('zel-tool', ['log-control', 'help'], 0, [LC]),
    ('zel-tool', ['log-convert', 'help'], 0, [LV]),  # the built-in help, though a pattern takes it too
    ('zel-tool', ['clt', 'help'], 0, [CLT]),
    ('zel-tool', ['foo', 'help'], 255, [NOT, CLT]),
    ('zel-tool', ['log-control', 'Help'], 255, [NOT, LC]),
    ('zel-tool', ['log-convert'], 255, [NOT, LV]),
    ('zel-tool', ['log-convert', 'datatime', 'manatime', 'x.log'], 255, [NOT, LV]),
    ('zel-tool', ['log-convert', 'none.log'], 0, [MISSING, LV]),
    ('zel-tool', ['log-convert', 'datatime', 'continue', '5', 'none.log'], 0, [MISSING, LV]),
    ('zel-tool', ['log-convert', 'continue', 'abc', 'x.log'], 0, [NUM, WRONG, LV]),
    ('zel-tool', ['log-convert', ''], 0, [WRONG, LV]),
    ('log-control', ['help'], 0, [LC]),  # a link named after a plug-in
    ('zel-dbg', ['-v'], 0, [VERSION]),
    ('zel-dbg', ['-v', '1234'], 0, [VERSION]),
    ('zel-dbg', ['-v', 'x'], 255, [NOT, CLT]),
    ('zel-dbg', ['log-control', 'help'], 0, ['zel-dbg/log-control.json']),
    ('zel-dbg', ['log-convert', 'none.log'], 0, [WRONG, 'zel-dbg/log-convert.json']),  # given "0" as process id
])
def test_command_forms(name, words, status, out):
    assert run(*words, name=name) == (status, expand(out))

def test_started_by_path():
    assert run('help', name='log-control', argv0=BIN + 'log-control') == (255, expand([NOT, CLT]))
    assert run('-v', argv0=BIN + 'zel-tool') == run('-v', argv0='./zel-tool') == (0, VERSION)

def test_listings():
    with open(USER_CONF + 'zel-tool/mcu.json', 'w') as f:  # the MCU's plug-in is never listed
        json.dump({'app': 'mcu', 'command': ['mcu x'], 'help': []}, f)
    def patterns(name):
        with open(USER_CONF + f'zel-tool/{name}.json') as f:
            conf = json.load(f)
        return conf['app'] + ':\n' + ''.join(f'\t{c}\n' for c in conf['command']) + '\n'
    names = [n[:-5] for n in os.listdir(USER_CONF + 'zel-tool') if n.endswith('.json')]
    listed = 'command line tool support plugin: \n' + ''.join(f'\t{n}\n' for n in names if n != 'mcu')
    assert run('-l') == run('--list') == (0, listed)
    assert run('-a') == run('--all') == (0, ''.join(patterns(n) for n in names if n != 'mcu'))
    for n in names:
        os.remove(USER_CONF + f'zel-tool/{n}.json')
    assert run('-l') == (0, 'command line tool support plugin: \n')
    assert run('-a') == (0, '')

OPEN, KEYS = 'log-control plugin config open failed\n', 'config keys error!\n'

@pytest.mark.parametrize('text, out', [
    ('{"app": "log-control", "command": [', OPEN),
    ('["app", "command", "help"]', OPEN),
    ('{"app": "x", "command": [], "help": [], "help": []}', OPEN),
    ('{"command": ["log-control"], "app": "log-control", "help": []}', KEYS),
    ('{"app": "log-control", "command": ["log-control"], "help": [], "extra": []}', KEYS),
    ('{"app": "log-control", "command": ["log-control"]}', KEYS),
    ('{"app": "log-control", "command": "log-control", "help": []}'.ljust(4097), ''),  # read in two pieces
    ('{"app": "log-control", "command": ["log-control", 5], "help": []}', ''),
    ('{"app": "log-control", "command": [], "help": {}}', ''),
    ('', OPEN),
    (os.mkdir, OPEN),
    (os.mkfifo, OPEN),  # and no wait for a writer
    (lambda path: os.symlink(path + '.gone', path), OPEN),
])
def test_refused_configuration(text, out):
    os.remove(USER_CONF + LC)
    if callable(text):
        text(USER_CONF + LC)
    else:
        with open(USER_CONF + LC, 'w') as f:
            f.write(text)
    assert run('log-control', 'help', timeout=5) == (255, out + 'load log-control plugin fail\n')
    assert run('log-control', timeout=5) == (255, out)
    assert run('-a', timeout=5) == (255, out)  # -a stops at the broken file, printing nothing of its own

def test_configuration_directories():
    shutil.rmtree(USER_CONF)
    assert run('-v') == (255, 'clt plugin config open failed\n')
    assert run() == (255, 'Error, input parameter was empty!\nclt plugin config open failed\nload clt plugin fail\n')
    assert run('help') == (0, 'clt plugin config open failed\nload clt plugin fail\n')
    assert run('log-control', 'help') == (255, OPEN + 'load log-control plugin fail\n')
    assert run('log-control', 'level', 'warn') == (255, OPEN)
    shutil.copytree(SOURCE + '/conf', USER_CONF)
    os.makedirs(SYSTEM_CONF + 'zel-dbg')  # the system directory, once there, takes every lookup
    assert run('-v') == (255, 'clt plugin config open failed\n')
    shutil.copytree(USER_CONF + 'clt_plugin', SYSTEM_CONF + 'clt_plugin')
    assert run('-v') == run('-v', name='zel-dbg') == (0, VERSION)  # whatever the tool name
    assert run('-l') == (0, f'command line tool support plugin: \nOpen conf dir {SYSTEM_CONF} failed\n')
    with open(SYSTEM_CONF + 'zel-dbg/log-control.json', 'w') as f:
        json.dump({'app': 'from-system', 'command': [], 'help': []}, f)
    assert run('log-control', 'help', name='zel-dbg') == (0, 'from-system usage: \n')

def test_logger_reaches_a_running_daemon(daemon):
    recording = daemon.dir + '/record.dlt'
    recorder = daemon.record(recording)
    missing = 'error, file path: x y.log is not exist\n'
    assert run('log-convert', 'x y.log', env=daemon.env) == (0, expand([missing, LV]))
    # the daemon notes the tool's leaving after the tool's last record
    assert wait_for(lambda: b"Unregistered ApID 'CLT'" in pathlib.Path(recording).read_bytes())
    recorder.terminate()
    recorder.wait(5)
    text = subprocess.run(['dlt-convert', '-a', recording], capture_output=True, text=True).stdout
    # counter, ECU, ids, level and arguments: file, ":", line (# here), " ", function, ":", message (and the line)
    assert [re.sub(r' : \d+   ', ' : # ', r.split(None, 4)[4]) for r in text.splitlines() if ' CLT- ' in r] == [
        f'{i:03} ECU1 CLT- clt- log debug V {7 + (i == 0)} [{m}]' for i, m in enumerate([
            'main.cpp : # main : execute command: zel-tool log-convert x y.log',
            'cmd_line_tool.cpp : # Run : Check succ, exec cmd ',
            'cmd_line_tool.cpp : # StopTaskThread : Process normal exit success',
            'cmd_line_tool.cpp : # StopThread : stop thread success', 'cmd_line_tool.cpp : # Run : Exec cmd succ'])]

def test_silent_without_daemon():
    # libdlt would wait 10 s at exit to hand its buffer to a daemon: the hang guard is shorter
    assert run('-v', env={'DLT_PIPE_DIR': '/nonexistent'}, timeout=5) == (0, VERSION)

@pytest.fixture
def full_disk(tmp_path):
    """A file on a small file system that is already full."""
    (mount := tmp_path / 'full').mkdir()
    if subprocess.run(['mount', '-t', 'tmpfs', '-o', 'size=64k', 'tmpfs', mount], capture_output=True).returncode:
        pytest.skip('no tmpfs can be mounted here')
    (mount / 'filler').write_bytes(b'x' * 65536)
    yield mount / 'out'
    subprocess.run(['umount', mount], check=True)

@pytest.mark.parametrize('words', [['-v'], ['-l'], ['-a'], ['help'], ['log-control', 'level', 'warn'],
                                   ['log-convert', SAMPLE], ['log-convert', 'continue', SAMPLE]])  # no follow
@pytest.mark.parametrize('out, error', [('/dev/full', 'No space left on device'),
                                        ('full disk', 'No space left on device'),
                                        (None, 'Bad file descriptor')])  # None: standard output closed
def test_a_failed_write_is_reported(request, words, out, error):
    path = request.getfixturevalue('full_disk') if out == 'full disk' else out
    with open(path or '/dev/null', 'wb') as f:
        p = subprocess.run([*installed(), *words], stdout=f, stderr=subprocess.PIPE, timeout=20,
                           preexec_fn=None if path else lambda: os.close(1))
    assert (p.returncode, p.stderr.decode()) == (255, f'zel-tool: write error: {error}\n')
