<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="zh_TW" sourcelanguage="en">
<context>
    <name>Localizable</name>
    <message>
        <source>Your recording is being prepared. This may take a while.</source>
        <translation>正在準備您的錄製內容，這可能需要一些時間。</translation>
    </message>
    <message>
        <source>Your recording has been saved to your computer.</source>
        <translation>您的錄製內容已儲存到您的電腦。</translation>
    </message>
    <message>
        <source>We had a problem converting the recording to MP4 format.</source>
        <translation>將錄製內容轉換為 MP4 格式時發生問題。</translation>
    </message>
    <message>
        <source>View in Folder</source>
        <translation>在資料夾中檢視</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>開啟</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>關閉</translation>
    </message>
    <message>
        <source>The recording could not be opened.</source>
        <translation>無法開啟錄製內容。</translation>
    </message>
    <message>
        <source>The folder could not be opened.</source>
        <translation>無法開啟資料夾。</translation>
    </message>
</context>
</TS>
