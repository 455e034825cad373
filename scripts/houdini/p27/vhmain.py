# -*- coding: utf-8 -*-
"""Analysis of a Houdini scene: hython loads the scene, then runs this file. Reads and never writes or cooks more than
Houdini does by itself. One source for the Python of every Houdini, 2.7 up to 3."""
import os
import re
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__)))), 'common'))
import vandrel_report
from vandrel_report import to_text

# Output node type (without its version) -> renderer, whether it needs a GPU (None: either), parameter of the picture.
RENDERERS = {
    'ifd': ('mantra', False, 'vm_picture'), 'arnold': ('arnold', False, 'ar_picture'),
    'Redshift_ROP': ('redshift', True, 'RS_outputFileNamePrefix'), 'vray_renderer': ('vray', None, 'SettingsOutput_img_file_path'),
    'Octane_ROP': ('octane', True, 'HO_img_fileName'), 'ris': ('renderman', False, 'ri_display_0'),
    'rib': ('renderman', False, 'ri_display'), 'karma': ('karma', None, 'picture'), 'usdrender': ('karma', None, 'outputimage'),
    'usdrender_rop': ('karma', None, 'outputimage'), 'opengl': ('opengl', None, 'picture'),
}
STAGE_KINDS = ('karma', 'usdrender', 'usdrender_rop')
# Parameters of any node that name what the node writes, not what it needs.
OUTPUTS = re.compile(r'^(sopoutput|copoutput|dopoutput|lopoutput|chopoutput|vm_picture|vm_dcmfilename|vm_dsmfilename|vm_filename_plane\d*|'
                     r'vm_uvoutputpicture\d*|picture|soho_diskfile|savetodirectory_directory|outputimage|outputoverridesfile|'
                     r'ar_picture|ar_picture\d+|ar_aov_picture\d*|ar_ass_file|RS_outputFileNamePrefix|RS_aovCustomPrefix_\d+|'
                     r'RS_archive_file|HO_img_fileName|HO_img_fileNamePrefix|HO_img_fileNameDeep|SettingsOutput_img_file_path|'
                     r'SettingsOutput_img_dir|render_export_filepath|ri_display(_\d+)?|ri_displayname_\d+|rib_outputfile|ribfile|'
                     r'savefile|husk_log|alfile|checkpoint_file)$')
# $F4, ${F4} and their kin, each as a word of its own: $FOLDER and $TEXTURES are variables.
FRAME_TOKEN = re.compile(r'\$\{(?:FF|F|T|SF)(\d*)\}|\$(?:FF|F|T|SF)(\d*)(?![A-Za-z0-9_])')
EXPRESSION = re.compile(r'`[^`]*`')
IN_EXPRESSION = re.compile(r'\$\{?(?:FF|F|T|SF)\b|@(?:Frame|Time)\b', re.IGNORECASE)


def value(node, name, default=None):
    parm = node.parm(name)
    if parm is None:
        return default
    try:
        return parm.eval()
    except Exception:
        return default


