"""OBS Studio script: every recording becomes an MP4 once it has stopped, or OBS has gone.

Tools > Scripts > + adds it; Linux, with the record converter installed. Recordings that are MP4 files already are left
alone. Nothing here runs on OBS's own thread but the noting of an event.
"""

import os
import queue
import shutil
import subprocess
import threading

import obspython as obs

CONVERTER = "record-converter"
BUS_NAME = "org.recordconverter.RecordConverter"
OBJECT = "/org/recordconverter/NotificationCenter"
SIGNAL = "org.recordconverter.NotificationCenter.Posted"
NAME = "kMeetingRecordNotificationName_"
KEY = "kMeetingRecordNotificationKey_"

_tasks = queue.Queue()
_worker = None
_recording = None  # path of the recording under way, None when it is none of ours


def script_description():
    return "Turns every recording into an MP4 once it has stopped (by the record converter)."


def script_load(_settings):
    global _worker
    _worker = threading.Thread(target=_work, daemon=True)
    _worker.start()
    obs.obs_frontend_add_event_callback(on_event)


def script_unload():
    obs.obs_frontend_remove_event_callback(on_event)
    _tasks.put(None)
    _worker.join(5)


def on_event(event):
    global _recording
    if event == obs.OBS_FRONTEND_EVENT_RECORDING_STARTED:
        _recording = _path_of_recording()
        if _recording:
            _tasks.put((_announce, _recording))
    elif event == obs.OBS_FRONTEND_EVENT_RECORDING_STOPPED and _recording:
        _recording = None
        # OBS may stay open for hours; the quit posted on its behalf starts the conversion.
        _tasks.put((_post, "RecordingStopped"))
        _tasks.put((_post, "MeetingAppQuit"))


def _path_of_recording():
    output = obs.obs_frontend_get_recording_output()
    settings = obs.obs_output_get_settings(output)
    path = obs.obs_data_get_string(settings, "path") or obs.obs_data_get_string(settings, "url")
    obs.obs_data_release(settings)
    obs.obs_output_release(output)
    return None if not path or path.lower().endswith(".mp4") else os.path.abspath(path)


def _work():
    while (task := _tasks.get()) is not None:
        action, argument = task
        try:
            action(argument)
        except (OSError, subprocess.SubprocessError) as error:
            obs.script_log(obs.LOG_WARNING, f"record converter: {error}")


def _announce(path):
    if _converter_runs():
        _post("RecordingStarted", path)
        return
    converter = shutil.which(CONVERTER)
    if converter is None:
        raise FileNotFoundError(f"{CONVERTER} is not installed")
    # Reparented to init: it outlives OBS, and OBS need not reap it.
    subprocess.run(["setsid", "-f", converter, "-pid", str(os.getpid()), "-pname", "obs", "-path", path], check=True,
                   stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    # Notifications posted before it listens would be lost.
    subprocess.run(["gdbus", "wait", "--session", "--timeout", "10", BUS_NAME], check=True)


def _converter_runs():
    answer = subprocess.run(
        ["gdbus", "call", "--session", "--dest", "org.freedesktop.DBus", "--object-path", "/", "--method",
         "org.freedesktop.DBus.NameHasOwner", BUS_NAME], stdout=subprocess.PIPE, timeout=5, check=True)
    return b"true" in answer.stdout


def _post(name, path=None):
    info = f"'{KEY}MeetingProcessId': <int32 {os.getpid()}>"
    if path:
        text = path.replace("\\", "\\\\").replace("'", "\\'")
        info += f", '{KEY}RecordIntermediatePath': <'{text}'>"
    subprocess.run(["gdbus", "emit", "--session", "--object-path", OBJECT, "--signal", SIGNAL, NAME + name, "''",
                    "{" + info + "}"], timeout=5, check=True)
