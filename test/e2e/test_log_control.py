"""log-control run as the installed tool: the exact requests that reach stand-ins for the log
daemon's control socket and the MCU, and a real dlt-daemon applying them."""
import json, os, pathlib, re, select, socket, struct
import pytest
from conftest import CTRL_SOCKET, USER_CONF, Daemon, expand, run, wait_for

LC, NOT = 'zel-tool/log-control.json', 'Error, input cmd not support!\n'
NO_DAEMON = 'fail to create connection with log_daemon \nfail to send local log level \n'
NOT_SENT = 'fail to send buffer to log_daemon\nfail to send local log level \n'
SOC, MCU = ('127.0.0.1', int(os.environ['ZEL_SOC_PORT'])), ('127.0.0.1', int(os.environ['ZEL_MCU_PORT']))

def request(payload):
    body = b'CLT\0\x16\x01CLT\0clt\0' + payload + b'remo'
    return b'\x25\0' + struct.pack('>H', 4 + len(body)) + body

def set_level(app, ctx, level):
    return request(b'\x01\0\0\0' + app.ljust(4, b'\0') + ctx.ljust(4, b'\0') + bytes([level]))

def default(level):
    return request(b'\x11\0\0\0' + bytes([level]))

@pytest.fixture
def ends():
    """Stand-ins for the daemon's control socket and the MCU; received() gives what each
    connection to the socket sent and the datagrams to the MCU."""
    os.makedirs(os.path.dirname(CTRL_SOCKET), exist_ok=True)
    os.path.exists(CTRL_SOCKET) and os.remove(CTRL_SOCKET)
    with socket.socket(socket.AF_UNIX) as daemon, socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as mcu:
        daemon.bind(CTRL_SOCKET)
        daemon.listen(8)
        mcu.bind(MCU)
        def received():
            got, datagrams = [], []
            while select.select([daemon], [], [], 0)[0]:
                conn = daemon.accept()[0]
                got.append(b''.join(iter(lambda: conn.recv(4096), b'')))
                conn.close()
            while select.select([mcu], [], [], 0)[0]:
                datagrams.append(mcu.recv(65536))
            return got, datagrams
        yield received
    os.path.exists(CTRL_SOCKET) and os.remove(CTRL_SOCKET)

@pytest.mark.parametrize('name, words, status, out, to_daemon, to_mcu', [
    ('zel-tool', ['level', 'warn'], 0, [], [default(3)],
     [bytes.fromhex('2500001b434c54001601434c5400636c7400110000000372656d6f')]),
    ('zel-tool', [], 0, [], [default(4)], [default(4)]),
    ('zel-tool', ['appid', 'LOG', 'ctxid', 'TEST', 'level', 'verbose'], 0, [], [set_level(b'LOG', b'TEST', 6)], []),
    ('zel-tool', ['ctxid', 'TS', 'appid', 'APPLICATION'], 0, [], [set_level(b'APPL', b'TS', 4)], []),
    ('zel-tool', ['appid', 'LOG'], 0, [], [set_level(b'LOG', b'', 4)], []),
    ('zel-tool', ['ctxid', 'TESTING', 'level', 'off'], 0, [], [set_level(b'', b'TEST', 0)], []),
    ('zel-tool', ['appid', '', 'ctxid', 'TS1', 'level', 'fatal'], 0, [NOT_SENT], [], []),  # "" would read as "*"
    ('zel-tool', ['appid', 'LOG', 'ctxid', ''], 0, [NOT_SENT], [], []),
    ('zel-tool', ['level', 'Debug'], 0, ['error, the input parameter level: Debug\n', LC], [], []),
    ('zel-tool', ['appid', 'LOG', 'level', 'loud'], 0, ['error, the input parameter level: loud\n', LC], [], []),
    ('zel-tool', ['app', 'LOG'], 255, [NOT, LC], [], []),
    ('zel-tool', ['level'], 255, [NOT, LC], [], []),
    ('zel-tool', 'level warn appid A ctxid B level off appid CC ctxid D'.split(), 0, [],
     [set_level(b'CC', b'D', 0)], []),
    ('zel-dbg', ['level', 'warn'], 0, ['zel-dbg/log-control.json'], [], []),  # "0", the process id, lacks a value
])
def test_requests(ends, name, words, status, out, to_daemon, to_mcu):
    assert run('log-control', *words, name=name) == (status, expand(out))
    assert ends() == (to_daemon, to_mcu)

def test_words_it_has_no_use_for(ends):  # let through by a configuration the user edited
    with open(USER_CONF + LC, 'w') as f:
        json.dump({'app': 'log-control', 'command': ['log-control Level <level>'], 'help': []}, f)
    assert run('log-control', 'Level', 'warn') == (0, 'log-control usage: \n')
    assert ends() == ([], [])

def stuck():
    """A daemon that accepts nothing: its queue of pending connections is full."""
    os.remove(CTRL_SOCKET)
    listener = socket.socket(socket.AF_UNIX)
    listener.bind(CTRL_SOCKET)
    listener.listen(0)
    held = [listener]
    while True:  # connects until one would have to wait
        held.append(socket.socket(socket.AF_UNIX))
        held[-1].setblocking(False)
        if held[-1].connect_ex(CTRL_SOCKET):
            return held

@pytest.mark.parametrize('daemon', [lambda: os.remove(CTRL_SOCKET) or [], stuck])
def test_no_daemon(ends, daemon):
    held = daemon()
    assert run('log-control', 'level', 'error') == run('log-control', 'appid', 'X') == (0, NO_DAEMON)
    assert ends() == ([], [default(2)])
    for s in held:
        s.close()

def test_unreachable_mcu(ends):
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as squatter:  # on the SoC's port
        squatter.bind(SOC)
        assert run('log-control', 'level', 'fatal') == (
            0, 'fail to create connection with MCU \nfail to send MCU log level \n')
    assert ends() == ([default(1)], [])

def test_real_daemon_applies_the_levels():
    with Daemon(CTRL_SOCKET) as daemon, socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as mcu:
        mcu.bind(MCU)
        def sent():  # what the daemon has told its contexts: level [old -> new], trace status
            log = pathlib.Path(daemon.dir, 'daemon.out').read_text(encoding='latin-1')
            return re.findall(r'Send log-level to context: (.*)', log)
        daemon.start('/usr/lib/libdlt-examples/dlt-example-user', '-n', '100000', '-d', '100', 'hello')
        assert wait_for(lambda: len(sent()) == 3)  # the three contexts registered
        told = [f'LOG:{c} [-1 -> 4] [-1 -> 0]' for c in ('TEST', 'TS1', 'TS2')]
        following_the_default = ['TEST [-1 -> 3]', 'TS1 [-1 -> 3]', 'TS2 [-1 -> 3]']
        for words, applied in [(['level', 'warn'], following_the_default),
                               (['appid', 'LOG', 'ctxid', 'TEST', 'level', 'verbose'], ['TEST [6 -> 6]']),
                               (['appid', 'LOG', 'level', 'debug'], ['TEST [5 -> 5]', 'TS1 [5 -> 5]', 'TS2 [5 -> 5]'])]:
            assert run('log-control', *words) == (0, '')
            told += [f'LOG:{c} [-1 -> 0]' for c in applied]
            assert wait_for(lambda: len(sent()) >= len(told)) and sent() == told
        assert mcu.recv(100) == default(3)
