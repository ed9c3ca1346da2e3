// Time on the camera's link: when each 64-bit word of a transfer leaves the camera, given
// the link's base rate and its disturbances (jitter, periodic dips, short stalls).
// Deterministic for a seed.
#pragma once

#include "ksSim/CxSimCameraConfig.h"

#include <QtGlobal>
#include <random>

class CxLinkModel
{
public:
    static constexpr double kTicksPerUs = 250.0;
    static constexpr quint64 kBlockWords = 64;

    explicit CxLinkModel(const SxLinkConfig& config);

    // Starts the link clock at `ticks` with a fresh random sequence.
    void reset(double ticks, quint64 seed);
    // The instant the next word would leave, in ticks of 4 ns.
    double clock() const { return m_clock; }
    // The link idles (no data) until `ticks`.
    void idleUntil(double ticks);
    // Sends `words` words back to back; writes each word's departure tick to `out`
    // when it is not null. Returns the clock after the last word.
    double send(quint64 words, quint64* out);
    // Rate without jitter or stalls at `ticks`: the base rate or a dip's rate.
    double nominalRateAt(double ticks) const;

private:
    double nextStallDistance();

    SxLinkConfig m_config;
    double m_clock = 0.0;
    double m_origin = 0.0;
    double m_nextStall = 0.0;
    std::mt19937_64 m_rng;
    std::uniform_real_distribution<double> m_jitter{-1.0, 1.0};
};
