#!/usr/bin/env python3
"""Builds Tarvolo.app on a machine without Xcode: clang and ld64.lld against a macOS SDK.

Writes a Ninja file into the build directory and runs it. Each architecture is compiled and
linked on its own (the core into libtarvolo_core.a, the Mac backend and entry point beside it,
GoogleTest from its sources into libgtest.a for the backend's tests), the slices are merged
into one universal executable and the bundle is assembled around it.
The SDK lacks text stubs for libSystem and libc++, so tools/macos-stubs.py writes them from the
objects' undefined symbols before the link.

The `check` target runs the checks a review of the Objective-C++ would: every .mm (the backend,
its entry point and its tests) is compiled once more for one architecture with the availability,
Objective-C and selector warnings as errors, then through the clang static analyzer's core,
C++, Unix and macOS checkers; any finding fails it. Each file's check is redone only when the
file or a header it reads changed.

Sources are globbed on every run, so new files join without editing anything here. Standard
library only.
"""

from __future__ import annotations

import argparse
import glob
import os
import re
import shlex
import subprocess
import sys

MINIMUM_MACOS = "13.0"
FRAMEWORKS = ["AppKit", "Foundation", "CoreFoundation", "CoreGraphics", "ApplicationServices", "Carbon", "QuartzCore"]
LIBRARIES = ["objc"]
# What the check adds to the project's warnings: calls to API newer than the deployment target,
# selectors no header declares, and the Objective-C rules ARC code can still break.
CHECK_WARNINGS = ("-Wunguarded-availability -Wunguarded-availability-new -Wdeprecated-declarations "
                  "-Wundeclared-selector -Wstrict-selector-match -Wobjc-missing-super-calls "
                  "-Wobjc-designated-initializers -Wobjc-property-implementation -Wobjc-method-access "
                  "-Wobjc-literal-conversion -Wobjc-redundant-literal-use -Wimplicit-retain-self "
                  "-Warc-repeated-use-of-weak")
ANALYZER_CHECKERS = "core,cplusplus,unix,osx"
DEFAULT_UPDATE_FEED = "https://tarvolo.app/appcast.xml"


def resources(root: str) -> list[tuple[str, str]]:
    """(name, path) of every file the bundle's Resources folder takes, in name order."""
    directory = os.path.join(root, "src", "platform", "macos", "Resources")
    if not os.path.isdir(directory):
        return []
    names = sorted(n for n in os.listdir(directory) if not n.startswith(".") and os.path.isfile(os.path.join(directory, n)))
    return [(name, os.path.join(directory, name)) for name in names]


def read_version(root: str) -> str:
    """The project version, as the top-level CMake file says."""
    with open(os.path.join(root, "CMakeLists.txt"), encoding="utf-8") as handle:
        text = handle.read()
    version = re.search(r"project\(\s*Tarvolo\s+VERSION\s+([0-9.]+)", text)
    if not version:
        raise SystemExit("macos-cross: cannot read the version from CMakeLists.txt")
    return version.group(1)


def core_sources(root: str) -> list[str]:
    """Every C++ source of src/ but the backends'. The Linux build checks the layering; this one
    compiles against the whole tree."""
    backends = (os.path.join(root, "src", "platform", "sim") + os.sep, os.path.join(root, "src", "platform", "macos") + os.sep)
    sources = glob.glob(os.path.join(root, "src", "**", "*.cpp"), recursive=True)
    return sorted(p for p in sources if not p.startswith(backends))


def test_sources(root: str) -> list[str]:
    """The Mac backend's test target: its own checks and the platform contract's tests."""
    return sorted(glob.glob(os.path.join(root, "tests", "macos", "*.mm"))) + sorted(
        glob.glob(os.path.join(root, "tests", "platform", "contract", "*.cpp")))


def checked_sources(root: str) -> list[str]:
    """Every Objective-C++ file: the Mac backend, its entry point and its tests."""
    return sorted(glob.glob(os.path.join(root, "src", "platform", "macos", "*.mm")) +
                  glob.glob(os.path.join(root, "tests", "macos", "*.mm")))


def googletest_dirs(googletest: str) -> tuple[str, str] | None:
    """GoogleTest's source and include directories in a source tree laid out like Debian's
    /usr/src/googletest; None when it is not there."""
    source = os.path.join(googletest, "googletest")
    if not os.path.exists(os.path.join(source, "src", "gtest-all.cc")):
        return None
    return source, os.path.join(source, "include")


