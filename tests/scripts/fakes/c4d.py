"""Cinema 4D's module as far as the analysis asks it: one document with two cameras, a sequence and a missing texture."""
import os

SCENEFILTER_OBJECTS, SCENEFILTER_MATERIALS, C4DPL_COMMANDLINEARGS = 2, 4, 1000
RDATA_FRAMESEQUENCE, RDATA_FRAMESTEP, RDATA_FRAMEFROM, RDATA_FRAMETO, RDATA_PATH, RDATA_FORMAT, RDATA_XRES, RDATA_YRES, \
    RDATA_RENDERENGINE = range(9)
RDATA_FRAMESEQUENCE_MANUAL, RDATA_FRAMESEQUENCE_CURRENTFRAME, RDATA_FRAMESEQUENCE_ALLFRAMES, RDATA_FRAMESEQUENCE_PREVIEWRANGE = range(4)
ASSETDATA_FLAG_WITHCACHES, GETALLASSETSRESULT_FAILED, Ocamera, Ocube = 1, 0, 5103, 5159


class Time(object):
    def __init__(self, frame):
        self.frame = frame

    def GetFrame(self, fps):
        return self.frame


class Op(object):
    def __init__(self, kind, name, down=None, following=None):
        self.kind, self.name, self.down, self.following = kind, name, down, following

    def GetType(self):
        return self.kind

    def GetName(self):
        return self.name

    def GetDown(self):
        return self.down

    def GetNext(self):
        return self.following


class Draw(object):
    def GetSceneCamera(self, doc):
        return CAMERA


CAMERA = Op(Ocamera, 'Close', None, Op(Ocube, 'Box'))
FIRST = Op(Ocube, 'Group', CAMERA, Op(Ocamera, 'Wide'))


def there(path):
    return os.path.exists(path if isinstance(path, bytes) else path.encode('utf-8'))


class Document(object):
    def __init__(self, path):
        self.path = path

    def GetActiveRenderData(self):
        return {RDATA_FRAMESEQUENCE: RDATA_FRAMESEQUENCE_MANUAL, RDATA_FRAMESTEP: 2, RDATA_FRAMEFROM: Time(0), RDATA_FRAMETO: Time(20),
                RDATA_PATH: 'renders\\shot', RDATA_FORMAT: 1016606, RDATA_XRES: 1920.0, RDATA_YRES: 1080.0,
                RDATA_RENDERENGINE: int(os.environ.get('FAKE_ENGINE', '0'))}

    def GetFps(self):
        return 25

    def GetFirstObject(self):
        return FIRST

    def GetActiveBaseDraw(self):
        return Draw()

    def GetDocumentPath(self):
        return os.path.dirname(self.path)

    def GetDocumentName(self):
        return os.path.basename(self.path)


class documents(object):
    killed = []

    @staticmethod
    def LoadDocument(path, flags):
        return Document(path) if there(path) else None

    @staticmethod
    def KillDocument(doc):
        documents.killed.append(doc)

    @staticmethod
    def GetAllAssetsNew(doc, dialogs, last, flags, found):
        if dialogs:
            raise AssertionError('a dialog could open')
        if os.environ.get('FAKE_NO_ASSETS'):
            return GETALLASSETSRESULT_FAILED
        folder = os.path.dirname(doc.path)
        for name in ('shot.c4d', 'smoke_0001.vdb', 'gone.png', 'skin.<UDIM>.png'):
            path = os.path.join(folder, name)
            found.append({'filename': path, 'exists': there(path)})
        return 1
