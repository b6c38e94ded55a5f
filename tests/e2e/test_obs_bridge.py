"""The OBS Studio script, against a stub of the module that OBS provides to its scripts."""

import importlib.util
import os
import sys
import types
import unittest.mock

import bus
import world

SCRIPT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "src", "tools", "obs-bridge",
                      "record_converter_bridge.py")


class Obs(types.ModuleType):
    """The parts of the module that such scripts use; counts objects that must be released."""

    OBS_FRONTEND_EVENT_RECORDING_STARTED = 4
    OBS_FRONTEND_EVENT_RECORDING_STOPPED = 6
    OBS_FRONTEND_EVENT_EXIT = 17
    LOG_WARNING = 200

    def __init__(self):
        super().__init__("obspython")
        self.callbacks = []
        self.path = ""
        self.held = 0
        self.log = []

    def obs_frontend_add_event_callback(self, callback):
        self.callbacks.append(callback)

    def obs_frontend_remove_event_callback(self, callback):
        self.callbacks.remove(callback)

    def obs_frontend_get_recording_output(self):
        self.held += 1
        return "output"

    def obs_output_get_settings(self, _output):
        self.held += 1
        return {"path": self.path}

    def obs_data_get_string(self, settings, key):
        return settings.get(key, "")

    def obs_data_release(self, _settings):
        self.held -= 1

    def obs_output_release(self, _output):
        self.held -= 1

    def script_log(self, _level, text):
        self.log.append(text)

    def happens(self, event):
        for callback in self.callbacks:
            callback(event)

    def records(self, path):
        self.path = path
        self.happens(self.OBS_FRONTEND_EVENT_RECORDING_STARTED)

    def stops(self):
        self.happens(self.OBS_FRONTEND_EVENT_RECORDING_STOPPED)


class ObsBridge(world.World):
    def setUp(self):
        super().setUp()
        self.environment["PATH"] = os.path.join(self.application, "bin") + ":" + self.environment["PATH"]
        self.obs = Obs()
        for patch in (unittest.mock.patch.dict(os.environ, self.environment, clear=True),
                      unittest.mock.patch.dict(sys.modules, {"obspython": self.obs})):
            patch.start()
            self.addCleanup(patch.stop)
        specification = importlib.util.spec_from_file_location("bridge", SCRIPT)
        self.bridge = importlib.util.module_from_spec(specification)
        specification.loader.exec_module(self.bridge)
        self.bridge.script_load(None)

    def unload(self):
        self.bridge.script_unload()
        self.assertEqual((self.obs.callbacks, self.obs.held, self.obs.log), ([], 0, []))

    def test_every_recording_becomes_an_mp4(self):
        for name in ("it's one.mkv", "two.mkv"):
            self.obs.records(self.recording(name))
            self.obs.stops()
            self.wait_converted(self.path(name), self.path(name.replace(".mkv", ".mp4")))
        self.unload()
        self.assertEqual([n.name for n in self.line.heard if n.name not in (bus.ACK, bus.SPAWN)],
                         [bus.STOPPED, bus.QUIT, bus.STARTED, bus.STOPPED, bus.QUIT])

    def test_a_recording_that_is_an_mp4_is_left_alone(self):
        self.obs.records(self.recording("talk.mp4"))
        self.obs.stops()
        self.unload()
        self.assertEqual((self.line.converter_runs(), self.line.heard), (False, []))

    def test_a_missing_converter_is_said_in_the_log(self):
        os.environ["PATH"] = "/usr/bin:/bin"
        self.obs.records(self.recording())
        self.bridge.script_unload()
        self.assertRegex(self.obs.log[0], "record-converter")


if __name__ == "__main__":
    world.main()
