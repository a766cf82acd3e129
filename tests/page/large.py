"""Writes a session of SHOTS shots, each with SAMPLES samples before it, to standard output: large.py SHOTS SAMPLES."""
import json
import pathlib
import random
import sys


def write(shots, samples, file):
    aimed = pathlib.Path(__file__).with_name("aimed.jsonl").read_text().split("\n")[0]
    file.write(aimed + "\n")
    chance = random.Random(3)
    time = 0
    for shot in range(shots):
        x, y = chance.gauss(0, 28), chance.gauss(0, 28)
        for _ in range(samples):
            time += 20
            x, y = 0.97 * x + chance.gauss(0, 4), 0.97 * y + chance.gauss(0, 4)
            aim = {"PositionX": x, "PositionY": y, "received": time}
            file.write(json.dumps({**aim, "Tilt": int(chance.gauss(0, 15)), "Rotation": int(chance.gauss(0, 8))}) + "\n")
        file.write(json.dumps({**aim, "ShotNumber": shot % 256, "RingTargetNumber": 1, "aimingTime": 0.8}) + "\n")


if __name__ == "__main__":
    write(int(sys.argv[1]), int(sys.argv[2]), sys.stdout)
