"""Measures whole trees to a farm's drive and back beside rclone with ten transfers against its own WebDAV server on this
machine (rclone is needed: tools/packages-bench.txt). Usage: python3 bench/drive.py TREE [small] [big] [walk] [far]

small  many files of 4 KiB up and down (VN_FILES, 20000)          files a second
big    one big file up and down (VN_MIB, 4096)                     MiB a second
walk   a tree of entries on the drive (VN_ENTRIES, 1000000)        entries a second; resident memory above idle
far    one worker and ten where each answer comes 50 ms late       MiB a second
"""
import os
import shutil
import subprocess
import sys
import tempfile
import threading
import time
import urllib.request

sys.path.insert(0, os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), 'tests', 'story'))
from stories import Failure, Rig, wait_for  # noqa: E402

TEN = ['--transfers', '10', '--checkers', '10', '--quiet']


def resident(pid):
    with open('/proc/%d/status' % pid) as source:
        return next(int(line.split()[1]) for line in source if line.startswith('VmRSS')) / 1024


class Memory(threading.Thread):
    def __init__(self, pid):
        super().__init__(daemon=True)
        self.pid, self.most, self.over = pid, 0, False

    def run(self):
        while not self.over:
            try:
                self.most = max(self.most, resident(self.pid))
            except OSError:
                return
            time.sleep(0.05)


class Other:
    """rclone beside its own WebDAV server over a folder."""

    def __init__(self, folder):
        os.makedirs(folder, exist_ok=True)
        self.folder, self.address = folder, '127.0.0.1:46399'
        self.server = subprocess.Popen(['rclone', 'serve', 'webdav', folder, '--addr', self.address], stderr=subprocess.DEVNULL)
        wait_for('rclone to listen', 20, self.listens, 0.2)

    def listens(self):
        try:
            return bool(urllib.request.urlopen('http://' + self.address, timeout=2))
        except OSError:
            return False

    def copy(self, source, target):
        began = time.perf_counter()
        subprocess.run(['rclone', 'copy', source, target] + TEN, check=True)
        return time.perf_counter() - began

    def up(self, source, name):
        return self.copy(source, ':webdav,url="http://%s":%s' % (self.address, name))

    def down(self, name, target):
        return self.copy(':webdav,url="http://%s":%s' % (self.address, name), target)

    def end(self):
        self.server.terminate()
        self.server.wait()


def over(rig):
    rig.alive()
    return not any(rig.rows(store, 'select 1 from farm') for store in ('qnfileUploadD.db', 'qnfileDownD.db'))


def moved(rig, target, body=None, seconds=3600):
    """Time of a transfer from the word to the last row."""
    began = time.perf_counter()
    reply = rig.api(target, body)
    if not reply or reply.get('result') != 1:
        raise Failure('%s: %s' % (target, reply))
    wait_for(target, seconds, lambda: over(rig), 0.02)
    return time.perf_counter() - began


def same(left, right):
    if subprocess.run(['rclone', 'check', left, right, '--download', '--quiet']).returncode != 0:
        raise Failure('%s and %s differ' % (left, right))


def tell(what, mine, other, unit):
    print('%-28s %10.1f %10.1f %s  ratio %.2f' % (what, mine, other, unit, mine / other), flush=True)


