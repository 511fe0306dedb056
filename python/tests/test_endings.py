"""What could hang or crash: registering, disconnecting, forking and ending under a stream of messages.

Each case is a program of its own, which has to end with exit code 0 in half a minute.
"""

import textwrap
import unittest
from concurrent.futures import ThreadPoolExecutor

from support import ROOT, VirtualController, run

# A connection under a stream of messages of both kinds, and callbacks that count them.
STREAM = """
import atexit, sys, threading, time
import _kyt_host as kyt

robot = kyt.connect_robot("127.0.0.1", sys.argv[1])
assert robot > 0
states, frames, entered = threading.Semaphore(0), threading.Semaphore(0), threading.Event()
def on_state(text): states.release()
def on_frame(code, text): frames.release()
def register(on_frame=on_frame):
    assert kyt.recv_message(robot, on_frame) == 0
    assert kyt.robot_state_callback(robot, on_state) == 0
kept = []  # callables: nobody else does
def enter(action, setter=kyt.recv_message, robot=robot):
    def callback(*message):
        entered.set()
        action()
    kept.append(callback)
    entered.clear()
    assert setter(robot, callback) == 0
    assert entered.wait(10)
def wait(messages=20):
    for counter in (states, frames):
        for _ in range(messages):
            assert counter.acquire(timeout=10), "the stream has stopped"
register()
wait()
"""

# Before the import: clean-ups that stop and join a daemon thread, which calls the library until it is told to stop.
CLEAN_UPS = """
import atexit, sys, threading, weakref

class Owner: pass
stopped, frames = [threading.Event() for _ in range(2)], threading.Semaphore(0)
def stop(number):
    assert frames.acquire(timeout=10) and frames.acquire(timeout=10), "no callback comes any more"
    stopped[number].set()
    pollers[number].join()
    print("joined")
owner = Owner()
atexit.register(stop, 0)
weakref.finalize(owner, stop, 1)
import _kyt_host as kyt

robot = kyt.connect_robot("127.0.0.1", sys.argv[1])
def on_frame(code, text): frames.release()
assert kyt.recv_message(robot, on_frame) == 0
def poll(number):
    while not stopped[number].is_set(): kyt.get_speed(robot, 0)
pollers = [threading.Thread(target=poll, args=[number], daemon=True) for number in range(2)]
for poller in pollers: poller.start()
while frames.acquire(blocking=False): pass
"""

# A child checks that it has nothing of the parent's, makes a connection of its own, and ends in good time; the parent's
# goes on.
FORK = STREAM + """
import multiprocessing, os
def in_the_child(own=True):
    assert (kyt.get_connection_status(robot), kyt.get_speed(robot, 0)) == (kyt.DISCONNECT, [kyt.DISCONNECT, 0])
    assert kyt.recv_message(robot, on_frame) == kyt.DISCONNECT
    assert kyt.disconnect_robot(robot) == 0
    if own:
        mine, came = kyt.connect_robot("127.0.0.1", sys.argv[1]), threading.Semaphore(0)
        assert mine > 0
        def note(*message): came.release()
        kept.append(note)
        assert (kyt.recv_message(mine, note), kyt.robot_state_callback(mine, note)) == (0, 0)
        while kyt.get_speed(mine, 0) != [0, 50]: pass
        assert all(came.acquire(timeout=10) for _ in range(20))
def ends(pid):
    until = time.monotonic() + 15
    while time.monotonic() < until:
        ended, status = os.waitpid(pid, os.WNOHANG)
        if ended: return status == 0
        time.sleep(0.01)
    os.kill(pid, 9)
    os.waitpid(pid, 0)
    return False
def fork(work=in_the_child):
    pid = os.fork()
    if pid: return pid
    work()
    sys.exit()
def still_served():
    while kyt.get_speed(robot, 0) != [0, 50]: pass
    while states.acquire(blocking=False) or frames.acquire(blocking=False): pass
    wait()
"""

