// lumorix-sim: a small stand-in for the Lumorix host application. It runs the host's
// plug-ins against simulated cameras, in a window or, without a display, as a scripted
// measurement that leaves its results in a folder.

#include "CxCameraManager.h"
#include "CxDarkTheme.h"
#include "CxHostDelegate.h"
#include "CxMainWindow.h"
#include "CxPluginHost.h"
#include "CxScriptedRun.h"
#include "ksCamera/CxCameraRegistry.h"
#include "ksSim/CxSimulation.h"
#ifdef KS_HAVE_ARAVIS
#include "ksAravis/CxAravisBackend.h"
#endif

#include <QApplication>
#include <QCommandLineParser>
#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QLocale>
#include <QPointer>
#include <QSettings>
#include <QSocketNotifier>
#include <QStandardPaths>
#include <QTemporaryFile>
#include <QTranslator>
#include <csignal>
#include <cstdio>
#include <functional>
#include <unistd.h>

namespace {

struct SxHostOptions
{
    QString camerasFile;
    QStringList cameraIds;
    bool headless = false;
    bool listCameras = false;
    double duration = 10.0;
    bool acquisition = false;
    QString outDir;
    QString pluginDir;
    QString language; // empty: the user's locale
};

bool hasDisplay()
{
    return !qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

// Reads the command line before the application exists, so that a headless run can pick
// the offscreen platform. Prints help or an error itself; returns the exit code to leave
// with, or -1 to go on.
int parseOptions(const QStringList& arguments, SxHostOptions* options)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Runs the Lumorix host's plug-ins against simulated cameras and real GenICam cameras. Without "
        "a display (or with --headless) it opens every simulated camera (or those --camera names), "
        "presses \"Start All\" in the Data Throughput Graph panel, measures, presses \"Stop All\" and "
        "leaves in the output folder: measuring.png and panel.png (the window while and after it "
        "measures), per camera <camera>.log.csv (its run log, a line a second), <camera>.history.png "
        "(its run history window) and in the throughput mode <camera>.csv (the CSV report of the last "
        "second), then summary.json (every camera's figures, the dialogs and what failed) and "
        "settings.ini (the panel's settings). <camera> is its name and id. SIGINT or SIGTERM ends the "
        "run early with all of these; the exit code is then 130 or 143, otherwise 0, or 1 when "
        "something failed, or 2 for bad input."));
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Shows this help."));
    const QCommandLineOption cameras(
        QStringLiteral("cameras"),
        QStringLiteral("Camera configuration (JSON); default: the built-in cameras."),
        QStringLiteral("FILE"));
    const QCommandLineOption camera(
        QStringLiteral("camera"),
        QStringLiteral("Opens this camera instead of every simulated one; repeatable. A real camera is "
                       "aravis: followed by its device id or IP address."),
        QStringLiteral("ID"));
    const QCommandLineOption headless(QStringLiteral("headless"),
                                      QStringLiteral("Scripted run; implied when there is no display."));
    const QCommandLineOption duration(QStringLiteral("duration"),
                                      QStringLiteral("Seconds to measure in the scripted run (default 10)."),
                                      QStringLiteral("SECONDS"), QStringLiteral("10"));
    const QCommandLineOption mode(
        QStringLiteral("mode"), QStringLiteral("throughput (default) or acquisition, for the scripted run."),
        QStringLiteral("MODE"), QStringLiteral("throughput"));
    const QCommandLineOption out(QStringLiteral("out"),
                                 QStringLiteral("Output folder of the scripted run (default: a new folder)."),
                                 QStringLiteral("DIR"));
    const QCommandLineOption plugins(QStringLiteral("plugins"),
                                     QStringLiteral("Plug-in folder (default: plugins next to the program)."),
                                     QStringLiteral("DIR"));
    const QCommandLineOption language(
        QStringLiteral("language"),
        QStringLiteral("Language of the window and its panels, such as de or en (default: the user's)."),
        QStringLiteral("LANG"));
    const QCommandLineOption list(
        QStringLiteral("list-cameras"),
        QStringLiteral("Lists every camera the backends find, with its id, model, serial "
                       "number and link, and exits."));
    parser.addOptions({help, cameras, camera, headless, duration, mode, out, plugins, language, list});
    if (!parser.parse(arguments)) {
        fprintf(stderr, "lumorix-sim: %s\nTry --help.\n", qPrintable(parser.errorText()));
        return 2;
    }
    if (parser.isSet(help)) {
        // Without an application yet, the parser does not know the program's name.
        QString text = parser.helpText();
        text.replace(QLatin1String("<executable_name>"), QFileInfo(arguments.value(0)).fileName());
        fprintf(stdout, "%s", qPrintable(text));
        return 0;
    }
    if (!parser.positionalArguments().isEmpty()) {
        fprintf(stderr, "lumorix-sim: unexpected argument '%s'\nTry --help.\n",
                qPrintable(parser.positionalArguments().first()));
        return 2;
    }
    bool ok = false;
    options->duration = parser.value(duration).toDouble(&ok);
    // Written so that "nan" fails too: it compares false with everything.
    if (!ok || !(options->duration > 0.0 && options->duration <= 86400.0)) {
        fprintf(stderr,
                "lumorix-sim: --duration: '%s' is not a number of seconds greater than 0 and at most 86400\n",
                qPrintable(parser.value(duration)));
        return 2;
    }
    const QString modeText = parser.value(mode);
    if (modeText != QLatin1String("throughput") && modeText != QLatin1String("acquisition")) {
        fprintf(stderr, "lumorix-sim: --mode: '%s' is neither 'throughput' nor 'acquisition'\n",
                qPrintable(modeText));
        return 2;
    }
    options->acquisition = modeText == QLatin1String("acquisition");
    options->camerasFile = parser.value(cameras);
    options->cameraIds = parser.values(camera);
    options->headless = parser.isSet(headless) || !hasDisplay();
    options->outDir = parser.value(out);
    options->pluginDir = parser.value(plugins);
    options->language = parser.value(language);
    options->listCameras = parser.isSet(list);
    if (parser.isSet(language) && QLocale(options->language).language() == QLocale::C) {
        fprintf(stderr, "lumorix-sim: --language: '%s' is not a language such as de or en\n",
                qPrintable(options->language));
        return 2;
    }
    return -1;
}

