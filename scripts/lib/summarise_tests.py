"""Adds up the GoogleTest reports of one run: summarise_tests.py FAILED_CHECKS BUILD_DIR...

A test program that ctest ran but that left no report has crashed or hung; it counts as one failure.
"""
import json
import pathlib
import sys


def programs_run(build_dir):
    log = build_dir / "Testing" / "Temporary" / "LastTest.log"
    for line in log.read_text(errors="replace").splitlines():
        if " Testing: " in line:
            yield line.split(" Testing: ", 1)[1].strip()


def count(report):
    passed = failed = 0
    for suite in report["testsuites"]:
        for case in suite["testsuite"]:
            if case["status"] != "RUN" or case.get("result") == "SKIPPED":
                continue
            if case.get("failures"):
                failed += 1
                print(f"FAILED {suite['name']}.{case['name']}")
            else:
                passed += 1
    return passed, failed


def main():
    passed, failed = 0, int(sys.argv[1])
    for build_dir in map(pathlib.Path, sys.argv[2:]):
        for program in programs_run(build_dir):
            report = build_dir / "test-results" / f"{program}.json"
            if not report.exists():
                print(f"FAILED {program} ({build_dir.name}): it ended without a report")
                failed += 1
                continue
            program_passed, program_failed = count(json.loads(report.read_text()))
            passed, failed = passed + program_passed, failed + program_failed
    print(f"{passed} passed, {failed} failed")
    return 1 if failed or not passed else 0


sys.exit(main())
