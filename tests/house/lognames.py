"""Fails when a log line of src begins with the name of another function than the one it stands in."""
import os
import re
import sys

LOGGED = re.compile(r'\bq(?:Debug|Warning|Info|Critical)\(\)')
NAMED = re.compile(r'"((?:\w+::)+~?\w+)[\s:"]')
HEAD = re.compile(r'((?:\w+::)*~?\w+)\(')
NO_FUNCTION = re.compile(r'\s*(?:if|for|while|switch|return|else|using|namespace|typedef|static_assert|throw|do|case)\b')
TYPE = re.compile(r'(\s*)(?:class|struct)\s+(?:\w+_EXPORT\s+)?(\w+)[^;]*$')
# Texts that others look for as they are: nobody's, so far.
QUOTED = set()


def functions(lines):
    """For each line the name of the function it stands in, with its class, as far as the house's format tells."""
    types, found, head = [], '', ''
    for line in lines:
        indent = len(line) - len(line.lstrip())
        while types and line.strip().startswith('}') and indent <= types[-1][0]:
            types.pop()
        opened = TYPE.match(line)
        if opened:
            head = (len(opened.group(1)), opened.group(2))
        if line.strip() == '{' and head and indent == head[0]:
            types.append(head)
            head = ''
        elif line.rstrip().endswith(';'):
            head = ''
        level = 4 * len(types) if types and indent else 0
        name = HEAD.search(line)
        if indent == level and name and not opened and not NO_FUNCTION.match(line) and not line.startswith(('#', '//')):
            own = types[-1][1] + '::' if types and indent else ''
            found = own + name.group(1)
        yield found


def faults(root):
    for at, _, names in os.walk(root):
        for name in sorted(names):
            if not name.endswith(('.h', '.cpp')):
                continue
            path = os.path.join(at, name)
            with open(path, encoding='utf-8') as source:
                lines = source.read().split('\n')
            logging = False
            for number, (line, function) in enumerate(zip(lines, functions(lines)), 1):
                logging = logging or LOGGED.search(line) is not None
                for said in NAMED.findall(line) if logging else []:
                    if said in QUOTED:
                        continue
                    same = said == function or '::' not in function and said.split('::')[-1] == function
                    if not same:
                        yield '%s:%d: "%s" is said in %s' % (os.path.relpath(path, root), number, said, function)
                logging = logging and not line.rstrip().endswith(';')


def main():
    found = list(faults(os.path.join(sys.argv[1], 'src')))
    for fault in found:
        print(fault)
    return 1 if found else 0


if __name__ == '__main__':
    sys.exit(main())
