"""Drives the road of one scene with a real client and the local farm, and prints its stations as they happen."""
import argparse
import os
import shutil
import signal
import subprocess
import sys
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from rig import Failure, Rig, wait_for

STATES = {100: 'waiting for analysis', 101: 'analysing', 103: 'analysed, with warnings', 104: 'analysis failed', 105: 'parameters missing',
          106: 'analysed', 107: 'committed', 108: 'ordering', 109: 'order refused', 110: 'waiting for upload', 111: 'uploading',
          113: 'upload failed', 114: 'no order number'}
TYPES = {'.ma': (1, 'maya'), '.mb': (1, 'maya'), '.max': (3, '3ds max'), '.hip': (4, 'houdini'), '.c4d': (5, 'cinema 4d'),
         '.project': (7, 'clarisse'), '.tgd': (8, 'terragen')}


class Screen:
    """The display that the client is shown on: the user's, or an own invisible one."""

    def __init__(self, folder):
        self.folder, self.server, self.manager = folder, None, None
        self.name = os.environ.get('DISPLAY')
        self.own = not self.name
        if self.own:
            read, write = os.pipe()
            self.server = subprocess.Popen(['Xvfb', '-displayfd', str(write), '-screen', '0', '1360x860x24', '-nolisten', 'tcp'],
                                           pass_fds=[write], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            os.close(write)
            with os.fdopen(read) as answer:
                number = answer.readline().strip()
            if not number:
                raise Failure('Xvfb did not start')
            self.name = ':' + number
            os.environ['DISPLAY'] = self.name
            self.manager = subprocess.Popen(['openbox'], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def picture(self, name, *keys):
        if not self.own:
            return None
        for one in keys:
            subprocess.run(['xdotool', 'key', one], timeout=10, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            time.sleep(0.5)
        path = os.path.join(self.folder, name)
        done = subprocess.run(['import', '-window', 'root', path], timeout=30, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        return path if done.returncode == 0 else None

    def close(self):
        for process in (self.manager, self.server):
            Rig._end(process)


class Progress:
    """One line that is rewritten on a terminal; elsewhere only every tenth per cent is told."""

    def __init__(self):
        self.start, self.told, self.open = time.monotonic(), -1, False
        self.live = sys.stdout.isatty()

    def station(self, text):
        if self.open:
            print()
            self.open = False
        self.told = -1
        print('%6.1f s  %s' % (time.monotonic() - self.start, text), flush=True)

    def bar(self, what, done, whole):
        share = 0 if whole <= 0 else min(100, 100 * done // whole)
        if self.live:
            print('\r          %s [%-30s] %d/%d   ' % (what, '#' * (share * 30 // 100), done, whole), end='', flush=True)
            self.open = True
        elif share // 10 != self.told:
            self.told = share // 10
            print('          %s [%-30s] %d/%d' % (what, '#' * (share * 30 // 100), done, whole), flush=True)


def scene_row(rig, rkey=None):
    rows = rig.rows('resolve.db', 'select rkey, state, ordernum, fok, fsum, missionid, errstr, error from resolve order by rkey desc limit 1')
    return rows[0] if rows else None


def job(rig, mission):
    reply = rig.api('/job?status=1000') or {}
    for row in (reply.get('data') or {}).get('pageList', []):
        if row.get('id') == mission:
            return row
    return None


def road(rig, scene, screen, progress):
    ending = os.path.splitext(scene)[1].lower()
    if ending not in TYPES:
        raise Failure('no scene of a kind that the client takes: ' + scene)
    kind, software = TYPES[ending]
    ports = rig.start_farm()
    progress.station('local farm on %s: business %s, web %s, files %s' % (rig.address, ports['business'], ports['http'], ports['file']))
    rig.start_client()
    progress.station('client started')
    rig.wait_login()
    progress.station('logged in through the login page, account folder %s' % os.path.basename(rig.user_dir()))
    chosen = rig.choices(kind)
    progress.station('project "%s", software "%s", machine "%s"' % (chosen['project']['name'], chosen['env'].get('software'),
                                                                   chosen['machine'].get('name') or chosen['machine'].get('machineModel')))
    rig.analyse([scene], chosen)
    progress.station('scene handed over: ' + scene)
    pictured, mission, order, state, committed = False, 0, '', None, False
    while True:
        rig.alive()
        row = scene_row(rig)
        if not row and state is not None:
            break
        if row:
            mission, order = row[5] or mission, row[2] or order
            if row[1] != state:
                state = row[1]
                progress.station('%s%s' % (STATES.get(state, 'state %d' % state), ', order ' + order if order else ''))
                if state in (103, 104, 105) and row[6]:
                    for line in row[6].splitlines():
                        progress.station('    ' + line)
                if state in (104, 105, 109, 113):
                    raise Failure('the scene stopped in "%s" (%d)' % (STATES[state], row[7]))
            if state in (103, 106) and not pictured:
                pictured = True
                path = screen.picture('page-analysis.png', 'ctrl+1')
                if path:
                    progress.station('picture ' + path)
            if state in (103, 106) and not committed and order:
                committed = True
                rig.api('/model/commit?num=' + order)
                progress.station('committed with warnings by the user' if state == 103 else 'committed')
            if state == 111:
                progress.bar('files on the farm', row[3], row[4])
        time.sleep(0.1)
    mission = mission or rig.farm_state()['tasks'][-1]['missionId']  # the last steps can be quicker than a look
    progress.station('upload complete, the farm renders task %d' % mission)
    shown, whole = False, 0
    while True:
        rig.alive()
        task = job(rig, mission) or {}
        whole = task.get('totalFrame', whole)
        done = len([1 for name in rig.result_files() if not name.endswith(('.xtemp', '.vd'))])
        progress.bar('rendered %d, on disk' % task.get('successFrame', 0), done, whole)
        if not shown and rig.rows('qnfileDown.db', 'select 1 from miss2'):
            shown = True
            for path in (screen.picture('page-tasks.png', 'ctrl+2'), screen.picture('page-transfer.png', 'ctrl+3', 'ctrl+Tab')):
                if path:
                    progress.station('picture ' + path)
        if whole and done >= whole and not rig.rows('qnfileDown.db', 'select 1 from miss2'):
            break
        time.sleep(0.2)
    if not shown:
        screen.picture('page-transfer.png', 'ctrl+3', 'ctrl+Tab')
    frames = rig.result_files()
    progress.station('all frames are on disk')
    print()
    for name in sorted(frames):
        print('    %8d  %s' % (os.path.getsize(frames[name]), name))
    print('\n%d frames in %s' % (len(frames), os.path.join(rig.home, 'ResultQN')))


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument('--tree', required=True)
    parser.add_argument('--folder', required=True)
    parser.add_argument('scene')
    words = parser.parse_args()
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(130))
    shutil.rmtree(words.folder, ignore_errors=True)
    os.makedirs(words.folder)
    folder = os.path.abspath(words.folder)
    screen = rig = None
    code = 0
    try:
        screen = Screen(folder)
        rig = Rig(words.tree, folder, platform='xcb', farm_options=['--frames-per-second', '4',
                                                                          # a line on which a download can be watched
                                                                          '--fault', 'slow-download=30000'])
        road(rig, os.path.abspath(words.scene), screen, Progress())
        if not screen.own:
            print('The windows stay open; Ctrl-C ends the client and the farm.')
            while rig.client.poll() is None:
                time.sleep(0.5)
    except Failure as trouble:
        print('\nfailed: %s\nlogs: %s' % (trouble, folder), file=sys.stderr)
        code = 1
    except KeyboardInterrupt:
        print('\nended by Ctrl-C')
        code = 130
    finally:
        if rig:
            rig.stop()
        if screen:
            screen.close()
    return code


if __name__ == '__main__':
    sys.exit(main())
