#!/bin/sh
# Every kind of bad input ends with a clear message, naming the file and line where there is
# one, and a non-zero exit; none crashes.
# Usage: bad_input.sh BTTEV BAD_DIR
bttev=$1
bad=$2
failed=0

# check EXPECTED_EXIT TEXT ARGS...: runs bttev ARGS, expects that exit status and TEXT in its
# error output.
check() {
  want=$1
  text=$2
  shift 2
  err=$("$bttev" --quiet "$@" 2>&1 >/dev/null)
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
