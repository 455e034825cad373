"""Orders of a farm with an object store: the client uploads through its companion to a real S3 server. Client, companion
and server are killed at random moments, again and again: at the end every file lies in the bucket byte for byte, every
frame is on disk, no row and no check point is left, and no secret stands where others could read it. The moments come
from a seed (VN_SEED), so that a failure can be had again."""
import os
import random
import socket
import subprocess
import sys
import time

from stories import Failure, compare, digest, finished, make_scene, run, wait_for

EACH = 10  # kills of client, companion and server
SECRET = 'Geheimnis+/4711'
PREFIX = 'user 7/'
HERE = os.path.dirname(os.path.abspath(__file__))


class Store:
    """The S3 server, on a port that it keeps over its kills."""

    def __init__(self, folder, port):
        self.package = os.path.dirname(os.path.dirname(os.path.realpath(sys.argv[2])))
        self.folder = os.path.join(folder, 'bucket')
        os.makedirs(self.folder)
        self.port, self.process = port, None

    def start(self):
        with open(self.folder + '.log', 'ab') as log:
            self.process = subprocess.Popen(['node', os.path.join(HERE, 's3account.js'), self.package, self.folder, str(self.port)],
                                            stdin=subprocess.DEVNULL, stdout=log, stderr=log, env=dict(os.environ, STORE_SECRET=SECRET))
        wait_for('the S3 server', 60, self._answers)

    def _answers(self):
        if self.process.poll() is not None:
            raise Failure('the S3 server ended, see %s.log' % self.folder)
        try:
            socket.create_connection(('127.0.0.1', self.port), 1).close()
            return True
        except OSError:
            return False

    def kill(self):
        self.process.kill()
        self.process.wait()

    def object(self, path):
        """Where the bytes of that file's object lie."""
        return os.path.join(self.folder, 'farm', PREFIX + path.replace(':', '').lstrip('/') + '._S3rver_object')


def companions(rig):
    """Process ids of the companions that run from this rig's program folder."""
    found = []
    for name in os.listdir('/proc'):
        try:
            if name.isdigit() and os.readlink('/proc/%s/exe' % name) == os.path.realpath(os.path.join(rig.program, 'oss')):
                found.append(int(name))
        except OSError:
            pass
    return found


def uploading(rig):
    return any(name.endswith('.ucp') for name in os.listdir(rig.user_dir() or rig.data)) if rig.user_dir() else False


def strike(rig, store, what, chance):
    """Kills one of the three while a file is on its way, if that comes within some seconds; whether it was."""
    met = True
    try:
        wait_for('an upload under way', 4, lambda: uploading(rig), 0.01)
    except Failure:
        met = False
    time.sleep(chance.random() * 0.3)
    if what == 'store':
        store.kill()
        time.sleep(chance.random())
        store.start()
    elif what == 'oss':
        for pid in companions(rig):
            os.kill(pid, 9)
    else:
        rig.kill_client()
        rig.start_client()
        rig.wait_login()
    return met


def private(rig, folder):
    """No secret in a log, on a command line, or in a file that others can read."""
    for at, _, names in os.walk(folder):
        for name in names:
            path = os.path.join(at, name)
            try:
                if os.path.islink(path) or not os.path.isfile(path) or os.path.getsize(path) > 1 << 24:
                    continue
                with open(path, 'rb') as source:
                    if SECRET.encode() in source.read():
                        raise Failure('%s holds the secret' % path)
            except FileNotFoundError:
                pass  # the client is at work
    for name in os.listdir('/proc'):
        try:
            with open('/proc/%s/cmdline' % name, 'rb') as line:
                if name.isdigit() and SECRET.encode() in line.read():
                    raise Failure('process %s was started with the secret in its command line' % name)
        except OSError:
            pass


def story(make, folder):
    seed = int(os.environ.get('VN_SEED', '31'))
    chance = random.Random(seed)
    rig = make('one')
    store = Store(folder, rig.free_port())
    rig.farm_options = ['--frames-per-second', '0', '--auto-submit', '--object-store',
                        'http://127.0.0.1:%d/farm/%s' % (store.port, PREFIX.rstrip('/'))]
    store.start()
    os.environ.update(AWS_ACCESS_KEY_ID='VANDREL', AWS_SECRET_ACCESS_KEY=SECRET)
    try:
        rig.start_farm()
        for name in ('AWS_ACCESS_KEY_ID', 'AWS_SECRET_ACCESS_KEY'):
            os.environ.pop(name)  # the client learns them from the farm
        rig.start_client()
        rig.wait_login()
        choices, scenes, met = rig.choices(), [], 0
        plan = ['client', 'oss', 'store'] * EACH
        chance.shuffle(plan)
        for turn, what in enumerate(plan):
            if turn % 3 == 0:
                scenes.append(make_scene(os.path.join(folder, 'scenes/盘 %d' % turn), 'kill%d' % turn, frames=1, textures=3, size=11000000,
                                         seed=turn))
                rig.analyse([scenes[-1]], choices)
            met += strike(rig, store, what, chance)
        state = wait_for('everything to come to its end', 150, lambda: rig.alive() and finished(rig, len(scenes)), 0.5)
        state['violations'] = [one for one in state['violations'] if 'link' not in one]
        compare(rig, state)
        files = 0
        for scene in scenes:
            for name in os.listdir(os.path.dirname(scene)):
                path = os.path.join(os.path.dirname(scene), name)
                there = store.object(path)
                if not os.path.exists(there) or digest(there) != digest(path):
                    raise Failure('%s lies in the bucket otherwise than here, or not at all' % path)
                files += 1
        wait_for('the last check point to go', 60, lambda: not uploading(rig))
        private(rig, rig.folder)
        if met < EACH:
            raise Failure('only %d of %d kills met an upload, which proves too little' % (met, len(plan)))
        print('seed %d: %d kills each of client, companion and server, %d met an upload; %d files in the bucket as here, %d frames' %
              (seed, EACH, met, files, sum(len(task['results']) for task in state['tasks'])))
        ended = rig.stop()
        wait_for('the companion to end with its client', 60, lambda: not companions(rig))
        if not ended:
            raise Failure('the client did not end when it was asked to')
    finally:
        store.kill()


run(story)
