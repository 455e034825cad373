"""Scenes of every kind go the whole road, analysed by stand-ins of their software that take the real command lines; then
everything that an analysis can meet: no software, another version, children that hang, fork, print without end or crash,
and scenes that are hard to name."""
import os
import sys

from stories import ROOT, Failure, compare, finished, run, wait_for

sys.path.insert(0, os.path.join(ROOT, 'tests', 'standins'))
import standin  # noqa: E402

MAX_STAMP, MAX_OFFSET = 0x23, 0x5000
REAL = os.environ.get('VN_SCENES', '')


def put(path, content=b'x' * 5000):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, 'wb') as out:
        out.write(content if isinstance(content, bytes) else content.encode('utf-8'))
    return path


def maya(folder, name, texture='tex/wall.png'):
    put(os.path.join(folder, texture))
    return put(os.path.join(folder, name), '''//Maya ASCII 2018 scene
createNode transform -n "shot";
createNode camera -n "shotShape" -p "shot";
createNode renderLayer -n "defaultRenderLayer";
\tsetAttr ".rndr" no;
createNode renderLayer -n "beauty";
createNode file -n "wall";
\tsetAttr ".ftn" -type "string" "%s";
select -ne :defaultRenderGlobals;
\tsetAttr ".ren" -type "string" "arnold";
\tsetAttr ".an" yes;
\tsetAttr ".fs" 1;
\tsetAttr ".ef" 2;
select -ne :defaultResolution;
\tsetAttr ".w" 160;
\tsetAttr ".h" 90;
''' % texture)


def max_scene(path, stamp=MAX_STAMP):
    content = bytearray(b'\x11' * (MAX_OFFSET + 60000))
    content[0x3000], content[MAX_OFFSET] = 0xFE, stamp
    return put(path, bytes(content))


def clarisse(path):
    put(os.path.join(os.path.dirname(path), 'maps', 'tile.1001.exr'))
    put(os.path.join(os.path.dirname(path), 'maps', 'tile.1002.exr'))
    return put(path, '#Isotropix_Serial_Version 1.1\nscene {\n    Image {\n        name "image"\n        embedded_objects {\n'
                     '            Layer3d {\n                name "background"\n                user_data {\n                }\n'
                     '                enable_deep_output yes\n                save_deep_data_as "/deep/out"\n            }\n        }\n    }\n}\n')


def parameter(rig, software_type, software=None, **more):
    chosen = rig.choices(software_type)
    if software:
        chosen['env'] = dict(chosen['env'], software=software, name=software, plugins=[])
    return dict(chosen, **more)


def row(rig, scene):
    """State, error and text of a scene's row."""
    found = rig.rows('resolve.db', 'select state, error, errstr from resolve where lpath = ?', (scene,))
    return tuple(found[-1]) if found else None


def expect(what, got, wanted):
    if got != wanted:
        raise Failure('%s: %r, not %r' % (what, got, wanted))


