"""Scenes on the drive from the analysis by their farm to frames on disk, by vandrelctl and the local API, while the client and
the farm are killed at each step on the way. The moments come from a seed (VN_SEED)."""
import os
import random
import time

from stories import Ctl, Failure, compare, finished, make_scene, run, wait_for

# What the kill waits for: of the store of scenes on the drive (state, cloudstate), or of the order's own row.
MOMENTS = [('waits', lambda rows, orders: any(state == 100 for state, _ in rows)),
           ('is posted', lambda rows, orders: (101, -1) in rows),
           ('runs', lambda rows, orders: (101, 1) in rows),
           ('is analysed', lambda rows, orders: any(state == 106 for state, _ in rows)),
           ('is committed', lambda rows, orders: any(state == 107 for state, _ in rows)),
           ('is ordered', lambda rows, orders: bool(orders))]


def story(make, folder):
    seed = int(os.environ.get('VN_SEED', '9'))
    chance = random.Random(seed)
    rig = make('one', farm_options=['--frames-per-second', '20', '--fault', 'http-delay=60'])
    rig.start_farm()
    rig.start_client()
    rig.wait_login()
    ctl = Ctl(rig)

    def scenes(*states):
        rows = (rig.api('/drive/resolve/list') or {}).get('data') or []
        return [row for row in rows if not states or row['state'] in states]

    shots = os.path.join(folder, 'film')
    for name in ('one', 'two', 'three', 'four'):
        make_scene(shots, name, textures=0, seed=ord(name[1]))
    wait_for('the drive', 60, lambda: (rig.api('/drive/put?path=D', [shots]) or {}).get('result') == 1, 0.2)
    wait_for('the scenes on the drive', 60, lambda: any(one['over'] for one in rig.api('/drive/status')['data']), 0.1)

    # A scene by its command alone, to the frames on disk.
    told = ctl('drive', 'resolve', 'D/film/one.tgd', '--wait')
    key = [line['rkey'] for line in told if 'scene' in line][0]
    told = ctl('drive', 'order', str(key), '--project', rig.choices()['project']['name'], '--wait')
    if told[-1]['state'] != 'done':
        raise Failure('told %s' % told)
    for words in (('resolve', 'D/film/none.tgd'), ('resolve', 'D/film'), ('order', '7'), ('stop', '7')):
        ctl('drive', *words, '--project', rig.choices()['project']['name'], code=1 if words[0] != 'order' else 4)
    rig.fault('analysis-details', '2')
    key = ctl('drive', 'resolve', 'D/film/two.tgd')[0]['rkey']
    ctl('drive', 'order', str(key), '--project', rig.choices()['project']['name'], code=4)
    rig.fault('analysis-details', '')
    ctl('drive', 'stop', str(key))
    if [row['rkey'] for row in scenes()] == [key] or rig.api('/drive/resolve/submit?rkey=%d' % key, {})['result'] != 0:
        raise Failure('what was stopped is still there')

    # Three more, killed on the way.
    parameter = rig.choices()
    if rig.api('/drive/resolve', ['D/film/%s.tgd' % name for name in ('two', 'three', 'four')])['result'] != 1:
        raise Failure('the scenes were refused')
    met, committed = set(), set()
    for turn, (name, now) in enumerate(MOMENTS):
        end = time.monotonic() + 30
        while time.monotonic() < end:
            if turn >= 4 or name == 'is committed':
                for row in scenes(106):
                    if rig.api('/drive/resolve/submit?rkey=%d' % row['rkey'], {'parameter': parameter})['result'] == 1:
                        committed.add(row['rkey'])
            if now(rig.rows('resolveD.db', 'select state, cloudstate from resolve'), rig.rows('resolve.db', 'select 1 from resolve')):
                met.add(name)
                break
            time.sleep(0.003)
        time.sleep(chance.random() * 0.05)
        rig.kill_client()
        if turn % 2:
            rig.kill_farm()
            rig.start_farm()
        for row in committed:
            if not rig.rows('resolveD.db', 'select 1 from resolve where rkey = ? and state >= 107', (row,)):
                raise Failure('the order of %d was forgotten' % row)
        rig.start_client()
        rig.wait_login()

    def ordered():
        for row in scenes(106):
            rig.api('/drive/resolve/submit?rkey=%d' % row['rkey'], {'parameter': parameter})
        return rig.alive() and len(scenes(120)) == 4

    wait_for('the orders', 120, ordered, 0.5)
    state = wait_for('the frames', 120, lambda: rig.alive() and finished(rig, 4), 0.3)
    compare(rig, state)
    if sorted(row['mid'] for row in scenes()) != sorted(task['missionId'] for task in state['tasks']):
        raise Failure('the tasks of the scenes: %s' % scenes())
    if any(task['files'] for task in state['tasks']):
        raise Failure('files were ordered to be uploaded for scenes that lie there')
    print('seed %d: killed while a scene %s' % (seed, ', '.join(name for name, _ in MOMENTS if name in met)))
    if len(met) < len(MOMENTS) - 1:
        raise Failure('the kills met too little to prove anything')


run(story)
