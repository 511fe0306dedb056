#!/usr/bin/env bash
# Shows a whole session over TCP, with the virtual controller on loopback: examples/first_session.cpp, and the same in
# Python, examples/first_session.py.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
scripts/build.sh release virtual_controller_program first_session _kyt_host

bin=build/release/bin
log=$(mktemp)
controller=
session=

clean_up() {
  # shellcheck disable=SC2086  # none, one or two ids
  kill $controller $session 2>/dev/null || true
  wait
  rm -f "$log"
}
trap clean_up EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

# start_controller PORT: 0 lets the system choose; the port is then in $port.
start_controller() {
  : >"$log"
  "$bin/virtual_controller" --host 127.0.0.1 --port "$1" --servo-port 0 --file-port 0 >"$log" &
  controller=$!
  until port=$(sed -n 's/^virtual controller: listening on 127\.0\.0\.1:\([0-9]*\),.*/\1/p' "$log") && [[ $port ]]; do
    kill -0 "$controller" || exit 1
    sleep 0.05
  done
}

restart_controller() {
  kill "$controller"
  wait "$controller"
  start_controller "$port"
}

# run_session PROGRAM...: it says when it wants something to happen at the controller.
run_session() {
  exec {lines}< <(exec "$@" 127.0.0.1 "$port")
  session=$!
  while IFS= read -r line <&"$lines"; do
    echo "$line"
    case $line in
      *"waiting for an error from the controller"*) kill -USR1 "$controller" ;;
      *"waiting for the controller to restart"*) restart_controller ;;
    esac
  done
  exec {lines}<&-
  wait "$session"
  session=
}

start_controller 0
run_session stdbuf -oL "$bin/first_session"
echo
PYTHONPATH=build/release/python run_session python3 -u examples/first_session.py
