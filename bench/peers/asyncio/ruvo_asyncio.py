"""Triggers on a local TCP port, messages out by UDP and TCP: the same job in asyncio.

Usage: ruvo_asyncio.py SCENARIO.json
"""

import asyncio
import json
import re
import socket
import sys
import time

HOST = "127.0.0.1"
STATUS_TIMEOUT_S = 0.1
TCP_TIMEOUT_S = 2
TCP_REPLY_BYTES = 2048
TO_THE_END = -1
MACRO = re.compile(r"\{\{(.*?)\}\}", re.DOTALL)
BUILT_IN = {
    "date": lambda: time.strftime("%Y-%m-%d "),
    "time": lambda: time.strftime("%H:%M:%S"),
    "uptime": lambda: str(int(time.clock_gettime(time.CLOCK_BOOTTIME))),
}


def expand(text, items):
    """Macros first: an item's value may hold escapes too."""

    def value(match):
        name = match[1]
        return items[name] if name in items else BUILT_IN.get(name.lower(), str)()

    text = MACRO.sub(value, text)
    return text.replace("\\n", "\n").replace("\\r", "\r").replace("\\t", "\t").encode("latin-1")


def parse_report(report):
    """Lines name:value; the first of two items of one name counts."""
    lines = [line.partition(":") for line in re.split("[\r\n]", report.decode("latin-1"))]
    return {name: value for name, colon, value in reversed(lines) if colon}


async def exchange(ip, port, data, reply_bytes, timeout_s):
    """Sends and reads; empty when it fails or takes longer."""
    try:
        async with asyncio.timeout(timeout_s):
            reader, writer = await asyncio.open_connection(ip, port)
            try:
                writer.write(data)
                return await reader.read(reply_bytes)
            finally:
                writer.close()
    except (OSError, TimeoutError):
        return b""


class Bridge:
    def __init__(self, scenario):
        self.port = scenario["port"]
        self.status_port = scenario["status_port"]
        self.events = scenario["events"]
        self.items = {}
        self.udp = None
        self.tasks = set()

    async def run(self):
        loop = asyncio.get_running_loop()
        self.udp, _ = await loop.create_datagram_endpoint(asyncio.DatagramProtocol, family=socket.AF_INET)
        server = await asyncio.start_server(self.serve, HOST, self.port)
        async with server:
            await server.serve_forever()

    async def serve(self, reader, writer):
        try:
            name = (await reader.readline()).rstrip(b"\n")
            if event := self.events.get(name.decode("latin-1")):
                await self.schedule(event)
            if name:
                writer.write(name + b"\n")
        except OSError:
            pass  # the client has gone
        finally:
            writer.close()

    async def schedule(self, event):
        """Every deadline counts from one reading of the clock, so no delay adds up. One timer
        serves all sends of a moment, which keeps them in order."""
        await self.refresh_items()
        delay = event["delay_s"]
        batches = {}
        for send in event["sends"]:
            delay += send["delay_ms"] / 1000
            batches.setdefault(delay, []).append((send, expand(send["text"], self.items)))
        loop = asyncio.get_running_loop()
        now = loop.time()
        for delay, batch in batches.items():
            loop.call_at(now + delay, self.send_batch, batch)

    async def refresh_items(self):
        """Without an answer in time the items stay as they were."""
        request = (HOST, self.status_port, b"getStatus\r")
        if report := await exchange(*request, TO_THE_END, STATUS_TIMEOUT_S):
            self.items = parse_report(report)

    def send_batch(self, batch):
        for send, data in batch:
            if send["protocol"] == "UDP":
                self.udp.sendto(data, (send["ip"], send["port"]))
            else:
                self.send_tcp(send, data)

    def send_tcp(self, send, data):
        """The reply is read, so that it does not reset the connection, and dropped."""
        reply = exchange(send["ip"], send["port"], data, TCP_REPLY_BYTES, TCP_TIMEOUT_S)
        task = asyncio.get_running_loop().create_task(reply)
        # The loop itself does not keep its tasks alive.
        self.tasks.add(task)
        task.add_done_callback(self.tasks.discard)


def main():
    with open(sys.argv[1], encoding="ascii") as file:
        scenario = json.load(file)
    asyncio.run(Bridge(scenario).run())


if __name__ == "__main__":
    main()
