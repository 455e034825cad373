"""A master seat and two subordinate ones on one machine: what the subordinates analyse goes to the farm through the
master, and each of them is told truly what becomes of it, whatever happens to the master meanwhile."""
import os
import sqlite3

from stories import Failure, make_scene, run, wait_for

MASTER_WORDS, SEAT_WORDS = ('notupdate', '-silent'), ('notupdate', '-silent', 'slave', 'slaveAlone')


def states(rig, what='state'):
    return [row[0] for row in rig.rows('resolve.db', 'select %s from resolve order by rkey' % what, whole=True)]


def hand_in(rig, scene):
    rig.analyse([scene], rig.chosen)


def watch(rigs, wanted, seconds=60):
    """Waits until each seat's rows have the states wanted; what was seen of each on the way, told when it doesn't come."""
    seen = [[] for _ in rigs]

    def look():
        for rig, steps in zip(rigs, seen):
            rig.alive()
            now = states(rig)
            if not steps or steps[-1] != now:
                steps.append(now)
        return all(steps[-1] == wanted for steps in seen)
    try:
        wait_for(str(wanted), seconds, look)
    except Failure:
        raise Failure('states %s instead of %s; messages %s' % (seen, wanted, [states(rig, 'errstr') for rig in rigs]))
    return seen


def wait_state(rig, wanted, seconds=60):
    return watch([rig], wanted, seconds)[0]


def start(make, folder, name, fees=None, **account):
    """A farm, its master and two seats, all logged in; the first seat is a second client of the master's own user, the
    second one's fees are paid by those accounts."""
    master = make(name, farm_options=['--frames-per-second', '0', '--auto-submit', '--fault', 'single-login=0'],
                  client_words=MASTER_WORDS, config_sections={'Server': {'role': 'master'}})
    if account:
        master.account(**account)
    master.start_farm()
    master.start_client()
    master.wait_login()
    seats = []
    for number in (1, 2):
        seat = make('%s-seat%d' % (name, number), beside=master, same_home=number == 1, client_words=SEAT_WORDS,
                    config_sections={'Server': {'role': 'slave', 'master': 'http://127.0.0.1:%d' % master.api_port}})
        if fees and number == 2:
            own = os.path.join(seat.data, os.path.basename(master.user_dir()))
            os.makedirs(own)
            with open(os.path.join(own, 'config.ini'), 'w') as out:
                out.write('[Set]\nfeeUserIds="%s"\n' % fees)
        seat.start_client()
        seats.append(seat)
    for seat in seats:
        seat.wait_login()
        seat.chosen = seat.choices()  # without its master a seat reaches no server
    return master, seats


def ordered_together(make, folder):
    master, seats = start(make, folder, 'one')
    told = master.api('/masterInfo')
    if len(told['data']) < 2 or not told['masterUserId']:
        raise Failure('the master tells %s' % told)
    # Both in one second: the keys of their rows are equal, what happens to them isn't.
    master.fault('hold-render', '1')
    master.fault('slow-upload', '150000')
    quick = make_scene(os.path.join(folder, 'scenes'), 'quick', frames=2, size=1000)
    slow = make_scene(os.path.join(folder, 'scenes'), 'slow', frames=2, size=500000, seed=3)
    hand_in(seats[0], quick)
    hand_in(seats[1], slow)
    seen = watch(seats, [], 120)
    master.fault('slow-upload', '')
    for one in seen:
        flat = [state for row in one for state in row]
        if 115 not in flat and 116 not in flat:
            raise Failure('a seat never waited for the approval: %s' % one)
    if not any(116 in row for row in seen[1]):
        raise Failure('the second seat never saw the upload: %s' % (seen[1],))
    if states(master) != [118, 118]:
        raise Failure('the master has %s' % states(master))
    orders = master.orders()
    farm = master.farm_state()
    scenes = sorted(body['scene'] for body, _ in orders.values() if body)
    if scenes != [quick, slow] or any(task['filesHere'] != task['files'] for task in farm['tasks']):
        raise Failure('the farm has %s' % farm['tasks'])
    for body, _ in orders.values():
        model = body['modelParameters']['cameras']
        if [one['selected'] for one in model] != [1] or body['softwareType'] != 8 or body['ordernum'] == '' or body.get('fromSlave') != 1:
            raise Failure('ordered as %s' % body)
    if farm['violations']:
        raise Failure('the farm was spoken to wrongly: %s' % farm['violations'][:3])
    print('two seats, %d orders, %s' % (len(orders), seen[1]))

    # The master ends: what is handed in waits; it comes back: all goes on.
    master.kill_client()
    again = make_scene(os.path.join(folder, 'scenes'), 'again', frames=1, size=1000, seed=4)
    hand_in(seats[1], again)
    wait_for('tries without a master', 60, lambda: {107, 108} >= set(states(seats[1])) and states(seats[1])
             and b'MODEL ANALYSIS' in open(os.path.join(seats[1].folder, 'client.log'), 'rb').read()[-40000:])
    master.start_client()
    master.wait_login()
    wait_state(seats[1], [], 60)

    # Its row is deleted on the master while the seat waits: the seat is told.
    master.fault('slow-upload', '20000')
    lost = make_scene(os.path.join(folder, 'scenes'), 'lost', frames=1, size=900000, seed=5)
    hand_in(seats[0], lost)
    wait_state(seats[0], [116], 60)
    master.kill_client()
    master.fault('slow-upload', '')
    forget(master, lost)
    master.start_client()
    master.wait_login()
    wait_state(seats[0], [117], 60)
    print('master away and back, row deleted: told')
    for rig in seats + [master]:
        if not rig.stop():
            raise Failure('a client did not end when asked to')


def forget(master, scene):
    """As if its user had deleted the row."""
    link = sqlite3.connect(os.path.join(master.user_dir(), 'resolve.db'))
    link.execute('delete from resolve where lpath = ?', (scene,))
    link.commit()
    link.close()


def refused_and_checked(make, folder):
    master, seats = start(make, folder, 'two', fees=[99], needMasterCheck=1)
    hand_in(seats[0], make_scene(os.path.join(folder, 'scenes'), 'checked', frames=1, size=1000, seed=6))
    hand_in(seats[1], make_scene(os.path.join(folder, 'scenes'), 'strange', frames=1, size=1000, seed=7))
    wait_state(seats[0], [115])
    wait_state(seats[1], [109])
    if '上级账号不匹配' not in states(seats[1], 'errstr')[0]:
        raise Failure('the second seat is told %s' % states(seats[1], 'errstr'))
    wait_state(master, [106])
    order = wait_for('the number of the order', 60, lambda: master.rows('resolve.db', "select ordernum from resolve where ordernum <> ''"))[0][0]
    if states(seats[0]) != [115]:
        raise Failure('nobody has agreed yet: %s' % states(seats[0]))
    reply = master.api('/model/commit?num=%s' % order)
    if not reply or reply['result'] != 1:
        raise Failure('the commit was refused: %s' % reply)
    wait_state(seats[0], [])
    print('one refused, one approved')


def story(make, folder):
    ordered_together(make, folder)
    refused_and_checked(make, folder)


run(story)
