"""The power goes, again and again: at words that end the server's memory of a work, in the very moment they leave, and at
moments between. What stays is what a sync made durable, names and contents (modeldisk.c). At the end every order is
rendered, every frame is on the disk byte for byte, and nothing is left over."""
import ctypes
import os
import random
import shutil
import struct
import subprocess
import sys

from stories import Failure, compare, finished, make_scene, run, wait_for

# The command, and which of its packages; None: a moment within two seconds after a scene was handed over.
CUTS = ['10400:1', '10704:1', '10413:1', '10802:1', None, '10802:3', '10413:1', None, '10704:1', '10802:6', '10400:1', None]
TURN_SECONDS = 12
LIBRARY = os.path.abspath(sys.argv[2])


def key_of(path):
    """Inode and time of birth, as modeldisk.c names a file."""
    facts = ctypes.create_string_buffer(256)
    if ctypes.CDLL(None).statx(-100, os.fsencode(path), 0x100, 0xfff, facts) != 0:
        raise OSError(path)
    return '%d.%d.%d' % (struct.unpack_from('<Q', facts, 32) + struct.unpack_from('<qI', facts, 80))


class Disk:
    """What is durable of a folder: all of it when the client starts, then what the records of the syncs tell."""

    def __init__(self, folder, home):
        self.folder, self.home, self.turn = folder, home, 0

    def arm(self, cut):
        """Remembers the folder as it stands and sets the environment for the client's next start."""
        self.turn += 1
        image, self.records = os.path.join(self.folder, 'image%d' % self.turn), os.path.join(self.folder, 'syncs%d' % self.turn)
        shutil.copytree(self.home, image, symlinks=True)
        os.makedirs(self.records)
        self.names, self.contents = {}, {}  # folder -> {name: key, or None for a folder}; key -> file with the content
        for at, folders, files in os.walk(self.home):
            self.names[at] = dict.fromkeys(folders)
            for name in files:
                key = key_of(os.path.join(at, name))
                self.names[at][name] = key
                self.contents[key] = os.path.join(image, os.path.relpath(os.path.join(at, name), self.home))
        os.environ.update(LD_PRELOAD=LIBRARY, VN_DISK_ROOT=self.home, VN_DISK_LOG=self.records, VN_DISK_CUT=cut or '0:0')

    @staticmethod
    def disarm():
        os.environ.pop('LD_PRELOAD')

    def _enter(self, path, key):
        """The sync of a new file commits its name, and those of the folders above."""
        while path != self.home:
            folder, name = os.path.split(path)
            known = self.names.setdefault(folder, {})
            if key or name not in known:
                known[name] = key
            path, key = folder, None

    def cut(self):
        """Turns the folder into what the next start finds. The count of syncs."""
        log = os.path.join(self.records, 'log')
        lines = open(log).read().splitlines() if os.path.exists(log) else []
        for line in lines:
            kind, number, key, path = line.split(' ', 3)
            kept = os.path.join(self.records, number)
            if kind == 'D':
                inside = [one.split(' ', 2) for one in open(kept).read().splitlines()]
                self.names[path] = {name: inner if sort == 'f' else None for sort, inner, name in inside}
                self._enter(path, None)
                continue
            self.contents[key] = kept
            if not path.endswith(' (deleted)'):
                for known in self.names.values():  # a rename is one step: the old name goes with it
                    for name in [name for name, other in known.items() if other == key]:
                        del known[name]
                self._enter(path, key)
        shutil.move(self.home, self.home + '.lost%d' % self.turn)
        self._lay(self.home)
        return len(lines)

    def _lay(self, folder):
        os.makedirs(folder)
        for name, key in self.names.get(folder, {}).items():
            path = os.path.join(folder, name)
            if key is None:
                self._lay(path)
            elif key in self.contents:
                shutil.copyfile(self.contents[key], path)
            else:
                open(path, 'w').close()  # a name whose content no sync has reached


def story(make, folder):
    chance = random.Random(int(os.environ.get('VN_SEED', '20')))
    rig = make('one', farm_options=['--frames-per-second', '12', '--auto-submit', '--fault', 'slow-download=40000'])
    rig.start_farm()
    disk = Disk(folder, rig.home)
    orders, syncs, hits, choices = 0, 0, 0, None
    for turn, cut in enumerate(CUTS):
        disk.arm(cut)
        rig.start_client()
        disk.disarm()
        try:
            rig.wait_login(TURN_SECONDS)
            choices = choices or rig.choices()
            rig.analyse([make_scene(os.path.join(folder, 'scenes'), 'cut%d' % turn, frames=4, size=200000, seed=turn)], choices)
            orders += 1
            rig.client.wait(TURN_SECONDS if cut else chance.random() * 2)
        except (Failure, subprocess.TimeoutExpired):
            pass  # cut before it came so far, or not met: the power goes now
        hits += rig.client.poll() is not None
        rig.kill_client()
        syncs += disk.cut()
    rig.start_client()
    rig.wait_login()
    rig.fault('slow-download', '')
    state = wait_for('everything to come to its end', 60, lambda: rig.alive() and finished(rig, orders), 0.5)
    state['violations'] = []
    compare(rig, state)
    print('%d cuts, %d of them at a word to the server, %d syncs, %d orders, %d results, all there' %
          (len(CUTS), hits, syncs, orders, sum(len(task['results']) for task in state['tasks'])))
    if hits < len(CUTS) / 2:
        raise Failure('too few of the words were met: %d' % hits)


run(story)
