"""The manual page and the bash completion of the installed tree, and the Debian package run
in a throwaway root: a package for another architecture (arm64) under qemu-user."""
import json, os, re, shutil, subprocess
from pathlib import Path
import pytest

BIN = Path(os.environ["ZEL_TEST_BIN_DIR"])
SHARE = BIN.parent / "share"
SOURCE = Path(os.environ["ZEL_SOURCE_DIR"])
VERSION = re.search(r"project\(zel-tool VERSION ([\d.]+)", (SOURCE / "CMakeLists.txt").read_text())[1]

# Sets the completion variables for a command line ending at the cursor, calls the function
# registered for the command and prints the candidates.
COMPLETE = r"""source "$0"; line=$1
read -ra COMP_WORDS <<<"$line"; [[ $line == *' ' ]] && COMP_WORDS+=('')
COMP_CWORD=$((${#COMP_WORDS[@]} - 1)) COMP_LINE=$line COMP_POINT=${#line}
read -r _ _ function _ < <(complete -p "${COMP_WORDS[0]##*/}")
"$function"; printf '%s\n' "${COMPREPLY[@]}"
"""

def run(*args, **kwargs):
    return subprocess.run(args, capture_output=True, text=True, check=True, **kwargs).stdout

def complete(script, line, *sandbox, **kwargs):
    return sorted(run(*sandbox, "bash", "-c", COMPLETE, script, line, **kwargs).split())

def test_manual_page_is_clean_and_names_every_configured_word():
    page = SHARE / "man/man1/zel-tool.1.gz"
    lint = subprocess.run(["mandoc", "-T", "lint", page], capture_output=True, text=True)
    assert lint.stdout + lint.stderr == ""
    text = re.sub(".\b", "", run("mandoc", "-T", "ascii", "-O", "width=200", page))
    words = set()
    for conf in SOURCE.glob("conf/*/*.json"):
        for pattern in json.loads(conf.read_text())["command"]:
            words.update(re.sub(r"<[^>]*>|[][{}|]", " ", pattern).split())
    assert {"log-convert", "datatime", "--version"} <= words
    assert [w for w in sorted(words) if not re.search(rf"(?<![\w-]){re.escape(w)}(?![\w-])", text)] == []

FILES = "a.log b.log.gz sub"

@pytest.mark.parametrize("line, expected", [
    ("zel-tool ", "-a --all -h --help -l --list log-control log-convert -v --version"),
    ("zel-tool log-c", "log-control log-convert"),
    ("zel-tool log-control ", "appid ctxid help level"),
    ("zel-tool log-control appid ", ""),
    ("zel-tool log-control appid LOG l", "level"),
    ("zel-tool log-control appid LOG level info appid X ", "appid ctxid level"),
    ("zel-tool log-control appid A level b appid C ctxid D level e level f ", ""),
    ("zel-tool log-convert ", "continue datatime help manatime " + FILES),
    ("zel-tool log-convert manatime ", "continue " + FILES),
    ("zel-tool log-convert continue 5 b", "b.log.gz"),
    ("zel-tool log-convert a.log ", ""),
    ("log-convert d", "datatime"),
    ("zel-dbg log-convert datatime c", "continue"),
])
def test_completion_offers_the_next_words_of_the_patterns(line, expected, tmp_path):
    for name in ("a.log", "b.log.gz", "c.txt", "d.log.1"):
        (tmp_path / name).touch()
    (tmp_path / "sub").mkdir()
    env = dict(os.environ, PATH=f"{BIN}:{os.environ['PATH']}")
    script = SHARE / "bash-completion/completions" / line.split()[0]
    assert complete(script, line, cwd=tmp_path, env=env) == sorted(expected.split())

# What the user has where the package puts its link to /etc/zel-tool/conf: file -> content (None: the
# shipped file; ADDED: the shipped log-control.json with a pattern added).
ADDED = "log-control reset {now | later} <from to> [all]"
LEFTOVER = {"clt_plugin/clt.json": None, "zel-tool/log-control.json": ADDED, "zel-tool/broken.json": "{"}

