# -*- coding: utf-8 -*-
"""Runs a host's menu against a fake of its module: words are the host, the scripts' folder, the scene as JSON ("" for none) and what
has to go wrong. Prints what the user is told and the host was asked to do, a line each as JSON."""
import json
import os
import sys
import types

HOST, SCRIPTS, SCENE, FAULT = sys.argv[1:5]
SCENE = json.loads(SCENE)


def say(*words):
    print(json.dumps(words))


def save():
    say('save')
    if FAULT == 'unwritable':
        raise RuntimeError('disk full')
    return True


def module(name, **things):
    one = types.ModuleType(name)
    for key, value in things.items():
        setattr(one, key, value)
    sys.modules[name] = one
    return one


class Anything(object):
    def __getattr__(self, name):
        return Anything()

    def __call__(self, *words, **named):
        return Anything()


def maya():
    shelves = {}

    def file(query=False, sceneName=False, modified=False, save=False):  # the host's words
        if save:
            return globals()['save']()
        return SCENE if sceneName else FAULT != 'unchanged'

    def shelf(name, exists=False, query=False, childArray=False, parent=None):
        if exists:
            return name in shelves
        if not query:
            shelves[name] = []
        return shelves[name] if query else name

    def button(**named):
        shelves[named['parent']].append(named['label'])
        say('button', named['parent'], named['command'])

    cmds = module('maya.cmds', file=file, workspace=lambda query, rootDirectory: os.path.dirname(SCENE) + '/', shelfLayout=shelf,
                  shelfButton=button, confirmDialog=lambda **named: say('told', named['message']),
                  deleteUI=lambda name: shelves['VandrelQN'].remove(name), about=lambda batch: FAULT == 'batch')
    later = []
    utils = module('maya.utils', executeDeferred=later.append)
    module('maya', cmds=cmds, utils=utils, mel=module('maya.mel', eval=lambda text: 'top'))
    sys.path.insert(0, SCRIPTS + '/menu/maya/scripts')
    with open(SCRIPTS + '/menu/maya/scripts/userSetup.py') as source:
        for _ in range(2):  # two starts, the shelf was kept
            exec(compile(source.read(), 'userSetup.py', 'exec'), {})
            source.seek(0)
    for one in later:
        exec(one, {})
    say('buttons', sum(len(one) for one in shelves.values()))
    if 'VandrelQN' in shelves:
        exec('import vandrel_menu; vandrel_menu.submit()', {})


def houdini():
    hip = Anything()
    hip.isNewFile, hip.path = lambda: not SCENE, lambda: SCENE
    hip.hasUnsavedChanges, hip.save = lambda: FAULT != 'unchanged', save
    ui = Anything()
    ui.displayMessage = lambda text, title: say('told', text)
    module('hou', hipFile=hip, ui=ui, getenv=lambda name: os.path.dirname(SCENE) if name == 'JOB' else None)
    import re
    import xml.dom.minidom as dom
    sys.path.insert(0, SCRIPTS + '/menu/houdini/scripts/python')
    menu = dom.parse(SCRIPTS + '/menu/houdini/MainMenuCommon.xml')
    exec(menu.getElementsByTagName('scriptCode')[0].firstChild.data, {})


def cinema():
    doc, registered = Anything(), []
    doc.GetDocumentPath, doc.GetDocumentName = lambda: os.path.dirname(SCENE), lambda: os.path.basename(SCENE)
    doc.GetChanged = lambda: FAULT != 'unchanged'
    documents, gui, plugins = Anything(), Anything(), Anything()
    documents.SaveDocument = lambda doc, path, flags, kind: save()
    gui.MessageDialog = lambda text: say('told', text)
    plugins.CommandData = object
    plugins.RegisterCommandPlugin = lambda number, name, info, icon, about, command: registered.append(command)
    module('c4d', documents=documents, gui=gui, plugins=plugins, SAVEDOCUMENTFLAGS_0=0, FORMAT_C4DEXPORT=1)
    path = SCRIPTS + '/menu/c4d/vandrel_menu.pyp'
    with open(path, 'rb') as source:
        exec(compile(source.read(), path, 'exec'), {'__name__': '__main__', '__file__': path})
    registered[0].Execute(doc)


sys.path.insert(0, SCRIPTS + '/menu')
{'maya': maya, 'houdini': houdini, 'c4d': cinema}[HOST]()
