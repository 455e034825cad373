# -*- coding: utf-8 -*-
"""Analysis of a Cinema 4D scene. The client copies this one file below the plug-ins and starts Cinema 4D with
-nogui and the scene; the answer goes into the log that the variable vandrel_filepath names, and the words
"Vandrel Kill" on the output tell the client that the work is done, since the program stays open after it.

Started without that variable, by an artist, the plug-in does nothing at all. Python 2.6 up to 3.
"""
import json
import os
import re
import sys
import traceback

import c4d

GPU_ON_CPU = u'当前渲染器为GPU渲染器，提交机型为CPU，请更换机型后重新提交。'
CPU_ON_GPU = u'当前渲染器为CPU渲染器，机型选择GPU，请确认机型后提交。'
# Ids of the renderers' video posts, as their makers give them out; True needs a GPU, None runs on both.
RENDERERS = {0: ('standard', False), 1023342: ('physical', False), 1036219: ('redshift', True), 1029988: ('c4dtoa', None),
             1029525: ('octane', True), 1053272: ('vray', None), 1019782: ('vray', None), 1030480: ('Corona', False),
             1037639: ('prorender', True), 1016630: ('cinemanager', False)}
SUFFIXES = {1100: 'tif', 1101: 'tga', 1102: 'bmp', 1103: 'iff', 1104: 'jpg', 1105: 'pct', 1106: 'psd', 1107: 'rla', 1108: 'rpf',
            1109: 'b3d', 1110: 'tif', 1111: 'psb', 1001379: 'hdr', 1016606: 'exr', 1023671: 'png', 1023737: 'dpx'}

try:
    text_type = unicode
except NameError:
    text_type = str


WINDOWS = os.name == 'nt'
OLD_PYTHON = sys.version_info[0] < 3
NO_ASSETS = u'错误：无法读取场景引用的文件，请在Cinema 4D中检查后重新解析。'
# Places in a file name that stand for many files.
PATTERN = re.compile(r'<udim>|<uvtile>|<frame0?\d*>|%\(udim\)d|%0?\d*d|#{2,}|\$f\d*', re.IGNORECASE)


def to_text(value):
    if not isinstance(value, (bytes, text_type)):
        return text_type(value)
    if isinstance(value, text_type):
        if OLD_PYTHON or not re.search(u'[\udc80-\udcff]', value):
            return value
        value = value.encode('utf-8', 'surrogateescape')
    for encoding in ('utf-8', sys.getfilesystemencoding() or 'utf-8'):
        try:
            return value.decode(encoding)
        except (UnicodeError, LookupError):
            continue
    return value.decode('utf-8', 'replace')


def on_disk(path):
    """A path as the file functions take it, whatever the locale says: bytes, but on Windows."""
    return path if WINDOWS else path.encode('utf-8')


def for_host(path):
    """Text as this Cinema 4D takes it: the old ones take bytes."""
    return path.encode('utf-8') if OLD_PYTHON else path


def is_file(path):
    return os.path.isfile(on_disk(path))


def objects(first):
    """Every object of the tree, without recursion: scenes nest deeper than Python's stack."""
    waiting = [first] if first else []
    while waiting:
        op = waiting.pop()
        while op:
            yield op
            down = op.GetDown()
            following = op.GetNext()
            if following and down:
                waiting.append(following)
            op = down or following


def frame_text(doc, data):
    fps = doc.GetFps()
    mode = data[c4d.RDATA_FRAMESEQUENCE]
    step = int(data[c4d.RDATA_FRAMESTEP] or 1)
    if mode == c4d.RDATA_FRAMESEQUENCE_CURRENTFRAME:
        return '%d' % doc.GetTime().GetFrame(fps)
    if mode == c4d.RDATA_FRAMESEQUENCE_ALLFRAMES:
        first, last = doc.GetMinTime(), doc.GetMaxTime()
    elif mode == c4d.RDATA_FRAMESEQUENCE_PREVIEWRANGE:
        first, last = doc.GetLoopMinTime(), doc.GetLoopMaxTime()
    else:
        first, last = data[c4d.RDATA_FRAMEFROM], data[c4d.RDATA_FRAMETO]
    return '%d-%d:%d' % (first.GetFrame(fps), last.GetFrame(fps), step)


def cameras(doc):
    kinds = [getattr(c4d, name) for name in ('Ocamera', 'Ormancamera', 'Orscamera') if hasattr(c4d, name)]
    names = [to_text(op.GetName()) for op in objects(doc.GetFirstObject()) if op.GetType() in kinds]
    active = doc.GetActiveBaseDraw().GetSceneCamera(doc) if doc.GetActiveBaseDraw() else None
    return names, [to_text(active.GetName())] if active and to_text(active.GetName()) in names else []


def asset_list(doc):
    """Everything that the scene uses, as Cinema 4D lists it; both forms of the call, new and old. None where it can't."""
    try:
        found = []
        flags = getattr(c4d, 'ASSETDATA_FLAG_WITHCACHES', 0)
        answer = c4d.documents.GetAllAssetsNew(doc, False, '', flags, found)
        return None if answer == getattr(c4d, 'GETALLASSETSRESULT_FAILED', -1) else found
    except AttributeError:
        return c4d.documents.GetAllAssets(doc, False, '')