def whole_road(make, folder):
    rig = make('one', farm_options=['--frames-per-second', '0', '--auto-submit', '--max-width', '160'],
               config_sections={'SoftwarePath': standin.install(os.path.join(folder, 'vendors')), 'Resolve': {'thread': 4}})
    rig.start_farm()
    rig.start_client()
    rig.wait_login()
    base = os.path.join(folder, u'场景 with blanks')
    project = os.path.join(base, 'maya')
    scenes = {
        'maya': (1, 'maya2018', maya(project, u'镜头 one.ma'), {'mayaProject': project}),
        'old maya': (1, 'maya2012', maya(os.path.join(base, 'old'), "it's 50% $HOME.ma"), {}),
        'max': (3, '3ds max 2018', max_scene(os.path.join(base, 'max', 'room.max')), {}),
        'houdini': (4, 'houdini-17.5.460', put(os.path.join(base, 'hou', "a & b's.hip")), {}),
        'c4d': (5, 'Cinema 4D R19', put(os.path.join(base, 'c4d', u'shot.c4d')), {}),
        'clarisse': (7, 'Clarisse 3.6', clarisse(os.path.join(base, 'clarisse', 'scene.project')), {})}
    put(os.path.join(base, 'max', 'maps', 'floor.png'))
    put(os.path.join(base, 'hou', 'tex', 'one.png'))
    put(os.path.join(base, 'c4d', 'smoke_0001.vdb'))
    for number, name in enumerate([] if not REAL else ['UsdExportRenderLayerModeTest.ma', 'skin_test.ma']):
        scenes['real %d' % number] = (1, 'maya2018', os.path.join(REAL, 'maya', name), {})
    for software_type, software, scene, more in scenes.values():
        rig.analyse([scene], parameter(rig, software_type, software, **more))
    told = {}
    state = wait_for('every kind of scene', 240, lambda: rig.alive() and told.update(
        (name, row(rig, one[2])) for name, one in scenes.items()) is None and finished(rig, len(scenes))
        or any(one and one[0] in (104, 105, 109) for one in told.values()) and told)
    if 'tasks' not in state:
        raise Failure('stopped on the road: %s' % told)
    compare(rig, state)
    orders = dict((body['scene'], (body, [one['path'] for one in files])) for body, files in rig.orders().values())
    for name, (software_type, _, scene, _) in scenes.items():
        body, files = orders[scene]
        expect(name + ' type', body['softwareType'], software_type)
        expect(name + ' scene among its files', files.count(scene), 1)
        expect(name + ' count', body['fileCount'], len(files))
        expect(name + ' keys that stay at home', [key for key in ('env', 'machine', 'project', 'resStatus', 'hasHand') if key in body], [])
        expect(name + ' beside', sorted(os.path.basename(one) for one in files if one != scene), {
            'maya': ['wall.png'], 'old maya': ['wall.png'], 'max': ['floor.png'], 'houdini': ['one.png'], 'c4d': ['smoke_0001.vdb'],
            'clarisse': ['tile.1001.exr', 'tile.1002.exr']}.get(name, []))
    inner = dict((name, orders[one[2]][0]['modelParameters']) for name, one in scenes.items())
    expect('maya layers', [(one['layer'], one['frames'], one['cameras'], one['width']) for one in inner['maya']],
           [('beauty', '1-2:1', ['shot'], 160)])
    expect('maya blocks', orders[scenes['maya'][2]][0]['blocksCount'], 1)
    expect('maya variables', 'parseSubmit' in orders[scenes['maya'][2]][0], False)
    expect('max', [inner['max'][key] for key in ('frames', 'cameras', 'disableCameras', 'width', 'giWidth', 'vrMode', 'reflectionRefraction')],
           ['1-3:1', ['Camera001'], ['Camera001', 'Camera002'], 320, 320, 0, 1])
    expect('houdini', [(one['Rop'], one['selected'], one['width']) for one in inner['houdini']][:1], [('/out/mantra1', 1, 1280)])
    expect('c4d', [inner['c4d'][key] for key in ('cameras', 'outputFile', 'frames')], [['Close'], 'shot.exr', '0-20:2'])
    image, = inner['clarisse']['images']
    expect('clarisse', (image['selected'], image['layers'][0]['selected'], image['layers'][0]['deep_output_file']), (1, 1, '/deep/out'))
    if REAL:
        expect('named layers of a real scene', [one['layer'] for one in inner['real 0']], ['RenderLayerOne', 'RenderLayerTwo', 'RenderLayerThree'])
    zipped = os.path.getsize(scenes['max'][2])
    if state['counters']['bytesUp'] > sum(os.path.getsize(one) for _, files in orders.values() for one in files) - zipped // 2:
        raise Failure('the .max was not sent compressed')
    print('%d scenes of 5 programs: %d frames back' % (len(scenes), len(rig.result_files())))
    if not rig.stop():
        raise Failure('the client did not end when asked to')


def lines(pids):
    with open(pids) as source:
        return [int(line) for line in source]


def left(pids):
    """Those of the processes that still run."""
    running = []
    for pid in lines(pids):
        try:
            with open('/proc/%d/stat' % pid) as stat:
                if stat.read().rsplit(')', 1)[1].split()[0] not in 'ZX':
                    running.append(pid)
        except OSError:
            pass
    return running


