<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="pl" sourcelanguage="en">
<context>
    <name>Localizable</name>
    <message>
        <source>Your recording is being prepared. This may take a while.</source>
        <translation>Trwa przygotowywanie nagrania. Może to chwilę potrwać.</translation>
    </message>
    <message>
        <source>Your recording has been saved to your computer.</source>
        <translation>Nagranie zostało zapisane na komputerze.</translation>
    </message>
    <message>
        <source>We had a problem converting the recording to MP4 format.</source>
        <translation>Wystąpił problem podczas konwertowania nagrania do formatu MP4.</translation>
    </message>
    <message>
        <source>View in Folder</source>
        <translation>Pokaż w folderze</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>Otwórz</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Zamknij</translation>
    </message>
    <message>
        <source>The recording could not be opened.</source>
        <translation>Nie udało się otworzyć nagrania.</translation>
    </message>
    <message>
        <source>The folder could not be opened.</source>
        <translation>Nie udało się otworzyć folderu.</translation>
    </message>
</context>
</TS>
