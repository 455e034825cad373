"""Sends a tree of a million files of 0 to 200 bytes in ten thousand folders to a drive and fetches it, through the whole
client, while its window shows the batch and scrolls through its files (watch.so beside the programs); on the way the
batch is paused, the client killed at half (the sums must be those of the rows), and a second batch deleted when all of it
is known. One line each VN_EVERY (20) seconds, a line with the whole of each batch. VN_FILES (1000000) makes it smaller;
VN_FOLDER is kept, with the tree and the farm, for a later run.

    python3 bench/million.py TREE [up] [down]        (TREE: build/release/bin; without a part: both)

memory   of the client: resident, and of it anonymous, above what it had before the batch, in MiB
rate     files a second in the first, the middle and the last tenth: a cost that grows with the rows would show
stalls   turns of the window's thread that were longer than 16 ms by the clock, and by its own processor time alone
"""
import json
import os
import random
import shutil
import socket
import sys
import tempfile
import threading
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), 'tests', 'story'))
from stories import Failure, Rig, wait_for  # noqa: E402
from usage import memory, spent  # noqa: E402

FILES = int(os.environ.get('VN_FILES', '1000000'))
EACH = 100  # files a folder
LIMIT = 7200
LISTS = {'up': 2, 'down': 3}
STORES = {'up': 'qnfileUploadD.db', 'down': 'qnfileDownD.db'}
HISTORY = 'qnfileOkD.db'


def both(pid):
    return [memory(pid, kind) for kind in ('VmRSS', 'RssAnon')]


class Watch:
    """The client from within, see watch.cpp."""

    def __init__(self, path):
        self.path, self.link, self.lock = path, None, threading.Lock()

    def ask(self, line):
        with self.lock:
            try:
                return self.answer(line)
            except OSError:
                self.link = self.link and self.link.close()
                raise

    def answer(self, line):
        if not self.link:
            self.link = socket.socket(socket.AF_UNIX)
            self.link.settimeout(60)
            self.link.connect(self.path)
        self.link.sendall(line.encode() + b'\n')
        reply = b''
        while not reply.endswith(b'\n'):
            part = self.link.recv(4096)
            if not part:
                raise OSError('the client is gone')
            reply += part
        return json.loads(reply)


class Journey(threading.Thread):
    """Looks each second at what the client takes, and how far it is."""

    def __init__(self, rig, way, watch, quiet):
        super().__init__(daemon=True)
        self.rig, self.way, self.watch, self.over = rig, way, watch, False
        self.idle, self.lines, self.began = both(rig.client.pid), [], time.monotonic()
        self.starts = False  # the client: what its window does then is another matter
        self.turns = {'turns': 0, 'over': 0, 'overOwn': 0, 'worst': 0.0, 'worstOwn': 0.0}
        self.cpu = [spent(rig.client.pid), spent(rig.farm.pid)]
        self.every = quiet

    def far(self):
        rows = self.rig.rows(STORES[self.way], 'select fok, fsum, dirstate from farm order by pri desc limit 1')
        rows = rows or self.rig.rows(HISTORY, 'select fok, fsum, dirstate from farm order by pri desc limit 1')
        return rows[0] if rows else (0, 0, 0)

    def size(self):
        sizes = 0
        for store in (STORES[self.way], HISTORY):
            for end in ('', '-wal'):
                path = os.path.join(self.rig.user_dir(), store + end)
                sizes += os.path.getsize(path) if os.path.exists(path) else 0
        return sizes / 1e6

    def look(self):
        done, known, walk = self.far()
        told = self.watch.ask('turns')
        if self.starts:
            raise OSError('not yet')
        for name in ('turns', 'over', 'overOwn'):
            self.turns[name] += told[name]
        for name in ('worst', 'worstOwn'):
            self.turns[name] = max(self.turns[name], told[name])
        now = both(self.rig.client.pid)
        self.lines.append((time.monotonic() - self.began, done, known, [a - b for a, b in zip(now, self.idle)]))
        return done, known, walk, told

    def run(self):
        last, shown, scrolls, worst = None, 0, True, [0, 0]
        while not self.over:
            try:
                done, known, walk, told = self.look()
            except (OSError, Failure, ValueError):  # killed, or on its way
                time.sleep(0.5)
                continue
            at = self.lines[-1]
            if at[0] - shown >= self.every:
                cpu = [spent(self.rig.client.pid), spent(self.rig.farm.pid)]
                if last:
                    print('%6.0f s  %8d of %8d %-6s %6.0f files/s  rss +%5.1f anon +%5.1f MiB  cpu %3.0f%% farm %3.0f%%  '
                          'turns worst %6.1f own %5.1f ms rows %6d  stores %5.0f MB  load %.0f'
                          % (at[0], done, known, 'walked' if walk == 2 else '', (done - last[1]) / (at[0] - last[0]), *at[3],
                             *[100 * (a - b) / (at[0] - last[0]) for a, b in zip(cpu, self.cpu)], *worst, told['rows'], self.size(), os.getloadavg()[0]), flush=True)
                self.cpu, last, shown = cpu, at, at[0]
                worst = [0, 0]
                self.watch.ask('scroll %d' % (0 if scrolls else 37))
                scrolls = not scrolls
            worst = [max(a, told[b]) for a, b in zip(worst, ('worst', 'worstOwn'))]
            time.sleep(1)

    def end(self):
        self.over = True
        self.join()

    def tell(self, what):
        def rate(first, last):
            part = [one for one in self.lines if first * FILES <= one[1] <= last * FILES]
            return (part[-1][1] - part[0][1]) / (part[-1][0] - part[0][0]) if len(part) > 1 else 0

        def most(at):
            return max(one[3][at] for one in self.lines)

        print('%-28s files/s %5.0f first tenth %5.0f middle %5.0f last   memory +%.0f MiB (anonymous +%.0f) over %.0f   '
              'turns over 16 ms: %d of %d, worst %.0f ms (own time: %d, %.0f ms)'
              % (what, rate(0, 0.1), rate(0.45, 0.55), rate(0.9, 1), most(0), most(1), self.idle[0], self.turns['over'], self.turns['turns'],
                 self.turns['worst'], self.turns['overOwn'], self.turns['worstOwn']), flush=True)


