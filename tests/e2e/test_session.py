"""How the converter behaves in the session it runs in."""

import fcntl
import os
import pty
import signal
import subprocess
import termios

import bus
import desktop
import processes
import recordings
import trace
import world


class _Session(world.World):
    def slow_recording(self, name="slow.avi"):
        return recordings.make_slow(self.path(name), seconds=5)

    def wait_converting(self):
        return self.wait_for(self.worker, 30, f"a conversion; {self.log_text()}")


class Inhibitors(_Session):
    def setUp(self):
        super().setUp()
        folder = os.path.join(self.root, "system")
        os.mkdir(folder)
        self.system_bus = bus.PrivateBus(folder)
        self.addCleanup(self.system_bus.stop)
        self.environment["DBUS_SYSTEM_BUS_ADDRESS"] = self.system_bus.address

    def _with_login_manager(self):
        self.login = desktop.LoginManager(self.system_bus.address)
        self.addCleanup(self.login.close)

    def _with_portal(self):
        self.portal = desktop.Portal(self.bus.address)
        self.addCleanup(self.portal.close)

    def test_sleep_and_shutdown_wait_while_it_converts_and_only_then(self):
        self._with_login_manager()
        meeting, later = self.meeting(), self.meeting()
        source = self.slow_recording()
        self.launch_for(meeting, source)
        self.line.started(later.pid, self.path("later.mkv"))
        self.line.wait_acknowledged(later.pid, bus.STARTED)
        self.assertEqual(self.login.calls, [], "nothing is converted yet")
        meeting.die()
        self.line.wait(lambda: self.login.locks() == 1, 20, "the lock")
        self.wait_converting()
        self.assertEqual(self.login.calls, [("sleep:shutdown", "Record converter",
                                             "Converting a meeting recording to MP4", "delay")])
        self.wait_converted(source, self.path("slow.mp4"), 90)
        self.line.wait(lambda: self.login.locks() == 0, 20, "the lock is given back")
        self.assertEqual(len(self.login.calls), 1)

    def test_one_lock_lasts_for_all_files_of_a_meeting(self):
        self._with_login_manager()
        meeting = self.meeting()
        one, two = self.slow_recording("one.avi"), self.slow_recording("two.avi")
        self.launch_for(meeting, one)
        self.line.stopped(meeting.pid)
        self.line.started(meeting.pid, two)
        self.line.quit(meeting.pid)
        self.wait_converted(one, self.path("one.mp4"), 90)
        self.line.turn()
        self.assertEqual(self.login.locks(), 1)
        self.wait_converted(two, self.path("two.mp4"), 90)
        self.line.wait(lambda: self.login.locks() == 0, 20, "the lock is given back")
        self.assertEqual(len(self.login.calls), 1)

    def test_logging_out_is_asked_about_while_it_converts_and_only_then(self):
        self._with_portal()
        meeting = self.meeting()
        source = self.slow_recording()
        self.launch_for(meeting, source)
        self.assertEqual(self.portal.calls, [])
        meeting.die()
        self.line.wait(lambda: self.portal.inhibitions() == 1, 20, "the inhibition")
        self.assertEqual(self.portal.calls, [("", 1, {"reason": "Converting a meeting recording to MP4"})])
        self.wait_converted(source, self.path("slow.mp4"), 90)
        self.line.wait(lambda: self.portal.inhibitions() == 0, 20, "it is given back")

    def test_the_end_of_the_process_gives_all_back(self):
        self._with_login_manager()
        self._with_portal()
        meeting = self.meeting()
        source = self.slow_recording()
        converter = self.launch_for(meeting, source)
        meeting.die()
        self.line.wait(lambda: (self.login.locks(), self.portal.inhibitions()) == (1, 1), 20, "both")
        self.assertEqual(self.terminate(converter), 0)
        self.wait_for(lambda: self.worker() is None, 20, "no worker is left")
        self.line.wait(lambda: (self.login.locks(), self.portal.inhibitions()) == (0, 0), 20, "neither")
        self.assertEqual(self.files(), ["slow.avi"])

    def test_services_that_never_answer_hold_nothing_up(self):
        self._with_login_manager()
        self._with_portal()
        meeting = self.meeting()
        source = self.recording()
        self.launch_for(meeting, source)
        meeting.die()
        # The stand-ins only answer while the test reads from the bus.
        processes.wait_until(lambda: not os.path.exists(source), 60, "the conversion")
        self.assertEqual(self.files(), ["talk.mp4"])
        # A request that is granted too late is released at once.
        self.line.wait(lambda: self.login.calls and self.portal.calls, 20, "both requests")
        self.line.wait(lambda: (self.login.locks(), self.portal.inhibitions()) == (0, 0), 20, "neither")

    def test_where_nobody_offers_it_nothing_is_said(self):
        meeting = self.meeting()
        source = self.recording()
        converter = self.launch_for(meeting, source)
        meeting.die()
        self.wait_converted(source, self.path("talk.mp4"))
        self.assertEqual(self.wait_ended(converter), 0)
        self.assertNotRegex(self.log_text().lower(), "inhibit|login1|portal|systemd|scope")


