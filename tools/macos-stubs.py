#!/usr/bin/env python3
"""Writes link stubs for /usr/lib/libSystem.B.dylib and /usr/lib/libc++.1.dylib.

The macOS SDK copy used for building on Linux carries the frameworks' text stubs (.tbd) but
not those of libSystem and libc++. A text stub only has to list the symbols a link needs, so
this tool lists exactly the symbols the given objects and archives leave undefined:

- symbols of the C++ standard library and its ABI runtime go to libc++ (which re-exports
  libc++abi at run time);
- symbols a linked framework or library already exports, and symbols the linker makes itself,
  go nowhere;
- the C library's own symbols go to libSystem.

A C++ symbol outside the standard library, an Objective-C class nobody exports, or a C symbol
that only a framework left off the link line exports (or that is named like a framework's API,
CGEventPost or kAXTrustedCheckOptionPrompt, while no linked framework has it) is a real missing
definition; binding it to libSystem would only move the failure to launch time, so the tool
stops with an error instead.

Usage: macos-stubs.py --sdk SDK --out-dir DIR [--nm NM] [--arch A]... [--framework F]...
                      [--library L]... INPUT...
Standard library only.
"""

from __future__ import annotations

import argparse
import os
import re
import subprocess
import sys
from dataclasses import dataclass, field

LIBSYSTEM = "/usr/lib/libSystem.B.dylib"
LIBCXX = "/usr/lib/libc++.1.dylib"

# Prefixes of the C++ standard library and ABI runtime (Itanium mangling plus Mach-O's "_").
_CXX_RUNTIME_PREFIXES = (
    "__ZNSt", "__ZNKSt", "__ZSt", "__ZTVSt", "__ZTISt", "__ZTSSt", "__ZTVNSt", "__ZTINSt", "__ZTSNSt",
    # VTTs of the standard's classes with virtual bases (the string streams).
    "__ZTTSt", "__ZTTNSt",
    "__ZTVN10__cxxabiv1", "__ZTIN10__cxxabiv1", "__ZTSN10__cxxabiv1",
    "__Znw", "__Zna", "__Zdl", "__Zda",
    "___cxa_", "___gxx_personality_v0", "___dynamic_cast",
)
# Type information for fundamental types (int, const char*, nullptr_t, ...) lives in libc++abi.
_FUNDAMENTAL_TYPEINFO = re.compile(r"^__ZT[IS]P?K?(?:[a-z]|D[nsiu])$")
# ABI-named, but part of the C library.
_LIBSYSTEM_CXA = {"___cxa_atexit", "___cxa_finalize", "___cxa_finalize_ranges"}
# Made by the linker itself.
_LINKER_PROVIDED = {"___dso_handle", "__mh_execute_header", "__mh_dylib_header", "__mh_bundle_header"}
_LINKER_PROVIDED_PREFIXES = ("_objc_msgSend$",)
# Always present in libSystem and needed by the linker for lazy binding.
_ALWAYS_LIBSYSTEM = {"dyld_stub_binder"}
# Builtins that live only in the compiler's static runtime, which this build does not link.
_STATIC_RUNTIME_ONLY = {"___isPlatformVersionAtLeast", "___isOSVersionAtLeast"}
_OBJC_PREFIXES = ("_OBJC_CLASS_$_", "_OBJC_METACLASS_$_", "_OBJC_IVAR_$_", "_OBJC_EHTYPE_$_")
# The frameworks' C functions and constants carry a capitalised prefix (CGEventPost,
# kAXTrustedCheckOptionPrompt); libSystem's are lower-case apart from these families.
_FRAMEWORK_STYLE = re.compile(r"^_k?[A-Z]")
_LIBSYSTEM_CAPITALISED_PREFIXES = ("_OSAtomic", "_OSSpinLock", "_OSMemoryBarrier", "_CC_", "_CCCrypt", "_CCHmac", "_NXArg")

