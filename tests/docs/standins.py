"""Stands in for the commands of the pages that take minutes and run elsewhere in ./test.

    standins.py COMMAND [ARGUMENT...]

checks what can be checked at once, leaves the engine under test where the command would have left
a build, and says how it was checked in the file that the variable MORVANE_STANDIN_LOG names.  Ends
with status 1 if the command would fail.  The scratch folder (sandbox.py) puts it into the places of
these commands; PROGRAMS and SCRIPTS below are the whole list.
"""

from __future__ import annotations

import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
from collections.abc import Callable

from pages import ROOT

ENGINE = "morvane"
SELFCHECK = "tests/morvane_selfcheck"
OTHERS = {SELFCHECK: "MORVANE_SELFCHECK", "morvane_pack": "MORVANE_PACK"}  # programs, and what tells their paths
CONFIGURED = ".configured"  # in a build folder: what configuring leaves here


class Wrong(Exception):
    """The command could not work."""


def presets(kind: str) -> dict[str, dict]:
    """The presets of a kind ("configure", "build", "test") by name, without hidden ones."""
    with open(ROOT / "CMakePresets.json", encoding="utf-8") as file:
        listed = json.load(file).get(f"{kind}Presets", [])
    return {preset["name"]: preset for preset in listed if not preset.get("hidden")}


def require_preset(kind: str, name: str) -> None:
    if name not in presets(kind):
        raise Wrong(f"there is no {kind} preset {name}")


def require_variable(definition: str) -> None:
    """A variable as in -DNAME=VALUE is one of CMake's or one that the project declares."""
    name = re.split("[:=]", definition)[0]
    sources = [ROOT / "CMakeLists.txt", *(ROOT / "cmake").glob("*.cmake")]
    declared = re.compile(rf"^\s*(?:option|set)\({re.escape(name)}\b", re.MULTILINE)
    if not name.startswith("CMAKE_") and not any(declared.search(s.read_text()) for s in sources):
        raise Wrong(f"there is no variable {name}")


def place(name: str, target: str) -> None:
    """Makes `name` a link to a program under test."""
    link = pathlib.Path(name)
    link.parent.mkdir(parents=True, exist_ok=True)
    link.unlink(missing_ok=True)
    link.symlink_to(target)


def place_build(folder: str) -> None:
    place(f"{folder}/{ENGINE}", os.environ["MORVANE_ENGINE"])
    for name, variable in OTHERS.items():
        if variable in os.environ:
            place(f"{folder}/{name}", os.environ[variable])


def build_changed(folder: str, targets: list[str]) -> None:
    """Builds programs of sources that a page has changed: quickly, so they are slow."""
    real = shutil.which("cmake", path=os.pathsep.join(os.environ["PATH"].split(os.pathsep)[1:]))
    built = f"{os.environ['MORVANE_SANDBOX']}/changed"
    for command in ([real, "-S", ".", "-B", built, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=None",
                     "-DCMAKE_UNITY_BUILD=ON", "-DCMAKE_CXX_FLAGS=-Og -DNDEBUG"],
                    [real, "--build", built, "--target", *targets]):
        done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)
        if done.returncode != 0:
            raise Wrong(f"the changed sources cannot be built: {done.stdout}")
    for target in targets:
        place(f"{folder}/{target}", f"{built}/{target}")


def take(arguments: list[str], *names: str) -> str:
    """Takes an option that has a value out of the arguments; empty if it is not there."""
    for i, argument in enumerate(arguments):
        for name in names:
            if argument == name and i + 1 < len(arguments):
                value = arguments[i + 1]
                del arguments[i : i + 2]
                return value
            if argument.startswith(f"{name}=") or (len(name) == 2 and argument.startswith(name)):
                del arguments[i]
                return argument.removeprefix(name).removeprefix("=")
    return ""


def take_all(arguments: list[str], name: str) -> list[str]:
    """Takes an option that is followed by several values out of the arguments."""
    if name not in arguments:
        return []
    first = last = arguments.index(name) + 1
    while last < len(arguments) and not arguments[last].startswith("-"):
        last += 1
    values = arguments[first:last]
    del arguments[first - 1 : last]
    return values


