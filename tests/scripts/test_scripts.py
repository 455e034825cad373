# -*- coding: utf-8 -*-
"""The analysis scripts, run in processes of their own as their hosts run them, against small fakes of the hosts'
modules. Words: the project's folder, and the Python to run them with ("this", "2.7", "3.6"); ends with 77 where this
machine has no such Python. Each goes under a locale that holds every name and under C."""
import glob
import http.server
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
import threading
import unittest

ROOT, VERSION = os.path.abspath(sys.argv[1]), sys.argv[2]
FAKES = os.path.join(ROOT, 'tests/scripts/fakes')
SCENES = os.environ.get('VN_SCENES', '')
SKIPPED = 77
LOCALES = {'utf8': {'LC_ALL': 'C.UTF-8'}, 'c': {'LC_ALL': 'C', 'PYTHONCOERCECLOCALE': '0', 'PYTHONUTF8': '0'}}
RESERVED = set('''about and animate as at attributes by case catch collect continue coordsys do else exit fn for from function global
if in local macroscript mapped max not of off on or parameters persistent plugin private public rcmenu return rollout set struct
then throw to tool true false undo undefined unsupplied utility when where while with'''.split())


def python():
    """One that runs: a version manager's shim of that name may have nothing behind it."""
    if VERSION == 'this':
        return sys.executable
    places = glob.glob(os.path.expanduser('~/.pyenv/versions/%s*/bin/python' % VERSION)) + glob.glob('/opt/python%s*/bin/python' % VERSION)
    for path in [shutil.which('python' + VERSION)] + sorted(places):
        asked = [path, '-c', 'import sys; print("%d.%d" % sys.version_info[:2])']
        if path and subprocess.run(asked, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout.decode().strip() == VERSION:
            return path
    print('SKIPPED: no Python %s on this machine, the scripts are not tested with it' % VERSION)
    sys.exit(SKIPPED)


PYTHON = python()


def run(words, locale='utf8', **env):
    full = dict(os.environ, PYTHONPATH=FAKES, PYTHONDONTWRITEBYTECODE='1', **LOCALES[locale])
    full.update(env)
    done = subprocess.run([PYTHON] + words, stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=60, env=full)
    return done.stdout.decode('utf-8', 'replace'), done.stderr.decode('utf-8', 'replace')


def answer_in(told):
    """The answer as the client reads it: from a line that starts with the marker to the closing word."""
    line = [one for one in told[0].splitlines() if one.startswith('Vandrel Info:')]
    assert len(line) == 1 and 'Vandrel Debug:' in told[0], told
    return json.loads(line[0][len('Vandrel Info:'):])


def names(found):
    return sorted(os.path.basename(one) for one in found['content']['files'])


class Scripts(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, self.folder)

    def file(self, name, text='x'):
        path = os.path.join(self.folder, name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, 'w', encoding='utf-8') as out:
            out.write(text)
        return path

    def maya(self, scene, cache=0, locales=('utf8', 'c'), **env):
        """By both roads, which have to find the same."""
        batch = ('import sys; sys.path.append(%r); import maya.cmds as c; c.load(sys.argv[1]); import vanalyzer; vanalyzer.runMain(0,%d)'
                 % (os.path.join(ROOT, 'scripts/maya/p27'), cache))
        quick = [os.path.join(ROOT, 'scripts/maya/p27/VMA.py'), scene, '-proj', os.path.dirname(scene)]
        told = [answer_in(run(words, locale, VandrelMayaCache=str(cache), **env))
                for words in (['-c', batch, scene], quick) for locale in locales]
        for one in told[1:]:
            self.assertEqual(one, told[0])
        return told[0]

    def test_maya_finds_layers_cameras_files_and_tells_what_is_missing(self):
        scene = self.file(u'场景 a.ma', u'''//Maya ASCII 2018 scene
file -r -ns "rig" -dr 1 -rfn "rigRN" -typ "mayaAscii"
 "rig.ma";
file -r -ns "rig2" -rfn "rigRN2" "rig.ma";
createNode reference -n "lostRN";
\tsetAttr ".fileNames" -type "string" "%(folder)s/by node.ma{3}";
createNode reference -n "sharedReferenceNode";
createNode transform -n "persp";
createNode camera -n "perspShape" -p "persp";
createNode transform -n "shot";
createNode camera -n "shotShape" -p "shot";
\tsetAttr ".rnd" no;
createNode renderLayer -n "defaultRenderLayer";
\tsetAttr ".rndr" no;
createNode renderLayer -n "beauty";
createNode renderLayer -n "rig:defaultRenderLayer";
createNode file -n "first";
\tsetAttr ".ftn" -type "string" "%(folder)s/sourceimages/fire.0001.exr";
createNode file -n "frames";
\tsetAttr ".ftn" -type "string" "sourceimages//fire.0001.exr";
\tsetAttr ".ufe" yes;
createNode file -n "tiles";
\tsetAttr ".ftn" -type "string" "sourceimages/../sourceimages/skin.<UDIM>.exr";
createNode file -n "gone";
\tsetAttr ".ftn" -type "string" "D:\\\\x\\\\gone.tif";
createNode strange -n "plugged";
\tsetAttr ".extraFile" -type "string" "%(folder)s/extra.bin";
createNode reference -n "listedRN";
\tsetAttr ".extraFile" -type "string" "%(folder)s/listed.ma{1}";
createNode RedshiftOptions -n "redshiftOptions";
\tsetAttr ".photonFilename" -type "string" "p.rsmap";
\tsetAttr ".irradianceCacheFilename" -type "string" "never.rsmap";
select -ne :vraySettings;
\tsetAttr ".giOn" yes;
\tsetAttr ".imap_mode" 2;
\tsetAttr ".imap_fileName2" -type "string" "read.vrmap";
\tsetAttr ".mode" 0;
\tsetAttr ".lc_fileName" -type "string" "made anew.vrlmap";
select -ne :defaultRenderGlobals;
\tsetAttr ".ren" -type "string" "redshift";
\tsetAttr ".an" yes;
\tsetAttr ".fs" 2;
\tsetAttr ".ef" 8.5;
select -ne :defaultResolution;
\tsetAttr ".w" 1920;
\tsetAttr ".h" 1080;
''' % {'folder': self.folder})
        self.file('rig.ma', 'file -r -rfn "deepRN" "deep.ma";\n')
        for name in ('deep.ma', 'by node.ma', 'listed.ma', 'extra.bin', 'p.rsmap', 'sourceimages/skin.1001.exr',
                     'sourceimages/skin.1012.exr', 'sourceimages/fire.0001.exr', 'sourceimages/fire.0002.exr', 'sourceimages/other.exr'):
            self.file(name)
        before = os.stat(scene).st_mtime
        found = self.maya(scene, MachineType='startGpu')
        wanted = ['by node.ma', 'deep.ma', 'extra.bin', 'fire.0001.exr', 'fire.0002.exr', 'listed.ma', 'rig.ma', 'skin.1001.exr',
                  'skin.1012.exr']
        self.assertEqual((found['status'], names(found)), (1, wanted))
        self.assertIn(u'2-8.5:1', found['details'])
        self.assertEqual([one for one in found['details'].splitlines() if u'小数' not in one][1:],
                         ['D:/x/gone.tif', self.folder + '/read.vrmap'])
        layer, = found['content']['modelParameters']['layers']
        self.assertEqual((layer['layer'], layer['width'], layer['height'], layer['frames'], layer['cameras_array'], layer['cameras']),
                         ('beauty', 1920, 1080, '2-8:1', ['persp'], ['persp']))
        self.assertEqual(names(self.maya(scene, cache=1, MachineType='startGpu')), sorted(wanted + ['p.rsmap']))
        self.assertEqual(self.maya(scene, MachineType='startCpu')['status'], 2, 'a GPU renderer on a CPU machine')
        self.assertEqual(os.stat(scene).st_mtime, before)

    def test_maya_renders_every_camera_only_where_none_is_chosen(self):
        shape = 'createNode transform -n "%s";\ncreateNode camera -n "%sShape" -p "%s";\n\tsetAttr ".rnd" no;\n'
        found = self.maya(self.file('a.ma', ''.join(shape % (one, one, one) for one in ('persp', 'top'))))
        layer, = found['content']['modelParameters']['layers']
        self.assertEqual((layer['cameras_array'], layer['cameras_overide'], found['status']), ([], ['persp', 'top'], 1))
        self.assertEqual(self.maya(self.file('b.ma', '//none\n'))['status'], 2)
        quick = [os.path.join(ROOT, 'scripts/maya/p27/VMA.py'), os.path.join(self.folder, 'a.ma'), '-proj', '/elsewhere']
        self.assertEqual(answer_in(run(quick))['content']['mayaProject'].rstrip('/'), '/elsewhere')

    def test_one_odd_file_name_does_not_end_the_analysis(self):
        for kind, scene in (('maya', 'a.ma'), ('c4d', 'shot.c4d')):
            folder = os.path.join(self.folder, kind, u'场景')
            path = self.file(os.path.join(folder, scene), u'//x\ncreateNode transform -n "c";\ncreateNode camera -n "cShape" -p "c";\n'
                             u'createNode file -n "f";\n\tsetAttr ".ftn" -type "string" "smoke_0001.vdb";\n\tsetAttr ".ufe" yes;\n')
            for name in (b'smoke_0001.vdb', b'smoke_0002\xff\xfe.vdb', b'odd\xff.png', u'贴图.png'.encode()):
                with open(os.path.join(folder.encode(), name), 'wb') as out:
                    out.write(b'x')
            for locale in LOCALES:
                with self.subTest(kind, locale=locale):
                    found = self.maya(path) if kind == 'maya' else self.cinema(path, locale)[0]
                    self.assertEqual((found['status'] < 2, names(found)), (True, ['smoke_0001.vdb']), found)
                    self.assertIn(u'场景', found['content']['files'][0])

    def test_maya_ends_with_the_marker_when_the_scene_cannot_be_opened(self):
        for name in ('none.ma', u'没有.ma'):
            found = answer_in(run([os.path.join(ROOT, 'scripts/maya/p27/VMA.py'), os.path.join(self.folder, name)], 'c'))
            self.assertEqual((found['status'], bool(found['details'])), (2, True))

    @unittest.skipUnless(SCENES and os.path.isdir(os.path.join(SCENES, 'maya')), 'no real scenes on this machine')
    def test_maya_on_real_scenes(self):
        with open(os.path.join(SCENES, 'expected.json'), encoding='utf-8') as source:
            expected = json.load(source)['maya']
        for name, facts in expected.items():
            found = self.maya(os.path.join(SCENES, name), locales=('c',), MachineType='startCpu')
            layers = found['content']['modelParameters']['layers']
            named = [one for one in facts['layers'] if one != 'defaultRenderLayer']
            self.assertEqual([one['layer'] for one in layers], named or facts['layers'], name)
            self.assertEqual(set(sum((one['cameras_array'] for one in layers), [])), {'persp'}, 'what alone is renderable')
            told = set(found['details'].splitlines())
            for path in set(facts['tex']) | set(facts['refs']):
                self.assertTrue(any(one.endswith(path) for one in told | set(found['content']['files'])), (name, path, told))

    def test_houdini(self):
        scene = self.file('s.hip')
        for name in ('wall.0001', 'wall.0002', 'one', 'two', 'cap.0001', 'cap.0002'):
            self.file('tex/%s.png' % name)
        script = os.path.join(ROOT, 'scripts/houdini/p27/vhmain.py')
        for locale in LOCALES:
            found = answer_in(run([script], locale, FAKE_HIP=scene))
            rops = dict((one['Rop'], (one['frames'], one['reslution'])) for one in found['content']['Rops'])
            self.assertEqual(rops, {'/out/mantra1': ('1-24:2', [1280, 720]), '/out/small': ('12', [640, 360]),
                                    '/out/broken': ('5-5:1', [0, 0]), '/stage/karma1': ('1-8:1', [1920, 800]),
                                    '/out/usd': ('12', [1024, 429])})
            self.assertEqual(names(found), sorted('%s.png' % name for name in ('wall.0001', 'wall.0002', 'one', 'two', 'cap.0001', 'cap.0002')))
            self.assertEqual((found['status'], 'modelParameters' in found['content']), (1, False))
            missing = [one for one in found['details'].splitlines() if one.startswith('/')]
            self.assertEqual([os.path.basename(one) for one in missing], ['`chs("x")`.png', 'gone.hdr'])
            raised = answer_in(run([script], locale, FAKE_HIP=scene, FAKE_HOU_RAISES='1'))
            self.assertEqual((raised['status'], raised['details']), (2, 'really'))

    def cinema(self, scene, locale='utf8', log=None, **env):
        """The answer in the log (None where there is none), and what was printed."""
        start = ("import sys; source = open(%r, 'rb').read(); sys.argv = ['Cinema 4D.exe', '-nogui'] + sys.argv[1:]; "
                 "scope = {}; exec(compile(source, 'vcmain.pyp', 'exec'), scope); "
                 "import c4d; print(scope['PluginMessage'](c4d.C4DPL_COMMANDLINEARGS, None))"
                 % os.path.join(ROOT, 'scripts/c4d/vandrel/vcmain.pyp'))
        log = self.file('log.txt', 'the command line\n') if log is None else log
        out, _ = run(['-c', start, scene], locale, vandrel_filepath=log, **env)
        if not os.path.isfile(log):
            return None, out
        with open(log, encoding='utf-8') as source:
            return answer_in([source.read()]), out

    def test_cinema_4d(self):
        scene = self.file('shot.c4d')
        for name in ('smoke_0001.vdb', 'smoke_0002.vdb', 'skin.1001.png', 'skin.1002.png'):
            self.file(name)
        for engine, machine, status in (('0', 'startCpu', 1), ('1036219', 'startCpu', 2), ('1036219', 'startGpu', 1), ('77', 'startGpu', 1)):
            found, out = self.cinema(scene, FAKE_ENGINE=engine, MachineType=machine)
            self.assertIn('Vandrel Kill', out)
            self.assertEqual(found['status'], status)
        inner = found['content']['modelParameters']
        self.assertEqual((inner['frames'], sorted(inner['cameras']), inner['activeCamera'], inner['outputSuffix'], inner['renderer']),
                         ('0-20:2', ['Close', 'Wide'], ['Close'], 'exr', 'unknow'))
        self.assertEqual(names(found), ['skin.1001.png', 'skin.1002.png', 'smoke_0001.vdb', 'smoke_0002.vdb'])
        self.assertEqual(found['details'].splitlines()[1:], [os.path.join(self.folder, 'gone.png')])
        self.assertEqual(self.cinema(scene, FAKE_NO_ASSETS='1')[0]['status'], 2, 'assets that could not be asked for')
        self.assertIn('Vandrel Kill', self.cinema(scene, log=self.folder + '/no/such/log.txt')[1])
        self.assertEqual(self.cinema(scene, log='')[1].strip(), 'False', 'an artist starts it: nothing happens')

    def menu(self, host, scene, answer='{"result": 1}', fault='', locale='utf8'):
        """What a host's menu told and did, and what the client was sent; the client stands at a port of its own, beside the scripts."""
        got = []

        class Client(http.server.BaseHTTPRequestHandler):
            def do_POST(self):
                got.append((self.path, json.loads(self.rfile.read(int(self.headers['Content-Length'])).decode('ascii'))))
                self.send_response(200)
                self.end_headers()
                self.wfile.write(answer.encode())

            def log_message(self, *words):
                pass

        with http.server.HTTPServer(('127.0.0.1', 0), Client) as client:
            scripts = os.path.join(self.folder, 'scripts')
            shutil.rmtree(scripts, ignore_errors=True)
            shutil.copytree(os.path.join(ROOT, 'scripts/menu'), scripts + '/menu')
            self.file('scripts/menu/vandrel_port.txt', '%d\n' % client.server_port)
            thread = threading.Thread(target=client.serve_forever)
            thread.start()
            out, err = run([os.path.join(ROOT, 'tests/scripts/menus/hosts.py'), host, scripts, json.dumps(scene), fault], locale, http_proxy='http://127.0.0.1:9')
            client.shutdown()
            thread.join()
        self.assertEqual(err, '')
        return [json.loads(line) for line in out.splitlines()], got

    def test_menus_hand_the_saved_scene_over_with_its_project(self):
        for host, name in (('maya', u'场景 a.ma'), ('houdini', u'场景 a.hip'), ('c4d', u'场景 a.c4d')):
            scene = self.file(u'project/' + name)
            for locale in LOCALES:
                with self.subTest(host, locale=locale):
                    told, got = self.menu(host, scene, locale=locale)
                    (path, body), = got
                    self.assertEqual((path, body['scenes'], body['mayaProject'].rstrip('/')), ('/model/analysis', [scene], self.folder + '/project'))
                    self.assertIn(['save'], told)
                    self.assertTrue(told[-1][1].startswith(u'已交给客户端'), told)
            with self.subTest(host):
                self.assertEqual(self.menu(host, scene, fault='unchanged')[0].count(['save']), 0)
                for fault, path, answer, words in (('', '', '{}', u'请先保存'), ('unwritable', scene, '{}', u'保存失败'),
                                                   ('', scene, '{"result": 0, "msg": "no rights"}', 'no rights'), ('', scene, '<html>', u'没有连接'),
                                                   ('', scene, '[]', u'没有连接')):
                    told, got = self.menu(host, path, answer, fault)
                    self.assertTrue(words in told[-1][1], (told, words))
                    self.assertEqual(bool(got), answer != '{}')
        started = self.menu('maya', self.file('s.ma'))[0]
        self.assertIn(['buttons', 1], started, 'a kept shelf gets no second button')
        self.assertEqual(self.menu('maya', self.file('s.ma'), fault='batch')[0], [['buttons', 0]])

    def test_max_script_says_nothing_that_its_language_keeps_for_itself(self):
        with open(os.path.join(ROOT, 'scripts/max/Vandrel_param.ms'), encoding='utf-8') as source:
            text = source.read()
        code = re.sub(r'"(?:\\.|[^"\\])*"|/\*.*?\*/|--[^\n]*', '""', text, flags=re.DOTALL)
        depth = 0
        for at, letter in enumerate(code):
            depth += {'(': 1, ')': -1}.get(letter, 0)
            self.assertGreaterEqual(depth, 0, code[max(0, at - 80):at])
        self.assertEqual(depth, 0)
        declared = re.findall(r'\b(?:local|global|struct)\s+(\w+)', code) + re.findall(r'\bfor\s+(\w+)\s+(?:in|=)', code)
        for line in re.findall(r'\b(?:fn|function)\s+([\w ]+?)\s*=', code):
            declared += line.split()
        declared += re.findall(r'(?m)^\s*(\w+)\s*=[^=]', code) + re.findall(r'[(,]\s*(\w+)\s*=[^=]', code)
        self.assertGreater(len(declared), 60)
        self.assertEqual([one for one in declared if one.lower() in RESERVED], [])
        # Where such a word stands all the same it has to be one that this script uses as the language means it.
        used = set(one.lower() for one in re.findall(r'(?<![#.\w])[A-Za-z_]\w*(?!\w*:)', code)) & RESERVED
        meant = set('and as case catch collect do else false fn for global if in local not of or struct then true try undefined where '
                    'while to return'.split())
        self.assertEqual(used - meant, set())
        self.assertEqual([one for one in re.findall(r'\bcollect\b.*', code) if not re.match(r'collect one\)', one)], [])
        for word in ('messageBox', 'saveMaxFile', 'queryBox', 'append errors 6'):
            self.assertNotIn(word, text)


if __name__ == '__main__':
    unittest.main(argv=sys.argv[:1])