_EXPANSIONS = {
    "symbols": lambda n: [n],
    "weak-symbols": lambda n: [n],
    "thread-local-symbols": lambda n: [n],
    "objc-classes": lambda n: ["_OBJC_CLASS_$_" + n, "_OBJC_METACLASS_$_" + n],
    "objc-eh-types": lambda n: ["_OBJC_EHTYPE_$_" + n],
    "objc-ivars": lambda n: ["_OBJC_IVAR_$_" + n],
}
_EXPORT_SECTIONS = {"exports", "reexports"}


class StubError(Exception):
    pass


# ---------------------------------------------------------------------------------------------
# Text stubs


@dataclass
class TbdDocument:
    install_name: str = ""
    exports: set[str] = field(default_factory=set)
    reexported_libraries: list[str] = field(default_factory=list)


def _unquote(item: str) -> str:
    item = item.strip()
    if len(item) >= 2 and item[0] == item[-1] and item[0] in "'\"":
        inner = item[1:-1]
        return inner.replace("''", "'") if item[0] == "'" else inner
    return item


def _split_flow_list(body: str) -> list[str]:
    """Splits the inside of a YAML flow sequence, honouring quotes."""
    items, current, quote = [], [], None
    for ch in body:
        if quote:
            current.append(ch)
            if ch == quote:
                quote = None
        elif ch in "'\"":
            quote = ch
            current.append(ch)
        elif ch == ",":
            items.append("".join(current))
            current = []
        else:
            current.append(ch)
    items.append("".join(current))
    return [u for u in (_unquote(i) for i in items) if u]


_TOP_KEY = re.compile(r"^([A-Za-z][\w-]*):(.*)$")
_LIST_KEY = re.compile(r"^\s*(?:-\s+)?([A-Za-z][\w-]*):\s*\[(.*)$")


def parse_tbd(text: str) -> list[TbdDocument]:
    """Reads the parts of a version-4 text stub a link needs: names, exports and re-exports."""
    documents: list[TbdDocument] = []
    doc: TbdDocument | None = None
    section = ""
    lines = iter(text.splitlines())
    for line in lines:
        if line.startswith("--- "):
            doc = TbdDocument()
            documents.append(doc)
            section = ""
            continue
        if doc is None or line.startswith("..."):
            continue
        top = _TOP_KEY.match(line)
        if top:
            section = top.group(1)
            if section == "install-name":
                doc.install_name = _unquote(top.group(2))
        listed = _LIST_KEY.match(line)
        if not listed:
            continue
        key, body = listed.group(1), listed.group(2)
        while "]" not in _strip_quoted(body):
            body += " " + next(lines, "]")
        body = body[: _closing_bracket(body)]
        items = _split_flow_list(body)
        if section == "reexported-libraries" and key == "libraries":
            doc.reexported_libraries.extend(items)
        elif section in _EXPORT_SECTIONS and key in _EXPANSIONS:
            for item in items:
                doc.exports.update(_EXPANSIONS[key](item))
    return documents


def _strip_quoted(text: str) -> str:
    return re.sub(r"'[^']*'|\"[^\"]*\"", "", text)


def _closing_bracket(text: str) -> int:
    quote = None
    for index, ch in enumerate(text):
        if quote:
            if ch == quote:
                quote = None
        elif ch in "'\"":
            quote = ch
        elif ch == "]":
            return index
    return len(text)


def render_tbd(install_name: str, archs: list[str], symbols: set[str]) -> str:
    targets = ", ".join(f"{arch}-macos" for arch in archs)
    lines = [
        "--- !tapi-tbd",
        "tbd-version:     4",
        f"targets:         [ {targets} ]",
        f"install-name:    '{install_name}'",
    ]
    if symbols:
        quoted = ", ".join("'" + s.replace("'", "''") + "'" for s in sorted(symbols))
        lines += ["exports:", f"  - targets:         [ {targets} ]", f"    symbols:         [ {quoted} ]"]
    lines.append("...")
    return "\n".join(lines) + "\n"


