<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="zh_CN" sourcelanguage="en">
<context>
    <name>Localizable</name>
    <message>
        <source>Your recording is being prepared. This may take a while.</source>
        <translation>正在准备您的录制内容，这可能需要一些时间。</translation>
    </message>
    <message>
        <source>Your recording has been saved to your computer.</source>
        <translation>您的录制内容已保存到您的电脑。</translation>
    </message>
    <message>
        <source>We had a problem converting the recording to MP4 format.</source>
        <translation>将录制内容转换为 MP4 格式时出现问题。</translation>
    </message>
    <message>
        <source>View in Folder</source>
        <translation>在文件夹中查看</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>打开</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>关闭</translation>
    </message>
    <message>
        <source>The recording could not be opened.</source>
        <translation>无法打开录制内容。</translation>
    </message>
    <message>
        <source>The folder could not be opened.</source>
        <translation>无法打开文件夹。</translation>
    </message>
</context>
</TS>
