#include "CameraLineData.h"

#include "SampleModel.h"
#include "WallClock.h"

#include "PluginLog.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QMessageBox>
#include <QProgressDialog>
#include <QPushButton>
#include <QScopeGuard>
#include <QTextStream>
#include <QTime>
#include <algorithm>
#include <cfloat>
#include <charconv>
#include <cmath>
#include <cstring>
#include <memory>
#include <new>
#include <qcustomplot.h>
#include <string>

namespace {

const char* const kSource = "plugins/kspDataThroughputGraph/CameraLineData";
const char* const kSetupPrefix = "CxCameraLineData::setupCameraParameters(): %1";
const char* const kTransportSpeedPrefix = "CxCameraLineData::readDefaultAvgTransportSpeed(): %1";
const char* const kStartPrefix = "CxCameraLineData::startMeasurement(): %1";
const char* const kStopPrefix = "CxCameraLineData::stopMeasurement(): %1";
const char* const kThroughputLoopPrefix = "CxCameraLineData::runMeasureLoopThrougput(): %1";
const char* const kAcquisitionLoopPrefix = "CxCameraLineData::runMeasureLoopAcquisition(): %1";
const char* const kThreadPrefix = "CxAcquisitionThread::run(): %1";
const char* const kLifetimePrefix = "CxCameraLineData: %1";
const char* const kExportPrefix = "CxCameraLineData::exportDataToFile(): %1";

// Log line numbers are fixed so that log lines stay comparable across builds.
enum : int
{
    kLineThreadRun = 31,
    kLineDeletedWhileRunning = 85,
    kLineClearedWhileRunning = 97,
    kLineStart = 250,
    kLineStop = 281,
    kLineReadDeviceUnit = 305,
    kLineRestoreDeviceUnit = 321,
    kLineThroughputLoop = 526,
    kLineAcquisitionLoop = 612,
    kLineExport = 741,
};

constexpr int kUnknownBufferSize = 32768;

// QString::number rounds an exact tie at the sixth significant digit away from zero;
// std::to_chars rounds it to even. A tie is a value whose exact decimal has seven
// significant digits ending in 5: such a value moves one step away from zero first.
double tieAwayFromZero(double value)
{
    char shortest[32];
    const char* end = std::to_chars(shortest, shortest + sizeof(shortest), value).ptr;
    char significant[32];
    int count = 0;
    for (const char* c = shortest; c < end && *c != 'e'; ++c)
        if (*c >= '0' && *c <= '9' && !(count == 0 && *c == '0'))
            significant[count++] = *c;
    while (count > 0 && significant[count - 1] == '0')
        --count;
    if (count != 7 || significant[6] != '5')
        return value;
    // The shortest form only says the value is near a tie; its exact digits say whether it is one.
    char exact[48];
    const char* exactEnd =
        std::to_chars(exact, exact + sizeof(exact), std::fabs(value), std::chars_format::scientific, 24).ptr;
    int digit = 0;
    for (const char* c = exact; c < exactEnd && *c != 'e'; ++c) {
        if (*c == '.')
            continue;
        if (digit == 6 && *c != '5')
            return value;
        if (digit > 6 && *c != '0')
            return value;
        ++digit;
    }
    return std::nextafter(value, value > 0 ? HUGE_VAL : -HUGE_VAL);
}

const char kDigitPairs[] = "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
                           "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
                           "8081828384858687888990919293949596979899";

// The decimal digits of `value`, written from `end` backwards; returns where they start.
inline char* digitsBackwards(quint64 value, char* end)
{
    while (value >= 100) {
        const unsigned pair = unsigned(value % 100) * 2;
        value /= 100;
        *--end = kDigitPairs[pair + 1];
        *--end = kDigitPairs[pair];
    }
    if (value >= 10) {
        *--end = kDigitPairs[value * 2 + 1];
        *--end = kDigitPairs[value * 2];
    } else {
        *--end = char('0' + value);
    }
    return end;
}

inline int decimalDigits(quint64 value)
{
    static const quint64 kLimits[] = {0,
                                      10ull,
                                      100ull,
                                      1000ull,
                                      10000ull,
                                      100000ull,
                                      1000000ull,
                                      10000000ull,
                                      100000000ull,
                                      1000000000ull,
                                      10000000000ull,
                                      100000000000ull,
                                      1000000000000ull,
                                      10000000000000ull,
                                      100000000000000ull,
                                      1000000000000000ull,
                                      10000000000000000ull,
                                      100000000000000000ull,
                                      1000000000000000000ull,
                                      10000000000000000000ull};
    // log10(2) ~ 1233 / 4096 gives the count from the highest bit, perhaps one too many.
    const int bits = 64 - __builtin_clzll(value | 1);
    const int count = (bits * 1233 >> 12) + 1;
    return count - (value < kLimits[count - 1]);
}

} // namespace

