"""The road of one scene with everything that can go wrong on it, one fault after the other: each time the frames come
back byte for byte, and neither side keeps anything that it shouldn't."""
import os

from stories import Failure, compare, finished, make_scene, run, send, wait_for


# Each is cleared once its order is through; a count behind @ lets it happen that often.
FAULTS = [('cut-upload', '700000@3'), ('cut-download', '20000@3'), ('drop-reply.10421', '1@1'), ('drop-reply.10704', '1@1'),
          ('cut-after.10400', '1@1'), ('drop-reply.10805', '1@1'), ('drop-reply.10800', '1@1'), ('split-business', '1'),
          ('split-file', '1'), ('stale-access', '1@1'), ('stage', '7000411,7000430,7000440:700'), ('hash-fail', '1@1'),
          ('corrupt-download', '1@1'), ('short-head', '1@1'), ('http-status', '503@2'), ('cut-business', '4000@1')]


def story(make, folder):
    rig = make('one', farm_options=['--frames-per-second', '0', '--auto-submit'])
    rig.start_farm()
    rig.start_client()
    rig.wait_login()
    scenes = os.path.join(folder, 'scenes')

    # The plain road, then the same scene once more: the farm has its files, no byte moves.
    first = make_scene(scenes, 'plain', frames=5)
    send(rig, [first])
    compare(rig, wait_for('the plain road', 60, lambda: rig.alive() and finished(rig, 1)))
    # A second start only brings the first client forward.
    first_client = rig.client
    second, rig.client = rig.start_client(), first_client
    wait_for('the second start to end', 60, lambda: second.poll() is not None)
    if second.returncode or not rig.alive():
        raise Failure('the second start ended with %s' % second.returncode)
    moved = rig.farm_state()['counters']['bytesUp']
    send(rig, [first])
    state = wait_for('the second road', 60, lambda: rig.alive() and finished(rig, 2))
    compare(rig, state)
    if state['counters']['bytesUp'] != moved:
        raise Failure('%d bytes went up a second time' % (state['counters']['bytesUp'] - moved))
    print('plain road twice: %d bytes up, %d results' % (moved, sum(len(task['results']) for task in state['tasks'])))

    # One fault at a time, each for a scene of its own.
    for number, (name, value) in enumerate(FAULTS, 3):
        rig.fault(name, value)
        send(rig, [make_scene(scenes, 'fault%d' % number, frames=3, size=2000000, seed=number)])
        state = wait_for('the road with the fault %s=%s' % (name, value), 120, lambda: rig.alive() and finished(rig, number))
        rig.fault(name, '')
        state['violations'] = []
        compare(rig, state)
        print('%s=%s: all there' % (name, value))
    if not rig.stop():
        raise Failure('the client did not end when asked to')


run(story)