def small(rig, other, folder):
    count = int(os.environ.get('VN_FILES', '20000'))
    source = os.path.join(folder, 'small')
    block = os.urandom(4096)
    for n in range(count):
        if n % 100 == 0:
            os.makedirs(os.path.join(source, 'd%d' % (n // 100)))
        with open(os.path.join(source, 'd%d' % (n // 100), 'f%d' % n), 'wb') as out:
            out.write(n.to_bytes(8, 'big') + block[8:])
    mine, theirs = moved(rig, '/drive/put?path=D/b', [source]), other.up(source, 'small')
    tell('%d files of 4 KiB up' % count, count / mine, count / theirs, 'files/s')
    back = os.path.join(folder, 'small-back')
    mine, theirs = moved(rig, '/drive/get?path=D/b/small&to=' + back), other.down('small', os.path.join(folder, 'small-other'))
    tell('%d files of 4 KiB down' % count, count / mine, count / theirs, 'files/s')
    same(source, os.path.join(back, 'small'))


def big(rig, other, folder):
    mib = int(os.environ.get('VN_MIB', '4096'))
    source = os.path.join(folder, 'big')
    os.makedirs(source)
    with open(os.path.join(source, 'file'), 'wb') as out:
        for n in range(mib):
            out.write(os.urandom(1048576))
    mine, theirs = moved(rig, '/drive/put?path=D/b', [source]), other.up(source, 'big')
    tell('%d MiB up' % mib, mib / mine, mib / theirs, 'MiB/s')
    back = os.path.join(folder, 'big-back')
    mine, theirs = moved(rig, '/drive/get?path=D/b/big&to=' + back), other.down('big', os.path.join(folder, 'big-other'))
    tell('%d MiB down' % mib, mib / mine, mib / theirs, 'MiB/s')
    same(source, os.path.join(back, 'big'))


def walk(rig, folder):
    entries = int(os.environ.get('VN_ENTRIES', '1000000'))
    urllib.request.urlopen('http://%s:%d/farm/drive?farm=1&fill=D/wide&folders=%d&files=100&size=1' % (rig.address, rig.http, entries // 100),
                           timeout=3600).read()
    idle = resident(rig.client.pid)
    memory = Memory(rig.client.pid)
    memory.start()
    began = time.perf_counter()
    reply = rig.api('/drive/get?path=D/wide&to=' + os.path.join(folder, 'wide'), timeout=120)
    wait_for('the walk', 3600, lambda: rig.rows('qnfileDownD.db', 'select 1 from farm where dirstate = 2'), 0.1)
    took = time.perf_counter() - began
    known, done = rig.rows('qnfileDownD.db', 'select fsum, fok from farm')[0]
    print('%d entries walked         %10.1f entries/s, %d files came meanwhile; %.0f MiB resident, %.0f above idle' %
          (known, known / took, done, memory.most, memory.most - idle), flush=True)
    rig.api('/drive/status?act=delete&id=%d' % reply['data']['id'])
    wait_for('the batch to go', 120, lambda: over(rig), 0.2)
    memory.over = True


def far(tree, folder):
    """The farm keeps each answer back for 50 ms: one worker against ten, files of 4 MiB."""
    rates = {}
    source = os.path.join(folder, 'far')
    os.makedirs(source)
    for n in range(20):
        with open(os.path.join(source, 'f%d' % n), 'wb') as out:
            out.write(os.urandom(4 << 20))
    for workers in (1, 10):
        rig = Rig(tree, os.path.join(folder, 'far%d' % workers), config_sections={'Transfer': {'upTh': workers, 'downTh': workers}},
                  farm_options=['--fault', 'http-delay=50', '--fault', 'delay-file=50'])
        try:
            rig.start_farm()
            rig.start_client()
            rig.wait_login()
            rates['up', workers] = 80 / moved(rig, '/drive/put?path=D/far', [source])
            rates['down', workers] = 80 / moved(rig, '/drive/get?path=D/far/far&to=' + os.path.join(folder, 'far-back%d' % workers))
        finally:
            rig.stop()
    for way in ('up', 'down'):
        print('50 ms, %-5s one worker %.1f MiB/s, ten %.1f MiB/s: %.1f times' %
              (way, rates[way, 1], rates[way, 10], rates[way, 10] / rates[way, 1]), flush=True)


def main():
    tree, parts = sys.argv[1], sys.argv[2:] or ['small', 'big', 'walk']
    folder = tempfile.mkdtemp(prefix='bench-drive-')
    rig = Rig(tree, os.path.join(folder, 'rig'), farm_options=['--drive-size', '100'])
    other = None
    try:
        rig.start_farm()
        rig.start_client()
        rig.wait_login()
        if 'small' in parts or 'big' in parts:
            other = Other(os.path.join(folder, 'webdav'))
        print('%-28s %10s %10s' % ('', 'this', 'rclone'))
        for part, run in (('small', lambda: small(rig, other, folder)), ('big', lambda: big(rig, other, folder)), ('walk', lambda: walk(rig, folder))):
            if part in parts:
                run()
        if 'far' in parts:
            far(tree, folder)
    finally:
        if other:
            other.end()
        rig.stop()
        shutil.rmtree(folder, ignore_errors=True)


main()
