# -*- coding: utf-8 -*-
"""The client on this machine, as the menus inside the 3D software speak to it: hands saved scenes over with their project.

One source for the Python of every host, 2.6 up to 3. Nothing here knows a host.
"""
import io
import json
import os

try:
    from http.client import HTTPConnection
except ImportError:
    from httplib import HTTPConnection

DEFAULT_PORT = 46160
WAIT = 15  # seconds
NOT_THERE = u'没有连接到客户端，请先启动并登录客户端 (The client does not answer. Start it and log in first.)'
HANDED_OVER = u'已交给客户端，请在客户端中继续 (Handed over. Go on in the client.)'
NEVER_SAVED = u'请先保存场景 (Save the scene first.)'
NOT_SAVED = u'场景保存失败 (The scene could not be saved.)'


def port(folder=None):
    """Of the client; its installer writes it beside this file."""
    try:
        with io.open(os.path.join(folder or os.path.dirname(os.path.abspath(__file__)), 'vandrel_port.txt')) as told:
            number = int(told.read(16))
    except (IOError, OSError, ValueError):
        return DEFAULT_PORT
    return number if 0 < number < 65536 else DEFAULT_PORT


def text(value):
    return value.decode('utf-8', 'replace') if isinstance(value, bytes) else value


def hand_over(scene, project, at=None):
    """What to tell the user: the scene is the client's from now on, or why it isn't."""
    body = json.dumps({'scenes': [text(scene).replace(u'\\', u'/')], 'mayaProject': text(project or u'').replace(u'\\', u'/')})
    connection = HTTPConnection('127.0.0.1', at or port(), timeout=WAIT)
    try:
        connection.request('POST', '/model/analysis', body.encode('ascii'), {'Content-Type': 'application/json'})
        answer = json.loads(connection.getresponse().read().decode('utf-8'))
    except Exception:
        return NOT_THERE
    finally:
        connection.close()
    if isinstance(answer, dict) and answer.get('result') == 1:
        return HANDED_OVER
    told = answer.get('msg') if isinstance(answer, dict) else None
    return told or NOT_THERE


def submit(host):
    """The menu's road in every host: host has path(), changed(), save(), project() and tell(text)."""
    if not host.path():
        return host.tell(NEVER_SAVED)
    if host.changed():
        try:
            saved = host.save()
        except Exception:
            saved = False
        if saved is False:
            return host.tell(NOT_SAVED)
    return host.tell(hand_over(host.path(), host.project()))
