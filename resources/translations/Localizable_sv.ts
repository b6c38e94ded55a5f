<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="sv" sourcelanguage="en">
<context>
    <name>Localizable</name>
    <message>
        <source>Your recording is being prepared. This may take a while.</source>
        <translation>Din inspelning förbereds. Det kan ta en stund.</translation>
    </message>
    <message>
        <source>Your recording has been saved to your computer.</source>
        <translation>Din inspelning har sparats på datorn.</translation>
    </message>
    <message>
        <source>We had a problem converting the recording to MP4 format.</source>
        <translation>Ett problem uppstod när inspelningen skulle konverteras till MP4‑format.</translation>
    </message>
    <message>
        <source>View in Folder</source>
        <translation>Visa i mapp</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>Öppna</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Stäng</translation>
    </message>
    <message>
        <source>The recording could not be opened.</source>
        <translation>Inspelningen kunde inte öppnas.</translation>
    </message>
    <message>
        <source>The folder could not be opened.</source>
        <translation>Mappen kunde inte öppnas.</translation>
    </message>
</context>
</TS>