def make_tree(folder):
    chance = random.Random(1)
    for n in range(FILES // EACH):
        at = os.path.join(folder, 'g%d' % (n // 100), 'd%d' % n)
        os.makedirs(at)
        for m in range(EACH):
            with open(os.path.join(at, 'frame%d.txt' % m), 'wb') as out:
                out.write(chance.randbytes(chance.randrange(201)))


def count(folder):
    return sum(len(names) for _, _, names in os.walk(folder))


class Road:
    def __init__(self, rig, folder):
        self.rig, self.folder = rig, folder
        self.watch = Watch(os.path.join(folder, 'watch'))

    def start(self):
        library = os.path.join(self.rig.tree, 'watch.so')
        os.environ.update(LD_PRELOAD=library, VN_WATCH=self.watch.path)
        self.rig.start_client()
        for name in ('LD_PRELOAD', 'VN_WATCH'):
            del os.environ[name]
        began = time.monotonic()
        self.rig.wait_login(LIMIT)
        took = time.monotonic() - began
        time.sleep(3)
        self.watch.ask('turns')
        return took

    def show(self, way):
        wait_for('the list', 60, lambda: self.watch.ask('list %d' % LISTS[way]) is not None, 0.5)
        self.watch.ask('scroll 37')

    def act(self, batch, word):
        began = time.monotonic()
        reply = self.rig.api('/drive/status?id=%d&act=%s' % (batch, word), timeout=60)
        if not reply or reply['result'] != 1:
            raise Failure('%s: %s' % (word, reply))
        return time.monotonic() - began

    def state(self, way):
        rows = self.rig.rows(STORES[way], 'select state from farm order by pri desc limit 1')
        return rows[0][0] if rows else None

    def wait_done(self, journey, part):
        wait_for('%d files' % (part * FILES), LIMIT, lambda: self.rig.alive() and journey.far()[0] >= part * FILES, 0.2)

    def sums(self, way):
        """What is known is what is over and what stands in the rows."""
        for batch, done, known, size, up in self.rig.rows(STORES[way], 'select pri, fok, fsum, fsize, fup from farm'):
            left, bytes_left = self.rig.rows(STORES[way], 'select count(*), coalesce(sum(size), 0) from file_%d' % batch)[0]
            if known != done + left or size != up + bytes_left:
                raise Failure('%d known, %d over, %d rows; %d bytes, %d over, %d in the rows' % (known, done, left, size, up, bytes_left))

    def travel(self, way, target, body):
        journey = Journey(self.rig, way, self.watch, float(os.environ.get('VN_EVERY', '20')))
        batch = self.rig.api(target, body, timeout=60)['data']['id']
        journey.start()
        wait_for('some files', 60, lambda: journey.far()[1] > 0, 0.1)
        self.show(way)
        self.wait_done(journey, 0.25)
        took = self.act(batch, 'pause')
        self.tell('pause', took + self.until(lambda: self.state(way) in (2, 12)))
        before = journey.far()[0]
        time.sleep(3)
        if journey.far()[0] > before + 500:
            raise Failure('a paused batch goes on')
        self.act(batch, 'continue')
        self.tell('continue, to the 500th file', self.until(lambda: journey.far()[0] > before + 500))
        self.wait_done(journey, 0.5)
        self.rig.kill_client()
        self.sums(way)
        journey.starts = True
        self.tell('start after a kill at half', self.start())
        journey.starts = False
        self.show(way)
        wait_for('the end', LIMIT, lambda: self.rig.alive() and not self.rig.rows(STORES[way], 'select 1 from farm'), 0.5)
        time.sleep(3)
        journey.end()
        journey.tell('%d files %s' % (FILES, way))
        done, known, rows = self.rig.rows(HISTORY, 'select fok, fsum, (select count(*) from file_%d) from farm where pri = %d' % (batch, batch))[0]
        if not done == known == rows == FILES:
            raise Failure('%d of %d over, %d rows' % (done, known, rows))

    @staticmethod
    def tell(what, took):
        print('%-28s %.2f s' % (what, took), flush=True)

    @staticmethod
    def until(test):
        began = time.monotonic()
        wait_for('it', LIMIT, test, 0.01)
        return time.monotonic() - began

    def delete(self, way, target, body):
        """A second batch, deleted when all of it is known and a part of it is over."""
        batch = self.rig.api(target, body, timeout=60)['data']['id']
        journey = Journey(self.rig, way, self.watch, 20)
        journey.start()
        self.show(way)
        wait_for('the walk', LIMIT, lambda: self.rig.alive() and journey.far()[2] == 2, 0.2)
        self.wait_done(journey, 0.02)
        took = self.act(batch, 'delete')
        self.tell('delete', took + self.until(lambda: not self.rig.rows(STORES[way], 'select 1 from farm')))

        def tables():
            return [name for store in (STORES[way], HISTORY)
                    for name, in self.rig.rows(store, "select name from sqlite_master where type = 'table' and name like ?", ('%%%d' % batch,))]
        self.tell('its rows are gone', self.until(lambda: not tables()))
        journey.end()
        journey.tell('%d files %s, deleted' % (FILES, way))


def main():
    parts = sys.argv[2:] or ['up', 'down']
    if len(sys.argv) < 2 or sys.argv[1].startswith('-') or set(parts) - {'up', 'down'}:
        sys.exit(__doc__)
    folder = os.environ.get('VN_FOLDER') or tempfile.mkdtemp(prefix='bench-million-')
    source = os.path.join(folder, 'tree')
    for old in ('program', 'home/.local/share/VandrelQN/AllUser'):  # of an earlier run: another build, other ports
        shutil.rmtree(os.path.join(folder, 'rig', old), ignore_errors=True)
    rig = Rig(sys.argv[1], os.path.join(folder, 'rig'), farm_options=['--drive-size', '100'])
    road = Road(rig, folder)
    print('machine load %.1f %.1f %.1f' % os.getloadavg(), flush=True)
    try:
        if not os.path.exists(source):
            make_tree(source)
            os.sync()
        rig.start_farm()
        road.start()
        if 'up' in parts:
            road.travel('up', '/drive/put?path=D/a', [source])
            road.delete('up', '/drive/put?path=D/b', [source])
        if 'down' in parts:
            back = os.path.join(folder, 'back')
            road.travel('down', '/drive/get?path=D/a/tree&to=' + back, None)
            if count(back) != FILES:
                raise Failure('%d files came' % count(back))
            road.delete('down', '/drive/get?path=D/a/tree&to=' + back + '2', None)
    except (Failure, OSError) as trouble:
        sys.exit('failed: %s' % trouble)
    finally:
        rig.stop()
        if 'VN_FOLDER' not in os.environ:
            shutil.rmtree(folder, ignore_errors=True)
    print('machine load %.1f %.1f %.1f' % os.getloadavg())


main()