def frames(node, hou, report):
    if value(node, 'trange', 0) in (0, 'off'):
        return u'%d' % (float(hou.frame()) // 1)
    given = [value(node, name, 1) for name in ('f1', 'f2', 'f3')]
    text, cut = vandrel_report.whole_frames(given[0], given[1], given[2] or 1)
    if cut:
        report.warn(u'警告：帧序列含小数，已取整 %s' % to_text(node.path()))
    return text


def camera_of(node, hou):
    for name in ('camera', 'RS_renderCamera', 'render_camera', 'HO_renderCamera', 'override_camera'):
        path = value(node, name, '')
        if path:
            return to_text(path), hou.node(path)
    return '', None


def scaled(size, fraction):
    try:
        return [int(one * float(fraction)) for one in size]
    except (TypeError, ValueError):
        return size


def stage_resolution(node, hou):
    """The size that the settings of a stage give: those that the node names, else the first that are there."""
    try:
        source = hou.node(value(node, 'loppath', '')) if value(node, 'loppath', '') else node
        stage = source.stage()
        named = value(node, 'rendersettings', '')
        prims = ([stage.GetPrimAtPath(named)] if named else []) + [one for one in stage.Traverse()
                                                                   if to_text(one.GetTypeName()) == 'RenderSettings']
        for prim in prims:
            size = prim.GetAttribute('resolution').Get() if prim else None
            if size:
                return [int(size[0]), int(size[1])]
    except Exception:
        pass
    return [0, 0]


def stage_size(node, hou):
    """Karma and the other outputs of a stage: their own size, or that of the stage, which they may override."""
    size = [value(node, 'resolutionx', 0), value(node, 'resolutiony', 0)]
    if not (size[0] and size[1]):
        size = stage_resolution(node, hou)
    override = value(node, 'override_res', '')
    if override in ('specific', 2):
        own = [value(node, 'res_user1', 0), value(node, 'res_user2', 0)]
        size = own if own[0] and own[1] else size
    elif override in ('scale', 1):
        size = scaled(size, float(value(node, 'res_scale', 100) or 100) / 100)
    return [int(one or 0) for one in size]


def resolution(node, camera, hou):
    if kind_of(node) in STAGE_KINDS:
        size = stage_size(node, hou)
        if size[0] and size[1]:
            return size
    size = [value(camera, 'resx', 0), value(camera, 'resy', 0)] if camera is not None else [0, 0]
    if value(node, 'override_camerares', 0) or value(node, 'RS_overrideCameraRes', 0) or value(node, 'HO_overrideCameraRes', 0):
        fraction = value(node, 'res_fraction', 'specific')
        if fraction == 'specific' or fraction is None:
            for index, names in enumerate((('res_overridex', 'RS_overrideRes1', 'HO_overrideRes1'),
                                           ('res_overridey', 'RS_overrideRes2', 'HO_overrideRes2'))):
                own = [value(node, name) for name in names if value(node, name)]
                size[index] = own[0] if own else size[index]
        else:
            size = scaled(size, fraction)
    return [int(one or 0) for one in size]


def kind_of(node):
    """The node's type without namespace and version: sidefx::karma::2.0 is karma."""
    pieces = [piece for piece in node.type().name().split('::') if not re.match(r'^[\d.]+$', piece)]
    return pieces[-1]


def output_nodes(hou):
    """What an artist can render: what lies inside a locked asset renders as a part of that asset."""
    root = hou.node('/')
    try:
        every = root.allSubChildren(recurse_in_locked_nodes=False)
    except TypeError:
        every = root.allSubChildren()
    for node in every:
        try:
            locked = hasattr(node, 'isInsideLockedHDA') and node.isInsideLockedHDA()
            if kind_of(node) in RENDERERS and not locked and not node.isBypassed():
                yield node, RENDERERS[kind_of(node)]
        except (AttributeError, hou.OperationFailed):
            continue


def pattern(text):
    """Frames as ####, so that they stand for all: $F4 and its kin, and an expression that asks for the frame. Everything
    else is expanded by Houdini."""
    text = EXPRESSION.sub(lambda found: u'#' if IN_EXPRESSION.search(found.group(0)) else found.group(0), text)
    return FRAME_TOKEN.sub(lambda found: u'#' * int(found.group(1) or found.group(2) or 1), text)


def expanded(hou, parm, text):
    """As the node sees it: expressions and local variables mean something there only."""
    before = None
    try:
        before = hou.pwd()
        hou.setPwd(parm.node())
    except Exception:
        pass
    try:
        return to_text(hou.expandString(text))
    except Exception:
        try:
            return to_text(parm.evalAsString())
        except Exception:
            return text
    finally:
        if before is not None:
            hou.setPwd(before)


def dependencies(hou, report):
    try:
        found = hou.fileReferences()
    except Exception:
        found = []
        report.warn(u'警告：无法读取场景引用的文件')
    scene = to_text(hou.hipFile.path()).replace('\\', '/')
    for parm, path in found:
        if not path:
            continue
        path = to_text(path)
        if parm is not None:
            if OUTPUTS.match(parm.name()):
                continue
            try:
                path = to_text(parm.unexpandedString())
            except Exception:
                pass
        path = expanded(hou, parm, pattern(path))
        if re.match(r'^(op|opdef|temp|oplib):', path) or path.replace('\\', '/') == scene:
            continue
        path = report.absolute(path)
        if path and not os.path.isdir(vandrel_report.on_disk(path)):
            # Houdini looks many names up in its own folders; only what names a place can be missing.
            report.depend(path, optional='/' not in path)


def work(report):
    import hou
    scene = to_text(hou.hipFile.path()).replace('\\', '/')
    report.roots = [os.path.dirname(scene)]
    rops, renderers, cameras = [], [], 0
    for node, (renderer, gpu, picture) in output_nodes(hou):
        path, camera = camera_of(node, hou)
        cameras += 1 if camera is not None else 0
        output = node.parm(picture)
        renderers.append((renderer, gpu))
        rops.append({'Rop': to_text(node.path()), 'reslution': resolution(node, camera, hou), 'frames': frames(node, hou, report), 'selected': 0,
                     'keyFrames': '', 'camera': path, 'renderer': renderer,
                     'output': to_text(output.unexpandedString()) if output is not None else ''})
    report.content.update({'sceneName': scene, 'missionName': os.path.basename(scene), 'softwareType': 4, 'Rops': rops, 'outPut': ''})
    if not rops:
        report.errors.append(u'错误：没有可用的渲染节点。')
    kinds = set(gpu for _, gpu in renderers)
    if kinds:
        report.machine(True if kinds == set([True]) else False if kinds == set([False]) else None)
    dependencies(hou, report)


def main():
    result = vandrel_report.answer(work)
    # Host plug-ins may hang while they are unloaded; the answer is written.
    sys.stdout.flush()
    if 'hou' in sys.modules and hasattr(sys.modules['hou'], 'exit'):
        sys.modules['hou'].exit(0, True)
    return result


if __name__ == '__main__':
    main()
