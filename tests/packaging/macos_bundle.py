#!/usr/bin/env python3
"""What the Mac application is packed with, as far as that can be seen without a Mac: its property lists, its icon's
pictures, the scripts that sign and pack it, and the workflow that builds it."""

import json
import os
import pathlib
import platform
import plistlib
import re
import struct
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
MAC = ROOT / "packaging/macos"
SCRIPTS = ("sign", "dmg", "notarize", "universal")


class MacBundle(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="tallyfox-macos-")
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def configured(self, **settings):
        """Runs the configuration as the build does."""
        values = {"OUTPUT": self.folder, "TALLYFOX_VERSION": "1.2.3", **settings}
        return subprocess.run(["cmake", *(f"-D{name}={value}" for name, value in values.items()), "-P",
                               str(MAC / "resources.cmake")], text=True, capture_output=True, timeout=60)

    def information(self, **settings):
        done = self.configured(**settings)
        self.assertEqual(0, done.returncode, done.stderr)
        return plistlib.loads((self.folder / "Info.plist").read_bytes())

    def application(self, name="Tallyfox.app"):
        information = self.folder / name / "Contents/Info.plist"
        information.parent.mkdir(parents=True)
        information.write_text("")
        return self.folder / name

    def refused(self, script, *arguments, **environment):
        """What a script complains about."""
        kept = {name: value for name, value in os.environ.items() if not name.startswith("TALLYFOX_")}
        done = subprocess.run([str(MAC / script), *map(str, arguments)], env=dict(kept, **environment), text=True,
                              capture_output=True, stdin=subprocess.DEVNULL, timeout=60)
        self.assertEqual((2, ""), (done.returncode, done.stdout), done.stderr)
        self.assertRegex(done.stderr, rf"\A{script}: .*\n\Z")
        return done.stderr

    def test_the_information_says_what_the_agent_is(self):
        information = self.information()
        for key, value in {"CFBundleIdentifier": "com.tallyfox.agent", "CFBundleExecutable": "Tallyfox",
                           "CFBundleShortVersionString": "1.2.3", "CFBundleVersion": "1.2.3",
                           "CFBundlePackageType": "APPL", "LSMinimumSystemVersion": "13.0", "LSUIElement": True,
                           "NSHighResolutionCapable": True, "NSSupportsSuddenTermination": False}.items():
            self.assertEqual(value, information[key], key)

    def test_the_oldest_system_is_the_same_everywhere(self):
        self.assertIn("CMAKE_OSX_DEPLOYMENT_TARGET 13.0", (ROOT / "CMakeLists.txt").read_text(encoding="utf-8"))
        self.assertIn('OLDEST_SYSTEM = "13.0"', (ROOT / "scripts/macos/toolchain.py").read_text(encoding="utf-8"))
        for triplet in MAC.glob("triplets/*.cmake"):
            self.assertIn("VCPKG_OSX_DEPLOYMENT_TARGET 13.0", triplet.read_text(encoding="utf-8"), triplet)

    def test_only_the_local_network_is_open_to_unencrypted_relays(self):
        self.assertEqual({"NSAllowsLocalNetworking": True}, self.information()["NSAppTransportSecurity"])
        self.assertTrue(self.information()["NSLocalNetworkUsageDescription"])

    def test_there_are_no_updates_unless_they_are_set(self):
        self.assertEqual(set(), {key for key in self.information() if key.startswith("SU")})

    def test_updates_have_a_feed_and_a_key(self):
        feed, key = "https://updates.example/feed.xml?a=1&b=<2>", "c2lnbmF0dXJl+/=="
        information = self.information(TALLYFOX_SPARKLE_FEED_URL=feed, TALLYFOX_SPARKLE_PUBLIC_KEY=key)
        self.assertEqual((feed, key), (information["SUFeedURL"], information["SUPublicEDKey"]))
        done = self.configured(TALLYFOX_SPARKLE_FEED_URL=feed)
        self.assertNotEqual(0, done.returncode)
        self.assertIn("only make sense together", " ".join(done.stderr.split()))

    def test_the_relay_is_a_resource_where_it_is_set(self):
        self.information()
        self.assertFalse((self.folder / "RelayConfig.plist").exists())
        relay = {"relayURL": "wss://relay.example/agent?a=1&b=<2>", "pairingID": "office & home"}
        self.information(TALLYFOX_RELAY_URL=relay["relayURL"], TALLYFOX_PAIRING_ID=relay["pairingID"])
        self.assertEqual(relay, plistlib.loads((self.folder / "RelayConfig.plist").read_bytes()))
        self.assertNotEqual(0, self.configured(TALLYFOX_RELAY_URL=relay["relayURL"]).returncode)

    def test_the_entitlements_are_none_but_those_of_a_profile(self):
        self.assertEqual({}, plistlib.loads((MAC / "Tallyfox.entitlements").read_bytes()))
        text = (MAC / "Keychain.entitlements.in").read_text(encoding="utf-8").replace("@TEAM@", "ABCDE12345")
        self.assertEqual({"com.apple.application-identifier": "ABCDE12345.com.tallyfox.agent",
                          "com.apple.developer.team-identifier": "ABCDE12345",
                          "keychain-access-groups": ["ABCDE12345.com.tallyfox.agent"]}, plistlib.loads(text.encode()))

    def test_the_icon_has_every_picture(self):
        pictures = {path.name: path.read_bytes() for path in (MAC / "Tallyfox.iconset").iterdir()}
        wanted = {f"icon_{points}x{points}{suffix}.png": points * scale
                  for points in (16, 32, 128, 256, 512) for scale, suffix in ((1, ""), (2, "@2x"))}
        self.assertEqual(set(wanted), set(pictures))
        for name, pixels in wanted.items():
            # The size stands behind the signature and the name of a PNG's first part.
            self.assertEqual((pixels, pixels), struct.unpack(">II", pictures[name][16:24]), name)

    def test_the_scripts_explain_their_use(self):
        for script in SCRIPTS:
            self.assertIn(f"usage: packaging/macos/{script}", self.refused(script), script)

    def test_the_scripts_explain_missing_identities(self):
        application = self.application()
        self.assertRegex(self.refused("sign", application), "TALLYFOX_SIGNING_IDENTITY is not set.*find-identity")
        self.assertIn("TALLYFOX_TEAM_ID", self.refused("sign", application, TALLYFOX_SIGNING_IDENTITY="-",
                                                       TALLYFOX_PROVISIONING_PROFILE="some.provisionprofile"))
        self.assertRegex(self.refused("notarize", "some.dmg"), "TALLYFOX_NOTARY_PROFILE is not set.*store-credentials")

    def test_the_scripts_refuse_what_is_no_application(self):
        self.assertIn("is no application", self.refused("sign", self.folder, TALLYFOX_SIGNING_IDENTITY="-"))
        self.assertIn("is no application", self.refused("dmg", self.folder, self.folder / "some.dmg"))
        self.assertIn("no disk image", self.refused("notarize", self.folder / "none.dmg", TALLYFOX_NOTARY_PROFILE="p"))

    def test_builds_with_other_settings_are_not_joined(self):
        one, other = self.application("one.app"), self.application("other.app")
        (other / "Contents/Info.plist").write_text("different")
        self.assertIn("different settings", self.refused("universal", one, other, self.folder / "out.app"))
        self.assertIn("is in the way", self.refused("universal", one, one, other))

    def test_builds_with_other_relays_are_not_joined(self):
        one, other = self.application("one.app"), self.application("other.app")
        relay = other / "Contents/Resources/RelayConfig.plist"
        relay.parent.mkdir()
        relay.write_text("relay")
        for pair in ((one, other), (other, one)):
            self.assertIn("RelayConfig.plist differ", self.refused("universal", *pair, self.folder / "out.app"))

    @unittest.skipIf(platform.system() == "Darwin", "here they would do their work")
    def test_the_scripts_need_a_mac(self):
        application, image = self.application(), self.folder / "some.dmg"
        self.assertIn("needs a Mac", self.refused("sign", application, TALLYFOX_SIGNING_IDENTITY="-"))
        self.assertIn("needs a Mac", self.refused("dmg", application, image))
        self.assertIn("needs a Mac", self.refused("universal", application, application, self.folder / "out.app"))
        image.write_text("")
        self.assertIn("needs a Mac", self.refused("notarize", image, TALLYFOX_NOTARY_PROFILE="p"))

    def test_the_presets_and_the_manifest_name_what_there_is(self):
        presets = {preset["name"]: preset
                   for preset in json.loads((ROOT / "CMakePresets.json").read_text())["configurePresets"]}
        manifest = json.loads((MAC / "vcpkg.json").read_text(encoding="utf-8"))
        self.assertIn(presets["macos"]["cacheVariables"]["VCPKG_MANIFEST_FEATURES"], manifest["features"])
        for architecture in ("arm64", "x86_64"):
            variables = presets[f"macos-{architecture}"]["cacheVariables"]
            triplet = (MAC / f"triplets/{variables['VCPKG_TARGET_TRIPLET']}.cmake").read_text(encoding="utf-8")
            self.assertIn(f"VCPKG_OSX_ARCHITECTURES {variables['CMAKE_OSX_ARCHITECTURES']})", triplet)

    def test_the_workflow_runs_every_suite_and_only_what_there_is(self):
        import yaml  # of Debian's python3-yaml, like the rest of what tests need
        text = (ROOT / ".github/workflows/macos.yml").read_text(encoding="utf-8")
        jobs = yaml.safe_load(text)["jobs"]
        self.assertEqual(["build", "application"], list(jobs))
        commands = "\n".join(step.get("run", "") for job in jobs.values() for step in job["steps"])
        for script in re.findall(r"packaging/macos/(\w+) ", commands):
            self.assertIn(script, SCRIPTS)
        for label in ("contract", "contract_macos", "sim"):
            self.assertIn(f"-L '^{label}$'", commands)
        self.assertIn("-LE '^(contract|contract_macos|sim)$'", commands)
        self.assertEqual({"arm64", "x86_64"}, {entry["arch"] for entry in jobs["build"]["strategy"]["matrix"]["include"]})


if __name__ == "__main__":
    unittest.main(verbosity=2)
