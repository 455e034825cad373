# -*- coding: utf-8 -*-
"""The analysis scripts, run in processes of their own as their hosts run them, against small fakes of the hosts'
modules; with every Python that this machine has and a host could have."""
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

ROOT = os.path.abspath(sys.argv.pop(1))
FAKES = os.path.join(ROOT, 'tests/scripts/fakes')
SCENES = os.environ.get('VN_SCENES', '')


def pythons():
    found = [sys.executable]
    for name in ('python2.7', 'python2.6'):
        path = shutil.which(name)
        if path and subprocess.call([path, '-c', 'pass'], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL) == 0:
            found.append(path)
    return found


def run(python, words, **env):
    full = dict(os.environ, PYTHONPATH=FAKES, PYTHONDONTWRITEBYTECODE='1', **env)
    done = subprocess.run([python] + words, stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=60, env=full)
    return done.stdout.decode('utf-8', 'replace'), done.stderr.decode('utf-8', 'replace')


def answer_in(text):
    """The answer as the client reads it: from a line that starts with the marker to the closing word."""
    line = [one for one in text.splitlines() if one.startswith('Vandrel Info:')]
    assert len(line) == 1, text
    assert 'Vandrel Debug:' in text
    return json.loads(line[0][len('Vandrel Info:'):])


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

    def maya(self, python, scene, **env):
        batch = ('import sys; sys.path.append(%r); import maya.cmds as c; c.load(sys.argv[1]); import vanalyzer; vanalyzer.runMain(0,0)'
                 % os.path.join(ROOT, 'scripts/maya/p27'))
        slow = answer_in(run(python, ['-c', batch, scene], **env)[0])
        quick = answer_in(run(python, [os.path.join(ROOT, 'scripts/maya/p27/VMA.py'), scene], **env)[0])
        self.assertEqual(slow, quick, 'both roads find the same')
        return slow

    def test_maya_finds_layers_cameras_textures_and_tells_what_is_missing(self):
        scene = self.file(u'场景 a.ma', u'''//Maya ASCII 2018 scene
file -r -ns "rig" -dr 1 -rfn "rigRN" -typ "mayaAscii"
 "rig.ma";
createNode transform -n "persp";
createNode camera -n "perspShape" -p "persp";
createNode transform -n "shot";
createNode camera -n "shotShape" -p "shot";
\tsetAttr ".rnd" no;
createNode renderLayer -n "defaultRenderLayer";
\tsetAttr ".rndr" no;
createNode renderLayer -n "beauty";
createNode renderLayer -n "rig:defaultRenderLayer";
createNode file -n "tiles";
\tsetAttr ".ftn" -type "string" "sourceimages/skin.<UDIM>.exr";
createNode file -n "frames";
\tsetAttr ".ftn" -type "string" "sourceimages/fire.0001.exr";
\tsetAttr ".ufe" yes;
createNode file -n "gone";
\tsetAttr ".ftn" -type "string" "D:\\\\x\\\\gone.tif";
select -ne :defaultRenderGlobals;
\tsetAttr ".ren" -type "string" "redshift";
\tsetAttr ".an" yes;
\tsetAttr ".fs" 2;
\tsetAttr ".ef" 8.5;
select -ne :defaultResolution;
\tsetAttr ".w" 1920;
\tsetAttr ".h" 1080;
''')
        for name in ('rig.ma', 'sourceimages/skin.1001.exr', 'sourceimages/skin.1012.exr', 'sourceimages/fire.0001.exr',
                     'sourceimages/fire.0002.exr', 'sourceimages/other.exr'):
            self.file(name)
        before = os.stat(scene).st_mtime
        for python in pythons():
            found = self.maya(python, scene, MachineType='startGpu')
            content = found['content']
            self.assertEqual(found['status'], 1)
            self.assertEqual(sorted(os.path.basename(one) for one in content['files']),
                             ['fire.0001.exr', 'fire.0002.exr', 'rig.ma', 'skin.1001.exr', 'skin.1012.exr'])
            self.assertIn('gone.tif', found['details'])
            layer, = content['modelParameters']['layers']
            self.assertEqual((layer['layer'], layer['width'], layer['height'], layer['frames'], layer['cameras']),
                             ('beauty', 1920, 1080, '2-8.5:1', ['persp']))
            self.assertEqual(os.stat(scene).st_mtime, before)
            self.assertEqual(self.maya(python, scene, MachineType='startCpu')['status'], 2, 'a GPU renderer on a CPU machine')

    def test_maya_ends_with_the_marker_when_the_scene_cannot_be_opened(self):
        for python in pythons():
            text, _ = run(python, [os.path.join(ROOT, 'scripts/maya/p27/VMA.py'), os.path.join(self.folder, 'none.ma')])
            found = answer_in(text)
            self.assertEqual((found['status'], 'none.ma' in found['details']), (2, True))

    @unittest.skipUnless(SCENES and os.path.isdir(os.path.join(SCENES, 'maya')), 'no real scenes on this machine')
    def test_maya_on_real_scenes(self):
        with open(os.path.join(SCENES, 'expected.json'), encoding='utf-8') as source:
            expected = json.load(source)['maya']
        for name, facts in expected.items():
            found = self.maya(sys.executable, os.path.join(SCENES, name), MachineType='startCpu')
            layers = [one['layer'] for one in found['content']['modelParameters']['layers']]
            named = [one for one in facts['layers'] if one != 'defaultRenderLayer']
            self.assertEqual(layers, named or facts['layers'], name)
            wanted = set(facts['tex']) | set(facts['refs'])
            told = set(found['details'].splitlines())
            for path in wanted:
                self.assertTrue(any(one.endswith(path) for one in told | set(found['content']['files'])), (name, path, told))

    def test_houdini(self):
        scene = self.file('s.hip')
        for name in ('tex/wall.0001.png', 'tex/wall.0002.png', 'tex/one.png'):
            self.file(name)
        script = os.path.join(ROOT, 'scripts/houdini/p27/vhmain.py')
        for python in pythons():
            found = answer_in(run(python, [script], FAKE_HIP=scene)[0])
            rops = dict((one['Rop'], one) for one in found['content']['Rops'])
            self.assertEqual(sorted(rops), ['/out/broken', '/out/mantra1', '/out/small'])
            self.assertEqual((rops['/out/mantra1']['frames'], rops['/out/mantra1']['reslution']), ('1-24:2', [1280, 720]))
            self.assertEqual((rops['/out/small']['frames'], rops['/out/small']['reslution']), ('12', [640, 360]))
            self.assertEqual(sorted(os.path.basename(one) for one in found['content']['files']), ['one.png', 'wall.0001.png', 'wall.0002.png'])
            self.assertEqual((found['status'], 'gone.hdr' in found['details'], 'modelParameters' in found['content']), (1, True, False))
            raised = answer_in(run(python, [script], FAKE_HIP=scene, FAKE_HOU_RAISES='1')[0])
            self.assertEqual((raised['status'], raised['details']), (2, 'really'))

    def test_cinema_4d(self):
        scene = self.file('shot.c4d')
        self.file('smoke_0001.vdb')
        self.file('smoke_0002.vdb')
        log = os.path.join(self.folder, 'log.txt')
        start = ("import sys; source = open(%r, 'rb').read(); sys.argv = ['Cinema 4D.exe', '-nogui'] + sys.argv[1:]; "
                 "scope = {}; exec(compile(source, 'vcmain.pyp', 'exec'), scope); "
                 "import c4d; print(scope['PluginMessage'](c4d.C4DPL_COMMANDLINEARGS, None))"
                 % os.path.join(ROOT, 'scripts/c4d/vandrel/vcmain.pyp'))
        for python in pythons():
            for engine, machine, status in (('0', 'startCpu', 1), ('1036219', 'startCpu', 2), ('1036219', 'startGpu', 1), ('77', 'startGpu', 1)):
                self.file('log.txt', 'the command line\n')
                out, _ = run(python, ['-c', start, scene], vandrel_filepath=log, FAKE_ENGINE=engine, MachineType=machine)
                self.assertIn('Vandrel Kill', out)
                with open(log, encoding='utf-8') as source:
                    found = answer_in(source.read())
                self.assertEqual(found['status'], status)
            inner = found['content']['modelParameters']
            self.assertEqual((inner['frames'], sorted(inner['cameras']), inner['activeCamera'], inner['outputSuffix'], inner['renderer']),
                             ('0-20:2', ['Close', 'Wide'], ['Close'], 'exr', 'unknow'))
            self.assertEqual([os.path.basename(one) for one in found['content']['files']], ['smoke_0001.vdb', 'smoke_0002.vdb'])
            self.assertEqual(run(python, ['-c', start, scene])[0].strip(), 'False', 'an artist starts it: nothing happens')

    def test_max_script_is_balanced_and_writes_the_known_keys(self):
        with open(os.path.join(ROOT, 'scripts/max/Vandrel_param.ms'), encoding='utf-8') as source:
            text = source.read()
        code = re.sub(r'"(?:\\.|[^"\\])*"|/\*.*?\*/|--[^\n]*', '', text, flags=re.DOTALL)
        depth = 0
        for at, letter in enumerate(code):
            depth += {'(': 1, ')': -1}.get(letter, 0)
            self.assertGreaterEqual(depth, 0, code[max(0, at - 80):at])
        self.assertEqual((depth, code.count('"')), (0, 0))
        for word in ('messageBox', 'saveMaxFile', 'queryBox'):
            self.assertNotIn(word, text)


if __name__ == '__main__':
    unittest.main()
