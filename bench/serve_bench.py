#!/usr/bin/python3
"""Invoices by qbreport serve beside the engine's bare loop, and the service under hostile requests.

usage: bench/serve_bench.py [SECONDS [CLIENTS]]     (60 16; programs of build/bench, or of $BUILD)
       bench/serve_bench.py hostile [SECONDS]       (300)

Every answer is compared with the document that `qbreport render` makes of the same data. Rates are per CPU second of
the service, its workers included, so that other work on the machine, and the clients, do not count. The load runs
twice: alone, and beside 1,000 idle connections, 200 slow clients and some that are cut off all the time.
"""

import ctypes
import json
import os
import pathlib
import random
import re
import selectors
import socket
import statistics
import subprocess
import sys
import threading
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
BUILD = pathlib.Path(os.environ.get("BUILD", ROOT / "build/bench")).resolve()
PROGRAM = BUILD / "bin/qbreport"
STARTER = ROOT / "qbreport/starters/invoice"
VARIANTS = 16
TICKS = os.sysconf("SC_CLK_TCK")


def invoices():
    """Data of different invoices of one page."""
    data = json.loads(STARTER.with_suffix(".json").read_text("utf-8"))
    for number in range(VARIANTS):
        data["Number"] = f"2026-{number:04d}"
        yield json.dumps(data).encode()


def bare_rate(datas, expected, seconds=5):
    """Documents per CPU second of one report in a loop."""
    engine = ctypes.CDLL(BUILD / "lib/libqbsvrl6.so")
    engine.QBReportCreate.restype = ctypes.c_void_p
    report = ctypes.c_void_p(engine.QBReportCreate())
    assert engine.QBXReportLoadTemplateFile(report, str(STARTER.with_suffix(".qbf")).encode())
    bytes_, size, count = ctypes.c_void_p(), ctypes.c_uint64(), 0
    started = time.process_time()
    while time.process_time() - started < seconds:
        data, document = datas[count % VARIANTS], expected[count % VARIANTS]
        assert engine.QBXReportLoadData(report, b"json", data, ctypes.c_uint64(len(data)), b"body")
        assert engine.QBXReportPrepareExport(report, b"pdf")
        assert engine.QBXReportExportToMemory(report, ctypes.byref(bytes_), ctypes.byref(size))
        assert ctypes.string_at(bytes_, size.value) == document
        engine.QBReportUnprepareExport(report)
        count += 1
    return count / (time.process_time() - started)


class Service:
    def __init__(self, *flags):
        self.process = subprocess.Popen([PROGRAM, "serve", "--templates", STARTER.parent, "--listen", "0", *flags], stdout=subprocess.PIPE,
                                        stderr=subprocess.DEVNULL, text=True)
        self.port = int(re.search(r":(\d+)\n", self.process.stdout.readline())[1])

    def read(self, name):
        """A file of /proc for each process of the service; a worker may just have ended."""
        parents = {}
        for stat in pathlib.Path("/proc").glob("[0-9]*/stat"):
            try:
                parents[int(stat.parent.name)] = int(stat.read_text().rsplit(")", 1)[1].split()[1])
            except OSError:
                pass
        found = [self.process.pid]
        for number in found:
            found += [child for child, parent in parents.items() if parent == number]
        for number in found:
            try:
                yield pathlib.Path(f"/proc/{number}/{name}").read_text()
            except OSError:
                pass

    def cpu(self):
        return sum(sum(map(int, stat.rsplit(")", 1)[1].split()[11:15])) for stat in self.read("stat")) / TICKS

    def memory(self):
        """MiB: what the processes share is counted once."""
        return sum(int(re.search(r"Pss: +(\d+)", rollup)[1]) for rollup in self.read("smaps_rollup") if rollup) / 1024

    def connect(self):
        return socket.create_connection(("127.0.0.1", self.port))

    def get(self, path):
        with self.connect() as client:
            client.sendall(f"GET {path} HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n".encode())
            answer = b"".join(iter(lambda: client.recv(65536), b""))
        return int(answer.split()[1]), answer.partition(b"\r\n\r\n")[2]

    def stop(self):
        self.process.terminate()
        assert self.process.wait(60) == 0


