"""Trees of this machine against the drive, as vandrelctl compares and mends them, beside a comparison of our own that hashes
both sides. Names, sizes and differences come from a seed (VN_SEED)."""
import json
import os
import random
import shutil
import urllib.request

from stories import Ctl, Failure, digest, run, wait_for


def here(base):
    """path -> MD5, None for a folder."""
    found = {}
    for at, folders, files in os.walk(base):
        inside = os.path.relpath(at, base)
        for name in folders + files:
            full = os.path.join(at, name)
            found[os.path.normpath(os.path.join(inside, name))] = None if os.path.isdir(full) else digest(full)
    return found


def there(rig, path):
    with urllib.request.urlopen('http://%s:%d/farm/drive?farm=1&tree=1' % (rig.address, rig.http), timeout=30) as reply:
        entries = json.loads(reply.read())['entries']
    return {key[len(path) + 1:].rstrip('/'): one['hash'] if one['type'] == 1 else None
            for key, one in entries.items() if key.startswith(path + '/') and key != path + '/'}


def differs(mine, other):
    """What a comparison should name: the highest path that only one side has, and what both have otherwise."""
    names = {path for path in set(mine) | set(other) if path not in mine or path not in other or mine[path] != other[path]}
    return {path for path in names if os.path.dirname(path) not in names or os.path.dirname(path) in set(mine) & set(other)}


def grow(base, chance, count):
    for n in range(count):
        path = os.path.join(base, 'd%d' % chance.randrange(5), '%s%d' % (chance.choice(['f', '木 ü', 'a&b%+ ']), n))
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, 'wb') as out:
            out.write(chance.randbytes(chance.choice([0, 1, 700, 300000])))


def harm(base, chance):
    """Other bytes (some under the old time), other sizes, files and folders that go and come."""
    files = sorted(path for path, value in here(base).items() if value)
    for path in chance.sample(files, len(files) // 2):
        full = os.path.join(base, path)
        size, time = os.path.getsize(full), os.stat(full).st_mtime_ns
        what = chance.randrange(4)
        if what == 3:
            os.remove(full)
            continue
        with open(full, 'wb') as out:
            out.write(chance.randbytes(size + (what == 2)))
        if what == 1:
            os.utime(full, ns=(time, time))
    shutil.rmtree(os.path.join(base, 'd%d' % chance.randrange(5)))
    grow(os.path.join(base, 'new'), chance, 5)
    os.makedirs(os.path.join(base, 'empty', 'below'))


def story(make, folder):
    seed = int(os.environ.get('VN_SEED', '7'))
    chance = random.Random(seed)
    rig = make('one', farm_options=['--fault', 'http-delay=5'])
    rig.start_farm()
    rig.start_client()
    rig.wait_login()
    ctl = Ctl(rig)
    base = os.path.join(folder, 'tree')
    grow(base, chance, 120)
    os.makedirs(os.path.join(base, 'hollow'))

    def check(*words):
        """Compares both ways and tells what both found."""
        wanted = differs(here(base), there(rig, 'D/tree'))
        told = ctl('drive', 'check', 'D/tree', base, *words, code=4 if wanted else 0)[0]
        found = {one['path'][len('D/tree/'):] for one in told['list']}
        if found != wanted or told['different'] != len(wanted) or not told['whole']:
            raise Failure('%s told, %s differ' % (sorted(found ^ wanted)[:5], len(wanted)))
        return told

    def over(batches):
        wait_for('the transfers', 60, lambda: rig.alive() and set(batches) <= {
            one['id'] for one in (rig.api('/drive/status') or {}).get('data', []) if one['over']}, 0.1)

    def put():
        reply = rig.api('/drive/put?path=D', [base]) or {}
        return reply.get('result') == 1 and reply['data']['id']

    over([wait_for('the drive', 60, put, 0.2)])
    if check()['files'] != sum(1 for value in here(base).values() if value):
        raise Failure('not every file was compared')
    met = set()
    for turn, way in enumerate(('put', 'get', 'put')):
        before = there(rig, 'D/tree')
        harm(base, chance)
        told = check('--mend', way)
        met |= {one['what'] for one in told['list']}
        if told['mend'] != 'done' or not told['batches']:
            raise Failure('nothing was mended: %s' % told['mend'])
        over(told['batches'])
        left = {one['what'] for one in check()['list']}
        if left - {'only-there' if way == 'put' else 'only-here'}:
            raise Failure('%s left %s' % (way, left))
        if way == 'get' and any(here(base).get(path, 'gone') != value for path, value in before.items()):
            raise Failure('what was fetched is not what was there')
        if left:
            over(check('--mend', 'get' if way == 'put' else 'put')['batches'])
            shutil.rmtree(os.path.join(base, 'empty'))
            over(check('--mend', 'get')['batches'])
        if check()['different']:
            raise Failure('the tree does not come clean')
        for name in ('new', 'empty'):
            shutil.move(os.path.join(base, name), os.path.join(base, name + str(turn)))
    if met != {'only-here', 'only-there', 'size', 'hash'}:
        raise Failure('only %s was met' % met)
    for words, code in (('D/none', base), 1), (('D/tree', base + '/none'), 1), (('D/tree',), 2):
        ctl('drive', 'check', *words, code=code)
    if rig.farm_state()['violations']:
        raise Failure('the farm was spoken to wrongly: %s' % rig.farm_state()['violations'][:3])
    print('seed %d: %d files, three times harmed and mended' % (seed, len(here(base))))


run(story)