def troubles(make, folder):
    pids = os.path.join(folder, 'pids')
    os.environ['STANDIN_PIDS'] = pids
    rig = make('two', farm_options=['--frames-per-second', '0', '--auto-submit', '--max-width', '160'],
               config_sections={'SoftwarePath': standin.install(os.path.join(folder, 'vendors2')), 'Resolve': {'thread': 5, 'fastMaya': 1}})
    rig.account(parseTime=12, killParseTime=1)
    rig.start_farm()
    rig.start_client()
    rig.wait_login()
    base = os.path.join(folder, 'trouble')
    deep = os.path.join(base, *['a folder with a long name %02d' % number for number in range(9)])
    for one in ('ring_a.ma', 'ring_b.ma', 'step.ma', 'link.ma'):
        os.makedirs(base, exist_ok=True)
        os.symlink(os.path.join(base, {'ring_a.ma': 'ring_b.ma', 'ring_b.ma': 'ring_a.ma', 'step.ma': 'true.ma', 'link.ma': 'step.ma'}[one]),
                   os.path.join(base, one))
    maya(base, 'true.ma')
    cases = [  # name, type, software, scene, (state, error) or None for one that goes the road
        ('not installed', 1, 'maya2011', maya(base, 'no program.ma'), (104, 10011)),
        ('malformed', 3, '3dsmax 2018', max_scene(os.path.join(base, 'two words.max')), (104, 10010)),
        ('saved by a later version', 3, '3ds max 2018', max_scene(os.path.join(base, 'later.max'), 0x28), (104, 10033)),
        ('short file', 3, '3ds max 2018', put(os.path.join(base, 'short.max'), b'\x11' * 0x4000), (104, 10031)),
        ('script raises', 3, '3ds max 2018', max_scene(os.path.join(base, 'raises.max')), (104, 0)),
        ('ring of links', 1, 'maya2018', os.path.join(base, 'ring_a.ma'), (104, 10013)),
        ('no answer', 1, 'maya2018', maya(base, 'silent.ma'), (106, 0)),
        ('no script result', 7, 'Clarisse 3.6', put(os.path.join(base, 'silent.project')), (104, 10012)),
        ('hangs', 4, 'houdini-17.5.460', put(os.path.join(base, 'hangs.hip')), (102, 10015)),
        ('forks and ignores', 4, 'houdini-17.5.460', put(os.path.join(base, 'forks.hip')), (102, 10015)),
        ('prints without end', 7, 'Clarisse 3.6', put(os.path.join(base, 'endless.project')), (102, 10015)),
        ('crashes behind its answer', 7, 'Clarisse 3.6', clarisse(os.path.join(base, 'crashes.project')), None),
        ('quick road', 1, 'maya2018', os.path.join(base, 'link.ma'), None),
        ('long name', 1, 'maya2018', maya(os.path.join(base, 'n'), u'一个很长的名字' * 11 + '.ma'), None),
        ('long path', 1, 'maya2018', maya(deep[:200], u'场景'.ljust(258 - len(deep[:200]) - 4, 'x') + '.ma', 'w.png'), None),
        ('path too long for the farm', 1, 'maya2018', maya(deep, 'scene.ma'), (113, 0))]
    for _, software_type, software, scene, _ in cases:
        rig.analyse([scene], parameter(rig, software_type, software, **({'mayaProject': base} if scene.endswith('link.ma') else {})))
    waiting = [one for one in cases if one[4]]
    told = {}

    def settled():
        told.update((one[0], row(rig, one[3])) for one in cases)
        return rig.alive() and all((told[one[0]] or ())[:2] == one[4] if one[4] else told[one[0]] is None for one in cases)
    try:
        wait_for('the failures', 150, settled, 0.2)
    except Failure:
        raise Failure('not as expected: %s' % [(one[0], told[one[0]], one[4]) for one in cases
                                               if (told[one[0]] or ())[:2] != one[4]])
    if 'Unknown property' not in told['script raises'][2]:
        raise Failure('the exception of the script is not told: %r' % (told['script raises'],))
    numbers = wait_for('the end of the children in %s' % pids, 60, lambda: left(pids) == [] and lines(pids))
    bodies = dict((body.get('scene'), body) for body, _ in rig.orders().values())
    expect('quick road', bodies[os.path.join(base, 'link.ma')]['parseSubmit'], 1)
    expect('never ordered', [one[0] for one in waiting if one[4][0] < 107 and one[3] in bodies], [])
    print('%d troubles, %d processes, none left' % (len(cases), len(numbers)))
    if not rig.stop():
        raise Failure('the client did not end when asked to')


def story(make, folder):
    whole_road(make, folder)
    troubles(make, folder)


run(story)
