"""Tests of tools/macos-stubs.py and of what tools/macos-cross.py builds."""

import importlib.util
import os
import stat
import subprocess
import sys
import tempfile
import textwrap
import unittest

ROOT = os.path.abspath(os.path.join(os.path.dirname(__file__), "..", ".."))


def load(name):
    path = os.path.join(ROOT, "tools", name)
    found = importlib.util.spec_from_file_location(name.replace("-", "_").removesuffix(".py"), path)
    module = importlib.util.module_from_spec(found)
    sys.modules[found.name] = module  # dataclasses look their module up by name
    found.loader.exec_module(module)
    return module


stubs = load("macos-stubs.py")
cross = load("macos-cross.py")

UMBRELLA = textwrap.dedent("""\
    --- !tapi-tbd
    tbd-version:     4
    targets:         [ x86_64-macos, arm64-macos,
                       arm64e-macos ]
    install-name:    '/System/Library/Frameworks/Kit.framework/Versions/C/Kit'
    reexported-libraries:
      - targets:         [ x86_64-macos, arm64-macos ]
        libraries:       [ '/System/Library/Frameworks/Base.framework/Versions/A/Base',
                           '/System/Library/Frameworks/Kit.framework/Versions/C/Frameworks/Inner.framework/Versions/A/Inner' ]
    allowable-clients:
      - targets:         [ arm64-macos ]
        clients:         [ _NotASymbol ]
    exports:
      - targets:         [ x86_64-macos ]
        symbols:         [ _kitOnIntel ]
      - targets:         [ x86_64-macos, arm64-macos ]
        symbols:         [ '$ld$hide$os10.13$_old', _KitMain, _KitOther,
                           _KitThird ]
        objc-classes:    [ KitView ]
        objc-ivars:      [ KitView._frame ]
        weak-symbols:    [ _kitWeak ]
    undefineds:
      - targets:         [ arm64-macos ]
        symbols:         [ _importedNotExported ]
    --- !tapi-tbd
    tbd-version:     4
    targets:         [ arm64-macos ]
    install-name:    '/System/Library/Frameworks/Kit.framework/Versions/C/Frameworks/Inner.framework/Versions/A/Inner'
    parent-umbrella:
      - targets:         [ arm64-macos ]
        umbrella:        Kit
    exports:
      - targets:         [ arm64-macos ]
        symbols:         [ _innerFunction ]
        objc-eh-types:   [ InnerError ]
    ...
    """)

BASE = textwrap.dedent("""\
    --- !tapi-tbd
    tbd-version:     4
    targets:         [ arm64-macos ]
    install-name:    '/System/Library/Frameworks/Base.framework/Versions/A/Base'
    reexported-libraries:
      - targets:         [ arm64-macos ]
        libraries:       [ '/System/Library/Frameworks/Kit.framework/Versions/C/Kit' ]
    exports:
      - targets:         [ arm64-macos ]
        symbols:         [ _baseFunction ]
    ...
    """)


def make_sdk(directory):
    kit = os.path.join(directory, "System/Library/Frameworks/Kit.framework")
    base = os.path.join(directory, "System/Library/Frameworks/Base.framework/Versions/A")
    os.makedirs(kit)
    os.makedirs(base)
    with open(os.path.join(kit, "Kit.tbd"), "w") as handle:
        handle.write(UMBRELLA)
    with open(os.path.join(base, "Base.tbd"), "w") as handle:
        handle.write(BASE)
    os.makedirs(os.path.join(directory, "usr/lib"))
    with open(os.path.join(directory, "usr/lib/libobjc.tbd"), "w") as handle:
        handle.write(stubs.render_tbd("/usr/lib/libobjc.A.dylib", ["arm64"], {"_objc_msgSend", "_OBJC_CLASS_$_NSObject"}))


