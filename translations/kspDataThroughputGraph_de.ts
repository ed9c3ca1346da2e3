<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name>CxCameraLineData</name>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/CameraLineData.cpp" line="371"/>
        <source>Export Measured Data</source>
        <translation>Messdaten exportieren</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/CameraLineData.cpp" line="372"/>
        <source>The report could not be written to %1:
%2</source>
        <translation>Der Bericht konnte nicht nach %1 geschrieben werden:
%2</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/CameraLineData.cpp" line="1242"/>
        <source>Exporting %1 data</source>
        <translation>Daten von %1 werden exportiert</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/CameraLineData.cpp" line="1243"/>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/CameraLineData.cpp" line="1244"/>
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
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="283"/>
        <source>Acq</source>
        <translation>Erf.</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="289"/>
        <source>Testing</source>
        <translation>Misst</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="289"/>
        <source>Stopped</source>
        <translation>Gestoppt</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="435"/>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="539"/>
        <source>Camera</source>
        <translation>Kamera</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="436"/>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="540"/>
        <source>Status</source>
        <translation>Status</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="436"/>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="540"/>
        <source>Data gap measurement status</source>
        <translation>Status der Lückenmessung</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="437"/>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="542"/>
        <source>Measure</source>
        <translation>Messen</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="437"/>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="542"/>
        <source>Start/Stop Measurement</source>
        <translation>Messung starten/stoppen</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="438"/>
        <source>Avg throughput</source>
        <translation>Mittl. Durchsatz</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="438"/>
        <source>Average data rate</source>
        <translation>Mittlere Datenrate</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="439"/>
        <source>Min throughput</source>
        <translation>Min. Durchsatz</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="439"/>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="529"/>
        <source>Minimum data rate in whole data set</source>
        <translation>Kleinste Datenrate im gesamten Datensatz</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="440"/>
        <source>Max buffer level</source>
        <translation>Max. Pufferfüllstand</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="440"/>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="530"/>
        <source>Internal camera buffer fill percentage</source>
        <translation>Füllstand des internen Kamerapuffers in Prozent</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="441"/>
        <source>Buffer overflow count</source>
        <translation>Anzahl Pufferüberläufe</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="442"/>
        <source>Number of times internal camera buffer was totally filled</source>
        <translation>Wie oft der interne Kamerapuffer ganz gefüllt war</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="443"/>
        <source>Export data</source>
        <translation>Daten exportieren</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="443"/>
        <source>Export data to .csv report</source>
        <translation>Daten als CSV-Bericht exportieren</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="444"/>
        <source>Required throughput</source>
        <translation>Benötigter Durchsatz</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="445"/>
        <source>Expected sensor speed for evaluation</source>
        <translation>Erwartete Sensordatenrate für die Bewertung</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="446"/>
        <source>Camera buffer size</source>
        <translation>Kamerapuffergröße</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="447"/>
        <source>Size of internal camera buffer in bytes</source>
        <translation>Größe des internen Kamerapuffers in Bytes</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="448"/>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="551"/>
        <source>Graph</source>
        <translation>Graph</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="448"/>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="551"/>
        <source>Enable/Disable plotting of measured data</source>
        <translation>Darstellung der Messdaten ein/aus</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="449"/>
        <source>Y Axis scaling</source>
        <translation>Skalierung der Y-Achse</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="450"/>
        <source>Enable/Disable Y axis automatic scaling or set manual axis range</source>
        <translation>Automatische Skalierung der Y-Achse ein/aus oder Bereich von Hand setzen</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="466"/>
        <source>Export Data...</source>
        <translation>Daten exportieren...</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="541"/>
        <source>Data Format</source>
        <translation>Datenformat</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="541"/>
        <source>Output data format.</source>
        <translation>Ausgabedatenformat.</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="543"/>
        <source>Transferred</source>
        <translation>Übertragen</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="543"/>
        <source>Number of transferred frames</source>
        <translation>Anzahl übertragener Bilder</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="544"/>
        <source>Transport skip</source>
        <translation>Transport-Auslassungen</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="544"/>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="605"/>
        <source>Number of skipped frames on transport layer</source>
        <translation>Anzahl ausgelassener Bilder in der Transportschicht</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="545"/>
        <source>API skip</source>
        <translation>API-Auslassungen</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="545"/>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="606"/>
        <source>Number of skipped frames on API layer</source>
        <translation>Anzahl ausgelassener Bilder in der API-Schicht</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="546"/>
        <source>Missed trg. overlap</source>
        <translation>Verpasste Trigger (Überlappung)</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="547"/>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="607"/>
        <source>Number of missed triggers due to overlap</source>
        <translation>Anzahl verpasster Trigger wegen Überlappung</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="548"/>
        <source>Missed trg overflow</source>
        <translation>Verpasste Trigger (Überlauf)</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="549"/>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="608"/>
        <source>Number of missed triggers due to frame buffer full</source>
        <translation>Anzahl verpasster Trigger wegen vollem Bildpuffer</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="550"/>
        <source>Buffer overflow</source>
        <translation>Pufferüberlauf</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="550"/>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="609"/>
        <source>Frame buffer full counter</source>
        <translation>Zähler voller Bildpuffer</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="627"/>
        <source>Average
throughput</source>
        <translation>Mittlerer
Durchsatz</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="628"/>
        <source>Minimum
throughput</source>
        <translation>Minimaler
Durchsatz</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="629"/>
        <source>Buffer overflow
count</source>
        <translation>Anzahl
Pufferüberläufe</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="630"/>
        <source>Required
throughput</source>
        <translation>Benötigter
Durchsatz</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="631"/>
        <source>Camera buffer
size</source>
        <translation>Kamerapuffer-
größe</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="721"/>
        <source>Avg. rate [MB/s]</source>
        <translation>Mittl. Rate [MB/s]</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="722"/>
        <source>Buffer filled [%]</source>
        <translation>Puffer gefüllt [%]</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="731"/>
        <source>Counter value</source>
        <translation>Zählerstand</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="1181"/>
        <source>Failed to start measurement</source>
        <translation>Messung konnte nicht gestartet werden</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="1182"/>
        <source>Camera %1 does not support 
 data throughput analysis in Lumorix.</source>
        <translation>Kamera %1 unterstützt 
 die Datendurchsatzanalyse in Lumorix nicht.</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="1197"/>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="1270"/>
        <source>Stopping measurement</source>
        <translation>Messung wird gestoppt</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="1204"/>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="1234"/>
        <source>Starting measurement</source>
        <translation>Messung wird gestartet</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="1500"/>
        <source>Export Measured Data</source>
        <translation>Messdaten exportieren</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="1500"/>
        <source>No measured data to export.</source>
        <translation>Keine Messdaten zum Exportieren.</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="1506"/>
        <source>Select Output File for Measured Data</source>
        <translation>Ausgabedatei für Messdaten wählen</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/DataGraphForm.cpp" line="1507"/>
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
        <location filename="../plugins/kspDataThroughputGraph/kspDataThroughputGraph.cpp" line="44"/>
        <source>Data Throughput Graph Tool</source>
        <translation>Datendurchsatz-Graph-Werkzeug</translation>
    </message>
    <message>
        <location filename="../plugins/kspDataThroughputGraph/kspDataThroughputGraph.cpp" line="54"/>
        <source>Measures the available bandwidth during time and shows results in graph.</source>
        <translation>Misst die verfügbare Bandbreite über die Zeit und zeigt die Ergebnisse als Graph.</translation>
    </message>
</context>
</TS>
