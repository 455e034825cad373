"""Runs clang-tidy (.clang-tidy has its few checks) over the engine's layers. Usage: tidy.py ROOT BUILD

What was clean, and hasn't changed since, nor a header of this tree under it, isn't looked at again.
"""
import json
import os
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor

LAYERS = ('common/platform', 'package', 'common', 'common/facts', 'io', 'db', 'resolve', 'transfer', 'transfer/up',
          'transfer/down', 'task', 'io/local')


def headers(build):
    """The files that each object was built from, as ninja has noted them; none where another tool built it."""
    noted, own = {}, None
    told = subprocess.run(['ninja', '-C', build, '-t', 'deps'], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout
    for line in told.decode().split('\n'):
        if line.startswith('    '):
            own.append(os.path.normpath(os.path.join(build, line.strip())))
        elif ':' in line:
            own = noted.setdefault(line.split(':')[0], [])
    return {files[0]: files for files in noted.values() if files}


def main():
    root, build = (os.path.abspath(one) for one in sys.argv[1:])
    under = headers(build)
    rules = os.path.join(root, '.clang-tidy')
    with open(os.path.join(build, 'compile_commands.json'), encoding='utf-8') as source:
        known = {os.path.normpath(one['file']) for one in json.load(source)}
    files = sorted(one for one in known if os.path.relpath(os.path.dirname(one), os.path.join(root, 'src')) in LAYERS)

    def look(file):
        stamp = os.path.join(build, 'tidy', os.path.relpath(file, root).replace(os.sep, '-'))
        built = under.get(file)
        if built and os.path.exists(stamp):
            newest = max(os.path.getmtime(one) for one in built + [rules] if one.startswith(root) and os.path.exists(one))
            if newest < os.path.getmtime(stamp):
                return ''
        done = subprocess.run(['clang-tidy', '-p', build, '--quiet', file], stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        if done.returncode == 0:
            os.makedirs(os.path.dirname(stamp), exist_ok=True)
            open(stamp, 'w').close()
            return ''
        return done.stdout.decode() or done.stderr.decode()

    with ThreadPoolExecutor(os.cpu_count()) as pool:
        found = [one for one in pool.map(look, files) if one]
    print(''.join(found) + '%d files, %d with faults' % (len(files), len(found)))
    return 1 if found or not files else 0


if __name__ == '__main__':
    sys.exit(main())
