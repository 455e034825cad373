# -*- coding: utf-8 -*-
"""The quick road: mayapy runs this with the scene and, behind "-proj", its project, without Maya's batch shell."""
import os
import sys


def words_of(words):
    """The scene and its project."""
    scene, project = '', ''
    waiting = list(words)
    while waiting:
        word = waiting.pop(0)
        if word == '-proj':
            project = waiting.pop(0) if waiting else ''
        elif not scene:
            scene = word
    return scene, project


def main():
    sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
    import vanalyzer
    import vandrel_report

    def work(report):
        import maya.standalone
        maya.standalone.initialize(name='python')
        import maya.cmds as cmds
        scene, project = words_of(sys.argv[1:])
        if project:
            try:
                cmds.workspace(project, openWorkspace=True)
            except RuntimeError:
                report.warn(u'警告：项目目录无法打开 %s' % vandrel_report.to_text(project))
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
