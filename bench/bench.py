#!/usr/bin/python3
"""Measures requests beside floors: static programs in C that do the least that answers them.

bench.py PROGRAM FOLDER [--quick]     FOLDER is made anew

Program and floor run by turns, and the least of many counts. A figure with a bar has "ok" or "above" behind it.
Instructions, system calls, flushes and replaced files are the same in every run.
"""

import argparse
import http.client
import math
import os
import shutil
import socket
import subprocess
import sys
import threading
import time
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

from appliance import ENTER, Appliance, compile_c, posted, view
from cases import PAGES, SAVES, SERVER, post, post_file

PROGRAM, FLOOR = "/nat.cgi", "/floor"
BYTES, PEAK, VIEW, VIEWS, SAVE, MEANWHILE = 1_000_000, 1200, 2.0, 1.25, 1.5, 1.2  # the bars
INSTRUCTIONS, CALLS, THROUGHPUT = 220_000, 32, 0.9
CONSTANT, LINEAR, TIMES_FORM, TIMES_INF = 0.3, 1.3, 4, 10
CLIENTS = 4


def judged(value, bar, form="{:.2f}", least=False):
    good = value >= bar if least else value <= bar
    return form.format(value) + (" ok   " if good else " above")


def table(title, columns, rows):
    """Prints rows of texts and numbers below their titles, the first column to the left."""
    rows = [columns, *([f"{cell:,}" if isinstance(cell, int) else cell for cell in row] for row in rows)]
    widths = [max(len(row[i]) for row in rows) for i in range(len(columns))]
    print(f"\n{title}\n")
    for first, *rest in rows:
        print(first.ljust(widths[0]), *(cell.rjust(width) for cell, width in zip(rest, widths[1:])), sep="  ")
    sys.stdout.flush()


def mean(ratios):
    return math.exp(sum(map(math.log, ratios)) / len(ratios))


def race(appliance, request, rounds, prepare=lambda: None):
    """What program and floor cost, the least of some rounds."""
    best = {PROGRAM: None, FLOOR: None}
    for _ in range(rounds):
        for program in best:
            prepare()
            best[program] = appliance.run(program, request)[1].least(best[program])
    return best[PROGRAM], best[FLOOR]


def measure_views(appliance, rounds):
    rows, ratios = [], []
    for page in PAGES:
        request = view(page)
        answer = appliance.run(PROGRAM, request)[0]
        appliance.make_floor(answer)
        trace, floor_trace = (appliance.trace(program, request) for program in (PROGRAM, FLOOR))
        ours, floor = race(appliance, request, rounds)
        instructions = appliance.instructions(PROGRAM, request)
        ratios.append(ours.wall / floor.wall)
        is_first = page == PAGES[0]
        rows.append([page, len(answer), ours.wall, floor.wall, judged(ratios[-1], VIEW), f"{ours.cpu / floor.cpu:.2f}",
                     judged(instructions, INSTRUCTIONS, "{:,}") if is_first else instructions,
                     judged(trace.own, CALLS, "{}") if is_first else trace.own, trace.all,
                     judged(max(trace.reads.values()), 1, "{}"), ours.faults, judged(ours.peak, PEAK, "{}")])
    rows.append(["geometric mean", "", "", "", judged(mean(ratios), VIEWS), *[""] * 7])
    table(f"Views, the least of {rounds} (floor: {appliance.instructions(FLOOR, request):,} instructions, "
          f"{floor_trace.own} system calls, {floor.faults} page faults, {floor.peak} kB)",
          ["page", "bytes", "us", "floor", "ratio      ", "processor", "instructions", "calls", "with commands",
           "reads of a file", "faults", "peak kB"], rows)