class Client:
    """Sends one request after the other, and compares the answers."""

    def __init__(self, service, number, datas, expected):
        self.socket, self.datas, self.expected, self.next = service.connect(), datas, expected, number
        self.times = []
        self.send()

    def send(self):
        data = self.datas[self.next % VARIANTS]
        self.answer, self.size, self.began = b"", None, time.monotonic()
        self.socket.sendall(b"POST /render/invoice HTTP/1.1\r\nHost: localhost\r\nContent-Type: application/json\r\nContent-Length: %d\r\n\r\n" % len(data) + data)

    def receive(self):
        self.answer += self.socket.recv(1 << 18)
        if self.size is None:
            head, end, _ = self.answer.partition(b"\r\n\r\n")
            if not end:
                return
            assert head.startswith(b"HTTP/1.1 200 "), head
            self.size = len(head) + 4 + int(re.search(rb"Content-Length: (\d+)", head)[1])
        if len(self.answer) < self.size:
            return
        self.times.append(time.monotonic() - self.began)
        assert self.answer.endswith(self.expected[self.next % VARIANTS]) and len(self.answer) == self.size
        self.next += 1
        self.send()


def load(service, seconds, clients, datas, expected):
    everybody = [Client(service, number, datas, expected) for number in range(clients)]
    with selectors.DefaultSelector() as selector:
        for client in everybody:
            selector.register(client.socket, selectors.EVENT_READ, client)
        cpu, began, memory = service.cpu(), time.monotonic(), []
        while time.monotonic() - began < seconds:
            if len(memory) * seconds / 10 <= time.monotonic() - began:
                memory.append(service.memory())
            for key, _ in selector.select(1):
                key.data.receive()
    wall, cpu = time.monotonic() - began, service.cpu() - cpu
    times = sorted(time for client in everybody for time in client.times)
    for client in everybody:
        client.socket.close()
    quantiles = statistics.quantiles(times, n=100)
    return (f"{len(times)} documents, {len(times) / wall:.0f} per second, {len(times) / cpu:.0f} per CPU second; "
            f"p50 {quantiles[49] * 1000:.1f} ms, p99 {quantiles[98] * 1000:.1f} ms; "
            f"memory {memory[1]:.0f} MiB after a tenth, {memory[-1]:.0f} MiB at the end"), len(times) / cpu


def disturb(service, datas, stopped):
    """Idle connections, bodies of a byte per second, answers that nobody reads, and requests that are cut off."""
    idle = [service.connect() for _ in range(1000)]
    slow = [service.connect() for _ in range(200)]
    for client in slow:
        client.sendall(b"POST /render/invoice HTTP/1.1\r\nHost: localhost\r\nContent-Length: 100000\r\n\r\n")
    while not stopped.wait(0.2):
        for client in slow:
            try:
                client.send(b" ")
            except OSError:
                pass
        for data in random.sample(datas, 5):
            with service.connect() as client:
                request = b"POST /render/invoice HTTP/1.1\r\nHost: localhost\r\nContent-Length: %d\r\n\r\n" % len(data) + data
                client.sendall(request[:random.randrange(len(request) * 2)])
    for client in idle + slow:
        client.close()


