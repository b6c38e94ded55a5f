<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="it" sourcelanguage="en">
<context>
    <name>Localizable</name>
    <message>
        <source>Your recording is being prepared. This may take a while.</source>
        <translation>La registrazione è in preparazione. L’operazione potrebbe richiedere del tempo.</translation>
    </message>
    <message>
        <source>Your recording has been saved to your computer.</source>
        <translation>La registrazione è stata salvata sul computer.</translation>
    </message>
    <message>
        <source>We had a problem converting the recording to MP4 format.</source>
        <translation>Si è verificato un problema durante la conversione della registrazione in formato MP4.</translation>
    </message>
    <message>
        <source>View in Folder</source>
        <translation>Mostra nella cartella</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>Apri</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Chiudi</translation>
    </message>
    <message>
        <source>The recording could not be opened.</source>
        <translation>Non è stato possibile aprire la registrazione.</translation>
    </message>
    <message>
        <source>The folder could not be opened.</source>
        <translation>Non è stato possibile aprire la cartella.</translation>
    </message>
</context>
</TS>