# Each call takes a second or more by itself: of a controller that hangs, and of one that does not even take connections.
CTRL_C = """
import os, signal, socket, threading, time
import _kyt_host as kyt

hung = socket.create_server(("127.0.0.1", 0))
robot = kyt.connect_robot("127.0.0.1", str(hung.getsockname()[1]))
full = socket.create_server(("127.0.0.1", 0), backlog=0)
waiting = [socket.socket() for _ in range(3)]
for each in waiting:
    each.setblocking(False)
    each.connect_ex(full.getsockname())
def wait_beside_another():
    threading.Thread(target=kyt.get_speed, args=[robot, 0], daemon=True).start()
    time.sleep(0.05)
    kyt.get_current_position(robot, 0, [])
for call in [
    lambda: kyt.get_speed(robot, 0),
    wait_beside_another,
    lambda: kyt.check_servo_state(robot, 1, 3),
    lambda: kyt.connect_robot("127.0.0.1", str(full.getsockname()[1])),
    lambda: kyt.delay(3000),
]:
    pressed = threading.Timer(0.2, os.kill, [os.getpid(), signal.SIGINT])
    began = time.monotonic()
    pressed.start()
    try:
        call()
        raise SystemExit("Ctrl-C has been lost")
    except KeyboardInterrupt:
        assert time.monotonic() - began < 0.7
    pressed.join()
"""

CASES = {
    "the script ends": "others = [kyt.connect_robot('127.0.0.1', sys.argv[1]) for _ in range(5)]",
    "three threads register": """
        until = time.monotonic() + 1
        def repeat(callback):
            while time.monotonic() < until: register(callback)
        callbacks = [lambda code, text: frames.release() for _ in range(3)]  # kept: nobody else does
        threads = [threading.Thread(target=repeat, args=[each]) for each in callbacks]
        for thread in threads: thread.start()
        for thread in threads: thread.join()
        wait()
    """,
    "disconnecting": """
        assert kyt.disconnect_robot(robot) == 0
        assert kyt.get_connection_status(robot) == kyt.DISCONNECT
    """,
    "disconnecting from a callback": """
        def disconnect(code, text):
            assert kyt.disconnect_robot(robot) == 0
            entered.set()
        kyt.recv_message(robot, disconnect)  # which may be called before this returns
        assert entered.wait(10)
        assert kyt.get_connection_status(robot) == kyt.DISCONNECT
    """,
    "querying while a callback is in Python": """
        def query(code, text):
            kyt.get_speed(robot, 0)
            sum(range(1000))
        register(query)
        assert [kyt.get_servo_state(robot, 0)[0] for _ in range(50)] == [0] * 50
    """,
    "a callback is in flight at the end": "enter(lambda: time.sleep(0.3))",
    "a callback never ends": "enter(threading.Event().wait)",
    "a callback computes forever": """
        def compute():
            while True: pass
        enter(compute, kyt.robot_state_callback)
    """,
    "daemon threads are in calls": """
        def work(call):
            while True: call()
        calls = [lambda: kyt.get_speed(robot, 0), lambda: kyt.delay(1), register, lambda: kyt.delay(60000),
                 lambda: kyt.connect_robot("127.0.0.1", sys.argv[1]), lambda: kyt.get_connection_status(robot),
                 lambda: kyt.check_servo_state(robot, 1, 12345)]
        for call in calls: threading.Thread(target=work, args=[call], daemon=True).start()
        wait()
    """,
    "threads have something to say to a handler": """
        lines = threading.Semaphore(0)
        kyt.set_diagnostics_handler(lambda level, line: (kyt.get_speed(robot, 0), lines.release()))
        def fail():
            while True: kyt.connect_robot("127.0.0.1", "99999")
        for _ in range(4): threading.Thread(target=fail, daemon=True).start()
        for _ in range(20): assert lines.acquire(timeout=10)
    """,
    "a function registered to run at exit still gets its callbacks": """
        def last():
            wait()
            print("served at exit")
        atexit.register(last)
    """,
    "atexit's functions are called early, and the program goes on": """
        atexit._run_exitfuncs()
        poller = threading.Thread(target=lambda: [kyt.get_speed(robot, 0) for _ in range(20)], daemon=True)
        poller.start()
        poller.join()
        while states.acquire(blocking=False) or frames.acquire(blocking=False): pass
        wait()
    """,
    "a callback disconnects others whose messages wait for it": """
        others = [kyt.connect_robot("127.0.0.1", sys.argv[1]) for _ in range(3)]
        for other in others: assert kyt.recv_message(other, on_frame) == 0
        def disconnect():
            time.sleep(0.2)  # the others' messages arrive, and wait
            threads = [threading.Thread(target=kyt.disconnect_robot, args=[each]) for each in others[1:]]
            for thread in threads: thread.start()
            kyt.disconnect_robot(others[0])
            for thread in threads: thread.join()
            kyt.disconnect_robot(robot)
            left.set()
        left = threading.Event()
        enter(disconnect)
        assert left.wait(10)
        assert {kyt.get_connection_status(each) for each in (robot, *others)} == {kyt.DISCONNECT}
    """,
}

