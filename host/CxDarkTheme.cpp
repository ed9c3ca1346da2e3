#include "CxDarkTheme.h"

#include <QApplication>
#include <QDockWidget>
#include <QHeaderView>
#include <QMainWindow>
#include <QPainter>
#include <QPalette>
#include <QScreen>
#include <QScrollBar>
#include <QStyleFactory>
#include <QStyledItemDelegate>
#include <QTableWidget>
#include <cmath>
#include <qcustomplot.h>

namespace {

const QColor kPlotBackground(32, 34, 40);
const QColor kBase(32, 34, 40);
const QColor kLight(205, 210, 220);
// Tables up to this wide are legends: they get their whole width rather than a scroll bar.
constexpr int kLegendWidth = 320;
constexpr int kLegendHeight = 240;

// Relative luminance, as contrast ratios are defined on it.
double luminance(const QColor& colour)
{
    auto channel = [](double c) { return c <= 0.03928 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4); };
    return 0.2126 * channel(colour.redF()) + 0.7152 * channel(colour.greenF()) +
           0.0722 * channel(colour.blueF());
}

bool readableOn(const QColor& colour, const QColor& background)
{
    const double a = luminance(colour) + 0.05;
    const double b = luminance(background) + 0.05;
    return qMax(a, b) / qMin(a, b) >= 3.0;
}

class CxReadableTextDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        const QVariant foreground = index.data(Qt::ForegroundRole);
        if (foreground.canConvert<QBrush>() && !index.data(Qt::DisplayRole).toString().isEmpty() &&
            !readableOn(foreground.value<QBrush>().color(), option.palette.color(QPalette::Base))) {
            painter->save();
            painter->setRenderHint(QPainter::Antialiasing);
            painter->setPen(Qt::NoPen);
            painter->setBrush(kLight);
            painter->drawRoundedRect(QRectF(option.rect).adjusted(1.5, 1.5, -1.5, -1.5), 3.0, 3.0);
            painter->restore();
        }
        QStyledItemDelegate::paint(painter, option, index);
    }
};

int fullWidth(const QTableWidget* table)
{
    const int header = table->verticalHeader()->isVisible() ? table->verticalHeader()->width() : 0;
    return header + table->horizontalHeader()->length() + 2 * table->frameWidth();
}

void outlineDarkSeries(QCustomPlot* plot)
{
    for (int i = plot->graphCount() - 1; i >= 0; --i)
        if (plot->graph(i)->property("ksHalo").toBool())
            plot->removeGraph(i);
    const int series = plot->graphCount();
    for (int i = 0; i < series; ++i) {
        QCPGraph* graph = plot->graph(i);
        if (!graph->visible() || readableOn(graph->pen().color(), kPlotBackground))
            continue;
        QCPGraph* halo = plot->addGraph(graph->keyAxis(), graph->valueAxis());
        halo->setProperty("ksHalo", true);
        halo->setData(graph->data()); // shared, not copied
        halo->setLineStyle(graph->lineStyle());
        halo->setPen(QPen(kLight, graph->pen().widthF() + 2.5));
        halo->setSelectable(QCP::stNone);
        halo->setLayer(QStringLiteral("grid")); // under every series, above the background
    }
}

} // namespace

namespace CxDarkTheme {

void apply(QApplication& app)
{
    app.setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    QPalette palette;
    palette.setColor(QPalette::Window, QColor(45, 47, 53));
    palette.setColor(QPalette::WindowText, QColor(230, 230, 230));
    palette.setColor(QPalette::Base, kBase);
    palette.setColor(QPalette::AlternateBase, QColor(45, 47, 53));
    palette.setColor(QPalette::Text, QColor(230, 230, 230));
    palette.setColor(QPalette::Button, QColor(58, 61, 68));
    palette.setColor(QPalette::ButtonText, QColor(230, 230, 230));
    palette.setColor(QPalette::Highlight, QColor(42, 130, 218));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::ToolTipBase, QColor(58, 61, 68));
    palette.setColor(QPalette::ToolTipText, QColor(230, 230, 230));
    palette.setColor(QPalette::Disabled, QPalette::Text, QColor(120, 120, 120));
    palette.setColor(QPalette::Disabled, QPalette::ButtonText, QColor(120, 120, 120));
    palette.setColor(QPalette::Disabled, QPalette::WindowText, QColor(120, 120, 120));
    app.setPalette(palette);
}

void keepPlotReadable(QCustomPlot* plot)
{
    plot->setBackground(QBrush(kPlotBackground));
    // Before each replot, so that series the panel adds at any refresh are outlined too.
    QObject::connect(plot, &QCustomPlot::beforeReplot, plot, [plot]() { outlineDarkSeries(plot); });
}

void keepTablesReadable(QWidget* panel)
{
    const QList<QTableWidget*> tables = panel->findChildren<QTableWidget*>();
    for (QTableWidget* table : tables) {
        table->setItemDelegate(new CxReadableTextDelegate(table));
        // A legend's rows are filled whenever the panel changes its mode.
        QObject::connect(table->horizontalHeader(), &QHeaderView::sectionResized, table, [table]() {
            const int width = fullWidth(table);
            if (width > kLegendWidth)
                return;
            table->setMaximumWidth(qMax(table->maximumWidth(), width));
            table->setMinimumWidth(qMax(table->minimumWidth(), width));
            table->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
            const int height = table->verticalHeader()->length() + 2 * table->frameWidth();
            if (height <= kLegendHeight)
                table->setMaximumHeight(qMax(table->maximumHeight(), height));
        });
    }
}

void fitTables(QMainWindow* window)
{
    int missing = 0;
    const QList<QDockWidget*> docks = window->findChildren<QDockWidget*>();
    for (QDockWidget* dock : docks) {
        const QList<QTableWidget*> tables = dock->findChildren<QTableWidget*>();
        for (const QTableWidget* table : tables)
            if (table->isVisible())
                missing = qMax(missing, fullWidth(table) - table->width());
    }
    if (missing <= 0)
        return;
    int limit = window->width() + missing;
    // The offscreen platform's nominal screen is smaller than any window worth a screenshot.
    if (window->screen() && QGuiApplication::platformName() != QLatin1String("offscreen"))
        limit = qMin(limit, window->screen()->availableGeometry().width());
    if (limit > window->width())
        window->resize(limit, window->height());
}

} // namespace CxDarkTheme
