<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name>CxCameraLineData</name>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/CameraLineData.cpp" line="343"/>
        <source>Export Measured Data</source>
        <translation>Messdaten exportieren</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/CameraLineData.cpp" line="344"/>
        <source>The report could not be written to %1:
%2</source>
        <translation>Der Bericht konnte nicht nach %1 geschrieben werden:
%2</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/CameraLineData.cpp" line="1327"/>
        <source>Exporting %1 data</source>
        <translation>Daten von %1 werden exportiert</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/CameraLineData.cpp" line="1328"/>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/CameraLineData.cpp" line="1329"/>
        <source>Data throughput monitor</source>
        <translation>Datendurchsatz-Monitor</translation>
    </message>
</context>
<context>
    <name>CxDataGraphForm</name>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.ui" line="14"/>
        <source>Data Throughput Graph</source>
        <translation>Datendurchsatz-Graph</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.ui" line="28"/>
        <source>Setup...</source>
        <translation>Einstellungen...</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.ui" line="133"/>
        <source>Reset Zoom</source>
        <translation>Zoom zurücksetzen</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.ui" line="140"/>
        <source>Reset Pan</source>
        <translation>Verschiebung zurücksetzen</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.ui" line="147"/>
        <source>Live Graph</source>
        <translation>Live-Graph</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.ui" line="157"/>
        <source>Refresh</source>
        <translation>Aktualisieren</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.ui" line="170"/>
        <source>Export Graph</source>
        <translation>Graph exportieren</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.ui" line="177"/>
        <source>Enable or disable plot:</source>
        <translation>Kurven ein- oder ausblenden:</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="300"/>
        <source>Acq</source>
        <translation>Erf.</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="306"/>
        <source>Testing</source>
        <translation>Misst</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="306"/>
        <source>Stopped</source>
        <translation>Gestoppt</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="457"/>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="572"/>
        <source>Camera</source>
        <translation>Kamera</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="458"/>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="573"/>
        <source>Status</source>
        <translation>Status</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="458"/>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="573"/>
        <source>Data gap measurement status</source>
        <translation>Status der Lückenmessung</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="459"/>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="575"/>
        <source>Measure</source>
        <translation>Messen</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="459"/>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="575"/>
        <source>Start/Stop Measurement</source>
        <translation>Messung starten/stoppen</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="460"/>
        <source>Avg throughput</source>
        <translation>Mittl. Durchsatz</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="460"/>
        <source>Average data rate</source>
        <translation>Mittlere Datenrate</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="461"/>
        <source>Min throughput</source>
        <translation>Min. Durchsatz</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="461"/>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="560"/>
        <source>Minimum data rate in whole data set</source>
        <translation>Kleinste Datenrate im gesamten Datensatz</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="462"/>
        <source>Max buffer level</source>
        <translation>Max. Pufferstand</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="462"/>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="562"/>
        <source>Internal camera buffer fill percentage</source>
        <translation>Füllstand des internen Kamerapuffers in Prozent</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="463"/>
        <source>Buffer overflow count</source>
        <translation>Anzahl Pufferüberläufe</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="464"/>
        <source>Number of times internal camera buffer was totally filled</source>
        <translation>Wie oft der interne Kamerapuffer ganz gefüllt war</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="465"/>
        <source>Export data</source>
        <translation>Daten exportieren</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="465"/>
        <source>Export data to .csv report</source>
        <translation>Daten als CSV-Bericht exportieren</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="466"/>
        <source>Required throughput</source>
        <translation>Benötigter Durchsatz</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="467"/>
        <source>Expected sensor speed for evaluation</source>
        <translation>Erwartete Sensordatenrate für die Bewertung</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="468"/>
        <source>Camera buffer size</source>
        <translation>Kamerapuffergröße</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="469"/>
        <source>Size of internal camera buffer in bytes</source>
        <translation>Größe des internen Kamerapuffers in Bytes</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="470"/>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="584"/>
        <source>Graph</source>
        <translation>Graph</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="470"/>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="584"/>
        <source>Enable/Disable plotting of measured data</source>
        <translation>Darstellung der Messdaten ein/aus</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="471"/>
        <source>Y Axis scaling</source>
        <translation>Skalierung der Y-Achse</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="472"/>
        <source>Enable/Disable Y axis automatic scaling or set manual axis range</source>
        <translation>Automatische Skalierung der Y-Achse ein/aus oder Bereich von Hand setzen</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="488"/>
        <source>Export Data...</source>
        <translation>Daten exportieren...</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="574"/>
        <source>Data Format</source>
        <translation>Datenformat</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="574"/>
        <source>Output data format.</source>
        <translation>Ausgabedatenformat.</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="576"/>
        <source>Transferred</source>
        <translation>Übertragen</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="576"/>
        <source>Number of transferred frames</source>
        <translation>Anzahl übertragener Bilder</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="577"/>
        <source>Transport skip</source>
        <translation>Transport-Auslassungen</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="577"/>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="642"/>
        <source>Number of skipped frames on transport layer</source>
        <translation>Anzahl ausgelassener Bilder in der Transportschicht</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="578"/>
        <source>API skip</source>
        <translation>API-Auslassungen</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="578"/>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="643"/>
        <source>Number of skipped frames on API layer</source>
        <translation>Anzahl ausgelassener Bilder in der API-Schicht</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="579"/>
        <source>Missed trg. overlap</source>
        <translation>Verpasste Trigger (Überlappung)</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="580"/>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="644"/>
        <source>Number of missed triggers due to overlap</source>
        <translation>Anzahl verpasster Trigger wegen Überlappung</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="581"/>
        <source>Missed trg overflow</source>
        <translation>Verpasste Trigger (Überlauf)</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="582"/>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="645"/>
        <source>Number of missed triggers due to frame buffer full</source>
        <translation>Anzahl verpasster Trigger wegen vollem Bildpuffer</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="583"/>
        <source>Buffer overflow</source>
        <translation>Pufferüberlauf</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="583"/>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="646"/>
        <source>Frame buffer full counter</source>
        <translation>Zähler voller Bildpuffer</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="664"/>
        <source>Average
