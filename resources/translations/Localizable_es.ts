<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="es" sourcelanguage="en">
<context>
    <name>Localizable</name>
    <message>
        <source>Your recording is being prepared. This may take a while.</source>
        <translation>Estamos preparando su grabación. Esto puede tardar un poco.</translation>
    </message>
    <message>
        <source>Your recording has been saved to your computer.</source>
        <translation>Su grabación se ha guardado en el ordenador.</translation>
    </message>
    <message>
        <source>We had a problem converting the recording to MP4 format.</source>
        <translation>Ha habido un problema al convertir la grabación al formato MP4.</translation>
    </message>
    <message>
        <source>View in Folder</source>
        <translation>Ver en la carpeta</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>Abrir</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Cerrar</translation>
    </message>
    <message>
        <source>The recording could not be opened.</source>
        <translation>No se ha podido abrir la grabación.</translation>
    </message>
    <message>
        <source>The folder could not be opened.</source>
        <translation>No se ha podido abrir la carpeta.</translation>
    </message>
</context>
</TS>
