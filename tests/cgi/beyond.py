"""What an appliance finds beyond its gateway: name servers, each with its own way to answer, and
hosts of the internet. Run in a network namespace of its own."""

import select
import socket
import struct
import subprocess

OPEN, CLOSED, MUTE = "127.0.1.1", "127.0.1.2", "127.0.1.3"
ANSWER, CUT = 0x8180, 0x8380  # flags: recursion asked for and there; cut short


def record(kind, data, name=b"\xc0\x0c"):
    return name + struct.pack(">HHIH", kind, 1, 60, len(data)) + data


def address(text):
    return record(1, socket.inet_aton(text))


def answer(query, *records, flags=ANSWER, questions=1, count=None):
    counts = struct.pack(">HHHHH", flags, questions, len(records) if count is None else count, 0, 0)
    return query[:2] + counts + query[12:] + b"".join(records)


ALIAS = record(5, b"\x01w\xc0\x0c")  # as long as an address
# What the servers 127.0.0.1 and so on send to a query, one packet or several.
SERVERS = [
    lambda query: [answer(query, ALIAS, address(OPEN), address(CLOSED))],
    lambda query: [answer(query, address(CLOSED))],
    lambda query: [answer(query, address(MUTE))],
    lambda query: [answer(query, flags=ANSWER | 3)],
    lambda query: [answer(query, flags=ANSWER | 2)],
    lambda query: [],
    lambda query: [answer(query, address(OPEN), flags=CUT)],
    # None of these is an answer to the query.
    lambda query: [answer(bytes([query[0] ^ 1]) + query[1:], address(OPEN))],
    lambda query: [
        query, b"", answer(query, count=9), answer(query, address(OPEN), questions=0),
        answer(query, address(OPEN), flags=0x9180), answer(query, address(OPEN)[:-1]),
        answer(query[:13] + b"f" + query[14:], address(OPEN))],
    # The name of the record points at itself, and the letters have changed.
    lambda query: [
        answer(query[:12] + query[12:].upper(), record(1, socket.inet_aton(OPEN), b"\xc0\x1d"))],
]


def bound(number):
    server = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    server.bind((f"127.0.0.{number}", 53))
    return server


def main():
    subprocess.run(["ip", "link", "set", "lo", "up"], check=True)
    servers = {bound(number): replies for number, replies in enumerate(SERVERS, 1)}
    stranger = bound(99)
    listening = [socket.create_server(each) for each in ((OPEN, 80), (MUTE, 80))]
    listening[1].listen(0)
    waiting = [socket.socket() for _ in range(4)]  # more than the second one takes
    for each in waiting:
        each.setblocking(False)
        each.connect_ex((MUTE, 80))
    print("ready", flush=True)
    while True:
        for server in select.select(servers, [], [])[0]:
            query, client = server.recvfrom(512)
            stranger.sendto(answer(query, address(OPEN)), client)  # before whom it asks can
            for packet in servers[server](query):
                server.sendto(packet, client)


if __name__ == "__main__":
    main()
