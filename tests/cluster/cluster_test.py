"""Runs the recipes of cluster/ on one machine, kills their tasks, and compares the result with that of a quiet run.

usage: cluster_test.py QBREPORT SOURCES     (Slurm, which takes minutes, only with QBSVR_FULL_TESTS=1)
"""

import contextlib
import json
import os
import pathlib
import random
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time
import unittest

PROGRAM, SOURCES = (pathlib.Path(word).resolve() for word in sys.argv[1:3])
FLAGS = ["statement.qbf", "-d", "rows.jsonl", "--by", "Account", "--total", "Amount", "-o", "out/{Branch}/{Account}.pdf"]
SHARDS = 4
SLURM = """ClusterName=test
SlurmctldHost={host}(127.0.0.1)
SlurmUser=root
AuthType=auth/munge
AuthInfo=socket={root}/munge.socket,cred_expire=5
StateSaveLocation={root}/state
SlurmdSpoolDir={root}/spool
SlurmctldPidFile={root}/slurmctld.pid
SlurmdPidFile={root}/slurmd.pid
SlurmctldLogFile={root}/slurmctld.log
SlurmdLogFile={root}/slurmd.log
SlurmctldPort={control}
SlurmdPort={daemon}
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
SelectType=select/cons_tres
SelectTypeParameters=CR_CPU
ReturnToService=2
MailProg=/bin/true
NodeName={host} NodeAddr=127.0.0.1 CPUs=2 State=UNKNOWN
PartitionName=all Nodes=ALL Default=YES State=UP
"""


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


