"""Measures whole trees to a farm's drive and back beside rclone with ten transfers against its own WebDAV server on this
machine, and beside its plain HTTP server (rclone is needed: tools/packages-bench.txt). One table comes out; a quiet machine
takes about 25 minutes for all of it, and each part stops with a message after VN_MINUTES (30).

    python3 bench/drive.py TREE [small] [big] [walk] [far] [restart]        (TREE: build/release/bin; without a part: all)

small    many files of 4 KiB up and down (VN_FILES, 100000)                          about 8 minutes
big      one big file up and down (VN_MIB, 4096), in turns (VN_ROUNDS, 3)            about 4 minutes
walk     a tree of entries on the drive (VN_ENTRIES, 1000000): entries a second, and
         the resident memory above idle                                               about 8 minutes
far      one worker and ten over a line of 50 ms (a relay that delays), files of 4 MiB about 2 minutes
restart  kills in the middle of big files: bytes that went over the line again, a worker about 1 minute

rclone's WebDAV side sends at most a hundred questions a second, whatever the machine does: of the small files it gets the
first folders only (VN_DAV_FILES, 3000), which its rate doesn't mind; its plain HTTP side has no such limit and gets all.

Each figure is the median of its rounds; ratio: this program's rate in that of the other. What the last round wrote is on the
medium before the next begins. "checked" beside big: rclone's copy, then an MD5 of what came and the sync that this program
doesn't go without; both are part of its own time.
"""
import mmap
import os
import shutil
import statistics
import subprocess
import sys
import tempfile
import threading
import time
import urllib.request

sys.path.insert(0, os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), 'tests', 'story'))
from stories import Failure, Rig, wait_for  # noqa: E402
from usage import memory, spent  # noqa: E402

LINE = os.path.join(os.path.dirname(os.path.abspath(__file__)), 'line.py')
FAR = '127.77.0.1'
TEN = ['--transfers', '10', '--checkers', '10', '--quiet']
LIMIT = 60 * int(os.environ.get('VN_MINUTES', '30'))
RANGE, CHUNK = 262145, 41943040


def number(name, otherwise):
    return int(os.environ.get(name, otherwise))


class Memory(threading.Thread):
    def __init__(self, pid):
        super().__init__(daemon=True)
        self.pid, self.most, self.over = pid, 0, False

    def run(self):
        while not self.over:
            try:
                self.most = max(self.most, memory(self.pid))
            except OSError:
                return
            time.sleep(0.05)


class Other:
    """rclone beside its own server over a folder; kind: webdav or http, which only gives."""

    def __init__(self, kind, folder, port):
        os.makedirs(folder, exist_ok=True)
        self.kind, self.folder, self.address = kind, folder, '127.0.0.1:%d' % port
        self.start()

    def start(self):
        self.server = subprocess.Popen(['rclone', 'serve', self.kind, self.folder, '--addr', self.address], stderr=subprocess.DEVNULL)
        wait_for('rclone to listen', 20, self.listens, 0.2)

    def listens(self):
        try:
            return bool(urllib.request.urlopen('http://' + self.address, timeout=2))
        except OSError:
            return False

    def copy(self, source, target):
        began = time.perf_counter()
        subprocess.run(['rclone', 'copy', source, target] + TEN, check=True, timeout=LIMIT)
        return time.perf_counter() - began

    def at(self, name):
        return ':%s,url="http://%s":%s' % (self.kind, self.address, name)

    def up(self, source, name):
        return self.copy(source, self.at(name))

    def down(self, name, target):
        if self.kind == 'http':  # it remembers what lay there when it was asked last
            self.end()
            self.start()
        return self.copy(self.at(name), target)

    def end(self):
        self.server.terminate()
        self.server.wait()


class Table:
    def __init__(self):
        print('%-34s %12s %12s  %-14s %6s  %s' % ('', 'this', 'other', '', 'ratio', 'of each round'), flush=True)

    @staticmethod
    def row(what, unit, mine, others=(), beside='rclone webdav'):
        """mine, others: rates, one a round."""
        rate = statistics.median(mine)
        if not others:
            return print('%-34s %12.1f %12s  %s' % (what, rate, '', unit), flush=True)
        ratios = [a / b for a, b in zip(mine, others)]
        print('%-34s %12.1f %12.1f  %-14s %6.2f  %s' % ('%s, %s' % (what, beside), rate, statistics.median(others), unit,
                                                        statistics.median(ratios), ' '.join('%.2f' % one for one in ratios)), flush=True)


