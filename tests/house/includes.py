"""Fails when a line of src includes a folder above its own, or one that it has no business with."""
import os
import re
import sys

LAYERS = ['common/platform', 'package', 'common', 'io', 'frames', 'db', 'resolve', 'transfer', 'task', 'io/local', 'common/ui',
          'view', '']
STRANGERS = [('resolve', 'transfer'), ('transfer', 'resolve')]


def layer_of(path):
    """The longest layer name that the folder of path begins with."""
    folder = os.path.dirname(path)
    fitting = [name for name in LAYERS if name == '' or folder == name or folder.startswith(name + '/')]
    return max(fitting, key=len)


def faults(root):
    for at, _, names in os.walk(root):
        for name in names:
            if not name.endswith(('.h', '.cpp')):
                continue
            own = os.path.relpath(os.path.join(at, name), root).replace(os.sep, '/')
            with open(os.path.join(at, name), encoding='utf-8') as source:
                for number, line in enumerate(source, 1):
                    match = re.match(r'\s*#\s*include\s+"([^"]+)"', line)
                    if not match:
                        continue
                    other = match.group(1)
                    if other.endswith('.moc') or other.startswith('ui_'):
                        continue
                    mine = layer_of(own)
                    if not os.path.exists(os.path.join(root, other)):
                        yield '%s:%d: "%s" is not written from the root of src' % (own, number, other)
                    elif LAYERS.index(layer_of(other)) > LAYERS.index(mine) or (mine, layer_of(other)) in STRANGERS:
                        yield '%s:%d: %s must not include %s' % (own, number, mine or 'the root', other)


def main():
    root = os.path.join(sys.argv[1], 'src')
    found = list(faults(root))
    for fault in found:
        print(fault)
    return 1 if found else 0


if __name__ == '__main__':
    sys.exit(main())
