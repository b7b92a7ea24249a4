<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en">
<context>
    <name>Localizable</name>
    <message>
        <source>Continue</source>
        <translation>Continue</translation>
    </message>
    <message>
        <source>Install</source>
        <translation>Install</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>Go Back</source>
        <translation>Go Back</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>Quit</source>
        <translation>Quit</translation>
    </message>
    <message>
        <source>Visit Archive</source>
        <translation>Visit Archive</translation>
    </message>
    <message>
        <source>missing source path</source>
        <translation>The application to install was not found.</translation>
    </message>
    <message>
        <source>missing program name</source>
        <translation>The name of the application to install is missing.</translation>
    </message>
    <message>
        <source>missing product signature</source>
        <translation>%@ cannot be installed: its signature is missing.</translation>
    </message>
    <message>
        <source>If you wish to read the documentation first, click the &quot;?&quot; button.</source>
        <translation>If you wish to read the documentation first, click the &quot;?&quot; button.</translation>
    </message>
    <message>
        <source>%1$@ %2$@ cannot be installed on this computer because it requires Mac OS X %3$@ or newer.</source>
        <translation>%1$@ %2$@ cannot be installed on this computer because it requires Linux %3$@ or newer.</translation>
    </message>
    <message>
        <source>To check if an older version of %@ is available for your computer, please visit our software archive.</source>
        <translation>To check if an older version of %@ is available for your computer, please visit our software archive.</translation>
    </message>
    <message>
        <source>%1$@ cannot be running during the installation.&#xd;Quit %1$@, then click &quot;Install&quot; again.</source>
        <translation>%1$@ cannot be running during the installation.&#xd;Quit %1$@, then click &quot;Install&quot; again.</translation>
    </message>
    <message>
        <source>%@ was successfully installed.</source>
        <translation>%@ was successfully installed.</translation>
    </message>
    <message>
        <source>Try installing %1$@ manually by copying it to the Applications folder.</source>
        <translation>Try installing %1$@ manually by copying it to the Applications folder.</translation>
    </message>
    <message>
        <source>Could not delete existing copy.</source>
        <translation>The existing copy of %@ could not be moved to the trash.</translation>
    </message>
    <message>
        <source>Installation failed.</source>
        <translation>The installation of %@ failed.</translation>
    </message>
    <message>
        <source>Authorized copying failed.</source>
        <translation>%@ could not be copied with administrator rights.</translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>%@ Installer</source>
        <translation>%@ Installer</translation>
    </message>
    <message>
        <source>Installer window</source>
        <translation>Installer window</translation>
    </message>
    <message>
        <source>This will install %@ on your computer.</source>
        <translation>This will install %@ on your computer.</translation>
    </message>
    <message>
        <source>%@ will be installed at the place shown above. Click &quot;Install&quot; to continue.</source>
        <translation>%@ will be installed at the place shown above. Click &quot;Install&quot; to continue.</translation>
    </message>
    <message>
        <source>Read me</source>
        <translation>Read me</translation>
    </message>
    <message>
        <source>Product icon</source>
        <translation>Product icon</translation>
    </message>
    <message>
        <source>Installed</source>
        <translation>Installed</translation>
    </message>
    <message>
        <source>Product name and version</source>
        <translation>Product name and version</translation>
    </message>
    <message>
        <source>Introduction</source>
        <translation>Introduction</translation>
    </message>
    <message>
        <source>Destination</source>
        <translation>Destination</translation>
    </message>
    <message>
        <source>Explanation</source>
        <translation>Explanation</translation>
    </message>
    <message>
        <source>Message</source>
        <translation>Message</translation>
    </message>
    <message>
        <source>Progress</source>
        <translation>Progress</translation>
    </message>
    <message>
        <source>?</source>
        <translation>?</translation>
    </message>
    <message>
        <source>Open the documentation</source>
        <translation>Open the documentation</translation>
    </message>
    <message>
        <source>Documentation</source>
        <translation>Documentation</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>Install</source>
        <translation>Install</translation>
    </message>
</context>
</TS>