def require_none_left(arguments: list[str]) -> None:
    if arguments:
        raise Wrong(f"nobody knows how to check {' '.join(arguments)}")


def require_file(name: str) -> None:
    if not os.path.isfile(name):
        raise Wrong(f"there is no file {name}")


# --- programs, found by PATH ---


def cmake(arguments: list[str]) -> str:
    if arguments[:1] == ["--build"]:
        return cmake_build(arguments[1:])
    if arguments[:1] == ["--install"]:
        return cmake_install(arguments[1:])
    return cmake_configure(arguments)


def cmake_configure(arguments: list[str]) -> str:
    preset, folder = take(arguments, "--preset"), take(arguments, "-B")
    source, _generator = take(arguments, "-S") or ".", take(arguments, "-G")
    for argument in [a for a in arguments if a.startswith("-D")]:
        require_variable(argument.removeprefix("-D"))
        arguments.remove(argument)
    require_none_left(arguments)
    if preset:
        require_preset("configure", preset)
        folder = folder or f"build/{preset}"
    if not folder or not (pathlib.Path(source) / "CMakeLists.txt").exists():
        raise Wrong("neither a preset nor a folder of sources and one to build in")
    pathlib.Path(folder).mkdir(parents=True, exist_ok=True)
    (pathlib.Path(folder) / CONFIGURED).touch()
    return f"presets and variables exist; {folder} counts as configured"


def have_sources_changed() -> bool:
    """Whether a page has changed what the engine is built from, weights that tuning/fit writes left aside."""
    done = subprocess.run(["git", "diff", "--quiet", "--", "src", ":!src/params/square_tables.h"], check=False)
    return done.returncode == 1


def cmake_build(arguments: list[str]) -> str:
    preset = take(arguments, "--preset")
    targets, _jobs = take_all(arguments, "--target"), take(arguments, "--parallel", "-j")
    folder = f"build/{preset}" if preset else arguments.pop(0) if arguments else ""
    require_none_left([a for a in arguments if a not in ("-j", "--parallel")])
    if preset:
        require_preset("build", preset)
    if not (pathlib.Path(folder) / CONFIGURED).exists():
        raise Wrong(f"{folder} was never configured")
    if have_sources_changed():
        build_changed(folder, targets or [ENGINE])
        return f"{folder} was configured; what the page has made of the sources stands there now"
    place_build(folder)
    return f"{folder} was configured; the engine under test stands there now"


def cmake_install(arguments: list[str]) -> str:
    """Installs the engine alone, and that only where no system is changed."""
    prefix = os.environ.get("DESTDIR", "") + (take(arguments, "--prefix") or "/usr/local")
    folder = arguments.pop(0) if arguments else ""
    require_none_left([a for a in arguments if a != "--strip"])
    if not (pathlib.Path(folder) / ENGINE).exists():
        raise Wrong(f"{folder} was never built")
    target = pathlib.Path(prefix) / "bin" / ENGINE
    if not target.resolve().is_relative_to(os.environ["MORVANE_SANDBOX"]):
        return f"{folder} was built; nothing is installed in {prefix}"
    place(str(target), os.environ["MORVANE_ENGINE"])
    return f"{folder} was built; {target} is the engine under test now"


def ctest(arguments: list[str]) -> str:
    preset, folder = take(arguments, "--preset"), take(arguments, "--test-dir")
    _options = [take(arguments, *names) for names in (("-j",), ("-R",), ("-E",))]
    require_none_left([a for a in arguments if a not in ("-j", "-V", "--output-on-failure")])
    if preset:
        require_preset("test", preset)
    elif not (pathlib.Path(folder) / CONFIGURED).exists():
        raise Wrong(f"{folder} was never configured")
    return "the preset exists" if preset else f"{folder} was configured"


def sudo(arguments: list[str]) -> str:
    """Nothing is done for the system, whoever asks."""
    name, *rest = arguments or [""]
    if name not in PROGRAMS:
        raise Wrong(f"nobody knows how to check {' '.join(arguments)} without rights")
    return PROGRAMS[name](rest)


