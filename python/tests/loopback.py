"""A scheduler and workers of Dask as processes of their own on the loopback address."""

import subprocess
import sys
import time
from pathlib import Path


class Loopback:
    """Ends its processes, which write what they say to files in `folder`, on leaving."""

    def __init__(self, folder, workers):
        self.folder = Path(folder)
        self.file = self.folder / "scheduler.json"
        self.processes = []
        self.scheduler = self._start("scheduler", "--port", "0")
        self._await(self.file.exists, "no scheduler")
        self.workers = [self.add_worker() for _ in range(workers)]

    def client(self):
        """One that all workers so far are there for."""
        import distributed

        client = distributed.Client(scheduler_file=str(self.file))
        client.wait_for_workers(len(self.workers), timeout=120)
        return client

    def add_worker(self):
        return self._start("worker", "--no-nanny", "--nthreads", "1", "--death-timeout", "60",
                           "--local-directory", self.folder)

    def _start(self, kind, *arguments):
        command = [sys.executable, "-m", f"distributed.cli.dask_{kind}", "--host", "127.0.0.1",
                   "--no-dashboard", "--scheduler-file", self.file, *arguments]
        with open(self.folder / f"{kind}{len(self.processes)}.log", "w") as log:
            process = subprocess.Popen(command, stdout=log, stderr=log)
        self.processes.append(process)
        return process

    def _await(self, condition, text):
        end = time.monotonic() + 120
        while not condition():
            assert time.monotonic() < end and self.scheduler.poll() is None, text
            time.sleep(0.05)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        for process in reversed(self.processes):
            process.terminate()
        for process in self.processes:
            try:
                process.wait(20)
            except subprocess.TimeoutExpired:
                process.kill()
                process.wait()
