# -*- coding: utf-8 -*-
"""The farm's command in Cinema 4D: saves the document and hands it to the client with its folder."""
import os
import sys

import c4d

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import vandrel_client

PLUGIN_ID = 1000007  # of the range that is free for everybody: one of the vendor's own has to be had before it is given away
TITLE = 'VandrelQN'


class Host(object):
    def __init__(self, doc):
        self.doc = doc

    def path(self):
        folder, name = self.doc.GetDocumentPath(), self.doc.GetDocumentName()
        return os.path.join(folder, name) if folder else ''

    def changed(self):
        return self.doc.GetChanged()

    def save(self):
        return bool(c4d.documents.SaveDocument(self.doc, self.path(), c4d.SAVEDOCUMENTFLAGS_0, c4d.FORMAT_C4DEXPORT))

    def project(self):
        return self.doc.GetDocumentPath()

    def tell(self, words):
        c4d.gui.MessageDialog(words)
        return words


class Submit(c4d.plugins.CommandData):
    def Execute(self, doc):
        vandrel_client.submit(Host(doc))
        return True


if __name__ == '__main__':
    c4d.plugins.RegisterCommandPlugin(PLUGIN_ID, TITLE, 0, None, 'Submit to the farm', Submit())
