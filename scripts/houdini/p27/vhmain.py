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
# Parameters of any node that name what the node writes, not what it needs.
OUTPUTS = re.compile(r'^(sopoutput|vm_picture|vm_dcmfilename|vm_filename_plane\d*|picture|copoutput|dopoutput|ar_picture|lopoutput|'
                     r'RS_outputFileNamePrefix|savetodirectory_directory|soho_diskfile|outputimage|outputoverridesfile)$')
FRAME_TOKEN = re.compile(r'\$\{?(?:FF|F|T|SF)(\d?)\}?')


def value(node, name, default=None):
    parm = node.parm(name)
    if parm is None:
        return default
    try:
        return parm.eval()
    except Exception:
        return default


def whole(number):
    number = float(number)
    return '%d' % number if number == int(number) else '%g' % number


def frames(node, hou):
    if value(node, 'trange', 0) in (0, 'off'):
        return whole(hou.frame())
    parts = [value(node, name, 1) for name in ('f1', 'f2', 'f3')]
    return '%s-%s:%s' % tuple(whole(part or 1 if index == 2 else part) for index, part in enumerate(parts))


def camera_of(node, hou):
    for name in ('camera', 'RS_renderCamera', 'render_camera', 'HO_renderCamera', 'override_camera'):
        path = value(node, name, '')
        if path:
            return to_text(path), hou.node(path)
    return '', None


def resolution(node, camera):
    width, height = (value(camera, 'resx', 0), value(camera, 'resy', 0)) if camera is not None else (0, 0)
    if value(node, 'override_camerares', 0) or value(node, 'RS_overrideCameraRes', 0):
        fraction = value(node, 'res_fraction', 'specific')
        if fraction == 'specific' or fraction is None:
            width = value(node, 'res_overridex', value(node, 'RS_overrideRes1', width))
            height = value(node, 'res_overridey', value(node, 'RS_overrideRes2', height))
        else:
            try:
                width, height = int(width * float(fraction)), int(height * float(fraction))
            except (TypeError, ValueError):
                pass
    return [int(width or 0), int(height or 0)]


def kind_of(node):
    """The node's type without namespace and version: sidefx::karma::2.0 is karma."""
    pieces = [piece for piece in node.type().name().split('::') if not re.match(r'^[\d.]+$', piece)]
    return pieces[-1]


def output_nodes(hou):
    for node in hou.node('/').allSubChildren():
        try:
            if kind_of(node) in RENDERERS and not node.isBypassed():
                yield node, RENDERERS[kind_of(node)]
        except (AttributeError, hou.OperationFailed):
            continue


def pattern(text):
    """$F4 and its kin as ####, so that it stands for all frames; everything else is expanded by Houdini."""
    return FRAME_TOKEN.sub(lambda found: '#' * int(found.group(1) or 1), text)


def dependencies(hou, report):
    try:
        found = hou.fileReferences()
    except Exception:
        found = []
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
        path = to_text(hou.expandString(pattern(path)))
        if re.match(r'^(op|opdef|temp|oplib):', path) or path.replace('\\', '/') == scene:
            continue
        path = report.absolute(path)
        if path and not os.path.isdir(path):
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
        rops.append({'Rop': to_text(node.path()), 'reslution': resolution(node, camera), 'frames': frames(node, hou), 'selected': 0,
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
