"""Measures the client as a program beside a farm of its own: start to login page and to main window, an idle hour's
price by a minute, and the window's longest stall on the road. Usage: python3 bench/client.py TREE [seconds idle]

The window's thread answers the local API's refusals itself, so the longest wait for one is an upper bound of its stalls.
"""
import http.client
import os
import statistics
import sys
import tempfile
import threading
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), 'tests', 'story'))
from stories import make_scene, Rig, finished, send, wait_for  # noqa: E402
from usage import memory, spent  # noqa: E402


class Stalls(threading.Thread):
    def __init__(self, port):
        super().__init__(daemon=True)
        self.port, self.waits, self.over = port, [], False

    def run(self):
        while not self.over:
            began = time.perf_counter()
            link = http.client.HTTPConnection('127.0.0.1', self.port, timeout=10)
            try:
                link.request('GET', '/none')
                link.getresponse().read()
                self.waits.append(1000 * (time.perf_counter() - began))
            except OSError:
                pass
            link.close()
            time.sleep(0.01)


def others(rig, counted):
    """Web requests since the first count that weren't this count's own: the client's first is its login page."""
    counted.append(rig.farm_state()['counters']['requests'])
    return counted[-1] - counted[0] - (len(counted) - 1)


def main():
    seconds = int(sys.argv[2]) if len(sys.argv) > 2 else 60
    folder = tempfile.mkdtemp(prefix='bench-')
    rig = Rig(sys.argv[1], folder, farm_options=['--frames-per-second', '0', '--auto-submit'])
    rig.start_farm()
    page, window = [], []
    for _ in range(5):
        counted = [rig.farm_state()['counters']['requests']]
        began = time.perf_counter()
        rig.start_client()
        wait_for('the login page', 30, lambda: others(rig, counted) > 0, 0.002)
        page.append(time.perf_counter() - began)
        wait_for('the main window', 30, lambda: rig.api('/none'), 0.002)
        window.append(time.perf_counter() - began)
        rig.wait_login()
        if len(page) < 5:
            rig._end(rig.client)
    print('start to login page %.2f s, to main window %.2f s (median of 5)' % (statistics.median(page), statistics.median(window)))
    time.sleep(3)
    before = spent(rig.client.pid)
    time.sleep(seconds)
    print('idle, logged in, %d s: %.2f %% of a core, %d MiB resident' %
          (seconds, 100 * (spent(rig.client.pid) - before) / seconds, memory(rig.client.pid)))
    stalls = Stalls(rig.api_port)
    stalls.start()
    scenes = [make_scene(os.path.join(folder, 'scenes'), 'scene%d' % n, frames=20, textures=60, size=400000, seed=n) for n in range(4)]
    send(rig, scenes)
    wait_for('four orders of 61 files and 20 frames', 300, lambda: rig.alive() and finished(rig, 4), 0.2)
    stalls.over = True
    stalls.join()
    waits = sorted(stalls.waits)
    print('window answers on the road of 4 orders: median %.1f ms, 99.9 %% %.1f ms, longest %.1f ms of %d' %
          (statistics.median(waits), waits[int(len(waits) * 0.999)], waits[-1], len(waits)))
    rig.stop()


main()
