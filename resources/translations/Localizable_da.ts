<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="da" sourcelanguage="en">
<context>
    <name>Localizable</name>
    <message>
        <source>Your recording is being prepared. This may take a while.</source>
        <translation>Din optagelse forberedes. Det kan tage lidt tid.</translation>
    </message>
    <message>
        <source>Your recording has been saved to your computer.</source>
        <translation>Din optagelse er gemt på computeren.</translation>
    </message>
    <message>
        <source>We had a problem converting the recording to MP4 format.</source>
        <translation>Der opstod et problem under konverteringen af optagelsen til MP4‑format.</translation>
    </message>
    <message>
        <source>View in Folder</source>
        <translation>Vis i mappe</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>Åbn</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Luk</translation>
    </message>
    <message>
        <source>The recording could not be opened.</source>
        <translation>Optagelsen kunne ikke åbnes.</translation>
    </message>
    <message>
        <source>The folder could not be opened.</source>
        <translation>Mappen kunne ikke åbnes.</translation>
    </message>
</context>
</TS>