def over(rig):
    rig.alive()
    return not any(rig.rows(store, 'select 1 from farm') for store in ('qnfileUploadD.db', 'qnfileDownD.db'))


def begin(rig, target, body=None):
    reply = rig.api(target, body, timeout=120)
    if not reply or reply.get('result') != 1:
        raise Failure('%s: %s' % (target, reply))
    return reply


def moved(rig, target, body=None):
    """Time of a transfer from the word to the last row."""
    began = time.perf_counter()
    begin(rig, target, body)
    wait_for(target, LIMIT, lambda: over(rig), 0.02)
    return time.perf_counter() - began


def settle(rig, mib=0):
    """What was written is on the medium, the farm has hashed what it got, and as much memory as is named was in use a moment
    ago: a virtual machine gets memory that it never touched from its host, at a quarter of a copy's speed, and who copies
    first would pay for all."""
    os.sync()
    last = [0]

    def idle():
        before, last[0] = last[0], spent(rig.farm.pid)
        return last[0] - before < 0.015

    wait_for('the farm to come to rest', LIMIT, idle, 0.5)
    with open('/proc/meminfo') as source:
        free = [int(line.split()[1]) // 1024 for line in source if line.startswith('MemFree')][0]
    if min(mib, free - 1024) > 0:
        mmap.mmap(-1, min(mib, free - 1024) << 20, flags=mmap.MAP_PRIVATE | mmap.MAP_ANONYMOUS | mmap.MAP_POPULATE).close()


def same(left, right):
    if subprocess.run(['rclone', 'check', left, right, '--download', '--quiet']).returncode != 0:
        raise Failure('%s and %s differ' % (left, right))


def gone(*folders):
    for folder in folders:
        shutil.rmtree(folder, ignore_errors=True)


def make_files(folder, count, size):
    block = os.urandom(size)
    for n in range(count):
        at = os.path.join(folder, 'd%d' % (n // 100))
        if n % 100 == 0:
            os.makedirs(at)
        with open(os.path.join(at, 'f%d' % n), 'wb') as out:
            out.write(n.to_bytes(8, 'big') + block[8:])


def small(rig, dav, http, folder, table):
    count = number('VN_FILES', 100000)
    source, back = os.path.join(folder, 'small'), os.path.join(folder, 'small-back')
    make_files(source, count, 4096)
    settle(rig)
    mine = moved(rig, '/drive/put?path=D/b', [source])
    settle(rig)
    few = min(count, number('VN_DAV_FILES', 3000)) // 100 * 100
    part = os.path.join(folder, 'small-part')
    for n in range(few // 100):
        shutil.copytree(os.path.join(source, 'd%d' % n), os.path.join(part, 'd%d' % n), copy_function=os.link)
    table.row('%d files of 4 KiB up' % count, 'files/s', [count / mine], [few / dav.up(part, 'small-part')])
    os.rename(source, os.path.join(dav.folder, 'small'))
    source = os.path.join(dav.folder, 'small')
    settle(rig)
    mine = moved(rig, '/drive/get?path=D/b/small&to=' + back)
    for other, name, files in ((http, 'small', count), (dav, 'small-part', few)):
        settle(rig)
        theirs = other.down(name, os.path.join(folder, 'small-other'))
        table.row('%d files of 4 KiB down' % count, 'files/s', [count / mine], [files / theirs], 'rclone ' + other.kind)
        gone(os.path.join(folder, 'small-other'))
    same(source, os.path.join(back, 'small'))
    gone(source, back, part, os.path.join(dav.folder, 'small-part'))


def checked(path):
    began = time.perf_counter()
    subprocess.run(['md5sum', path], check=True, stdout=subprocess.DEVNULL)
    with open(path, 'rb') as file:
        os.fsync(file.fileno())
    return time.perf_counter() - began


def big(rig, dav, http, folder, table):
    mib, rates = number('VN_MIB', 4096), {}
    source, other = os.path.join(folder, 'big'), os.path.join(folder, 'big-other')
    os.makedirs(source)
    name = os.path.join(source, 'file')

    def add(what, took):
        rates.setdefault(what, []).append(mib / took)

    for turn in range(number('VN_ROUNDS', 3)):
        with open(name, 'wb') as out:
            for _ in range(mib):
                out.write(os.urandom(1048576))
        settle(rig, mib)
        add('up', moved(rig, '/drive/put?path=D/b%d' % turn, [source]))
        settle(rig, mib)
        served = 'big%d' % turn  # a new name each time: its server remembers what it was sent
        add('dav up', dav.up(source, served))
        settle(rig, mib)
        back = os.path.join(folder, 'big-back%d' % turn)
        add('down', moved(rig, '/drive/get?path=D/b%d/big&to=%s' % (turn, back)))
        same(source, os.path.join(back, 'big'))
        gone(back)
        for server in (dav, http):
            settle(rig, mib)
            took = server.down(served, other)
            add(server.kind + ' down', took)
            if server is dav:
                add('checked', took + checked(os.path.join(other, 'file')))
            gone(other)
        gone(os.path.join(dav.folder, served))
    table.row('%d MiB up' % mib, 'MiB/s', rates['up'], rates['dav up'])
    for what, beside in (('webdav down', 'rclone webdav'), ('http down', 'rclone http'), ('checked', 'checked')):
        table.row('%d MiB down' % mib, 'MiB/s', rates['down'], rates[what], beside)
    gone(source)


def walk(rig, folder, table):
    entries = number('VN_ENTRIES', 1000000)
    urllib.request.urlopen('http://%s:%d/farm/drive?farm=1&fill=D/wide&folders=%d&files=100&size=1' % (rig.address, rig.http, entries // 101),
                           timeout=LIMIT).read()
    settle(rig)
    idle = memory(rig.client.pid)
    memory = Memory(rig.client.pid)
    memory.start()
    began = time.perf_counter()
    reply = begin(rig, '/drive/get?path=D/wide&to=' + os.path.join(folder, 'wide'))
    wait_for('the walk', LIMIT, lambda: rig.alive() and rig.rows('qnfileDownD.db', 'select 1 from farm where dirstate = 2'), 0.1)
    took = time.perf_counter() - began
    known, done = rig.rows('qnfileDownD.db', 'select fsum, fok from farm')[0]
    table.row('%d entries walked' % (known + entries // 101), 'entries/s', [(known + entries // 101) / took])
    table.row('  files that came meanwhile', 'files', [done])
    table.row('  memory above %.0f MiB at idle' % idle, 'MiB', [memory.most - idle])
    begin(rig, '/drive/status?act=delete&id=%d' % reply['data']['id'])
    wait_for('the batch to go', LIMIT, lambda: over(rig), 0.2)
    memory.over = True
    gone(os.path.join(folder, 'wide'))


def far(tree, folder, table):
    """Rates of one file alone, of one worker, and of ten for about as long: ten times the files for ten."""
    files, rates = number('VN_FAR', 20), {}
    for what, workers, count in (('one file', 1, 1), ('one worker', 1, files), ('ten', 10, 10 * files)):
        source = os.path.join(folder, 'far')
        os.makedirs(source)
        for n in range(count):
            with open(os.path.join(source, 'f%d' % n), 'wb') as out:
                out.write(os.urandom(4 << 20))
        line = None
        rig = Rig(tree, os.path.join(folder, 'far-rig'), config_sections={'Transfer': {'upTh': workers, 'downTh': workers}},
                  farm_options=['--told', FAR])
        try:
            rig.start_farm()
            line = subprocess.Popen([sys.executable, LINE, FAR, '0.05', rig.address, str(rig.ports['http']), str(rig.ports['file'])],
                                    stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
            line.stdout.readline()
            rig.start_client()
            rig.wait_login()
            rates['up', what] = 4 * count / moved(rig, '/drive/put?path=D/far', [source])
            settle(rig)
            back = os.path.join(folder, 'far-back')
            rates['down', what] = 4 * count / moved(rig, '/drive/get?path=D/far/far&to=' + back)
            same(source, os.path.join(back, 'far'))
        finally:
            rig.stop()
            if line:
                line.terminate()
                line.wait()
                line.stdout.close()
            gone(source, os.path.join(folder, 'far-back'), rig.folder)
    for way in ('up', 'down'):
        for one in ('one file', 'one worker'):
            table.row('50 ms, ten workers %s' % way, 'MiB/s', [rates[way, 'ten']], [rates[way, one]], one)


def restart(tree, folder, table):
    """Files of 64 MiB with ten workers, killed three times on the way; the farm counts what went over."""
    count, kills, mib = 20, 3, 64
    source = os.path.join(folder, 'restart')
    os.makedirs(source)
    for n in range(count):
        with open(os.path.join(source, 'f%d' % n), 'wb') as out:
            for _ in range(mib):
                out.write(os.urandom(1 << 20))
    total = count * mib << 20
    rig = Rig(tree, os.path.join(folder, 'restart-rig'), config_sections={'Transfer': {'upTh': 10, 'downTh': 10}}, farm_options=['--drive-size', '100'])
    try:
        rig.start_farm()
        for way, counter, target, body in (('up', 'bytesUp', '/drive/put?path=D/r', [source]),
                                           ('down', 'bytesDown', '/drive/get?path=D/r/restart&to=' + os.path.join(folder, 'restart-back'), None)):
            rig.start_client()
            rig.wait_login()
            first = rig.farm_state()['counters'][counter]

            def went():
                return rig.farm_state()['counters'][counter] - first

            begin(rig, target, body)
            met = 0
            for n in range(kills):
                wait_for('some bytes', LIMIT, lambda: went() > total * (n + 1) // (kills + 1) or over(rig), 0.01)
                met += not over(rig)
                rig.kill_client()
                rig.start_client()
                rig.wait_login()
            wait_for('the rest', LIMIT, lambda: over(rig), 0.05)
            if not met:
                raise Failure('the kills came too late')
            table.row('%d kills, repeated %s a worker' % (met, way), 'KiB (of %d)' % ((CHUNK if way == 'up' else RANGE) >> 10),
                      [max(0, went() - total) / met / 10 / 1024])
            rig.kill_client()
            settle(rig)
        same(source, os.path.join(folder, 'restart-back', 'restart'))
    finally:
        rig.stop()
        gone(source, os.path.join(folder, 'restart-back'), rig.folder)


def main():
    parts = ['small', 'big', 'walk', 'far', 'restart']
    if len(sys.argv) < 2 or sys.argv[1].startswith('-') or set(sys.argv[2:]) - set(parts):
        sys.exit(__doc__)
    tree, parts = sys.argv[1], sys.argv[2:] or parts
    folder = tempfile.mkdtemp(prefix='bench-drive-')
    servers, failed = [], 0
    print('machine load %.1f %.1f %.1f' % os.getloadavg())
    table = Table()

    def shared(run, *others):
        rig = Rig(tree, os.path.join(folder, 'rig-' + run.__name__), farm_options=['--drive-size', '100'])
        try:
            rig.start_farm()
            rig.start_client()
            rig.wait_login()
            run(rig, *others, folder, table)
        finally:
            rig.stop()
            gone(rig.folder)

    try:
        if 'small' in parts or 'big' in parts:
            for kind, port in (('webdav', 46398), ('http', 46399)):
                servers.append(Other(kind, os.path.join(folder, 'served'), port))
        for part, run in (('small', lambda: shared(small, *servers)), ('big', lambda: shared(big, *servers)), ('walk', lambda: shared(walk)),
                          ('far', lambda: far(tree, folder, table)), ('restart', lambda: restart(tree, folder, table))):
            try:
                if part in parts:
                    run()
            except (Failure, OSError, subprocess.SubprocessError) as trouble:
                failed += 1
                print('%-34s failed: %s' % (part, trouble), flush=True)
    finally:
        for server in servers:
            server.end()
        gone(folder)
    print('machine load %.1f %.1f %.1f' % os.getloadavg())
    sys.exit(1 if failed else 0)


main()
