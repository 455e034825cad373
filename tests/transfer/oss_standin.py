#!/usr/bin/env python3
"""Stands in for the companion of object stores: writes down every message that it is given and answers by the file's name
(good, busy, expired, silent, dies, rubbish), each fault once. Words of a file "oss.told" beside it are kept over restarts."""
import json
import os
import socket
import sys
import threading

secret = os.environ['VANDREL_OSS_AUTH']
folder = os.path.dirname(os.path.abspath(sys.argv[0]))
told = os.path.join(folder, 'oss.told')


def before(word):
    """Whether that was said in an earlier life or message."""
    known = os.path.exists(told) and word in open(told).read().split('\n')
    with open(told, 'a') as out:
        out.write(word + '\n')
    return known


def frame(body):
    text = json.dumps(body)
    return ('%08d%s' % (len(text), text)).encode()


def upload(link, message):
    name, rule = os.path.basename(message['file']).split('.')[0], message['rule']
    finish = {'func': 'uploadFinish', 'rule': rule, 'code': 200}
    if not before(name):
        if name == 'dies':
            os._exit(3)
        if name in ('silent', 'paused'):
            return
        if name == 'rubbish':
            return link.sendall(b'not a number at all')
        if name in ('busy', 'expired'):
            finish['code'] = {'busy': 120007, 'expired': 120006}[name]
    answer = frame({'func': 'uploading', 'rule': 'foreign', 'upped': 1 << 40}) + frame(dict(finish, rule='foreign', code=10000))
    answer += frame({'func': 'uploading', 'rule': rule, 'upped': 1}) + frame(finish)
    for at in range(0, len(answer), 5):
        link.sendall(answer[at:at + 5])


def serve(link):
    data, decoder = '', json.JSONDecoder()
    while True:
        more = link.recv(65536).decode()
        if not more:
            return
        data += more
        while data:
            try:
                message, end = decoder.raw_decode(data)
            except ValueError:
                break
            with open(os.path.join(folder, 'oss.heard'), 'a') as out:
                out.write(json.dumps({'first': data.startswith('{"auth":"%s",' % secret), 'message': message}) + '\n')
            data = data[end:]
            if message['func'] == 'upload':
                upload(link, message)


server = socket.create_server(('127.0.0.1', 0))
port = str(server.getsockname()[1])
for piece in ('starting\r\nsock', 'et_port ', port, '\r\n', 'socket_port 1\n'):
    sys.stdout.write(piece)
    sys.stdout.flush()
threading.Thread(target=lambda: (sys.stdin.read(), os._exit(0)), daemon=True).start()
while True:
    one, _ = server.accept()
    threading.Thread(target=serve, args=(one,), daemon=True).start()