throughput</source>
        <translation>Mittlerer
Durchsatz</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="665"/>
        <source>Minimum
throughput</source>
        <translation>Minimaler
Durchsatz</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="666"/>
        <source>Buffer overflow
count</source>
        <translation>Anzahl
Pufferüberläufe</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="667"/>
        <source>Required
throughput</source>
        <translation>Benötigter
Durchsatz</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="668"/>
        <source>Camera buffer
size</source>
        <translation>Kamerapuffer-
größe</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="761"/>
        <source>Avg. rate [MB/s]</source>
        <translation>Mittl. Rate [MB/s]</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="762"/>
        <source>Buffer filled [%]</source>
        <translation>Puffer gefüllt [%]</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="771"/>
        <source>Counter value</source>
        <translation>Zählerstand</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="975"/>
        <source>Run history...</source>
        <translation>Verlauf des Laufs...</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="1462"/>
        <source>Failed to start measurement</source>
        <translation>Messung konnte nicht gestartet werden</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="1463"/>
        <source>Camera %1 does not support 
 data throughput analysis in Lumorix.</source>
        <translation>Kamera %1 unterstützt 
 die Datendurchsatzanalyse in Lumorix nicht.</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="1478"/>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="1556"/>
        <source>Stopping measurement</source>
        <translation>Messung wird gestoppt</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="1485"/>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="1518"/>
        <source>Starting measurement</source>
        <translation>Messung wird gestartet</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="1767"/>
        <source>Export Measured Data</source>
        <translation>Messdaten exportieren</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="1767"/>
        <source>No measured data to export.</source>
        <translation>Keine Messdaten zum Exportieren.</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="1773"/>
        <source>Select Output File for Measured Data</source>
        <translation>Ausgabedatei für Messdaten wählen</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="1774"/>
        <source>CSV files (*.csv)</source>
        <translation>CSV-Dateien (*.csv)</translation>
    </message>
