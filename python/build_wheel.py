"""Makes the wheel: a build backend for pip, of the standard library alone.

The library goes into the extension module, and JsonCpp beside it where patchelf is installed; otherwise the wheel needs
the system's. Built is in build/wheel, which is kept, so that the wheels for several interpreters share the library's
objects; or, when KYT_HOST_BUILD names a build folder that has been configured for the running interpreter, from the
objects that are there. CMAKE_ARGS are more arguments for CMake; CMAKE_BUILD_PARALLEL_LEVEL says how many compilers run.

    build_wheel.py wheel FOLDER     makes one there, without pip
    build_wheel.py metadata FOLDER  tells there what has been installed without a wheel
"""

import base64
import hashlib
import os
import re
import shlex
import shutil
import subprocess
import sys
import sysconfig
import tarfile
import tempfile
import zipfile
from pathlib import Path
from typing import Dict, List, Optional

ROOT = Path(__file__).resolve().parent.parent
PROJECT = re.compile(r'project\(kyt_host VERSION (\S+) .*DESCRIPTION "(.*)"\)')
((VERSION, SUMMARY),) = PROJECT.findall((ROOT / "CMakeLists.txt").read_text(encoding="utf-8"))
NAME = f"kyt_host-{VERSION}"
METADATA = f"Metadata-Version: 2.1\nName: kyt_host\nVersion: {VERSION}\nSummary: {SUMMARY}\nRequires-Python: >=3.8\n"
COMMANDS = "".join(f"{name} = kyt_host_testing.programs:{name}\n" for name in ("kyt", "virtual_controller"))
SDIST = ["CMakeLists.txt", "pyproject.toml", "cmake", "command_line", "docs", "kyt_host", "python", "tool", "virtual_controller"]
# What every Linux has, as far as wheels are concerned; what else is needed comes along.
SYSTEM = re.compile(r"(linux-vdso|ld-linux[-\w]*|libc|libm|libpthread|libgcc_s|libstdc\+\+)\.so")


def get_requires_for_build_wheel(config_settings: Optional[Dict[str, str]] = None) -> List[str]:
    return []


def build_wheel(
    wheel_directory: str,
    config_settings: Optional[Dict[str, str]] = None,
    metadata_directory: Optional[str] = None,
) -> str:
    if sysconfig.get_config_var("Py_GIL_DISABLED"):
        raise SystemExit(f"kyt_host needs a Python with an interpreter lock: {sys.executable} is free-threaded")
    missing = [program for program in ("cmake", "swig", "c++") if shutil.which(program) is None]
    if missing:
        raise SystemExit(f"kyt_host: building needs {', '.join(missing)}; on Debian: apt install cmake g++ swig")

    version = f"cp{sys.version_info[0]}{sys.version_info[1]}"
    tag = f"{version}-{version}-{sysconfig.get_platform().replace('-', '_').replace('.', '_')}"
    wheel = f"{NAME}-{tag}.whl"
    with tempfile.TemporaryDirectory() as stage:
        install(Path(stage))
        if shutil.which("patchelf"):
            bring_along(Path(stage))
        info = Path(stage, prepare_metadata_for_build_wheel(stage))
        (info / "WHEEL").write_text(
            f"Wheel-Version: 1.0\nGenerator: kyt_host\nRoot-Is-Purelib: false\nTag: {tag}\n"
        )
        pack(Path(stage), info / "RECORD", Path(wheel_directory, wheel))
    return wheel


def prepare_metadata_for_build_wheel(
    metadata_directory: str, config_settings: Optional[Dict[str, str]] = None, commands: str = COMMANDS
) -> str:
    """So that pip compiles when it says that it builds, not when it wants to know a version."""
    info = Path(metadata_directory, f"{NAME}.dist-info")
    info.mkdir()
    (info / "METADATA").write_text(METADATA)
    if commands:
        (info / "entry_points.txt").write_text(f"[console_scripts]\n{commands}")
    return info.name


