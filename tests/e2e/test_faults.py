"""Faults around the converter, and its reactions to them."""

import os
import re
import subprocess

import bus
import recordings
import world


class FailingConversions(world.World):
    def test_junk_is_left_as_it_is(self):
        meeting = self.meeting()
        with open(self.path("junk.mkv"), "wb") as file:
            file.write(b"this is no recording\n" * 1000)
        converter = self.launch_for(meeting, self.path("junk.mkv"))
        meeting.die()
        self.assertEqual(self.wait_ended(converter), 0)
        self.assertEqual(self.files(), ["junk.mkv"])
        with open(self.path("junk.mkv"), "rb") as file:
            self.assertEqual(file.read(), b"this is no recording\n" * 1000)
        self.assertRegex(self.log_text(), r"convert error [1-9]")

    def test_a_failure_does_not_stop_what_comes_after(self):
        meeting = self.meeting()
        converter = self.launch_for(meeting, self.path("missing.mkv"))
        self.line.stopped(meeting.pid)
        self.line.started(meeting.pid, self.recording("good.mkv"))
        self.line.quit(meeting.pid)
        self.wait_converted(self.path("good.mkv"), self.path("good.mp4"))
        self.assertEqual(self.wait_ended(converter), 0)
        self.assertEqual(self.files(), ["good.mp4"])
        self.assertEqual(len(re.findall("convert error", self.log_text())), 1)

    def test_a_meeting_that_is_gone_at_the_launch_has_its_recording_converted(self):
        meeting = self.meeting()
        meeting.die()
        source = self.recording()
        converter = self.launch_for(meeting, source)
        self.wait_converted(source, self.path("talk.mp4"))
        self.assertEqual(self.wait_ended(converter), 0)

    def test_a_meeting_that_is_gone_at_its_first_notification_has_its_recording_converted(self):
        converter = self.launch()
        self.line.wait_confirmed(0)
        meeting = self.meeting()
        meeting.die()
        source = self.recording()
        self.line.started(meeting.pid, source)
        self.wait_converted(source, self.path("talk.mp4"))
        self.assertEqual(self.wait_ended(converter), 0)

    def test_a_first_launch_with_a_relative_path_is_refused_in_plain_words(self):
        meeting = self.meeting()
        self.recording()
        converter = self.launch("-pid", str(meeting.pid), "-path", "talk.mkv", folder=self.folder)
        self.line.wait_confirmed(meeting.pid)
        meeting.die()
        self.assertEqual(self.wait_ended(converter), 0)
        self.assertIn("path is not absolute", self.log_text())
        self.assertEqual(self.files(), ["talk.mkv"])
        self.assertFalse(os.path.exists("/talk.mp4"))

    def test_stray_stops_do_not_keep_it(self):
        meeting, other = self.meeting(), self.meeting()
        other.die()
        source = self.recording()
        converter = self.launch_for(meeting, source)
        self.line.stopped(other.pid)
        self.line.post(bus.STOPPED)
        meeting.die()
        self.wait_converted(source, self.path("talk.mp4"))
        self.assertEqual(self.wait_ended(converter), 0)

    def test_a_launch_without_a_path_serves_the_meeting(self):
        meeting = self.meeting()
        converter = self.launch_for(meeting)
        self.line.started(meeting.pid, self.recording())
        self.line.wait_acknowledged(meeting.pid, bus.STARTED)
        meeting.die()
        self.wait_converted(self.path("talk.mkv"), self.path("talk.mp4"))
        self.assertEqual(self.wait_ended(converter), 0)

    def test_a_bus_that_goes_away_does_not_stop_the_work(self):
        meeting = self.meeting()
        source = self.recording()
        converter = self.launch_for(meeting, source)
        self.bus.stop()
        self.line = None
        meeting.die()
        self.wait_converted(source, self.path("talk.mp4"))
        self.assertEqual(self.wait_ended(converter), 0)


