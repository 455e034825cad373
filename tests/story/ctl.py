"""The road of the demonstration, driven by vandrelctl alone: what it says, what it ends with, and the frames on disk."""
import json
import os
import pty
import subprocess

from stories import Failure, compare, finished, make_scene, run, wait_for


def story(make, folder):
    rig = make('one', farm_options=['--frames-per-second', '4'])
    rig.start_farm()
    rig.start_client()
    rig.wait_login()
    program = os.path.join(rig.tree, 'vandrelctl')
    env = dict(os.environ, HOME=rig.home, XDG_DATA_HOME=rig.home + '/.local/share')  # it finds the client by itself
    env.pop('VANDREL_URL', None)

    def ctl(*words, code=0):
        done = subprocess.run([program, *words], capture_output=True, text=True, timeout=120, env=env)
        if done.returncode != code:
            raise Failure('vandrelctl %s ended with %d: %s %s' % (' '.join(words), done.returncode, done.stdout, done.stderr))
        return [json.loads(line) for line in done.stdout.splitlines()] or [{}]

    scenes = os.path.join(folder, 'scenes')
    project = rig.choices()['project']
    told = ctl('submit', make_scene(scenes, 'one', frames=5), '--project', project['name'], '--wait')
    state = wait_for('the first road', 30, lambda: rig.alive() and finished(rig, 1))
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

    # One that is held, lasts too long, and is cancelled: the work failed.
    scene = make_scene(scenes, 'three', frames=400, seed=3)
    ctl('submit', scene, '--wait', '--timeout', '8', code=5)
    task = ctl('list')[0]['tasks'][0]['id']
    ctl('pause', str(task))
    wait_for('the pause', 20, lambda: ctl('call', '/job', 'status=1130')[0]['data']['pageList'])
    ctl('continue', str(task))
    ctl('cancel', str(task))
    ctl('follow', str(task), code=4)

    # On a terminal there is a line that is written over, and tables.
    master, slave = pty.openpty()
    child = subprocess.Popen([program, 'follow', '1', '--timeout', '1'], stdout=slave, stderr=slave, env=env)
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
