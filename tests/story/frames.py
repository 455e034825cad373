"""A task down to its frames while it renders: a log followed to its end, a picture before the frame is on disk, one frame rendered
once more, chosen frames fetched again; driven by the local API and vandrelctl, ended by comparing both sides."""
import os
import subprocess
import urllib.error
import urllib.request

from stories import Ctl, Failure, compare, digest, finished, make_scene, run, send, wait_for

FRAMES = 4


def story(make, folder):
    rig = make('one', farm_options=['--frames-per-second', '0', '--frame-seconds', '2.5', '--render-threads', '1', '--auto-submit'])
    rig.start_farm()
    rig.start_client()
    rig.wait_login()
    send(rig, [make_scene(os.path.join(folder, 'scenes'), 'one', frames=FRAMES)])

    def frames(**wanted):
        rows = (rig.api('/subjob?mid=%d' % task) or {}).get('data', {}).get('results', [])
        return [row for row in rows if all(row[key] == value for key, value in wanted.items())]

    def fetch(path):
        request = urllib.request.Request('http://127.0.0.1:%d%s' % (rig.api_port, path), data=b'', method='POST')
        with urllib.request.urlopen(request, timeout=40) as reply:
            return reply.headers['Content-Type'], reply.read()

    task = wait_for('the task', 60, lambda: [one['missionId'] for one in rig.farm_state()['tasks'] if one['uploaded']])[0]
    running = wait_for('a frame that renders', 60, lambda: frames(status=0))[0]
    log = Ctl(rig).start('log', str(task), str(running['id']), '-f', stdout=subprocess.PIPE, stderr=subprocess.PIPE)

    def early():
        """The picture of a frame that still renders when it has come, and whether that frame is on disk all the same."""
        for row in frames(status=0):
            kind, picture = fetch('/subjob/preview?mid=%d&subjobId=%d' % (task, row['id']))
            here = any(name.endswith('.%04d.png' % row['frame_from']) for name in rig.result_files())
            if kind == 'image/png' and frames(status=0, id=row['id']):
                return picture, here
    picture, here = wait_for('a picture before its frame is done', 60, early)
    if here or not picture.startswith(b'\x89PNG'):
        raise Failure('before the frame is done: on disk %s, %r' % (here, picture[:80]))
    told, trouble = log.communicate(timeout=60)
    where = rig.api('/subjob/log?mid=%d&subjobId=%d' % (task, running['id']))
    with open(os.path.join(rig.folder, 'farm', where['data']['path']), 'rb') as whole:
        if log.returncode or told != whole.read() or b'\n' not in told:
            raise Failure('the log ended with %s: %r %r' % (log.returncode, told[-200:], trouble))
    state = wait_for('the road', 60, lambda: rig.alive() and finished(rig, 1))
    compare(rig, state)

    # One frame once more: its new record stands for it, and its new file takes the old one's place.
    first = frames(frame_from=1)[0]
    if rig.api('/subjob/rerender?mid=%d&subjobId=%d' % (task, first['id']))['result'] != 1:
        raise Failure('refused to render once more')
    again = wait_for('the frame once more', 60, lambda: frames(frame_from=1, parentViewId=first['id'], status=3))[0]
    if again['flag'] != 1:
        raise Failure('its record says %s' % again)
    state = wait_for('the frame once more on disk', 60, lambda: rig.alive() and finished(rig, 1))
    compare(rig, state)

    # Chosen frames: one that was spoilt here and one that is gone; the others stay untouched.
    here = rig.result_files()
    spoilt, gone = [path for name, path in sorted(here.items()) if name.endswith(('.0001.png', '.0003.png'))]
    before = {path: os.stat(path).st_mtime_ns for path in here.values()}
    with open(spoilt, 'wb') as out:
        out.write(b'spoilt')
    os.remove(gone)
    ids = [again['id']] + [row['id'] for row in frames(frame_from=3)]
    if rig.api('/subjob/download?mid=%d&subjobIds=%s' % (task, ','.join(map(str, ids))))['result'] != 1:
        raise Failure('refused to download')
    wait_for('the chosen frames', 60, lambda: os.path.exists(gone) and os.path.getsize(spoilt) > 6 and finished(rig, 1))
    compare(rig, rig.farm_state())
    for path in here.values():
        if path not in (spoilt, gone) and os.stat(path).st_mtime_ns != before[path]:
            raise Failure('%s was fetched though nobody chose it' % path)
    print('log of %d bytes, picture of %d, frame 1 again as %s' % (len(told), len(picture), digest(spoilt)))


run(story)
