# -*- coding: utf-8 -*-
"""The farm's shelf in Maya: one button that saves the scene and hands it to the client with Maya's project."""
import maya.cmds as cmds
import maya.mel as mel

import vandrel_client

SHELF = 'VandrelQN'
COMMAND = 'import vandrel_menu; vandrel_menu.submit()'


class Host(object):
    def path(self):
        return cmds.file(query=True, sceneName=True)

    def changed(self):
        return cmds.file(query=True, modified=True)

    def save(self):
        return bool(cmds.file(save=True))

    def project(self):
        return cmds.workspace(query=True, rootDirectory=True)

    def tell(self, words):
        cmds.confirmDialog(title=SHELF, message=words, button=['OK'])
        return words


def submit():
    return vandrel_client.submit(Host())


def install():
    """Once a start: the shelf may have been kept from the last one."""
    if cmds.shelfLayout(SHELF, exists=True):
        for child in cmds.shelfLayout(SHELF, query=True, childArray=True) or []:
            cmds.deleteUI(child)
        shelf = SHELF
    else:
        shelf = cmds.shelfLayout(SHELF, parent=mel.eval('$vandrel = $gShelfTopLevel'))
    cmds.shelfButton(parent=shelf, label=SHELF, annotation='Submit to the farm', image='pythonFamily.png', imageOverlayLabel='Farm',
                     sourceType='python', command=COMMAND)
