# -*- coding: utf-8 -*-
"""Maya's command module as far as the analysis asks it, over the text of a real .ma file. It answers as Maya does:
unknown nodes, attributes and plug-ins raise RuntimeError, and anything that would change the scene fails the test."""
import os
import re

LONG = {'rnd': 'renderable', 'rndr': 'renderable', 'ren': 'currentRenderer', 'w': 'width', 'h': 'height', 'an': 'animation',
        'fs': 'startFrame', 'ef': 'endFrame', 'bfs': 'byFrameStep', 'outf': 'imageFormat', 'imfkey': 'imfPluginKey',
        'ifp': 'imageFilePrefix', 'ftn': 'fileTextureName', 'uvt': 'uvTilingMode', 'ufe': 'useFrameExtension', 'g': 'global'}
DEFAULTS = {'camera': {'renderable': True}, 'renderLayer': {'renderable': True, 'global': False},
            'file': {'fileTextureName': '', 'uvTilingMode': 0, 'useFrameExtension': False}}
GLOBALS = {'defaultRenderGlobals': {'currentRenderer': 'mayaSoftware', 'animation': False, 'startFrame': 1.0, 'endFrame': 10.0,
                                    'byFrameStep': 1.0, 'imageFormat': 7, 'imageFilePrefix': None},
           'defaultResolution': {'width': 640, 'height': 480}}

scene = {}
switched = []
projects = []


def load(path):
    """Reads the statements of a .ma that the analysis can see, in whatever code page they stand."""
    with open(path, 'rb') as source:
        text = re.sub(r'(?m)^//.*$', '', source.read().decode('latin-1'))
    scene.clear()
    scene.update(path=path, nodes=[], attributes={}, types={}, parents={}, layer='defaultRenderLayer')
    for name, values in GLOBALS.items():
        scene['attributes'][name] = dict(values)
    current = None
    for statement in re.split(r';[ \t]*\r?\n', text):
        statement = statement.strip()
        found = re.match(r'createNode (\w+)(.*)', statement)
        if found:
            name = re.search(r'-n "([^"]+)"', found.group(2))
            parent = re.search(r'-p "([^"]+)"', found.group(2))
            current = name.group(1) if name else None
            if current:
                scene['nodes'].append(current)
                scene['types'][current] = found.group(1)
                scene['parents'][current] = parent.group(1) if parent else None
                scene['attributes'][current] = dict(DEFAULTS.get(found.group(1), {}))
            continue
        found = re.match(r'select -ne :(\w+)', statement)
        if found:
            current = found.group(1)
            scene['attributes'].setdefault(current, {})
            continue
        found = re.match(r'setAttr (?:-[a-z]+ \w+ )*"\.(\w+)"\s+(?:-type "string"\s+)?(.+)$', statement, re.DOTALL)
        if found and current:
            scene['attributes'][current][LONG.get(found.group(1), found.group(1))] = literal(found.group(2).strip())
            continue


def literal(text):
    if text.startswith('"'):
        return text.strip('"')
    if text in ('yes', 'on', 'true'):
        return True
    if text in ('no', 'off', 'false'):
        return False
    try:
        return float(text) if '.' in text else int(text)
    except ValueError:
        return text


def getAttr(plug):
    node, attribute = plug.split('.', 1)
    if node not in scene['attributes'] or attribute not in scene['attributes'][node]:
        raise ValueError('No object matches name: ' + plug)
    return scene['attributes'][node][attribute]


def ls(type=None):
    if type not in scene['types'].values() and type not in ('file', 'camera', 'renderLayer', 'cacheFile', 'audio', 'movie', 'reference'):
        raise RuntimeError('Unknown object type: ' + str(type))
    return [node for node in scene['nodes'] if scene['types'][node] == type] or None


def listRelatives(node, parent=False):
    return [scene['parents'][node]] if scene['parents'].get(node) else None


def nodeType(node):
    return scene['types'][node]


def references_in(path):
    """As Maya tells them: whole paths, the second reference to a file with a number behind."""
    path = re.sub(r'\{\d+\}$', '', path)
    if not os.path.isfile(path):
        return []
    with open(path, 'rb') as source:
        told = re.findall(r'(?m)^file -r (?:"[^"]*"|[^";])*;', source.read().decode('latin-1'))
    found = [re.findall('"([^"]*)"', one)[-1] for one in told]
    whole = [os.path.join(os.path.dirname(scene['path']), one) for one in found]
    return [one + '{%d}' % index if whole.index(one) != index else one for index, one in enumerate(whole)]


def referenceQuery(node, filename=False):
    if scene['types'].get(node) != 'reference' or 'fileNames' not in scene['attributes'][node]:
        raise RuntimeError('no file belongs to ' + node)
    return scene['attributes'][node]['fileNames']


def file(path=None, **words):
    if words.get('query') and words.get('sceneName'):
        return scene.get('path', '')
    if words.get('query') and words.get('reference'):
        return references_in(path or scene['path'])
    if words.get('open'):
        if words.get('prompt', True):
            raise AssertionError('a dialog could open')
        if not os.path.exists(path):
            raise RuntimeError('File not found: ' + path)
        load(path)
        return path
    raise AssertionError('the scene would be changed: %r' % words)


def editRenderLayerGlobals(query=False, currentRenderLayer=None):
    if query:
        return scene['layer']
    if currentRenderLayer not in scene['nodes']:
        raise RuntimeError('no layer ' + currentRenderLayer)
    scene['layer'] = currentRenderLayer
    switched.append(currentRenderLayer)


def workspace(project=None, query=False, rootDirectory=False, openWorkspace=False):
    if openWorkspace:
        projects.append(project)
    return (projects or [os.path.dirname(scene['path'])])[-1] + '//'


def currentTime(query=False):
    return 1.0


def pluginInfo(query=False, listPlugins=False):
    return None


def unknownPlugin(query=False, list=False):
    raise RuntimeError('unknown command')


def filePathEditor(query=False, listDirectories=None, listFiles=None, withAttribute=False):
    """Paths of nodes by folder, files and the plugs that name them by turns."""
    listed = [(node, values['extraFile']) for node, values in sorted(scene['attributes'].items()) if 'extraFile' in values]
    if not listed:
        raise RuntimeError('no editor in this version')
    if listFiles is None:
        return sorted(set(os.path.dirname(path) for _, path in listed))
    return [word for node, path in listed if os.path.dirname(path) == listFiles for word in (os.path.basename(path), node + '.f')]
