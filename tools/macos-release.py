#!/usr/bin/env python3
"""Makes the files of one release of Tarvolo.app: the zip of the signed app, the appcast item
that announces it to the update framework, and a Homebrew cask.

The item's signature comes from the update framework's own signing tool (`sign_update`, part of
its release, which reads the private key from the login keychain on a Mac); without the tool the
item is written unsigned and the script says so, since the framework refuses an unsigned
archive. Standard library only.
"""

from __future__ import annotations

import argparse
import email.utils
import hashlib
import os
import re
import stat
import subprocess
import sys
import time
import zipfile
from xml.sax.saxutils import escape, quoteattr

MINIMUM_MACOS = "13.0"
SIGNATURE = re.compile(r'sparkle:edSignature="([^"]+)"')


def zip_app(app: str, archive: str) -> None:
    """Zips the bundle with its folder name at the top, keeping symbolic links as links (a
    framework's Versions/Current is one) and the executable bits."""
    parent = os.path.dirname(os.path.abspath(app))
    with zipfile.ZipFile(archive, "w", zipfile.ZIP_DEFLATED) as out:
        for folder, directories, files in os.walk(app):
            directories.sort()
            for name in sorted(files) + [d for d in directories if os.path.islink(os.path.join(folder, d))]:
                path = os.path.join(folder, name)
                entry = zipfile.ZipInfo(os.path.relpath(path, parent), time.localtime(os.lstat(path).st_mtime)[:6])
                entry.create_system = 3  # Unix, so the mode below is honoured
                if os.path.islink(path):
                    entry.external_attr = (stat.S_IFLNK | 0o755) << 16
                    out.writestr(entry, os.readlink(path))
                    continue
                entry.external_attr = (stat.S_IFREG | stat.S_IMODE(os.stat(path).st_mode)) << 16
                entry.compress_type = zipfile.ZIP_DEFLATED
                with open(path, "rb") as handle:
                    out.writestr(entry, handle.read())


def sha256(path: str) -> str:
    digest = hashlib.sha256()
    with open(path, "rb") as handle:
        for block in iter(lambda: handle.read(1 << 20), b""):
            digest.update(block)
    return digest.hexdigest()


def signature_from(output: str) -> str | None:
    """The EdDSA signature in what `sign_update` prints (`sparkle:edSignature="…" length="…"`)."""
    found = SIGNATURE.search(output)
    return found.group(1) if found else None


def appcast_item(version: str, url: str, length: int, signature: str | None, notes: str, date: str) -> str:
    attributes = f'url={quoteattr(url)} length="{length}" type="application/octet-stream"'
    if signature:
        attributes += f" sparkle:edSignature={quoteattr(signature)}"
    return "\n".join([
        "<item>",
        f"  <title>{escape('Tarvolo ' + version)}</title>",
        f"  <pubDate>{escape(date)}</pubDate>",
        f"  <sparkle:version>{escape(version)}</sparkle:version>",
        f"  <sparkle:shortVersionString>{escape(version)}</sparkle:shortVersionString>",
        f"  <sparkle:minimumSystemVersion>{MINIMUM_MACOS}</sparkle:minimumSystemVersion>",
        f"  <description><![CDATA[{notes.replace(']]>', ']]&gt;')}]]></description>",
        f"  <enclosure {attributes}/>",
        "</item>",
        "",
    ])


def cask(version: str, digest: str, url: str, homepage: str) -> str:
    # The cask names the version once; its url repeats it through #{version}.
    templated = url.replace(version, "#{version}")
    return "\n".join([
        'cask "tarvolo" do',
        f'  version "{version}"',
        f'  sha256 "{digest}"',
        "",
        f'  url "{templated}"',
        '  name "Tarvolo"',
        '  desc "Tidies the menu bar by hiding the icons you rarely need"',
        f'  homepage "{homepage}"',
        "",
        "  auto_updates true",
        '  depends_on macos: ">= :ventura"',
        "",
        '  app "Tarvolo.app"',
        "",
        "  zap trash: [",
        '    "~/Library/Preferences/com.ostrand.tarvolo.plist",',
        "  ]",
        "end",
        "",
    ])


def main(argv: list[str]) -> int:
    parser = argparse.ArgumentParser(description="Packs a release of Tarvolo.app.")
    parser.add_argument("--app", required=True, help="the signed Tarvolo.app")
    parser.add_argument("--version", required=True)
    parser.add_argument("--out-dir", required=True)
    parser.add_argument("--zip", default="", help="an archive made already (ditto on a Mac); else one is made")
    parser.add_argument("--sign-update", default="", help="the update framework's sign_update tool")
    parser.add_argument("--download-base", default="https://tarvolo.app/releases")
    parser.add_argument("--homepage", default="https://tarvolo.app")
    parser.add_argument("--notes", default="", help="a file with the release notes (HTML)")
    args = parser.parse_args(argv)

    os.makedirs(args.out_dir, exist_ok=True)
    name = f"Tarvolo-{args.version}.zip"
    archive = os.path.join(args.out_dir, name)
    if args.zip:
        if os.path.abspath(args.zip) != os.path.abspath(archive):
            os.replace(args.zip, archive)
    else:
        zip_app(args.app, archive)
    signature = None
    if args.sign_update:
        result = subprocess.run([args.sign_update, archive], capture_output=True, text=True, check=False)
        signature = signature_from(result.stdout)
        if not signature:
            print(f"macos-release: sign_update gave no signature: {result.stderr.strip()}", file=sys.stderr)
            return 1
    else:
        print("macos-release: the appcast item is unsigned (sign_update runs on a Mac); the updater will refuse it")
    notes = ""
    if args.notes:
        with open(args.notes, encoding="utf-8") as handle:
            notes = handle.read()
    url = f"{args.download_base.rstrip('/')}/{name}"
    length = os.path.getsize(archive)
    date = email.utils.formatdate(usegmt=True)
    with open(os.path.join(args.out_dir, "appcast-item.xml"), "w", encoding="utf-8") as handle:
        handle.write(appcast_item(args.version, url, length, signature, notes, date))
    with open(os.path.join(args.out_dir, "tarvolo.rb"), "w", encoding="utf-8") as handle:
        handle.write(cask(args.version, sha256(archive), url, args.homepage))
    print(f"released {archive} ({length} bytes), appcast-item.xml and tarvolo.rb in {args.out_dir}")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