def install(stage: Path) -> None:
    """Builds for the running interpreter, and puts what belongs into the wheel into `stage`."""
    configured = os.environ.get("KYT_HOST_BUILD")
    build = configured or str(ROOT / "build/wheel")
    if not configured:
        configure(build)
    os.environ.setdefault("CMAKE_BUILD_PARALLEL_LEVEL", str(os.cpu_count()))
    for command in (
        ["cmake", "--build", build, "--target", "kyt_host_wheel"],
        ["cmake", "--install", build, "--component", "python", "--strip", "--prefix", str(stage)],
        ["cmake", "--install", build, "--component", "wheel", "--strip", "--prefix", str(stage)],
    ):
        subprocess.run(command, check=True)
    if not (stage / f"_kyt_host.{sysconfig.get_config_var('SOABI')}.so").exists():
        raise SystemExit(f"kyt_host: {build} is configured for another Python")


def configure(build: str) -> None:
    forget_moved(Path(build))
    # What an earlier build found out about its interpreter is forgotten.
    forget = ["-U", "Python3_*", "-U", "_Python3_*", f"-DPython3_EXECUTABLE={sys.executable}"]
    options = ["-DCMAKE_BUILD_TYPE=Release", "-DBUILD_SHARED_LIBS=OFF", "-DKYT_HOST_PYTHON=ON"]
    options += ["-DKYT_HOST_VIEW=OFF", "-DKYT_HOST_BRIDGE=OFF"]
    options += shlex.split(os.environ.get("CMAKE_ARGS", ""))
    generator = ["-G", "Ninja"] if shutil.which("ninja") else []
    subprocess.run(["cmake", "-S", str(ROOT), "-B", build, *generator, *options, *forget], check=True)


def forget_moved(build: Path) -> None:
    """A checkout that has been moved takes its build along, which CMake refuses to go on with."""
    cache = build / "CMakeCache.txt"
    if cache.exists() and f"CMAKE_HOME_DIRECTORY:INTERNAL={ROOT}\n" not in cache.read_text():
        shutil.rmtree(build)


def bring_along(stage: Path) -> None:
    """Puts the libraries beside the programs of `stage` that not every Linux has, under names that nobody else's have."""
    folder = stage / "kyt_host.libs"
    for program in [path for path in stage.rglob("*") if path.is_file() and path.read_bytes()[:4] == b"\x7fELF"]:
        linked = subprocess.run(["ldd", str(program)], check=True, stdout=subprocess.PIPE, universal_newlines=True).stdout
        for name, found in re.findall(r"(\S+) => (/\S+)", linked):
            if SYSTEM.match(name):
                continue
            library = Path(found).read_bytes()
            stem, _, rest = name.partition(".")
            own = folder / f"{stem}-{hashlib.sha256(library).hexdigest()[:8]}.{rest}"
            folder.mkdir(exist_ok=True)
            if not own.exists():
                own.write_bytes(library)
                own.chmod(0o755)
                patch("--set-soname", own.name, own)
            patch("--replace-needed", name, own.name, program)
            patch("--set-rpath", "$ORIGIN/" + os.path.relpath(folder, program.parent), program)


def patch(*arguments: object) -> None:
    subprocess.run(["patchelf", *map(str, arguments)], check=True)


def pack(stage: Path, record: Path, wheel: Path) -> None:
    lines = []
    with zipfile.ZipFile(wheel, "w", zipfile.ZIP_DEFLATED) as archive:
        for path in sorted(path for path in stage.rglob("*") if path.is_file()):
            name = path.relative_to(stage).as_posix()
            digest = base64.urlsafe_b64encode(hashlib.sha256(path.read_bytes()).digest()).rstrip(b"=").decode()
            lines.append(f"{name},sha256={digest},{path.stat().st_size}\n")
            archive.write(path, name)
        name = record.relative_to(stage).as_posix()
        archive.writestr(name, "".join(lines) + f"{name},,\n")


def build_sdist(sdist_directory: str, config_settings: Optional[Dict[str, str]] = None) -> str:
    archive = f"{NAME}.tar.gz"
    with tempfile.TemporaryDirectory() as folder, tarfile.open(Path(sdist_directory, archive), "w:gz") as tar:
        info = Path(folder, "PKG-INFO")
        info.write_text(METADATA)
        tar.add(info, f"{NAME}/PKG-INFO")
        for each in SDIST:
            tar.add(ROOT / each, f"{NAME}/{each}", filter=lambda item: None if "__pycache__" in item.name else item)
    return archive


if __name__ == "__main__":
    if sys.argv[1] == "wheel":
        print(build_wheel(sys.argv[2]))
    else:
        prepare_metadata_for_build_wheel(sys.argv[2], commands="")
