"""The diagnostic trace: where its plug-in is found, and every line of a start-up and of a whole meeting."""

import os
import re

import bus
import trace

TICK = "-[AppDelegate checkNeedQuitApp]: check all task finish 1, check report handled: "
PROGRESS = re.compile(r"-\[AppDelegate recordConvertingJobRunner:updatesConvertingProgress:forRecordItem:\]: "
                      r"cvt_progress = \d+\.\d\d%")


def progress(percent):
    return ("-[AppDelegate recordConvertingJobRunner:updatesConvertingProgress:forRecordItem:]: "
            f"cvt_progress = {percent:.2f}%")


def start_up(language, pid, path):
    """`language` is None if the option is missing: then the active language is 1, and the option reads as 0."""
    lines = [
        f"[App setAppLocale:]: ({language or 1})",
        "-[AppDelegate applicationDidFinishLaunching:]: begin",
        "-[KTRMeetingRecordConvertingJobRunner init]: ",
        "-[KTRMeetingPool init]: ",
        "-[KTRAppInlet init]: ",
        "-[AppDelegate onStartUp], begin",
        f"-[AppDelegate onStartUp]: localeId = {language or 0}",
        f"-[AppDelegate onStartUp]: parent pid = {pid}",
    ]
    if pid != 0:
        lines += [
            f"-[KTRProcessGuard guardProcessWithPid:]: process guard for pid = {pid}",
            f"-[KTRMeetingPool meetingAppRepresentativeForProcess:]: instanticating new App Rep for pid = {pid}",
            f"-[KTRMeetingAppRepresentative initWithMeetingAppProcessId:]: pid = {pid}",
            f"-[KTRMeetingAppRepresentative startsLocalRecordingWithIntermediateFile:]: path = {path}",
            "-[AppDelegate meetingPool:didReceiveJobFromProcess:writingTo:]: "
            f"Received Job, src_pid = {pid}, src_path = {path}",
            f"-[AppDelegate onStartUp]: FIRST file in FIRST meeting, {path}",
        ]
    return lines + ["-[AppDelegate onStartUp]: end", "-[AppDelegate applicationDidFinishLaunching:]: end"]


def heard(name, own, pid):
    return [f"-[KTRAppInlet onExternalNotification:]: {name}",
            f"-[KTRAppInlet ackNotification:]: {name}, from p_id = {own}, to p_id = {pid}"]


def stop(own, pid, path):
    return heard(bus.STOPPED, own, pid) + [
        "-[KTRMeetingAppRepresentative stopsLocalRecording]: ",
        "-[AppDelegate meetingPool:didStashJobFromProcess:savedAt:]: "
        f"Stashed Job, src_pid = {pid}, src_path = {path}"]


def later_start(own, pid, path):
    return heard(bus.STARTED, own, pid) + [
        f"-[KTRProcessGuard guardProcessWithPid:]: process guard for pid = {pid}",
        f"-[KTRMeetingAppRepresentative startsLocalRecordingWithIntermediateFile:]: path = {path}",
        "-[AppDelegate meetingPool:didReceiveJobFromProcess:writingTo:]: "
        f"Received Job, src_pid = {pid}, src_path = {path}"]


RUN_NEXT = "-[KTRMeetingRecordConvertingJobRunner runNextJob]: ... "


def request(pid, paths, steps=1):
    """`steps`: how many of the paths start a step of the conversion thread."""
    request_name = "-[AppDelegate meetingPool:didReceiveRequestFromProcess:toConvertRecords:]"
    lines = [f"-[KTRMeetingAppRepresentative commencesConverting]: pid = {pid}",
             f"{request_name}: Scheduling Jobs, src_pid = {pid}"]
    for index, path in enumerate(paths):
        lines.append(f"-[KTRMeetingRecordConvertingJobRunner scheduleJob:]: src_pid = {pid}, src_path = {path}")
        if index < steps:
            lines.append(RUN_NEXT)
        lines.append(f"{request_name}_block_invoke: Scheduling Job, src_path = {path}")
    return lines


