"""An interview on a desktop, with everything real: the backend, the application, and a media player that speaks questions in
a window titled like a meeting. The application is driven through its accessibility interface."""

import json
import os
import pathlib
import shutil
import signal
import socket
import subprocess
import sys
import time

from desktop_driver import Application, Atspi, NotThere, wait_for

QUESTIONS = [
    "Please tell me about yourself and your current role.",
    "Can you describe a difficult project that you worked on?",
    "What is your greatest strength as an engineer?",
]
TITLE = "Meet - Interview"
RESUME = """Ada Example, senior backend engineer.
Nine years of distributed systems in C++ and Python. Led the migration of a payment platform with forty services to
Kubernetes without downtime. Reduced the latency of an order pipeline by sixty percent with Kafka and PostgreSQL.
Mentored four engineers."""
JOB = "We look for an engineer who owns the reliability of our order pipeline and explains trade-offs clearly."
LEAD_SECONDS = 1
PAUSE_SECONDS = 4


class Interview:
    """The programs of one interview; everything they leave goes to one folder."""

    def __init__(self, programs, output):
        self.programs = programs
        self.output = output
        self.start = time.monotonic()
        self.timeline = []
        self.processes = {}
        self.question_ends = []  # seconds from the player's start
        self.player_start = 0.0
        self.application = Application("quorvel")

    def note(self, kind, text):
        seconds = round(time.monotonic() - self.start, 2)
        self.timeline.append({"seconds": seconds, "kind": kind, "text": text})
        print(f"{seconds:7.2f} s  {kind:<11} {text}", flush=True)

    def launch(self, name, arguments, **options):
        log = open(self.output / f"{name}.log", "wb")
        self.processes[name] = subprocess.Popen(arguments, stdout=log, stderr=subprocess.STDOUT, **options)
        return self.processes[name]

    def end(self, name, sent=signal.SIGTERM):
        process = self.processes.pop(name)
        process.send_signal(sent)
        return process.wait(timeout=10)

    def screenshot(self, name):
        subprocess.run(["import", "-window", "root", str(self.output / f"{name}.png")], check=True)

    def prepare_sound(self):
        """One recording of all questions, each followed by a pause for the answer; notes where each of them ends."""
        parts, length = [], 0.0
        for number, question in enumerate(QUESTIONS):
            spoken = self.output / "spoken.wav"
            part = self.output / f"question-{number + 1}.wav"
            subprocess.run(["flite", "-voice", "slt", "-t", question, "-o", str(spoken)], check=True)
            seconds = float(subprocess.run(["soxi", "-D", str(spoken)], check=True, capture_output=True, text=True).stdout)
            subprocess.run(["sox", str(spoken), "-r", "48000", "-c", "2", str(part), "pad", str(LEAD_SECONDS),
                            str(PAUSE_SECONDS)], check=True)
            self.question_ends.append(length + LEAD_SECONDS + seconds)
            length += LEAD_SECONDS + seconds + PAUSE_SECONDS
            parts.append(str(part))
        spoken.unlink()
        recording = self.output / "interview.wav"
        subprocess.run(["sox", *parts, str(recording)], check=True)
        return recording

    def set_up(self):
        """First start to dashboard."""
        app = self.application
        app.press("I Understand")
        self.note("consent", "given")
        app.enter("Email", "ada@mail.example")
        app.press("Send Gmail OTP")
        label = wait_for("the code", lambda: next((name for name in app.names(Atspi.Role.LABEL)
                                                   if name.startswith("Local dev code: ")), None))
        app.enter("6-digit code", label.rsplit(" ", 1)[1])
        app.press("Verify and Continue")
        app.wait("Upload Resume")
        self.note("sign-in", "by code")
        self.fill_in_setup()
        self.screenshot("dashboard-idle")

    def fill_in_setup(self):
        app = self.application
        app.press("Upload Resume")
        app.click("resume.txt")
        app.click("Open")
        app.wait("Replace Resume")
        self.note("resume", next(name for name in app.names(Atspi.Role.LABEL) if "distributed systems" in name))
        app.enter("Job Description", JOB)
        app.press("Continue")
        app.wait("Choose Source")
        self.note("setup", "complete")

    def listen(self):
        app = self.application
        app.press("Choose Source")
        app.press("Window", Atspi.Role.RADIO_BUTTON)
        app.wait(TITLE)
        self.screenshot("picker")
        app.press(TITLE, Atspi.Role.PUSH_BUTTON)
        app.wait("Session: Running")
        self.note("session", "running")

    def command_player(self, *command):
        with socket.socket(socket.AF_UNIX) as connection:
            connection.connect(str(self.output / "player.socket"))
            connection.sendall(json.dumps({"command": command}).encode() + b"\n")
            connection.recv(1024)

    def play(self):
        """Lets the player go on."""
        self.command_player("set_property", "pause", False)
        self.player_start = time.monotonic()
        self.note("player", "speaks")

    def turns(self):
        return [name for name in self.application.names(Atspi.Role.LIST_ITEM) if name.startswith("Final: ")]

    def suggestions(self):
        return [name for name in self.application.names(Atspi.Role.LIST_ITEM)
                if not name.startswith(("Final: ", "Partial: ", "Mock: "))]

    def follow(self, seconds):
        """Notes what appears until every question has a turn and a suggestion: texts and the seconds until then."""
        seen_turns, seen_suggestions = [], []
        deadline = time.monotonic() + seconds
        while len(seen_turns) < len(QUESTIONS) or len(seen_suggestions) < len(QUESTIONS):
            if time.monotonic() > deadline:
                raise NotThere(f"{len(seen_turns)} turns and {len(seen_suggestions)} suggestions of {len(QUESTIONS)}")
            played = time.monotonic() - self.player_start
            for turn in self.turns()[len(seen_turns):]:
                seen_turns.append((turn.removeprefix("Final: "), played))
                self.note("transcript", seen_turns[-1][0])
            known = [text for text, _ in seen_suggestions]
            for suggestion in reversed([text for text in self.suggestions() if text not in known]):
                seen_suggestions.append((suggestion, played))
                self.note("suggestion", suggestion)
                self.screenshot(f"answer-{len(seen_suggestions)}")
            time.sleep(0.05)
        return seen_turns, seen_suggestions

    def start_backend(self):
        self.launch("backend", [str(self.programs / "quorvel-backend"), "--state-dir", str(self.output / "state")])
        wait_for("the backend", lambda: "Listening" in (self.output / "backend.log").read_text())

    def start_player(self):
        self.launch("player", ["mpv", "--no-config", "--ao=pipewire", "--vo=x11", "--force-window=yes", "--no-terminal",
                               "--keep-open=yes", "--pause", f"--title={TITLE}", "--geometry=480x270+40+600",
                               f"--input-ipc-server={self.output}/player.socket", str(self.output / "interview.wav")])
        # The window manager gives the keyboard to the newest window, which is to be the application's.
        subprocess.run(["xdotool", "search", "--sync", "--name", f"^{TITLE}$"], check=True, stdout=subprocess.DEVNULL,
                       timeout=20)

    def start_application(self):
        documents = self.output / "documents"
        documents.mkdir(exist_ok=True)
        (documents / "resume.txt").write_text(RESUME)
        environment = dict(os.environ, QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1")
        self.launch("quorvel", [str(self.programs / "quorvel")], cwd=documents, env=environment)

    def start_everything(self):
        self.prepare_sound()
        self.start_backend()
        self.start_player()
        self.start_application()

    def stop_listening(self):
        self.application.press("Stop")
        self.application.wait("Session: Idle")
        self.note("session", "stopped")

    def close(self):
        (self.output / "timeline.json").write_text(json.dumps(self.timeline, indent=1))
        for process in self.processes.values():
            process.kill()
            process.wait()


def wrong_words(spoken, heard):
    """The least number of words to insert, delete or replace."""
    spoken = "".join(character for character in spoken.lower() if character.isalnum() or character == " ").split()
    heard = heard.lower().split()
    row = list(range(len(heard) + 1))
    for line, word in enumerate(spoken, 1):
        previous, row[0] = row[0], line
        for column, other in enumerate(heard, 1):
            previous, row[column] = row[column], min(row[column] + 1, row[column - 1] + 1, previous + (word != other))
    return row[-1], len(spoken)


def hold(usage, course):
    """The main function of a script: holds one interview with its two arguments, and exits with 1 when `course` fails."""
    if len(sys.argv) != 3:
        sys.exit(usage)
    output = pathlib.Path(sys.argv[2]).resolve()
    shutil.rmtree(output, ignore_errors=True)
    output.mkdir(parents=True)
    interview = Interview(pathlib.Path(sys.argv[1]).resolve(), output)
    try:
        course(interview)
    except (NotThere, subprocess.SubprocessError) as error:
        interview.screenshot("failed")
        print(f"Not as expected: {error}.\nOn the screen:\n{interview.application.description()}", file=sys.stderr)
        sys.exit(1)
    finally:
        interview.close()
