"""What vandrelctl tells without a client: the API's description (checked with a validator that isn't ours), the README's
table, the words it doesn't understand, and completion in a real bash."""
import json
import os
import subprocess
import sys
import tempfile
import unittest

PROGRAM, SOURCE = sys.argv[1:3]


def ctl(*words, **env):
    return subprocess.run([PROGRAM, *words], capture_output=True, text=True, timeout=120, env=dict(os.environ, **env))


class Describe(unittest.TestCase):
    def test_openapi(self):
        tool = subprocess.run([SOURCE + '/tools/openapi-validator.sh'], stdout=subprocess.PIPE, text=True)
        self.assertEqual(tool.returncode, 0, 'the validator is needed: npm install failed')
        text = ctl('describe').stdout
        with tempfile.TemporaryDirectory() as folder:
            for name, content, good in (('whole', text, True), ('broken', text.replace('"in": "query"', '"in": "nowhere"', 1), False)):
                path = os.path.join(folder, name + '.json')
                with open(path, 'w') as out:
                    out.write(content)
                seen = subprocess.run([tool.stdout.strip(), path], capture_output=True, text=True)
                verdict = json.loads(seen.stdout[seen.stdout.index('{'):])
                self.assertEqual(verdict['valid'], good, seen.stdout[:2000])
        names = [verb['operationId'] for path in json.loads(text)['paths'].values() for verb in path.values()]
        self.assertEqual(len(names), len(set(names)))

    def test_readme(self):
        with open(SOURCE + '/README.md', encoding='utf-8') as readme:
            self.assertIn(ctl('describe', '--markdown').stdout, readme.read())

    def test_words(self):
        for words in ((), ('nothing',), ('list', '--nothing'), ('follow',), ('follow', 'x'), ('list', 'x'), ('submit', '/no/such.tgd'),
                      ('submit', __file__), ('follow', '1', '--timeout'), ('follow', '1', '--timeout', 'x'), ('transfer', 'stop'),
                      ('call', '/nothing'), ('call', '/job', 'nothing=1'), ('list', '--json=1')):
            done = ctl(*words, VANDREL_URL='http://127.0.0.1:1')
            self.assertEqual((done.returncode, done.stdout), (2, ''), words)
            self.assertTrue(done.stderr.startswith('vandrelctl: '), words)
        gone = ctl('list', '--url', 'http://127.0.0.1:1')
        self.assertEqual(gone.returncode, 3, gone.stderr)

    def test_completion(self):
        def offered(*typed):
            script = 'source <("$0" completion); COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _vandrelctl; echo "${COMPREPLY[@]}"'
            return subprocess.run(['bash', '-c', script, PROGRAM, *typed], capture_output=True, text=True).stdout.split()
        self.assertEqual(offered('vandrelctl', 'fra'), ['frames'])
        self.assertEqual(offered('vandrelctl', 'submit', '--wa'), ['--wait'])
        self.assertEqual(offered('vandrelctl', 'transfer', 'p'), ['pause'])
        self.assertEqual(offered('vandrelctl', 'list', '--wa'), [])


if __name__ == '__main__':
    unittest.main(argv=sys.argv[:1])