def apt(arguments: list[str]) -> str:
    words = [argument for argument in arguments if not argument.startswith("-")]
    if words[:1] not in (["install"], ["remove"], ["purge"], ["update"]):
        raise Wrong(f"nobody knows how to check {' '.join(arguments)}")
    for name in words[1:]:
        if "/" in name and not pathlib.Path(name).is_file():
            raise Wrong(f"there is no package {name}")
    return "nothing is installed or removed here"


# --- clusters: what their programs are given is played here, one task after another ---


def sbatch(arguments: list[str]) -> str:
    """The options come from the manual of sbatch; the script is run."""
    script = sys.stdin.read()
    known = ("--parsable", "--partition=", "--time=")
    require_none_left([a for a in arguments if not a.startswith(known)])
    last = int(re.search(r"^#SBATCH --array=0-(\d+)$", script, re.MULTILINE)[1])
    folder = re.search(r'^#SBATCH --chdir="(.*)"$', script, re.MULTILINE)[1]
    for task in range(last + 1):
        subprocess.run(["sh"], input=script, text=True, cwd=folder, check=True,
                       env=os.environ | {"SLURM_ARRAY_TASK_ID": str(task)}, stdout=subprocess.DEVNULL)
    print("1")
    return f"its {last + 1} tasks were run here"


def squeue(_arguments: list[str]) -> str:
    return "there is no job"


def scontrol(arguments: list[str]) -> str:
    if arguments != ["show", "config"]:
        raise Wrong(f"nobody knows how to check {' '.join(arguments)}")
    print("MaxArraySize            = 1001")
    return "told the default"


def kubectl(arguments: list[str]) -> str:
    """Runs the pods of a job in the folder that has the name of theirs."""
    import yaml  # only where a page has such a job

    command, file = arguments[:1], take(arguments, "-f")
    condition, _timeout = take(arguments, "--for"), take(arguments, "--timeout")
    require_none_left(arguments[1:])
    require_file(file)
    with open(file, encoding="utf-8") as text:
        job, = yaml.safe_load_all(text)
    if command == ["wait"] and condition == "condition=complete":
        return f"{job['metadata']['name']} has ended"
    if command != ["apply"]:
        raise Wrong(f"nobody knows how to check {command}")
    container, = job["spec"]["template"]["spec"]["containers"]
    own = {each["name"]: each["value"] for each in container["env"]} | {"DATAGEN_ENGINE": os.environ["MORVANE_ENGINE"]}
    for index in range(job["spec"]["completions"]):
        subprocess.run(container["command"], cwd=os.path.basename(container["workingDir"]), check=True,
                       env=os.environ | own | {"JOB_COMPLETION_INDEX": str(index)}, stdout=subprocess.DEVNULL)
    return f"the {job['spec']['completions']} pods of {job['metadata']['name']} were run here"


def podman(arguments: list[str]) -> str:
    recipe, name = take(arguments, "-f"), take(arguments, "-t")
    command, place = (*arguments, "", "")[:2]
    if command == "push":
        return f"nothing is pushed to {place}"
    require_file(recipe)
    copied = re.findall(r"^COPY (?:--\S+ )*(\S+) ", pathlib.Path(recipe).read_text(encoding="utf-8"), re.MULTILINE)
    if command != "build" or not name or not copied or not all((pathlib.Path(place) / c).exists() for c in copied):
        raise Wrong(f"no recipe, or not what it copies: {' '.join(arguments)}")
    return "what the recipe copies is there; no image is built"


# --- scripts and programs of the repository ---


def measure(arguments: list[str]) -> str:
    _size, bound = take(arguments, "--hash"), take(arguments, "--bound")
    if bound and not pathlib.Path(bound).is_file():
        raise Wrong(f"there is no file {bound}")
    command, *engines = arguments or [""]
    text = (ROOT / "benchmarks" / "measure.py").read_text(encoding="utf-8")
    if not re.search(rf"^    measure\.py {re.escape(command)} ", text, re.MULTILINE):
        raise Wrong(f"measure.py has no command {command}")
    others = [engine for engine in engines if engine.startswith("/usr/games/")]  # may be missing
    for engine in engines:
        if engine not in others and not engine.isdigit() and not os.access(engine, os.X_OK):
            raise Wrong(f"there is no program {engine}")
    return "the command and the engines exist" + (f" (not looked for: {others})" if others else "")