FORKS = {
    "a child while the parent is idle, and one that uses nothing of it": """
        assert ends(fork()) and ends(fork(lambda: None))
        still_served()
    """,
    "children while a callback of each kind is running": """
        leave, other = threading.Event(), kyt.connect_robot("127.0.0.1", sys.argv[1])
        enter(leave.wait)
        enter(leave.wait, kyt.robot_state_callback, other)
        children = [fork() for _ in range(3)]
        assert all([ends(each) for each in children])
        leave.set()
        assert kyt.disconnect_robot(other) == 0
        register()
        still_served()
    """,
    "children from inside a callback: one goes on in it, one returns from it": """
        def in_callback():
            if children: return
            children.append(fork(lambda: in_the_child() or os._exit(0)))
            children.append(os.fork())
            if children[-1] == 0: in_the_child(own=False)
        children = []
        enter(in_callback)
        while len(children) < 2: time.sleep(0.01)
        assert all([ends(each) for each in children])
        register()
        still_served()
    """,
    "children while threads are in calls, and register": """
        def work(call):
            while not enough.is_set(): call()
        enough = threading.Event()
        calls = [lambda: kyt.get_speed(robot, 0), register, lambda: kyt.get_robot_running_state(robot, 0),
                 lambda: kyt.disconnect_robot(kyt.connect_robot("127.0.0.1", sys.argv[1]))]
        threads = [threading.Thread(target=work, args=[call], daemon=True) for call in calls]
        for thread in threads: thread.start()
        children = []
        for _ in range(10):
            children.append(fork(lambda: in_the_child() or os._exit(0)))
            time.sleep(0.02)
        assert all([ends(each) for each in children])
        enough.set()
        for thread in threads: thread.join()
        still_served()
    """,
    "multiprocessing": """
        context = multiprocessing.get_context("fork")
        child = context.Process(target=in_the_child)
        child.start()
        child.join(15)
        assert child.exitcode == 0, child.exitcode
        with context.Pool(2) as pool: assert pool.map(kyt.get_connection_status, [robot] * 4) == [kyt.DISCONNECT] * 4
        still_served()
    """,
}
# In a sub-interpreter nobody gets the module, before and after the main one has it, and all goes on as if nobody had asked.
SUB_INTERPRETERS = """
import os, sys
try:
    import _interpreters as interpreters
except ImportError:
    import _xxsubinterpreters as interpreters
def refusal():
    reading, writing = os.pipe()
    program = "import os\\ntry: import _kyt_host\\nexcept ImportError as error: text = str(error)\\nelse: text = 'imported'\\n"
    interpreter = interpreters.create()
    interpreters.run_string(interpreter, program + f"os.write({writing}, text.encode())")
    interpreters.destroy(interpreter)
    return os.read(reading, 1000).decode()
assert "_kyt_host" in refusal() and "interpreter" in refusal(), refusal()
import _kyt_host as kyt
assert "_kyt_host" in refusal() and "interpreter" in refusal(), refusal()
robot = kyt.connect_robot("127.0.0.1", sys.argv[1])
assert kyt.get_speed(robot, 0)[0] == kyt.SUCCESS
del sys.modules["_kyt_host"]
import _kyt_host as again
assert again is kyt
sys.abiflags = "t"
sys.path.append(sys.argv[2])  # of what is installed the package comes first
try:
    import kyt_host
except ImportError as error:
    assert "free-threaded" in str(error)
else:
    raise AssertionError("kyt_host lets itself be imported")
"""

PROGRAMS = {
    "sub-interpreters": SUB_INTERPRETERS,
    "clean-ups from before the import": CLEAN_UPS,
    "Ctrl-C": CTRL_C,
    **{name: STREAM + textwrap.dedent(case) for name, case in CASES.items()},
    **{name: FORK + textwrap.dedent(case) for name, case in FORKS.items()},
}
SAID = {"clean-ups from before the import": "joined\njoined\n",
        "a function registered to run at exit still gets its callbacks": "served at exit\n"}


class Endings(unittest.TestCase):
    def test_nothing_hangs_and_nothing_crashes(self):
        def end(program):
            return run("-X", "faulthandler", "-c", program, controller.port, str(ROOT / "python"), timeout=30)

        with VirtualController("--state-period", "1") as controller, ThreadPoolExecutor(4) as several:
            running = {name: several.submit(end, program) for name, program in PROGRAMS.items()}
            for name, one in running.items():
                with self.subTest(name):
                    done = one.result()
                    self.assertEqual(done.returncode, 0, done.stderr)
                    self.assertNotIn("Fatal", done.stderr)
                    self.assertNotIn("Traceback", done.stderr)
                    self.assertEqual(done.stdout, SAID.get(name, ""))
