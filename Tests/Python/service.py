"""The embedded answer service for tests, as a program of its own."""
import contextlib
import os
import subprocess

TOKEN = "a-token"


@contextlib.contextmanager
def answering(*misbehaviours):
    """Its address, for as long as it lives."""
    command = [os.environ["PELLIX_ANSWER_SERVICE"], "--quiet", "--token", TOKEN]
    command += [part for each in misbehaviours for part in ("--misbehave", each)]
    with subprocess.Popen(command, stdout=subprocess.PIPE, text=True) as process:
        try:
            yield process.stdout.readline().split()[-1]
        finally:
            process.terminate()
