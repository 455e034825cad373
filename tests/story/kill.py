"""Client and farm are killed at random moments, again and again, each time started anew: at the end every frame is on
disk byte for byte and no row is left over. The moments come from a seed (VN_SEED), so that a failure can be had again."""
import os
import random
import sqlite3
import time

from stories import Failure, compare, finished, make_scene, run, wait_for

CLIENT_KILLS, FARM_KILLS = 22, 5
# What the scene's row says when the kill is aimed; None: while results come down.
AIMS = [111, None, 107, 111, None, 100, 110, None, 111, 106, None, 111, 108, None, 111]


def old_downloads(rig):
    """A download store of the oldest kind, with the one table for all missions: carried over while the kills fall."""
    with sqlite3.connect(os.path.join(rig.user_dir(), 'qnfileDown.db')) as link:
        link.execute('create table miss(ordernum varchar,missid int,missname varchar,lpath varchar,ok int,sum int,pri INTEGER,state int,primary key(pri))')
        link.execute('create table down(id int,ordernum varchar,missid int,farmid int,lpath varchar,hash varchar,size INTEGER,pri INTEGER,state int,error int,primary key(pri))')
        for mission in range(1, 41):
            link.execute("insert into miss values(?,?,?,?,0,50,?,2)", ('old%d' % mission, mission, 'old', rig.folder, mission))
            link.executemany("insert into down values(?,?,?,1,?,'',10,?,2,0)",
                             [(n, 'old%d' % mission, mission, rig.folder + '/old', mission * 10000 + n) for n in range(50)])


def migrated(rig):
    """All 40 old missions with their 50 files each, whatever was killed in between."""
    missions = rig.rows('qnfileDown.db', "select pri from miss2 where ordernum like 'old%'")
    if len(missions) != 40 or rig.rows('qnfileDown.db', "select 1 from sqlite_master where name in ('miss', 'down')"):
        return False
    return all(rig.rows('qnfileDown.db', 'select count(*) from down_%d' % one)[0][0] == 50 for one in missions)


def aim(rig, chance, aimed, seconds):
    """Waits until some scene stands where the kill is aimed, or the time is up."""
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        rig.alive()
        if aimed is None:
            hit = any(name.endswith('.xtemp') for name in rig.result_files())
        else:
            hit = bool(rig.user_dir()) and bool(rig.rows('resolve.db', 'select 1 from resolve where state = ?', (aimed,)))
        if hit:
            break
        time.sleep(0.01)
    time.sleep(chance.random() * 0.25)


def standing(rig):
    """What the kill has cut short: the states of the scenes, and "down" for each half file of a result."""
    half = [name for name in rig.result_files() if name.endswith('.xtemp')]
    return ['%d' % state for state, in rig.rows('resolve.db', 'select state from resolve')] + ['down'] * len(half)


def unmet(where):
    """What to aim at once more: chance has left it out so far."""
    return [aimed for aimed, name in ((111, '111'), (None, 'down'), (106, '106')) if name not in where]


def story(make, folder):
    seed = int(os.environ.get('VN_SEED', '20'))
    chance = random.Random(seed)
    rig = make('one', farm_options=['--frames-per-second', '12', '--auto-submit',
                                           # slow enough that a kill finds the transfers under way
                                           '--fault', 'slow-upload=400000', '--fault', 'slow-download=20000'])
    rig.start_farm()
    rig.start_client()
    rig.wait_login()
    rig.kill_client()
    for name in os.listdir(rig.user_dir()):
        if name.startswith('qnfileDown.db'):
            os.remove(os.path.join(rig.user_dir(), name))
    old_downloads(rig)
    orders, turn, farm_kills, where = 0, 0, 0, []
    scenes = os.path.join(folder, 'scenes')
    choices = None
    while turn < CLIENT_KILLS or turn < 2 * CLIENT_KILLS and unmet(where):
        rig.start_client()
        if turn < 3:
            # These fall into the start: the stores open and the old downloads are carried over.
            time.sleep(0.3 + chance.random() * 0.9)
        else:
            rig.wait_login()
            if turn % 2:
                choices = choices or rig.choices()
                rig.analyse([make_scene(scenes, 'kill%d' % turn, frames=4, size=1500000, seed=turn)], choices)
                orders += 1
            aim(rig, chance, AIMS[turn % len(AIMS)] if turn < CLIENT_KILLS else unmet(where)[0], 5)
            if turn % 4 == 3 and farm_kills < FARM_KILLS:
                rig.kill_farm()
                rig.start_farm()
                farm_kills += 1
        rig.kill_client()
        turn += 1
        where += standing(rig)
    rig.start_client()
    rig.wait_login()
    wait_for('the old downloads to be carried over', 60, lambda: rig.alive() and migrated(rig))
    rig.fault('slow-upload', '')
    rig.fault('slow-download', '')
    state = wait_for('everything to come to its end', 240, lambda: rig.alive() and finished(rig, orders), 0.5)
    state['violations'] = []
    compare(rig, state)
    print('cut short: ' + ', '.join('%s %d times' % (one, where.count(one)) for one in sorted(set(where))))
    if unmet(where):
        raise Failure('the kills met too little to prove anything: %s' % where)
    print('seed %d: %d kills of the client, %d of the farm, %d orders, %d results, all there' %
          (seed, turn, farm_kills, orders, sum(len(task['results']) for task in state['tasks'])))


run(story)
