# -*- coding: utf-8 -*-
"""Analysis of the scene that Maya has open: mayabatch calls runMain, mayapy calls it by way of VMA.py.

Reads and never writes: no node, no file, no preference is changed, no dialog can open, and a plug-in that isn't
installed costs its own nodes only. One source for the Python of every Maya, 2.6 up to 3.
"""
import os
import re
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__)))), 'common'))
import vandrel_report
from vandrel_report import to_text

# Node type -> attributes that name files. Types of plug-ins that aren't loaded have no nodes of that type.
FILE_ATTRIBUTES = {
    'psdFileTex': ['fileTextureName'], 'movie': ['fileTextureName'], 'substance': ['package'], 'audio': ['filename'],
    'imagePlane': ['imageName'], 'gpuCache': ['cacheFileName'], 'AlembicNode': ['abc_File', 'abc_layerFiles'],
    'mayaUsdProxyShape': ['filePath'], 'mentalrayTexture': ['fileTextureName'], 'mentalrayIblShape': ['texture'],
    'aiStandIn': ['dso'], 'aiImage': ['filename'], 'aiVolume': ['filename'], 'aiPhotometricLight': ['aiFilename'],
    'RedshiftNormalMap': ['tex0'], 'RedshiftSprite': ['tex0'], 'RedshiftDomeLight': ['tex0', 'tex1'],
    'RedshiftIESLight': ['profile'], 'RedshiftProxyMesh': ['fileName'], 'RedshiftVolumeShape': ['fileName'],
    'VRayMesh': ['fileName2', 'fileName'], 'VRayLightIESShape': ['iesFile'], 'VRayVolumeGrid': ['inPath'],
    'VRayPtex': ['ptexFile'], 'VRayScannedMtl': ['file'],
    'PxrTexture': ['filename'], 'PxrNormalMap': ['filename'], 'PxrDomeLight': ['lightColorMap'], 'RenderManArchive': ['filename'],
    'pgYetiMaya': ['cacheFileName', 'groomFileName'], 'OpenVDBRead': ['file'], 'BifrostLiquidContainer': ['cachePath'],
}
# The renderers' own caches, which the scene may also make anew: attribute, its mode, the modes that read it.
REDSHIFT_CACHES = ('irradiancePointCloudFilename', 'irradianceCacheFilename', 'photonFilename')
VRAY_CACHES = (('imap_fileName2', 'imap_mode', (2, 7)), ('lc_fileName', 'mode', (2,)), ('pmap_file2', 'pmap_mode', (1,)))
SEQUENCE_SWITCHES = {'file': 'useFrameExtension', 'imagePlane': 'useFrameExtension', 'aiStandIn': 'useFrameExtension',
                     'RedshiftProxyMesh': 'useFrameExtension'}
GPU_RENDERERS = {'redshift': True, 'octane': True, 'fstorm': True, 'arnold': False, 'mayasoftware': False, 'mentalray': False,
                 'renderman': False, 'vray': False, 'maxwell': False}
FORMATS = {0: 'gif', 1: 'pic', 2: 'rla', 3: 'tif', 4: 'tif', 5: 'sgi', 6: 'als', 7: 'iff', 8: 'jpg', 9: 'eps', 10: 'iff', 13: 'sgi',
           19: 'tga', 20: 'bmp', 22: 'mov', 23: 'avi', 31: 'psd', 32: 'png', 35: 'dds', 36: 'psd', 40: 'exr'}
PLUGIN_FORMATS = (50, 51)  # the format's own name stands in imfPluginKey


def get(cmds, plug, default=None):
    """An attribute's value, or the default where the node or attribute isn't there."""
    try:
        value = cmds.getAttr(plug)
    except Exception:
        return default
    return default if value is None else value


def nodes(cmds, node_type):
    try:
        return cmds.ls(type=node_type) or []
    except Exception:
        return []


