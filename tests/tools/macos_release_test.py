"""The release packer: the zip keeps a framework's links, the appcast item carries what the
update framework checks, and the cask names the zip's digest."""

import importlib.util
import os
import tempfile
import unittest
import zipfile

ROOT = os.path.abspath(os.path.join(os.path.dirname(__file__), "..", ".."))
module_spec = importlib.util.spec_from_file_location("macos_release", os.path.join(ROOT, "tools", "macos-release.py"))
release = importlib.util.module_from_spec(module_spec)
module_spec.loader.exec_module(release)


class MacosRelease(unittest.TestCase):
    def test_signature_is_read_from_the_signing_tools_output(self):
        output = 'sparkle:edSignature="abc+/=" length="1234"\n'
        self.assertEqual(release.signature_from(output), "abc+/=")
        self.assertIsNone(release.signature_from("error: no key in keychain"))

    def test_appcast_item_names_version_length_and_signature(self):
        item = release.appcast_item("1.2.0", "https://x/Tarvolo-1.2.0.zip", 4321, "sig==", "<p>New]]></p>", "date")
        self.assertIn("<sparkle:version>1.2.0</sparkle:version>", item)
        self.assertIn('length="4321"', item)
        self.assertIn('sparkle:edSignature="sig=="', item)
        self.assertIn("<sparkle:minimumSystemVersion>13.0</sparkle:minimumSystemVersion>", item)
        self.assertNotIn("New]]></p>", item, "notes cannot end the CDATA section early")
        self.assertNotIn("edSignature", release.appcast_item("1.2.0", "u", 1, None, "", "date"))

    def test_cask_names_the_digest_and_templates_the_version_in_the_url(self):
        cask = release.cask("1.2.0", "ff" * 32, "https://x/v1.2.0/Tarvolo-1.2.0.zip", "https://tarvolo.app")
        self.assertIn('version "1.2.0"', cask)
        self.assertIn('sha256 "' + "ff" * 32 + '"', cask)
        self.assertIn('url "https://x/v#{version}/Tarvolo-#{version}.zip"', cask)
        self.assertIn('app "Tarvolo.app"', cask)

    def test_zip_keeps_links_and_executable_bits_under_the_apps_folder(self):
        with tempfile.TemporaryDirectory() as work:
            app = os.path.join(work, "Tarvolo.app")
            versions = os.path.join(app, "Contents", "Frameworks", "Kit.framework", "Versions")
            os.makedirs(os.path.join(versions, "B"))
            with open(os.path.join(versions, "B", "Kit"), "w") as handle:
                handle.write("binary")
            os.chmod(os.path.join(versions, "B", "Kit"), 0o755)
            os.symlink("B", os.path.join(versions, "Current"))
            archive = os.path.join(work, "out.zip")
            release.zip_app(app, archive)
            with zipfile.ZipFile(archive) as done:
                entries = {info.filename: info for info in done.infolist()}
                link = entries["Tarvolo.app/Contents/Frameworks/Kit.framework/Versions/Current"]
                self.assertEqual((link.external_attr >> 16) & 0o170000, 0o120000)
                self.assertEqual(done.read(link), b"B")
                binary = entries["Tarvolo.app/Contents/Frameworks/Kit.framework/Versions/B/Kit"]
                self.assertEqual((binary.external_attr >> 16) & 0o777, 0o755)


if __name__ == "__main__":
    unittest.main()
