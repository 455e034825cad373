#!/usr/bin/env python3
# -*- coding: utf-8 -*-
"""Programs of 3D software that isn't on this machine: each takes its vendor's command line, refuses any other, and runs
the analysis script that it was told to run against a small fake of its module, or prints what it would print.

As a module: install(folder) lays the programs out as their vendors do and returns the lines of a SoftwarePath group.
A scene's name asks for trouble: "hangs", "forks", "endless", "crashes", "silent". Whoever starts is written, one process
to a line, into the file that the variable STANDIN_PIDS names.
"""
import os
import re
import runpy
import signal
import subprocess
import sys
import time

HERE = os.path.dirname(os.path.abspath(__file__))
FAKES = os.path.join(os.path.dirname(HERE), 'scripts', 'fakes')
PROGRAMS = {'maya2018': ('bin/mayabatch', 'bin/mayapy'), 'maya2012': ('bin/mayabatch', 'bin/mayapy'), '3dsmax2018': ('3dsmax',),
            'houdini17.5.460': ('bin/hython',), 'cinema4dr19': ('Commandline',), 'clarisse3.6': ('cnode',)}


def install(folder):
    paths = {}
    for name, programs in PROGRAMS.items():
        for program in programs:
            path = os.path.join(folder, name, program)
            os.makedirs(os.path.dirname(path), exist_ok=True)
            with open(path, 'w') as out:
                out.write('#!/bin/sh\nexec "%s" "%s" "%s" "$0" "$@"\n' % (sys.executable, os.path.abspath(__file__), program.split('/')[-1]))
            os.chmod(path, 0o755)
        paths[name] = os.path.join(folder, name) if len(programs) > 1 else os.path.join(folder, name, programs[0])
    return paths


def need(good, what):
    if not good:
        sys.stderr.write('%s: bad command line, %s: %r\n' % (sys.argv[1], what, sys.argv[3:]))
        sys.exit(64)


def remember():
    if os.environ.get('STANDIN_PIDS'):
        with open(os.environ['STANDIN_PIDS'], 'a') as out:
            out.write('%d\n' % os.getpid())


def children(away):
    """A child that goes on in its own right: in this group, or (away) in a session of its own and its parent gone."""
    child = os.fork()
    if child and away:
        os.waitpid(child, 0)
    if child == 0:
        if away:
            os.setsid()
            if os.fork() != 0:
                os._exit(0)
        remember()
        signal.signal(signal.SIGTERM, signal.SIG_IGN)
        time.sleep(600)
        os._exit(0)


def trouble(scene):
    name = os.path.basename(scene)
    if 'forks' in name or 'hangs' in name:
        signal.signal(signal.SIGTERM, signal.SIG_IGN)
        if 'forks' in name:
            children(False)
            children(True)
        print('working', flush=True)
        time.sleep(600)
    if 'endless' in name:
        while True:
            sys.stdout.write('a line that says nothing\n' * 200)
    if 'silent' in name:
        sys.exit(0)


def finish(scene):
    sys.stdout.flush()
    if 'crashes' in os.path.basename(scene):
        os.kill(os.getpid(), signal.SIGSEGV)


def scripts(path, tail):
    need(path.replace('\\', '/').endswith(tail) and os.path.isfile(path), 'no such script')
    return path


def mayabatch(words):
    values = {}
    need(len(words) % 2 == 0 and len(words) >= 4, 'words in pairs')
    for key, value in zip(words[::2], words[1::2]):
        need(key in ('-proj', '-file', '-command') and key not in values, 'unknown word ' + key)
        values[key] = value
    need(list(values) in (['-file', '-command'], ['-proj', '-file', '-command']), 'order of the words')
    need('-proj' not in values or os.path.isdir(values['-proj']), 'the project is no folder')
    scene = values['-file']
    need(os.path.isfile(scene), 'no such scene')
    form = (r'python\("import sys,os"\);python\("sys\.path\.append\(\\"(.+)\\"\)"\);python\("import vanalyzer"\);'
            r'python\("vanalyzer\.runMain\((0),(\d)\)"\)')
    found = re.fullmatch(form, values['-command'])
    need(found and os.path.isfile(os.path.join(found.group(1), 'vanalyzer.py')), 'not the expected command')
    old = '2012' in sys.argv[2]
    need(found.group(1).endswith('/scripts/maya/p26' if old else '/scripts/maya/p27'), 'the other version\'s script')
    print('Result: untitled\nWarning: file: %s line 12: plug-in "xgenToolkit" was not found on MAYA_PLUG_IN_PATH.' % scene)
    trouble(scene)
    sys.path.insert(0, FAKES)
    import maya.cmds as cmds
    cmds.load(scene)
    scope = {}
    for piece in re.findall(r'python\("((?:[^"\\]|\\.)*)"\)', values['-command']):
        exec(piece.replace('\\"', '"'), scope)
    finish(scene)


