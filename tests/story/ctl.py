"""The road of the demonstration, driven by vandrelctl alone: what it says, what it ends with, and the frames on disk."""
import os
import pty

from stories import Ctl, Failure, compare, finished, make_scene, run, wait_for


def story(make, folder):
    rig = make('one', farm_options=['--frames-per-second', '4'])
    rig.start_farm()
    rig.start_client()
    rig.wait_login()
    ctl = Ctl(rig)

    scenes = os.path.join(folder, 'scenes')
    project = rig.choices()['project']
    told = ctl('submit', make_scene(scenes, 'one', frames=5), '--project', project['name'], '--wait')
    state = wait_for('the first road', 60, lambda: rig.alive() and finished(rig, 1))
    compare(rig, state)
    states = [line['state'] for line in told]
    if states[-1] != 'done' or told[-2].get('total') != 5 or not any(line.get('order') for line in told):
        raise Failure('told %s' % told)
    task = told[-1]['task']

    frames = ctl('frames', str(task))[0]
    if [frame['frame_from'] for frame in frames] != [1, 2, 3, 4, 5] or any(frame['status'] != 3 for frame in frames):
        raise Failure('frames: %s' % frames)
    listed = ctl('list')[0]
    if listed['scenes'] or [row['id'] for row in listed['tasks']] != [task]:
        raise Failure('list: %s' % listed)
    if ctl('transfer')[0] != {'uploads': [], 'downloads': []}:
        raise Failure('something is still moving')
    ctl('call', '/job/detail', 'mid=%d' % task)
    ctl('pause', str(task), code=1)  # has ended
    ctl('submit', make_scene(scenes, 'two'), '--project', 'no such', code=2)

    def analysed():
        return wait_for('the analysis', 60, lambda: [one['num'] for one in ctl('list')[0]['scenes'] if one['state'] == 106 and one['num']])[0]

    def booked(state):  # but what the client asks and tells by itself meanwhile
        tasks = [[task[key] for key in ('missionId', 'ordered', 'orders', 'uploaded', 'files', 'filesHere')] for task in state['tasks']]
        sums = [state['counters'][key] for key in ('bytesUp', 'instantHits', 'instantMisses', 'filesReceived', 'fileLinks')]
        return tasks, sums, state['stored'], state['violations'], state['balance']

    # Before a commit: what the farm has already, and nothing is booked for the question; a folder that has moved.
    def flight(scene, *words):
        rig.analyse([scene], rig.choices())
        num = analysed()
        before = booked(rig.farm_state())
        told = ctl('call', '/model/preflight', 'num=' + num, *words)[0]['data']
        if booked(rig.farm_state()) != before:
            raise Failure('the question was booked')
        return num, told
    again = os.path.join(scenes, 'one.tgd')
    num, told = flight(again)
    wanted = {'files': 3, 'missing': 0, 'asked': 3, 'here': 3, 'toSend': 0, 'complete': True}
    if {key: told[key] for key in wanted} != wanted or told['hereBytes'] != 600000 + os.path.getsize(again):
        raise Failure('before an order of known files: %s' % told)
    ctl('call', '/model/commit', 'num=' + num)
    wait_for('the order of known files', 60, lambda: rig.alive() and finished(rig, 2))
    moving = make_scene(os.path.join(folder, 'old', 'shots'), 'four', seed=4)
    moved = os.path.join(folder, 'new')
    rig.analyse([moving], rig.choices())
    num = analysed()
    os.makedirs(os.path.join(moved, 'shots'))
    for number in range(2):
        os.rename(os.path.join(folder, 'old', 'shots', 'four_%d.tif' % number), os.path.join(moved, 'shots', 'four_%d.tif' % number))
    told = ctl('call', '/model/preflight', 'num=' + num)[0]['data']
    lost = [(one['folder'], one['files']) for one in told['missingFolders']]
    if lost != [(os.path.join(folder, 'old', 'shots'), 2)] or told['asked'] != 1 or told['here'] != 0:
        raise Failure('with files that have gone: %s' % told)
    told = ctl('call', '/model/preflight', 'num=' + num, 'from=' + lost[0][0], 'to=' + os.path.join(moved, 'shots'))[0]['data']
    if (told['missing'], told['found'], told['toSend'], told['complete']) != (0, 2, 600000 + os.path.getsize(moving), True):
        raise Failure('with the folder shown: %s' % told)
    ctl('call', '/model/commit', 'num=' + num)
    state = wait_for('the order of moved files', 60, lambda: rig.alive() and finished(rig, 3))
    compare(rig, state)
    body = rig.orders()[state['tasks'][-1]['missionId']][0]
    if not any(one['key'].endswith('/new/shots/four_1.tif') for one in state['stored']) \
            or body['pathMap'] != [{'from': os.path.join(folder, 'old'), 'to': moved}]:
        raise Failure('the farm got other files than those found: %s' % body)

    # One that is held, lasts too long, and is cancelled: the work failed.
    scene = make_scene(scenes, 'three', frames=400, seed=3)
    ctl('submit', scene, '--wait', '--timeout', '8', code=5)

    def ordered():
        """On a slow machine the time was over before the commit."""
        for one in ctl('list')[0]['scenes']:
            if one['state'] == 106 and one['num']:
                ctl('call', '/model/commit', 'num=' + one['num'])
        return [one['missionId'] for one in rig.farm_state()['tasks'][3:] if one['uploaded']]
    task = wait_for('the order of the third scene', 60, ordered)[0]
    ctl('pause', str(task))
    wait_for('the pause', 60, lambda: ctl('call', '/job', 'status=1130')[0]['data']['pageList'])
    ctl('continue', str(task))
    ctl('cancel', str(task))
    ctl('follow', str(task), code=4)

    # On a terminal there is a line that is written over, and tables.
    master, slave = pty.openpty()
    child = ctl.start('follow', '1', '--timeout', '1', stdout=slave, stderr=slave)
    os.close(slave)
    seen = b''
    try:
        while piece := os.read(master, 4096):
            seen += piece
    except OSError:
        pass  # the other end is closed
    os.close(master)
    child.wait()
    if b'vandrelctl: ' not in seen or b'{' in seen:
        raise Failure('on a terminal: %r' % seen)
    rig.kill_farm()
    rig.stop()
    ctl('list', code=3)


run(story)
