# -*- coding: utf-8 -*-
"""The answer of an analysis, for every script that runs inside a host with Python 2.6 up to 3.

answer(work) runs work(report) and always ends with the marker that the client reads: on an exception with status 2 and
the last line of the traceback. The text is ASCII (JSON escapes the rest), so that no code page can spoil it.
"""
import json
import os
import posixpath
import re
import sys
import traceback

GOOD, WARNING, ERROR, MISSING = 0, 1, 2, 3

GPU_ON_CPU = u'当前渲染器为GPU渲染器，提交机型为CPU，请更换机型后重新提交。'
CPU_ON_GPU = u'当前渲染器为CPU渲染器，机型选择GPU，请确认机型后提交。'
NO_CAMERA = u'错误：没有可用相机。'

WINDOWS = os.name == 'nt'
OLD_PYTHON = sys.version_info[0] < 3

try:
    text_type = unicode
except NameError:
    text_type = str

# Places in a file name that stand for many files: tiles, frames in their several spellings.
PATTERN = re.compile(r'<udim>|<uvtile>|<tile>|<u>|<v>|<f>|<frame0?\d*>|<aov>|%\(udim\)d|%0?\d*d|#+|\$f\d*', re.IGNORECASE)
VARIABLE = re.compile(r'\$\{(\w+)\}|\$(\w+)' + (r'|%(\w+)%' if WINDOWS else ''), re.UNICODE)


def to_text(value):
    """Any host's string as text. Bytes that nobody can read become marks, so that such a name is told missing and the
    others go on."""
    if not isinstance(value, (bytes, text_type)):
        try:
            return text_type(value)
        except UnicodeError:
            value = bytes(value)
    if isinstance(value, text_type):
        if OLD_PYTHON or not re.search(u'[\udc80-\udcff]', value):
            return value
        value = value.encode('utf-8', 'surrogateescape')  # how Python 3 hands on what its locale can't read
    for encoding in ('utf-8', sys.getfilesystemencoding() or 'utf-8'):
        try:
            return value.decode(encoding)
        except (UnicodeError, LookupError):
            continue
    return value.decode('utf-8', 'replace')


def on_disk(path):
    """A path as the file functions take it, whatever the locale says: bytes, but on Windows."""
    return path if WINDOWS else path.encode('utf-8')


def exists(path):
    return os.path.exists(on_disk(path))


def is_file(path):
    return os.path.isfile(on_disk(path))


def listing(folder):
    try:
        return sorted(to_text(one) for one in os.listdir(on_disk(folder or u'.')))
    except OSError:
        return []


def expanded(path):
    """Environment variables filled in; unknown ones stay as they are."""
    def known(found):
        name = [one for one in found.groups() if one][0]
        try:
            value = os.environ.get(name if not OLD_PYTHON else name.encode('utf-8'))
        except UnicodeError:
            value = None
        return found.group(0) if value is None else to_text(value)
    return VARIABLE.sub(known, path)


def tidy(path):
    """One spelling for one file: slashes single but for a server's two, "." and ".." folded where that names the same."""
    path = path.replace(u'\\', u'/')
    drive = path[:2] if re.match(u'^[A-Za-z]:', path) else u''
    if path == drive:
        return path
    rest = path[len(drive):]
    clean = drive + to_text(posixpath.normpath(re.sub(u'^/+', u'/', rest) if drive else rest))
    return path if u'..' in path.split(u'/') and exists(path) and not exists(clean) else clean


def is_pattern(path):
    return PATTERN.search(path.rsplit(u'/', 1)[-1]) is not None


def named(folder, rule):
    wanted = re.compile(u'^' + rule + u'$', re.UNICODE | (re.IGNORECASE if WINDOWS else 0))
    return [folder + u'/' + one if folder else one for one in listing(folder) if wanted.match(one)]


def matches(path):
    """The files on disk that a pattern in the file name stands for."""
    folder, name = os.path.split(path)
    text, at = u'', 0
    for found in PATTERN.finditer(name):
        text += re.escape(name[at:found.start()]) + u'-?\\w+'
        at = found.end()
    return named(folder.rstrip(u'/'), text + re.escape(name[at:]))