def measure_saves(appliance, rounds):
    rows, ratios = [], []
    factory = appliance.files()
    for title, (method, form) in SAVES.items():
        appliance.set_method(method)
        before, request = appliance.files(), posted(form)
        trace = appliance.trace(PROGRAM, request)
        after = appliance.files()
        changed = [path for path in after if after[path] != before.get(path)]
        appliance.restore(changed, before)
        answer = appliance.run(PROGRAM, request)[0]
        appliance.make_floor(answer, [(path, after[path]) for path in changed], trace.commands, trace.syncs)
        ours, floor = race(appliance, request, rounds, lambda: appliance.restore(changed, before))
        appliance.restore(changed, before)
        folders = len({path.parent for path in changed})
        ratios.append(ours.cpu / floor.cpu)
        rows.append([title, ours.cpu, floor.cpu, judged(ratios[-1], SAVE), trace.own, trace.all, len(trace.commands),
                     len(changed), sum(trace.replaced.values()),
                     judged(max(trace.replaced.values(), default=0), 1, "{}"),
                     judged(trace.fsyncs, len(changed) + 2 * folders, "{}"), len(changed) + folders,
                     judged(max(trace.reads.values()), 1, "{}")])
        appliance.restore(factory, factory)
    rows.append(["geometric mean", "", "", judged(mean(ratios), SAVE), *[""] * 9])
    table(f"Saves, the least of {rounds}, in microseconds of the processor",
          ["save", "us", "floor", "ratio      ", "calls", "with commands", "commands", "changed", "replaced",
           "one file  ", "fsyncs   ", "least", "reads of a file"], rows)


# ---- views during a save ----

START, GATE, LOCK = "adsl-start", "/gate", "/run/quillstead-admin/lock"


def measure_meanwhile(appliance, program, rounds):
    """Views by turns where a save waits for a command and where the same save is done."""
    busy, idle = (Appliance(appliance.folder / name, program) for name in ("busy", "idle"))
    compile_c("stub.c", busy.at(f"/usr/sbin/{START}"), "-nostartfiles", '-DANSWER=""', f'-DGATE="{GATE}"')
    os.mkfifo(busy.at(GATE))
    method, form = SAVES["sharing on, PPPoE"]
    for each in busy, idle:
        each.set_method(method)
    idle.run(PROGRAM, posted(form))
    with ThreadPoolExecutor() as pool:
        save = pool.submit(busy.run, PROGRAM, posted(form))
        try:
            while not save.done() and START not in busy.text(LOCK):
                time.sleep(0.01)
            ratios = {}
            for page in PAGES:
                best = {idle: None, busy: None}
                for _ in range(rounds):
                    for each in best:
                        best[each] = each.run(PROGRAM, view(page))[1].least(best[each])
                ratios[page] = best[busy].wall / best[idle].wall
            if save.done():
                raise OSError("the save did not wait for its command")
        finally:
            os.close(os.open(busy.at(GATE), os.O_RDWR))
    worst = max(ratios, key=ratios.get)
    print(f"\n{len(PAGES) * rounds:,} views while a save waits for a command, beside the same when it is done: "
          f"{mean(ratios.values()):.2f} in the mean,\nat most (of {worst}) {judged(ratios[worst], MEANWHILE)}")


# ---- changes that are kept ----

CHANGES, KEPT = "/var/lib/quillstead-admin/changes", (None, 1, 8, 64)


def keep_changes(appliance, number, save):
    """Makes the folder with so many changes, all but one of which are there; None: there is no folder."""
    shutil.rmtree(appliance.at(CHANGES), ignore_errors=True)
    if number:
        appliance.at(CHANGES).mkdir(mode=0o700, parents=True)
        for _ in range(number - 1):
            save()


def measure_changes(appliance, rounds):
    rows = []
    for title in "site added", "virtual server on", "ISP account":
        appliance.set_method(SAVES[title][0])
        keep_changes(appliance, None, None)
        before, request = appliance.files(), posted(SAVES[title][1])
        bare = appliance.trace(PROGRAM, request)
        after = appliance.files()
        changed = [path for path in after if after[path] != before.get(path)]

        def save():
            appliance.restore(changed, before)
            return appliance.run(PROGRAM, request)[1]

        for number in KEPT:
            keep_changes(appliance, number, save)
            cost = save()
            for _ in range(rounds):
                cost = save().least(cost)
            appliance.restore(changed, before)
            trace, seen = appliance.trace(PROGRAM, request), appliance.trace(PROGRAM, view("nat_vs"))
            rows.append([title, "no folder" if number is None else str(number), cost.wall, cost.cpu, trace.own,
                         judged(trace.fsyncs, bare.fsyncs + 4 + len(changed), "{}"), seen.own])
        appliance.restore(changed, before)
    keep_changes(appliance, None, None)
    table(f"Kept changes, the least of {rounds} (where there are 64, each save drops the oldest)",
          ["save", "kept", "us", "processor", "calls", "fsyncs   ", "calls of a view"], rows)