class ClientsMistakes(world.World):
    def test_each_is_in_the_log_with_its_sender_and_harms_nothing(self):
        meeting = self.meeting()
        converter = self.launch("-pid", str(meeting.pid), "-locale", "German")
        self.line.wait_confirmed(meeting.pid)
        self.line.started(meeting.pid, "talk.mkv")
        self.line.stopped(meeting.pid)
        self.line.post("RecordingStarted")
        self.line.emit_other_arguments()
        for mistake in ('-locale "German" is no language: give a number from 1 to 20',
                        'is the relative path "talk.mkv": send the full path',
                        'a mistake in "RecordingStarted" from :', "has the arguments (s); it is ignored"):
            self.wait_for(lambda: mistake in self.log_text(), 20, mistake)
        self.assertEqual(self.log_text().count(f"(process {os.getpid()})"), 3, "each names who posted it")
        self.line.started(meeting.pid, self.recording())
        meeting.die()
        self.assertEqual(self.wait_ended(converter), 0)
        self.assertEqual(self.files(), ["talk.mp4"])


class NoBus(world.World):
    with_bus = False

    def _converts(self):
        meeting = self.meeting()
        source = self.recording()
        converter = self.launch("-pid", str(meeting.pid), "-path", source)
        self.wait_for(lambda: "bus" in self.log_text(), 20, "the system log tells of the bus")
        self.wait_watched(converter, meeting)
        meeting.die()
        self.wait_converted(source, self.path("talk.mp4"))
        self.assertEqual(self.wait_ended(converter), 0)

    def test_the_command_line_and_the_exit_watch_still_work(self):
        self._converts()

    def test_an_address_that_leads_nowhere_is_no_bus(self):
        self.environment["DBUS_SESSION_BUS_ADDRESS"] = f"unix:path={self.root}/nowhere"
        self._converts()

    def test_a_meeting_client_says_so_and_its_death_is_noticed(self):
        result = self.client("record", "--out", "talk.mkv", "--seconds", "1", "--crash")
        self.assertIn("no session bus", result.stdout)
        self.wait_converted(self.path("talk.mkv"), self.path("talk.mp4"))


class NoDisplay(world.World):
    def _says_so_and_converts(self):
        meeting = self.meeting()
        source = self.recording()
        converter = self.launch_for(meeting, source)
        self.assertRegex(self.log_text(), "display")
        meeting.die()
        self.wait_converted(source, self.path("talk.mp4"))
        self.assertEqual(self.wait_ended(converter), 0)

    def test_without_one(self):
        self._says_so_and_converts()

    def test_one_that_does_not_answer(self):
        self.environment["DISPLAY"] = ":4711"
        self._says_so_and_converts()

    def test_a_wayland_socket_that_is_not_there(self):
        self.environment["WAYLAND_DISPLAY"] = "wayland-4711"
        self._says_so_and_converts()

    def test_with_hardly_any_environment(self):
        for_sanitizers = {key: value for key, value in self.environment.items() if key.endswith("SAN_OPTIONS")}
        self.environment = {"DBUS_SESSION_BUS_ADDRESS": self.bus.address, "HOME": os.path.join(self.root, "home"),
                            **for_sanitizers}
        self._says_so_and_converts()


class AnotherUser(world.World):
    def test_any_user_can_run_it(self):
        if os.getuid() != 0:
            return  # every other scenario is the same as this one then
        # Another user owns all of the world, and root the application folder.
        self.line.close()
        self.bus.stop()
        subprocess.run(["chown", "-R", "nobody", self.root], check=True)
        self.own_application_folder()
        os.chmod(os.path.join(self.root, "opt"), 0o755)
        script = ('"$1" --nofork --config-file="$2" --print-address=1 >"$3/address" 2>/dev/null & '
                  'while [ ! -s "$3/address" ]; do sleep 0.05; done; '
                  'DBUS_SESSION_BUS_ADDRESS=$(head -n 1 "$3/address") "$4" record --out "$3/talk.mkv" --seconds 1')
        os.remove(os.path.join(self.root, "bus"))
        result = subprocess.run(
            ["setpriv", "--reuid=nobody", "--clear-groups", "sh", "-c", script, "sh", "dbus-daemon",
             os.path.join(self.root, "bus.conf"), self.folder, self.program("meeting-client")],
            env=self.environment, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, timeout=90, check=False)
        self.line = None
        self.assertEqual(result.returncode, 0, result.stdout)
        self.wait_converted(self.path("talk.mkv"), self.path("talk.mp4"))
        # Since FFmpeg 6.1, a recorder that reads at camera speed starts with half a second at once.
        recordings.check_mp4(self, self.path("talk.mp4"), seconds=1.6, tolerance=0.9)


if __name__ == "__main__":
    world.main()
