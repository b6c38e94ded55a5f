"""What an installation puts where, and that it works from there."""

import os
import shutil
import subprocess

import world

BUILD = os.environ.get("RECORD_CONVERTER_BUILD", "")
ID = "org.recordconverter.RecordConverter"


def install(prefix, **environment):
    subprocess.run(["cmake", "--install", BUILD, "--prefix", prefix, "--strip"], check=True,
                   stdout=subprocess.DEVNULL, env={**os.environ, **environment})


class Install(world.World):
    def setUp(self):
        super().setUp()
        self.prefix = os.path.join(self.root, "prefix")

    def _converts_from(self, prefix):
        self.application = os.path.join(prefix, "lib", "record-converter")
        result = subprocess.run([os.path.join(prefix, "bin", "meeting-client"), "record", "--out", "talk.mkv",
                                 "--seconds", "1", "--crash"], cwd=self.folder, env=self.environment,
                                stdout=subprocess.PIPE, text=True, check=False)
        self.assertIn(f"launched {self.application}/bin/record-converter", result.stdout)
        self.wait_converted(self.path("talk.mkv"), self.path("talk.mp4"))

    def test_works_from_its_prefix(self):
        install(self.prefix)
        self._converts_from(self.prefix)

    def test_works_where_it_has_been_moved_to(self):
        install("/usr", DESTDIR=os.path.join(self.root, "stage"))
        shutil.move(os.path.join(self.root, "stage", "usr"), os.path.join(self.root, "elsewhere"))
        self._converts_from(os.path.join(self.root, "elsewhere"))

    def test_puts_everything_in_its_place(self):
        install(self.prefix)
        for path in ("bin/record-converter", "bin/meeting-client", "bin/convert-recording",
                     "lib/record-converter/bin/record-converter",
                     "lib/record-converter/lib/libmediaconverter.so",
                     "lib/record-converter/libexec/mediaconverter-worker", "lib/record-converter/PlugIns",
                     "lib/record-converter/Resources/images/corvoball.svg",
                     "lib/record-converter/Resources/translations/Localizable_de.qm",
                     f"share/applications/{ID}.desktop", f"share/metainfo/{ID}.metainfo.xml",
                     f"share/icons/hicolor/scalable/apps/{ID}.svg",
                     f"share/icons/hicolor/symbolic/apps/{ID}-symbolic.svg",
                     "share/man/man1/record-converter.1.gz", "share/man/man1/meeting-client.1.gz",
                     "share/man/man1/convert-recording.1.gz",
                     "share/bash-completion/completions/meeting-client",
                     "share/bash-completion/completions/convert-recording",
                     "share/fish/vendor_completions.d/meeting-client.fish",
                     "share/fish/vendor_completions.d/convert-recording.fish",
                     "share/dbus-1/interfaces/org.recordconverter.NotificationCenter.xml",
                     "include/recordmeeting/KTRMeetingRecordNotifications.h"):
            self.assertTrue(os.path.exists(os.path.join(self.prefix, path)), path)
        self.assertEqual(os.listdir(os.path.join(self.prefix, "lib/record-converter/PlugIns")), [],
                         "the trace plug-in only where it is asked for")

    def test_holds_no_path_of_the_build(self):
        install(self.prefix)
        holding = subprocess.run(["grep", "-rlF", os.path.dirname(BUILD), self.prefix], stdout=subprocess.PIPE,
                                 text=True, check=False).stdout
        self.assertEqual(holding, "")

    def test_desktop_files_and_manuals_are_well_formed(self):
        install(self.prefix)
        share = os.path.join(self.prefix, "share")
        commands = [["desktop-file-validate", f"{share}/applications/{ID}.desktop"],
                    ["appstreamcli", "validate", "--no-net", f"{share}/metainfo/{ID}.metainfo.xml"]]
        for page in os.listdir(f"{share}/man/man1"):
            commands.append(["man", "--warnings", "-E", "UTF-8", "-l", "-Tutf8", f"{share}/man/man1/{page}"])
        for command in commands:
            result = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                                    env={**self.environment, "MANPAGER": "cat"}, check=False)
            self.assertEqual((result.returncode, result.stderr), (0, ""), (command, result.stdout))


class Packages(world.World):
    with_bus = False

    def test_are_well_formed_and_complete(self):
        subprocess.run(["cpack", "-G", "DEB", "-B", self.folder, "--config", f"{BUILD}/CPackConfig.cmake"], check=True,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, env={**self.environment, "DPKG_COLORS": "never"})
        packages = sorted(name for name in self.files() if name.endswith(".deb"))
        self.assertEqual([name.split("_")[0] for name in packages],
                         ["record-converter-dev", "record-converter-trace", "record-converter"])
        result = subprocess.run(["lintian", "--allow-root", "--fail-on", "error,warning", *packages], cwd=self.folder,
                                env=self.environment, stdout=subprocess.PIPE, text=True, check=False)
        self.assertEqual((result.returncode, result.stdout), (0, ""))
        development, trace, application = packages
        for library in ("libqt6widgets6", "libavformat59", "libseccomp2", "libc6"):
            self.assertIn(library, self._depends(application))
        # The plug-in is a package of its own, for the application must start without it, and adds no library.
        self.assertEqual({dependency.split()[0] for dependency in self._depends(trace).split(", ")},
                         {"record-converter", "libc6", "libgcc-s1", "libstdc++6"})
        plug_in = "./usr/lib/record-converter/PlugIns/ktrtrace.bundle"
        self.assertEqual([plug_in in self._contents(package) for package in (trace, application, development)],
                         [True, False, False])

    def _depends(self, package):
        return subprocess.run(["dpkg-deb", "--field", self.path(package), "Depends"], check=True,
                              stdout=subprocess.PIPE, text=True).stdout.strip()

    def _contents(self, package):
        return subprocess.run(["dpkg-deb", "--contents", self.path(package)], check=True, stdout=subprocess.PIPE,
                              text=True).stdout


if __name__ == "__main__":
    world.main()
