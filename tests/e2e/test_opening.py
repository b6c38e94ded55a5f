"""What the user learns when nothing on the desktop can open the recording or its folder."""

import os
import time

import bubbleworld
import display
import world
from test_languages import SAVED, text_in

# As on a desktop where no program is registered for the file.
FAILING_OPENER = "#!/bin/sh\nexit 3\n"


class NothingOpensABubblesFile(bubbleworld.BubbleWorld):
    def check_is_told_before_the_quit(self):
        converter = self.converts("talk.mkv")
        result = self.wait_for_bubbles(1, bubbleworld.SAVED)[0]
        self.click(result.open_button())
        # The stack would stand still under the pointer.
        self.ask("xdotool", "mousemove", "10", "700")
        self.wait_for(lambda: f"nothing on this desktop can open file://{self.folder}/talk.mp4" in self.log_text(), 20,
                      "the log says so")
        self.wait_for(lambda: result.window not in [bubble.window for bubble in self.bubbles()], 20,
                      "the result's bubble has closed")
        # If it came before the result's bubble went, it takes that one's place after a moment.
        self.wait_for(lambda: self.bubbles() and self.bubbles()[0].arrow_tip < self.icon().bottom + 8, 20,
                      "it stands at the icon")
        bubble = self.wait_for_bubbles(1, bubbleworld.PLAIN)[0]
        self.check_below(bubble, self.icon())
        self.keep_picture()
        # The application asks every second whether it may quit.
        time.sleep(3.5)
        self.assertIsNone(converter.poll())
        self.click(bubble.close_button())
        self.check_quits_soon(converter)
        self.assertEqual(self.files(), ["talk.mp4"])

    def test_an_opener_that_fails(self):
        with open(os.path.join(self.root, "programs", "xdg-open"), "w", encoding="utf-8") as script:
            script.write(FAILING_OPENER)
        self.check_is_told_before_the_quit()

    def test_an_opener_that_does_not_exist(self):
        nowhere = os.path.join(self.root, "nowhere")
        os.mkdir(nowhere)
        self.environment = {**self.environment, "PATH": nowhere}
        self.check_is_told_before_the_quit()


class NothingOpensANotificationsFile(world.World):
    def setUp(self):
        super().setUp()
        programs = os.path.join(self.root, "programs")
        os.mkdir(programs)
        with open(os.path.join(programs, "xdg-open"), "w", encoding="utf-8") as script:
            script.write(FAILING_OPENER)
        os.chmod(os.path.join(programs, "xdg-open"), 0o755)
        self.environment["PATH"] = programs + ":" + self.environment["PATH"]
        self.server = self.line.play_notification_server()

    def check_tells(self, button, sentence):
        meeting = self.meeting()
        converter = self.launch("-pid", str(meeting.pid), "-path", self.recording(), "-locale", "9")
        self.line.wait_confirmed(meeting.pid)
        meeting.die()
        self.wait_for(lambda: [said for said in self.server.shown if said.text == text_in("de", SAVED)], 40, "the result")
        self.server.press(button)
        failure = self.wait_for(lambda: [said for said in self.server.shown if said.text == text_in("de", sentence)],
                                20, f"the failure; {self.server.shown}")[0]
        self.assertEqual(failure.body, "talk.mp4")
        self.server.close_all()
        self.assertEqual(self.wait_ended(converter), 0)

    def test_a_recording_is_named_in_the_users_language(self):
        self.check_tells("0", "The recording could not be opened.")

    def test_a_folder_is_named_in_the_users_language(self):
        self.check_tells("1", "The folder could not be opened.")


if __name__ == "__main__":
    display.world.main()