</context>
<context>
    <name>CxDataGraphSetupDlg</name>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphSetupDlg.ui" line="6"/>
        <source>Data Throughput Test Setup</source>
        <translation>Einstellungen des Durchsatztests</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphSetupDlg.ui" line="10"/>
        <source>Measurement</source>
        <translation>Messung</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphSetupDlg.ui" line="27"/>
        <source>Sample period:</source>
        <translation>Abtastabstand:</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphSetupDlg.ui" line="38"/>
        <source>million samples per camera</source>
        <translation>Millionen Abtastwerte je Kamera</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphSetupDlg.ui" line="43"/>
        <source>Bytes</source>
        <translation>Bytes</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphSetupDlg.ui" line="48"/>
        <source>Capacity:</source>
        <translation>Kapazität:</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphSetupDlg.ui" line="53"/>
        <source>Mode:</source>
        <translation>Modus:</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphSetupDlg.ui" line="60"/>
        <source>Data Throughput measurement</source>
        <translation>Datendurchsatzmessung</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphSetupDlg.ui" line="63"/>
        <source>Standard Sensor Acquisition</source>
        <translation>Standard-Sensorerfassung</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphSetupDlg.ui" line="78"/>
        <source>Display</source>
        <translation>Anzeige</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphSetupDlg.ui" line="85"/>
        <source>Refresh Period:</source>
        <translation>Aktualisierungsintervall:</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphSetupDlg.ui" line="97"/>
        <source>seconds</source>
        <translation>Sekunden</translation>
    </message>
</context>
<context>
    <name>CxDataThroughputGraphPlugin</name>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/kspDataThroughputGraph.cpp" line="47"/>
        <source>Data Throughput Graph Tool</source>
        <translation>Datendurchsatz-Graph-Werkzeug</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/kspDataThroughputGraph.cpp" line="57"/>
        <source>Measures the available bandwidth during time and shows results in graph.</source>
        <translation>Misst die verfügbare Bandbreite über die Zeit und zeigt die Ergebnisse als Graph.</translation>
    </message>
</context>
<context>
    <name>CxHistoryPlot</name>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/HistoryPlot.cpp" line="69"/>
        <source>Run history, 1 s resolution</source>
        <translation>Verlauf des Laufs, Auflösung 1 s</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/HistoryPlot.cpp" line="70"/>
        <source>Run history, 10 ms resolution</source>
        <translation>Verlauf des Laufs, Auflösung 10 ms</translation>
    </message>
