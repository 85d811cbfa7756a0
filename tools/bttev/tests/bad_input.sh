#!/bin/sh
# Every kind of bad input ends with a clear message, naming the file and line where there is
# one, and a non-zero exit; none crashes.
# Usage: bad_input.sh BTTEV BAD_DIR
bttev=$1
bad=$2
failed=0

# check EXPECTED_EXIT TEXT ARGS...: runs bttev --quiet ARGS, expects that exit status and TEXT in
# its error output. checkArgs does the same without --quiet.
check() {
  want=$1
  text=$2
  shift 2
  checkArgs "$want" "$text" --quiet "$@"
}

checkArgs() {
  want=$1
  text=$2
  shift 2
  err=$("$bttev" "$@" 2>&1 >/dev/null)
  got=$?
  if [ "$got" -ne "$want" ]; then
    echo "FAIL: bttev $*: exit $got, expected $want"
    echo "$err"
    failed=1
  elif ! printf '%s\n' "$err" | grep -qF -- "$text"; then
    echo "FAIL: bttev $*: no '$text' in:"
    echo "$err"
    failed=1
  fi
}

check 2 "cannot read the script $bad/missing.bttev" run "$bad/missing.bttev"
check 2 "unknown_command.bttev:3: unknown command 'frobnicate'" run "$bad/unknown_command.bttev"
check 2 "wrong_arity.bttev:2: usage: enable" run "$bad/wrong_arity.bttev"
check 2 "bad_expect.bttev:2: unknown callback 'opened_cb'" run "$bad/bad_expect.bttev"
check 1 "bad_value.bttev:4: conn_id must be a number, not 'first'" run "$bad/bad_value.bttev"
check 1 "unmet.bttev:4: expected bt.adapter_state_changed_cb state=off within 0.2s" run "$bad/unmet.bttev"
check 1 "wrong_status.bttev:3: enable returned 0 (success), expected 1 (fail)" run "$bad/wrong_status.bttev"
check 1 "unset_variable.bttev:3: \$conn is not set" run "$bad/unset_variable.bttev"
check 1 "null_length.bttev:4: the value: 'null:' needs a length like null:4, not 'null:x'" \
  run "$bad/null_length.bttev"
check 1 "host_send.bttev:2: OnLEDeviceFound: rssi= takes a number, not 'loud'" run "$bad/host_send.bttev"
check 1 "unknown_event.bttev:2: no BluetoothInstance event 'OnNothing'" run "$bad/unknown_event.bttev"
check 1 "wrong_text.bttev:2: dump returned \"BluetoothTev: Mojo bridge to Quarne OS\", expected \"x\"" \
  run "$bad/wrong_text.bttev"
check 1 "late_host.bttev:3: the host can be changed only while the adapter is not initialised" run "$bad/late_host.bttev"
check 1 "host_unmet.bttev:3: expected host EnableAdapter, but the host received no EnableAdapter" \
  run "$bad/host_unmet.bttev"
check 1 "cannot load $bad/none.so" --lib "$bad/none.so" run "$bad/unmet.bttev"
check 2 "world.json" --world "$bad/world.json" demo
check 2 "unknown option --fast" --fast demo
check 2 "--clock takes virtual or real" --clock slow run "$bad/unmet.bttev"
check 2 "run takes one script file" run
check 2 "unknown command 'replay'" replay

# The host daemon: its options, its world, and a socket it cannot use.
sock=${TMPDIR:-/tmp}/bttev_bad_input.$$.sock
fifo=${TMPDIR:-/tmp}/bttev_bad_input.$$.fifo
# A scratch file, not one of the sources: a daemon that wrongly took the path over would replace it.
plain=${TMPDIR:-/tmp}/bttev_bad_input.$$.plain
echo "not a socket" >"$plain"
daemon=
trap 'if [ -n "$daemon" ]; then kill -KILL "$daemon" 2>/dev/null; fi; rm -f "$sock" "$fifo" "$plain"' EXIT
checkArgs 2 "host needs --listen SOCKET" host
checkArgs 2 "--listen needs a socket path" host --listen
checkArgs 2 "host takes no argument but its options" host now --listen "$sock"
checkArgs 2 "host takes only --listen, --world and --clock" host --listen "$sock" --trace "$sock.json"
checkArgs 2 "--clock takes virtual or real" host --listen "$sock" --clock slow
checkArgs 2 "--listen is an option of 'bttev host'" --listen "$sock" demo
checkArgs 2 "cannot read the world file $bad/none.json" host --listen "$sock" --world "$bad/none.json"
checkArgs 2 "world.json" host --listen "$sock" --world "$bad/world.json"
checkArgs 2 "cannot bind $bad/none/bttev.sock: No such file or directory" host --listen "$bad/none/bttev.sock"
checkArgs 2 "a socket path must have 1 to 107 characters" host --listen "/tmp/$(printf '%0120d' 0)"
checkArgs 2 "$plain exists and is not a socket" host --listen "$plain"
check 2 "with --connect the world and the clock are the daemon's" --connect "$sock" --clock virtual run "$bad/unmet.bttev"
check 1 "cannot connect to $sock" --connect "$sock" run "$bad/unmet.bttev"

# A live daemon's socket is not taken over; what needs a host in the driver's process says so.
mkfifo "$fifo"
"$bttev" host --listen "$sock" >"$fifo" &
daemon=$!
read -r ready <"$fifo"
if [ "$ready" != "bttev host: listening at $sock" ]; then
  echo "FAIL: bttev host: '$ready'"
  failed=1
fi
checkArgs 2 "a host already listens at $sock" host --listen "$sock"
check 1 "host_send.bttev:2: 'host send' works only on a host in this process" --connect "$sock" run "$bad/host_send.bttev"
kill -TERM "$daemon"
wait "$daemon"
got=$?
daemon=
if [ "$got" -ne 0 ] || [ -e "$sock" ]; then
  echo "FAIL: bttev host: exit $got after SIGTERM, socket left: $([ -e "$sock" ] && echo yes || echo no)"
  failed=1
fi

# The shell reports a bad line and goes on; the session's result counts it.
out=$(printf 'help client\nfrobnicate\ninit\nquit\n' | "$bttev" --quiet shell 2>/tmp/bttev_shell_err.$$)
got=$?
err=$(cat /tmp/bttev_shell_err.$$)
rm -f /tmp/bttev_shell_err.$$
if [ "$got" -ne 1 ] || ! printf '%s\n' "$err" | grep -qF "shell:2: unknown command 'frobnicate'" ||
   ! printf '%s\n' "$out" | grep -qF "client read CONN_ID HANDLE"; then
  echo "FAIL: shell: exit $got"
  echo "$out"
  echo "$err"
  failed=1
fi

exit $failed
