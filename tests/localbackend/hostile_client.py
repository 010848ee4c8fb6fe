#!/usr/bin/python3
"""Malformed requests, uploads and frames against quorvel-backend, which must live on and answer each request in time.

    hostile_client.py PROGRAM SECONDS [SEED]

Says most about a program built with sanitizers.
"""

import io
import random
import socket
import sys
import time
import zipfile

from running_backend import check, running_backend

# No request may keep the program busy for longer.
DEADLINE = 5
PDF = b"""%PDF-1.4
1 0 obj<</Type/Catalog/Pages 2 0 R>>endobj
2 0 obj<</Type/Pages/Kids[3 0 R]/Count 1>>endobj
3 0 obj<</Type/Page/Parent 2 0 R/MediaBox[0 0 612 792]/Contents 4 0 R/Resources<</Font<</F1 5 0 R>>>>>>endobj
4 0 obj<</Length 47>>stream
BT /F1 12 Tf 72 720 Td (Led the migration) Tj ET
endstream endobj
5 0 obj<</Type/Font/Subtype/Type1/BaseFont/Helvetica>>endobj
trailer<</Root 1 0 R>>
%%EOF
"""
XML = b'<!DOCTYPE a [<!ENTITY b "c">]><w:document xmlns:w="w"><w:p><w:r><w:t>Led &amp; won &b;</w:t></w:r></w:p></w:document>'
START = (
    b'{"type":"session.start","context":{"userRole":"C","meetingGoal":"","tone":"c","resumeSummary":"R.","jobDescription":'
    b'"J.","sessionMode":"HR","keyterms":["a"]},"source":{"id":"w","kind":"Window","title":"t","applicationName":"a"},'
    b'"audio":{"format":"pcm16","sampleRate":24000,"channels":1}}'
)
STOP = b'{"type":"session.stop"}'
PATHS = ["auth/otp/request", "auth/otp/verify", "auth/refresh", "auth/google/consent", "auth/me", "health", "nothing"]
BODIES = [b'{"email":"a@b"}', b'{"email":"a@b","code":"123456"}', b'{"refreshToken":"x"}', b"state=a&email=b%40c"]


def mutated(data, most):
    """The bytes with up to so many of them changed, dropped, added or doubled."""
    data = bytearray(data)
    for _ in range(random.randint(0, most)):
        at = random.randrange(len(data) + 1)
        kind = random.randrange(4)
        if kind == 0:
            data[at:at + 1] = random.randbytes(1)
        elif kind == 1:
            del data[at:at + random.randint(1, 20)]
        elif kind == 2:
            data[at:at] = random.randbytes(random.randint(1, 8))
        else:
            data[at:at] = data[at:at + random.randint(1, 60)]
    return bytes(data)


def http_request():
    body = random.choice(BODIES)
    head = f"{random.choice(['GET', 'POST', 'PUT'])} /api/{random.choice(PATHS)} HTTP/1.1\r\nHost: a\r\n"
    head += f"Content-Type: application/json\r\nContent-Length: {len(body)}\r\n\r\n"
    return mutated(head.encode() + body, 5)


def upload():
    docx = io.BytesIO()
    with zipfile.ZipFile(docx, "w", random.choice([zipfile.ZIP_STORED, zipfile.ZIP_DEFLATED])) as archive:
        archive.writestr("word/document.xml", mutated(XML, 6))
    name, content = random.choice([("a.docx", docx.getvalue()), ("a.pdf", PDF), ("a.txt", b"Jane Doe\nNurse\xff\xfe")])
    body = f'--B\r\nContent-Disposition: form-data; name="resume"; filename="{name}"\r\n'.encode()
    body += b"Content-Type: application/octet-stream\r\n\r\n" + mutated(content, 4) + b"\r\n--B--\r\n"
    body = mutated(body, random.choice([0, 0, 3]))
    head = "POST /api/profile/extract HTTP/1.1\r\nHost: a\r\nContent-Type: multipart/form-data; boundary=B\r\n"
    return f"{head}Connection: close\r\nContent-Length: {len(body)}\r\n\r\n".encode() + body


def frame(opcode, payload):
    size = len(payload)
    length = bytes([0x80 | size]) if size < 126 else b"\xfe" + size.to_bytes(2, "big")
    return bytes([0x80 | opcode]) + length + bytes(4) + payload


def frames():
    data = frame(1, mutated(START, random.choice([0, 0, 3]))) if random.random() < 0.8 else b""
    for _ in range(random.randint(1, 6)):
        sound = frame(2, random.randbytes(random.randint(0, 2000)))
        text = frame(1, random.choice([STOP, mutated(START, 3)]))
        data += random.choice([sound, text, frame(9, b"x"), frame(8, b"\x03\xe8")])
    return mutated(data, random.choice([0, 2, 6]))


def converse(port):
    with socket.create_connection(("127.0.0.1", port), timeout=DEADLINE) as peer:
        kind = random.choice([http_request, upload, frames])
        if kind is frames:
            head = "GET /ws/realtime HTTP/1.1\r\nHost: a\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
            peer.sendall(f"{head}Sec-WebSocket-Version: 13\r\nSec-WebSocket-Key: {'A' * 22}==\r\n\r\n".encode())
            check(peer.recv(4096).startswith(b"HTTP/1.1 101"), "the handshake")
        try:
            peer.sendall(kind())
            peer.shutdown(socket.SHUT_WR)
            while peer.recv(65536):
                pass
        except ConnectionError:
            pass  # the program may end a connection at any time, but not leave it open


def main():
    seed = int(sys.argv[3]) if len(sys.argv) > 3 else random.randrange(1_000_000)
    print(f"seed {seed}")
    random.seed(seed)
    count = 0
    with running_backend(sys.argv[1], "--disable-auth") as port:
        end = time.monotonic() + float(sys.argv[2])
        while time.monotonic() < end:
            converse(port)
            count += 1
    print(f"{count} conversations")


main()
