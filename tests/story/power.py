"""The power goes, again and again: at words that end the server's memory of a work, in the very moment they leave, and at
moments between. What stays is what a sync made durable, names and contents (modeldisk.cpp). At the end every order is
rendered, every frame is on the disk byte for byte, and nothing is left over."""
import os
import random
import subprocess

from disk import Disk
from stories import Failure, compare, finished, make_scene, run, wait_for

# The command, and which of its packages; None: a moment within two seconds after a scene was handed over.
CUTS = ['10400:1', '10704:1', '10413:1', '10802:1', None, '10802:3', '10413:1', None, '10704:1', '10802:6', '10400:1', None]
TURN_SECONDS = 30


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
    state = wait_for('everything to come to its end', 120, lambda: rig.alive() and finished(rig, orders), 0.5)
    state['violations'] = []
    compare(rig, state)
    print('%d cuts, %d of them at a word to the server, %d syncs, %d orders, %d results, all there' %
          (len(CUTS), hits, syncs, orders, sum(len(task['results']) for task in state['tasks'])))
    if hits < len(CUTS) / 2:
        raise Failure('too few of the words were met: %d' % hits)


run(story)