def sdk_version(sdk: str) -> str:
    match = re.search(r"MacOSX(\d+(?:\.\d+)*)\.sdk", os.path.basename(os.path.normpath(sdk)))
    return match.group(1) if match else "14.0"


def ninja_escape(path: str) -> str:
    return path.replace("$", "$$").replace(" ", "$ ").replace(":", "$:")


def object_path(build: str, root: str, arch: str, source: str) -> str:
    relative = os.path.relpath(source, root)
    if relative.split(os.sep)[0] == os.pardir:
        # From outside the tree (GoogleTest's sources).
        relative = os.path.join("external", os.path.basename(source))
    return os.path.join(build, "obj", arch, relative + ".o")


def write_if_changed(path: str, content: str) -> None:
    if os.path.exists(path):
        with open(path, encoding="utf-8") as handle:
            if handle.read() == content:
                return
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "w", encoding="utf-8") as handle:
        handle.write(content)


def generate(args: argparse.Namespace) -> str:
    root = os.path.abspath(args.source_dir)
    build = os.path.abspath(args.build_dir)
    sdk = os.path.abspath(os.path.expanduser(args.sdk))
    version = getattr(args, "version", "") or read_version(root)
    feed = getattr(args, "update_feed", "") or DEFAULT_UPDATE_FEED
    key = getattr(args, "update_key", "")

    with open(os.path.join(root, "src/platform/macos/Info.plist.in"), encoding="utf-8") as handle:
        plist = (handle.read().replace("@TARVOLO_VERSION@", version)
                 .replace("@TARVOLO_UPDATE_FEED@", feed).replace("@TARVOLO_UPDATE_KEY@", key))
    plist_path = os.path.join(build, "Info.plist")
    write_if_changed(plist_path, plist)

    core = core_sources(root)
    backend = sorted(p for p in glob.glob(os.path.join(root, "src/platform/macos/*.mm")) if not p.endswith("/main.mm"))
    entry = os.path.join(root, "src/platform/macos/main.mm")
    gtest = googletest_dirs(args.googletest)
    tests = test_sources(root) if gtest else []
    if not gtest:
        print(f"macos-cross: no GoogleTest sources in {args.googletest}; tarvolo-macos-tests is not built",
              file=sys.stderr)

    warnings = "-Wall -Wextra -Wpedantic -Wno-missing-field-initializers -Wunguarded-availability"
    if args.werror:
        warnings += " -Werror"
    q = shlex.quote
    lines = [
        "ninja_required_version = 1.5",
        f"builddir = {ninja_escape(build)}",
        f"cxx = {q(args.clang)}",
        f"common = -isysroot {q(sdk)} -std=c++20 -stdlib=libc++ -O2 -g -DNDEBUG -I{q(os.path.join(root, 'src'))}",
        f"warnings = {warnings}",
        "",
        "rule cxx",
        f"  command = $cxx -target ${{arch}}-apple-macos{MINIMUM_MACOS} $common $warnings $extra -MD -MF $out.d -c $in -o $out",
        "  depfile = $out.d",
        "  deps = gcc",
        "  description = CXX $arch $in",
        "rule ar",
        f"  command = rm -f $out && {q(args.ar)} --format=darwin rcs $out $in",
        "  description = AR $out",
        "rule stubs",
        f"  command = {q(sys.executable)} {q(os.path.join(root, 'tools/macos-stubs.py'))} --sdk {q(sdk)} "
        f"--out-dir $outdir --nm {q(args.nm)} {' '.join('--arch ' + a for a in args.arch)} "
        f"{' '.join('--framework ' + f for f in FRAMEWORKS)} {' '.join('--library ' + l for l in LIBRARIES)} $in",
        "  description = STUBS libSystem libc++",
        "  restat = 1",
        "rule link",
        f"  command = {q(args.ld)} -arch $arch -platform_version macos {MINIMUM_MACOS} {sdk_version(sdk)} "
        f"-syslibroot {q(sdk)} -o $out $in -L$stubdir -lSystem -lc++ "
        f"{' '.join('-l' + l for l in LIBRARIES)} {' '.join('-framework ' + f for f in FRAMEWORKS)} "
        "-dead_strip -dead_strip_dylibs -headerpad_max_install_names -adhoc_codesign $extra",
        "  description = LINK $out",
        "rule lipo",
        f"  command = {q(args.lipo)} -create $in -output $out",
        "  description = LIPO $out",
        "rule copy",
        "  command = cp $in $out",
        "  description = COPY $out",
        "rule pkginfo",
        "  command = printf 'APPL????' > $out",
        "  description = PKGINFO $out",
        # The analyzer reports its findings as warnings that -Werror leaves alone: any line of
        # its output naming one fails the step.
        "rule check",
        f"  command = $cxx -target {args.arch[0]}-apple-macos{MINIMUM_MACOS} $common $warnings {CHECK_WARNINGS} -Werror "
        "$extra -fsyntax-only -MD -MF $out.d $in && "
        f"$cxx -target {args.arch[0]}-apple-macos{MINIMUM_MACOS} $common $extra --analyze "
        f"-Xclang -analyzer-output=text -Xanalyzer -analyzer-checker={ANALYZER_CHECKERS} -o /dev/null $in "
        "> $out.log 2>&1; status=$$?; cat $out.log; "
        "if [ $$status -ne 0 ] || grep -q 'warning:' $out.log; then exit 1; fi; touch $out",
        "  depfile = $out.d",
        "  deps = gcc",
        "  description = CHECK $in",
        "",
    ]

    def compile_all(sources: list[str], arch: str, extra: str = "", warnings: str | None = None) -> list[str]:
        objects = []
        for source in sources:
            obj = object_path(build, root, arch, source)
            lines.append(f"build {ninja_escape(obj)}: cxx {ninja_escape(source)}")
            lines.append(f"  arch = {arch}")
            if extra:
                lines.append(f"  extra = {extra}")
            if warnings is not None:
                lines.append(f"  warnings = {warnings}")
            objects.append(obj)
        return objects

    stub_dir = os.path.join(build, "stubs")
    stub_files = [os.path.join(stub_dir, "libSystem.tbd"), os.path.join(stub_dir, "libc++.tbd")]
    objc = "-fobjc-arc"
    per_arch: dict[str, dict[str, list[str]]] = {}
    stub_inputs: list[str] = []
    for arch in args.arch:
        core_objects = compile_all(core, arch)
        core_archive = os.path.join(build, "lib", arch, "libtarvolo_core.a")
        lines.append(f"build {ninja_escape(core_archive)}: ar {' '.join(map(ninja_escape, core_objects))}")
        backend_objects = compile_all(backend, arch, objc)
        entry_objects = compile_all([entry], arch, objc)
        test_objects: list[str] = []
        if gtest:
            gtest_source, gtest_include = gtest
            # Someone else's code, built as it comes: without the project's warnings.
            gtest_objects = compile_all([os.path.join(gtest_source, "src", "gtest-all.cc")], arch,
                                        f"-I{q(gtest_source)} -I{q(gtest_include)}", warnings="-w")
            gtest_archive = os.path.join(build, "lib", arch, "libgtest.a")
            lines.append(f"build {ninja_escape(gtest_archive)}: ar {' '.join(map(ninja_escape, gtest_objects))}")
            includes = f"-I{q(os.path.join(root, 'tests'))} -isystem {q(gtest_include)}"
            test_objects = compile_all([t for t in tests if t.endswith(".mm")], arch, f"{objc} {includes}")
            test_objects += compile_all([t for t in tests if not t.endswith(".mm")], arch, includes)
            test_objects.append(gtest_archive)
        per_arch[arch] = {"core": [core_archive], "backend": backend_objects, "entry": entry_objects, "tests": test_objects}
        stub_inputs += entry_objects + backend_objects + test_objects + [core_archive]

    lines.append(
        f"build {' '.join(map(ninja_escape, stub_files))}: stubs {' '.join(map(ninja_escape, stub_inputs))}"
        f" | {ninja_escape(os.path.join(root, 'tools/macos-stubs.py'))}"
    )
    lines.append(f"  outdir = {ninja_escape(stub_dir)}")

    section = f"-sectcreate __TEXT __info_plist {q(plist_path)}"
    products = {"Tarvolo": ("entry", section), "tarvolo-macos-tests": ("tests", "")}
    finals = []
    for product, (kind, extra) in products.items():
        if kind == "tests" and not tests:
            continue
        slices = []
        for arch in args.arch:
            inputs = per_arch[arch][kind] + per_arch[arch]["backend"] + per_arch[arch]["core"]
            out = os.path.join(build, "bin", arch, product)
            implicit = stub_files + ([plist_path] if extra else [])
            lines.append(f"build {ninja_escape(out)}: link {' '.join(map(ninja_escape, inputs))} | {' '.join(map(ninja_escape, implicit))}")
            lines.append(f"  arch = {arch}")
            lines.append(f"  stubdir = {ninja_escape(stub_dir)}")
            if extra:
                lines.append(f"  extra = {extra}")
            slices.append(out)
        universal = os.path.join(build, "bin", product)
        lines.append(f"build {ninja_escape(universal)}: lipo {' '.join(map(ninja_escape, slices))}")
        finals.append(universal)

    contents = os.path.join(build, "Tarvolo.app", "Contents")
    bundle = [os.path.join(contents, "MacOS", "Tarvolo"), os.path.join(contents, "Info.plist"), os.path.join(contents, "PkgInfo")]
    lines.append(f"build {ninja_escape(bundle[0])}: copy {ninja_escape(os.path.join(build, 'bin', 'Tarvolo'))}")
    lines.append(f"build {ninja_escape(bundle[1])}: copy {ninja_escape(plist_path)}")
    lines.append(f"build {ninja_escape(bundle[2])}: pkginfo")
    for name, source in resources(root):
        target = os.path.join(contents, "Resources", name)
        lines.append(f"build {ninja_escape(target)}: copy {ninja_escape(source)}")
        bundle.append(target)
    lines.append(f"default {' '.join(map(ninja_escape, bundle + finals))}")

    stamps = []
    for source in checked_sources(root):
        stamp = object_path(build, root, "check", source) + ".checked"
        includes = f"-I{q(os.path.join(root, 'tests'))}" + (f" -isystem {q(gtest[1])}" if gtest else "")
        lines.append(f"build {ninja_escape(stamp)}: check {ninja_escape(source)}")
        lines.append(f"  extra = {objc} {includes}")
        stamps.append(stamp)
    lines.append(f"build check: phony {' '.join(map(ninja_escape, stamps))}")
    return "\n".join(lines) + "\n"