class TextStubParsing(unittest.TestCase):
    def test_reads_exports_of_every_kind_and_skips_imports_and_clients(self):
        umbrella, inner = stubs.parse_tbd(UMBRELLA)
        self.assertEqual(umbrella.install_name, "/System/Library/Frameworks/Kit.framework/Versions/C/Kit")
        self.assertEqual(
            umbrella.exports,
            {"_kitOnIntel", "$ld$hide$os10.13$_old", "_KitMain", "_KitOther", "_KitThird",
             "_OBJC_CLASS_$_KitView", "_OBJC_METACLASS_$_KitView", "_OBJC_IVAR_$_KitView._frame", "_kitWeak"})
        self.assertEqual(len(umbrella.reexported_libraries), 2)
        self.assertEqual(inner.exports, {"_innerFunction", "_OBJC_EHTYPE_$_InnerError"})

    def test_rendered_stub_reads_back_with_awkward_names(self):
        names = {"_plain", "_objc_like$name", "_it's", "__ZNSt3__14pairIiiE"}
        (doc,) = stubs.parse_tbd(stubs.render_tbd("/usr/lib/libSystem.B.dylib", ["arm64", "x86_64"], names))
        self.assertEqual(doc.install_name, "/usr/lib/libSystem.B.dylib")
        self.assertEqual(doc.exports, names)

    def test_empty_stub_has_no_export_list(self):
        text = stubs.render_tbd("/usr/lib/libc++.1.dylib", ["arm64"], set())
        self.assertNotIn("exports", text)
        self.assertEqual(stubs.parse_tbd(text)[0].exports, set())

    def test_framework_exports_follow_reexports_inline_and_on_disk_without_looping(self):
        with tempfile.TemporaryDirectory() as sdk:
            make_sdk(sdk)
            exports = stubs.SdkExports(sdk).framework("Kit")
        # Inner is inlined in Kit's file, Base is found by its install name; Base re-exports Kit back.
        self.assertTrue({"_KitMain", "_innerFunction", "_baseFunction"} <= exports)
        self.assertNotIn("_importedNotExported", exports)
        self.assertNotIn("_NotASymbol", exports)


class SymbolResolution(unittest.TestCase):
    def test_symbols_defined_by_another_input_are_not_unresolved(self):
        archive = "\nlibcore.a[a.o]:\n_needsB U 0 0\n__Z1bv U 0 0\n_strlen U 0 0\n\nlibcore.a[b.o]:\n__Z1bv T 10 0\n"
        entry = "_main T 0 0\n_needsB U 0 0\n_useless_local t 0 0\n"
        self.assertEqual(stubs.unresolved([archive, entry]), {"_needsB", "_strlen"})

    def test_classification(self):
        provided = {"_OBJC_CLASS_$_NSView", "_NSApplicationMain"}
        undefined = {
            "__ZNSt3__112basic_stringIcNS_11char_traitsIcEENS_9allocatorIcEEED1Ev",
            "__ZNKSt9exception4whatEv", "__ZSt9terminatev", "__ZTISt9exception",
            "__ZTVN10__cxxabiv117__class_type_infoE", "__Znwm", "__ZdlPvm", "__ZTIi", "__ZTIPKc",
            "___cxa_throw", "___gxx_personality_v0",
            "__ZTTNSt3__119basic_ostringstreamIcNS_11char_traitsIcEENS_9allocatorIcEEEE",
            "___cxa_atexit", "_strlen", "__Unwind_Resume", "__dispatch_main_q",
            "_OBJC_CLASS_$_NSView", "_NSApplicationMain", "_objc_msgSend$setTitle:", "___dso_handle",
        }
        result = stubs.classify(undefined, provided)
        self.assertEqual(result.missing, [])
        self.assertEqual(
            result.libcxx,
            {"__ZNSt3__112basic_stringIcNS_11char_traitsIcEENS_9allocatorIcEEED1Ev", "__ZNKSt9exception4whatEv",
             "__ZSt9terminatev", "__ZTISt9exception", "__ZTVN10__cxxabiv117__class_type_infoE", "__Znwm",
             "__ZdlPvm", "__ZTIi", "__ZTIPKc", "___cxa_throw", "___gxx_personality_v0",
             "__ZTTNSt3__119basic_ostringstreamIcNS_11char_traitsIcEENS_9allocatorIcEEEE"})
        # __cxa_atexit belongs to the C library; dyld_stub_binder is always offered for lazy binding.
        self.assertEqual(result.libsystem,
                         {"___cxa_atexit", "_strlen", "__Unwind_Resume", "__dispatch_main_q", "dyld_stub_binder"})

    def test_missing_definitions_are_reported_not_bound(self):
        # Binding these to a system library would link fine and fail only at launch.
        undefined = {"__ZN7tarvolo9platform11MacPlatformC1Ev", "__ZTI3Foo", "__ZTVN7tarvolo3BarE",
                     "_OBJC_CLASS_$_TRVMissing", "___isPlatformVersionAtLeast"}
        result = stubs.classify(undefined, set())
        self.assertEqual(len(result.missing), len(undefined))
        self.assertEqual(result.libcxx, set())
        self.assertEqual(result.libsystem, {"dyld_stub_binder"})


    def test_c_symbols_of_frameworks_are_never_bound_to_libsystem(self):
        # A framework left off the link line, or an API of one that no linked framework has, would
        # otherwise link and fail only at launch.
        undefined = {"_AXIsProcessTrusted", "_CGEventPost", "_kAXTrustedCheckOptionPrompt",
                     "_OSAtomicAdd32", "_CC_SHA256", "__NSConcreteStackBlock", "_os_log_create"}
        result = stubs.classify(undefined, set(), {"_AXIsProcessTrusted": "ApplicationServices"})
        self.assertEqual(result.missing, [
            "_AXIsProcessTrusted (exported by ApplicationServices.framework, which is not linked)",
            "_CGEventPost (C symbol no linked framework exports)",
            "_kAXTrustedCheckOptionPrompt (C symbol no linked framework exports)",
        ])
        self.assertEqual(result.libsystem, {"_OSAtomicAdd32", "_CC_SHA256", "__NSConcreteStackBlock",
                                            "_os_log_create", "dyld_stub_binder"})