def conversion(pid, path):
    """The conversion thread's lines for one job, without all progress reports but the last."""
    return [f"-[KTRMeetingRecordConvertingJobRunner convertItem:]: src_pid = {pid}, src_path = {path}",
            f"-[AppDelegate recordConvertingJobRunner:didStartConvertingRecordItem:]: src_pid = {pid}, "
            f"src_path = {path}",
            progress(100),
            "-[KTRMeetingRecordConverter deleteIntermediateItem:]: ",
            f"-[AppDelegate recordConvertingJobRunner:didStopConvertingRecordItem:]: src_pid = {pid}, "
            f"src_path = {path}",
            RUN_NEXT]


ENDING = ["-[AppDelegate quitApp]: ",
          "-[AppDelegate applicationWillTerminate:]: begin",
          "-[AppDelegate applicationWillTerminate:]: doing nothing",
          "-[AppDelegate applicationWillTerminate:]: end"]


class WholeTrace(trace.TracedWorld):
    maxDiff = None

    def test_of_a_start_without_arguments(self):
        self.install_inside()
        self.launch()
        self.line.wait_confirmed(0)
        self.line.wait(lambda: len(self.trace.lines()) >= 10, 10, "the start-up lines")
        self.assertEqual(self.trace.texts(), start_up(None, 0, None))

    def test_of_a_start_by_a_meeting(self):
        self.install_inside()
        meeting = self.meeting()
        self.launch("-pid", str(meeting.pid), "-pname", "test", "-locale", "9", "-path", "/nowhere/talk.mkv")
        self.line.wait_confirmed(meeting.pid)
        self.line.wait(lambda: self.trace.holds("applicationDidFinishLaunching:]: end"), 10, "the start-up lines")
        self.assertEqual(self.trace.texts(), start_up(9, meeting.pid, "/nowhere/talk.mkv"))
        self.assertEqual({(line.level, line.thread, line.module) for line in self.trace.lines()},
                         {(2, "main", "RecordConverter")})

    def test_of_a_meeting_with_two_recordings(self):
        self.install_inside()
        meeting = self.meeting()
        one, two = self.recording("one.mkv"), self.recording("two.mkv")
        converter = self.launch_for(meeting, one)
        self.line.stopped(meeting.pid)
        self.line.started(meeting.pid, two)
        self.line.stopped(meeting.pid)
        self.line.quit(meeting.pid)
        self.assertEqual(self.wait_ended(converter), 0)

        main = [line.text for line in self.trace.lines() if line.thread == "main"]
        # A file that is scheduled between the taking of the first one and its start causes a second step: then the end
        # of the work is reported twice, and the second of two checks may still find the application running.
        steps = main.count(RUN_NEXT)
        self.assertIn(steps, (1, 2))
        expected = start_up(1, meeting.pid, one)
        expected += stop(converter.pid, meeting.pid, one) + later_start(converter.pid, meeting.pid, two)
        expected += stop(converter.pid, meeting.pid, two) + heard(bus.QUIT, converter.pid, meeting.pid)
        expected += [f"-[KTRProcessGuard removeGuardProcessWithPid:]: remove process guard for pid = {meeting.pid}"]
        expected += request(meeting.pid, [one, two], steps)
        expected += ["-[KTRConverterProcessNotificationMgr showFilesPreparedBubble]"]
        expected += ["-[KTRConverterProcessNotificationMgr showConvertSucceedBubbleWithFilePath:] : " + path
                     for path in (self.path("one.mp4"), self.path("two.mp4"))]
        expected += ["-[KTRConverterProcessNotificationMgr closeBubbleWithNotification:], "
                     "remove bubble from bubbleArray"] * 2
        expected += ENDING
        if steps == 2 and main.count(ENDING[0]) == 2:
            last = len(main) - 1 - main[::-1].index(ENDING[0])
            self.assertEqual(main[last - 1], TICK + "1")
            del main[last - 1:last + 1]
        self.assertEqual([text for text in main if not text.startswith(TICK)], expected)
        self._check_ticks(main)

        thread = [line for line in self.trace.lines() if line.thread != "main"]
        self.assertEqual(len({line.thread for line in thread}), 1, "one conversion thread")
        texts = [line.text for line in thread]
        expected = conversion(meeting.pid, one) + conversion(meeting.pid, two)
        expected += ["-[AppDelegate recordConvertingJobRunnerDidRunOutOfJobs:]: "] * steps
        self.assertEqual([text for text in texts if not PROGRESS.fullmatch(text) or text == progress(100)], expected)
        self.assertEqual({(line.level, line.module) for line in self.trace.lines()}, {(2, "RecordConverter")})

    def _check_ticks(self, main):
        """While a bubble is open every tick finds it; the last one finds none, and the application quits at once."""
        ticks = [text[len(TICK):] for text in main if text.startswith(TICK)]
        self.assertEqual(ticks, ["0"] * (len(ticks) - 1) + ["1"])
        self.assertGreaterEqual(len(ticks), 10, "one a second for as long as the bubbles are shown")
        self.assertEqual(main[main.index(TICK + "1") + 1], ENDING[0])

    def test_of_a_meeting_that_dies(self):
        self.install_inside()
        meeting = self.meeting()
        self.launch_for(meeting, self.path("missing.mkv"))
        self.line.wait(lambda: self.trace.holds("applicationDidFinishLaunching:]: end"), 10, "the start-up lines")
        before = len(self.trace.lines())
        meeting.die()
        self.line.wait(lambda: self.trace.holds("showConvertFailedBubble"), 20, "the failure")
        main = [line.text for line in self.trace.lines()[before:] if line.thread == "main"]
        expected = [f"NoteExitKQueueCallback: observe process exit pid {meeting.pid}"]
        expected += request(meeting.pid, [self.path("missing.mkv")])
        expected += ["-[KTRConverterProcessNotificationMgr showFilesPreparedBubble]",
                     "-[KTRConverterProcessNotificationMgr showConvertFailedBubble]"]
        self.assertEqual([text for text in main if not text.startswith(TICK)], expected)
        error = [line for line in self.trace.lines() if line.level == 8]
        self.assertEqual(len(error), 1)
        self.assertRegex(error[0].text, r"^-\[AppDelegate recordConvertingJobRunner:hitsConvertingError:"
                         rf"forRecordItem:\]: src_pid = {meeting.pid}, src_path = .*/missing\.mkv, "
                         r"error = [1-9]\d*$")