def frames(cmds, report):
    """What Maya would render: it names a frame by its whole part, and so does the farm."""
    if not get(cmds, 'defaultRenderGlobals.animation', 1):
        return '%d' % (float(cmds.currentTime(query=True)) // 1)
    given = [get(cmds, 'defaultRenderGlobals.' + name, 1) for name in ('startFrame', 'endFrame', 'byFrameStep')]
    text, cut = vandrel_report.whole_frames(*given)
    if cut:
        report.warn(u'警告：帧序列含小数，已取整 %g-%g:%g' % tuple(given))
    return text


def renderer(cmds):
    return to_text(get(cmds, 'defaultRenderGlobals.currentRenderer', 'mayaSoftware') or 'mayaSoftware')


def image_format(cmds, name):
    lower = name.lower()
    if lower == 'vray':
        return to_text(get(cmds, 'vraySettings.imageFormatStr', 'png') or 'png').split(' ')[0]
    if lower == 'arnold':
        return to_text(get(cmds, 'defaultArnoldDriver.aiTranslator', 'exr') or 'exr')
    if lower == 'redshift':
        kinds = ['iff', 'exr', 'png', 'tga', 'jpg', 'tif']
        index = int(get(cmds, 'redshiftOptions.imageFormat', 1) or 0)
        return kinds[index] if index < len(kinds) else 'exr'
    index = int(get(cmds, 'defaultRenderGlobals.imageFormat', 7) or 0)
    if index in PLUGIN_FORMATS:
        return to_text(get(cmds, 'defaultRenderGlobals.imfPluginKey', '') or '')
    return FORMATS.get(index, '')


def size(cmds, name):
    if name.lower() == 'vray' and get(cmds, 'vraySettings.width'):
        return int(get(cmds, 'vraySettings.width')), int(get(cmds, 'vraySettings.height', 0))
    return int(get(cmds, 'defaultResolution.width', 0)), int(get(cmds, 'defaultResolution.height', 0))


def cameras(cmds):
    """Names of the cameras' transforms: those that render, and all."""
    on, every = [], []
    for shape in nodes(cmds, 'camera'):
        parents = cmds.listRelatives(shape, parent=True) or [shape]
        every.append(to_text(parents[0]))
        if get(cmds, shape + '.renderable', False):
            on.append(to_text(parents[0]))
    return on, every


def layers(cmds, report, name):
    """One entry per layer that renders. Looking at a layer's own settings means switching to it; the scene is never
    saved, and the layer that was current is current again afterwards."""
    # Layers of a reference carry its namespace and don't render by themselves.
    wanted = [one for one in nodes(cmds, 'renderLayer') if ':' not in one and get(cmds, one + '.renderable', False)]
    wanted = wanted or ['defaultRenderLayer']
    try:
        before = cmds.editRenderLayerGlobals(query=True, currentRenderLayer=True)
    except Exception:
        before = None
    found = []
    for layer in wanted:
        if layer != before and before is not None:
            try:
                cmds.editRenderLayerGlobals(currentRenderLayer=layer)
            except Exception:
                report.warn(u'警告：渲染层无法切换 %s' % to_text(layer))
        on, every = cameras(cmds)
        if every and not on:
            report.warn(u'警告：渲染层 %s 没有可渲染的相机，将渲染全部相机' % to_text(layer))
        width, height = size(cmds, name)
        # The first of these lists that isn't empty is rendered.
        found.append({'layer': to_text(layer), 'width': width, 'height': height, 'frames': frames(cmds, report),
                      'cameras_array': on, 'enableCameras': on, 'cameras': on, 'cameras_overide': every, 'selected': 1})
    if before is not None:
        try:
            cmds.editRenderLayerGlobals(currentRenderLayer=before)
        except Exception:
            pass
    return found


def tiled(cmds, node, path):
    """A file node in tile mode names its first tile; its pattern stands for them all."""
    mode = int(get(cmds, node + '.uvTilingMode', 0) or 0)
    if mode == 0:
        return path
    computed = get(cmds, node + '.computedFileTextureNamePattern', '')
    return to_text(computed) if computed else path


def textures(cmds, report):
    for node in nodes(cmds, 'file'):
        path = to_text(get(cmds, node + '.fileTextureName', '') or '')
        report.depend(tiled(cmds, node, path), sequence=bool(get(cmds, node + '.useFrameExtension', False)))
    for node_type in sorted(FILE_ATTRIBUTES):
        switch = SEQUENCE_SWITCHES.get(node_type)
        for node in nodes(cmds, node_type):
            sequence = bool(switch and get(cmds, node + '.' + switch, False))
            for attribute in FILE_ATTRIBUTES[node_type]:
                value = get(cmds, node + '.' + attribute, '')
                for one in value if isinstance(value, (list, tuple)) else [value]:
                    report.depend(one, sequence=sequence)


def without_copy(path):
    """a.ma{2} is the second reference to a.ma"""
    return re.sub(r'\{\d+\}$', '', to_text(path))


def references(cmds, report):
    """All of them, however deep: by the files that the scene and its references refer to, and by the reference nodes."""
    waiting, seen = [None], set()
    for node in nodes(cmds, 'reference'):
        try:
            waiting.append(cmds.referenceQuery(node, filename=True))
        except Exception:
            continue  # Maya's own nodes of that type have no file
    while waiting:
        path = waiting.pop(0)
        if path in seen:
            continue
        seen.add(path)
        if path:
            report.depend(without_copy(path))
        try:
            waiting += (cmds.file(path, query=True, reference=True) if path else cmds.file(query=True, reference=True)) or []
        except Exception:
            continue


def caches(cmds, report, with_cache):
    for node in nodes(cmds, 'cacheFile'):
        folder = to_text(get(cmds, node + '.cachePath', '') or '')
        name = to_text(get(cmds, node + '.cacheName', '') or '')
        if not name:
            continue
        folder = report.absolute(folder).rstrip('/')
        report.depend(folder + '/' + name + '.xml')
        for one in vandrel_report.listing(folder):
            if one.startswith(name) and one.lower().endswith(('.mc', '.mcx', '.mcc')):
                report.depend(folder + '/' + one)
    for node in nodes(cmds, 'xgmPalette'):
        report.depend(get(cmds, node + '.xgFileName', ''), optional=True)
    if with_cache:
        for node in nodes(cmds, 'RedshiftOptions'):
            for attribute in REDSHIFT_CACHES:
                report.depend(get(cmds, node + '.' + attribute, ''), sequence=True, optional=True)
    for attribute, mode, reading in VRAY_CACHES:
        needed = get(cmds, 'vraySettings.giOn', False) and get(cmds, 'vraySettings.' + mode, 0) in reading
        if needed or with_cache:
            report.depend(get(cmds, 'vraySettings.' + attribute, ''), sequence=True, optional=not needed)


def listed_paths(cmds, report):
    """What Maya's own file path editor lists beside: nodes of plug-ins that this script doesn't know by name."""
    try:
        folders = cmds.filePathEditor(query=True, listDirectories='') or []
    except Exception:
        return
    for folder in folders:
        try:
            rows = cmds.filePathEditor(query=True, listFiles=folder, withAttribute=True) or []
        except Exception:
            continue
        for index in range(0, len(rows) - 1, 2):
            node = to_text(rows[index + 1]).split('.')[0]
            try:
                known = cmds.nodeType(node)
            except Exception:
                known = ''
            if known not in FILE_ATTRIBUTES and known not in ('file', 'RedshiftOptions', 'VRaySettingsNode'):
                report.depend(to_text(folder).rstrip('/') + '/' + without_copy(rows[index]), optional=True)


def plugins(cmds, report):
    try:
        loaded = sorted(cmds.pluginInfo(query=True, listPlugins=True) or [])
    except Exception:
        loaded = []
    try:
        unknown = sorted(set(cmds.unknownPlugin(query=True, list=True) or []))
    except Exception:
        unknown = []
    for one in unknown:
        report.warn(u'警告：缺少插件 %s' % to_text(one))
    return [to_text(one) for one in loaded]


def analyse(cmds, report, cache):
    scene = to_text(cmds.file(query=True, sceneName=True) or '').replace('\\', '/')
    if not scene:
        raise RuntimeError('the scene could not be opened')
    project = to_text(cmds.workspace(query=True, rootDirectory=True) or '')
    report.roots = [root for root in (project, os.path.dirname(scene), os.path.join(project, 'sourceimages')) if root]
    name = renderer(cmds)
    entries = layers(cmds, report, name)
    report.parameters.update({
        'layers': entries, 'renderer': name, 'format': image_format(cmds, name),
        'filePrefix': to_text(get(cmds, 'defaultRenderGlobals.imageFilePrefix', '') or ''), 'plugins': plugins(cmds, report)})
    report.content.update({'sceneName': scene, 'missionName': os.path.basename(scene), 'softwareType': 1,
                           'mayaProject': project, 'outPut': ''})
    if not [one for one in entries if one['cameras_overide']]:
        report.errors.append(vandrel_report.NO_CAMERA)
    gpu = GPU_RENDERERS.get(name.lower())
    if name.lower() == 'vray' and int(get(cmds, 'vraySettings.productionEngine', 0) or 0) > 0:
        gpu = True
    if name.lower() == 'arnold' and int(get(cmds, 'defaultArnoldRenderOptions.renderDevice', 0) or 0) == 1:
        gpu = True
    report.machine(gpu)
    references(cmds, report)
    textures(cmds, report)
    caches(cmds, report, cache)
    listed_paths(cmds, report)


def runMain(kind=0, cache=0):
    """kind is 0 for the batch command; cache 1 takes the renderer's own cache files along."""
    import maya.cmds as cmds
    vandrel_report.answer(lambda report: analyse(cmds, report, int(cache)))
