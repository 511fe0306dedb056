#!/usr/bin/env bash
# Shows whole sessions over TCP, with the virtual controller on loopback: examples/first_session.cpp, the same in Python,
# examples/first_session.py, and one in C, examples/first_session.c; then examples/moving_robot.cpp and
# examples/programs_and_io.cpp. What they write (a picture of the motion, jobs, a backup) goes into build/demo.
# scripts/demo.sh FOLDER takes the examples' programs from there; virtual controller and module are those installed.
set -euo pipefail
cd "$(dirname "$0")/.."
if [[ ${1:-} ]]; then
  bin=$1
else
  bin=$PWD/build/release/bin
  scripts/setup.sh
  scripts/build.sh release virtual_controller_program first_session first_session_c moving_robot programs_and_io _kyt_host
  PATH=$bin:$PATH
  export PYTHONPATH=$PWD/build/release/python
fi
host=127.0.0.5  # files go over port 5000: on an address of its own, nobody else has it
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

# start_controller PORT [OPTION...]: 0 lets the system choose; the port is then in $port.
start_controller() {
  : >"$log"
  virtual_controller --host "$host" --servo-port 0 --port "$@" >"$log" &
  controller=$!
  until port=$(sed -n "s/^virtual controller: listening on $host:\([0-9]*\),.*/\1/p" "$log") && [[ $port ]]; do
    kill -0 "$controller" || exit 1
    sleep 0.05
  done
}

restart_controller() {
  kill "$controller"
  wait "$controller"
  start_controller "$@"
}

# run_session PROGRAM...: it says when it wants something to happen at the controller.
run_session() {
  exec {lines}< <(exec "$@")
  session=$!
  while IFS= read -r line <&"$lines"; do
    echo "$line"
    case $line in
      *"waiting for an error from the controller"*) kill -USR1 "$controller" ;;
      *"waiting for the controller to restart"*) restart_controller "$port" ;;
    esac
  done
  exec {lines}<&-
  wait "$session"
  session=
}

start_controller 0
run_session stdbuf -oL "$bin/first_session" "$host" "$port"
echo
run_session python3 -u examples/first_session.py "$host" "$port"
echo
restart_controller 0
"$bin/first_session_c" "$host" "$port"
echo
mkdir -p build/demo
cd build/demo
"$bin/moving_robot" "$host" "$port" "$PWD/motion.svg"
echo
restart_controller 0 --time-scale 5
"$bin/programs_and_io" "$host" "$port"