class Cluster(unittest.TestCase):
    def setUp(self):
        self.directory = pathlib.Path(tempfile.mkdtemp())
        os.chdir(self.directory)
        self.environment = {**os.environ, "PATH": f"{PROGRAM.parent}:{os.environ['PATH']}", "LC_ALL": "C.UTF-8"}
        shutil.copy(SOURCES / "qbreport/starters/statement.qbf", ".")
        rnd = random.Random(3)
        with open("rows.jsonl", "w", encoding="utf-8") as file:
            for number in range(3000):
                for day in range(rnd.randint(1, 9)):
                    row = {"Branch": f"B{number % 7}", "Account": f"{number:06d}", "Holder": "Ada", "Opening": 1, "Date": f"2026-03-{day + 1:02d}", "Text": "Cash", "Amount": rnd.randint(-999, 999)}
                    file.write(json.dumps(row) + "\n")
        subprocess.run([PROGRAM, "burst", *FLAGS], check=True, capture_output=True)
        self.expected = self.tree()
        shutil.rmtree("out")

    def tearDown(self):
        os.chdir("/")
        shutil.rmtree(self.directory)

    def tree(self):
        """The documents and the manifest of the whole run; not what belongs to shards and recipes."""
        return {str(file): file.read_bytes() for file in pathlib.Path("out").rglob("*")
                if file.is_file() and "-of-" not in file.name and file.parent.name != "log"}

    def tasks(self):
        """The processes of this test that make a shard."""
        found = []
        for entry in pathlib.Path("/proc").glob("[0-9]*"):
            with contextlib.suppress(OSError):
                words = (entry / "cmdline").read_bytes().split(b"\0")
                if b"--shard" in words and b"qbreport" in words[0] and (entry / "cwd").resolve() == self.directory:
                    found.append(int(entry.name))
        return found

    def kill_some(self, isRunning, most=5):
        """Kills tasks, each after it has made some documents. Returns how many."""
        killed = set()
        while isRunning() and len(killed) < most:
            time.sleep(0.2)
            fresh = [task for task in self.tasks() if task not in killed]
            if not fresh or not list(pathlib.Path("out").rglob("*.pdf")):
                continue
            with contextlib.suppress(ProcessLookupError):
                os.kill(fresh[0], signal.SIGKILL)
                killed.add(fresh[0])
        return len(killed)

    def test_shared_folder(self):
        """Two machines with roots of their own share the folder of the documents."""
        pathlib.Path("shared").mkdir()
        for root in ("a", "b"):
            pathlib.Path(root).mkdir()
            pathlib.Path(root, "out").symlink_to("../shared")
            for file in ("statement.qbf", "rows.jsonl"):
                shutil.copy(file, root)
        runs = [subprocess.Popen(["bash", "-ec", f"for i in {' '.join(map(str, numbers))}; do qbreport burst \"$@\" --shard $i/{SHARDS}; done", "-", *FLAGS],
                                 cwd=root, env=self.environment, stderr=subprocess.PIPE) for root, numbers in (("a", (1, 4)), ("b", (2, 3)))]
        for run in runs:
            self.assertEqual((run.communicate()[1] and run.returncode), 0)
        subprocess.run([PROGRAM, "collect", "out"], check=True, cwd="b", capture_output=True)
        pathlib.Path("out").symlink_to("shared")
        self.assertEqual(self.tree(), self.expected)

    @unittest.skipUnless(shutil.which("parallel"), "GNU parallel is not installed")
    def test_parallel(self):
        run = subprocess.Popen([SOURCES / "cluster/parallel/run", str(SHARDS), "out", *FLAGS], env=self.environment, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        killed = self.kill_some(lambda: run.poll() is None, most=3)
        output = run.communicate(timeout=600)[0].decode()
        self.assertEqual(run.returncode, 0, output)
        self.assertEqual(killed, 3)
        self.assertEqual(self.tree(), self.expected)

    @contextlib.contextmanager
    def slurm(self):
        """A cluster of one node, which ends with the context."""
        root = pathlib.Path(tempfile.mkdtemp(dir="/tmp", prefix="slurm"))
        root.chmod(0o755)
        host = socket.gethostname().split(".")[0]
        for folder in ("state", "spool"):
            (root / folder).mkdir()
        (root / "slurm.conf").write_text(SLURM.format(root=root, host=host, control=free_port(), daemon=free_port()))
        (root / "munge.key").write_bytes(os.urandom(1024))
        (root / "munge.key").chmod(0o400)
        self.environment["SLURM_CONF"] = str(root / "slurm.conf")
        servers = []

        def start(*words):
            servers.append(subprocess.Popen(list(map(str, words)), env=self.environment, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, stdin=subprocess.DEVNULL))

        try:
            start("munged", "--foreground", "--force", f"--socket={root}/munge.socket", f"--key-file={root}/munge.key", f"--pid-file={root}/munged.pid",
                  f"--log-file={root}/munged.log", f"--seed-file={root}/munged.seed")
            time.sleep(1)
            start("slurmctld", "-D", "-i")
            start("slurmd", "-D", "-N", host)
            for _ in range(120):
                state = subprocess.run(["sinfo", "--noheader", "--format=%t"], env=self.environment, capture_output=True, text=True).stdout.strip()
                if state == "idle":
                    break
                time.sleep(0.5)
            else:
                logs = "".join(file.read_text()[-2000:] for file in root.glob("*.log"))
                self.fail(f"Slurm does not start: {state}\n{logs}")
            yield
        finally:
            for server in reversed(servers):
                server.terminate()
                server.wait(30)
            shutil.rmtree(root)

    @unittest.skipUnless(os.environ.get("QBSVR_FULL_TESTS") == "1", "only with --full")
    def test_slurm(self):
        if os.geteuid() != 0 or not all(map(shutil.which, ("munged", "slurmctld", "slurmd", "sbatch"))):
            self.skipTest("Slurm is not installed, or this is not root")
        with self.slurm():
            jobs = subprocess.run([SOURCES / "cluster/slurm/submit", str(SHARDS), "out", *FLAGS], env=self.environment, check=True, capture_output=True, text=True).stdout
            array, collect = (word.rstrip(",\n") for word in jobs.split() if word.rstrip(",\n").isdigit())

            def states():
                return subprocess.run(["squeue", "--noheader", "--array", "--states=all", "--format=%i %T %r"], env=self.environment, capture_output=True, text=True).stdout

            def state(job):
                return [line.split()[1] for line in states().splitlines() if line.split()[0].startswith(job)]

            killed = self.kill_some(lambda: bool(state(array)), most=3)
            for _ in range(600):
                if set(state(collect)) <= {"COMPLETED", "CANCELLED", "FAILED"}:
                    break
                time.sleep(1)
            logs = "".join(f"{file}: {file.read_text()}\n" for file in sorted(pathlib.Path("out/log").glob("*")))
            self.assertEqual((state(collect), killed), (["COMPLETED"], 3), states() + logs)
            self.assertEqual(self.tree(), self.expected)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[3:])
