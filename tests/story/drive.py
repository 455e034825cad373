"""Trees go to a drive and come back while the client is killed again and again: during the walk, in the middle of files, at
the count and at the move into the history. At the end every byte is where it belongs and every sum is that of the rows. The
moments come from a seed (VN_SEED)."""
import hashlib
import json
import os
import random
import time
import urllib.request

from stories import Failure, digest, run, wait_for

KILLS = 12  # of each direction
STORES = {'put': 'qnfileUploadD.db', 'get': 'qnfileDownD.db'}


def make_tree(folder, chance):
    """path -> bytes; folders that are empty end with a slash."""
    tree = {'empty/below/': b'', 'zero': b'', '木 空/é &%+.txt': 'ü'.encode()}
    for n in range(60):
        for m in range(chance.randrange(30)):
            tree['d%d/s%d/f%d' % (n % 7, n, m)] = chance.randbytes(chance.randrange(20000))
    for n in range(4):
        tree['big%d' % n] = chance.randbytes(2500000 + chance.randrange(500000))
    for path, content in tree.items():
        full = os.path.join(folder, path)
        os.makedirs(full if path.endswith('/') else os.path.dirname(full), exist_ok=True)
        if not path.endswith('/'):
            with open(full, 'wb') as out:
                out.write(content)
    return tree


def drive(rig):
    """path -> MD5 of what lies on the drive."""
    with urllib.request.urlopen('http://%s:%d/farm/drive?farm=1&tree=1' % (rig.address, rig.http), timeout=30) as reply:
        return json.loads(reply.read())['entries']


def standing(rig, kind):
    """What the kill has cut short."""
    found = set()
    for pri, ok, known, walk in rig.rows(STORES[kind], 'select pri, fok, fsum, dirstate from farm'):
        left = rig.rows(STORES[kind], 'select count(*) from file_%d' % pri)[0][0]
        if walk == 1:
            found.add('walk')
        if left and ok:
            found.add('files')
        if not left and walk == 2:
            found.add('end')
        done = rig.rows('qnfileOkD.db', "select count(*) from sqlite_master where name = 'file_%d'" % pri)[0][0]
        if done and rig.rows('qnfileOkD.db', 'select count(*) from file_%d' % pri)[0][0] != ok:
            found.add('count')  # written as over, not counted yet
        if known != ok + left:
            raise Failure('batch %d: %d known, %d over and %d rows' % (pri, known, ok, left))
    return found


def aim(rig, kind, chance, turn):
    """Lets the transfer run to the kind of moment that this turn is for."""
    end = time.monotonic() + 6
    while time.monotonic() < end:
        rig.alive()
        rows = rig.rows(STORES[kind], 'select pri, fok, fsum, dirstate from farm order by pri')
        if not rows:
            return
        pri, ok, known, walk = rows[-1 if turn % 3 == 0 else 0]
        if turn % 3 == 0 and walk == 1 or turn % 3 == 1 and ok > 20 or turn % 3 == 2 and walk == 2 and known - ok < 60:
            break
        time.sleep(0.003)
    time.sleep(chance.random() * (0.08, 0.4, 0.5)[turn % 3])


def killed(rig, kind, chance, begin):
    """Kills in one direction; begin(n) starts the n-th batch. Gives their number and what the kills met."""
    batches, met = 0, {}
    for turn in range(KILLS):
        rig.start_client()
        rig.wait_login()
        if turn % 3 == 0 or not rig.rows(STORES[kind], 'select 1 from farm'):
            begin(batches)
            batches += 1
        aim(rig, kind, chance, turn)
        rig.kill_client()
        for what in standing(rig, kind):
            met[what] = met.get(what, 0) + 1
    rig.start_client()
    rig.wait_login()
    return batches, met


def over(rig, kind, batches):
    done = rig.rows('qnfileOkD.db', 'select count(*) from farm')[0][0]
    return rig.alive() and done >= batches and not rig.rows(STORES[kind], 'select 1 from farm')


def check_sums(rig):
    for pri, ok, known, up, size in rig.rows('qnfileOkD.db', 'select pri, fok, fsum, fup, fsize from farm'):
        rows, total = rig.rows('qnfileOkD.db', 'select count(*), coalesce(sum(size), 0) from file_%d' % pri)[0]
        if not ok == known == rows or not up == size == total:
            raise Failure('batch %d: %d of %d files, %d rows; %d of %d bytes, %d in the rows' % (pri, ok, known, rows, up, size, total))
    for store in STORES.values():
        if rig.rows(store, 'select fok, fsum from farm_sum') != [(0, 0)]:
            raise Failure('%s has sums without batches' % store)


def story(make, folder):
    seed = int(os.environ.get('VN_SEED', '20'))
    chance = random.Random(seed)
    tree = make_tree(os.path.join(folder, 'tree'), chance)
    wanted = {path: hashlib.md5(content).hexdigest() for path, content in tree.items() if not path.endswith('/')}
    rig = make('one', farm_options=['--fault', 'http-delay=15'])
    rig.start_farm()
    rig.start_client()
    rig.wait_login()
    rig.kill_client()

    def put(n):
        reply = wait_for('the drive', 20, lambda: (rig.api('/drive/put?path=D/t%d' % n, [os.path.join(folder, 'tree')]) or {}).get('result') == 1, 0.2)
        return reply

    sent, met_put = killed(rig, 'put', chance, put)
    wait_for('the last tree to be sent', 120, lambda: over(rig, 'put', sent), 0.2)
    entries = drive(rig)
    for n in range(sent):
        there = {path[len('D/t%d/tree/' % n):].rstrip('/'): one for path, one in entries.items() if path.startswith('D/t%d/tree/' % n)}
        files = {path: one['hash'] for path, one in there.items() if one['type'] == 1}
        if files != wanted or there.get('empty/below', {}).get('type') != 2:
            raise Failure('tree %d on the drive differs: %s' % (n, sorted(set(files.items()) ^ set(wanted.items()))[:5]))
    check_sums(rig)
    rig.kill_client()

    def get(n):
        target = os.path.join(folder, 'back%d' % n)
        wait_for('the drive', 20, lambda: (rig.api('/drive/get?path=D/t0/tree&to=' + target) or {}).get('result') == 1, 0.2)

    fetched, met_get = killed(rig, 'get', chance, get)
    wait_for('the last tree to be fetched', 120, lambda: over(rig, 'get', sent + fetched), 0.2)
    check_sums(rig)
    for n in range(fetched):
        base = os.path.join(folder, 'back%d' % n, 'tree')
        here = {os.path.relpath(os.path.join(at, name), base): digest(os.path.join(at, name)) for at, _, names in os.walk(base) for name in names}
        if here != wanted or not os.path.isdir(os.path.join(base, 'empty/below')):
            raise Failure('tree %d that was fetched differs: %s' % (n, sorted(set(here.items()) ^ set(wanted.items()))[:5]))
    violations = rig.farm_state()['violations']
    if violations:
        raise Failure('the farm was spoken to wrongly: %s' % violations[:3])
    print('seed %d: %d kills, %d trees of %d files sent, %d fetched; sending met %s, fetching %s' %
          (seed, 2 * KILLS, sent, len(wanted), fetched, met_put, met_get))
    if not {'walk', 'files'} <= set(met_put) or not {'walk', 'files'} <= set(met_get):
        raise Failure('the kills met too little to prove anything')


run(story)
