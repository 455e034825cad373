# -*- coding: utf-8 -*-
"""The farm's menu in Houdini: saves the scene and hands it to the client with its $JOB."""
import hou

import vandrel_client


class Host(object):
    def path(self):
        return '' if hou.hipFile.isNewFile() else hou.hipFile.path()

    def changed(self):
        return hou.hipFile.hasUnsavedChanges()

    def save(self):
        hou.hipFile.save()  # raises where it can't
        return True

    def project(self):
        return hou.getenv('JOB') or hou.getenv('HIP')

    def tell(self, words):
        hou.ui.displayMessage(words, title='VandrelQN')
        return words


def submit():
    return vandrel_client.submit(Host())
