"""What the scripts that run the program under stress share."""

import pathlib
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
LIBRARY = "Tests/Host/libfail_calls.so"


PROGRAM = "Host/CommandLine/prismdrift"


def build_folder(given, files=(PROGRAM, "Tests/Host/libfake_effect.so", LIBRARY)):
    """The build to use: the given one, which has to have these files, or the release build, brought
    up to date."""
    if given:
        folder = given.resolve()
        for file in files:
            if not (folder / file).is_file():
                sys.exit(f"{sys.argv[0]}: the build '{folder}' has no {file}")
        return folder
    folder = ROOT / "build/release"
    for command in (["cmake", "--preset", "release", "-DPRISMDRIFT_BUILD_TESTS=ON"],
                    ["cmake", "--build", folder, "--target", "prismdrift", "PrismDrift",
                     "fake_effect", "fail_calls"]):
        subprocess.run(command, cwd=ROOT, check=True, stdout=subprocess.DEVNULL)
    return folder


def contents(folder):
    return {file.name: file.read_bytes() for file in folder.iterdir()}