class SdkExports:
    """Symbols exported by SDK libraries, following re-exports the way the linker does."""

    def __init__(self, sdk: str):
        self.sdk = sdk
        self._by_install_name: dict[str, TbdDocument] = {}
        self._loaded_files: set[str] = set()

    def _load_file(self, path: str) -> list[TbdDocument]:
        with open(path, encoding="utf-8") as handle:
            documents = parse_tbd(handle.read())
        self._loaded_files.add(os.path.realpath(path))
        for doc in documents:
            self._by_install_name.setdefault(doc.install_name, doc)
        return documents

    def _document_for_install_name(self, install_name: str) -> TbdDocument | None:
        if install_name in self._by_install_name:
            return self._by_install_name[install_name]
        path = os.path.join(self.sdk, install_name.lstrip("/")) + ".tbd"
        if os.path.isfile(path) and os.path.realpath(path) not in self._loaded_files:
            self._load_file(path)
        return self._by_install_name.get(install_name)

    def exports_of_file(self, path: str) -> set[str]:
        if not os.path.isfile(path):
            raise StubError(f"no text stub at {path}")
        documents = self._load_file(path)
        if not documents:
            raise StubError(f"{path} holds no text-stub document")
        return self._closure(documents[0])

    def _closure(self, root: TbdDocument) -> set[str]:
        symbols: set[str] = set()
        pending, seen = [root], set()
        while pending:
            doc = pending.pop()
            if doc.install_name in seen:
                continue
            seen.add(doc.install_name)
            symbols |= doc.exports
            for name in doc.reexported_libraries:
                child = self._document_for_install_name(name)
                if child is not None:
                    pending.append(child)
        return symbols

    def framework(self, name: str) -> set[str]:
        return self.exports_of_file(os.path.join(self.sdk, "System/Library/Frameworks", f"{name}.framework", f"{name}.tbd"))

    def library(self, name: str) -> set[str]:
        return self.exports_of_file(os.path.join(self.sdk, "usr/lib", f"lib{name}.tbd"))

    def framework_names(self) -> list[str]:
        directory = os.path.join(self.sdk, "System/Library/Frameworks")
        if not os.path.isdir(directory):
            return []
        names = (entry.removesuffix(".framework") for entry in os.listdir(directory) if entry.endswith(".framework"))
        return sorted(name for name in names
                      if os.path.isfile(os.path.join(directory, f"{name}.framework", f"{name}.tbd")))

    def owners(self, symbols: set[str], skipped: list[str]) -> dict[str, str]:
        """Which framework of the SDK outside `skipped` exports each of `symbols`."""
        found: dict[str, str] = {}
        for name in self.framework_names():
            if name in skipped:
                continue
            try:
                exports = self.framework(name)
            except StubError:
                continue
            for symbol in symbols & exports:
                found.setdefault(symbol, name)
        return found


# ---------------------------------------------------------------------------------------------
# Objects


def parse_nm(output: str) -> tuple[set[str], set[str]]:
    """(undefined, defined) external symbols from `nm -P -g` output of objects and archives."""
    undefined, defined = set(), set()
    for line in output.splitlines():
        parts = line.split()
        if len(parts) < 2 or len(parts[1]) != 1:
            continue  # blank lines and "archive.a[member.o]:" headers
        name, kind = parts[0], parts[1]
        (undefined if kind == "U" else defined).add(name)
    return undefined, defined


def unresolved(nm_outputs: list[str]) -> set[str]:
    """Symbols some input needs and no input defines."""
    undefined, defined = set(), set()
    for output in nm_outputs:
        u, d = parse_nm(output)
        undefined |= u
        defined |= d
    return undefined - defined


def read_nm(nm: str, inputs: list[str]) -> list[str]:
    outputs = []
    for path in inputs:
        result = subprocess.run([nm, "-P", "-g", path], capture_output=True, text=True)
        if result.returncode != 0:
            raise StubError(f"{nm} failed on {path}: {result.stderr.strip()}")
        outputs.append(result.stdout)
    return outputs


