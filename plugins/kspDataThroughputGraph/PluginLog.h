// The plug-in's one way of reporting an internal failure: a critical message in the
// "default" category carrying the thread, the source unit and a fixed line number, so that
// log lines can be matched to their place however the source moves.
#pragma once

#include <QString>

// Logs `prefix` (a text with one %1, such as "CxCameraLineData::startMeasurement(): %1")
// filled with `failure`.
void logCritical(const char* sourcePath, int line, const char* prefix, const QString& failure);
