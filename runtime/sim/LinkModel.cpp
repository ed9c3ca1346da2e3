#include "LinkModel.h"

#include <cmath>

CxLinkModel::CxLinkModel(const SxLinkConfig& config) : m_config(config)
{
    reset(0.0, 1);
}

void CxLinkModel::reset(double ticks, quint64 seed)
{
    m_clock = ticks;
    m_origin = ticks;
    m_rng.seed(seed);
    m_nextStall = m_config.stallIntervalMs > 0.0 ? ticks + nextStallDistance() : INFINITY;
}

double CxLinkModel::nextStallDistance()
{
    std::exponential_distribution<double> gap(1.0 / (m_config.stallIntervalMs * 1000.0 * kTicksPerUs));
    return gap(m_rng);
}

void CxLinkModel::idleUntil(double ticks)
{
    if (ticks > m_clock)
        m_clock = ticks;
}

double CxLinkModel::nominalRateAt(double ticks) const
{
    // Dips are placed on the time since the link was reset, so a run repeats them
    // at the same offsets.
    const double ms = (ticks - m_origin) / (kTicksPerUs * 1000.0);
    for (const SxLinkDip& dip : m_config.dips) {
        if (dip.periodMs <= 0.0 || ms < dip.phaseMs)
            continue;
        if (std::fmod(ms - dip.phaseMs, dip.periodMs) < dip.lengthMs)
            return dip.rateMBps;
    }
    return m_config.rateMBps;
}

double CxLinkModel::send(quint64 words, quint64* out)
{
    while (words > 0) {
        const quint64 n = words < kBlockWords ? words : kBlockWords;
        while (m_clock >= m_nextStall) {
            m_clock += m_config.stallLengthUs * kTicksPerUs;
            m_nextStall = m_clock + nextStallDistance();
        }
        double rate = nominalRateAt(m_clock);
        if (m_config.jitter > 0.0)
            rate *= 1.0 + m_config.jitter * m_jitter(m_rng);
        // A link that stops entirely still moves a trickle, so time never stands still.
        if (rate < 1e-3)
            rate = 1e-3;
        const double ticksPerWord = 8.0 * kTicksPerUs / rate;
        if (out) {
            const double start = m_clock;
            for (quint64 i = 0; i < n; ++i)
                out[i] = static_cast<quint64>(start + static_cast<double>(i) * ticksPerWord);
            out += n;
        }
        m_clock += static_cast<double>(n) * ticksPerWord;
        words -= n;
    }
    return m_clock;
}
