#!/usr/bin/python3
"""A client that shares no code with Quorvel: sign-in, extraction and a spoken session against quorvel-backend.

    independent_client.py PROGRAM
"""

import array
import asyncio
import json
import re
import subprocess
import sys
import tempfile
import urllib.error
import urllib.request
import wave
from pathlib import Path

import websockets

from running_backend import check, running_backend

QUESTION = "tell me about yourself and your background"
RESUME = """Jane Doe
Charge Nurse at Saint Mary Hospital, 2017 to 2023
- Introduced a handover checklist, reducing medication errors by 25%
"""


class NoRedirect(urllib.request.HTTPRedirectHandler):
    """The callback address is the application's; it is looked at, not followed."""

    def redirect_request(self, *_):
        return None


class Rest:
    def __init__(self, port):
        self.base = f"http://127.0.0.1:{port}/api/"
        self.opener = urllib.request.build_opener(NoRedirect)

    def send(self, path, body=None, content_type="application/json", token=None):
        """Status, headers and text of one request: GET without a body, else POST."""
        if isinstance(body, dict):
            body = json.dumps(body).encode()
        request = urllib.request.Request(path if path.startswith("http") else self.base + path, data=body)
        if body is not None:
            request.add_header("Content-Type", content_type)
        if token:
            request.add_header("Authorization", f"Bearer {token}")
        try:
            with self.opener.open(request, timeout=30) as response:
                return response.status, response.headers, response.read().decode()
        except urllib.error.HTTPError as refusal:
            return refusal.code, refusal.headers, refusal.read().decode()

    def json(self, *arguments, **named):
        status, _, text = self.send(*arguments, **named)
        check(status == 200, f"{arguments[0]} answered {status}: {text}")
        return json.loads(text)


def sign_in(rest):
    check(rest.json("health") == {"ok": True}, "health")
    check(rest.send("auth/me")[0] == 401, "a stranger is refused")
    code = rest.json("auth/otp/request", {"email": "Jane@Example.org"})["devCode"]
    wrong = f"{(int(code) + 1) % 1_000_000:06}"
    check(rest.send("auth/otp/verify", {"email": "jane@example.org", "code": wrong})[0] == 401, "a wrong code")
    session = rest.json("auth/otp/verify", {"email": "jane@example.org", "code": code})
    me = rest.json("auth/me", token=session["accessToken"])
    check(me == {"user": session["user"]} and me["user"]["email"] == "jane@example.org", "me")
    renewed = rest.json("auth/refresh", {"refreshToken": session["refreshToken"]})
    check(rest.send("auth/me", token=session["accessToken"])[0] == 401, "the exchanged token has ended")
    return renewed["accessToken"]


def sign_in_by_consent(rest):
    page = rest.json("auth/google/start", {})["url"]
    check(rest.send(page)[0] == 200, "the consent page")
    state = page.split("state=")[1]
    form = f"state={state}&email=jane%40example.org".encode()
    status, headers, _ = rest.send(page.split("?")[0], form, "application/x-www-form-urlencoded")
    callback = re.match(r"quorvel://auth\?accessToken=([^&]+)&refreshToken=([^&]+)", headers.get("Location", ""))
    check(status == 303 and callback, "the callback")
    check(rest.json("auth/me", token=callback[1])["user"]["email"] == "jane@example.org", "me after the consent")


def extract(rest, token):
    body = (
        '--b-1\r\nContent-Disposition: form-data; name="resume"; filename="cv.txt"\r\n'
        f"Content-Type: text/plain\r\n\r\n{RESUME}\r\n--b-1--\r\n"
    ).encode()
    profile = rest.json("profile/extract", body, "multipart/form-data; boundary=b-1", token)
    check("handover checklist" in profile["resumeSummary"], "the summary")
    check(profile["characterCount"] == len(RESUME.strip()), f"characters: {profile['characterCount']}")
    return profile


def spoken(directory):
    path = Path(directory, "question.wav")
    subprocess.run(["flite", "-voice", "slt", "-t", QUESTION, "-o", path], check=True)
    with wave.open(str(path)) as sound:
        check(sound.getparams()[:3] == (1, 2, 16_000), "the voice's format")
        samples = array.array("h", sound.readframes(sound.getnframes()))
    # Three samples of 24 kHz for every two of 16 kHz, then a second of silence.
    faster = array.array("h")
    for one, two in zip(samples[::2], samples[1::2]):
        faster.extend((one, (one + two) // 2, two))
    return faster.tobytes() + bytes(48_000)


async def session(port, token, profile, sound):
    address = f"ws://127.0.0.1:{port}/ws/realtime"
    try:
        async with websockets.connect(address + "?token=wrong"):
            check(False, "a wrong token is refused")
    except websockets.exceptions.InvalidStatusCode as refusal:
        check(refusal.status_code == 401, "a wrong token is refused")
    async with websockets.connect(f"{address}?token={token}") as socket:
        async def until(kind, seen):
            """The next message of a kind; those before it are noted."""
            while True:
                message = json.loads(await asyncio.wait_for(socket.recv(), 60))
                check(message["type"] != "error", message)
                seen.append(message)
                if message["type"] == kind:
                    return message

        seen = []
        context = {
            "userRole": "Candidate", "meetingGoal": "", "tone": "concise", "jobDescription": "A ward lead.",
            "resumeSummary": profile["resumeSummary"], "sessionMode": "HR", "keyterms": profile["keyterms"],
        }
        await socket.send(json.dumps({
            "type": "session.start", "context": context,
            "source": {"id": "window-1", "kind": "Window", "title": "Call", "applicationName": "Meet"},
            "audio": {"format": "pcm16", "sampleRate": 24000, "channels": 1},
        }))
        for at in range(0, len(sound), 960):
            await socket.send(sound[at:at + 960])
        suggestion = await until("suggestion.update", seen)
        kinds = [message["type"] for message in seen]
        states = [message["state"] for message in seen if message["type"] == "session.status"]
        check(states == ["idle", "starting", "running"], f"states: {states}")
        check("transcript.delta" in kinds[:kinds.index("transcript.final")], "a partial text comes before the final one")
        final = seen[kinds.index("transcript.final")]["text"]
        check("about yourself" in final.lower(), f"heard: {final}")
        check(suggestion["shouldRespond"] and suggestion["detectedIntent"] == "question", suggestion)
        check("handover checklist" in suggestion["suggestion"], suggestion)
        tick = await until("diagnostic.tick", seen)
        while tick["audioBytes"] != len(sound):
            tick = await until("diagnostic.tick", seen)
        check(tick["commits"] == 1 and tick["latencyMs"] >= 0, tick)
        await socket.send('{"type":"session.stop"}')
        check((await until("session.status", seen))["state"] == "stopped", "the session stops")
        print(f"heard: {final}\nsuggested: {suggestion['suggestion']}")


def main():
    with tempfile.TemporaryDirectory() as directory:
        sound = spoken(directory)
    with running_backend(sys.argv[1]) as port:
        rest = Rest(port)
        token = sign_in(rest)
        sign_in_by_consent(rest)
        asyncio.run(session(port, token, extract(rest, token), sound))


main()
