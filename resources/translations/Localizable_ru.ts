<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="ru" sourcelanguage="en">
<context>
    <name>Localizable</name>
    <message>
        <source>Your recording is being prepared. This may take a while.</source>
        <translation>Ваша запись готовится. Это может занять некоторое время.</translation>
    </message>
    <message>
        <source>Your recording has been saved to your computer.</source>
        <translation>Ваша запись сохранена на компьютере.</translation>
    </message>
    <message>
        <source>We had a problem converting the recording to MP4 format.</source>
        <translation>Не удалось преобразовать запись в формат MP4.</translation>
    </message>
    <message>
        <source>View in Folder</source>
        <translation>Показать в папке</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>Открыть</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Закрыть</translation>
    </message>
    <message>
        <source>The recording could not be opened.</source>
        <translation>Не удалось открыть запись.</translation>
    </message>
    <message>
        <source>The folder could not be opened.</source>
        <translation>Не удалось открыть папку.</translation>
    </message>
</context>
</TS>
