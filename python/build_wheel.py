"""Makes the wheel: a build backend for pip, of the standard library alone.

The library goes into the extension module; what it needs besides is the system's JsonCpp. Built is in build/wheel, which
is kept, so that the wheels for several interpreters share the library's objects; or, when KYT_HOST_BUILD names a build
folder that has been configured for the running interpreter, from the objects that are there. CMAKE_ARGS are more
arguments for CMake.
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
SDIST = ["CMakeLists.txt", "pyproject.toml", "cmake", "docs", "kyt_host", "python", "virtual_controller"]


def get_requires_for_build_wheel(config_settings: Optional[Dict[str, str]] = None) -> List[str]:
    return []


def build_wheel(
    wheel_directory: str,
    config_settings: Optional[Dict[str, str]] = None,
    metadata_directory: Optional[str] = None,
) -> str:
    missing = [program for program in ("cmake", "swig", "c++") if shutil.which(program) is None]
    if missing:
        raise SystemExit(f"kyt_host: building needs {', '.join(missing)}; on Debian: apt install cmake g++ swig")

    version = f"cp{sys.version_info[0]}{sys.version_info[1]}"
    tag = f"{version}-{version}-{sysconfig.get_platform().replace('-', '_').replace('.', '_')}"
    wheel = f"{NAME}-{tag}.whl"
    with tempfile.TemporaryDirectory() as stage:
        install(Path(stage))
        info = Path(stage, f"{NAME}.dist-info")
        info.mkdir()
        (info / "METADATA").write_text(METADATA)
        (info / "WHEEL").write_text(
            f"Wheel-Version: 1.0\nGenerator: kyt_host\nRoot-Is-Purelib: false\nTag: {tag}\n"
        )
        pack(Path(stage), info / "RECORD", Path(wheel_directory, wheel))
    return wheel


def install(stage: Path) -> None:
    """Builds for the running interpreter, and puts what belongs into the wheel into `stage`."""
    configured = os.environ.get("KYT_HOST_BUILD")
    build = configured or str(ROOT / "build/wheel")
    if not configured:
        configure(build)
    for command in (
        ["cmake", "--build", build, "--target", "kyt_host_wheel", "--parallel", str(os.cpu_count())],
        ["cmake", "--install", build, "--component", "python", "--strip", "--prefix", str(stage)],
    ):
        subprocess.run(command, check=True)
    if not (stage / f"_kyt_host.{sysconfig.get_config_var('SOABI')}.so").exists():
        raise SystemExit(f"kyt_host: {build} is configured for another Python")


def configure(build: str) -> None:
    # What an earlier build found out about its interpreter is forgotten.
    forget = ["-U", "Python3_*", "-U", "_Python3_*", f"-DPython3_EXECUTABLE={sys.executable}"]
    options = ["-DCMAKE_BUILD_TYPE=Release", "-DBUILD_SHARED_LIBS=OFF", "-DKYT_HOST_PYTHON=ON"]
    options += shlex.split(os.environ.get("CMAKE_ARGS", ""))
    generator = ["-G", "Ninja"] if shutil.which("ninja") else []
    subprocess.run(["cmake", "-S", str(ROOT), "-B", build, *generator, *options, *forget], check=True)


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
