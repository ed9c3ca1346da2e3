#!/usr/bin/env python3
"""Changes one behaviour at a time, rebuilds and runs the tests that should notice, and
prints which test caught each change. A change that no test catches is a gap in the suite.
Run from the repository root after a build in build/: python3 tests/mutations.py"""
import os
import subprocess
import sys

ENGINE = "plugins/kspDataThroughputGraph/CameraLineData.cpp"
FORM = "plugins/kspDataThroughputGraph/DataGraphForm.cpp"
DIALOG = "plugins/kspDataThroughputGraph/DataGraphSetupDlg.cpp"
ENGINE_TESTS = ["tst_preparation", "tst_measurement", "tst_series", "tst_faults"]
PANEL_TESTS = ["tst_panel"]

# (area, what changes, file, text, replacement, tests)
MUTATIONS = [
    ("preparation", "unsafe buffer policy not set", ENGINE, 'if (!setParam(hCam, "buffer_policy", 0))', 'if (!setParam(hCam, "buffer_policy", 1))', ENGINE_TESTS),
    ("preparation", "wrong test pattern", ENGINE, 'if (!setParam(hCam, "test_pattern", 11))', 'if (!setParam(hCam, "test_pattern", 10))', ENGINE_TESTS),
    ("preparation", "frame buffer left enabled", ENGINE, 'if (!setParam(hCam, "dp_param_value", 9))', 'if (!setParam(hCam, "dp_param_value", 10))', ENGINE_TESTS),
    ("preparation", "register value not 25000", ENGINE, 'setParam(hCam, "device_unit_register_value", 25000))', 'setParam(hCam, "device_unit_register_value", 2500))', ENGINE_TESTS),
    ("preparation", "unknown buffer size not 32768", ENGINE, "constexpr int kUnknownBufferSize = 32768;", "constexpr int kUnknownBufferSize = 32767;", ENGINE_TESTS),
    ("restore", "nothing restored", ENGINE, 'void CxCameraLineData::restoreCameraParameters()\n{', 'void CxCameraLineData::restoreCameraParameters()\n{\n    return;', ENGINE_TESTS),
    ("restore", "frame buffer mode not re-enabled", ENGINE, 'setParam(hCam, "dp_param_value", 10);', 'setParam(hCam, "dp_param_value", 9);', ENGINE_TESTS),
    ("capture", "time stamps not reset at start", ENGINE, 'setParam(hCam, "ts_rst_source", 19);', 'setParam(hCam, "ts_rst_source", 18);', ENGINE_TESTS),
    ("capture", "two stops both go ahead", ENGINE, "if (!stopRequested.compare_exchange_strong(alreadyStopping, true))", "if (false && !stopRequested.compare_exchange_strong(alreadyStopping, true))", ENGINE_TESTS),
    ("capture", "failed counter read overwrites the value", ENGINE, "        if (getParam(hCam, \"counter_value\", value)) {", "        if (getParam(hCam, \"counter_value\", value) || true) {", ENGINE_TESTS),
    ("capacity", "throughput store keeps one frame more", ENGINE, "qint64(frames.size()) - 1 - keep", "qint64(frames.size()) - 2 - keep", ENGINE_TESTS),
    ("capacity", "a new run drops what the last one stored", ENGINE, "    const quint32 stride = samplePeriod / 8;\n", "    const quint32 stride = samplePeriod / 8;\n    {\n        QMutexLocker lock(&dataMutex);\n        qDeleteAll(frames);\n        frames.clear();\n    }\n", ENGINE_TESTS),
    ("capacity", "negative capacity not clamped", ENGINE, "const qint64 keep = qint64(std::max(maxSamples, 0))", "const qint64 keep = qint64(maxSamples)", ENGINE_TESTS),
    ("statistics", "running mean weighted wrongly", ENGINE, "frameTimeAvg = (1.0 - 1.0 / n) * frameTimeAvg + (1.0 / n) * microseconds;", "frameTimeAvg = 0.5 * frameTimeAvg + 0.5 * microseconds;", ENGINE_TESTS),
    ("series", "margin from the span, not the frame time", ENGINE, "const long long margin = 2.0 * frameTimeAvg > double(span)", "const long long margin = 20.0 * frameTimeAvg > double(span)", ENGINE_TESTS),
    ("series", "overflow counted per sample", ENGINE, "        if (overflow)\n            ++bufferOverflowCount;", "        if (overflow)\n            bufferOverflowCount += 2;", ENGINE_TESTS),
    ("csv", "progress margin of the whole span", ENGINE, ": span / 2;", ": span;", ENGINE_TESTS),
    ("csv", "fill not clamped at full", ENGINE, "                else if (fill > bufferSize)\n                    fill = bufferSize;", "", ENGINE_TESTS),
    ("csv", "one interval's speed given to another", ENGINE, "if (entry.ticks != ticks || entry.length == 0) {", "if (entry.length == 0) {", ENGINE_TESTS),
    ("panel", "status not shown while testing", FORM, 'status->setText(line->isMeasurementRunning() ? tr("Testing") : tr("Stopped"));', 'status->setText(tr("Stopped"));', PANEL_TESTS),
    ("panel", "buffer size shown in bytes", FORM, "QString::number(line->cameraBufferSize / 1000)", "QString::number(line->cameraBufferSize)", PANEL_TESTS),
    ("panel", "1 ms zoom floor gone", FORM, "if (qAbs(range.lower - range.upper) * 1000.0 > 1.0) {", "if (true) {", PANEL_TESTS),
    ("panel", "counter axis from 0", FORM, "                minVal = -1;", "                minVal = 0;", PANEL_TESTS),
    ("panel", "min throughput at every user level", FORM, "IxAppDelegate::instance()->level() > 2;", "IxAppDelegate::instance()->level() > -1;", PANEL_TESTS),
    ("panel", "progress box left behind", FORM, "    delete box;\n", "", PANEL_TESTS),
    ("panel", "setup stays usable while measuring", FORM, "ui->btnSetup->setEnabled(!anyMeasurementRunning());", "ui->btnSetup->setEnabled(true);", PANEL_TESTS),
    ("panel", "measure mode kept when the key is absent", FORM, "    else\n        measureMode = MeasureModeDataThroughput;", "", PANEL_TESTS),
    ("panel", "roll-back leaves a camera measuring", FORM, "                line->stopMeasurement();\n                delegate->setCameraControlEnabled(hCam, true);", "                delegate->setCameraControlEnabled(hCam, true);", PANEL_TESTS),
    ("setup dialog", "capacity truncated, not rounded", DIALOG, "(m_form->maxSamples + 500000) / 1000000", "m_form->maxSamples / 1000000", PANEL_TESTS),
]


