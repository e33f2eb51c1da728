#!/usr/bin/env python3
"""Kills Halcy with SIGKILL at random moments while other processes copy texts and images and the hub
pins and deletes entries, then checks after every kill that the history file opens, passes SQLite's
integrity check and holds every copy Halcy had recorded, with its pin and without the deleted ones: only
the copy in flight may be missing. Prints the counts; exits non-zero when any check failed.

Run it inside the headless desktop (it needs xclip and xdotool):
    scripts/desktop-session.sh scripts/crash-safety.py [--kills 200] [--binary build/dev/src/halcy]
"""

import argparse
import os
import random
import signal
import sqlite3
import struct
import subprocess
import sys
import tempfile
import threading
import time
import zlib


def png(width, height, rng, tag):
    """A noise picture, so that it does not compress, with a tag that makes every copy distinct."""
    def chunk(kind, body):
        return struct.pack(">I", len(body)) + kind + body + struct.pack(">I", zlib.crc32(kind + body))
    rows = b"".join(b"\0" + rng.randbytes(width * 3) for _ in range(height))
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0))
            + chunk(b"tEXt", b"Comment\0" + tag.encode()) + chunk(b"IDAT", zlib.compress(rows, 1))
            + chunk(b"IEND", b""))


def wait_until(condition, seconds, alive=lambda: True):
    """True once condition() holds; False at the deadline or as soon as alive() fails."""
    deadline = time.monotonic() + seconds
    while time.monotonic() < deadline:
        if condition():
            return True
        if not alive():
            return condition()
        time.sleep(0.02)
    return False


