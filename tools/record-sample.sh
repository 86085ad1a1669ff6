#!/usr/bin/env bash
# Records samples/daemon-session.log: a private DLT daemon, dlt-receive writing what it
# forwards, and dlt-example-user logging in verbose and non-verbose mode. Needs the Debian
# packages dlt-daemon, dlt-tools and libdlt-examples.
set -euo pipefail
cd "$(dirname "$0")/.."
work=$(mktemp -d)
# Stops what has been started so far, also on a Ctrl-C before both processes are running.
pids=()
trap 'kill "${pids[@]}" 2>/dev/null || true; rm -rf "$work"' EXIT

printf 'ECUId = ECU1\nControlSocketPath = %s/ctrl.sock\nSharedMemorySize = 100000\n' "$work" >"$work/dlt.conf"
dlt-daemon -c "$work/dlt.conf" -t "$work" -p 13579 >/dev/null 2>&1 &
pids+=($!)
sleep 0.5
dlt-receive -o "$work/session.dlt" -p 13579 localhost >/dev/null 2>&1 &
receiver=$!
pids+=("$receiver")
sleep 0.5
export DLT_PIPE_DIR="$work"
/usr/lib/libdlt-examples/dlt-example-user -n 8 -d 100 "hello from the sample" >/dev/null
/usr/lib/libdlt-examples/dlt-example-user -g -n 4 -d 100 "non-verbose sample" >/dev/null
sleep 1
kill "$receiver"
wait "$receiver" 2>/dev/null || true
cp "$work/session.dlt" samples/daemon-session.log
echo "wrote samples/daemon-session.log ($(stat -c %s samples/daemon-session.log) bytes)"
