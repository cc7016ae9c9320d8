#!/usr/bin/env python3
"""Stops the scripts' work at several moments, by Ctrl-C on a terminal and by a signal: it must end at once with the
signal's exit status, leave no process and no half-made prefix of Wine, and the next work must go on. A second script
in the same tree must refuse to begin.

usage: stop_test.py PROJECT WORK
"""
import glob
import os
import pty
import shutil
import signal
import subprocess
import sys
import time

project, folder = os.path.abspath(sys.argv[1]), os.path.abspath(sys.argv[2])
SCRIPT = f"""
cd '{folder}'
source '{project}/tools/scripts/common.sh'
begin run
use_prefix "$PWD/build/run/prefix"
work start_wine || exit 9
touch ready
work timeout --foreground 100 sleep 100
"""


def start():
    """The script on a terminal of its own: its process and the terminal."""
    pid, terminal = pty.fork()
    if pid == 0:
        os.execvp("bash", ["bash", "-uc", SCRIPT])
    return pid, terminal


def left_behind():
    """Processes that know the prefix from their environment."""
    wanted = ("WINEPREFIX=" + folder).encode()
    found = []
    for path in glob.glob("/proc/[0-9]*/environ"):
        try:
            with open(path, "rb") as file:
                if wanted in file.read():
                    found.append(path)
        except OSError:
            pass
    return found


def wait_for(condition, seconds):
    end = time.monotonic() + seconds
    while not condition() and time.monotonic() < end:
        time.sleep(0.05)
    return condition()


def stop(moment, how, wanted):
    """Starts the script, stops it once `moment` has come, and says what is wrong."""
    pid, terminal = start()
    if not wait_for(moment, 120):
        return "the moment never came"
    stopped = time.monotonic()
    how(pid, terminal)
    status = [None]

    def ended():
        if status[0] is None:
            done, code = os.waitpid(pid, os.WNOHANG)
            status[0] = os.waitstatus_to_exitcode(code) if done else None
        return status[0] is not None

    if not wait_for(ended, 60):
        os.kill(pid, signal.SIGKILL)
        return "did not end"
    os.close(terminal)
    prefix = os.path.join(folder, "build/run/prefix")
    if status[0] != wanted:
        return f"exit status {status[0]}"
    if time.monotonic() - stopped > 20:
        return f"ended after {time.monotonic() - stopped:.1f} s"
    if not wait_for(lambda: not left_behind(), 5):
        return "left " + " ".join(left_behind())
    if os.path.exists(prefix) and not os.path.exists(prefix + "/made"):
        return "left a half-made prefix"
    return ""


def ctrl_c(pid, terminal):
    second = subprocess.run(["bash", "-uc", SCRIPT], stdin=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
    if second.returncode != 2 or "works in this folder" not in second.stderr:
        print(f"a second script ended with {second.returncode}: {second.stderr}")
        return
    os.write(terminal, b"\x03")


def terminate(pid, terminal):
    os.kill(pid, signal.SIGTERM)


def there(name):
    return lambda: os.path.exists(os.path.join(folder, name))


shutil.rmtree(folder, ignore_errors=True)
os.makedirs(folder)
CASES = [
    ("Ctrl-C while the prefix is made", "build/run/prefix/boot.log", ctrl_c, 130),
    ("SIGTERM while the prefix is made", "build/run/prefix/system.reg", terminate, 143),
    ("Ctrl-C while a program runs", "ready", ctrl_c, 130),
    ("SIGTERM while a program runs", "ready", terminate, 143),
]
failed = 0
for name, moment, how, wanted in CASES:
    if os.path.exists(os.path.join(folder, "ready")):
        os.remove(os.path.join(folder, "ready"))
    fault = stop(there(moment), how, wanted)
    print(f"{name}: {fault or 'ok'}", flush=True)
    failed += bool(fault)
sys.exit(1 if failed else 0)
