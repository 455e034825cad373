# -*- coding: utf-8 -*-
"""The answer of an analysis, for every script that runs inside a host with Python 2.6 up to 3.

answer(work) runs work(report) and always ends with the marker that the client reads: on an exception with status 2 and
the last line of the traceback. The text is ASCII (JSON escapes the rest), so that no code page can spoil it.
"""
import json
import os
import re
import sys
import traceback

GOOD, WARNING, ERROR, MISSING = 0, 1, 2, 3

GPU_ON_CPU = u'当前渲染器为GPU渲染器，提交机型为CPU，请更换机型后重新提交。'
CPU_ON_GPU = u'当前渲染器为CPU渲染器，机型选择GPU，请确认机型后提交。'
NO_CAMERA = u'错误：没有可用相机。'

try:
    text_type = unicode
except NameError:
    text_type = str

# Places in a path that stand for many files: tiles, frames in their several spellings.
TILES = ('<udim>', '<uvtile>', '<tile>', '<u>', '<v>', '<f>', '<frame>', '<aov>')
PATTERN = re.compile(r'<udim>|<uvtile>|<tile>|<u>|<v>|<f>|<frame>|<frame0?\d*>|<aov>|%\(udim\)d|%0?\d*d|#+|\$f\d*', re.IGNORECASE)


def to_text(value):
    """Any host's string as text; bytes of an unknown code page lose what can't be read, never the whole path."""
    if isinstance(value, bytes) and not isinstance(value, str):
        value = value.decode('utf-8', 'replace')
    elif not isinstance(value, text_type):
        try:
            value = text_type(value)
        except UnicodeDecodeError:
            value = value.decode(sys.getfilesystemencoding() or 'utf-8', 'replace')
    return value


def is_pattern(path):
    return PATTERN.search(os.path.basename(path)) is not None


def matches(path):
    """The files on disk that a pattern in the file name stands for."""
    folder, name = os.path.split(path)
    text, at = '', 0
    for found in PATTERN.finditer(name):
        text += re.escape(name[at:found.start()]) + r'-?\w+'
        at = found.end()
    wanted = re.compile('^' + text + re.escape(name[at:]) + '$', re.IGNORECASE if os.name == 'nt' else 0)
    try:
        names = os.listdir(folder or '.')
    except OSError:
        return []
    return [folder + '/' + one if folder else one for one in sorted(names) if wanted.match(one)]


def running_number(path):
    """The siblings of a numbered file: a.0001.exr stands for every a.<digits>.exr beside it."""
    folder, name = os.path.split(path)
    found = re.match(r'^(.*?)(\d+)(\D*)$', name)
    if not found:
        return [path] if os.path.isfile(path) else []
    wanted = re.compile('^' + re.escape(found.group(1)) + r'\d+' + re.escape(found.group(3)) + '$')
    try:
        names = os.listdir(folder or '.')
    except OSError:
        return []
    return [folder + '/' + one if folder else one for one in sorted(names) if wanted.match(one)]


class Report(object):
    """What one analysis found: dependencies that exist, those that don't, what to tell, and the parameters."""

    def __init__(self):
        self.content = {}
        self.parameters = {}
        self.files = []
        self.missing = []
        self.warnings = []
        self.errors = []
        self._seen = set()
        self.roots = []

    def absolute(self, path):
        """Environment variables filled in, slashes turned, relative paths looked for below the roots in order."""
        path = os.path.expandvars(to_text(path).strip()).replace('\\', '/')
        if not path or path.startswith('//') or os.path.isabs(path) or re.match(r'^[A-Za-z]:', path):
            return path
        for root in self.roots:
            there = to_text(root).replace('\\', '/').rstrip('/') + '/' + path
            if os.path.exists(there) or (is_pattern(there) and matches(there)):
                return there
        return (to_text(self.roots[0]).replace('\\', '/').rstrip('/') + '/' + path) if self.roots else path

    def depend(self, path, sequence=False, optional=False):
        """Adds a dependency. sequence: a numbered file whose siblings belong to it. optional: never told missing."""
        if not path:
            return
        path = self.absolute(path)
        if not path or path in self._seen:
            return
        self._seen.add(path)
        if is_pattern(path) and not os.path.exists(path):
            found = matches(path)
        elif sequence:
            found = running_number(path)
        else:
            found = [path] if os.path.isfile(path) else []
        for one in found:
            if one == path or one not in self._seen:
                self._seen.add(one)
                self.files.append(one)
        if not found and not optional:
            self.missing.append(path)

    def machine(self, gpu_renderer):
        """Holds the renderer against the chosen machine: None where it runs on both."""
        chosen = os.environ.get('MachineType', 'startCpu')
        if gpu_renderer is True and chosen == 'startCpu':
            self.errors.append(GPU_ON_CPU)
        elif gpu_renderer is False and chosen == 'startGpu':
            self.warnings.append(CPU_ON_GPU)

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


def last_line():
    lines = [line for line in traceback.format_exc().splitlines() if line.strip()]
    return to_text(lines[-1]) if lines else u'unknown error'


def write(result):
    """The marker and the answer on the process's real standard output, past whatever the host put in its place."""
    line = '\nVandrel Info:' + json.dumps(result, ensure_ascii=True) + '\nVandrel Debug:\n'
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
