"""Trees go to the drives of two farms and come back, both at once, while the client is killed again and again: at moments
from a seed (VN_SEED), and right before a change of a store or of a half file that is named (modeldisk.cpp), so that walk,
files, count and move into the history are all met; some kills take the power along. Between the kills the client is frozen, batches are paused, continued and
deleted, the farm dies and links break. At the end every byte is where it belongs, every sum is that of the rows, and nothing
is left over. VN_KILLS: how many kills. VN_SWEEP=3: each third change of each store is cut before, from the opening to the history."""
import hashlib
import json
import os
import random
import shutil
import signal
import sqlite3
import sys
import time
import urllib.error
import urllib.request

from stories import Failure, digest, run, wait_for

KILLS = int(os.environ.get('VN_KILLS', '44'))
SINGLE = 'big0'  # each third batch is this file alone
GROUP = 40  # kills before everything is let come to its end and is compared
STORES = {'put': 'qnfileUploadD.db', 'get': 'qnfileDownD.db'}
HISTORY = 'qnfileOkD.db'
WORKERS = 10
# Where the cut falls: before the n-th change of such a file, of its tables (#), or of the second kind behind the first.
PLACES = [('qnfileUploadD.db-wal#', 1), ('qnfileDownD.db-wal#', 1), ('qnfileOkD.db>qnfileUploadD.db', 9), ('qnfileOkD.db>qnfileDownD.db', 9), ('qnfileUploadD.db', 250), ('qnfileDownD.db', 250),
          ('qnfileOkD.db', 120), ('qnfileUploadD.db>qnfileOkD.db', 9), ('qnfileDownD.db>qnfileOkD.db', 9), ('.vd', 40), ('.xtemp', 60)]
LIBRARY = os.path.abspath(sys.argv[2]) if len(sys.argv) > 2 else None
SWEEP = int(os.environ.get('VN_SWEEP', '0'))
if LIBRARY:
    from disk import Disk, preload


def make_tree(folder, chance):
    """path -> MD5; folders that are empty end with a slash."""
    tree = {'empty/below/': b'', 'zero': b'', '木 空/é &%+.txt': 'ü'.encode()}
    for n in range(25):
        for m in range(chance.randrange(12)):
            tree['d%d/s%d/f%d' % (n % 7, n, m)] = chance.randbytes(chance.randrange(20000))
    for n in range(3):
        tree['big%d' % n] = chance.randbytes(1500000 + chance.randrange(1500000))
    for path, content in tree.items():
        full = os.path.join(folder, path)
        os.makedirs(full if path.endswith('/') else os.path.dirname(full), exist_ok=True)
        if not path.endswith('/'):
            with open(full, 'wb') as out:
                out.write(content)
    return {path: hashlib.md5(content).hexdigest() for path, content in tree.items()}


