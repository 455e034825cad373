"""Houdini's module as far as the analysis asks it: a small scene with outputs of several renderers."""
import os
import re

SCENE = os.environ.get('FAKE_HIP', '/tmp/none.hip')


class OperationFailed(Exception):
    pass


class Parm(object):
    def __init__(self, name, value, node=None):
        self._name, self._value, self._node = name, value, node

    def node(self):
        return self._node

    def name(self):
        return self._name

    def eval(self):
        if isinstance(self._value, Exception):
            raise self._value
        return self._value

    def unexpandedString(self):
        return self._value


class Type(object):
    def __init__(self, name):
        self._name = name

    def name(self):
        return self._name


class Node(object):
    def __init__(self, path, kind, bypassed=False, locked=False, prim=None, **parms):
        self._path, self._kind, self._bypassed, self._locked, self._prim = path, kind, bypassed, locked, prim
        self._parms = dict((name, Parm(name, value)) for name, value in parms.items())

    def path(self):
        return self._path

    def type(self):
        return Type(self._kind)

    def isBypassed(self):
        return self._bypassed

    def isInsideLockedHDA(self):
        return self._locked

    def parm(self, name):
        return self._parms.get(name)

    def stage(self):
        if self._prim is None:
            raise OperationFailed('not a node of a stage')
        return self

    def Traverse(self):
        return [self._prim]

    def GetPrimAtPath(self, path):
        return self._prim if path == '/Render/settings' else None


class Prim(object):
    def GetTypeName(self):
        return 'RenderSettings'

    def GetAttribute(self, name):
        return self if name == 'resolution' else None

    def Get(self):
        return (2048, 858)


class Root(object):
    def allSubChildren(self):
        return NODES


LAST = Node('/stage/last', 'null', prim=Prim())
CAMERA = Node('/obj/cam1', 'cam', resx=1280, resy=720)
NODES = [CAMERA,
         Node('/out/mantra1', 'ifd', trange=1, f1=1.0, f2=24.0, f3=2.0, camera='/obj/cam1', vm_picture='$HIP/render/a.$F4.exr'),
         Node('/out/small', 'ifd', trange=0, camera='/obj/cam1', override_camerares=1, res_fraction='0.5', vm_picture='b.exr'),
         Node('/out/off', 'ifd', bypassed=True), Node('/out/asset/inner', 'ifd', locked=True),
         Node('/stage/karma1', 'sidefx::karma::2.0', trange=1, f1=1.5, f2=8.5, f3=0.5, resolutionx=1920, resolutiony=800,
              picture='k.exr'),
         Node('/out/usd', 'usdrender', trange=0, loppath='/stage/last', rendersettings='', override_res='scale', res_scale=50.0,
              outputimage='u.exr'),
         Node('/out/broken', 'Redshift_ROP::2.0', trange=2, f1=5.0, f2=5.0, f3=OperationFailed('cook'), RS_renderCamera='/obj/gone')]
ROOT = Root()
WALL = Node('/mat/wall', 'texture')
where = [ROOT]


def node(path):
    if os.environ.get('FAKE_HOU_RAISES'):
        raise OperationFailed('the scene is broken\nreally')
    return ROOT if path == '/' else CAMERA if path == '/obj/cam1' else LAST if path == '/stage/last' else None


def frame():
    return 12.0


def pwd():
    return where[-1]


def setPwd(one):
    where.append(one)


def expandString(text):
    """Expressions mean something at a node that has what they ask for; a variable is a word of its own."""
    if '`' in text:
        if where[-1] is not WALL:
            raise OperationFailed('bad expression')
        text = text.replace('`chs("../base")`', 'tex')
    text = re.sub(r'\$TEXTURES\b', os.path.dirname(SCENE) + '/tex', text)
    return re.sub(r'\$HIP\b', os.path.dirname(SCENE), text)


def fileReferences():
    return [(Parm('file', '$TEXTURES/one.png'), '$TEXTURES/one.png'), (Parm('f', '$HIP/`chs("../base")`/two.png', WALL), 'x'),
            (Parm('f', '$HIP/tex/cap.`padzero(4, $F)`.png', WALL), 'x'), (Parm('f', '$HIP/`chs("x")`.png'), '$HIP/gone2.png'),
            (Parm('HO_img_fileName', '$HIP/o.exr'), 'x'), (Parm('SettingsOutput_img_file_path', '$HIP/v.exr'), 'x'),
            (Parm('ri_display_0', '$HIP/r.exr'), 'x'), (Parm('file', '$HIP/tex/wall.$F4.png'), '$HIP/tex/wall.0001.png'), (Parm('vm_picture', '$HIP/render/a.$F4.exr'), 'x'),
            (Parm('file', '$HIP/geo/tree.bgeo'), ''), (Parm('env', '$HIP/gone.hdr'), '$HIP/gone.hdr'), (None, 'op:/obj/x'),
            (Parm('map', '$HIP/tex/one.png'), '$HIP/tex/one.png')]


class hipFile(object):
    @staticmethod
    def path():
        return SCENE


def exit(code=0, suppress_save_prompt=False):
    if not suppress_save_prompt:
        raise AssertionError('a dialog could open')
