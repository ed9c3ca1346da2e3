// ks-gv-camera: serves a simulated camera over the real GigE Vision protocol, so that the
// Data Throughput Graph Tool can measure a camera through the network stack without one on
// the desk. Runs until interrupted.

#include "CxGvCamera.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QTimer>
#include <cmath>
#include <csignal>
#include <cstdio>

namespace {

volatile std::sig_atomic_t g_interrupted = 0;

void onSignal(int)
{
    g_interrupted = 1;
}

// A number within [minimum, maximum]; otherwise a message naming the option.
bool numberOption(const QCommandLineParser& parser, const QString& name, double minimum, double maximum,
                  double* out)
{
    if (!parser.isSet(name))
        return true;
    bool ok = false;
    const double value = parser.value(name).toDouble(&ok);
    if (!ok || !std::isfinite(value) || value < minimum || value > maximum) {
        fprintf(stderr, "ks-gv-camera: --%s: '%s' is not a number from %g to %g\n", qPrintable(name),
                qPrintable(parser.value(name)), minimum, maximum);
        return false;
    }
    *out = value;
    return true;
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("ks-gv-camera"));
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Serves a GigE Vision camera whose frames can carry the link-time counter of the Data Throughput "
        "Graph Tool. Measure it with: lumorix-sim --camera aravis:ADDRESS"));
    parser.addHelpOption();
    parser.addOptions({
        {QStringLiteral("address"), QStringLiteral("Interface address to serve on (default 127.0.0.1)."),
         QStringLiteral("IP"), QStringLiteral("127.0.0.1")},
        {QStringLiteral("width"), QStringLiteral("Image width in pixels (default 256)."),
         QStringLiteral("N")},
        {QStringLiteral("height"), QStringLiteral("Image height in pixels (default 256)."),
         QStringLiteral("N")},
        {QStringLiteral("fps"), QStringLiteral("Frames per second (default 200)."), QStringLiteral("RATE")},
        {QStringLiteral("link-rate"), QStringLiteral("Link rate the counter describes, MB/s (default 400)."),
         QStringLiteral("MBPS")},
        {QStringLiteral("loss"), QStringLiteral("Ratio of stream packets dropped on purpose (default 0)."),
         QStringLiteral("RATIO")},
        {QStringLiteral("seed"), QStringLiteral("Seed of the packet drops (default 42)."),
         QStringLiteral("N")},
        {QStringLiteral("serial"), QStringLiteral("Serial number (default KSGV0001)."),
         QStringLiteral("TEXT")},
    });
    parser.process(app);
    if (!parser.positionalArguments().isEmpty()) {
        fprintf(stderr, "ks-gv-camera: unexpected argument '%s'\nTry --help.\n",
                qPrintable(parser.positionalArguments().first()));
        return 2;
    }

    SxGvCameraOptions options;
    double width = options.width, height = options.height, seed = options.seed;
    // The fake camera's sensor is 2048 x 2048; the description asks for multiples of 4.
    if (!numberOption(parser, QStringLiteral("width"), 16, 2048, &width) ||
        !numberOption(parser, QStringLiteral("height"), 16, 2048, &height) ||
        !numberOption(parser, QStringLiteral("fps"), 0.1, 10000, &options.fps) ||
        !numberOption(parser, QStringLiteral("link-rate"), 1, 100000, &options.linkRateMBps) ||
        !numberOption(parser, QStringLiteral("loss"), 0, 1, &options.loss) ||
        !numberOption(parser, QStringLiteral("seed"), 0, 4294967295.0, &seed))
        return 2;
    if (int(width) % 4 != 0 || int(height) % 4 != 0) {
        fprintf(stderr, "ks-gv-camera: --width and --height must be multiples of 4\n");
        return 2;
    }
    options.width = int(width);
    options.height = int(height);
    options.seed = quint32(seed);
    options.address = parser.value(QStringLiteral("address"));
    if (parser.isSet(QStringLiteral("serial")))
        options.serialNumber = parser.value(QStringLiteral("serial"));

    CxGvCamera camera;
    QString error;
    if (!camera.start(options, &error)) {
        fprintf(stderr, "ks-gv-camera: %s\n", qPrintable(error));
        return 1;
    }
    printf(
        "ks-gv-camera: %s %s on %s: %d x %d Mono16 at %g fps, link %g MB/s, packet loss %g; Ctrl+C stops\n",
        kGvCameraModel, qPrintable(options.serialNumber), qPrintable(options.address), options.width,
        options.height, options.fps, options.linkRateMBps, options.loss);
    fflush(stdout);

    std::signal(SIGINT, onSignal);
    std::signal(SIGTERM, onSignal);
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, &app, [] {
        if (g_interrupted)
            QCoreApplication::quit();
    });
    poll.start(100);
    app.exec();
    camera.stop();
    printf("ks-gv-camera: %llu frames sent, %llu with the link-time counter\n",
           static_cast<unsigned long long>(camera.framesSent()),
           static_cast<unsigned long long>(camera.counterFrames()));
    return 0;
}