// A report row holds three doubles; formatting them through to_chars with a precision costs
// several times the rest of the row. Most values are rounded here from one correctly
// rounded scaling: its error is below 2e-10 of a unit in the sixth digit, so only a value
// within 1e-9 of a rounding tie (and the extremes, inf and nan) takes the exact path.
char* formatReportNumber(double value, char* out)
{
    static const double kPow10[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                    1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
    if (value == 0.0) { // negative zero too, as Qt writes it
        *out = '0';
        return out + 1;
    }
    const double magnitude = std::fabs(value);
    if (magnitude >= 1e-15 && magnitude < 1e20) {
        // The decimal exponent from the binary one (log10(2) ~ 78913 / 2^18), off by at most
        // one, then the value scaled to six digits before the point.
        int binaryExponent = 0;
        std::frexp(magnitude, &binaryExponent);
        int exponent = ((binaryExponent - 1) * 78913) >> 18;
        auto scale = [magnitude](int e) {
            return e <= 5 ? magnitude * kPow10[5 - e] : magnitude / kPow10[e - 5];
        };
        double scaled = scale(exponent);
        if (scaled < 1e5)
            scaled = scale(--exponent);
        else if (scaled >= 1e6)
            scaled = scale(++exponent);
        // Truncation is the floor here (0 < scaled < 2e6) and, unlike std::floor without
        // SSE4.1, no call.
        const auto whole = quint64(scaled);
        const double fraction = scaled - double(whole);
        if (scaled >= 1e5 && scaled < 1e6 && std::fabs(fraction - 0.5) > 1e-9) {
            quint64 mantissa = whole + (fraction > 0.5 ? 1 : 0);
            if (mantissa == 1000000) {
                mantissa = 100000;
                ++exponent;
            }
            // Six digits, then the trailing zeros dropped as 'g' does.
            char digits[6];
            digitsBackwards(mantissa, digits + 6);
            int count = 6;
            while (digits[count - 1] == '0')
                --count;
            char* text = out;
            int length = 0;
            if (value < 0)
                text[length++] = '-';
            if (exponent >= 0 && exponent < 6) {
                const int integral = exponent + 1;
                for (int i = 0; i < integral; ++i)
                    text[length++] = digits[i];
                if (count > integral) {
                    text[length++] = '.';
                    for (int i = integral; i < count; ++i)
                        text[length++] = digits[i];
                }
            } else if (exponent < 0 && exponent >= -4) {
                text[length++] = '0';
                text[length++] = '.';
                for (int i = -1; i > exponent; --i)
                    text[length++] = '0';
                for (int i = 0; i < count; ++i)
                    text[length++] = digits[i];
            } else {
                text[length++] = digits[0];
                if (count > 1) {
                    text[length++] = '.';
                    for (int i = 1; i < count; ++i)
                        text[length++] = digits[i];
                }
                const int e = std::abs(exponent);
                text[length++] = 'e';
                text[length++] = exponent < 0 ? '-' : '+';
                text[length++] = char('0' + e / 10);
                text[length++] = char('0' + e % 10);
            }
            return out + length;
        }
    }
    if (std::isnan(value)) {
        std::memcpy(out, "nan", 3);
        return out + 3;
    }
    if (std::isinf(value)) {
        const char* text = value > 0 ? "inf" : "-inf";
        const size_t length = std::strlen(text);
        std::memcpy(out, text, length);
        return out + length;
    }
    return std::to_chars(out, out + 32, tieAwayFromZero(value), std::chars_format::general, 6).ptr;
}

namespace {

// Buffered text output of the CSV report, formatting numbers exactly as QString::number does
// (decimal integers; doubles as 'g' with six significant digits, "inf" and "nan").
class CxCsvWriter
{
public:
    explicit CxCsvWriter(QIODevice* device) : m_device(device) { m_buffer.resize(kBlock + 256); }
    ~CxCsvWriter() { flush(); }

    void text(const char* text) { bytes(text, std::strlen(text)); }
    void bytes(const char* data, size_t length)
    {
        std::memcpy(&m_buffer[m_used], data, length);
        m_used += length;
    }
    void character(char c)
    {
        m_buffer[m_used++] = c;
        if (m_used >= kBlock)
            flush();
    }
    void integer(quint64 value, char separator = 0)
    {
        if (separator)
            m_buffer[m_used++] = separator;
        m_used += size_t(decimalDigits(value));
        digitsBackwards(value, &m_buffer[m_used]);
    }
    void number(double value, char separator)
    {
        char* const first = &m_buffer[0];
        first[m_used++] = separator;
        m_used = size_t(formatReportNumber(value, first + m_used) - first);
    }
    // Writing from a second thread while the next block is formatted was tried: on two cores
    // the hand-over cost more than the overlap saved.
    void flush()
    {
        // A disk filling up takes part of a block without complaint; only the write after
        // that fails with the system's reason, which the error box is to show. After a failed
        // write nothing more is tried.
        const char* data = m_buffer.data();
        qint64 left = qint64(m_used);
        while (left > 0 && !m_failed) {
            const qint64 written = m_device->write(data, left);
            m_failed = written <= 0;
            data += qMax<qint64>(written, 0);
            left -= qMax<qint64>(written, 0);
        }
        m_used = 0;
    }
    bool failed() const { return m_failed; }

private:
    // A row is far shorter than the slack beyond a block.
    static constexpr size_t kBlock = 1 << 20;

    QIODevice* m_device;
    std::string m_buffer;
    size_t m_used = 0;
    bool m_failed = false;
};

// What a row derives from the whole tick count between two samples: the interval, the speed
// and the speed's text. A link keeps those counts within a narrow band, so each count's two
// divisions and formatting are done once and looked up after, giving the same values.
class CxSampleSteps
{
public:
    struct Step
    {
        quint64 ticks = 0;
        double us = 0.0;
        double speed = 0.0;
        quint8 length = 0; // 0: nothing worked out yet
        char text[32];
    };

    explicit CxSampleSteps(quint64 samplePeriod) : m_samplePeriod(double(samplePeriod)) {}

    const Step& step(quint64 ticks)
    {
        Step& entry = m_steps[ticks % kSize];
        if (entry.ticks != ticks || entry.length == 0) {
            entry.ticks = ticks;
            entry.us = double(ticks) / kTicksPerUs;
            entry.speed = m_samplePeriod / entry.us;
            entry.length = quint8(formatReportNumber(entry.speed, entry.text) - entry.text);
        }
        return entry;
    }

private:
    static constexpr size_t kSize = 512;
    double m_samplePeriod;
    Step m_steps[kSize];
};

// A report that could not be written is logged; with a window to show it on, the user is
// told too, since a missing or cut-off file would otherwise go unnoticed.
void reportExportFailure(QWidget* parent, const QString& fileName, const QString& error)
{
    logCritical(kSource, kLineExport, kExportPrefix, QStringLiteral("%1: %2").arg(fileName, error));
    if (parent)
        QMessageBox::critical(
            parent, QCoreApplication::translate("CxCameraLineData", "Export Measured Data"),
            QCoreApplication::translate("CxCameraLineData", "The report could not be written to %1:\n%2")
                .arg(QDir::toNativeSeparators(fileName), error));
}

// A failure that repeats at the pace of a capture loop: a camera stopped under the run,
// disconnected or answering without data fails at once, again and again. The first failure
// is logged at once, later ones as a count at most once per second, and the loop backs off
// a little longer with every failure in a row (never near the capture time-out, so a stop
// still ends the run promptly).
class CxRepeatedFailure
{
public:
    CxRepeatedFailure(int line, const char* prefix, const char* text)
        : m_line(line), m_prefix(prefix), m_text(text)
    {
    }
    // The run ends: what is still untold is told now.
    ~CxRepeatedFailure() { reportOutstanding(); }

    void failed(const std::atomic<bool>& stopRequested)
    {
        ++m_unreported;
        if (!m_reportedOnce || m_sinceReport.elapsed() >= 1000)
            reportOutstanding();
        m_backOffMs = std::min(m_backOffMs == 0 ? 1 : m_backOffMs * 2, kMaxBackOffMs);
        for (int slept = 0; slept < m_backOffMs && !stopRequested; slept += 5)
            QThread::msleep(std::min(5, m_backOffMs - slept));
    }
    // A burst that ended within the second is told with the first success a second after the
    // last line, so that failures alternating with successes still log once a second at most.
    void succeeded()
    {
        m_backOffMs = 0;
        if (m_unreported > 0 && m_sinceReport.elapsed() >= 1000)
            reportOutstanding();
    }

private:
    void reportOutstanding()
    {
        if (m_unreported == 0)
            return;
        logCritical(kSource, m_line, m_prefix,
                    m_reportedOnce
                        ? QStringLiteral("%1 (%2 more times)").arg(QLatin1String(m_text)).arg(m_unreported)
                        : QLatin1String(m_text));
        // The first line stands for one failure; later lines count all since the line before.
        m_unreported = m_reportedOnce ? 0 : m_unreported - 1;
        m_reportedOnce = true;
        m_sinceReport.start();
    }

    static constexpr int kMaxBackOffMs = 100;
    int m_line;
    const char* m_prefix;
    const char* m_text;
    bool m_reportedOnce = false;
    quint64 m_unreported = 0;
    int m_backOffMs = 0;
    QElapsedTimer m_sinceReport;
};

// Images a run cannot sample: reported once when the first comes, with the count at the end.
class CxSkippedImages
{
public:
    explicit CxSkippedImages(const char* prefix) : m_prefix(prefix) {}
    ~CxSkippedImages()
    {
        if (m_count > 1)
            logCritical(kSource, kLineThroughputLoop, m_prefix,
                        QStringLiteral("%1 images skipped in this run").arg(m_count));
    }
    void skipped(const QString& why)
    {
        if (m_count++ == 0)
            logCritical(kSource, kLineThroughputLoop, m_prefix, why);
    }

private:
    const char* m_prefix;
    quint64 m_count = 0;
};

KS_TRANSPORT_INFO transportInfo(quint32 parts)
{
    KS_TRANSPORT_INFO info;
    std::memset(&info, 0, sizeof(info));
    info.size = sizeof(info);
    info.request = parts;
    return info;
}

bool getParam(KSCORE_HANDLE hCam, const char* name, int& value)
{
    return ksApi_GetParamInt(hCam, name, value, nullptr);
}

bool setParam(KSCORE_HANDLE hCam, const char* name, int value)
{
    return ksApi_SetParamInt(hCam, name, value, nullptr);
}

} // namespace

// ---------------------------------------------------------------------------------------
// Construction, store and counter table

CxCameraLineData::CxFrameData::~CxFrameData()
{
    delete[] samples;
    delete[] chunks;
}

CxCameraLineData::CxCameraLineData()
{
    const QList<QPair<KS_COUNTER_SELECTOR, const char*>> table = {
        {KS_CNT_TRANSPORT_SKIP, "Transport skip"},
        {KS_CNT_API_SKIP, "API skip"},
        {KS_CNT_TRANSFERRED, "Transferred"},
        {KS_CNT_MISSED_TRG_OVERLAP, "Missed trg. overlap"},
        {KS_CNT_MISSED_TRG_OVERFLOW, "Missed trg overflow"},
        {KS_CNT_BUFFER_OVERFLOW, "Buffer overflow"},
    };
    for (const auto& [selector, name] : table)
        counters.append(new CxCounterInfo{selector, false, 0, QString::fromLatin1(name)});
}

CxCameraLineData::~CxCameraLineData()
{
    // The worker has no event loop, so only the stop flag ends it: owners stop a run before
    // they delete its line (the panel always does). Should one not, stopping here restores
    // the camera, where waiting would hang for ever.
    Q_ASSERT_X(!measurementRunning, "~CxCameraLineData", "delete a camera line only after stopMeasurement()");
    if (measurementRunning) {
        logCritical(kSource, kLineDeletedWhileRunning, kLifetimePrefix,
                    QStringLiteral("deleted while measuring; the measurement is stopped first"));
        stopMeasurement();
    }
    if (acquisitionThread) {
        acquisitionThread->quit();
        acquisitionThread->join();
        delete acquisitionThread;
    }
    clearData();
    qDeleteAll(counters);
}

void CxCameraLineData::clearData()
{
    // The worker appends to the stores without asking: they are cleared between runs only.
    Q_ASSERT_X(!measurementRunning, "CxCameraLineData::clearData", "clear a camera line only between runs");
    if (measurementRunning) {
        logCritical(kSource, kLineClearedWhileRunning, kLifetimePrefix,
                    QStringLiteral("clearData() refused while measuring"));
        return;
    }
    {
        QMutexLocker lock(&dataMutex);
        for (CxFrameData* frame : std::as_const(frames))
            retireFrame(frame);
    }
    frames.clear();
    qDeleteAll(counterSamples);
    counterSamples.clear();
}

void CxCameraLineData::clearRun()
{
    clearData();
    avgThroughput = 0.0;
    minThroughput = 0.0;
    maxBufferLevel = 0.0;
    bufferOverflowCount = 0;
    frameTimeAvg = 0.0;
    frameTimeCount = 0;
    for (CxCounterInfo* counter : std::as_const(counters))
        counter->value = 0;
    history.clear();
}

// Caller holds dataMutex. A frame an export still reads waits until the last export ends.
void CxCameraLineData::retireFrame(CxFrameData* frame)
{
    if (exportsRunning > 0)
        retiredFrames.append(frame);
    else
        delete frame;
}

bool CxCameraLineData::isMeasurementRunning()
{
    QMutexLocker lock(&dataMutex);
    return measurementRunning;
}

bool CxCameraLineData::IsCounterSupported(KS_COUNTER_SELECTOR selector) const
{
    for (const CxCounterInfo* counter : counters)
        if (counter->selector == selector)
            return counter->supported;
    return false;
}

int CxCameraLineData::GetCounterValue(KS_COUNTER_SELECTOR selector)
{
    QMutexLocker lock(&dataMutex);
    for (const CxCounterInfo* counter : std::as_const(counters))
        if (counter->selector == selector)
            return counter->value;
    return 0;
}

// ---------------------------------------------------------------------------------------
// Camera preparation and restore

bool CxCameraLineData::setupCameraParameters()
{
    auto fail = [](int line, const char* what) {
        logCritical(kSource, line, kSetupPrefix, QString::fromLatin1(what));
        return false;
    };

    if (measureMode == MeasureModeStandardAcquisition) {
        for (CxCounterInfo* counter : std::as_const(counters))
            counter->supported = setParam(hCam, "counter_selector:settable", counter->selector);
        getParam(hCam, "buffer_policy", savedBufferPolicy);
        if (setParam(hCam, "buffer_policy", KS_BP_UNSAFE))
            return true;
        return fail(460, "ksApi_SetParamInt(KS_PRM_BUFFER_POLICY, KS_BP_UNSAFE) failed");
    }
    if (measureMode != MeasureModeDataThroughput)
        return fail(466, "Unknown measurement mode");

    getParam(hCam, "imgdataformat", savedImgDataFormat);
    getParam(hCam, "output_bit_depth", savedOutputBitDepth);
    getParam(hCam, "output_bit_packing", savedOutputBitPacking);
    getParam(hCam, "buffer_policy", savedBufferPolicy);
    getParam(hCam, "column_fpn_correction", savedColumnFpnCorrection);
    getParam(hCam, "row_fpn_correction", savedRowFpnCorrection);
    getParam(hCam, "LUTEnable", savedLutEnable);

    if (!setParam(hCam, "buffer_policy", KS_BP_UNSAFE))
        return fail(359, "ksApi_SetParamInt(KS_PRM_BUFFER_POLICY, KS_BP_UNSAFE) failed");
    if (!setParam(hCam, "imgdataformat", KS_FRM_TRANSPORT_DATA))
        return fail(364, "ksApi_SetParamInt(KS_PRM_IMAGE_DATA_FORMAT, KS_FRM_TRANSPORT_DATA) failed");
    if (!setParam(hCam, "output_bit_depth", 16))
        return fail(369, "ksApi_SetParamInt(KS_PRM_OUTPUT_DATA_BIT_DEPTH) failed");
    if (!setParam(hCam, "output_bit_packing", 0))
        return fail(374, "ksApi_SetParamInt(KS_PRM_OUTPUT_DATA_PACKING, 0) failed");
    setParam(hCam, "column_fpn_correction", 0);
    setParam(hCam, "row_fpn_correction", 0);
    setParam(hCam, "LUTEnable", 0);

    if (!getParam(hCam, "test_pattern_generator_selector", savedTestPatternGeneratorSelector))
        return fail(385, "ksApi_GetParamInt(KS_PRM_TEST_PATTERN_GENERATOR_SELECTOR) failed");
    if (!setParam(hCam, "test_pattern_generator_selector", KS_TESTPAT_GEN_FPGA))
        return fail(390,
                    "ksApi_SetParamInt(KS_PRM_TEST_PATTERN_GENERATOR_SELECTOR, KS_TESTPAT_GEN_FPGA) failed");
    if (!getParam(hCam, "test_pattern", savedTestPattern))
        return fail(395, "ksApi_GetParamInt(KS_PRM_TEST_PATTERN) failed");
    if (!setParam(hCam, "test_pattern", KS_TESTPAT_DEVICE_SPEC_COUNTER))
        return fail(400, "ksApi_SetParamInt(KS_PRM_TEST_PATTERN, KS_TESTPAT_DEVICE_SPEC_COUNTER) failed");

    // The frame buffer would smooth out exactly the link behaviour we want to see. All three
    // queries are always asked; a camera that lacks one keeps its buffer as it is.
    frameBufferModeChanged = false;
    const bool unitSettable = setParam(hCam, "dp_unit_selector:settable", KS_DP_UNIT_FPGA);
    const bool processSettable = setParam(hCam, "dp_proc_selector:settable", KS_DP_PROC_FRAME_BUFFER);
    const bool parameterSettable = setParam(hCam, "dp_param_selector:settable", KS_DP_PARAM_FRAMEBUF_MODE);
    if (unitSettable && processSettable && parameterSettable) {
        if (!setParam(hCam, "dp_unit_selector", KS_DP_UNIT_FPGA))
            return fail(415, "ksApi_SetParamInt(KS_PRM_DP_UNIT_SELECTOR, KS_DP_UNIT_FPGA) failed");
        if (!setParam(hCam, "dp_proc_selector", KS_DP_PROC_FRAME_BUFFER))
            return fail(420, "ksApi_SetParamInt(KS_PRM_DP_PROC_SELECTOR, KS_DP_PROC_FRAME_BUFFER) failed");
        if (!setParam(hCam, "dp_param_selector", KS_DP_PARAM_FRAMEBUF_MODE))
            return fail(425, "ksApi_SetParamInt(KS_PRM_DP_PARAM_SELECTOR, KS_DP_PARAM_FRAMEBUF_MODE) failed");
        if (!setParam(hCam, "dp_param_value", KS_DP_PARAM_VALUE_FRAMEBUF_MODE_DISABLED))
            return fail(
                430,
                "ksApi_SetParamInt(KS_PRM_DP_PARAM_VALUE, KS_DP_PARAM_VALUE_FRAMEBUF_MODE_DISABLED) failed");
        frameBufferModeChanged = true;
    }

    if (setParam(hCam, "device_unit_selector", KS_DEV_UNIT_LINK) &&
        setParam(hCam, "device_unit_register_selector", KS_DEV_REG_LINK_MODE) &&
        setParam(hCam, "device_unit_register_value", KS_DEV_REG_LINK_MODE_MEASURE))
        deviceRegisterChanged = true;

    cameraBufferSize = readInternalCameraBufferSize();
    return true;
}

void CxCameraLineData::restoreCameraParameters()
{
    if (measureMode == MeasureModeStandardAcquisition) {
        setParam(hCam, "buffer_policy", savedBufferPolicy);
        return;
    }
    if (measureMode != MeasureModeDataThroughput)
        return;
    if (deviceRegisterChanged) {
        setParam(hCam, "device_unit_selector", KS_DEV_UNIT_LINK);
        setParam(hCam, "device_unit_register_selector", KS_DEV_REG_LINK_MODE);
        setParam(hCam, "device_unit_register_value", KS_DEV_REG_LINK_MODE_NORMAL);
    }
    setParam(hCam, "test_pattern", savedTestPattern);
    setParam(hCam, "test_pattern_generator_selector", savedTestPatternGeneratorSelector);
    setParam(hCam, "output_bit_packing", savedOutputBitPacking);
    setParam(hCam, "output_bit_depth", savedOutputBitDepth);
    setParam(hCam, "imgdataformat", savedImgDataFormat);
    setParam(hCam, "buffer_policy", savedBufferPolicy);
    setParam(hCam, "column_fpn_correction", savedColumnFpnCorrection);
    setParam(hCam, "row_fpn_correction", savedRowFpnCorrection);
    setParam(hCam, "LUTEnable", savedLutEnable);
    // The selectors are deliberately not written again: the value goes to whatever
    // data-processing parameter is selected now, as the camera expects it.
    if (frameBufferModeChanged)
        setParam(hCam, "dp_param_value", KS_DP_PARAM_VALUE_FRAMEBUF_MODE_ENABLED);
}

void CxCameraLineData::readDefaultAvgTransportSpeed()
{
    int savedUnit = 0;
    int savedRegister = 0;
    if (!getParam(hCam, "device_unit_selector", savedUnit) ||
        !getParam(hCam, "device_unit_register_selector", savedRegister))
        logCritical(kSource, kLineReadDeviceUnit, kTransportSpeedPrefix,
                    QStringLiteral("Failed to read current device unit confiuration"));

    if (setParam(hCam, "device_unit_selector", KS_DEV_UNIT_SENSOR) &&
        setParam(hCam, "device_unit_register_selector", KS_DEV_REG_SENSOR_DATA_RATE)) {
        int speed = -1;
        if (getParam(hCam, "device_unit_register_value", speed) && speed > 0)
            requiredThroughput = speed;
    }

    if (!setParam(hCam, "device_unit_selector", savedUnit) ||
        !setParam(hCam, "device_unit_register_selector", savedRegister))
        logCritical(kSource, kLineRestoreDeviceUnit, kTransportSpeedPrefix,
                    QStringLiteral("Failed to change back current device unit configuration"));
}

int CxCameraLineData::readInternalCameraBufferSize()
{
    // Selecting the parameter alone relies on the camera's unit and process selection.
    if (!setParam(hCam, "dp_param_selector", KS_DP_PARAM_FRAMEBUF_SIZE))
        return kUnknownBufferSize;
    int size = 0;
    if (!getParam(hCam, "dp_param_value", size))
        return kUnknownBufferSize;
    return size;
}

// ---------------------------------------------------------------------------------------
// Run control

bool CxCameraLineData::startMeasurement(unsigned int period, int capacity)
{
    QMutexLocker lock(&dataMutex);
    if (!hCam || measurementRunning)
        return false;
    if (autoTransport)
        readDefaultAvgTransportSpeed();
    if (!setupCameraParameters()) {
        restoreCameraParameters();
        return false;
    }
    samplePeriod = period;
    maxSamples = capacity;
    setParam(hCam, "ts_rst_mode", KS_TS_RST_MODE_ON_SOURCE);
    setParam(hCam, "ts_rst_source", KS_TS_RST_SOURCE_ACQUISITION_START);
    if (!ksApi_StartAcquisition(hCam)) {
        logCritical(kSource, kLineStart, kStartPrefix, QStringLiteral("ksApi_StartAcquisition failed"));
        restoreCameraParameters();
        return false;
    }
    history.begin(measureMode == MeasureModeStandardAcquisition, samplePeriod, requiredThroughput,
                  cameraBufferSize, dipThreshold);
    // What the camera is set to send: the row's required throughput, or in the acquisition mode
    // what its frame rate makes of its frames.
    if (measureMode == MeasureModeDataThroughput) {
        history.setAsked(double(requiredThroughput));
    } else {
        KS_TRANSPORT_INFO info = transportInfo(KS_TI_FRAME_RATE);
        if (ksApi_GetTransportInfo(hCam, &info) && (info.flags & KS_TI_FRAME_RATE))
            history.setAsked(info.frameRate * double(info.payloadBytes) / 1e6, info.frameRate);
    }
    m_streamStats = true;
    m_nextStreamPollUs = 0;
    m_askedWaiting = false;
    QString logError;
    runLogError.clear();
    if (!runLogPath.isEmpty() && !history.openLog(runLogPath, cameraName, &logError)) {
        runLogError = QStringLiteral("The run log %1 cannot be written: %2").arg(runLogPath, logError);
        logCritical(kSource, kLineStart, kStartPrefix, runLogError);
    }
    measurementRunning = true;
    stopRequested = false;
    acquisitionThread = new CxAcquisitionThread(this, measureMode);
    acquisitionThread->start();
    return true;
}

bool CxCameraLineData::stopMeasurement()
{
    if (!measurementRunning)
        return false;
    // Claiming the flag in one step makes a concurrent second stop lose, never both win.
    bool alreadyStopping = false;
    if (!stopRequested.compare_exchange_strong(alreadyStopping, true))
        return false;
    if (acquisitionThread) {
        // The camera still acquires here, so the worker's pending capture completes.
        acquisitionThread->join();
        delete acquisitionThread;
        acquisitionThread = nullptr;
    }
    if (m_streamStats)
        pollStream(history.hostUs());
    history.finish();
    history.writeLogLine();
    history.openLog(QString(), QString());
    QMutexLocker lock(&dataMutex);
    if (ksApi_StopAcquisition(hCam) != 0)
        logCritical(kSource, kLineStop, kStopPrefix, QStringLiteral("ksApi_StopAcquisition failed"));
    restoreCameraParameters();
    measurementRunning = false;
    return true;
}

// ---------------------------------------------------------------------------------------
// Capture loops (worker thread)

void CxCameraLineData::resetFrameTimes()
{
    QMutexLocker lock(&dataMutex);
    frameTimeAvg = 0.0;
    frameTimeCount = 0;
    frameTimeMin = DBL_MAX;
    frameTimeMax = DBL_MIN;
}

// Caller holds dataMutex.
void CxCameraLineData::addFrameTime(double microseconds)
{
    frameTimeCount += 1;
    const double n = double(frameTimeCount);
    frameTimeAvg = (1.0 - 1.0 / n) * frameTimeAvg + (1.0 / n) * microseconds;
    if (microseconds > frameTimeMax)
        frameTimeMax = microseconds;
    if (microseconds < frameTimeMin)
        frameTimeMin = microseconds;
}

bool CxCameraLineData::captureImage(KS_IMG* image)
{
    std::memset(image, 0, sizeof(KS_IMG));
    image->size = sizeof(KS_IMG);
    const bool captured = ksApi_GetImage(hCam, captureTimeoutMs, image, nullptr, true) && image->data;
    noteCapture(captured ? image : nullptr);
    return captured;
}

void CxCameraLineData::noteCapture(const KS_IMG* image)
{
    const qint64 now = history.hostUs();
    if (image) {
        const quint64 bytes = image->dataSize > 0 ? image->dataSize
                                                  : quint64(image->width) * image->height *
                                                        std::max<quint32>(image->bytesPerPixel, 2u);
        m_arrival = {now, image->frameNumber, bytes};
    } else if (history.noteNoImage(now) || !m_askedWaiting) {
        // Asked once a run, and again as a silence begins: what a camera waits for is
        // what a user has to change.
        m_askedWaiting = true;
        KS_TRANSPORT_INFO info = transportInfo(KS_TI_WAITING);
        if (ksApi_GetTransportInfo(hCam, &info) && (info.flags & KS_TI_WAITING))
            history.setWaitingFor(QString::fromUtf8(info.waitingFor));
    }
    if (m_streamStats && now >= m_nextStreamPollUs)
        pollStream(now);
}

void CxCameraLineData::pollStream(qint64 now)
{
    m_nextStreamPollUs = now + 1000000;
    KS_TRANSPORT_INFO info = transportInfo(KS_TI_STREAM);
    // A camera without them says so once; it is not asked again this run.
    m_streamStats = ksApi_GetTransportInfo(hCam, &info) && (info.flags & KS_TI_STREAM);
    if (m_streamStats) {
        quint64 values[CxRunHistory::kStreamStats];
        std::copy(info.stream, info.stream + CxRunHistory::kStreamStats, values);
        history.noteStream(now, values);
    }
}

void CxCameraLineData::runMeasureLoopThrougput()
{
    const qint64 reference = wallclock::sinceMidnightUs(dayStartMs);
    resetFrameTimes();
    if (stopRequested)
        return;
    const quint32 stride = samplePeriod / 8;
    CxRepeatedFailure captureFailure(kLineThroughputLoop, kThroughputLoopPrefix,
                                     "ksApi_GetImage failed to capture image");
    CxSkippedImages skipped(kThroughputLoopPrefix);
    do {
        KS_IMG image;
        if (!captureImage(&image)) {
            captureFailure.failed(stopRequested);
            continue;
        }
        captureFailure.succeeded();
        if (stride == 0) {
            history.noteArrival(m_arrival);
            skipped.skipped(
                QStringLiteral("Sample period of %1 bytes is shorter than one sample; image skipped")
                    .arg(samplePeriod));
            continue;
        }
        // Pixels of 2 bytes, in 32-bit arithmetic as the camera reports the size.
        const quint32 words = quint32(image.width * image.height * 2u) / 8u;
        const quint64 sampleCount = words / stride;
        if (sampleCount == 0) {
            history.noteArrival(m_arrival);
            skipped.skipped(
                QStringLiteral("Image of %1 x %2 pixels holds no sample of %3 bytes; image skipped")
                    .arg(image.width)
                    .arg(image.height)
                    .arg(samplePeriod));
            continue;
        }
        auto* frame = new CxFrameData;
        frame->samples = new quint64[sampleCount];
        const auto* data = static_cast<const quint64*>(image.data);
        for (quint64 i = 0; i < sampleCount; ++i)
            frame->samples[i] = data[i * stride];
        frame->sampleSpan = frame->samples[sampleCount - 1] - frame->samples[0];
        frame->frameNumber = image.frameNumber;
        frame->timestamp = qint64(image.timestampSec) * 1000000 + qint64(image.timestampUsec) + reference;
        frame->sampleCount = sampleCount;
        // Before the store sees it: whatever the store forgets later, the history has it.
        history.addFrame(frame->frameNumber, frame->timestamp, frame->samples, sampleCount, &m_arrival);

        QMutexLocker lock(&dataMutex);
        addFrameTime(double(frame->sampleSpan) / kTicksPerUs);
        frames.append(frame);
        // A negative capacity (a hand-edited setting) keeps just the newest frame.
        const qint64 keep = qint64(std::max(maxSamples, 0)) / qint64(sampleCount);
        for (qint64 excess = qint64(frames.size()) - 1 - keep; excess > 0; --excess)
            retireFrame(frames.takeFirst());
    } while (!stopRequested);
}

void CxCameraLineData::ReadCounterValues()
{
    for (CxCounterInfo* counter : std::as_const(counters)) {
        if (!counter->supported || !setParam(hCam, "counter_selector", counter->selector))
            continue;
        int value = 0;
        if (getParam(hCam, "counter_value", value)) {
            // The camera is read outside the lock; only the hand-over to readers takes it.
            QMutexLocker lock(&dataMutex);
            counter->value = value;
        }
    }
}

void CxCameraLineData::runMeasureLoopAcquisition()
{
    const qint64 reference = wallclock::sinceMidnightUs(dayStartMs);
    resetFrameTimes();
    if (stopRequested)
        return;
    qint64 previousTimestamp = 0;
    CxRepeatedFailure captureFailure(kLineAcquisitionLoop, kAcquisitionLoopPrefix,
                                     "ksApi_GetImage failed to capture image");
    do {
        KS_IMG image;
        if (!captureImage(&image)) {
            captureFailure.failed(stopRequested);
            continue;
        }
        captureFailure.succeeded();
        const qint64 timestamp =
            qint64(image.timestampSec) * 1000000 + qint64(image.timestampUsec) + reference;
        ReadCounterValues();
        auto* record = new CxCounterData;
        record->frameNumber = image.frameNumber;
        record->timestamp = timestamp;
        record->transportSkip = GetCounterValue(KS_CNT_TRANSPORT_SKIP);
        record->apiSkip = GetCounterValue(KS_CNT_API_SKIP);
        record->missedTrgOverlap = GetCounterValue(KS_CNT_MISSED_TRG_OVERLAP);
        record->missedTrgOverflow = GetCounterValue(KS_CNT_MISSED_TRG_OVERFLOW);
        record->bufferOverflow = GetCounterValue(KS_CNT_BUFFER_OVERFLOW);
        const qint32 counterValues[CxRunHistory::kCounters] = {
            record->transportSkip, record->apiSkip, record->missedTrgOverlap, record->missedTrgOverflow,
            record->bufferOverflow};
        history.addCounters(record->frameNumber, timestamp, counterValues, &m_arrival);

        QMutexLocker lock(&dataMutex);
        counterSamples.append(record);
        if (previousTimestamp > 0)
            addFrameTime(double(timestamp - previousTimestamp));
        for (qint64 excess = qint64(counterSamples.size()) - (qint64(std::max(maxSamples, 0)) + 1);
             excess > 0; --excess)
            delete counterSamples.takeFirst();
        previousTimestamp = timestamp;
    } while (!stopRequested);
}

// ---------------------------------------------------------------------------------------
// Graph series

unsigned int CxCameraLineData::CxFrameData::calculateFrameSpeeds(unsigned int period, double required,
                                                                 double* speeds, double* bufferDeltas,
                                                                 unsigned long long* offsets) const
{
    if (!samples || sampleCount <= 1)
        return 0;
    const double bytes = double(period);
    for (quint64 i = 1; i < sampleCount; ++i) {
        const SxSampleStep step = sampleStep(samples, i, bytes);
        if (speeds)
            speeds[i - 1] = step.speed;
        if (bufferDeltas)
            bufferDeltas[i - 1] = step.dtUs * (required - step.speed);
        if (offsets)
            offsets[i - 1] = step.offset;
    }
    return unsigned(sampleCount - 1);
}

const CxCameraLineData::CxFrameData::SxSummary&
CxCameraLineData::CxFrameData::summarise(unsigned int period, qint32 required, qint32 bufferSize)
{
    if (summary.valid && summary.period == period && summary.required == required &&
        summary.bufferSize == bufferSize)
        return summary;
    SxSummary result;
    result.valid = true;
    result.period = period;
    result.required = required;
    result.bufferSize = bufferSize;
    result.plain = samples && sampleCount > 1;
    if (!result.plain) {
        summary = result;
        return summary;
    }
    // The walk's buffer model over the same steps, so that the summary equals what the walk
    // of calculateGraphsThrougput would find.
    const double bytes = double(period);
    const double requiredRate = double(required);
    const double size = double(bufferSize);
    const quint64 steps = sampleCount - 1;
    delete[] chunks;
    chunks =
        steps > kChunkSteps ? new (std::nothrow) SxChunk[(steps + kChunkSteps - 1) / kChunkSteps] : nullptr;
    SxChunk chunk{DBL_MAX, DBL_MAX, 0.0, 0.0, false};
    double fill = 0.0;
    quint64 previousOffset = 0;
    for (quint64 i = 1; i < sampleCount; ++i) {
        const auto [dtUs, speed, offset] = sampleStep(samples, i, bytes);
        if (i == 1)
            result.firstOffset = offset;
        else if (offset < previousOffset)
            result.plain = false;
        previousOffset = offset;
        if (speed < chunk.minSpeed)
            chunk.minSpeed = speed;
        if (speed > 0.0 && speed < chunk.minPositiveSpeed)
            chunk.minPositiveSpeed = speed;
        const double level = modelBufferLevel(fill, dtUs * (requiredRate - speed), size, chunk.overflow);
        if (level != level)
            result.plain = false;
        chunk.maxLevel = std::max(level, chunk.maxLevel);
        if (i % kChunkSteps == 0 || i == steps) {
            chunk.fillAfter = fill;
            if (chunks)
                chunks[(i - 1) / kChunkSteps] = chunk;
            result.minSpeed = std::min(chunk.minSpeed, result.minSpeed);
            result.minPositiveSpeed = std::min(chunk.minPositiveSpeed, result.minPositiveSpeed);
            result.maxLevel = std::max(chunk.maxLevel, result.maxLevel);
            result.overflow = result.overflow || chunk.overflow;
            chunk = SxChunk{DBL_MAX, DBL_MAX, 0.0, 0.0, false};
        }
    }
    if (!result.plain) {
        delete[] chunks;
        chunks = nullptr;
    }
    result.lastOffset = previousOffset;
    summary = result;
    return summary;
}

namespace {

// Time relative to the end of the visible span, in 32-bit arithmetic as the graph has always
// computed it: spans beyond about 35 minutes wrap.
double relativeTime(qint64 timestamp, long long end, quint64 offset)
{
    return double(qint32(quint32(quint64(timestamp)) - quint32(quint64(end)) + quint32(offset)));
}

// True when no point of the graph can fall on the samples at these offsets of a frame.
bool noPointBetween(qint64 timestamp, quint64 firstOffset, quint64 lastOffset, const QCPRange* timeRange,
                    long long start, long long end, double lastX, double minGap)
{
    // Statistics alone never depend on where points fall.
    if (!timeRange)
        return true;
    if (timestamp + qint64(lastOffset) < start || timestamp + qint64(firstOffset) > end)
        return true;
    // Offsets only grow, so while the relative time does not wrap inside the span, its last
    // sample is the one that would first reach the next point.
    const double relFirst = relativeTime(timestamp, end, firstOffset);
    const double relLast = relativeTime(timestamp, end, lastOffset);
    return relFirst + double(lastOffset - firstOffset) == relLast && !(relLast - lastX > minGap);
}

} // namespace

bool CxCameraLineData::wholeFrameInOneBin(CxFrameData* frame, const QCPRange* timeRange, long long start,
                                          long long end, double lastX, double minGap)
{
    if (!frame->samples || frame->sampleCount < 2)
        return false;
    const CxFrameData::SxSummary& whole =
        frame->summarise(samplePeriod, requiredThroughput, cameraBufferSize);
    return whole.plain && noPointBetween(frame->timestamp, whole.firstOffset, whole.lastOffset, timeRange,
                                         start, end, lastX, minGap);
}

bool CxCameraLineData::calculateGraphsThrougput(QCPGraph* minThroughputGraph, QCPGraph* bufferLevelGraph,
                                                const QCPRange* timeRange, long long start, long long end,
                                                double msPerPixel)
{
    QMutexLocker lock(&dataMutex);
    // Throughput frames kept from before a switch to the acquisition mode are not drawn.
    if (frames.isEmpty() || measureMode != MeasureModeDataThroughput)
        return false;
    frames.detach();
    maxBufferLevel = 0.0;
    bufferOverflowCount = 0;

    const long long span = end - start;
    const long long margin = 2.0 * frameTimeAvg > double(span) ? static_cast<long long>(frameTimeAvg) : span;
    const long long lower = start - margin;
    const long long upper = end + margin;
    int index = 0;
    while (index < frames.size() && frames[index]->timestamp < lower)
        ++index;
    minThroughput = DBL_MAX;
    if (index == frames.size())
        return false;

    const double minGap = 1000.0 * msPerPixel;
    const double bufferSize = double(cameraBufferSize);
    double lastX = -100000000.0;
    bool firstSample = true;
    double binMin = DBL_MAX;
    double binMax = 0.0;
    double overallMax = 0.0;
    quint64 frameCount = 0;
    double speedSum = 0.0;
    // Samples that no point falls in, taken from the summary of their frame or chunk: what the
    // walk below would make of them one by one.
    auto absorb = [&](const auto& run, bool& overflow) {
        if (run.minSpeed < minThroughput)
            minThroughput = run.minSpeed;
        overflow = overflow || run.overflow;
        if (overflow)
            binMax = 100.0;
        binMax = std::max(run.maxLevel, binMax);
        overallMax = std::max(binMax, overallMax);
        if (run.minPositiveSpeed < binMin)
            binMin = run.minPositiveSpeed;
    };
    for (; index < frames.size() && frames[index]->timestamp < upper; ++index) {
        CxFrameData* frame = frames[index];
        bool overflow = false;
        if (!firstSample && wholeFrameInOneBin(frame, timeRange, start, end, lastX, minGap)) {
            // No point falls inside the frame: its summary stands for its samples.
            absorb(frame->summary, overflow);
        } else if (frame->samples && frame->sampleCount > 1) {
            // One pass over the samples, so that nothing is written to memory and read back.
            const double bytes = double(samplePeriod);
            const double required = double(requiredThroughput);
            // The modelled buffer starts empty with every frame.
            double fill = 0.0;
            const quint64* samples = frame->samples;
            const quint64 lastStep = frame->sampleCount - 1;
            // The chunks must be those of this period, throughput and buffer size.
            const CxFrameData::SxChunk* chunks =
                frame->summarise(samplePeriod, requiredThroughput, cameraBufferSize).plain ? frame->chunks
                                                                                           : nullptr;
            for (quint64 i = 1; i <= lastStep; ++i) {
                // A chunk that no point falls in is taken whole from its summary.
                if (chunks && !firstSample && (i - 1) % CxFrameData::kChunkSteps == 0) {
                    const quint64 last = std::min(lastStep, i - 1 + CxFrameData::kChunkSteps);
                    if (noPointBetween(frame->timestamp, (samples[i] - samples[0]) / 250u,
                                       (samples[last] - samples[0]) / 250u, timeRange, start, end, lastX,
                                       minGap)) {
                        const CxFrameData::SxChunk& chunk = chunks[(i - 1) / CxFrameData::kChunkSteps];
                        absorb(chunk, overflow);
                        fill = chunk.fillAfter;
                        i = last;
                        continue;
                    }
                }
                const auto [dtUs, speed, offset] = sampleStep(samples, i, bytes);
                const double rel = relativeTime(frame->timestamp, end, offset);
                if (speed < minThroughput)
                    minThroughput = speed;
                const double level = modelBufferLevel(fill, dtUs * (required - speed), bufferSize, overflow);
                if (overflow)
                    binMax = 100.0;
                binMax = std::max(level, binMax);
                overallMax = std::max(binMax, overallMax);
                if (firstSample)
                    lastX = rel;
                if (speed > 0.0 && speed < binMin)
                    binMin = speed;
                const qint64 sampleTime = frame->timestamp + qint64(offset);
                if (sampleTime >= start && sampleTime <= end && rel - lastX > minGap) {
                    lastX = rel;
                    if (timeRange) {
                        const double x = timeRange->upper + rel / 1000000.0;
                        if (minThroughputGraph)
                            minThroughputGraph->addData(x, binMin);
                        if (bufferLevelGraph)
                            bufferLevelGraph->addData(x, binMax);
                        binMin = DBL_MAX;
                        binMax = 0.0;
                    }
                }
                firstSample = false;
            }
        }
        if (overflow)
            ++bufferOverflowCount;
        speedSum +=
            double(quint64(samplePeriod) * frame->sampleCount) / double(frame->sampleSpan) * kTicksPerUs;
        ++frameCount;
    }
    if (frameCount == 0)
        return false;
    maxBufferLevel = overallMax;
    avgThroughput = speedSum / double(frameCount);
    return true;
}

bool CxCameraLineData::calculateGraphsAcquisition(QCPGraph* graph0, QCPGraph* graph1, QCPGraph* graph3,
                                                  QCPGraph* graph4, QCPGraph* graph5,
                                                  const QCPRange* timeRange, long long start, long long end,
                                                  double msPerPixel)
{
    QMutexLocker lock(&dataMutex);
    if (counterSamples.isEmpty())
        return false;
    // Ten average intervals here against two frame times for throughput: counter graphs are
    // sparse and need more context to reach the plot's edges.
    const long long span = end - start;
    const long long margin =
        10.0 * frameTimeAvg > double(span) ? static_cast<long long>(frameTimeAvg) * 10 : span;
    const long long lower = start - margin;
    const long long upper = end + margin;
    int index = 0;
    while (index < counterSamples.size() && counterSamples[index]->timestamp < lower)
        ++index;
    const double minGap = 1000.0 * msPerPixel;
    double lastX = -100000000.0;
    bool first = true;
    for (; index < counterSamples.size() && counterSamples[index]->timestamp < upper; ++index) {
        const CxCounterData* record = counterSamples[index];
        const double rel = relativeTime(record->timestamp, end, 0);
        if (first)
            lastX = rel;
        if (rel - lastX > minGap) {
            lastX = rel;
            if (timeRange) {
                const double x = rel / 1000000.0 + timeRange->upper;
                if (graph0)
                    graph0->addData(x, double(record->transportSkip));
                if (graph1)
                    graph1->addData(x, double(record->apiSkip));
                if (graph3)
                    graph3->addData(x, double(record->missedTrgOverlap));
                if (graph4)
                    graph4->addData(x, double(record->missedTrgOverflow));
                if (graph5)
                    graph5->addData(x, double(record->bufferOverflow));
            }
        }
        first = false;
    }
    return true;
}

double CxCameraLineData::linkAverage()
{
    QMutexLocker lock(&dataMutex);
    double bytes = 0.0;
    double ticks = 0.0;
    for (const CxFrameData* frame : std::as_const(frames)) {
        if (!frame->samples || frame->sampleCount < 2)
            continue;
        bytes += double(samplePeriod) * double(frame->sampleCount - 1);
        ticks += double(frame->sampleSpan);
    }
    return ticks > 0.0 ? bytes / (ticks / kTicksPerUs) : 0.0;
}

bool CxCameraLineData::storedSpan(qint64* oldest, qint64* newest, quint32* newestFrame)
{
    QMutexLocker lock(&dataMutex);
    if (measureMode == MeasureModeStandardAcquisition) {
        if (counterSamples.isEmpty())
            return false;
        *oldest = counterSamples.first()->timestamp;
        *newest = counterSamples.last()->timestamp;
        *newestFrame = counterSamples.last()->frameNumber;
        return true;
    }
    if (frames.isEmpty())
        return false;
    const CxFrameData* frame = frames.last();
    *oldest = frames.first()->timestamp;
    *newest = frame->timestamp + qint64(frame->sampleSpan / 250u);
    *newestFrame = frame->frameNumber;
    return true;
}

// ---------------------------------------------------------------------------------------
// CSV export

void CxCameraLineData::exportDataToFile(const QString& fileName, QWidget* parent, long long start,
                                        long long end)
{
    if (measureMode != MeasureModeDataThroughput)
        return;

    // Stored frames never change and a running export keeps those it reads alive (retireFrame),
    // so the file is written without the lock: the progress dialog runs the event loop, and
    // whatever reaches this line meanwhile on the GUI thread (a stop, a refresh, the host
    // closing the camera) must not find the lock taken by the thread it runs on.
    int frameCount = 0;
    QList<const CxFrameData*> range;
    CxExportSettings settings;
    {
        QMutexLocker lock(&dataMutex);
        const long long span = end - start;
        // Before any frame was timed frameTimeMin is the largest double, which no integer holds:
        // a margin of 30 years says the same.
        const long long margin =
            frameTimeMin > double(span) ? static_cast<long long>(std::min(frameTimeMin, 1e15)) : span / 2;
        for (const CxFrameData* frame : std::as_const(frames)) {
            if (frame->timestamp > end + margin)
                break;
            if (frame->timestamp >= start - margin)
                ++frameCount;
        }
        // The rows end with the first frame that starts after the span.
        for (const CxFrameData* frame : std::as_const(frames)) {
            range.append(frame);
            if (end < frame->timestamp)
                break;
        }
        settings = {samplePeriod, requiredThroughput, cameraBufferSize};
        ++exportsRunning;
    }
    exportAbort = false;
    auto release = qScopeGuard([this]() {
        QMutexLocker lock(&dataMutex);
        if (--exportsRunning == 0) {
            qDeleteAll(retiredFrames);
            retiredFrames.clear();
        }
    });

    QProgressDialog dialog(
        QCoreApplication::translate("CxCameraLineData", "Exporting %1 data").arg(cameraName),
        QCoreApplication::translate("CxCameraLineData", "Cancel"), 0, frameCount, parent, Qt::WindowFlags());
    dialog.setWindowTitle(QCoreApplication::translate("CxCameraLineData", "Data throughput monitor"));
    // Modal, so that setValue() keeps the dialog painted and lets the user close it.
    dialog.setWindowModality(Qt::WindowModal);
    dialog.setMinimumDuration(0);
    dialog.resize(300, 100);
    // Cancelling is only possible by closing the dialog.
    const QList<QPushButton*> buttons = dialog.findChildren<QPushButton*>();
    if (!buttons.isEmpty())
        buttons.first()->hide();
    dialog.show();
    QCoreApplication::processEvents(QEventLoop::AllEvents, 1000);

    QFile file(fileName);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        reportExportFailure(parent, fileName, file.errorString());
        return;
    }

    // Rows are formatted into a buffer by hand and written in large blocks.
    CxCsvWriter out(&file);
    out.text("Frame number,Frame Time [ns], Offset [B], Data Time Stamp [ns], Req. throughput [MB/s], "
             "Link throughput [MB/s], Buffer filled [B], Max buffer level [%]\n");
    const double bufferSize = double(settings.bufferSize);
    // Two columns hold the same value in every row.
    const QByteArray periodField = ',' + QByteArray::number(settings.samplePeriod);
    const QByteArray requiredField = ',' + QByteArray::number(settings.requiredThroughput);
    auto steps = std::make_unique<CxSampleSteps>(settings.samplePeriod);
    const double required = double(settings.requiredThroughput);
    // Unlike the graph, the modelled buffer runs on across frames, over exported rows only.
    double fill = 0.0;
    int progress = 0;
    // Each setValue() paints the dialog and runs the event loop, which costs more than the
    // rows of a frame: the bar moves every 40 ms, enough for the eye and for a close.
    QElapsedTimer sinceShown;
    sinceShown.start();
    qint64 shownAt = -1;
    for (const CxFrameData* frame : std::as_const(range)) {
        if (shownAt < 0 || sinceShown.elapsed() - shownAt >= 40) {
            dialog.setValue(progress);
            shownAt = sinceShown.elapsed();
        }
        // Closed by the user, or the camera went: the file keeps what was written.
        if (dialog.wasCanceled() || exportAbort)
            break;
        if (frame->samples && frame->sampleCount > 1) {
            const quint64* samples = frame->samples;
            for (quint64 i = 1; i < frame->sampleCount; ++i) {
                const quint64 offsetUs = (samples[i] - samples[0]) / 250u;
                const qint64 sampleTime = frame->timestamp + qint64(offsetUs);
                if (sampleTime < start)
                    continue;
                if (sampleTime > end)
                    break;
                const CxSampleSteps::Step& step = steps->step(samples[i] - samples[i - 1]);
                // Comparisons rather than min/max, so that a broken sample shows as "nan".
                fill += step.us * (required - step.speed);
                if (fill < 0.0)
                    fill = 0.0;
                else if (fill > bufferSize)
                    fill = bufferSize;
                out.integer(frame->frameNumber);
                out.integer(offsetUs, ',');
                out.bytes(periodField.constData(), size_t(periodField.size()));
                out.integer(samples[i] * 4u, ',');
                out.bytes(requiredField.constData(), size_t(requiredField.size()));
                out.character(',');
                out.bytes(step.text, step.length);
                out.number(fill, ',');
                out.number(100.0 * fill / bufferSize, ',');
                out.character('\n');
            }
        }
        ++progress;
    }
    out.flush();
    const bool written = !out.failed() && file.flush();
    const QString error = file.errorString();
    file.close();
    if (!written)
        reportExportFailure(parent, fileName, error);
}

// ---------------------------------------------------------------------------------------
// Worker thread

CxAcquisitionThread::CxAcquisitionThread(CxCameraLineData* line, MeasureMode runMode)
    : QThread(nullptr), lineData(line), mode(runMode)
{
}

CxAcquisitionThread::~CxAcquisitionThread() = default;

void CxAcquisitionThread::join()
{
    wait();
    // wait() already orders the worker's writes before us, but inside Qt, which is not built
    // for the race checker; this acquire, paired with run()'s last store, says the same in
    // code it sees, so deleting the thread right after is not reported as a race.
    const bool returned = hasReturned();
    Q_ASSERT(returned || !isFinished());
    Q_UNUSED(returned);
}

void CxAcquisitionThread::run()
{
    switch (mode) {
    case MeasureModeDataThroughput:
        lineData->runMeasureLoopThrougput();
        break;
    case MeasureModeStandardAcquisition:
        lineData->runMeasureLoopAcquisition();
        break;
    default:
        logCritical(kSource, kLineThreadRun, kThreadPrefix,
                    QStringLiteral("Unknown measurement mode selected"));
        break;
    }
    runReturned.store(true, std::memory_order_release);
}