</context>
<context>
    <name>CxRunHistory</name>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistory.cpp" line="21"/>
        <source>missing packets</source>
        <translation>fehlende Pakete</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistory.cpp" line="21"/>
        <source>resend requests</source>
        <translation>Wiederholungsanfragen</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistory.cpp" line="22"/>
        <source>resent packets</source>
        <translation>wiederholte Pakete</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistory.cpp" line="22"/>
        <source>underruns</source>
        <translation>Unterläufe</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistory.cpp" line="23"/>
        <source>failures</source>
        <translation>Fehlschläge</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistory.cpp" line="23"/>
        <source>timeouts</source>
        <translation>Zeitüberschreitungen</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistory.cpp" line="24"/>
        <source>transferred bytes</source>
        <translation>übertragene Bytes</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistory.cpp" line="875"/>
        <source>Delivered %1 MB/s (%2 frames/s)</source>
        <translation>Geliefert %1 MB/s (%2 Bilder/s)</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistory.cpp" line="878"/>
        <source>%1; what the camera is set to send is not known.</source>
        <translation>%1; was die Kamera senden soll, ist unbekannt.</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistory.cpp" line="879"/>
        <source>%1 of the %2 MB/s (%3 frames/s) the camera is set to send</source>
        <translation>%1 der %2 MB/s (%3 Bilder/s), die die Kamera senden soll</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistory.cpp" line="886"/>
        <source>%1: the link or the host carries %2 % of it.</source>
        <translation>%1: Verbindung oder Rechner tragen %2 % davon.</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistory.cpp" line="908"/>
        <source>Camera lost</source>
        <translation>Kamera verloren</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistory.cpp" line="909"/>
        <source>it stopped answering at %1 s, and the run ended there.</source>
        <translation>sie antwortete ab %1 s nicht mehr, und dort endete der Lauf.</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistory.cpp" line="916"/>
        <location filename="../plugins/kspDataThroughputGraph/RunHistory.cpp" line="922"/>
        <location filename="../plugins/kspDataThroughputGraph/RunHistory.cpp" line="928"/>
        <location filename="../plugins/kspDataThroughputGraph/RunHistory.cpp" line="933"/>
        <location filename="../plugins/kspDataThroughputGraph/RunHistory.cpp" line="938"/>
        <location filename="../plugins/kspDataThroughputGraph/RunHistory.cpp" line="956"/>
        <source>Falls behind</source>
        <translation>Hält nicht mit</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistory.cpp" line="917"/>
        <source>no image came for %1 s from %2 s on</source>
        <translation>ab %2 s kam %1 s lang kein Bild</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistory.cpp" line="919"/>
        <source>no image arrived in %1 s</source>
        <translation>in %1 s kam kein Bild an</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistory.cpp" line="923"/>
        <source>the link averaged %1 MB/s over the run against %2 MB/s required.</source>
        <translation>die Verbindung trug im Mittel des Laufs %1 MB/s gegen %2 MB/s benötigt.</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistory.cpp" line="929"/>
        <source>%1 MB/s arrived of the %2 MB/s the camera is set to send.</source>
        <translation>%1 MB/s kamen an von den %2 MB/s, die die Kamera senden soll.</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistory.cpp" line="934"/>
        <source>the camera counted %1 skipped frames, missed triggers and overflows.</source>
        <translation>die Kamera zählte %1 übersprungene Bilder, verpasste Trigger und Überläufe.</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistory.cpp" line="936"/>
        <source>%1 frames filled the camera&apos;s buffer.</source>
        <translation>%1 Bilder füllten den Puffer der Kamera.</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistory.cpp" line="939"/>
        <source>%1 frames the camera sent never arrived.</source>
        <translation>%1 Bilder, die die Kamera sandte, kamen nie an.</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistory.cpp" line="941"/>
        <source>Too short to tell</source>
        <translation>Zu kurz für ein Urteil</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistory.cpp" line="942"/>
        <source>nothing went wrong in %1, but only a run of %2 without a fault proves fewer than one an hour.</source>
        <translation>in %1 ging nichts schief, aber erst ein Lauf von %2 ohne Fehler belegt weniger als einen pro Stunde.</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistory.cpp" line="946"/>
        <source>Keeps up, with dips the buffer absorbed</source>
        <translation>Hält mit, Einbrüche fing der Puffer auf</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistory.cpp" line="947"/>
        <source>%1 dips, the deepest to %2 MB/s at %3 s, never filled the camera&apos;s buffer.</source>
        <translation>%1 Einbrüche, der tiefste auf %2 MB/s bei %3 s, füllten den Puffer der Kamera nie.</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistory.cpp" line="952"/>
        <source>Keeps up</source>
        <translation>Hält mit</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistory.cpp" line="953"/>
        <source>everything the camera sent arrived, without a dip or an overflow in %1.</source>
        <translation>alles, was die Kamera sandte, kam an, ohne Einbruch oder Überlauf in %1.</translation>
    </message>
    <message>
        <source>The camera stopped answering at %1 s: the run ended there.</source>
        <translation type="vanished">Die Kamera antwortete ab %1 s nicht mehr: Dort endete der Lauf.</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistory.cpp" line="965"/>
        <source>No image came for %1 s from %2 s on.</source>
        <translation>Ab %2 s kam %1 s lang kein Bild.</translation>
    </message>
    <message>
        <source>No image came for %1 s from %2 s on: %3.</source>
        <translation type="vanished">Ab %2 s kam %1 s lang kein Bild: %3.</translation>
    </message>
    <message>
        <source>No image arrived in %1 s.</source>
        <translation type="vanished">In %1 s kam kein Bild an.</translation>
    </message>
    <message>
        <source>No image arrived in %1 s: %2.</source>
        <translation type="vanished">In %1 s kam kein Bild an: %2.</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistory.cpp" line="968"/>
        <source>Nothing measured yet.</source>
        <translation>Noch nichts gemessen.</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistory.cpp" line="982"/>
        <source>%1 skipped frames, missed triggers and overflows</source>
        <translation>%1 übersprungene Bilder, verpasste Trigger und Überläufe</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistory.cpp" line="982"/>
        <source>%1 overflows</source>
        <translation>%1 Überläufe</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistory.cpp" line="983"/>
        <source>%1 in %2: fewer than %3 per hour at 95 % confidence (%4 / %5 h).</source>
        <translation>%1 in %2: weniger als %3 pro Stunde mit 95 % Konfidenz (%4 / %5 h).</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistory.cpp" line="993"/>
        <source>%1 of the %2 frames the camera sent never arrived (%3 %).</source>
        <translation>%1 der %2 Bilder, die die Kamera sandte, kamen nie an (%3 %).</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistory.cpp" line="999"/>
        <source>%1 packets went missing on the way; %2 resend requests brought back %3.</source>
        <translation>%1 Pakete gingen unterwegs verloren; %2 Wiederholungsanfragen brachten %3 zurück.</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistory.cpp" line="1014"/>
        <source>Link average %1 MB/s inside frames, but %2 MB/s delivered against %3 MB/s required: no headroom.</source>
        <translation>Mittel der Verbindung %1 MB/s innerhalb der Bilder, aber %2 MB/s geliefert gegen %3 MB/s benötigt: keine Reserve.</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistory.cpp" line="1021"/>
        <source>Link average %1 MB/s against %2 MB/s required: headroom %3 (%1 / %2).</source>
        <translation>Mittel der Verbindung %1 MB/s gegen %2 MB/s benötigt: Reserve %3 (%1 / %2).</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistory.cpp" line="1030"/>
        <source>The link falls behind by %1 MB/s; the camera&apos;s buffer size is not known.</source>
        <translation>Die Verbindung bleibt um %1 MB/s zurück; die Puffergröße der Kamera ist unbekannt.</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistory.cpp" line="1036"/>
        <source>The link falls behind by %1 MB/s: the camera&apos;s buffer of %2 MB lasts %3 s of continuous acquisition (%2 MB / %1 MB/s).</source>
        <translation>Die Verbindung bleibt um %1 MB/s zurück: der Puffer der Kamera von %2 MB reicht für %3 s durchgehende Aufnahme (%2 MB / %1 MB/s).</translation>
    </message>