def running_number(path):
    """The siblings of a numbered file: a.0001.exr stands for every a.<digits>.exr beside it."""
    folder, name = os.path.split(path)
    found = re.match(r'^(.*?)(\d+)(\D*)$', name)
    return named(folder.rstrip(u'/'), re.escape(found.group(1)) + u'\\d+' + re.escape(found.group(3))) if found else [path]


def whole_frames(first, last, step):
    """A frame text as the farm takes it, whole numbers alone, and whether anything was cut off for that."""
    found = [float(first), float(last), float(step)]
    numbers = [int(one // 1) for one in found]
    numbers[2] = max(1, numbers[2])
    return u'%d-%d:%d' % tuple(numbers), [float(one) for one in numbers] != found


class Report(object):
    """What one analysis found: dependencies that exist, those that don't, what to tell, and the parameters."""

    def __init__(self):
        self.content = {}
        self.parameters = {}
        self.files = []
        self.missing = []
        self.warnings = []
        self.errors = []
        self.roots = []
        self._asked = set()
        self._seen = set()

    def warn(self, text):
        if text not in self.warnings:
            self.warnings.append(text)

    def absolute(self, path):
        """Variables filled in, slashes turned, relative paths looked for below the roots in order."""
        path = expanded(to_text(path).strip()).replace(u'\\', u'/')
        if not path:
            return path
        if path.startswith(u'/') or re.match(u'^[A-Za-z]:', path):
            return tidy(path)
        places = [tidy(to_text(root) + u'/' + path) for root in self.roots]
        for there in places:
            if exists(there) or (is_pattern(there) and matches(there)):
                return there
        return places[0] if places else path

    def depend(self, path, sequence=False, optional=False):
        """Adds a dependency. sequence: a numbered file whose siblings belong to it. optional: never told missing."""
        path = self.absolute(path) if path else path
        if not path or (path, sequence, optional) in self._asked:
            return
        self._asked.add((path, sequence, optional))
        if is_pattern(path) and not exists(path):
            found = matches(path)
        else:
            found = running_number(path) if sequence else [path]
        for one in found:
            self._add(one, optional)
        if not found:
            self._miss(path, optional)

    def _add(self, path, optional):
        if not is_file(path):
            self._miss(path, optional)
        elif os.path.normcase(path) not in self._seen:
            self._seen.add(os.path.normcase(path))
            self.files.append(path)

    def _miss(self, path, optional):
        if not optional and path not in self.missing:
            self.missing.append(path)

    def machine(self, gpu_renderer):
        """Holds the renderer against the chosen machine: None where it runs on both."""
        chosen = os.environ.get('MachineType', 'startCpu')
        if gpu_renderer is True and chosen == 'startCpu':
            self.errors.append(GPU_ON_CPU)
        elif gpu_renderer is False and chosen == 'startGpu':
            self.warn(CPU_ON_GPU)

    def result(self):
        details = list(self.errors) + list(self.warnings)
        if self.missing:
            details += [u'警告：未找到以下文件'] + self.missing
        status = ERROR if self.errors else WARNING if details else GOOD
        content = dict(self.content)
        content['files'] = self.files
        if self.parameters:
            content['modelParameters'] = self.parameters
        return {'status': status, 'content': content, 'details': u'\r\n'.join(details)}


def clean(value):
    """Text throughout: whatever a host handed over, the answer can be written."""
    if isinstance(value, dict):
        return dict((to_text(key), clean(one)) for key, one in value.items())
    if isinstance(value, (list, tuple)):
        return [clean(one) for one in value]
    return value if value is None or isinstance(value, (bool, int, float)) else to_text(value)


def last_line():
    lines = [line for line in traceback.format_exc().splitlines() if line.strip()]
    return to_text(lines[-1]) if lines else u'unknown error'


def write(result):
    """The marker and the answer on the process's real standard output, past whatever the host put in its place."""
    line = '\nVandrel Info:' + json.dumps(clean(result), ensure_ascii=True) + '\nVandrel Debug:\n'
    data = line.encode('ascii')
    sys.stdout.flush()
    try:
        while data:
            data = data[os.write(1, data):]
    except OSError:
        out = sys.__stdout__ or sys.stdout
        out.write(data.decode('ascii'))
        out.flush()


def answer(work):
    report = Report()
    try:
        work(report)
        result = report.result()
    except BaseException:
        result = {'status': ERROR, 'content': {}, 'details': last_line()}
    write(result)
    return result