class PlugInPlaces(trace.TracedWorld):
    def _started(self):
        self.launch()
        self.line.wait_confirmed(0)

    def test_inside_the_application_folder(self):
        self.install_inside()
        self._started()
        self.assertTrue(self.trace.holds("onStartUp"))

    def test_beside_the_application_folder(self):
        self.install_beside()
        self._started()
        self.assertTrue(self.trace.holds("onStartUp"))

    def test_the_inner_one_wins(self):
        self.install_inside()
        outer = os.path.join(os.path.dirname(self.application), trace.PLUG_IN)
        with open(outer, "wb") as file:
            file.write(b"never looked at")
        self._started()
        self.assertTrue(self.trace.holds("onStartUp"))

    def test_an_inner_one_that_can_not_be_loaded_gives_way(self):
        with open(os.path.join(self.application, "PlugIns", trace.PLUG_IN), "wb") as file:
            file.write(b"no shared object")
        self.install_beside()
        self._started()
        self.assertTrue(self.trace.holds("onStartUp"))

    def test_nowhere_else(self):
        trace.install(self.folder)
        os.chdir(self.folder)
        self.addCleanup(os.chdir, "/")
        self._started()
        self.assertEqual(self.trace.lines(), [])


if __name__ == "__main__":
    trace.world.main()
