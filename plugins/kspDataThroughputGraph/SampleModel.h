// What one step between two sampled words of the counter pattern says: the link time
// between them, the speed, and what the camera's modelled buffer makes of it. Every consumer
// (frame speeds and summaries, the graph walk, the run history) uses these same expressions,
// so that their results agree bit for bit.
#pragma once

#include <QtGlobal>

constexpr double kTicksPerUs = 250.0;

// Sample i of a frame against sample i - 1: the link time between them, the speed, and the
// offset from the frame's first sample.
struct SxSampleStep
{
    double dtUs;
    double speed;
    quint64 offset;
};

inline SxSampleStep sampleStep(const quint64* samples, quint64 i, double bytes)
{
    const double dtUs = double(samples[i] - samples[i - 1]) / kTicksPerUs;
    return {dtUs, bytes / dtUs, (samples[i] - samples[0]) / 250u};
}

// The camera's buffer after one more sample: it gains `delta` bytes (loses, when negative),
// clamped at empty and at full. Returns the fill level in percent.
inline double modelBufferLevel(double& fill, double delta, double size, bool& overflow)
{
    fill += delta;
    if (fill < 0.0) {
        fill = 0.0;
        return 0.0;
    }
    if (fill > size) {
        fill = size;
        overflow = true;
        return 100.0;
    }
    return fill / size * 100.0;
}
