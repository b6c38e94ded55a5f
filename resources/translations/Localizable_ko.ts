<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="ko" sourcelanguage="en">
<context>
    <name>Localizable</name>
    <message>
        <source>Your recording is being prepared. This may take a while.</source>
        <translation>녹화 파일을 준비하고 있습니다. 시간이 걸릴 수 있습니다.</translation>
    </message>
    <message>
        <source>Your recording has been saved to your computer.</source>
        <translation>녹화 파일을 컴퓨터에 저장했습니다.</translation>
    </message>
    <message>
        <source>We had a problem converting the recording to MP4 format.</source>
        <translation>녹화 파일을 MP4 형식으로 변환하는 중에 문제가 발생했습니다.</translation>
    </message>
    <message>
        <source>View in Folder</source>
        <translation>폴더에서 보기</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>열기</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>닫기</translation>
    </message>
    <message>
        <source>The recording could not be opened.</source>
        <translation>녹화 파일을 열지 못했습니다.</translation>
    </message>
    <message>
        <source>The folder could not be opened.</source>
        <translation>폴더를 열지 못했습니다.</translation>
    </message>
</context>
</TS>