// The offscreen platform of a headless run reports each top-level window it cannot size
// like a desktop would; the line says nothing about the run and would bury its output.
QtMessageHandler g_defaultHandler = nullptr;

QPointer<CxMainWindow> g_window;

// SIGINT and SIGTERM end a run in order: the handler only hands the signal to the event loop
// through a pipe; a second one, while that still runs, ends the process at once.
int g_signalPipe[2] = {-1, -1};
volatile sig_atomic_t g_signalsSeen = 0;

void onSignal(int signal)
{
    if (g_signalsSeen++ > 0)
        _exit(128 + signal);
    const char number = char(signal);
    const ssize_t written = write(g_signalPipe[1], &number, 1);
    (void)written;
}

// Calls `handle` on the GUI thread with each signal's number.
void catchSignals(QObject* owner, std::function<void(int)> handle)
{
    if (pipe(g_signalPipe) != 0)
        return;
    auto* notifier = new QSocketNotifier(g_signalPipe[0], QSocketNotifier::Read, owner);
    QObject::connect(notifier, &QSocketNotifier::activated, owner, [handle]() {
        char number = 0;
        if (read(g_signalPipe[0], &number, 1) == 1)
            handle(int(number));
    });
    struct sigaction action = {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

void filterMessages(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    if (type == QtWarningMsg && message == QLatin1String("This plugin does not support propagateSizeHints()"))
        return;
    // Why a real camera refused something is worth the window's status bar too.
    if (type == QtWarningMsg && message.startsWith(QLatin1String("aravis:")) && g_window)
        QMetaObject::invokeMethod(g_window, "showRuntimeMessage", Qt::QueuedConnection,
                                  Q_ARG(QString, message));
    g_defaultHandler(type, context, message);
}

} // namespace

int main(int argc, char* argv[])
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    SxHostOptions options;
    const int early = parseOptions(arguments, &options);
    if (early >= 0)
        return early;
    if (options.headless && !hasDisplay())
        qputenv("QT_QPA_PLATFORM", "offscreen");
    g_defaultHandler = qInstallMessageHandler(filterMessages);
#ifdef KS_HAVE_ARAVIS
    CxCameraRegistry::addBackend(CxAravisBackend::instance());
#endif

    QApplication app(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Quorvane"));
    QApplication::setApplicationName(QStringLiteral("lumorix-sim"));
    CxDarkTheme::apply(app);
    // The plug-ins take their language from the default locale as they start.
    if (!options.language.isEmpty())
        QLocale::setDefault(QLocale(options.language));
    QTranslator translator;
    if (translator.load(QLocale(), QStringLiteral("lumorix-sim"), QStringLiteral("_"),
                        QStringLiteral(":/i18n")))
        QApplication::installTranslator(&translator);

    if (!options.camerasFile.isEmpty()) {
        QString error;
        if (!CxSimulation::loadConfigurationFile(options.camerasFile, &error)) {
            fprintf(stderr, "lumorix-sim: %s\n", qPrintable(error));
            return 2;
        }
        // A camera on a virtual clock runs ahead of the host's: the panel would draw its
        // frames in the future and export none of them.
        const QList<CxSimCameraConfig> cameras = CxSimulation::configuration();
        for (int i = 0; i < cameras.size(); ++i)
            if (cameras[i].pacing != ExPacing::RealTime) {
                fprintf(stderr,
                        "lumorix-sim: %s: cameras[%d].pacing: \"%s\" runs on a virtual clock for tests and "
                        "benchmarks; the host application needs \"realtime\"\n",
                        qPrintable(options.camerasFile), i,
                        qPrintable(CxSimCameraConfig::pacingName(cameras[i].pacing)));
                return 2;
            }
    }

    if (options.listCameras) {
        CxCameraRegistry::discover();
        for (const SxCameraDescription& camera : CxCameraRegistry::cameras())
            fprintf(stdout, "%s\t%s\t%s\t%s\n", qPrintable(camera.id), qPrintable(camera.modelName),
                    qPrintable(camera.serialNumber), qPrintable(camera.link));
        return 0;
    }
    // A camera nobody can open is bad input, told before anything starts, with those that can be.
    for (const QString& id : std::as_const(options.cameraIds)) {
        if (CxCameraRegistry::accepts(id))
            continue;
        QStringList known;
        for (const SxCameraDescription& camera : CxCameraRegistry::cameras())
            known << camera.id;
        fprintf(stderr,
                "lumorix-sim: --camera: no camera '%s'; these can be opened: %s (or aravis:ADDRESS)\n",
                qPrintable(id), qPrintable(known.join(QStringLiteral(", "))));
        return 2;
    }

    // A scripted run keeps its settings with its results, so it neither depends on nor
    // changes what the user's own sessions stored.
    if (options.headless && options.outDir.isEmpty())
        options.outDir =
            QDir::temp().filePath(QStringLiteral("lumorix-sim-") +
                                  QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss")));
    if (options.headless && !QDir().mkpath(options.outDir)) {
        fprintf(stderr, "lumorix-sim: %s: the output folder cannot be created\n", qPrintable(options.outDir));
        return 2;
    }
    // A folder that takes no file would lose the run logs: found out before a camera starts.
    if (options.headless) {
        QTemporaryFile probe(QDir(options.outDir).filePath(QStringLiteral(".lumorix-sim-XXXXXX")));
        if (!probe.open()) {
            fprintf(stderr, "lumorix-sim: %s: the output folder cannot be written: %s\n",
                    qPrintable(options.outDir), qPrintable(probe.errorString()));
            return 2;
        }
    }
    std::unique_ptr<QSettings> settings =
        options.headless
            ? std::make_unique<QSettings>(QDir(options.outDir).filePath(QStringLiteral("settings.ini")),
                                          QSettings::IniFormat)
            : std::make_unique<QSettings>(QSettings::IniFormat, QSettings::UserScope,
                                          QStringLiteral("Quorvane"), QStringLiteral("lumorix-sim"));

    auto* window = new CxMainWindow;
    g_window = window;
    CxHostDelegate delegate(window, settings.get());
    window->setDelegate(&delegate);

    const QString pluginDir =
        options.pluginDir.isEmpty()
            ? QDir(QCoreApplication::applicationDirPath()).filePath(QStringLiteral("plugins"))
            : options.pluginDir;
    CxPluginHost plugins;
    QStringList errors;
    plugins.loadAll(pluginDir, settings.get(), &errors);
    for (const QString& error : std::as_const(errors))
        fprintf(stderr, "lumorix-sim: plug-in skipped: %s\n", qPrintable(error));
    if (plugins.plugins().isEmpty())
        fprintf(stderr, "lumorix-sim: no plug-in loaded from %s\n", qPrintable(pluginDir));

    window->setFitTables(
        !window->restoreGeometry(settings->value(QStringLiteral("Host/Geometry")).toByteArray()));
    window->show();

    int exitCode = 0;
    std::unique_ptr<CxScriptedRun> run;
    if (options.headless) {
        fprintf(stdout, "Scripted run: %g s of %s, results in %s\n", options.duration,
                options.acquisition ? "standard acquisition" : "data throughput measurement",
                qPrintable(QDir(options.outDir).absolutePath()));
        fflush(stdout);
        run = std::make_unique<CxScriptedRun>(
            window, CxScriptedRun::SxOptions{options.outDir, options.duration, options.acquisition,
                                             options.cameraIds});
        QObject::connect(run.get(), &CxScriptedRun::finished, &app, [&exitCode](int code) {
            exitCode = code;
            QCoreApplication::quit();
        });
        CxScriptedRun* scripted = run.get();
        catchSignals(&app, [scripted](int signal) { scripted->interrupt(signal); });
        QTimer::singleShot(0, run.get(), &CxScriptedRun::start);
        app.exec();
    } else {
        CxCameraManager* manager = CxCameraManager::instance();
        for (const QString& id :
             options.cameraIds.isEmpty() ? manager->availableCameras() : options.cameraIds)
            manager->openCameraInBackground(id);
        window->discoverCameras();
        // In the window a signal closes it as the user would: the panels stop and restore
        // their cameras as they go.
        int signalled = 0;
        catchSignals(&app, [&signalled, window](int signal) {
            signalled = signal;
            window->close();
            QCoreApplication::quit();
        });
        exitCode = app.exec();
        if (signalled)
            exitCode = 128 + signalled;
    }

    settings->setValue(QStringLiteral("Host/Geometry"), window->saveGeometry());
    plugins.saveAndUnload(settings.get());
    // The panels go with the window; they stop what they measure before their libraries' code
    // is gone, and the cameras close after them.
    delete window;
    CxCameraManager::instance()->closeAllCameras();
    settings->sync();
    return exitCode;
}
