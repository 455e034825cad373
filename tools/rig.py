"""A farm and a client of their own, in a folder of their own: what the demonstration and the stories stand on.

Everything lives below one folder: the farm's state, the client's HOME, its results. The farm listens on a loopback
address of its own, so that several rigs run side by side although the business port is fixed. Every process is started
and ended by its id.
"""
import json
import os
import random
import signal
import socket
import sqlite3
import subprocess
import time
import urllib.error
import urllib.request


class Failure(Exception):
    pass


PATIENCE = 60  # seconds for what has to come; no measure of anything


def bound(family, name):
    """A socket of that name, None where it's taken."""
    one = socket.socket(family)
    try:
        one.bind(name)
        return one
    except OSError:
        one.close()
        return None


def wait_for(what, seconds, test, step=0.05):
    """Polls test() until it gives something true; Failure names what was waited for."""
    end = time.monotonic() + seconds
    while True:
        found = test()
        if found:
            return found
        if time.monotonic() > end:
            raise Failure('waited %d s for %s' % (seconds, what))
        time.sleep(step)


class Rig:
    def __init__(self, tree, folder, platform='offscreen', farm_options=(), client_words=('notupdate',), config_sections=None, beside=None,
                 same_home=False):
        """config_sections: of the machine's config.ini, {'Resolve': {'thread': 2}}. beside: a rig whose farm this client
        uses too (after start_farm there), with same_home also its user's folders, as a second client on one machine."""
        self.tree, self.folder, self.platform = os.path.abspath(tree), os.path.abspath(folder), platform
        self.farm_options, self.client_words = list(farm_options), list(client_words)
        self.home = beside.home if same_home else os.path.join(self.folder, 'home')
        self.program = os.path.join(self.folder, 'program')
        self.data = os.path.join(self.home, '.local/share/VandrelQN', 'slave' if 'slaveAlone' in client_words else '')
        os.makedirs(self.program, exist_ok=True)
        os.makedirs(os.path.join(self.data, 'AllUser'), exist_ok=True)
        self._held = []  # nobody else takes this rig's address and port while its programs are away
        self.address = beside.address if beside else self._free_address()
        self.api_port = self.free_port()
        self.farm = self.client = None
        self.http = beside.http if beside else None
        # The client runs from a copy, so that its service.ini names this rig's farm.
        for name in os.listdir(self.tree):
            if name in ('VandrelQN', 'oss', 'zh_en.qm', 'scripts', 'web') and not os.path.lexists(os.path.join(self.program, name)):
                source = os.path.join(self.tree, name)
                if name in ('VandrelQN', 'oss'):
                    os.link(source, os.path.join(self.program, name)) if self._same_disk(source) else self._copy(source)
                else:
                    os.symlink(source, os.path.join(self.program, name))
        config = os.path.join(self.data, 'AllUser', 'config.ini')
        if not os.path.exists(config):
            sections = dict(config_sections or {})
            sections['Server'] = dict(sections.get('Server', {}), clientPort=self.api_port)
            with open(config, 'w', encoding='utf-8') as out:
                for name, values in sections.items():
                    out.write('[%s]\n%s\n' % (name, ''.join('%s=%s\n' % one for one in values.items())))
        if beside:
            self._write_addresses()

    def _same_disk(self, source):
        return os.stat(source).st_dev == os.stat(self.program).st_dev

    def _copy(self, source):
        import shutil
        shutil.copy2(source, self.program)

    def free_port(self):
        """For a program that may be killed and come back: below those that outgoing connections are given."""
        for port in random.sample(range(20000, 29000), 50):
            if self._hold('', port):
                return port
        raise Failure('no port is free')

    def _free_address(self):
        """Never 127.0.0.1, from which every outgoing connection takes a port."""
        for _ in range(50):
            address = '127.%d.%d.%d' % (random.randrange(1, 250), random.randrange(1, 250), random.randrange(2, 250))
            if self._hold(address, 29909):
                return address
        raise Failure('port 29909 is taken on every loopback address')

    def _hold(self, address, port):
        """Whether that port is free and this rig's from now on: a name without a file tells the other rigs."""
        held = bound(socket.AF_UNIX, '\0vandrel rig %s:%d' % (address, port))
        probe = held and bound(socket.AF_INET, (address, port))
        if probe:
            probe.close()
            self._held.append(held)
        elif held:
            held.close()
        return bool(probe)

    # --- the farm

    def start_farm(self):
        for _ in range(5):
            command = [os.path.join(self.tree, 'localfarm'), '--dir', os.path.join(self.folder, 'farm'), '--address', self.address,
                       '--http-port', str(self.http or 0), '--file-port', '0', '--print-ports'] + self.farm_options
            log = open(os.path.join(self.folder, 'farm.log'), 'ab')
            self.farm = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=log, stdin=subprocess.DEVNULL,
                                         env=dict(os.environ, QT_QPA_PLATFORM='offscreen'))
            log.close()
            line = self.farm.stdout.readline()
            if line:
                break
            self._end(self.farm)
            self.farm.stdout.close()
            if self.http is None:  # another rig was quicker to take the address
                self.address = self._free_address()
        else:
            raise Failure('the farm did not start, see %s/farm.log' % self.folder)
        self.ports = json.loads(line)
        self.http = self.ports['http']
        self._write_addresses()
        return self.ports

    def _write_addresses(self):
        with open(os.path.join(self.program, 'service.ini'), 'w') as out:
            base = 'http://%s:%d' % (self.address, self.http)
            out.write('[server]\nqnbs=%s\nbs=%s\nlogin="%s?auto=1"\nupdate=%s\n' % (base, base, base, base))

    def account(self, **facts):
        """Lays down what the account's record tells, before the farm first starts (parseTime, needMasterCheck, ...)."""
        folder = os.path.join(self.folder, 'farm')
        os.makedirs(folder, exist_ok=True)
        link = sqlite3.connect(os.path.join(folder, 'farm.db'))
        link.execute('create table if not exists meta(k text primary key, v text)')
        link.execute("insert or replace into meta values('config', ?)", (json.dumps(facts),))
        link.commit()
        link.close()

    def orders(self):
        """The order messages as the farm keeps them: {mission: (body, files)}."""
        link = sqlite3.connect('file:%s?mode=ro' % os.path.join(self.folder, 'farm', 'farm.db'), uri=True, timeout=PATIENCE)
        try:
            return dict((mid, (json.loads(body or '{}'), json.loads(files or '[]')))
                        for mid, body, files in link.execute('select mid, body, files from task'))
        finally:
            link.close()

    def fault(self, name, value):
        urllib.request.urlopen('http://%s:%d/farm/fault?name=%s&value=%s' % (self.address, self.http, name, value), timeout=PATIENCE).read()

    def farm_state(self):
        """Orders, results (path, size, MD5), counters and violations as the farm knows them."""
        with urllib.request.urlopen('http://%s:%d/farm/state' % (self.address, self.http), timeout=PATIENCE) as reply:
            return json.loads(reply.read().decode('utf-8'))

    # --- the client

    def start_client(self):
        env = dict(os.environ, HOME=self.home, XDG_DATA_HOME=self.home + '/.local/share', XDG_CONFIG_HOME=self.home + '/.config',
                   XDG_CACHE_HOME=self.home + '/.cache', QT_QPA_PLATFORM=self.platform, NO_PROXY='*', no_proxy='*',
                   DBUS_SESSION_BUS_ADDRESS='unix:path=/nonexistent')  # never the key ring of the person who runs this
        env.setdefault('XDG_RUNTIME_DIR', self.folder)
        log = open(os.path.join(self.folder, 'client.log'), 'ab')
        self.client = subprocess.Popen([os.path.join(self.program, 'VandrelQN')] + self.client_words, stdout=log, stderr=log,
                                       stdin=subprocess.DEVNULL, env=env, cwd=self.folder)
        log.close()
        return self.client

    def api(self, path, body=None, timeout=30):
        """POSTs to the client's local API; the reply's object, or None while nobody answers."""
        data = b'' if body is None else json.dumps(body).encode()
        request = urllib.request.Request('http://127.0.0.1:%d%s' % (self.api_port, path), data=data, method='POST')
        try:
            with urllib.request.urlopen(request, timeout=timeout) as reply:
                return json.loads(reply.read().decode('utf-8'))
        except (OSError, ValueError, urllib.error.URLError):
            return None

    def alive(self):
        if self.client and self.client.poll() is not None:
            raise Failure('the client ended with %s, see %s/client.log' % (self.client.returncode, self.folder))
        return True

    def wait_login(self, seconds=PATIENCE):
        return wait_for('the login', seconds, lambda: self.alive() and (self.api('/account') or {}).get('result') == 1 and self.user_dir(), 0.2)

    def user_dir(self):
        for name in os.listdir(self.data):
            if name.isdigit():
                return os.path.join(self.data, name)
        return None

    def choices(self, software_type=8):
        """Project, environment and machine for a hand-over, the first ones that the farm offers."""
        project = self._first(self.api('/project'), 'projects')
        env = self._first(self.api('/env?projectId=%d&softwareType=%d' % (project['id'], software_type)), 'combos')
        machine = self._first(self.api('/machine?projectId=%d&farmId=0' % project['id']), 'machines')
        return {'project': {'id': project['id'], 'name': project['name']}, 'env': env, 'machine': machine}

    @staticmethod
    def _first(reply, key):
        """The first object of the list called key, wherever in the reply it stands."""
        waiting = [reply]
        while waiting:
            value = waiting.pop(0)
            if isinstance(value, dict):
                if isinstance(value.get(key), list) and value[key]:
                    return value[key][0]
                waiting.extend(value.values())
            elif isinstance(value, list):
                waiting.extend(value)
        raise Failure('no %s in %s' % (key, json.dumps(reply, ensure_ascii=False)[:300]))

    def analyse(self, scenes, parameter):
        reply = self.api('/model/analysis', {'scenes': scenes, 'parameter': parameter})
        if not reply or reply.get('result') != 1:
            raise Failure('the client refused the scenes: %s' % reply)
        return reply

    def rows(self, database, sql, values=(), whole=False):
        """Rows of one of the account's stores, read only; [] while the file isn't there, or its table unless it's a whole one."""
        path = os.path.join(self.user_dir() or '', database)
        if not os.path.exists(path):
            return []
        end = time.monotonic() + PATIENCE
        while True:  # who opens or closes a store refuses others for a moment
            link = sqlite3.connect('file:%s?mode=ro' % path, uri=True, timeout=10)
            try:
                return link.execute(sql, values).fetchall()
            except sqlite3.OperationalError as trouble:
                if 'no such table' in str(trouble) and not whole:
                    return []
                if time.monotonic() > end:
                    raise Failure('%s: %s' % (database, trouble))
            finally:
                link.close()
            time.sleep(0.02)

    def result_files(self):
        found = {}
        for at, _, names in os.walk(os.path.join(self.home, 'ResultQN')):
            for name in names:
                found[os.path.relpath(os.path.join(at, name), os.path.join(self.home, 'ResultQN'))] = os.path.join(at, name)
        return found

    # --- ends

    @staticmethod
    def _end(process, how=signal.SIGTERM, seconds=PATIENCE):
        if process and process.poll() is None:
            process.send_signal(how)
            try:
                process.wait(seconds)
            except subprocess.TimeoutExpired:
                process.kill()
                process.wait()
                return False
        return True

    def kill_client(self):
        self._end(self.client, signal.SIGKILL)

    def kill_farm(self):
        self._end(self.farm, signal.SIGKILL)
        if self.farm:
            self.farm.stdout.close()

    def stop(self):
        clean = self._end(self.client)
        self._end(self.farm)
        if self.farm and self.farm.stdout:
            self.farm.stdout.close()
        return clean