class CommandLine(unittest.TestCase):
    def run_tool(self, sdk, out, nm_output):
        fake_nm = os.path.join(out, "fake-nm")
        with open(fake_nm, "w") as handle:
            handle.write(f"#!{sys.executable}\nimport sys\nsys.stdout.write({nm_output!r})\n")
        os.chmod(fake_nm, os.stat(fake_nm).st_mode | stat.S_IEXEC)
        return subprocess.run(
            [sys.executable, os.path.join(ROOT, "tools/macos-stubs.py"), "--sdk", sdk, "--out-dir",
             os.path.join(out, "stubs"), "--nm", fake_nm, "--framework", "Kit", "--library", "objc", "main.o"],
            capture_output=True, text=True)

    def test_writes_both_stubs_and_leaves_unchanged_ones_alone(self):
        with tempfile.TemporaryDirectory() as sdk, tempfile.TemporaryDirectory() as out:
            make_sdk(sdk)
            nm_output = "_main T 0 0\n_KitMain U 0 0\n_objc_msgSend U 0 0\n_fputs U 0 0\n__Znwm U 0 0\n"
            self.assertEqual(self.run_tool(sdk, out, nm_output).returncode, 0)
            system = os.path.join(out, "stubs/libSystem.tbd")
            with open(system) as handle:
                (doc,) = stubs.parse_tbd(handle.read())
            self.assertEqual(doc.exports, {"_fputs", "dyld_stub_binder"})
            with open(os.path.join(out, "stubs/libc++.tbd")) as handle:
                self.assertEqual(stubs.parse_tbd(handle.read())[0].exports, {"__Znwm"})
            os.utime(system, (1, 1))
            self.assertEqual(self.run_tool(sdk, out, nm_output).returncode, 0)
            self.assertEqual(os.stat(system).st_mtime, 1)  # Ninja's restat skips the relink

    def test_fails_naming_the_framework_left_off_the_link(self):
        with tempfile.TemporaryDirectory() as sdk, tempfile.TemporaryDirectory() as out:
            make_sdk(sdk)
            extra = os.path.join(sdk, "System/Library/Frameworks/Extra.framework")
            os.makedirs(extra)
            with open(os.path.join(extra, "Extra.tbd"), "w") as handle:
                handle.write(stubs.render_tbd("/System/Library/Frameworks/Extra.framework/Extra", ["arm64"],
                                              {"_extra_call"}))
            result = self.run_tool(sdk, out, "_main T 0 0\n_extra_call U 0 0\n_KitMain U 0 0\n")
            self.assertEqual(result.returncode, 1)
            self.assertIn("_extra_call (exported by Extra.framework, which is not linked)", result.stderr)

    def test_fails_naming_the_missing_symbol(self):
        with tempfile.TemporaryDirectory() as sdk, tempfile.TemporaryDirectory() as out:
            make_sdk(sdk)
            result = self.run_tool(sdk, out, "__ZN7tarvolo11AppDelegateC1Ev U 0 0\n")
            self.assertEqual(result.returncode, 1)
            self.assertIn("__ZN7tarvolo11AppDelegateC1Ev", result.stderr)
            self.assertFalse(os.path.exists(os.path.join(out, "stubs/libSystem.tbd")))


