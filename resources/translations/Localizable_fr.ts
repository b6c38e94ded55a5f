<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="fr" sourcelanguage="en">
<context>
    <name>Localizable</name>
    <message>
        <source>Your recording is being prepared. This may take a while.</source>
        <translation>Votre enregistrement est en cours de préparation. Cela peut prendre un certain temps.</translation>
    </message>
    <message>
        <source>Your recording has been saved to your computer.</source>
        <translation>Votre enregistrement a été sauvegardé sur votre ordinateur.</translation>
    </message>
    <message>
        <source>We had a problem converting the recording to MP4 format.</source>
        <translation>Un problème est survenu lors de la conversion de l’enregistrement au format MP4.</translation>
    </message>
    <message>
        <source>View in Folder</source>
        <translation>Afficher dans le dossier</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>Ouvrir</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Fermer</translation>
    </message>
    <message>
        <source>The recording could not be opened.</source>
        <translation>Impossible d’ouvrir l’enregistrement.</translation>
    </message>
    <message>
        <source>The folder could not be opened.</source>
        <translation>Impossible d’ouvrir le dossier.</translation>
    </message>
</context>
</TS>