# ---- growth ----

def lines(text, number):
    return "".join(text.format(i) for i in range(1, number + 1))


def inf_file(models):
    return ("[Manufacturer]\n%M% = S\n[S]\n" + lines("%K{0}% = I\n", models) +
            '[I]\nAddReg = R\n[R]\nHKR, Init, 1,, "AT<cr>"\n[Strings]\nM = "Maker"\n' +
            lines('K{0} = "Modem {0}"\n', models))


SITES, LOG = "/usr/local/squid/etc/deny.list", "/usr/local/squid/logs/access.log"
MODEMS, FIREWALL = "/etc/ppp/modem.ini", "/etc/rc.d/rc.firewall"
SITE, ASKED = "site{}.example\n", "2001-05-14/08:02:11 192.168.1.23 http://www.example.org/{}\n"
MODEM, APPLICATION = "[Modem {0}]\nInitString=AT&F{0}\n\n", "\n#@Game {0}\n ipchains -A output -p tcp 1:{0}\n\n"

GROWTH = [  # title, largest size, the bar of the exponent, the file that grows, its lines, and what is posted
    ("sites: view", 10**6, CONSTANT, SITES, SITE, lambda n: view("sites_ban")),
    ("sites: one added", 10**6, LINEAR, SITES, SITE, lambda n: posted(SAVES["site added"][1])),
    ("sites: ten deleted", 10**6, LINEAR, SITES, SITE, lambda n: posted(
        post("sites_ban", "del_selected", {"banned_list": [f"site{i}.example" for i in range(1, 11)]}))),
    ("sites: n imported", 10**5, LINEAR, SITES, "", lambda n: posted(
        post_file("sites_ban", "import_file", "upload_file", lines("http://site{}.example/\n", n)))),
    ("log: view", 10**6, CONSTANT, LOG, ASKED, lambda n: view("filterlog")),
    ("modems: view", 10**5, LINEAR, MODEMS, MODEM, lambda n: view("sp_port")),
    ("modems: n imported", 10**5, LINEAR, MODEMS, "", lambda n: posted(
        post_file("sp_port", "upload", "load_file", inf_file(n)))),
    ("applications: view", 10**4, LINEAR, FIREWALL, APPLICATION, lambda n: view("nat_sap")),
    ("applications: one added", 10**4, LINEAR, FIREWALL, APPLICATION, lambda n: posted(SAVES["application added"][1])),
    ("fields: a save", 19_900, LINEAR, "", "", lambda n: posted(
        post("nat_vs", "save", SERVER, {f"f{i}": "0123456789" for i in range(n)}))),
]


