"""quorvel-backend as a child of a test."""

import contextlib
import re
import subprocess
import tempfile
import threading


def check(holds, what):
    if not holds:
        raise SystemExit(f"failed: {what}")


@contextlib.contextmanager
def running_backend(program, *options):
    """The port of a program that listens on loopback with a state directory of its own; it must end well."""
    with tempfile.TemporaryDirectory() as state:
        command = [program, "--listen=127.0.0.1:0", "--state-dir", state, *options]
        with subprocess.Popen(command, stderr=subprocess.PIPE, text=True) as child:
            said = [child.stderr.readline()]
            reader = threading.Thread(target=lambda: said.extend(child.stderr))
            reader.start()
            try:
                listening = re.match(r"info: Listening on 127\.0\.0\.1:(\d+)\.", said[0])
                check(listening, f"the program says: {said[0]}")
                yield int(listening[1])
            finally:
                child.terminate()
                child.wait()
                reader.join()
                if child.returncode != 0:
                    print("".join(said[-60:]))
        check(child.returncode == 0, f"the program ended with {child.returncode}")