def listing(folder):
    try:
        return sorted(to_text(one) for one in os.listdir(on_disk(folder or u'.')))
    except OSError:
        return []


def siblings(path):
    """The files that a pattern stands for; a numbered file of a sequence brings those beside it along."""
    folder, name = os.path.split(path)
    rule, at = u'', 0
    for found in PATTERN.finditer(name):
        rule += re.escape(name[at:found.start()]) + u'-?\\d+'
        at = found.end()
    numbered = re.match(r'^(.*?)(\d{3,})(\D*)$', name)
    if at:
        rule += re.escape(name[at:])
    elif numbered and is_file(path):
        rule = re.escape(numbered.group(1)) + u'\\d{%d,}' % len(numbered.group(2)) + re.escape(numbered.group(3))
    else:
        return [path] if is_file(path) else []
    there = [os.path.join(folder, one) for one in listing(folder) if re.match(u'^' + rule + u'$', one)]
    return [one for one in there if is_file(one)]


def assets(doc, found):
    """The files of the list that are there, and those that aren't."""
    own = os.path.normcase(os.path.join(to_text(doc.GetDocumentPath()), to_text(doc.GetDocumentName())))
    files, missing, seen = [], [], set()
    for one in found:
        path = to_text(one.get('filename') or '')
        if not path or os.path.normcase(path) == own:
            continue
        there = siblings(path)
        if not there and path not in missing:
            missing.append(path)
        for name in there:
            if name not in seen:
                seen.add(name)
                files.append(name)
    return files, missing


def analyse(scene):
    flags = c4d.SCENEFILTER_OBJECTS | c4d.SCENEFILTER_MATERIALS
    doc = c4d.documents.LoadDocument(for_host(scene), flags)
    if doc is None:
        raise RuntimeError('the scene could not be opened')
    try:
        data = doc.GetActiveRenderData()
        kind = RENDERERS.get(data[c4d.RDATA_RENDERENGINE], ('unknow', None))
        names, active = cameras(doc)
        path = to_text(data[c4d.RDATA_PATH] or '')
        errors, warnings = [], []
        found = asset_list(doc)
        if found is None:
            errors.append(NO_ASSETS)
        files, missing = assets(doc, found or [])
        machine = os.environ.get('MachineType', 'startCpu')
        if kind[1] is True and machine == 'startCpu':
            errors.append(GPU_ON_CPU)
        elif kind[1] is False and machine == 'startGpu':
            warnings.append(CPU_ON_GPU)
        if missing:
            warnings += [u'警告：未找到以下文件'] + missing
        full = os.path.join(to_text(doc.GetDocumentPath()), to_text(doc.GetDocumentName()))
        name = os.path.basename(path.replace('\\', '/'))
        content = {
            # The client takes doubled backslashes back to single ones.
            'sceneName': full.replace('\\', '\\\\'), 'missionName': os.path.basename(full), 'softwareType': 5, 'files': files, 'outPut': '',
            'modelParameters': {
                'cameras': names, 'activeCamera': active, 'enableCameras': [], 'outputName': os.path.splitext(name)[0],
                'outputSuffix': SUFFIXES.get(data[c4d.RDATA_FORMAT], 'png'), 'width': int(data[c4d.RDATA_XRES]),
                'height': int(data[c4d.RDATA_YRES]), 'frames': frame_text(doc, data), 'renderer': kind[0]}}
        return {'status': 2 if errors else 1 if warnings else 0, 'content': content, 'details': u'\r\n'.join(errors + warnings)}
    finally:
        c4d.documents.KillDocument(doc)


def answer(scene, log):
    try:
        result = analyse(scene)
    except BaseException:
        lines = [line for line in traceback.format_exc().splitlines() if line.strip()]
        result = {'status': 2, 'content': {}, 'details': to_text(lines[-1]) if lines else u'unknown error'}
    # ASCII, so that the code page in which the client reads this log doesn't matter.
    text = '\nVandrel Info:' + json.dumps(result, ensure_ascii=True) + '\nVandrel Debug:\n'
    try:
        with open(log, 'ab') as out:
            out.write(text.encode('ascii'))
    except EnvironmentError:
        traceback.print_exc()
    finally:  # whatever happened: without these words the client waits for its time-out
        sys.stdout.write('Vandrel Kill\n')
        sys.stdout.flush()


def PluginMessage(message, data):
    log = os.environ.get('vandrel_filepath')
    if message != c4d.C4DPL_COMMANDLINEARGS or not log:
        return False
    scenes = [to_text(word) for word in sys.argv if to_text(word).lower().endswith('.c4d')]
    if not scenes and os.environ.get('vandrel_fileload'):
        scenes = [to_text(os.environ['vandrel_fileload'])]
    answer(scenes[-1] if scenes else '', log)
    return True
