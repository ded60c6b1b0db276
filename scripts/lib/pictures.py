"""The pictures of the documents: what makes them, what they show, and whether they are still true.

pictures.py plan [NAMES]    a line for each test program: PROGRAM/TEST:TEST; removes their old screenshots
pictures.py take [NAMES]    makes docs/pictures/NAME.png from the screenshots and records what they show
"""
import collections
import hashlib
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
FOLDER = ROOT / "docs/pictures"
SCREENSHOTS = ROOT / "build/screenshots"
RECORD = FOLDER / "made.txt"
TEXT = re.compile(r'"(?:[^"\\\n]|\\.)*"')
COLORS = 48

Picture = collections.namedtuple("Picture", "name test screenshot shows")


def lines_of(path):
    for line in path.read_text(encoding="utf-8").splitlines():
        if line and not line.startswith("#"):
            yield line.split()


def listed():
    return [Picture(*fields) for fields in lines_of(FOLDER / "list.txt")]


def chosen(names):
    pictures = [picture for picture in listed() if not names or picture.name in names]
    return pictures if pictures and len(pictures) >= len(names) else sys.exit(1)


# One template, from its name to the END that stands alone; blanks do not count.
def template(text, name):
    match = re.search(rf"^{name} .*?^END$", text, re.MULTILINE | re.DOTALL)
    if not match:
        raise ValueError(f"there is no {name}")
    return re.sub(r"\s+", " ", match.group())


def shown_by(source):
    path, _, name = source.partition(":")
    text = (ROOT / path).read_text(encoding="utf-8")
    if name:
        return template(text, name)
    code = "\n".join(line for line in text.splitlines() if not line.startswith("#include"))
    return "\n".join(TEXT.findall(code))


def digest(data):
    return hashlib.sha256(data).hexdigest()[:16]


def shows_digest(picture):
    return digest("\n".join(shown_by(source) for source in picture.shows.split(",")).encode())


def recorded():
    return {name: (shows, png) for name, shows, png in lines_of(RECORD)} if RECORD.exists() else {}


# What is wrong with the pictures, a line each.
def complaints():
    made, names = recorded(), set()
    for picture in listed():
        names.add(picture.name)
        path = FOLDER / f"{picture.name}.png"
        try:
            shows = shows_digest(picture)
        except (OSError, ValueError) as error:
            yield f"docs/pictures/list.txt: {picture.name} shows {picture.shows}: {error}"
            continue
        if not path.exists() or picture.name not in made:
            yield f"docs/pictures/{picture.name}.png has not been made: scripts/pictures {picture.name}"
        elif made[picture.name][0] != shows:
            yield f"docs/pictures/{picture.name}.png is older than what it shows: scripts/pictures {picture.name}"
        elif made[picture.name][1] != digest(path.read_bytes()):
            yield f"docs/pictures/{picture.name}.png is not the one that was made: scripts/pictures {picture.name}"
    for path in sorted(FOLDER.glob("*.png")):
        if path.stem not in names:
            yield f"docs/pictures/{path.name} is not in docs/pictures/list.txt"


def screenshot_of(picture):
    return SCREENSHOTS / f"{picture.screenshot.lstrip('+')}.png"


def plan(names):
    tests = collections.defaultdict(list)
    for picture in chosen(names):
        screenshot_of(picture).unlink(missing_ok=True)
        program, _, test = picture.test.partition("/")
        if test not in tests[program]:
            tests[program].append(test)
    for program, filters in tests.items():
        print(f"{program}/{':'.join(filters)}")


def take(names):
    made = recorded()
    for picture in chosen(names):
        screenshot = screenshot_of(picture)
        if not screenshot.exists():
            sys.exit(f"error: {picture.test} does not make {screenshot}; mend docs/pictures/list.txt")
        path = FOLDER / f"{picture.name}.png"
        trim = ["-fuzz", "3%", "-trim", "+repage"] if picture.screenshot.startswith("+") else []
        subprocess.run(["convert", screenshot, *trim, "+dither", "-colors", str(COLORS), "-strip",
                        "-define", "png:exclude-chunks=date,time", f"PNG8:{path}"], check=True)
        made[picture.name] = (shows_digest(picture), digest(path.read_bytes()))
        print(f"   docs/pictures/{path.name}, {path.stat().st_size} bytes")
    names = {picture.name for picture in listed()}
    RECORD.write_text("# Written by scripts/pictures: picture, digest of what it shows, digest of the picture.\n" +
                      "".join(f"{name} {' '.join(made[name])}\n" for name in sorted(made) if name in names))


if __name__ == "__main__":
    {"plan": plan, "take": take}[sys.argv[1]](sys.argv[2:])