def mayapy(words):
    need(len(words) in (2, 4) and os.path.isfile(words[1]), 'script and scene')
    need(len(words) == 2 or words[2] == '-proj' and os.path.isdir(words[3]), 'the project is no folder')
    script = scripts(words[0], '/VMA.py')
    need(os.environ.get('VandrelMayaCache') in ('0', '1'), 'no cache setting')
    trouble(words[1])
    sys.path.insert(0, FAKES)
    sys.argv = list(words)  # the interpreter runs the first word, whatever it is
    with open(words[0], 'rb') as source:
        exec(compile(source.read(), script, 'exec'), {'__name__': '__main__', '__file__': script})


def hython(words):
    need(len(words) == 2 and os.path.isfile(words[0]), 'scene and script')
    script = scripts(words[1], '/scripts/houdini/p27/vhmain.py')
    trouble(words[0])
    os.environ['FAKE_HIP'] = words[0]
    sys.path.insert(0, FAKES)
    sys.argv = [script]
    runpy.run_path(script, run_name='__main__')
    finish(words[0])


def Commandline(words):
    need(len(words) == 2 and words[0] == '-nogui' and os.path.isfile(words[1]), '-nogui and the scene')
    plugin = os.path.join(os.path.dirname(sys.argv[2]), 'plugins', 'vandrel', 'vcmain.pyp')
    need(os.path.isfile(plugin), 'the plug-in is not there')
    need(os.path.isfile(os.path.join(os.getcwd(), 'VandrelQN')), 'not in the client\'s folder')
    with open(os.environ['vandrel_filepath']) as log:
        need(log.read().strip().endswith(words[1]), 'the log does not begin with the command')
    need(os.environ['vandrel_fileload'] == words[1], 'another scene in the environment')
    trouble(words[1])
    sys.path.insert(0, FAKES)
    import c4d
    sys.argv = ['Cinema 4D.exe'] + words
    scope = runpy.run_path(plugin)
    scope['PluginMessage'](c4d.C4DPL_COMMANDLINEARGS, None)
    finish(words[1])
    time.sleep(600)  # it stays open


def max_log(scene):
    """What the script of 3ds Max writes about a scene with two cameras; dependencies are what lies in "maps" beside it."""
    folder = os.path.dirname(scene)
    maps = os.path.join(folder, 'maps')
    files = [os.path.join(maps, one) for one in sorted(os.listdir(maps))] if os.path.isdir(maps) else []
    blocks = [('sceneName', [scene]), ('sceneCam', ['Camera001', 'Camera002']), ('renderCam', ['Camera001']), ('width', ['320']),
              ('height', ['240']), ('frames', ['1-3:1']), ('outputFile', ['D:\\out\\shot.png']), ('renderType', ['V_Ray_Adv_3_60_03']),
              ('IrradianceMap', ['0', '1']), ('photoMapFile', []), ('externFile', files)]
    if 'raises' in os.path.basename(scene):
        blocks = blocks[:1] + [('exception', ['-- Unknown property: "frame" in undefined'])]
    return '\r\nVandrel Info:\r\n\r\n' + ''.join('Vandrel_%s:\r\n%s\r\n' % (key, ''.join(one + '\r\n' for one in values))
                                               for key, values in blocks)


def threedsmax(words):
    need(len(words) == 6 and words[:5] == ['-q', '-silent', '-mip', '-u', 'MAXScript'] and words[5].endswith('.ms'), 'the words')
    with open(words[5], encoding='utf-8') as source:
        found = re.fullmatch(r'filein "([^"\\]+)"\s*', source.read())
    need(found, 'the script does not hand over')
    scripts(found.group(1), '/scripts/max/Vandrel_param.ms')
    log, scene = os.environ['vandrel_filepath'], os.environ['vandrel_fileload']
    need(os.environ['vandrel_old_2010_2012'] == log and words[5] == log + '.ms', 'the variables')
    need(os.path.isfile(scene) and os.path.getsize(log) == 0, 'scene or log')
    trouble(scene)
    with open(log, 'ab') as out:
        out.write(max_log(scene).encode('utf-8'))
    finish(scene)


def cnode(words):
    need(len(words) == 2 and words[1] == '-info' and os.path.isfile(words[0]), 'scene and -info')
    scene, folder = words[0], os.path.dirname(words[0])
    trouble(scene)
    maps = ['%s/maps/tile.&lt;UDIM&gt;.exr' % folder, '%s/maps/gone.exr' % folder]
    print('Isotropix Clarisse 3.6 node\n[info] loading...\n<project>\n<filename>%s</filename>\n<dependencies>%s</dependencies>\n'
          '<image><name>project://scene/image</name><output>/render/img.####</output><format>png</format><start_frame>1</start_frame>'
          '<end_frame>2</end_frame><frame_step>1</frame_step><LUT>linear</LUT><layer><name>project://scene/image.background</name>'
          '<output>layer</output><format>png</format><start_frame>1</start_frame><end_frame>2</end_frame><frame_step>1</frame_step>'
          '<LUT>linear</LUT></layer></image>\n</project>\n[info] done' % (scene, ''.join('<file>%s</file>' % one for one in maps)))
    finish(scene)


def main():
    program, words = sys.argv[1], sys.argv[3:]
    remember()
    need('__COMPAT_LAYER' not in os.environ and os.environ.get('MachineType') in ('startCpu', 'startGpu'), 'the environment')
    globals()['threedsmax' if program == '3dsmax' else program](words)


if __name__ == '__main__':
    main()