</context>
<context>
    <name>CxRunHistoryDlg</name>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistoryDlg.ui" line="14"/>
        <source>Run history</source>
        <translation>Verlauf des Laufs</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistoryDlg.ui" line="26"/>
        <source>The whole run: the lowest speed and the highest buffer level of each bucket, the required throughput and the events (click one to find it in the table)</source>
        <translation>Der ganze Lauf: die niedrigste Geschwindigkeit und der höchste Pufferstand jedes Abschnitts, der benötigte Durchsatz und die Ereignisse (ein Klick zeigt es in der Tabelle)</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistoryDlg.ui" line="43"/>
        <source>What the run proves</source>
        <translation>Was der Lauf belegt</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistoryDlg.ui" line="62"/>
        <source>Events (double-click one to see it in the graph):</source>
        <translation>Ereignisse (Doppelklick zeigt eines im Diagramm):</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistoryDlg.ui" line="79"/>
        <source>Start [s]</source>
        <translation>Beginn [s]</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistoryDlg.ui" line="84"/>
        <source>Duration [ms]</source>
        <translation>Dauer [ms]</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistoryDlg.ui" line="89"/>
        <source>Event</source>
        <translation>Ereignis</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistoryDlg.ui" line="94"/>
        <source>Depth</source>
        <translation>Tiefe</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistoryDlg.ui" line="99"/>
        <source>Count</source>
        <translation>Anzahl</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistoryDlg.ui" line="109"/>
        <source>Open Run Log...</source>
        <translation>Laufprotokoll öffnen...</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistoryDlg.ui" line="123"/>
        <source>Close</source>
        <translation>Schließen</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistoryDlg.cpp" line="27"/>
        <source>Transport skip</source>
        <translation>Transport-Auslassungen</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistoryDlg.cpp" line="27"/>
        <source>API skip</source>
        <translation>API-Auslassungen</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistoryDlg.cpp" line="28"/>
        <source>Missed trg. overlap</source>
        <translation>Verpasste Trigger (Überlappung)</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistoryDlg.cpp" line="29"/>
        <source>Missed trg overflow</source>
        <translation>Verpasste Trigger (Überlauf)</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistoryDlg.cpp" line="30"/>
        <location filename="../plugins/kspDataThroughputGraph/RunHistoryDlg.cpp" line="236"/>
        <source>Buffer overflow</source>
        <translation>Pufferüberlauf</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistoryDlg.cpp" line="67"/>
        <source>Run history of %1</source>
        <translation>Verlauf des Laufs von %1</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistoryDlg.cpp" line="115"/>
        <location filename="../plugins/kspDataThroughputGraph/RunHistoryDlg.cpp" line="132"/>
        <source>Open Run Log</source>
        <translation>Laufprotokoll öffnen</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistoryDlg.cpp" line="115"/>
        <source>%1 cannot be read:
%2</source>
        <translation>%1 kann nicht gelesen werden:
%2</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistoryDlg.cpp" line="120"/>
        <source>Run log of %1: %2</source>
        <translation>Laufprotokoll von %1: %2</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistoryDlg.cpp" line="133"/>
        <source>Run logs (*.log.csv);;CSV files (*.csv)</source>
        <translation>Laufprotokolle (*.log.csv);;CSV-Dateien (*.csv)</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistoryDlg.cpp" line="148"/>
        <source>Start</source>
        <translation>Beginn</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistoryDlg.cpp" line="149"/>
        <source>Duration</source>
        <translation>Dauer</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistoryDlg.cpp" line="150"/>
        <source>Frames</source>
        <translation>Bilder</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistoryDlg.cpp" line="155"/>
        <source>Bytes</source>
        <translation>Bytes</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistoryDlg.cpp" line="156"/>
        <source>Link average</source>
        <translation>Mittel der Verbindung</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistoryDlg.cpp" line="157"/>
        <source>Lowest speed</source>
        <translation>Niedrigste Geschwindigkeit</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistoryDlg.cpp" line="157"/>
        <source>%1 MB/s at %2 s</source>
        <translation>%1 MB/s bei %2 s</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistoryDlg.cpp" line="160"/>
        <source>Highest buffer level</source>
        <translation>Höchster Pufferstand</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistoryDlg.cpp" line="160"/>
        <source>%1 % at %2 s</source>
        <translation>%1 % bei %2 s</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistoryDlg.cpp" line="163"/>
        <source>Buffer overflows</source>
        <translation>Pufferüberläufe</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistoryDlg.cpp" line="166"/>
        <source>Delivered</source>
        <translation>Geliefert</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistoryDlg.cpp" line="166"/>
        <source>%1 MB/s, %2 frames/s (%3 frames, %4 GB)</source>
        <translation>%1 MB/s, %2 Bilder/s (%3 Bilder, %4 GB)</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistoryDlg.cpp" line="172"/>
        <source>Set to send</source>
        <translation>Eingestellt zu senden</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistoryDlg.cpp" line="173"/>
        <source>%1 MB/s, %2 frames/s</source>
        <translation>%1 MB/s, %2 Bilder/s</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistoryDlg.cpp" line="174"/>
        <source>Frames not delivered</source>
        <translation>Nicht gelieferte Bilder</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistoryDlg.cpp" line="180"/>
        <source>%1 GB</source>
        <translation>%1 GB</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistoryDlg.cpp" line="181"/>
        <source>GigE Vision stream</source>
        <translation>GigE-Vision-Datenstrom</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistoryDlg.cpp" line="183"/>
        <source>Events</source>
        <translation>Ereignisse</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistoryDlg.cpp" line="184"/>
        <source>%1 (%2 of them listed: the worst)</source>
        <translation>%1 (%2 davon aufgeführt: die schlimmsten)</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistoryDlg.cpp" line="232"/>
        <source>Dip</source>
        <translation>Einbruch</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistoryDlg.cpp" line="232"/>
        <source>Link below required</source>
        <translation>Verbindung unter Bedarf</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistoryDlg.cpp" line="233"/>
        <source>%1 MB/s</source>
        <translation>%1 MB/s</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistoryDlg.cpp" line="237"/>
        <source>%1 frames</source>
        <translation>%1 Bilder</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistoryDlg.cpp" line="241"/>
        <source>+%1</source>
        <translation>+%1</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistoryDlg.cpp" line="244"/>
        <source>Camera stopped answering</source>
        <translation>Kamera antwortet nicht mehr</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistoryDlg.cpp" line="247"/>
        <source>No image</source>
        <translation>Kein Bild</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunHistoryDlg.cpp" line="251"/>
        <source>%1 in a second at most</source>
        <translation>höchstens %1 in einer Sekunde</translation>
    </message>