@pytest.mark.parametrize("old_conf, kept, plugins", [
    # Nothing: the pattern is added to the installed file afterwards.
    ({}, [], ["log-control", "log-convert"]),
    # A directory (left by cmake --install, say): its files move to /etc, an edited shipped file is
    # kept with the shipped one beside it, an unchanged one is dropped; completion survives the broken file.
    (LEFTOVER, ["zel-tool/log-control.json"], ["broken", "log-control", "log-convert"]),
])
def test_package_installs_runs_and_purges_in_a_throwaway_root(old_conf, kept, plugins, tmp_path):
    (deb,) = Path(os.environ["ZEL_TEST_DEB_DIR"]).glob("zel-tool_*.deb")
    assert run("dpkg-deb", "-f", deb, "Version").strip() == VERSION
    depends = [d.split()[0] for d in run("dpkg-deb", "-f", deb, "Depends").split(",")]
    assert {"libdlt2", "libstdc++6"} <= set(depends)
    shipped = sorted(str(p.relative_to(SOURCE / "conf")) for p in SOURCE.glob("conf/*/*.json"))
    assert run("dpkg-deb", "-I", deb, "conffiles").split() == ["/etc/zel-tool/conf/" + p for p in shipped]

    # A root for dpkg: the machine's records of base-files (which owns /etc, /usr, ...) and of the
    # dependencies, base-files' directories, the machine's libraries and its programs in /host.
    root, etc = tmp_path / "root", tmp_path / "root/etc/zel-tool/conf"
    admin = root / "var/lib/dpkg"
    for d in ("var/lib/dpkg/info", "var/lib/dpkg/updates", "bin", "host", "sbin", "deb", "samples", "proc", "dev",
              "tmp"):
        (root / d).mkdir(parents=True)
    (root / "bin/sh").symlink_to("/host/sh")
    arch, native = run("dpkg-deb", "-f", deb, "Architecture").strip(), run("dpkg", "--print-architecture").strip()
    names = [f"base-files:{native}", *(f"{name}:{arch}" for name in depends)]  # the machine may have several
    (admin / "status").write_text(run("dpkg-query", "-s", *names))
    (admin / "arch").write_text(f"{native}\n{arch}\n")
    # A program installed for another architecture runs under qemu-user, named as installed.
    cpu = run("dpkg-architecture", "-a", arch, "-qDEB_HOST_GNU_CPU").strip()
    tool = lambda name: [name] if arch == native else [f"qemu-{cpu}", "-0", name, f"/usr/bin/{name}"]
    for name in run("dpkg-query", "-W", "-f", "${binary:Package}\n", *names).split():
        files = Path(f"/var/lib/dpkg/info/{name}.list")
        shutil.copy(files, admin / "info")
        for line in files.read_text().splitlines() if name == "base-files" else []:
            if Path(line).is_dir() and not Path(line).is_symlink():
                (root / line[1:]).mkdir(parents=True, exist_ok=True)
    sandbox = ["bwrap", "--bind", root, "/", "--ro-bind", "/usr/bin", "/host", "--ro-bind", "/usr/sbin", "/sbin",
               "--ro-bind", deb.parent, "/deb", "--ro-bind", SOURCE / "samples", "/samples", "--proc", "/proc",
               "--dev", "/dev", "--tmpfs", "/tmp", "--clearenv", "--setenv", "PATH", "/usr/bin:/host:/sbin"]
    for lib in ("lib", "lib64"):
        if Path("/usr", lib).is_dir():
            (root / lib).symlink_to(f"usr/{lib}")
            (root / "usr" / lib).mkdir(parents=True, exist_ok=True)
            sandbox += ["--ro-bind", f"/usr/{lib}", f"/usr/{lib}"]
    tree = lambda: {p for p in root.rglob("*") if admin not in p.parents}
    before = tree()

    def dpkg(*args):
        done = subprocess.run([*sandbox, "dpkg", *args], capture_output=True, text=True)
        assert done.returncode == 0, done.stderr
        return done.stderr

    edited = json.loads((SOURCE / "conf/zel-tool/log-control.json").read_text())
    edited["command"].append(ADDED)
    for name, content in old_conf.items():
        path = root / "opt/usr/command_line_tool/conf" / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(json.dumps(edited) if content == ADDED else content or (SOURCE / "conf" / name).read_text())
    assert dpkg("-i", f"/deb/{deb.name}") == "".join(
        f"zel-tool: kept your /opt/usr/command_line_tool/conf/{f} as /etc/zel-tool/conf/{f}; "
        f"the shipped version is /etc/zel-tool/conf/{f}.dpkg-dist\n" for f in kept)
    assert os.readlink(root / "opt/usr/command_line_tool/conf") == "/etc/zel-tool/conf"
    for f in kept:
        assert (etc / f"{f}.dpkg-dist").read_text() == (SOURCE / "conf" / f).read_text()
    if not old_conf:
        (etc / "zel-tool/log-control.json").write_text(json.dumps(edited))

    for name in ("zel-tool", "zel-dbg", "log-control", "log-convert"):
        assert (root / "usr/share/man/man1" / f"{name}.1.gz").is_file()
        assert (root / "usr/share/bash-completion/completions" / name).is_file()
    assert sorted(run(*sandbox, *tool("zel-tool"), "-l").split("\n")[1:]) == ["", *("\t" + p for p in plugins)]
    # The build's tree (x86-64) reading the installed configuration, bound over its own, prints the same.
    build_tree = ["bwrap", "--dev-bind", "/", "/", "--setenv", "PATH", BIN,
                  "--ro-bind", etc, BIN.parent.parent / "opt/usr/command_line_tool/conf"]
    for name, *words in (("zel-tool", "-v"), ("zel-tool", "-l"), ("zel-tool", "-a"), ("log-control", "help")):
        installed = subprocess.run([*sandbox, *tool(name), *words], capture_output=True, text=True)
        expected = subprocess.run([*build_tree, name, *words], capture_output=True, text=True)
        assert (installed.returncode, installed.stdout) == (expected.returncode, expected.stdout)
    sample = run(BIN / "zel-tool", "log-convert", SOURCE / "samples/daemon-session.log")
    assert run(*sandbox, *tool("log-convert"), "/samples/daemon-session.log") == sample
    completion = "/usr/share/bash-completion/completions/log-control"
    assert complete(completion, "log-control reset ", *sandbox) == ["later", "now"]
    assert complete(completion, "log-control reset later 1 2 ", *sandbox) == ["all"]

    # Purge leaves the root as it was before the user's directory, and dpkg warns about nothing.
    assert dpkg("--purge", "zel-tool") == ""
    assert tree() == before
