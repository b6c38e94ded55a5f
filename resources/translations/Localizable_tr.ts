<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="tr" sourcelanguage="en">
<context>
    <name>Localizable</name>
    <message>
        <source>Your recording is being prepared. This may take a while.</source>
        <translation>Kaydınız hazırlanıyor. Bu biraz zaman alabilir.</translation>
    </message>
    <message>
        <source>Your recording has been saved to your computer.</source>
        <translation>Kaydınız bilgisayarınıza kaydedildi.</translation>
    </message>
    <message>
        <source>We had a problem converting the recording to MP4 format.</source>
        <translation>Kayıt MP4 biçimine dönüştürülürken bir sorun oluştu.</translation>
    </message>
    <message>
        <source>View in Folder</source>
        <translation>Klasörde Göster</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>Aç</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Kapat</translation>
    </message>
    <message>
        <source>The recording could not be opened.</source>
        <translation>Kayıt açılamadı.</translation>
    </message>
    <message>
        <source>The folder could not be opened.</source>
        <translation>Klasör açılamadı.</translation>
    </message>
</context>
</TS>