class History:
    def __init__(self, path):
        self.path = path

    def query(self, sql, *args):
        if not os.path.exists(self.path):
            return []
        connection = sqlite3.connect(self.path, timeout=5)
        try:
            return connection.execute(sql, args).fetchall()
        except sqlite3.OperationalError:
            return []  # the schema is not there yet
        finally:
            connection.close()

    def text(self, token):
        """None when absent, else whether the entry is pinned."""
        rows = self.query("SELECT isPinned FROM ClipboardRecord WHERE textContent = ?", token)
        return bool(rows[0][0]) if rows else None

    def first_row(self):
        """The text entry the hub selects when it opens: the newest pinned one, else the newest."""
        rows = self.query("SELECT textContent, isPinned FROM ClipboardRecord "
                          "ORDER BY isPinned DESC, timestamp DESC, rowid DESC LIMIT 1")
        return (rows[0][0], bool(rows[0][1])) if rows else (None, False)

    def has_image(self, tag):
        return bool(self.query("SELECT 1 FROM ClipboardRecord WHERE typeRawValue = 'image' "
                               "AND instr(imageData, ?) > 0", tag.encode()))

    def integrity(self):
        connection = sqlite3.connect(self.path, timeout=5)
        try:
            return connection.execute("PRAGMA integrity_check").fetchone()[0]
        finally:
            connection.close()


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--kills", type=int, default=200)
    parser.add_argument("--binary", default="build/dev/src/halcy")
    parser.add_argument("--seed", type=int, default=int(time.time()))
    options = parser.parse_args()
    rng = random.Random(options.seed)
    work = tempfile.mkdtemp(prefix="halcy-crash-")
    for sub in ("config/Halcy", "data", "runtime"):
        os.makedirs(os.path.join(work, sub), mode=0o700, exist_ok=True)
    with open(os.path.join(work, "config/Halcy/settings.json"), "w") as f:
        f.write('{"Halcy.hasCompletedOnboarding": true}\n')
    env = dict(os.environ, XDG_CONFIG_HOME=work + "/config", XDG_DATA_HOME=work + "/data",
               XDG_RUNTIME_DIR=work + "/runtime", QT_LOGGING_RULES="halcy.*.info=true")
    env.pop("QT_QPA_PLATFORM", None)
    history = History(work + "/data/Halcy/history.sqlite")
    owners = []  # xclip processes that may still own the clipboard
    counts = dict(kills=0, killed_at_start=0, store_not_opened=0, integrity_failures=0, texts=0, images=0,
                  pins=0, deletes=0, in_flight_lost=0, in_flight_kept=0, recorded_lost=0, pin_lost=0,
                  deleted_back=0, not_recorded_while_running=0)
    print(f"seed {options.seed}, work directory {work}", flush=True)

    def copy(data, target):
        owner = subprocess.Popen(["xclip", "-quiet", "-selection", "clipboard", "-t", target],
                                 stdin=subprocess.PIPE, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        owner.stdin.write(data)
        owner.stdin.close()
        owners.append(owner)
        for old in owners[:-1]:
            if old.poll() is not None:
                owners.remove(old)

    def hub_keys(*keys):
        subprocess.run(["xdotool", "key", "super+shift+v"], env=env, check=False)
        shown = wait_until(lambda: subprocess.run(["xdotool", "search", "--onlyvisible", "--name", "^Halcy$"],
                                                  stdout=subprocess.DEVNULL).returncode == 0, 5)
        if shown:
            subprocess.run(["xdotool", "key", "--delay", "40", *keys, "Escape"], check=False)
        return shown

    for run in range(options.kills):
        # Each run's pins and deletes act on its own copies: the pins of earlier runs would stay first.
        if os.path.exists(history.path):
            connection = sqlite3.connect(history.path, timeout=5)
            with connection:
                connection.execute("UPDATE ClipboardRecord SET isPinned = 0")
            connection.close()
        log = open(os.path.join(work, "halcy.log"), "w")
        halcy = subprocess.Popen([options.binary], env=env, stdout=log, stderr=subprocess.STDOUT)
        alive = lambda: halcy.poll() is None
        # One kill in ten lands during start-up: opening, migrating, the first checkpoint.
        if run % 10 == 9:
            time.sleep(rng.uniform(0, 1.5))
            halcy.send_signal(signal.SIGKILL)
            halcy.wait()
            counts["killed_at_start"] += 1
        else:
            probe = f"probe {run}"
            started = wait_until(lambda: " started" in open(log.name, errors="replace").read(), 60, alive)
            if started:
                copy(probe.encode(), "UTF8_STRING")
            if not started or not wait_until(lambda: history.text(probe) is not None, 20, alive):
                counts["store_not_opened"] += 1
                print(f"run {run}: the store did not open; log in {log.name}", flush=True)
                halcy.kill()
                halcy.wait()
                break
            killer = threading.Timer(rng.uniform(0.05, 3.0), halcy.send_signal, (signal.SIGKILL,))
            killer.start()
            kept, pinned, deleted = [], [], []  # recorded before the kill
            in_flight = None
            n = 0
            while alive():
                n += 1
                if rng.random() < 0.2:
                    tag = f"picture {run} {n}"
                    big = rng.random() < 0.2
                    copy(png(900 if big else 48, 900 if big else 48, rng, tag), "image/png")
                    in_flight = ("image", tag)
                    recorded = lambda: history.has_image(tag)
                    counts["images"] += 1
                else:
                    token = f"crash {run} {n} " + "x" * rng.randrange(0, 4000)
                    copy(token.encode(), "UTF8_STRING")
                    in_flight = ("text", token)
                    recorded = lambda: history.text(token) is not None
                    counts["texts"] += 1
                # A kill while this copy is on its way is the case the check allows to lose it.
                if not wait_until(recorded, 5, alive):
                    if alive():
                        counts["not_recorded_while_running"] += 1
                    continue
                kind, value = in_flight
                in_flight = None
                if kind != "text":
                    continue
                kept.append(value)
                # The hub opens on its first row: the newest pinned entry, else this one. Until a change
                # shows in the file, a kill leaves it open whether it happened.
                target, was_pinned = history.first_row()
                if target not in kept:
                    pass
                elif rng.random() < 0.15 and hub_keys("ctrl+p"):
                    if was_pinned:
                        pinned.remove(target)
                    if wait_until(lambda: history.text(target) is (not was_pinned), 3, alive):
                        if not was_pinned:
                            pinned.append(target)
                            counts["pins"] += 1
                    elif was_pinned and alive():
                        pinned.append(target)
                elif rng.random() < 0.15 and hub_keys("Delete"):
                    kept.remove(target)
                    if wait_until(lambda: history.text(target) is None, 3, alive):
                        deleted.append(target)
                        counts["deletes"] += 1
                        if target in pinned:
                            pinned.remove(target)
                    elif alive():
                        kept.append(target)
                time.sleep(rng.uniform(0, 0.1))
            killer.cancel()
            halcy.wait()
            for token in kept:
                state = history.text(token)
                if state is None:
                    counts["recorded_lost"] += 1
                    print(f"run {run}: recorded copy lost: {token[:20]}", flush=True)
                elif token in pinned and not state:
                    counts["pin_lost"] += 1
            counts["deleted_back"] += sum(history.text(token) is not None for token in deleted)
            if in_flight:
                kind, value = in_flight
                there = history.has_image(value) if kind == "image" else history.text(value) is not None
                counts["in_flight_kept" if there else "in_flight_lost"] += 1
        counts["kills"] += 1
        halcy.wait()
        result = history.integrity() if os.path.exists(history.path) else "ok"
        if result != "ok":
            counts["integrity_failures"] += 1
            print(f"run {run}: integrity_check: {result}", flush=True)
        log.close()
        if (run + 1) % 20 == 0:
            print(f"after {run + 1} kills: {counts}", flush=True)

    for owner in owners:
        if owner.poll() is None:
            owner.kill()
            owner.wait()
    print("counts:", counts, flush=True)
    failed = counts["store_not_opened"] or counts["integrity_failures"] or counts["recorded_lost"] or \
        counts["pin_lost"] or counts["deleted_back"]
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