class AppIcon(unittest.TestCase):
    def test_shipped_icon_holds_every_size_each_at_its_own_type(self):
        with open(os.path.join(ROOT, "src/platform/macos/Resources/Tarvolo.icns"), "rb") as handle:
            data = handle.read()
        self.assertEqual(data[:4], b"icns")
        self.assertEqual(int.from_bytes(data[4:8], "big"), len(data))
        found = {}
        offset = 8
        while offset < len(data):
            kind, length = data[offset:offset + 4], int.from_bytes(data[offset + 4:offset + 8], "big")
            image = data[offset + 8:offset + length]
            self.assertEqual(image[:8], b"\x89PNG\r\n\x1a\n", kind)
            found[kind] = int.from_bytes(image[16:20], "big")  # the PNG header's width
            offset += length
        # 1x and 2x of 16, 32, 128, 256 and 512 points.
        self.assertEqual(found, {b"icp4": 16, b"icp5": 32, b"ic11": 32, b"ic12": 64, b"ic07": 128, b"ic13": 256,
                                 b"ic08": 256, b"ic14": 512, b"ic09": 512, b"ic10": 1024})


class CrossBuildSources(unittest.TestCase):
    def test_version_comes_from_the_cmake_project(self):
        self.assertRegex(cross.read_version(ROOT), r"^\d+\.\d+\.\d+$")

    def test_core_sources_leave_out_both_backends(self):
        with tempfile.TemporaryDirectory() as root:
            for relative in ["src/visibility/Policy.cpp", "src/visibility/deep/Engine.cpp", "src/platform/Platform.cpp",
                             "src/platform/sim/SimDesktop.cpp", "src/platform/macos/Helper.cpp", "src/other/Stray.cpp"]:
                os.makedirs(os.path.dirname(os.path.join(root, relative)), exist_ok=True)
                open(os.path.join(root, relative), "w").close()
            sources = [os.path.relpath(p, root) for p in cross.core_sources(root)]
        self.assertEqual(sources, ["src/other/Stray.cpp", "src/platform/Platform.cpp", "src/visibility/Policy.cpp",
                                   "src/visibility/deep/Engine.cpp"])

    def test_test_target_takes_the_macs_checks_and_the_platform_contract(self):
        with tempfile.TemporaryDirectory() as root:
            for relative in ["tests/macos/MacBackendTest.mm", "tests/macos/main.mm", "tests/platform/contract/A.cpp",
                             "tests/platform/contract/Contract.h", "tests/platform/sim/SimBackend.cpp"]:
                os.makedirs(os.path.dirname(os.path.join(root, relative)), exist_ok=True)
                open(os.path.join(root, relative), "w").close()
            sources = [os.path.relpath(p, root) for p in cross.test_sources(root)]
        self.assertEqual(sources,
                         ["tests/macos/MacBackendTest.mm", "tests/macos/main.mm", "tests/platform/contract/A.cpp"])

    def test_every_resource_file_is_copied_into_the_bundle(self):
        with tempfile.TemporaryDirectory() as root:
            folder = os.path.join(root, "src/platform/macos/Resources")
            os.makedirs(os.path.join(folder, "nested"))
            for name in ["Tarvolo.icns", "Tarvolo.sdef", ".DS_Store"]:
                open(os.path.join(folder, name), "w").close()
            self.assertEqual([name for name, _ in cross.resources(root)], ["Tarvolo.icns", "Tarvolo.sdef"])
        ninja = CrossBuildGoogleTest.generate(self, "/nonexistent")
        self.assertRegex(ninja, r"build \S*/Tarvolo\.app/Contents/Resources/Tarvolo\.icns: copy \S*/Resources/Tarvolo\.icns")
        default = [line for line in ninja.splitlines() if line.startswith("default ")][0]
        self.assertIn("Contents/Resources/Tarvolo.icns", default)

    def test_every_objective_c_file_is_checked_and_check_is_not_built_by_default(self):
        ninja = CrossBuildGoogleTest.generate(self, "/nonexistent")
        check = [line for line in ninja.splitlines() if line.startswith("build check: phony ")][0]
        for source in cross.checked_sources(ROOT):
            self.assertIn(os.path.relpath(source, ROOT) + ".o.checked", check)
        self.assertIn("src/platform/macos/main.mm", check)
        self.assertIn("tests/macos/MacBackendTest.mm", check)
        self.assertNotIn(".cpp", check)
        rule = ninja[ninja.index("rule check"):].split("\n\n")[0]
        for checker in ["core", "cplusplus", "unix", "osx"]:
            self.assertRegex(rule, rf"-analyzer-checker=[a-z,]*\b{checker}\b")
        self.assertIn("-Wundeclared-selector", rule)
        self.assertIn("-Wunguarded-availability", rule)
        self.assertIn("grep -q 'warning:'", rule)
        default = [line for line in ninja.splitlines() if line.startswith("default ")][0]
        self.assertNotIn(".checked", default)

    def test_objects_of_sources_outside_the_tree_stay_inside_the_build(self):
        self.assertEqual(cross.object_path("/b", "/src/t", "arm64", "/src/t/src/base/Log.cpp"),
                         "/b/obj/arm64/src/base/Log.cpp.o")
        self.assertEqual(cross.object_path("/b", "/src/t", "arm64", "/usr/src/googletest/googletest/src/gtest-all.cc"),
                         "/b/obj/arm64/external/gtest-all.cc.o")


