<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de">
<context>
    <name>Localizable</name>
    <message>
        <source>Continue</source>
        <translation>Weiter</translation>
    </message>
    <message>
        <source>Install</source>
        <translation>Installieren</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Go Back</source>
        <translation>Zurück</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>Quit</source>
        <translation>Beenden</translation>
    </message>
    <message>
        <source>Visit Archive</source>
        <translation>Archiv besuchen</translation>
    </message>
    <message>
        <source>missing source path</source>
        <translation>Das zu installierende Programm wurde nicht gefunden.</translation>
    </message>
    <message>
        <source>missing program name</source>
        <translation>Der Name des zu installierenden Programms fehlt.</translation>
    </message>
    <message>
        <source>missing product signature</source>
        <translation>%@ kann nicht installiert werden: die Signatur fehlt.</translation>
    </message>
    <message>
        <source>If you wish to read the documentation first, click the &quot;?&quot; button.</source>
        <translation>Wenn Sie zuerst die Dokumentation lesen möchten, klicken Sie auf „?“.</translation>
    </message>
    <message>
        <source>%1$@ %2$@ cannot be installed on this computer because it requires Mac OS X %3$@ or newer.</source>
        <translation>%1$@ %2$@ kann auf diesem Computer nicht installiert werden, da es Linux %3$@ oder neuer benötigt.</translation>
    </message>
    <message>
        <source>To check if an older version of %@ is available for your computer, please visit our software archive.</source>
        <translation>Ob eine ältere Version von %@ für Ihren Computer verfügbar ist, erfahren Sie in unserem Software-Archiv.</translation>
    </message>
    <message>
        <source>%1$@ cannot be running during the installation.&#xd;Quit %1$@, then click &quot;Install&quot; again.</source>
        <translation>%1$@ darf während der Installation nicht laufen.&#xd;Beenden Sie %1$@ und klicken Sie dann erneut auf „Installieren“.</translation>
    </message>
    <message>
        <source>%@ was successfully installed.</source>
        <translation>%@ wurde erfolgreich installiert.</translation>
    </message>
    <message>
        <source>Try installing %1$@ manually by copying it to the Applications folder.</source>
        <translation>Versuchen Sie, %1$@ von Hand in den Programme-Ordner zu kopieren.</translation>
    </message>
    <message>
        <source>Could not delete existing copy.</source>
        <translation>Die vorhandene Kopie von %@ konnte nicht in den Papierkorb gelegt werden.</translation>
    </message>
    <message>
        <source>Installation failed.</source>
        <translation>Die Installation von %@ ist fehlgeschlagen.</translation>
    </message>
    <message>
        <source>Authorized copying failed.</source>
        <translation>%@ konnte nicht mit Administratorrechten kopiert werden.</translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>%@ Installer</source>
        <translation>%@-Installationsprogramm</translation>
    </message>
    <message>
        <source>Installer window</source>
        <translation>Installationsfenster</translation>
    </message>
    <message>
        <source>This will install %@ on your computer.</source>
        <translation>%@ wird auf Ihrem Computer installiert.</translation>
    </message>
    <message>
        <source>%@ will be installed at the place shown above. Click &quot;Install&quot; to continue.</source>
        <translation>%@ wird am oben gezeigten Ort installiert. Klicken Sie auf „Installieren“, um fortzufahren.</translation>
    </message>
    <message>
        <source>Read me</source>
        <translation>Bitte lesen</translation>
    </message>
    <message>
        <source>Product icon</source>
        <translation>Programmsymbol</translation>
    </message>
    <message>
        <source>Installed</source>
        <translation>Installiert</translation>
    </message>
    <message>
        <source>Product name and version</source>
        <translation>Programmname und Version</translation>
    </message>
    <message>
        <source>Introduction</source>
        <translation>Einführung</translation>
    </message>
    <message>
        <source>Destination</source>
        <translation>Ziel</translation>
    </message>
    <message>
        <source>Explanation</source>
        <translation>Erklärung</translation>
    </message>
    <message>
        <source>Message</source>
        <translation>Meldung</translation>
    </message>
    <message>
        <source>Progress</source>
        <translation>Fortschritt</translation>
    </message>
    <message>
        <source>?</source>
        <translation>?</translation>
    </message>
    <message>
        <source>Open the documentation</source>
        <translation>Dokumentation öffnen</translation>
    </message>
    <message>
        <source>Documentation</source>
        <translation>Dokumentation</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Install</source>
        <translation>Installieren</translation>
    </message>
</context>
</TS>