def benchmarks(arguments: list[str]) -> str:
    _revision = take(arguments, "--compare")
    sources = "".join(s.read_text() for s in (ROOT / "benchmarks").glob("*.cpp"))
    names = re.findall(r'(?:\bBENCHMARK\(|Name\(")(\w+)', sources)
    for pattern in arguments:
        if not any(re.search(pattern, name) for name in names):
            raise Wrong(f"there is no benchmark {pattern}")
    return "such benchmarks exist"


def fuzz(arguments: list[str]) -> str:
    if arguments and arguments != ["long"]:
        target, runs = (*arguments, "", "")[:2]
        if not runs.isdigit() or not (ROOT / "fuzz" / "corpus" / target).is_dir():
            raise Wrong(f"no target and number of runs: {arguments}")
    return "the targets exist"


def python_tests(arguments: list[str]) -> str:
    """The modules and classes exist, and an engine is named."""
    module, *names = arguments or ["none"]
    found = list((ROOT / "tests").glob(f"*/{module}.py"))
    if len(found) != 1:
        raise Wrong(f"there is no test module {module}")
    for name in names:
        for part, keyword in zip(name.split("."), ("class", "    def")):
            if not re.search(rf"^{keyword} {part}\b", found[0].read_text(), re.MULTILINE):
                raise Wrong(f"{module} has no {name}")
    if not os.access(os.environ["MORVANE_ENGINE"], os.X_OK):
        raise Wrong("MORVANE_ENGINE names no program")
    return "such tests exist"


def picture(arguments: list[str]) -> str:
    """Drawing needs a library that is large for one picture."""
    before, after, _drawn = arguments
    for name in (before, after):
        if not pathlib.Path(name).read_text(encoding="ascii").startswith("# Morvane tune params"):
            raise Wrong(f"{name} is no listing of weights")
    return "the listings are there"


def script(arguments: list[str]) -> str:
    """For scripts without arguments, or with those of CMake."""
    for argument in arguments:
        if not argument.startswith("-D"):
            raise Wrong(f"nobody knows how to check {argument}")
        require_variable(argument.removeprefix("-D"))
    return "it is there and can be run"


def steps(arguments: list[str]) -> str:
    """The test command has such steps."""
    told = subprocess.run([ROOT / "test", "--help"], capture_output=True, text=True, check=True).stdout
    known = re.findall(r"^  (\w+) ", told, re.MULTILINE)
    if arguments not in ([], ["all"]) and not set(arguments) <= set(known):
        raise Wrong(f"not all of these are steps: {arguments}")
    return "such steps exist"


def profiled(arguments: list[str]) -> str:
    result = script(arguments)
    place_build("build/profiled")
    return result


PROGRAMS: dict[str, Callable[[list[str]], str]] = {
    "cmake": cmake,
    "ctest": ctest,
    "sudo": sudo,
    "apt": apt,
    "apt-get": apt,
    "sbatch": sbatch,
    "squeue": squeue,
    "scontrol": scontrol,
    "kubectl": kubectl,
    "podman": podman,
}
SCRIPTS: dict[str, Callable[[list[str]], str]] = {
    "test": steps,
    "benchmarks/run": benchmarks,
    "benchmarks/measure.py": measure,
    "fuzz/run": fuzz,
    "scripts/build-profiled": profiled,
    "scripts/make-package": script,
    "scripts/make-release": script,
    "tests/uci/run.py": python_tests,
    "tuning/picture": picture,
}


def main() -> int:
    name, *arguments = sys.argv[1:]
    command = " ".join([name, *arguments])
    try:
        if name in SCRIPTS and not (ROOT / name).is_file():
            raise Wrong(f"there is no {name}")
        how = (PROGRAMS | SCRIPTS)[name](arguments)
    except Wrong as wrong:
        print(f"{command}: {wrong}", file=sys.stderr)
        return 1
    with open(os.environ["MORVANE_STANDIN_LOG"], "a", encoding="utf-8") as log:
        log.write(f"{command}: {how}\n")
    return 0


if __name__ == "__main__":
    sys.exit(main())
