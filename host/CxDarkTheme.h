// The host's dark theme, and what keeps the plug-ins' own colours readable on it. A panel
// chooses its series' colours for itself; some of them (a pure blue) vanish on a dark
// background, so the theme outlines them rather than changing them.
#pragma once

class QApplication;
class QCustomPlot;
class QMainWindow;
class QWidget;

namespace CxDarkTheme {

// Fusion with a dark palette, for the whole application.
void apply(QApplication& app);

// The plot's background, and a light halo under every series too dark to read on it.
void keepPlotReadable(QCustomPlot* plot);

// Tables of a panel: texts too dark for the base get a light chip behind them, and a small
// table (a legend) is given the width its contents need.
void keepTablesReadable(QWidget* panel);

// Widens the window so that the tables of its panels show every column, within the screen.
void fitTables(QMainWindow* window);

} // namespace CxDarkTheme
