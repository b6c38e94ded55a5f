<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="pt" sourcelanguage="en">
<context>
    <name>Localizable</name>
    <message>
        <source>Your recording is being prepared. This may take a while.</source>
        <translation>Sua gravação está sendo preparada. Isso pode levar algum tempo.</translation>
    </message>
    <message>
        <source>Your recording has been saved to your computer.</source>
        <translation>Sua gravação foi salva no computador.</translation>
    </message>
    <message>
        <source>We had a problem converting the recording to MP4 format.</source>
        <translation>Ocorreu um problema ao converter a gravação para o formato MP4.</translation>
    </message>
    <message>
        <source>View in Folder</source>
        <translation>Ver na pasta</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>Abrir</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Fechar</translation>
    </message>
    <message>
        <source>The recording could not be opened.</source>
        <translation>Não foi possível abrir a gravação.</translation>
    </message>
    <message>
        <source>The folder could not be opened.</source>
        <translation>Não foi possível abrir a pasta.</translation>
    </message>
</context>
</TS>