</context>
<context>
    <name>CxRunPlot</name>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunPlot.cpp" line="29"/>
        <source>Transport skip</source>
        <translation>Transport-Auslassungen</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunPlot.cpp" line="29"/>
        <source>API skip</source>
        <translation>API-Auslassungen</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunPlot.cpp" line="30"/>
        <source>Missed trg. overlap</source>
        <translation>Verpasste Trigger (Überlappung)</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunPlot.cpp" line="30"/>
        <source>Missed trg overflow</source>
        <translation>Verpasste Trigger (Überlauf)</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunPlot.cpp" line="31"/>
        <source>Buffer overflow</source>
        <translation>Pufferüberlauf</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunPlot.cpp" line="59"/>
        <source>Seconds from the run&apos;s start</source>
        <translation>Sekunden ab Laufbeginn</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunPlot.cpp" line="79"/>
        <source>Required throughput</source>
        <translation>Benötigter Durchsatz</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunPlot.cpp" line="94"/>
        <source>MB/s</source>
        <translation>MB/s</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunPlot.cpp" line="95"/>
        <source>Buffer level [%]</source>
        <translation>Pufferstand [%]</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunPlot.cpp" line="99"/>
        <source>Lowest speed</source>
        <translation>Niedrigste Geschwindigkeit</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunPlot.cpp" line="100"/>
        <source>Highest buffer level</source>
        <translation>Höchster Pufferstand</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunPlot.cpp" line="112"/>
        <source>Increase per bucket</source>
        <translation>Zunahme je Abschnitt</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunPlot.cpp" line="113"/>
        <source>Frames/s</source>
        <translation>Bilder/s</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunPlot.cpp" line="136"/>
        <source>Delivered</source>
        <translation>Geliefert</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunPlot.cpp" line="148"/>
        <source>Dips</source>
        <translation>Einbrüche</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/RunPlot.cpp" line="149"/>
        <source>Other events</source>
        <translation>Andere Ereignisse</translation>
    </message>
</context>
</TS>
