<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de" sourcelanguage="en">
<context>
    <name>Localizable</name>
    <message>
        <source>Your recording is being prepared. This may take a while.</source>
        <translation>Ihre Aufzeichnung wird vorbereitet. Das kann eine Weile dauern.</translation>
    </message>
    <message>
        <source>Your recording has been saved to your computer.</source>
        <translation>Ihre Aufzeichnung wurde auf Ihrem Computer gespeichert.</translation>
    </message>
    <message>
        <source>We had a problem converting the recording to MP4 format.</source>
        <translation>Beim Umwandeln der Aufzeichnung in das MP4‑Format ist ein Problem aufgetreten.</translation>
    </message>
    <message>
        <source>View in Folder</source>
        <translation>Im Ordner anzeigen</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>Öffnen</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Schließen</translation>
    </message>
    <message>
        <source>The recording could not be opened.</source>
        <translation>Die Aufzeichnung konnte nicht geöffnet werden.</translation>
    </message>
    <message>
        <source>The folder could not be opened.</source>
        <translation>Der Ordner konnte nicht geöffnet werden.</translation>
    </message>
</context>
</TS>