class Drives:
    def __init__(self, rig, folder, chance):
        self.rig, self.folder, self.chance = rig, folder, chance
        self.tree = make_tree(os.path.join(folder, 'tree'), chance)
        self.single = {SINGLE: self.tree[SINGLE]}
        self.batches = {'put': [], 'get': []}  # numbers; n lies on farm n % 2 + 1
        self.forgotten = 0  # trees that came back and were compared
        self.ids, self.deleted = {}, set()     # (kind, n) -> handle, where the client could still tell it
        self.kills, self.met = 0, {}
        self.disk = Disk(folder, rig.home) if LIBRARY else None

    # --- what is asked for

    def begin(self, kind):
        n = len(self.batches[kind]) + (self.forgotten if kind == 'get' else 0)
        self.batches[kind].append(n)
        below, name = ('/tree', '/' + SINGLE) if n % 3 == 2 else ('', '')
        if kind == 'put':
            reply = self.rig.api('/drive/put?farm=%d&path=D/t%d%s' % (n % 2 + 1, n, below), [os.path.join(self.folder, 'tree' + name)])
        else:
            reply = self.rig.api('/drive/get?farm=%d&path=D/t%d/tree%s&to=%s%s' % (n % 2 + 1, n % 2, name, self.back(n), below))
        if reply and reply.get('result') == 1:
            self.ids[kind, n] = reply['data']['id']
        return (kind, n) in self.ids

    def back(self, n):
        return os.path.join(self.rig.home, 'back%d' % n)

    def active(self, kind):
        return [pri for pri, in self.rig.rows(STORES[kind], 'select pri from farm order by pri')]

    def steer(self):
        """Pauses, continues or deletes some batch."""
        kind = self.chance.choice(('put', 'get'))
        mine = [pri for pri in self.active(kind) if pri in self.ids.values()]
        if not mine:
            return
        pri, act = self.chance.choice(mine), self.chance.choice(('pause', 'continue', 'delete', 'pause'))
        if act == 'delete':
            self.deleted.add(pri)
        self.rig.api('/drive/status?id=%d&act=%s' % (pri, act))

    # --- what stands after a kill

    def standing(self):
        for kind in STORES:
            for pri, ok, known, walk in self.rig.rows(STORES[kind], 'select pri, fok, fsum, dirstate from farm'):
                left = {path for path, in self.rig.rows(STORES[kind], 'select lpath from file_%d' % pri)}
                done = {path for path, in self.rig.rows(HISTORY, 'select lpath from file_%d' % pri)}
                if known != ok + len(left):
                    raise Failure('batch %d: %d known, %d over and %d rows' % (pri, known, ok, len(left)))
                facts = {'walk': walk == 1, 'files': left and ok, 'count': left & done, 'move': self.rig.rows(HISTORY, 'select 1 from farm where pri = ?', (pri,))}
                for fact in (name for name, holds in facts.items() if holds):
                    self.met[kind, fact] = self.met.get((kind, fact), 0) + 1

    def noted(self):
        """Of a file that a power cut left the row knows that it's the client's own."""
        for pri in self.active('get'):
            for path, in self.rig.rows(STORES['get'], 'select lpath from file_%d where coalesce(placed, 0) = 0' % pri):
                if os.path.exists(path):
                    raise Failure('batch %d: %s would be taken for somebody else\'s' % (pri, path))

    # --- what is there at the end

    def over(self):
        for kind in STORES:
            for pri, state in self.rig.rows(STORES[kind], 'select pri, state from farm'):
                if state in (2, 12):
                    self.rig.api('/drive/status?id=%d&act=continue' % pri)
        return self.rig.alive() and not self.active('put') and not self.active('get')

    def compare(self):
        wait_for('everything to come to its end', 200, self.over, 0.3)
        rows = {pri: sums for pri, *sums in self.rig.rows(HISTORY, 'select pri, fok, fsum, fup, fsize from farm')}
        for pri, (ok, known, up, size) in rows.items():
            count, total = self.rig.rows(HISTORY, 'select count(*), coalesce(sum(size), 0) from file_%d' % pri)[0]
            if not ok == known == count or not up == size == total:
                raise Failure('batch %d: %d of %d files, %d rows; %d of %d bytes, %d in the rows' % (pri, ok, known, count, up, size, total))
        for store in list(STORES.values()) + [HISTORY]:
            tables = {name for name, in self.rig.rows(store, "select name from sqlite_master where type = 'table'")}
            farms = [pri for pri, in self.rig.rows(store, 'select pri from farm')]
            if tables != {'farm', 'farm_sum'} | {'%s_%d' % (kind, pri) for pri in farms for kind in ('dir', 'file')}:
                raise Failure('%s holds %s for %s' % (store, sorted(tables), farms))
            if store != HISTORY and self.rig.rows(store, 'select fok, fsum from farm_sum') != [(0, 0)]:
                raise Failure('%s has sums without batches' % store)
        trees = self._on_drive()
        for n in self.batches['get']:
            base = os.path.join(self.back(n), 'tree')
            trees['get', n] = {os.path.relpath(os.path.join(at, name), base): digest(os.path.join(at, name))
                               for at, _, names in os.walk(base) for name in names}
            if os.path.isdir(os.path.join(base, 'empty/below')):
                trees['get', n]['empty/below/'] = self.tree['empty/below/']
        whole = 0
        for (kind, n), there in trees.items():
            pri = self.ids.get((kind, n), 0)
            complete = pri in rows or pri and pri not in self.deleted
            if complete and pri not in rows:
                raise Failure('%s %d, batch %d is lost' % (kind, n, pri))
            whole += bool(complete)
            wanted = set((self.single if n % 3 == 2 else self.tree).items())
            differ = there.items() - wanted or complete and wanted - there.items()
            if differ:
                raise Failure('%s %d, batch %d differs: %s' % (kind, n, pri, sorted(differ)[:5]))
        return whole

    def _on_drive(self):
        trees = {('put', n): {} for n in self.batches['put']}
        for farm in 1, 2:
            with urllib.request.urlopen('http://%s:%d/farm/drive?farm=%d&tree=1' % (self.rig.address, self.rig.http, farm), timeout=30) as reply:
                for path, one in json.loads(reply.read())['entries'].items():
                    top, name = path.split('/', 3)[1:2], path.rstrip('/').split('/', 3)[3:]
                    if name and (one['type'] == 1 or name == ['empty/below']):
                        trees['put', int(top[0][1:])][name[0] + ('/' if one['type'] == 2 else '')] = \
                            one['hash'] if one['type'] == 1 else self.tree['empty/below/']
        return trees

    # --- the kills

    def farm_trouble(self, turn):
        if turn % 11 == 5:
            self.rig.kill_farm()
            time.sleep(self.chance.random() * 0.5)
            self.rig.start_farm()
        elif turn % 11 == 8:
            for fault in ('drive-drop-reply', '1@4'), ('cut-upload', '400000@2'), ('drive-short-body', '1000@3'), ('cut-business', '300@1'):
                self.rig.fault(*fault)

    def start(self, cut, power):
        if power:
            self.disk.arm(None)
        elif cut:
            preload()
        if cut:
            os.environ['VN_CUT'] = cut
        self.rig.start_client()
        os.environ.pop('VN_CUT', None)
        if LIBRARY:
            Disk.disarm()

    def kill(self, turn, cut=None, most_active=2, power=False, seconds=8.0):
        """Starts the client, lets it work and ends it; whether it came to the cut."""
        self.start(cut, power)
        end, known, wanted = time.monotonic() + (max(seconds, 30) if cut else seconds), False, []
        while time.monotonic() < end and self.rig.client.poll() is None:
            if not known and self.rig.user_dir() and (self.rig.api('/account') or {}).get('result') == 1:
                known = True
                wanted = [kind for kind in STORES if len(self.active(kind)) < most_active]
                self.farm_trouble(turn)
                end = time.monotonic() + (seconds if cut else self.chance.random() * 1.5)
            if wanted:
                wanted = [kind for kind in wanted if not self.begin(kind) and SWEEP]
                if turn % 4 == 3:
                    self.steer()
            if known and turn % 7 == 6:
                self.rig.client.send_signal(signal.SIGSTOP)
                time.sleep(self.chance.random() * 0.3)
                self.rig.client.send_signal(signal.SIGCONT)
            if SWEEP and known and not wanted and not self.active('put') and not self.active('get'):
                break
            time.sleep(0.02)
        ended = self.rig.client.poll()
        if ended not in (None, -9):
            raise Failure('the client ended with %s, see %s/client.log' % (ended, self.rig.folder))
        self.rig.kill_client()
        if power:
            self.disk.cut()
            self.noted()
            self.met['power', 'cut'] = self.met.get(('power', 'cut'), 0) + 1
        self.kills += 1
        self.standing()
        return ended is not None

    def turn(self, turn):
        if turn % 2 or not LIBRARY:
            self.kill(turn, seconds=self.chance.random() * 2.5)
        else:
            self.cut(turn, *PLACES[turn // 2 % len(PLACES)], power=turn % 6 == 4 and turn % GROUP < 12)

    def cut(self, turn, place, most, power=False):
        alone = '#' in place  # of tables: a batch that goes, after one that comes where there is none
        n = self.chance.randrange(most) + 1 + (alone and not any(self.active(kind) for kind in STORES if place.startswith(STORES[kind])))
        hit = self.kill(turn, '%s:%d' % (place, n), 1 if alone else 2, power)
        self.met['cut', place] = self.met.get(('cut', place), 0) + hit

    def missing(self):
        return [(kind, fact) for kind in STORES for fact in ('walk', 'files') + (('count', 'move') if LIBRARY else ()) if (kind, fact) not in self.met]

    def sweep(self):
        """Before every SWEEP-th change of each store and half file, and of stores as an older version left them."""
        for store in list(STORES.values()) + [HISTORY, '.vd', '.xtemp']:
            n = self.chance.randrange(SWEEP) + 1
            while self.kill(0, '%s:%d' % (store, n), 1, power=n % 2, seconds=20):
                n += SWEEP
                if self.kills % 40 == 0:
                    self.settle()
            self.settle()
            print('%s: cut before each of %d changes, by %d' % (store, n, SWEEP), flush=True)
        n = 1
        while n == 1 or hit:
            self.older()
            hit = self.kill(0, 'qnfileUploadD.db:%d' % n, 1, seconds=20)
            n += SWEEP
            if n % 10 == 0:
                self.settle()
        self.settle()
        print('an older store: cut before each of %d changes, by %d' % (n, SWEEP), flush=True)

    def older(self):
        """The upload store as its first version had it, with the tree as a batch under way."""
        while len(self.batches['put']) % 3 == 2:
            self.batches['put'].append(len(self.batches['put']))  # stays without a batch
        self.rig.start_client()
        self.rig.wait_login()
        self.compare()
        self.rig.kill_client()
        n = len(self.batches['put'])
        pri = self.ids['put', n] = 17000000000000 + 10 * n
        self.batches['put'].append(n)
        for end in '', '-wal', '-shm':
            if os.path.exists(path := os.path.join(self.rig.user_dir(), STORES['put'] + end)):
                os.remove(path)
        link = sqlite3.connect(os.path.join(self.rig.user_dir(), STORES['put']))
        link.execute('create table farm(id int,name varchar,storage int,filetype int,lpath varchar,dpath varchar,pri INTEGER,fok INTEGER,'
                     'fsum INTEGER,fup INTEGER,fsize INTEGER,dirstate int,state int,primary key(pri))')
        link.execute('create table dir_%d(ids varchar,lpath varchar,dpath varchar,pri INTEGER,state int,primary key(lpath))' % pri)
        link.execute('create table file_%d(id int,ids varchar,lpath varchar,dpath varchar,modtime INTEGER,hash varchar,size INTEGER,'
                     'pri INTEGER,state int,error int,oktime INTEGER,primary key(lpath))' % pri)
        link.execute("insert into farm values(?,'old',0,1,?,?,?,0,0,0,0,0,11)", (n % 2 + 1, self.folder, 'D/t%d' % n, pri))
        link.execute("insert into dir_%d values('',?,?,1,11)" % pri, (os.path.join(self.folder, 'tree'), 'D/t%d/tree' % n))
        link.commit()
        link.close()

    def settle(self):
        self.rig.start_client()
        self.rig.wait_login()
        whole = self.compare()
        self.rig.kill_client()
        for n in self.batches['get'][:-1]:  # compared, and the disk is copied for each cut of the power
            shutil.rmtree(self.back(n), ignore_errors=True)
        self.forgotten += len(self.batches['get'][:-1])
        self.batches['get'] = self.batches['get'][-1:]
        return whole


def repeated(drives):
    """What a kill lets travel once more: at most the two ranges that a worker has in hand."""
    rig, big, files, size = drives.rig, os.path.join(drives.folder, 'big'), 3, 24 << 20
    os.makedirs(big)
    for n in range(files):
        with open(os.path.join(big, str(n)), 'wb') as out:
            out.write(drives.chance.randbytes(size))
    told = []
    for kind, path, body, counter in (('put', '/drive/put?path=D/big', [big], 'bytesUp'),
                                      ('get', '/drive/get?path=D/big/big&to=' + drives.back(0), None, 'bytesDown')):
        before, kills = rig.farm_state()['counters'][counter], 0
        wait_for('the drive', 60, lambda: (rig.api(path, body) or {}).get('result') == 1, 0.2)
        while kills < 4 and drives.active(kind):
            time.sleep(drives.chance.random() * 0.15)
            rig.kill_client()
            rig.start_client()
            rig.wait_login()
            kills += 1
        wait_for('the big files', 60, drives.over, 0.1)
        again = rig.farm_state()['counters'][counter] - before - files * size
        told.append('%d KiB again after %d kills (%s)' % (again / 1024, kills, kind))
        if again < 0 or again > kills * files * 2 * 262145:
            raise Failure(told[-1])
    for n in range(files):
        if digest(os.path.join(drives.back(0), 'big', str(n))) != digest(os.path.join(big, str(n))):
            raise Failure('big file %d differs' % n)
    return ', '.join(told)


def story(make, folder):
    seed = int(os.environ.get('VN_SEED', '20'))
    chance = random.Random(seed)
    rig = make('one', farm_options=['--farms', '2', '--fault', 'http-delay=10'])
    rig.start_farm()
    drives = Drives(rig, folder, chance)
    rig.start_client()
    rig.wait_login()
    for n in 0, 1:  # what is fetched later
        wait_for('the drive', 60, lambda: (rig.api('/drive/ls?farm=%d&path=D' % (n + 1)) or {}).get('result') == 1, 0.2)
        if not drives.begin('put'):
            raise Failure('the drive refused the tree')
    wait_for('the first trees', 60, drives.over, 0.1)
    rig.kill_client()
    if SWEEP:
        return drives.sweep()
    for turn in range(KILLS):
        drives.turn(turn)
        if turn % GROUP == GROUP - 1:
            whole = drives.settle()
    for turn in range(24 if LIBRARY else 0):  # what chance has left out
        for kind, fact in drives.missing():
            ways = {'move': (STORES[kind] + '-wal#', 1), 'count': (HISTORY + '>' + STORES[kind], 3), 'files': (STORES[kind], 250)}
            drives.cut(0, *ways.get(fact, (STORES[kind], 40)))
    whole = drives.settle()
    rig.start_client()
    rig.wait_login()
    print('seed %d: %d kills, %d batches of %d files whole, %d deleted; met %s; %s' %
          (seed, drives.kills, whole, len(drives.tree), len(drives.deleted), {'%s %s' % key: n for key, n in sorted(drives.met.items())},
           repeated(drives)))
    if drives.missing():
        raise Failure('the kills never met %s' % drives.missing())


run(story)
