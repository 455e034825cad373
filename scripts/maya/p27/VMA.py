# -*- coding: utf-8 -*-
"""The quick road: mayapy runs this with the scene and this file's own name as arguments, without Maya's batch shell."""
import os
import sys


def scene_of(words):
    """The word that isn't this script, in whichever place mayapy left it."""
    own = os.path.normcase(os.path.abspath(__file__))
    for word in words:
        if os.path.normcase(os.path.abspath(word)) != own:
            return word
    return ''


def main():
    sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
    import vanalyzer
    import vandrel_report

    def work(report):
        import maya.standalone
        maya.standalone.initialize(name='python')
        import maya.cmds as cmds
        scene = scene_of(sys.argv)
        try:
            cmds.file(scene, open=True, force=True, prompt=False, ignoreVersion=True, loadReferenceDepth='all')
        except RuntimeError:
            # Maya raises for anything that it warned of while reading; the scene is open all the same, or has no name.
            if not cmds.file(query=True, sceneName=True):
                raise
        cache = int(os.environ.get('VandrelMayaCache', '0') or 0)
        vanalyzer.analyse(cmds, report, cache)

    vandrel_report.answer(work)
    # Plug-ins are known to hang while Maya unloads them; everything is written by now.
    sys.stdout.flush()
    os._exit(0)


if __name__ == '__main__':
    main()