class CrossBuildGoogleTest(unittest.TestCase):
    def generate(self, googletest):
        with tempfile.TemporaryDirectory() as build:
            args = cross.argparse.Namespace(
                source_dir=ROOT, build_dir=build, sdk="/sdk/MacOSX14.2.sdk", clang="clang", ld="ld64.lld",
                lipo="llvm-lipo", nm="llvm-nm", ar="llvm-ar", arch=["arm64", "x86_64"], werror=True,
                googletest=googletest)
            return cross.generate(args)

    def test_googletest_is_compiled_per_architecture_without_the_projects_warnings(self):
        with tempfile.TemporaryDirectory() as googletest:
            os.makedirs(os.path.join(googletest, "googletest", "src"))
            os.makedirs(os.path.join(googletest, "googletest", "include"))
            open(os.path.join(googletest, "googletest", "src", "gtest-all.cc"), "w").close()
            ninja = self.generate(googletest)
        for arch in ["arm64", "x86_64"]:
            self.assertRegex(ninja, rf"build \S*/lib/{arch}/libgtest\.a: ar \S*/obj/{arch}/external/gtest-all\.cc\.o")
            self.assertRegex(ninja, rf"build \S*/bin/{arch}/tarvolo-macos-tests: link [^\n]*libgtest\.a")
        gtest_object = ninja[ninja.index("external/gtest-all.cc.o: cxx"):].split("\nbuild ")[0]
        self.assertIn("warnings = -w", gtest_object)
        contract = ninja[ninja.index("tests/platform/contract/"):].split("\nbuild ")[0]
        self.assertNotIn("-fobjc-arc", contract)
        self.assertIn("-isystem", contract)
        self.assertIn("bin/tarvolo-macos-tests", ninja.split("\ndefault ")[1])

    def test_without_googletest_only_the_app_is_built(self):
        with tempfile.TemporaryDirectory() as empty:
            ninja = self.generate(empty)
        self.assertNotIn("tarvolo-macos-tests", ninja)
        self.assertNotIn("libgtest", ninja)
        self.assertIn("Tarvolo.app", ninja.split("\ndefault ")[1])


if __name__ == "__main__":
    unittest.main()
