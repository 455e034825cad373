"""What the stories share: scenes made on the spot, and the comparison of both sides at the end."""
import hashlib
import json
import os
import random
import shutil
import subprocess
import sys
import tempfile

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.path.insert(0, os.path.join(ROOT, 'tools'))
from rig import Failure, Rig, wait_for  # noqa: E402,F401


def digest(path):
    value = hashlib.md5()
    with open(path, 'rb') as source:
        for block in iter(lambda: source.read(1 << 20), b''):
            value.update(block)
    return value.hexdigest()


class Ctl:
    """vandrelctl, which finds that client by itself; a call gives what it tells, an object a line."""

    def __init__(self, rig):
        self.program = os.path.join(rig.tree, 'vandrelctl')
        self.env = dict(os.environ, HOME=rig.home, XDG_DATA_HOME=rig.home + '/.local/share')
        self.env.pop('VANDREL_URL', None)

    def start(self, *words, **options):
        return subprocess.Popen([self.program, *words], env=self.env, **options)

    def __call__(self, *words, code=0):
        done = subprocess.run([self.program, *words], env=self.env, capture_output=True, text=True, timeout=120)
        if done.returncode != code:
            raise Failure('vandrelctl %s ended with %d: %s %s' % (' '.join(words), done.returncode, done.stdout[-1500:], done.stderr))
        return [json.loads(line) for line in done.stdout.splitlines()] or [{}]


def make_scene(folder, name, frames=4, textures=2, size=300000, seed=1):
    """A scene with one camera and textures of random bytes beside it; the path of the .tgd."""
    os.makedirs(folder, exist_ok=True)
    chance = random.Random(seed)
    nodes = ''
    for number in range(textures):
        image = '%s_%d.tif' % (name, number)
        with open(os.path.join(folder, image), 'wb') as out:
            out.write(chance.randbytes(size))
        nodes += '\t<image_map_shader\n\t\tname = "Map %d"\n\t\timage_filename = ".\\%s"\n\t\t>\n\t</image_map_shader>\n' % (number, image)
    path = os.path.join(folder, name + '.tgd')
    with open(path, 'w') as out:
        out.write('<terragen\n\tname = "%s"\n\t>\n\t<render\n\t\tname = "View"\n\t\timage_width = "160"\n\t\timage_height = "90"\n'
                  '\t\tsequence_first = "1"\n\t\tsequence_last = "%d"\n\t\tsequence_step = "1"\n\t\t>\n\t</render>\n%s</terragen>\n'
                  % (name, frames, nodes))
    return path


def run(story):
    """Runs story(rig_maker) in a folder of its own; keeps the folder when it fails."""
    tree = sys.argv[1]
    folder = tempfile.mkdtemp(prefix='story-')
    rigs = []

    def make(name='one', **options):
        rigs.append(Rig(tree, os.path.join(folder, name), **options))
        return rigs[-1]

    try:
        story(make, folder)
    except BaseException as trouble:
        print('kept for a look: %s' % folder, file=sys.stderr)
        for rig in rigs:
            rig.stop()
        if isinstance(trouble, Failure):
            sys.exit('failed: %s' % trouble)
        raise
    for rig in rigs:
        if not rig.stop() or rig.client and rig.client.returncode not in (0, -9):
            sys.exit('failed: the client ended with %s when it was asked to, see %s' % (rig.client.returncode, folder))
    shutil.rmtree(folder, ignore_errors=True)


def finished(rig, orders):
    """All orders rendered, all their results on disk, no row of them left in any store."""
    state = rig.farm_state()
    mine = [one for one in state['tasks'] if one['uploaded']]
    if len(mine) < orders or any(one['framesDone'] < one['frames'] or not one['frames'] for one in mine):
        return False
    if rig.rows('resolve.db', 'select 1 from resolve') or rig.rows('qnfileUpload.db', 'select 1 from up') \
            or rig.rows('qnfileDown.db', 'select 1 from miss2 where state <> 2'):
        return False
    here = rig.result_files()
    return not any(name.endswith(('.xtemp', '.vd')) for name in here) and len(here) >= sum(one['frames'] for one in mine) and state


def compare(rig, state):
    """Every result of the farm is on disk with the same bytes, and nothing else is."""
    there = sorted(one['hash'] for task in state['tasks'] for one in task['results'])
    here = sorted(digest(path) for path in rig.result_files().values())
    if there != here:
        raise Failure('%d results on the farm, %d files on disk, and they differ' % (len(there), len(here)))
    if state['violations']:
        raise Failure('the farm was spoken to wrongly: %s' % state['violations'][:3])


def send(rig, scenes):
    rig.analyse(scenes, rig.choices())
