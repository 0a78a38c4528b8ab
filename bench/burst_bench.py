#!/usr/bin/python3
"""Statements by qbreport burst beside the engine's bare loop: documents per second and processor, memory, bytes.

usage: bench/burst_bench.py [COUNT [WORKERS ...]]     (100000; 1 2 4 16; programs of build/bench/bin, or of $BIN)
       bench/burst_bench.py kills [COUNT [KILLS]]     (20000, 100)

Statements have 5 to 14 rows and one page of PDF. The rate is that of CPU seconds, so that other work on the machine
does not count. "kills" ends a run again and again at random moments, resumes it each time, and compares the result
with that of a quiet run.
"""

import hashlib
import os
import pathlib
import random
import resource
import shutil
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
BIN = pathlib.Path(os.environ.get("BIN", ROOT / "build/bench/bin")).resolve()
TEMPLATE = ROOT / "qbreport/starters/statement.qbf"
TEXTS = ["Salary Fjord Outfitters", "Rent Mill Lane 3", "Grocer Svea", "Cash", "Fees received", "Interest", "Card payment Harbour & Pine"]


def write_data(path, count):
    rnd = random.Random(1)
    with open(path, "w", encoding="utf-8") as file:
        for i in range(count):
            head = f'{{"Branch":"B{i % 97:02d}","Account":"{622200000000 + i}","Holder":"Customer {i}","Opening":{rnd.randint(-9999, 999999) / 100},'
            for day in range(rnd.randint(5, 14)):
                file.write(head + f'"Date":"2026-03-{day * 2 + 1:02d}","Text":"{rnd.choice(TEXTS)}","Amount":{rnd.randint(-99999, 199999) / 100}}}\n')


def burst(data, output, *flags):
    return [BIN / "qbreport", "burst", TEMPLATE, "-d", data, "--by", "Account", "--total", "Amount", "-o", output, *flags]


def measured(words):
    """CPU seconds and peak MiB of a command."""
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    started = time.monotonic()
    child = subprocess.Popen(list(map(str, words)), stderr=subprocess.PIPE)
    errors = child.stderr.read().decode()
    _, status, usage = os.wait4(child.pid, 0)
    child.returncode = os.waitstatus_to_exitcode(status)
    assert child.returncode == 0, errors
    return usage.ru_utime + usage.ru_stime, time.monotonic() - started, usage.ru_maxrss / 1024


def tree(folder):
    files = {}
    for file in sorted(pathlib.Path(folder).rglob("*")):
        if file.is_file():
            files[str(file.relative_to(folder))] = hashlib.sha256(file.read_bytes()).hexdigest()
    return files


def speed(count, workers):
    write_data("data.jsonl", count)
    write_data("few.jsonl", 1000)
    size = pathlib.Path("data.jsonl").stat().st_size
    made, size_of_all, seconds = subprocess.run([BIN / "burst_loop", TEMPLATE, "data.jsonl"], check=True, capture_output=True, text=True).stdout.split()
    assert int(made) == count
    bare = count / float(seconds)
    print(f"{count:,} statements, {size / count:.0f} bytes of data and {int(size_of_all) / count:.0f} of PDF each")
    print(f"bare loop: {bare:.0f} per CPU second")
    for output, flags in [("out.tar", ["-f", "pdf", "-j", str(number)]) for number in workers] + [("out/{Branch}/{Account}.pdf", ["-j", "2"])]:
        cpu, wall, memory = measured(burst("data.jsonl", "run/" + output, *flags))
        few = measured(burst("few.jsonl", "few/" + output, *flags))[2]
        rate = count / cpu
        print(f"{output} {' '.join(flags)}: {rate:.0f} per CPU second, {100 * rate / bare:.0f} % of the loop, {count / wall:.0f}/s; "
              f"peak {memory:.1f} MiB, {few:.1f} MiB for 1,000")
        shutil.rmtree("run")
        shutil.rmtree("few")


def kills(count, number):
    write_data("data.jsonl", count)
    for output in ("out/{Branch}/{Account}.pdf", "out/all.tar"):
        started = time.monotonic()
        subprocess.run(burst("data.jsonl", output, "-j2"), check=True, stderr=subprocess.DEVNULL)
        most = time.monotonic() - started
        expected = tree("out")
        shutil.rmtree("out")
        rnd = random.Random(2026)
        killed = 0
        for _ in range(number):
            child = subprocess.Popen(burst("data.jsonl", output, "-j2", "--resume"), stderr=subprocess.DEVNULL)
            time.sleep(rnd.uniform(0, 2.5 * most / number))
            killed += child.poll() is None
            child.kill()
            child.wait()
        subprocess.run(burst("data.jsonl", output, "-j2", "--resume"), check=True, stderr=subprocess.DEVNULL)
        result = {name: digest for name, digest in tree("out").items() if not name.endswith(".part")}
        print(f"{output}: {killed} kills, {count:,} documents: {len(expected.keys() - result.keys())} missing, {len(result.keys() - expected.keys())} too many, "
              f"{sum(result.get(name) != digest for name, digest in expected.items())} different; manifest {'equal' if result.get('manifest.jsonl') == expected['manifest.jsonl'] else 'DIFFERENT'}", flush=True)
        assert result == expected
        shutil.rmtree("out")


def main():
    words = sys.argv[1:]
    with tempfile.TemporaryDirectory() as folder:
        os.chdir(folder)
        if words[:1] == ["kills"]:
            numbers = list(map(int, words[1:])) + [20000, 100][len(words) - 1:]
            kills(*numbers)
        else:
            numbers = list(map(int, words)) or [100_000]
            speed(numbers[0], numbers[1:] or [1, 2, 4, 16])
        os.chdir("/")


main()
