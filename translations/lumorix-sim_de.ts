<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name>CxMainWindow</name>
    <message>
        <location filename="../host/MainWindow.ui" line="9"/>
        <source>Lumorix (simulated and GenICam cameras)</source>
        <translation>Lumorix (simulierte und GenICam-Kameras)</translation>
    </message>
    <message>
        <location filename="../host/MainWindow.ui" line="32"/>
        <source>Camera</source>
        <translation>Kamera</translation>
    </message>
    <message>
        <location filename="../host/MainWindow.ui" line="33"/>
        <source>Model</source>
        <translation>Modell</translation>
    </message>
    <message>
        <location filename="../host/MainWindow.ui" line="34"/>
        <source>Link</source>
        <translation>Verbindung</translation>
    </message>
    <message>
        <location filename="../host/MainWindow.ui" line="35"/>
        <source>State</source>
        <translation>Zustand</translation>
    </message>
    <message>
        <location filename="../host/MainWindow.ui" line="42"/>
        <source>Refresh</source>
        <translation>Aktualisieren</translation>
    </message>
    <message>
        <location filename="../host/MainWindow.ui" line="43"/>
        <source>Looks for real cameras again (F5)</source>
        <translation>Sucht erneut nach realen Kameras (F5)</translation>
    </message>
    <message>
        <location filename="../host/MainWindow.ui" line="48"/>
        <source>Open</source>
        <translation>Öffnen</translation>
    </message>
    <message>
        <location filename="../host/MainWindow.ui" line="53"/>
        <source>Close</source>
        <translation>Schließen</translation>
    </message>
    <message>
        <location filename="../host/MainWindow.ui" line="58"/>
        <location filename="../host/CxMainWindow.cpp" line="165"/>
        <source>Start Acquisition</source>
        <translation>Erfassung starten</translation>
    </message>
    <message>
        <location filename="../host/MainWindow.ui" line="63"/>
        <source>Image format:</source>
        <translation>Bildformat:</translation>
    </message>
    <message>
        <location filename="../host/MainWindow.ui" line="84"/>
        <source>No live image</source>
        <translation>Kein Livebild</translation>
    </message>
    <message>
        <location filename="../host/MainWindow.ui" line="91"/>
        <source>&amp;File</source>
        <translation>&amp;Datei</translation>
    </message>
    <message>
        <location filename="../host/MainWindow.ui" line="97"/>
        <source>User &amp;Level</source>
        <translation>&amp;Benutzerstufe</translation>
    </message>
    <message>
        <location filename="../host/MainWindow.ui" line="104"/>
        <source>&amp;Refresh Cameras</source>
        <translation>Kameras &amp;aktualisieren</translation>
    </message>
    <message>
        <location filename="../host/MainWindow.ui" line="105"/>
        <source>F5</source>
        <translation>F5</translation>
    </message>
    <message>
        <location filename="../host/MainWindow.ui" line="108"/>
        <source>&amp;Quit</source>
        <translation>&amp;Beenden</translation>
    </message>
    <message>
        <location filename="../host/MainWindow.ui" line="109"/>
        <source>Ctrl+Q</source>
        <translation>Ctrl+Q</translation>
    </message>
    <message>
        <location filename="../host/CxMainWindow.cpp" line="23"/>
        <source>0 - Basic</source>
        <translation>0 - Einfach</translation>
    </message>
    <message>
        <location filename="../host/CxMainWindow.cpp" line="23"/>
        <source>1 - Standard</source>
        <translation>1 - Standard</translation>
    </message>
    <message>
        <location filename="../host/CxMainWindow.cpp" line="24"/>
        <source>2 - Advanced</source>
        <translation>2 - Fortgeschritten</translation>
    </message>
    <message>
        <location filename="../host/CxMainWindow.cpp" line="24"/>
        <source>3 - Expert</source>
        <translation>3 - Experte</translation>
    </message>
    <message>
        <location filename="../host/CxMainWindow.cpp" line="25"/>
        <source>4 - Developer</source>
        <translation>4 - Entwickler</translation>
    </message>
    <message>
        <location filename="../host/CxMainWindow.cpp" line="132"/>
        <source>Closed</source>
        <translation>Geschlossen</translation>
    </message>
    <message>
        <location filename="../host/CxMainWindow.cpp" line="134"/>
        <source>Disconnected</source>
        <translation>Getrennt</translation>
    </message>
    <message>
        <location filename="../host/CxMainWindow.cpp" line="136"/>
        <source>Measured by plug-in</source>
        <translation>Vom Plug-in gemessen</translation>
    </message>
    <message>
        <location filename="../host/CxMainWindow.cpp" line="138"/>
        <source>Acquiring</source>
        <translation>Erfasst</translation>
    </message>
    <message>
        <location filename="../host/CxMainWindow.cpp" line="140"/>
        <source>Open</source>
        <comment>camera state</comment>
        <translation>Geöffnet</translation>
    </message>
    <message>
        <location filename="../host/CxMainWindow.cpp" line="165"/>
        <source>Stop Acquisition</source>
        <translation>Erfassung stoppen</translation>
    </message>
    <message>
        <location filename="../host/CxMainWindow.cpp" line="186"/>
        <source>Opening camera %1...</source>
        <translation>Kamera %1 wird geöffnet...</translation>
    </message>
    <message>
        <location filename="../host/CxMainWindow.cpp" line="195"/>
        <source>Camera %1 could not be opened: %2</source>
        <translation>Kamera %1 konnte nicht geöffnet werden: %2</translation>
    </message>
    <message>
        <location filename="../host/CxMainWindow.cpp" line="205"/>
        <source>Looking for cameras...</source>
        <translation>Kameras werden gesucht...</translation>
    </message>
    <message numerus="yes">
        <location filename="../host/CxMainWindow.cpp" line="212"/>
        <source>%n camera(s) found.</source>
        <translation>
            <numerusform>%n Kamera gefunden.</numerusform>
            <numerusform>%n Kameras gefunden.</numerusform>
        </translation>
    </message>
    <message>
        <location filename="../host/CxMainWindow.cpp" line="237"/>
        <source>The camera refused the acquisition command.</source>
        <translation>Die Kamera hat den Erfassungsbefehl abgelehnt.</translation>
    </message>
    <message>
        <location filename="../host/CxMainWindow.cpp" line="246"/>
        <source>The camera refused the image format.</source>
        <translation>Die Kamera hat das Bildformat abgelehnt.</translation>
    </message>
    <message>
        <location filename="../host/CxMainWindow.cpp" line="271"/>
        <source>Frame %1, %2 x %3</source>
        <translation>Bild %1, %2 x %3</translation>
    </message>
</context>
</TS>