def run(command):
    return subprocess.run(command, shell=True, capture_output=True, text=True)


def main():
    env = dict(os.environ, QT_QPA_PLATFORM="offscreen")
    rows = []
    only = sys.argv[1] if len(sys.argv) > 1 else ""
    for area, what, path, old, new, tests in MUTATIONS:
        if only not in what:
            continue
        source = open(path).read()
        if source.count(old) != 1:
            rows.append((area, what, "mutation does not apply"))
            print("%-13s %-42s %s" % rows[-1], flush=True)
            continue
        open(path, "w").write(source.replace(old, new))
        try:
            build = run("cmake --build build -j2 --target " + " ".join(tests))
            if build.returncode != 0:
                rows.append((area, what, "does not compile"))
                print("%-13s %-42s %s" % rows[-1], flush=True)
                continue
            caught = []
            for test in tests:
                result = subprocess.run(["timeout", "120", "build/bin/" + test], capture_output=True, text=True, env=env)
                if result.returncode != 0:
                    failed = [line.split("::")[1].split("(")[0] for line in result.stdout.splitlines() if line.startswith("FAIL!")]
                    caught.append(test + ": " + (", ".join(sorted(set(failed))) or "crashed or timed out"))
            rows.append((area, what, "; ".join(caught) if caught else "NOT CAUGHT"))
        finally:
            open(path, "w").write(source)
        print("%-13s %-42s %s" % rows[-1], flush=True)
    run("cmake --build build -j2")
    return 0 if all(r[2] != "NOT CAUGHT" for r in rows) else 1


if __name__ == "__main__":
    sys.exit(main())
