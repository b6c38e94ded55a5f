"""Where an installation puts its files, and that they work there."""

import os
import shutil
import subprocess

import world
from gi.repository import Gio, GLib

BUILD = os.environ.get("RECORD_CONVERTER_BUILD", "")
PACKAGES = os.environ.get("RECORD_CONVERTER_PACKAGES", "")
LIBRARIES = os.environ.get("RECORD_CONVERTER_LIBRARIES", "lib")
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
                     "lib/systemd/user/graphical-session.target.wants/record-converter-pending.service",
                     f"etc/xdg/autostart/{ID}.Pending.desktop",
                     "share/bash-completion/completions/meeting-client",
                     "share/bash-completion/completions/convert-recording",
                     "share/fish/vendor_completions.d/meeting-client.fish",
                     "share/fish/vendor_completions.d/convert-recording.fish",
                     "share/dbus-1/interfaces/org.recordconverter.NotificationCenter.xml",
                     "include/recordmeeting/KTRMeetingRecordNotifications.h",
                     f"{LIBRARIES}/pkgconfig/recordmeeting.pc"):
            self.assertTrue(os.path.exists(os.path.join(self.prefix, path)), path)
        self.assertEqual(os.listdir(os.path.join(self.prefix, "lib/record-converter/PlugIns")), [],
                         "the trace plug-in only where it is asked for")

    def _log_in(self):
        """Runs the command of the autostart entry."""
        entry = os.path.join(self.prefix, "etc", "xdg", "autostart", f"{ID}.Pending.desktop")
        command = GLib.shell_parse_argv(Gio.DesktopAppInfo.new_from_filename(entry).get_commandline())[1]
        path = os.path.join(self.prefix, "bin") + ":" + self.environment["PATH"]
        return subprocess.Popen(command, env={**self.environment, "PATH": path}, stderr=subprocess.DEVNULL)

    def test_a_login_converts_what_was_left_and_starts_nothing_otherwise(self):
        install(self.prefix)
        self.application = os.path.join(self.prefix, "lib", "record-converter")
        self.assertEqual(self._log_in().wait(20), 0)
        self.assertFalse(self.line.converter_runs())
        meeting = self.meeting()
        converter = self.launch_for(meeting, self.recording())
        converter.kill()
        meeting.die()
        converter.wait()
        started = self._log_in()
        self.addCleanup(started.kill)
        self.wait_converted(self.path("talk.mkv"), self.path("talk.mp4"))
        self.assertEqual(self.wait_ended(started), 0)
        self.assertEqual(self._log_in().wait(20), 0)

    def test_holds_no_path_of_the_build(self):
        install(self.prefix)
        holding = subprocess.run(["grep", "-rlF", os.path.dirname(BUILD), self.prefix], stdout=subprocess.PIPE,
                                 text=True, check=False).stdout
        self.assertEqual(holding, "")

    def test_desktop_files_and_manuals_are_well_formed(self):
        install(self.prefix)
        share = os.path.join(self.prefix, "share")
        commands = [["desktop-file-validate", f"{share}/applications/{ID}.desktop"],
                    ["desktop-file-validate", f"{self.prefix}/etc/xdg/autostart/{ID}.Pending.desktop"],
                    ["appstreamcli", "validate", "--no-net", *self._strictness(),
                     f"{share}/metainfo/{ID}.metainfo.xml"]]
        for page in os.listdir(f"{share}/man/man1"):
            commands.append(["man", "--warnings", "-E", "UTF-8", "-l", "-Tutf8", f"{share}/man/man1/{page}"])
        for command in commands:
            result = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                                    env={**self.environment, "MANPAGER": "cat"}, check=False)
            self.assertEqual((result.returncode, result.stderr), (0, ""), (command, result.stdout))


    def _strictness(self):
        # Releases before 1.0 do not know today's format for developers and report it as information.
        version = subprocess.run(["appstreamcli", "--version"], stdout=subprocess.PIPE, text=True, check=True).stdout
        return [] if "version: 0." in version else ["--strict"]

    def test_a_client_builds_with_pkg_config(self):
        install(self.prefix)
        with open(self.path("client.cpp"), "w", encoding="utf-8") as file:
            file.write("#include <recordmeeting/KTRMeetingRecordNotifications.h>\n#include <cstdio>\n"
                       "int main() { std::puts(kMeetingRecordConverterBundleIdentifier); }\n")
        environment = {**os.environ, "PKG_CONFIG_PATH": os.path.join(self.prefix, LIBRARIES, "pkgconfig")}
        subprocess.run("c++ client.cpp -o client $(pkg-config --cflags --libs recordmeeting)", shell=True, check=True,
                       cwd=self.folder, env=environment)
        self.assertEqual(subprocess.run([self.path("client")], stdout=subprocess.PIPE, text=True, check=True).stdout,
                         "org.recordconverter.RecordConverter\n")


class Packages(world.World):
    with_bus = False

    def test_are_complete(self):
        self.folder = PACKAGES
        development, trace, application = (self._package(end) for end in ("-dev", "-trace", ""))
        self._package("-dbgsym")
        for library in ("libqt6widgets6", "libavformat", "libseccomp2", "libjemalloc2", "libxxhash0", "libc6"):
            self.assertIn(library, self._depends(application))
        self.assertEqual([name for name in self._contents(application).splitlines() if "PlugIns" in name], [])
        # The plug-in is a separate package, because the application must start without it, and adds no library.
        self.assertEqual({dependency.split()[0] for dependency in self._depends(trace).split(", ")},
                         {"record-converter", "libc6", "libgcc-s1", "libstdc++6"})
        plug_in = "./usr/lib/record-converter/PlugIns/ktrtrace.bundle"
        self.assertEqual([plug_in in self._contents(package) for package in (trace, application, development)],
                         [True, False, False])

    def _package(self, end):
        names = [name for name in self.files() if name.startswith(f"record-converter{end}_") and name.endswith(".deb")]
        self.assertEqual(len(names), 1, (end, self.files()))
        return names[0]

    def _depends(self, package):
        return subprocess.run(["dpkg-deb", "--field", self.path(package), "Depends"], check=True,
                              stdout=subprocess.PIPE, text=True).stdout.strip()

    def _contents(self, package):
        return subprocess.run(["dpkg-deb", "--contents", self.path(package)], check=True, stdout=subprocess.PIPE,
                              text=True).stdout


if __name__ == "__main__":
    world.main()