def measure_growth(appliance, rounds):
    start = min(appliance.run(PROGRAM, view("nat_filter"))[1].cpu for _ in range(20))
    rows = []
    for title, largest, bar, path, line, request_of in GROWTH:
        costs = []
        for size in (largest // 100, largest // 10, largest):
            request = request_of(size)
            cost = None
            for _ in range(rounds):
                if path:
                    appliance.at(path).write_text(lines(line, size))
                cost = appliance.run(PROGRAM, request)[1].least(cost)
            costs.append(cost)
        body = len(request[1])
        grown = [max(cost.cpu - start, 200) for cost in costs]  # less is noise
        exponent = math.log10(grown[2] / grown[0]) / 2
        times = TIMES_INF if "modems: n" in title else TIMES_FORM
        growth = (costs[-1].peak - PEAK) * 1024 / body if body > 10**5 else None
        rows.append([title, *(f"{cost.cpu / 1000:.1f}" for cost in costs), largest, judged(exponent, bar),
                     costs[-1].peak, judged(max(growth, 0), times, "{:.1f}") if growth is not None else ""])
    table(f"Growth, the least of {rounds}: milliseconds of the processor at a hundredth, a tenth and all of the size",
          ["what", "1/100", "1/10", "all", "size", "exponent  ", "peak kB", "peak / form"], rows)


# ---- behind a server ----

CONFIGURATION = """server.document-root = "/www"
server.chroot = "{root}"
server.port = {port}
server.bind = "127.0.0.1"
server.modules = ("mod_cgi")
server.upload-dirs = ("/tmp")
server.max-keep-alive-requests = 1000000
cgi.assign = (".cgi" => "")
"""


def requests_a_second(port, path, seconds):
    """What the clients get together."""
    counts, end = [0] * CLIENTS, time.monotonic() + seconds

    def client(number):
        connection = http.client.HTTPConnection("127.0.0.1", port)
        while time.monotonic() < end:
            connection.request("GET", path)
            answer = connection.getresponse()
            if answer.status != 200 or not answer.read():
                raise OSError(f"{path}: {answer.status}")
            counts[number] += 1

    clients = [threading.Thread(target=client, args=(number,)) for number in range(CLIENTS)]
    for each in clients:
        each.start()
    for each in clients:
        each.join()
    return sum(counts) / seconds


def measure_throughput(appliance, rounds):
    request = view("nat_base")
    appliance.make_floor(appliance.run(PROGRAM, request)[0])
    for name in PROGRAM, FLOOR:  # the folder of a program is the one that it works in
        shutil.copy(appliance.at(name), appliance.at(f"/www{name.removesuffix('.cgi')}.cgi"))
    with socket.create_server(("127.0.0.1", 0)) as free:
        port = free.getsockname()[1]
    configuration = appliance.folder / "lighttpd.conf"
    configuration.write_text(CONFIGURATION.format(root=appliance.root.resolve(), port=port))
    server = subprocess.Popen([*ENTER, "lighttpd", "-D", "-f", configuration], stderr=subprocess.DEVNULL)
    try:
        time.sleep(1)
        best = {}
        for _ in range(rounds):
            for name in "nat", "floor":
                path = f"/{name}.cgi?{request[0]['QUERY_STRING']}"
                best[name] = max(best.get(name, 0), requests_a_second(port, path, 2))
    finally:
        server.terminate()
        server.wait()
    print(f"\n{CLIENTS} clients behind lighttpd, views of nat_base a second, the best of {rounds}: {best['nat']:.0f}, "
          f"floor {best['floor']:.0f}, ratio {judged(best['nat'] / best['floor'], THROUGHPUT, least=True)}")


def measure_start(appliance, rounds):
    """What the C library's start takes of both sides."""
    compile_c("stub.c", appliance.at("/bare"), "-nostartfiles", '-DANSWER=""')
    appliance.make_floor(b"")
    took = {name: min(appliance.run(name, view(""))[1].wall for _ in range(rounds)) for name in ("/bare", FLOOR)}
    print(f"An empty program takes {took[FLOOR]} us, without a C library {took['/bare']} us: its start asks the "
          "processor what it is, which\nleaves a virtual machine each time. There the ratios look better than on an "
          "appliance.")


def main():
    options = argparse.ArgumentParser()
    options.add_argument("program")
    options.add_argument("folder")
    options.add_argument("--quick", action="store_true", help="few rounds: counts are exact, times are not")
    given = options.parse_args()
    rounds = 5 if given.quick else 60
    appliance = Appliance(given.folder, given.program)
    print(f"Size of the program: {judged(Path(given.program).stat().st_size, BYTES, '{:,}')}")
    measure_start(appliance, rounds)
    measure_views(appliance, rounds)
    measure_saves(appliance, rounds)
    measure_meanwhile(appliance, given.program, rounds)
    measure_changes(appliance, rounds)
    measure_throughput(appliance, 1 if given.quick else 5)
    measure_growth(appliance, 1 if given.quick else 3)


if __name__ == "__main__":
    main()