# ---------------------------------------------------------------------------------------------
# Classification


def is_cxx_runtime(symbol: str) -> bool:
    if symbol in _LIBSYSTEM_CXA:
        return False
    return symbol.startswith(_CXX_RUNTIME_PREFIXES) or bool(_FUNDAMENTAL_TYPEINFO.match(symbol))


@dataclass
class Classification:
    libsystem: set[str] = field(default_factory=set)
    libcxx: set[str] = field(default_factory=set)
    missing: list[str] = field(default_factory=list)


def looks_like_framework_api(symbol: str) -> bool:
    return bool(_FRAMEWORK_STYLE.match(symbol)) and not symbol.startswith(_LIBSYSTEM_CAPITALISED_PREFIXES)


def classify(undefined: set[str], provided: set[str], unlinked_owners: dict[str, str] | None = None) -> Classification:
    """`unlinked_owners`: symbol to the framework outside the link that exports it."""
    unlinked_owners = unlinked_owners or {}
    out = Classification(libsystem=set(_ALWAYS_LIBSYSTEM))
    for symbol in sorted(undefined):
        if symbol in provided or symbol in _LINKER_PROVIDED or symbol.startswith(_LINKER_PROVIDED_PREFIXES):
            continue
        if symbol in _STATIC_RUNTIME_ONLY:
            out.missing.append(f"{symbol} (compiler runtime: check with respondsToSelector: instead of @available)")
        elif is_cxx_runtime(symbol):
            out.libcxx.add(symbol)
        elif symbol.startswith("__Z"):
            out.missing.append(f"{symbol} (C++ symbol outside the standard library)")
        elif symbol.startswith(_OBJC_PREFIXES):
            out.missing.append(f"{symbol} (Objective-C symbol no linked framework exports)")
        elif symbol in unlinked_owners:
            out.missing.append(f"{symbol} (exported by {unlinked_owners[symbol]}.framework, which is not linked)")
        elif looks_like_framework_api(symbol):
            out.missing.append(f"{symbol} (C symbol no linked framework exports)")
        else:
            out.libsystem.add(symbol)
    return out


def write_if_changed(path: str, content: str) -> None:
    if os.path.exists(path):
        with open(path, encoding="utf-8") as handle:
            if handle.read() == content:
                return
    with open(path, "w", encoding="utf-8") as handle:
        handle.write(content)


def main(argv: list[str]) -> int:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--sdk", required=True)
    parser.add_argument("--out-dir", required=True)
    parser.add_argument("--nm", default="llvm-nm")
    parser.add_argument("--arch", action="append", default=[])
    parser.add_argument("--framework", action="append", default=[])
    parser.add_argument("--library", action="append", default=[])
    parser.add_argument("inputs", nargs="+")
    args = parser.parse_args(argv)
    archs = args.arch or ["arm64", "x86_64"]
    try:
        sdk = SdkExports(args.sdk)
        provided: set[str] = set()
        for name in args.framework:
            provided |= sdk.framework(name)
        for name in args.library:
            provided |= sdk.library(name)
        undefined = unresolved(read_nm(args.nm, args.inputs))
        result = classify(undefined, provided, sdk.owners(undefined - provided, args.framework))
        if result.missing:
            raise StubError("undefined symbols no system library provides:\n  " + "\n  ".join(result.missing))
    except StubError as error:
        print(f"macos-stubs: {error}", file=sys.stderr)
        return 1
    os.makedirs(args.out_dir, exist_ok=True)
    write_if_changed(os.path.join(args.out_dir, "libSystem.tbd"), render_tbd(LIBSYSTEM, archs, result.libsystem))
    write_if_changed(os.path.join(args.out_dir, "libc++.tbd"), render_tbd(LIBCXX, archs, result.libcxx))
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