class Services(_Session):
    def test_none_is_ever_started(self):
        folder = os.path.join(self.root, "activatable")
        os.mkdir(folder)
        services = os.path.join(folder, "services")
        os.mkdir(services)
        for name in ("org.freedesktop.systemd1", "org.freedesktop.portal.Desktop", "org.freedesktop.login1"):
            with open(os.path.join(services, name + ".service"), "w", encoding="utf-8") as file:
                file.write(f"[D-BUS Service]\nName={name}\nExec=/bin/sh -c '>{folder}/started-{name}; exit 1'\n")
        private = bus.PrivateBus(folder, services)
        self.addCleanup(private.stop)
        self.environment["DBUS_SESSION_BUS_ADDRESS"] = self.environment["DBUS_SYSTEM_BUS_ADDRESS"] = private.address
        self.line.close()
        self.line = bus.Line(private.address)
        self.addCleanup(self.line.close)
        # The bus does start a service that is called in the ordinary way.
        subprocess.run(["gdbus", "call", "--address", private.address, "--dest", "org.freedesktop.systemd1",
                        "--object-path", "/", "--method", "org.freedesktop.DBus.Peer.Ping"],
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=False)
        os.remove(os.path.join(folder, "started-org.freedesktop.systemd1"))

        meeting = self.meeting()
        source = self.recording()
        converter = self.launch_for(meeting, source)
        meeting.die()
        self.wait_converted(source, self.path("talk.mp4"))
        self.terminate(converter)
        self.assertEqual([name for name in os.listdir(folder) if name.startswith("started-")], [])


class OwnScope(_Session):
    def setUp(self):
        super().setUp()
        self.manager = desktop.ServiceManager(self.bus.address)
        self.addCleanup(self.manager.close)

    def test_is_asked_for_once_the_launch_is_confirmed(self):
        converter = self.launch()
        self.line.wait(lambda: self.manager.calls, 20, "the request")
        self.assertTrue(self.line.confirmations(0), "the confirmation does not wait for it")
        name, mode, properties, others = self.manager.calls[0]
        self.assertEqual((name, mode, others),
                         (f"app-org.recordconverter.RecordConverter-{converter.pid}.scope", "fail", []))
        self.assertEqual(dict(properties), {"Description": "Record converter", "PIDs": [converter.pid],
                                            "Slice": "app.slice", "CollectMode": "inactive-or-failed"})

    def test_a_second_launch_asks_for_none(self):
        self.launch()
        self.line.wait(lambda: self.manager.calls, 20, "the request")
        second = self.launch("-pid", str(self.meeting().pid))
        self.assertEqual(self.wait_ended(second), 0)
        self.line.turn()
        self.assertEqual(len(self.manager.calls), 1)

    def test_the_end_of_the_starters_unit_is_not_its_end(self):
        meeting = self.meeting()
        source = self.slow_recording()
        converter = self.launch_for(meeting, source)
        self.manager.unit = {meeting.pid, converter.pid}
        self.manager.calls.clear()
        self.line.wait(lambda: self.manager.scopes, 20, "the scope")
        self.manager.unit -= set().union(*self.manager.scopes.values())
        meeting.die()
        self.wait_converting()
        self.manager.stop_unit()
        self.wait_converted(source, self.path("slow.mp4"), 90)
        self.assertIsNone(converter.poll())


