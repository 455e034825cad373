"""A line with a long way, as a program: python3 line.py ADDRESS SECONDS TARGET PORT... relays these ports of this address to
those of the target, every byte half a round trip of that many seconds later, the first ones a whole one more, for the
connection that a real line would have had to make."""
import asyncio
import sys


async def accept(reader, writer, target, port, round_trip):
    try:
        from_there, to_there = await asyncio.open_connection(target, port, limit=1 << 20)
    except OSError:
        return writer.close()
    made = asyncio.get_running_loop().time() + round_trip
    await asyncio.gather(carry(reader, to_there, made, round_trip / 2), carry(from_there, writer, made, round_trip / 2))


async def carry(reader, writer, made, way):
    queue = asyncio.Queue(maxsize=256)
    sender = asyncio.ensure_future(deliver(queue, writer))
    data = b'any'
    while data:
        try:
            data = await reader.read(1 << 18)
        except OSError:
            data = b''
        await queue.put((max(made, asyncio.get_running_loop().time()) + way, data))
    await sender


async def deliver(queue, writer):
    data = b'any'
    while data:
        due, data = await queue.get()
        wait = due - asyncio.get_running_loop().time()
        if wait > 0:
            await asyncio.sleep(wait)
        try:
            writer.write(data)
            await writer.drain()
        except OSError:  # what still comes from the other side goes nowhere
            pass
    writer.close()


async def main(address, round_trip, target, *ports):
    for port in ports:
        await asyncio.start_server(lambda reader, writer, port=port: accept(reader, writer, target, int(port), float(round_trip)),
                                   address, int(port), limit=1 << 20)
    print('ready', flush=True)
    await asyncio.Event().wait()


asyncio.run(main(*sys.argv[1:]))
