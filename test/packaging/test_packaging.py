"""The manual page and the bash completion of the installed tree, and the Debian package run
in a throwaway root."""
import json, os, re, subprocess
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

def test_package_installs_and_runs_in_a_throwaway_root(tmp_path):
    (deb,) = Path(os.environ["ZEL_TEST_DEB_DIR"]).glob("zel-tool_*.deb")
    assert run("dpkg-deb", "-f", deb, "Version").strip() == VERSION
    assert re.search(r"libdlt2 .*libstdc\+\+6 ", run("dpkg-deb", "-f", deb, "Depends"))
    shipped = sorted(str(p.relative_to(SOURCE / "conf")) for p in SOURCE.glob("conf/*/*.json"))
    assert run("dpkg-deb", "-I", deb, "conffiles").split() == ["/etc/zel-tool/conf/" + p for p in shipped]

    root = tmp_path / "root"
    run("dpkg-deb", "-x", deb, root)
    for name in ("zel-tool", "zel-dbg", "log-control", "log-convert"):
        assert (root / "usr/share/man/man1" / f"{name}.1.gz").is_file()
        assert (root / "usr/share/bash-completion/completions" / name).is_file()
    # A pattern added to the configuration is completed as it stands.
    conf = root / "etc/zel-tool/conf/zel-tool/log-control.json"
    content = json.loads(conf.read_text())
    content["command"].append("log-control reset {now | later} <from to> [all]")
    conf.write_text(json.dumps(content))

    # The package's tree as root, with the machine's libraries and its programs in /host.
    sandbox = ["bwrap", "--bind", root, "/", "--ro-bind", "/usr/bin", "/host", "--ro-bind", SOURCE / "samples",
               "/samples", "--proc", "/proc", "--dev", "/dev", "--tmpfs", "/tmp", "--clearenv", "--setenv", "PATH",
               "/usr/bin:/host"]
    for lib in ("lib", "lib64"):
        if Path("/usr", lib).is_dir():
            (root / lib).symlink_to(f"usr/{lib}")
            sandbox += ["--ro-bind", f"/usr/{lib}", f"/usr/{lib}"]
    assert run(*sandbox, "zel-tool", "-v") == f"command line tool version {VERSION}\n"
    assert sorted(run(*sandbox, "zel-tool", "-l").split("\n")[1:]) == ["", "\tlog-control", "\tlog-convert"]
    sample = run(BIN / "zel-tool", "log-convert", SOURCE / "samples/daemon-session.log")
    assert run(*sandbox, "log-convert", "/samples/daemon-session.log") == sample
    completion = "/usr/share/bash-completion/completions/log-control"
    assert complete(completion, "log-control reset ", *sandbox) == ["later", "now"]
    assert complete(completion, "log-control reset later 1 2 ", *sandbox) == ["all"]
