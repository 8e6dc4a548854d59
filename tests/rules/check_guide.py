"""check_guide.py FOLDER: each text that the program can show stands in docs/operator.md, to the blank,
and each text that stands in its tables is one that the program can show."""

import glob
import json
import re
import sys

ROOT = sys.argv[1]
# The literals of app/ that are neither on the OLED nor on the console.
SILENT = {
    "/dev/ttyUSB": "a device", "hw:0,0": "a device", "hw:0,1": "a device", "default": "a device",
    "eth0": "a link", "usb0": "a link", "PT-Main": "a thread",
    "nomicboost%P run%P nokeypad%P noanalog%P": "the keywords",
    "Parallel port: ": "a log to nowhere", "Ethernet     : ": "a log to nowhere",
    "Frontpanel   : ": "a log to nowhere", "USB          : ": "a log to nowhere",
    "Audio        : ": "a log to nowhere", "AES/EBU      : ": "a log to nowhere",
    "---------------------------------": "a log to nowhere",
    "unit destroyed at work": "a fault of the program", "unit": "a fault of the program",
    "no K4owned": "a fault of the program",
    "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz": "goes over the serial cable",
}
# What stands in the tables and is of other rooms.
OTHERS = {"/dev/ttyUSB", "snd_pcm_prepare()", "KELlib-Error", "terminate called", ": No such device", "Jan"}
# Keys by their sign, lines, numbers: what stands between the words of a text.
VALUES = re.compile(r"[0-9*#LRKEACDMhH+\-. ()]*")

failures = []


def literals():
    for path in glob.glob(f"{ROOT}/app/*.cpp") + glob.glob(f"{ROOT}/app/*.h"):
        with open(path, encoding="utf-8") as file:
            code = re.sub(r"^#include.*|//.*", "", file.read(), flags=re.M)
        for text in re.findall(r'(?<!\')"((?:\\.|[^"\\\n])*)"', code):
            yield re.sub(r"\\[rn]", "", text)


def spans(markdown):
    return re.findall(r"`([^`]+)`", markdown)


def shape(text):
    return re.sub(r" *-?\d+(\.\d+)?", " #", re.sub(r" +(OK|BAD)\b", " OK", text)).strip()


with open(f"{ROOT}/docs/operator.md", encoding="utf-8") as guide_file:
    guide = guide_file.read()
shown = {text for text in literals() if text} - SILENT.keys()
stated = spans(guide)
whole = "\n".join(stated + re.findall(r"^\| !\[.*?\| (.*?) \|", guide, flags=re.M))
failures += [f'not in the guide: "{text}"' for text in sorted(shown) if text not in whole]
failures += [f'no text of app/ any more: "{text}"' for text in SILENT.keys() - set(literals())]

sections = re.findall(r"^## (?:What the rows read|What the console tells)\n(.*?)(?=^## )", guide,
                      flags=re.M | re.S)
tables = [span for section in sections for line in section.splitlines() if line.startswith("| `")
          for span in spans(line.split(" | ")[0])]
for span in tables:
    rest = span
    for text in sorted(shown | OTHERS, key=len, reverse=True):
        rest = rest.replace(text, "") if len(text) > 1 else rest
    if not VALUES.fullmatch(rest):
        failures.append(f'no text of the program: "{span}"')

shapes = {shape(span) for span in stated}
lines = set()
for path in glob.glob(f"{ROOT}/tests/system/golden/*.txt"):
    with open(path, encoding="utf-8") as file:
        lines |= {shape(json.loads(line)["text"].strip("\r\n")) for line in file
                  if line.startswith('{"t":') and '"source":"console"' in line}
lines = {line for line in lines if "BUILD-DATE" not in line}
failures += [f'a run tells it, not the guide: "{line}"' for line in lines if line not in shapes]

if min(len(shown), len(tables), len(lines)) < 20:
    failures.append(f"read {len(shown)} texts, {len(tables)} of the guide, {len(lines)} lines only")
print(*failures, sep="\n")
sys.exit(len(failures) > 0)