def hostile(service, seconds, seed):
    """Requests that no client would send, one after the other."""
    rnd = random.Random(seed)
    data = next(invoices())
    nasty = [b"\x00", b"\xff", b"\r\n", b"%00", b"../", b"9" * 50, b"[" * 3000, b'{"a":' * 2000, b"<!DOCTYPE a [<!ENTITY b 'c'>]>", b"\xf0\x9f\x92\xa9", b"-1", b"chunked"]
    templates = [
        lambda: b"POST /render/invoice?format=%s HTTP/1.1\r\nHost: localhost\r\nContent-Length: %d\r\n\r\n" % (rnd.choice([b"pdf", b"xlsx", b"tiff", b"png", b"html", b"doc", b"%25"]), len(data)) + data,
        lambda: b"POST /render/invoice?%s=%s HTTP/1.1\r\nHost: localhost\r\nContent-Length: %d\r\n\r\n" % (rnd.choice([b"pages", b"resolution", b"layout", b"x", b"data-kind"]), rnd.choice([b"99999999999", b"-1", b"1-", b"csv:separator=x", b"%00"]), len(data)) + data,
        lambda: b"POST /render/invoice HTTP/1.1\r\nHost: localhost\r\nTransfer-Encoding: chunked\r\n\r\nffffffff\r\n" + data,
        lambda: b"POST /render/%s HTTP/1.1\r\nHost: localhost\r\nContent-Length: 2\r\n\r\n[]" % (rnd.choice([b"..%2f", b"..", b"%00", b"a" * 4000, b"/etc/passwd", b".", b"invoice%0a"]) * rnd.randint(1, 3)),
        lambda: b"GET / HTTP/1.1\r\nHost: localhost\r\n" + b"X: y\r\n" * rnd.choice([1, 100, 5000]) + b"Range: bytes=" + b"1" * rnd.choice([1, 8000]) + b"-\r\n\r\n",
        lambda: b"POST /render/invoice HTTP/1.1\r\nHost: localhost\r\nContent-Length: %s\r\nContent-Length: 7\r\n\r\n" % rnd.choice([b"-1", b"99999999999999999999", b"x", b"7"]) + data,
        lambda: bytes(rnd.randrange(256) for _ in range(rnd.choice([10, 1000, 40000]))),
    ]
    end, count = time.monotonic() + seconds, 0
    while time.monotonic() < end:
        request = bytearray(rnd.choice(templates)())
        for _ in range(rnd.choice([0, 0, 1, 5])):
            at = rnd.randrange(len(request))
            request[at:at + rnd.choice([0, 1, 20])] = rnd.choice(nasty)
        try:
            with service.connect() as client:
                client.settimeout(rnd.choice([0.001, 0.02, 0.3]))
                client.sendall(request)
                if rnd.random() < 0.3:
                    client.shutdown(socket.SHUT_WR)
                client.recv(65536)
        except OSError:
            pass
        count += 1
    return count


def run_hostile(seconds):
    service = Service("--time-limit", "5 s")
    document = subprocess.run([PROGRAM, "render", STARTER.with_suffix(".qbf"), "-d", STARTER.with_suffix(".json"), "-f", "pdf"], capture_output=True, check=True).stdout
    counts = [0] * 8
    threads = [threading.Thread(target=lambda i=i: counts.__setitem__(i, hostile(service, seconds, i))) for i in range(len(counts))]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    time.sleep(6)  # the limit of a document
    assert service.get("/health")[0] == 200
    with service.connect() as client:
        data = STARTER.with_suffix(".json").read_bytes()
        client.sendall(b"POST /render/invoice HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\nContent-Length: %d\r\n\r\n" % len(data) + data)
        assert b"".join(iter(lambda: client.recv(65536), b"")).endswith(document)
    print(f"{sum(counts)} hostile requests in {seconds} s; the service answers, and has {service.memory():.0f} MiB")
    print("\n".join(line for line in service.get("/metrics")[1].decode().splitlines() if re.match("qbreport_(documents|failures|workers_lost|queue|connections|buffered)", line)))
    service.stop()


def main():
    if sys.argv[1:2] == ["hostile"]:
        return run_hostile(int(sys.argv[2]) if len(sys.argv) > 2 else 300)
    seconds, clients = (int(word) for word in (sys.argv[1:] + ["60", "16"][len(sys.argv) - 1:]))
    datas = list(invoices())
    expected = [subprocess.run([PROGRAM, "render", STARTER.with_suffix(".qbf"), "-d", "-", "-f", "pdf"], input=data, capture_output=True, check=True).stdout for data in datas]
    bare = bare_rate(datas, expected)
    print(f"bare loop: {bare:.0f} per CPU second")
    service = Service()
    text, rate = load(service, seconds, clients, datas, expected)
    print(f"{clients} clients: {text}; {rate / bare:.0%} of the bare loop")
    stopped = threading.Event()
    disturbing = threading.Thread(target=disturb, args=(service, datas, stopped))
    disturbing.start()
    time.sleep(2)
    text, rate = load(service, seconds, clients, datas, expected)
    stopped.set()
    disturbing.join()
    print(f"beside disturbing ones: {text}; {rate / bare:.0%} of the bare loop")
    service.stop()


if __name__ == "__main__":
    main()
