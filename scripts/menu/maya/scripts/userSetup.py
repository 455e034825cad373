"""Maya runs each file of this name when it starts; the shelf is made once its window stands."""
import maya.cmds

if not maya.cmds.about(batch=True):
    import maya.utils
    maya.utils.executeDeferred('import vandrel_menu; vandrel_menu.install()')