def main(argv: list[str]) -> int:
    parser = argparse.ArgumentParser(description="Builds Tarvolo.app with clang and ld64.lld against a macOS SDK.")
    parser.add_argument("--source-dir", required=True)
    parser.add_argument("--build-dir", required=True)
    parser.add_argument("--sdk", required=True)
    parser.add_argument("--clang", default="clang")
    parser.add_argument("--ld", default="ld64.lld")
    parser.add_argument("--lipo", default="llvm-lipo")
    parser.add_argument("--nm", default="llvm-nm")
    parser.add_argument("--ar", default="llvm-ar")
    parser.add_argument("--googletest", default="/usr/src/googletest",
                        help="GoogleTest's source tree; without one the tests are not built")
    parser.add_argument("--arch", action="append", default=[])
    parser.add_argument("--jobs", default="2")
    parser.add_argument("--werror", action="store_true")
    parser.add_argument("--check", action="store_true", help="also run the checks of every .mm")
    parser.add_argument("--check-only", action="store_true", help="run only the checks of every .mm")
    parser.add_argument("--version", default="", help="the version the bundle carries (default: the project's)")
    parser.add_argument("--update-feed", default=DEFAULT_UPDATE_FEED, help="the update feed's address")
    parser.add_argument("--update-key", default="", help="the EdDSA public key of the update archives")
    args = parser.parse_args(argv)
    args.arch = args.arch or ["arm64", "x86_64"]
    write_if_changed(os.path.join(os.path.abspath(args.build_dir), "build.ninja"), generate(args))
    targets = ["check"] if args.check_only else []
    ninja = ["ninja", "-C", args.build_dir, "-j", args.jobs]
    if args.check and not args.check_only:
        # The build first: a file that does not compile is reported once, by the compiler.
        status = subprocess.call(ninja)
        return status or subprocess.call(ninja + ["check"])
    return subprocess.call(ninja + targets)


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
