<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="nl" sourcelanguage="en">
<context>
    <name>Localizable</name>
    <message>
        <source>Your recording is being prepared. This may take a while.</source>
        <translation>Je opname wordt voorbereid. Dit kan even duren.</translation>
    </message>
    <message>
        <source>Your recording has been saved to your computer.</source>
        <translation>Je opname is opgeslagen op je computer.</translation>
    </message>
    <message>
        <source>We had a problem converting the recording to MP4 format.</source>
        <translation>Er is een probleem opgetreden bij het omzetten van de opname naar MP4‑indeling.</translation>
    </message>
    <message>
        <source>View in Folder</source>
        <translation>In map weergeven</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>Openen</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Sluiten</translation>
    </message>
    <message>
        <source>The recording could not be opened.</source>
        <translation>De opname kon niet worden geopend.</translation>
    </message>
    <message>
        <source>The folder could not be opened.</source>
        <translation>De map kon niet worden geopend.</translation>
    </message>
</context>
</TS>
