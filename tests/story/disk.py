"""The disk of a client that runs under modeldisk.cpp: what of its folder is left when the power goes."""
import ctypes
import os
import shutil
import stat
import struct
import sys

LIBRARY = os.path.abspath(sys.argv[2])
BEFORE = {name: os.environ[name] for name in ('LD_PRELOAD',) if name in os.environ}


def key_of(path):
    """Inode and time of birth, as modeldisk.cpp names a file."""
    facts = ctypes.create_string_buffer(256)
    if ctypes.CDLL(None).statx(-100, os.fsencode(path), 0x100, 0xfff, facts) != 0:
        raise OSError(path)
    return '%d.%d.%d' % (struct.unpack_from('<Q', facts, 32) + struct.unpack_from('<qI', facts, 80))


def plain(folder, names):
    """What isn't a socket that a kill left."""
    return [name for name in names if not stat.S_ISSOCK(os.lstat(os.path.join(folder, name)).st_mode)]


def preload():
    """Behind what stands there already: a library of delays, say, is to meet the model's calls too."""
    os.environ['LD_PRELOAD'] = ' '.join(list(BEFORE.values()) + [LIBRARY])


class Disk:
    """What is durable of a folder: all of it when the client starts, then what the records of the syncs tell."""

    def __init__(self, folder, home):
        self.folder, self.home, self.turn = folder, home, 0

    def arm(self, cut):
        """Remembers the folder as it stands and sets the environment for the client's next start."""
        self.turn += 1
        image, self.records = os.path.join(self.folder, 'image%d' % self.turn), os.path.join(self.folder, 'syncs%d' % self.turn)
        shutil.copytree(self.home, image, symlinks=True, ignore=lambda at, names: set(names) - set(plain(at, names)))
        os.makedirs(self.records)
        self.names, self.contents = {}, {}  # folder -> {name: key, or None for a folder}; key -> file with the content
        for at, folders, files in os.walk(self.home):
            self.names[at] = dict.fromkeys(folders)
            for name in plain(at, files):
                key = key_of(os.path.join(at, name))
                self.names[at][name] = key
                self.contents[key] = os.path.join(image, os.path.relpath(os.path.join(at, name), self.home))
        preload()
        os.environ.update(VN_DISK_ROOT=self.home, VN_DISK_LOG=self.records, VN_DISK_CUT=cut or '0:0')

    @staticmethod
    def disarm():
        for name in 'LD_PRELOAD', 'VN_DISK_ROOT':
            os.environ.pop(name, None)
        os.environ.update(BEFORE)

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
