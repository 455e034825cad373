"""Houdini's module as far as the analysis asks it: a small scene with a Mantra and a Redshift output."""
import os

SCENE = os.environ.get('FAKE_HIP', '/tmp/none.hip')


class OperationFailed(Exception):
    pass


class Parm(object):
    def __init__(self, name, value):
        self._name, self._value = name, value

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
    def __init__(self, path, kind, bypassed=False, **parms):
        self._path, self._kind, self._bypassed = path, kind, bypassed
        self._parms = dict((name, Parm(name, value)) for name, value in parms.items())

    def path(self):
        return self._path

    def type(self):
        return Type(self._kind)

    def isBypassed(self):
        return self._bypassed

    def parm(self, name):
        return self._parms.get(name)


class Root(object):
    def allSubChildren(self):
        return NODES


CAMERA = Node('/obj/cam1', 'cam', resx=1280, resy=720)
NODES = [CAMERA,
         Node('/out/mantra1', 'ifd', trange=1, f1=1.0, f2=24.0, f3=2.0, camera='/obj/cam1', vm_picture='$HIP/render/a.$F4.exr'),
         Node('/out/small', 'ifd', trange=0, camera='/obj/cam1', override_camerares=1, res_fraction='0.5', vm_picture='b.exr'),
         Node('/out/off', 'ifd', bypassed=True),
         Node('/out/broken', 'Redshift_ROP::2.0', trange=2, f1=5.0, f2=5.0, f3=OperationFailed('cook'), RS_renderCamera='/obj/gone')]
ROOT = Root()


def node(path):
    if os.environ.get('FAKE_HOU_RAISES'):
        raise OperationFailed('the scene is broken\nreally')
    return ROOT if path == '/' else CAMERA if path == '/obj/cam1' else None


def frame():
    return 12.0


def expandString(text):
    return text.replace('$HIP', os.path.dirname(SCENE))


def fileReferences():
    return [(Parm('file', '$HIP/tex/wall.$F4.png'), '$HIP/tex/wall.0001.png'), (Parm('vm_picture', '$HIP/render/a.$F4.exr'), 'x'),
            (Parm('file', '$HIP/geo/tree.bgeo'), ''), (Parm('env', '$HIP/gone.hdr'), '$HIP/gone.hdr'), (None, 'op:/obj/x'),
            (Parm('map', '$HIP/tex/one.png'), '$HIP/tex/one.png')]


class hipFile(object):
    @staticmethod
    def path():
        return SCENE


def exit(code=0, suppress_save_prompt=False):
    if not suppress_save_prompt:
        raise AssertionError('a dialog could open')
