<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="fi" sourcelanguage="en">
<context>
    <name>Localizable</name>
    <message>
        <source>Your recording is being prepared. This may take a while.</source>
        <translation>Tallennettasi valmistellaan. Tämä voi kestää hetken.</translation>
    </message>
    <message>
        <source>Your recording has been saved to your computer.</source>
        <translation>Tallenteesi on tallennettu tietokoneellesi.</translation>
    </message>
    <message>
        <source>We had a problem converting the recording to MP4 format.</source>
        <translation>Tallenteen muuntamisessa MP4‑muotoon ilmeni ongelma.</translation>
    </message>
    <message>
        <source>View in Folder</source>
        <translation>Näytä kansiossa</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>Avaa</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Sulje</translation>
    </message>
    <message>
        <source>The recording could not be opened.</source>
        <translation>Tallennetta ei voitu avata.</translation>
    </message>
    <message>
        <source>The folder could not be opened.</source>
        <translation>Kansiota ei voitu avata.</translation>
    </message>
</context>
</TS>
