#!/usr/bin/env python3
"""Honest and hostile clients, 500 connections at a time, at the agent server of bench/agent_ping.

    bench/agent_storm.py [SECONDS] [PROGRAM]

Every honest request is to be answered rightly, whatever the others do, and the server's memory is
to come back to within 10 % of where it was after a first short storm. Fails otherwise.
"""
import asyncio
import os
import pathlib
import random
import subprocess
import sys

SECONDS = float(sys.argv[1]) if len(sys.argv) > 1 else 60
PROGRAM = sys.argv[2] if len(sys.argv) > 2 else str(
    pathlib.Path(__file__).parent.parent / "build/release/bin/agent_ping")
HONEST = 250
HOSTILE = 250


class Storm:
    def __init__(self, port, token):
        self.port, self.token = port, token
        self.answered = self.wrong = self.attacks = 0
        self.slowest = 0.0
        self.over = False

    def request(self, body, extra=""):
        return (f"POST /mcp HTTP/1.1\r\nHost: 127.0.0.1:{self.port}\r\nAuthorization: Bearer "
                f"{self.token}\r\n{extra}Content-Length: {len(body)}\r\n\r\n{body}").encode()

    async def connect(self):
        return await asyncio.open_connection("127.0.0.1", self.port)

    async def answer(self, reader):
        head = (await reader.readuntil(b"\r\n\r\n")).decode()
        size = int(head.split("Content-Length: ")[1].split("\r\n")[0])
        return head.split()[1], (await reader.readexactly(size)).decode()

    async def expect(self, reader, number):
        began = asyncio.get_running_loop().time()
        status, body = await asyncio.wait_for(self.answer(reader), 20)
        self.slowest = max(self.slowest, asyncio.get_running_loop().time() - began)
        right = status == "200" and body == f'{{"jsonrpc":"2.0","id":{number},"result":{{}}}}'
        self.answered += right
        self.wrong += not right

    async def honest(self, dice):
        while not self.over:
            try:
                reader, writer = await self.connect()
                for _ in range(dice.randint(1, 20)):
                    numbers = [dice.randint(0, 10**9) for _ in range(dice.choice([1, 1, 1, 5]))]
                    sent = b"".join(
                        self.request(f'{{"jsonrpc":"2.0","id":{n},"method":"ping"}}') for n in numbers)
                    if dice.random() < 0.05:
                        for byte in sent:
                            writer.write(bytes([byte]))
                            await asyncio.sleep(0)
                    else:
                        writer.write(sent)
                    ends = dice.random() < 0.05
                    if ends:
                        writer.write_eof()
                    for number in numbers:
                        await self.expect(reader, number)
                    if ends:
                        break
                    await asyncio.sleep(dice.random() * 0.05)
                    if dice.random() < 0.02:
                        break
                writer.close()
            except (asyncio.IncompleteReadError, asyncio.TimeoutError, OSError) as error:
                self.wrong += 1
                print(f"an honest client met {error!r}")

    async def hostile(self, dice):
        ping = self.request('{"jsonrpc":"2.0","id":1,"method":"ping"}')
        kinds = [
            lambda: os.urandom(dice.randint(1, 20000)),
            lambda: b"POST /mcp HTTP/1.1\r\n" + b"X: y\r\n" * dice.randint(1, 5000),
            lambda: self.request("[" * 100000),
            lambda: self.request("x" * 1048576),
            lambda: b"POST /mcp HTTP/1.1\r\nContent-Length: 99999999\r\n\r\n" + b"x" * 500000,
            lambda: self.request("{}", "Transfer-Encoding: chunked\r\n"),
            lambda: self.request("{}", "Origin: https://evil.example\r\n"),
            lambda: ping[:dice.randint(1, len(ping))],
            lambda: ping * 5000,  # and reads none of the answers
            lambda: ping.replace(self.token.encode(), b"guess"),
            lambda: b"",
        ]
        while not self.over:
            try:
                _, writer = await self.connect()
                writer.write(dice.choice(kinds)())
                await asyncio.sleep(dice.random() * 0.5)
                # Closed with bytes unsent it would stay open, as one connection more than meant.
                unsent = writer.transport.get_write_buffer_size() > 0
                if unsent or dice.random() < 0.5:
                    writer.transport.abort()
                else:
                    writer.close()
                self.attacks += 1
            except OSError:
                pass

    async def run(self, seconds):
        self.over = False
        work = [asyncio.create_task(self.honest(random.Random(i))) for i in range(HONEST)]
        work += [asyncio.create_task(self.hostile(random.Random(-i - 1))) for i in range(HOSTILE)]
        await asyncio.sleep(seconds)
        self.over = True
        await asyncio.wait(work, timeout=30)


def resident(pid):
    status = pathlib.Path(f"/proc/{pid}/status").read_text()
    return int(status.split("RssAnon:")[1].split()[0])


async def main():
    server = subprocess.Popen([PROGRAM, "serve"], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                              text=True)
    try:
        port, token = server.stdout.readline().split()
        storm = Storm(int(port), token)
        await storm.run(min(5, SECONDS))
        await asyncio.sleep(4)
        before = resident(server.pid)
        storm.answered = storm.wrong = storm.attacks = 0
        storm.slowest = 0
        await storm.run(SECONDS)
        await asyncio.sleep(4)
        after = resident(server.pid)
        files = len(os.listdir(f"/proc/{server.pid}/fd"))
        print(f"{storm.answered} honest requests answered, {storm.wrong} not or wrongly, "
              f"{storm.attacks} attacks; slowest answer {storm.slowest:.2f} s (this client's own "
              f"load included); memory {before} kB before, {after} kB after; {files} files open")
        return 0 if storm.wrong == 0 and storm.answered > 0 and after <= before * 1.1 else 1
    finally:
        server.stdin.close()
        server.wait(10)


sys.exit(asyncio.run(main()))
