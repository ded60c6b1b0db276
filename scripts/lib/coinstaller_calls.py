"""Reads Wine's setupapi trace on standard input and tells each call of a coinstaller with its answer."""
import re
import sys

EVENTS = {
    0x02: "DIF_INSTALLDEVICE",
    0x05: "DIF_REMOVE",
    0x12: "DIF_PROPERTYCHANGE",
    0x1E: "DIF_NEWDEVICEWIZARD_FINISHINSTALL",
    0x20: "DIF_INSTALLINTERFACES",
    0x22: "DIF_REGISTER_COINSTALLERS",
    0x23: "DIF_ADDPROPERTYPAGE_ADVANCED",
    0x24: "DIF_ADDPROPERTYPAGE_BASIC",
}
DESTROY_PRIVATE_DATA = 0x0C
CALL = re.compile(r"^([0-9a-f]+):trace:setupapi:SetupDiCallClassInstaller function (0x[0-9a-f]+)")
BEGIN = re.compile(r"^([0-9a-f]+):trace:setupapi:call_coinstallers Calling co-installer")
ANSWER = re.compile(r"^([0-9a-f]+):trace:setupapi:call_coinstallers Co-installer \S+ returned (\S+)\.")


def calls(lines):
    """Calls nest: while it handles one device, a coinstaller may install another."""
    pending, running = {}, {}
    for line in lines:
        if match := CALL.match(line):
            pending[match[1]] = int(match[2], 16)
        elif match := BEGIN.match(line):
            running.setdefault(match[1], []).append(pending.get(match[1]))
        elif match := ANSWER.match(line):
            if running.get(match[1]):
                yield running[match[1]].pop(), int(match[2], 0)


def main():
    for event, answer in calls(sys.stdin.buffer.read().decode(errors="replace").splitlines()):
        if event != DESTROY_PRIVATE_DATA:
            print(f"   {EVENTS.get(event, event)}: answered {answer:#x}")


main()