class StartersSession(_Session):
    """The launching process has a terminal, which disappears with its session and process group."""

    def _starter(self, prefix):
        """A shell, leader of a session on its own terminal, that launches the converter through `prefix`."""
        terminal, own_end = pty.openpty()
        self.meeting_process = self.meeting()
        self.source = self.slow_recording()
        with open(self.source, "rb") as file:
            self.content = file.read()
        script = f'{prefix} "$0" -pid "$1" -path "$2" & wait'
        starter = subprocess.Popen(
            ["bash", "-c", script, self.program("record-converter"), str(self.meeting_process.pid), self.source],
            env=self.environment, stdin=own_end, stdout=own_end, stderr=own_end, start_new_session=True,
            preexec_fn=lambda: fcntl.ioctl(0, termios.TIOCSCTTY, 0))
        os.close(own_end)
        self.addCleanup(starter.wait)
        self.addCleanup(starter.kill)
        self.line.wait_confirmed(self.meeting_process.pid)
        self.meeting_process.die()
        self.wait_converting()
        return starter, terminal, self.running_converter()

    def test_launched_apart_it_completes(self):
        starter, terminal, converter = self._starter("setsid")
        os.close(terminal)
        os.killpg(starter.pid, signal.SIGKILL)
        starter.wait()
        self.wait_converted(self.source, self.path("slow.mp4"), 90)
        self.assertFalse(converter.has_ended())

    def test_launched_in_it_the_conversion_is_abandoned_cleanly(self):
        starter, terminal, converter = self._starter("")
        os.close(terminal)
        try:
            os.killpg(starter.pid, signal.SIGHUP)
        except ProcessLookupError:
            pass  # the end of the terminal was sufficient
        self.assertTrue(converter.ends_within(20))
        self.wait_for(lambda: self.worker() is None, 20, "no worker is left")
        self.assertEqual(self.files(), ["slow.avi"])
        with open(self.source, "rb") as file:
            self.assertEqual(file.read(), self.content)


class LostBus(trace.TracedWorld):
    def test_in_the_middle_of_a_conversion_the_outcome_is_still_shown(self):
        self.install_inside()
        meeting = self.meeting()
        source = recordings.make_slow(self.path("slow.avi"), seconds=5)
        converter = self.launch_for(meeting, source)
        meeting.die()
        self.line.wait(lambda: self.trace.holds("cvt_progress = 0.00%"), 30, "the conversion")
        self.assertEqual(self.files(), ["slow.avi"])
        self.bus.stop()
        self.line = None
        self.assertEqual(self.wait_ended(converter, 120), 0)
        self.assertEqual(self.files(), ["slow.mp4"])
        texts = self.trace.texts()
        shown, closed, quit_app = (next(index for index, text in enumerate(texts) if mark in text)
                                   for mark in ("showConvertSucceedBubble", "remove bubble", "quitApp]"))
        self.assertTrue(shown < closed < quit_app, texts)


class Priority(_Session):
    def test_a_conversion_gives_way_to_everything_else(self):
        self._gives_way()

    def test_a_conversion_gives_way_to_a_converter_that_gives_way_itself(self):
        os.nice(5)
        self._gives_way()

    def _gives_way(self):
        meeting = self.meeting()
        converter = self.launch_for(meeting, self.slow_recording())
        meeting.die()
        worker = self.wait_converting()
        # The worker lowers its priority as soon as it runs.
        self.wait_for(lambda: os.getpriority(os.PRIO_PROCESS, worker) >= os.getpriority(os.PRIO_PROCESS, 0) + 10
                      or os.getpriority(os.PRIO_PROCESS, worker) == 19, 20, "a lower processor priority")
        self.wait_for(lambda: self._disk_priority(worker) == "best-effort: prio 7", 20, "a lower disk priority")
        self.assertEqual(os.getpriority(os.PRIO_PROCESS, converter.pid), os.getpriority(os.PRIO_PROCESS, 0),
                         "the bubbles do not wait")

    @staticmethod
    def _disk_priority(process):
        return subprocess.run(["ionice", "-p", str(process)], stdout=subprocess.PIPE, text=True,
                              check=True).stdout.strip()


if __name__ == "__main__":
    world.main()
