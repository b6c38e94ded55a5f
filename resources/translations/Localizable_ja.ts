<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="ja" sourcelanguage="en">
<context>
    <name>Localizable</name>
    <message>
        <source>Your recording is being prepared. This may take a while.</source>
        <translation>レコーディングを準備しています。しばらくお待ちください。</translation>
    </message>
    <message>
        <source>Your recording has been saved to your computer.</source>
        <translation>レコーディングをコンピューターに保存しました。</translation>
    </message>
    <message>
        <source>We had a problem converting the recording to MP4 format.</source>
        <translation>レコーディングを MP4 形式に変換できませんでした。</translation>
    </message>
    <message>
        <source>View in Folder</source>
        <translation>フォルダーで表示</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>開く</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>閉じる</translation>
    </message>
    <message>
        <source>The recording could not be opened.</source>
        <translation>レコーディングを開けませんでした。</translation>
    </message>
    <message>
        <source>The folder could not be opened.</source>
        <translation>フォルダーを開けませんでした。</translation>
    </message>
</context>
</TS>
