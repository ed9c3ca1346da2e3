#!/usr/bin/env python3
"""Changes one behaviour at a time, rebuilds and runs the tests that should notice, and
prints which test caught each change. A change that no test catches is a gap in the suite.
Run from the repository root after a build in build/:

    python3 tests/mutations.py                  # the fixed list
    python3 tests/mutations.py "part of a name" # the fixed ones whose description has it
    python3 tests/mutations.py --random 30 --seed 7

--random draws single-line changes from the plug-in's sources: files in turn, a function of
the file at random, a line of it at random and one of the changes that apply to that line
(a comparison, a logical or arithmetic operator, a boolean or a whole number changed, a
condition negated, a statement dropped). A change that does not compile, or leaves the
object file's code as it was, is replaced by the next draw, and so is a line that only
dresses what is shown (a colour, a pen, a font, an alignment, a column's resize mode):
those are reviewed by eye in the screenshots, not pinned by tests. A change on the list of
those reviewed and found unobservable is run and shown, but also replaced. The score is
printed at the end."""
import filecmp
import os
import random
import re
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
    ("panel", "table left selectable", FORM, "    ui->table->setSelectionMode(QAbstractItemView::NoSelection);\n", "", PANEL_TESTS),
    ("panel", "plot one layout row too low", FORM, 'tr("Buffer filled [%]"));\n    ui->plot->plotLayout()->addElement(int(row) + 1, 0, rect);', 'tr("Buffer filled [%]"));\n    ui->plot->plotLayout()->addElement(int(row) + 2, 0, rect);', PANEL_TESTS),
    ("panel", "Refresh does not redraw", FORM, "void CxDataGraphForm::on_refreshGraph_clicked()\n{\n    updateGraph();", "void CxDataGraphForm::on_refreshGraph_clicked()\n{", PANEL_TESTS),
    ("setup dialog", "period enabled when opened in acquisition", DIALOG, "        ui->spinSamplePeriod->setEnabled(false);\n", "", PANEL_TESTS),
    ("setup dialog", "mode index check inverted", DIALOG, "if (index != 0 && index != 1)", "if (index == 0 || index == 1)", PANEL_TESTS),
    ("capture", "worker's end never reported", ENGINE, "    runReturned.store(true, std::memory_order_release);\n", "", ENGINE_TESTS),
    ("capture", "one skipped image counted at the end", ENGINE, "        if (m_count > 1)", "        if (m_count > 0)", ENGINE_TESTS),
    ("setup dialog", "capacity truncated, not rounded", DIALOG, "(m_form->maxSamples + 500000) / 1000000", "m_form->maxSamples / 1000000", PANEL_TESTS),
]


PLUGIN = "plugins/kspDataThroughputGraph"
SOURCES = [ENGINE, FORM, DIALOG, PLUGIN + "/RunHistory.cpp", PLUGIN + "/HistoryPlot.cpp", PLUGIN + "/RunHistoryDlg.cpp"]
OBJECTS = "build/plugins/kspDataThroughputGraph/CMakeFiles/kspDataThroughputGraphLib.dir/"
# Fast ones first: a change is caught by the first test that fails.
ALL_TESTS = ["tst_series", "tst_preparation", "tst_measurement", "tst_history", "tst_plugin", "tst_faults", "tst_panel", "tst_host"]
BUILD_TARGETS = ALL_TESTS + ["kspDataThroughputGraph", "lumorix-sim"]

# Changes reviewed and found to alter nothing a user or a test could ever see. A draw of
# one is still built and run, but reported apart and left out of the score; one that a test
# does catch is counted as caught and flagged, so that its entry gets a second look.
# (file, function, line as it stands, line as changed, why)
UNOBSERVABLE = [
    ("CameraLineData.cpp", "noPointBetween", "return true;", "return false;", "a shortcut that only saves time"),
    ("CameraLineData.cpp", "noPointBetween",
     "return relFirst + double(lastOffset - firstOffset) == relLast && !(relLast - lastX > minGap);",
     "return relFirst - double(lastOffset - firstOffset) == relLast && !(relLast - lastX > minGap);",
     "the shortcut no longer taken but where a frame has no span, and the walk finds the same"),
    ("CameraLineData.cpp", "CxCameraLineData::wholeFrameInOneBin", "if (!frame->samples || frame->sampleCount < 2)",
     "if (!frame->samples || frame->sampleCount < 3)", "two-sample frames take the long way to the same point"),
    ("CameraLineData.cpp", "CxCameraLineData::wholeFrameInOneBin", "return false;", "return true;",
     "a frame of fewer than two samples has an empty summary, and walked it adds nothing either"),
    ("CameraLineData.cpp", "CxCameraLineData::resetFrameTimes", "frameTimeMax = DBL_MIN;", ";",
     "the longest frame time is never read"),
    ("CameraLineData.cpp", "CxCameraLineData::exportDataToFile",
     "QCoreApplication::processEvents(QEventLoop::AllEvents, 1000);",
     "QCoreApplication::processEvents(QEventLoop::AllEvents, 1001);", "a millisecond more for the first paint"),
    ("CameraLineData.cpp", "CxCameraLineData::captureImage", "std::memset(image, 0, sizeof(KS_IMG));",
     "std::memset(image, 1, sizeof(KS_IMG));", "of the record only its size is read; every other field is written"),
    ("CameraLineData.cpp", "CxCameraLineData::readInternalCameraBufferSize", "int size = 0;", "int size = 1;",
     "a failed read returns before the first value is used"),
    ("CameraLineData.cpp", "tieAwayFromZero",
     "std::to_chars(exact, exact + sizeof(exact), std::fabs(value), std::chars_format::scientific, 24).ptr;",
     "std::to_chars(exact, exact + sizeof(exact), std::fabs(value), std::chars_format::scientific, 25).ptr;",
     "a double's distance from a seven-digit tie shows long before its 24th digit"),
    ("DataGraphForm.cpp", "CxDataGraphForm::closeProgressBox", "box->hide();", ";", "the box is deleted right after"),
    ("DataGraphForm.cpp", "CxDataGraphForm::closeProgressBox", "box->close();", ";",
     "a box without buttons refuses to close, and it is deleted right after"),
    ("DataGraphForm.cpp", "CxDataGraphForm::msPerPixel",
     "return (range.upper - range.lower) * 1000.0 / qMax(1, ui->plot->width());",
     "return (range.upper - range.lower) * 1000.0 / qMax(2, ui->plot->width());",
     "a plot shown is wider than two pixels, and a hidden one is drawn anew once shown"),
    ("DataGraphForm.cpp", "CxDataGraphForm::prepareLegend",
     "ui->tablePlotCheck->verticalHeader()->setDefaultSectionSize(24);", ";",
     "the legend's rows are resized to their contents as it is finished"),
    ("DataGraphForm.cpp", "CxDataGraphForm::IsPlotEnabled", "return false;", "return true;",
     "every series the panel asks for has its check box"),
    ("DataGraphForm.cpp", "CxDataGraphForm::on_btnResetZoom_clicked", "timeAxisLower = -20.0;", ";",
     "the range set right after sets it again"),
    ("DataGraphSetupDlg.cpp", "CxDataGraphSetupDlg",
     "flags &= ~(Qt::WindowMaximizeButtonHint | Qt::WindowContextHelpButtonHint);", ";",
     "Qt 6 gives a dialog neither of the hints this clears"),
    ("HistoryPlot.cpp", "historySpan", "if (totals.startOfDayUs < 0)", "if (totals.startOfDayUs < 1)",
     "a run whose first frame came at midnight to the microsecond"),
    ("HistoryPlot.cpp", "pixelUs", "return double(view.toUs - view.fromUs) / double(std::max(view.pixels, 1));",
     "return double(view.toUs - view.fromUs) / double(std::max(view.pixels, 2));",
     "every plot is wider than two pixels"),
    ("RunHistory.cpp", "CxRunHistory::endDip", "m_pending = SxSnapshot();", ";",
     "the snapshot was moved out, and the next dip's is copied anew before it is kept"),
    ("RunHistory.cpp", "CxRunHistory::endDip", "m_pendingFrame = nullptr;", ";",
     "read only while a dip is open, and every dip sets it as it opens"),
    ("RunHistory.cpp", "growByTheHour", "buckets.reserve((index / 3600 + 1) * 3600);",
     "buckets.reserve((index / 3600 + 1) * 3601);", "an hour's reserve one bucket larger"),
    ("RunHistory.cpp", "growByTheHour", "buckets.reserve((index / 3600 + 1) * 3600);",
     "buckets.reserve((index / 3600 + 2) * 3600);", "an hour more reserved ahead, a tenth of a megabyte"),
    ("RunHistoryDlg.cpp", "CxRunHistoryDlg", "m_timer.start(1000);", "m_timer.start(1001);",
     "a refresh a millisecond later"),
    ("RunHistoryDlg.cpp", "CxRunHistoryDlg::onEventActivated", "if (!start || m_startOfDayUs < 0)",
     "if (!start || m_startOfDayUs < 1)", "a run whose first frame came at midnight to the microsecond"),
    ("RunHistoryDlg.cpp", "CxRunHistoryDlg::detach", "m_timer.stop();", ";", "a detached window's refresh reads nothing"),
]

# "None yet" marks of which only the sign is read, or that are compared with values that are
# never negative.
SIGN_ONLY = {"lastX", "shownAt", "m_curIndex"}


def unobservable(path, function, original, changed):
    """Why the change cannot be seen, or None."""
    if re.sub(r", 1, '([fg])'", r", 0, '\1'", changed) == original != changed:
        return "a field width of 1 for a number that is never shorter"
    if re.sub(r", 1\) / (kCoarseUs|kFineUs)", r", 0) / \1", changed) == original != changed:
        return "a time clamped at 1 us instead of 0 before its division into buckets"
    marker = re.match(r"\s*(?:qint64 )?(\w+) = -1;$", original)
    if marker and marker.group(1) in SIGN_ONLY and changed.strip() == original.strip()[:-2] + "2;":
        return "a \"none yet\" mark of -2 instead of -1, where only the sign is read"
    buffer = re.match(r"\s*char \w+\[(\d+)\];$", original)
    if buffer and changed.strip() == original.strip().replace("[%s]" % buffer.group(1), "[%d]" % (int(buffer.group(1)) + 1)):
        return "a character buffer, already larger than what it holds, a byte larger"
    declared = re.match(r"\s*(?:qint64|quint32) (\w+) = 0;$", original)
    if declared and changed.rstrip() == original.rstrip()[:-2] + "1;":
        bodies = "\n".join("\n".join(open(path).read().split("\n")[first:last + 1])
                           for name, first, last in functions(path) if name == function)
        if re.search(r"\b(GetTimeAxisRange|storedSpan)\([^;]*&%s\b" % declared.group(1), bodies):
            return "a first value that the call it is handed to replaces before it is read"
    for name, where, before, after, why in UNOBSERVABLE:
        if (name, where, before, after) == (os.path.basename(path), function, original.strip(), changed.strip()):
            return why
    return None


PRESENTATION = re.compile(r"QColor\(|QPen\(|QFont\(|setColor\(|setPen\(|setBrush\(|setTextAlignment|"
                          r"setSectionResizeMode|setStretchLastSection")

# (name, pattern, replacement); patterns never match inside string literals or comments.
OPERATORS = [
    ("<= to <", r"<=", "<"),
    ("< to <=", r"(?<![<\w])\s<\s(?!<)", " <= "),
    (">= to >", r">=", ">"),
    ("> to >=", r"(?<![->])\s>\s(?!>)", " >= "),
    ("== to !=", r"==", "!="),
    ("!= to ==", r"!=", "=="),
    ("&& to ||", r"&&", "||"),
    ("|| to &&", r"\|\|", "&&"),
    ("true to false", r"\btrue\b", "false"),
    ("false to true", r"\bfalse\b", "true"),
    ("+ to -", r"(?<=\w|\))\s\+\s", " - "),
    ("- to +", r"(?<=\w|\))\s-\s", " + "),
    ("* to /", r"(?<=\w|\))\s\*\s", " / "),
    ("number + 1", r"(?<![\w.])(\d+)(?![\w.])", None),
    ("condition negated", r"\bif \(", "negate"),
]


def code_mask(line):
    """The line with string literals and a trailing comment blanked, so patterns skip them."""
    out = []
    quote = None
    i = 0
    while i < len(line):
        c = line[i]
        if quote:
            out.append(" ")
            if c == "\\":
                out.append(" ")
                i += 1
            elif c == quote:
                quote = None
        elif c in "\"'":
            quote = c
            out.append(" ")
        elif line.startswith("//", i):
            out.extend(" " * (len(line) - i))
            break
        else:
            out.append(c)
        i += 1
    return "".join(out)


def closing(code, opening):
    """Where the parenthesis opened at `opening` closes on the line, or None."""
    depth = 0
    for i in range(opening, len(code)):
        depth += {"(": 1, ")": -1}.get(code[i], 0)
        if depth == 0:
            return i
    return None


def functions(path):
    """(name, first body line, last body line) of each function defined at the file's top level."""
    lines = open(path).read().split("\n")
    found = []
    i = 0
    while i < len(lines):
        match = re.match(r"^[A-Za-z][\w:<>,*& ]*?\b([\w]+::~?\w+|\w+)\(", lines[i])
        if match and not lines[i].rstrip().endswith(";"):
            j = i
            while j < len(lines) and lines[j] != "{" and not lines[j].endswith("{"):
                j += 1
            k = j + 1
            while k < len(lines) and lines[k] != "}":
                k += 1
            if k < len(lines) and k - j > 1:
                found.append((match.group(1), j + 1, k - 1))
            i = k + 1
        else:
            i += 1
    return found


def draws(rng):
    """Endless single-line changes, the files in turn: (path, line number, function, description,
    new line)."""
    tables = {path: functions(path) for path in SOURCES}
    while True:
        for path in SOURCES:
            lines = open(path).read().split("\n")
            for _ in range(200):
                name, first, last = rng.choice(tables[path])
                number = rng.randint(first, last)
                line = lines[number]
                code = code_mask(line)
                stripped = code.strip()
                if not stripped or stripped in ("{", "}", "};") or stripped.startswith("#"):
                    continue
                if PRESENTATION.search(line):
                    continue
                choices = []
                for label, pattern, replacement in OPERATORS:
                    for match in re.finditer(pattern, code):
                        # The whole condition, so its closing parenthesis must be on the line.
                        if replacement == "negate" and closing(code, match.end() - 1) is None:
                            continue
                        choices.append((label, match, replacement))
                if stripped.endswith(";") and re.match(r"[\w>.:-]+(\(|->|\.|\s[-+*/|&]?=\s|\+\+|--)", stripped) \
                        and not re.match(r"(const|auto|return|int|double|bool|qint64|quint64|QString|static)\b", stripped):
                    choices.append(("statement dropped", None, ""))
                if not choices:
                    continue
                label, match, replacement = rng.choice(choices)
                if match is None:
                    # An empty statement, so that a condition without braces keeps its body.
                    changed = line[: len(line) - len(line.lstrip())] + ";"
                elif replacement == "negate":
                    end = closing(code, match.end() - 1)
                    changed = line[:match.end()] + "!(" + line[match.end():end] + ")" + line[end:]
                elif replacement is None:
                    changed = line[:match.start()] + str(int(match.group(1)) + 1) + line[match.end():]
                    label = "%s to %d" % (match.group(1), int(match.group(1)) + 1)
                else:
                    changed = line[:match.start()] + replacement + line[match.end():]
                yield path, number, name, "%s in %s: %s" % (label, name, line.strip()[:60]), changed
                break


def stripped_object(path):
    obj = OBJECTS + os.path.basename(path) + ".o"
    out = "/tmp/mutation-" + os.path.basename(path) + ".o"
    subprocess.run(["objcopy", "--strip-debug", obj, out], check=True)
    return out


def random_run(count, seed):
    env = dict(os.environ, QT_QPA_PLATFORM="offscreen")
    rng = random.Random(seed)
    baseline = {}
    for path in SOURCES:
        baseline[path] = stripped_object(path) + ".base"
        os.replace(baseline[path][: -len(".base")], baseline[path])
    caught = 0
    rows = 0
    skipped = {"does not compile": 0, "same code": 0, "unobservable": 0}
    for path, number, function, what, changed in draws(rng):
        if rows >= count:
            break
        source = open(path).read()
        lines = source.split("\n")
        original = lines[number]
        lines[number] = changed
        open(path, "w").write("\n".join(lines))
        try:
            if run("cmake --build build -j2 --target kspDataThroughputGraphLib").returncode != 0:
                skipped["does not compile"] += 1
                continue
            if filecmp.cmp(stripped_object(path), baseline[path], shallow=False):
                skipped["same code"] += 1
                continue
            if run("cmake --build build -j2 --target " + " ".join(BUILD_TARGETS)).returncode != 0:
                skipped["does not compile"] += 1
                continue
            verdict = "NOT CAUGHT"
            for test in ALL_TESTS:
                failure = failures(test, env)
                if failure:
                    verdict = failure
                    break
            why = unobservable(path, function, original, changed)
            if why and verdict == "NOT CAUGHT":
                skipped["unobservable"] += 1
                verdict = "unobservable: " + why
            else:
                rows += 1
                caught += verdict != "NOT CAUGHT"
                if why:
                    verdict += " (though listed as unobservable)"
            print("%-22s %4d  %-70s %s" % (os.path.basename(path), number + 1, what, verdict), flush=True)
        finally:
            open(path, "w").write(source)
    run("cmake --build build -j2")
    print("caught %d of %d (%.0f %%); drawn and replaced: %d that did not compile, %d that left the code as it was,"
          " %d known to be unobservable" % (caught, rows, 100.0 * caught / max(rows, 1), skipped["does not compile"],
                                            skipped["same code"], skipped["unobservable"]))
    return 0 if caught * 10 >= rows * 9 else 1


def run(command):
    return subprocess.run(command, shell=True, capture_output=True, text=True)


def failures(test, env):
    """The test's failing cases as "test: case, case", or "" when it passes."""
    result = subprocess.run(["timeout", "180", "build/bin/" + test], capture_output=True, text=True, env=env)
    if result.returncode == 0:
        return ""
    failed = [line.split("::")[1].split("(")[0] for line in result.stdout.splitlines() if line.startswith("FAIL!")]
    return test + ": " + (", ".join(sorted(set(failed))) or "crashed or timed out")


def main():
    if len(sys.argv) > 1 and sys.argv[1] == "--random":
        count = int(sys.argv[2]) if len(sys.argv) > 2 else 30
        seed = int(sys.argv[4]) if len(sys.argv) > 4 and sys.argv[3] == "--seed" else 1
        return random_run(count, seed)
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
            caught = [failure for failure in (failures(test, env) for test in tests) if failure]
            rows.append((area, what, "; ".join(caught) if caught else "NOT CAUGHT"))
        finally:
            open(path, "w").write(source)
        print("%-13s %-42s %s" % rows[-1], flush=True)
    run("cmake --build build -j2")
    return 0 if all(r[2] != "NOT CAUGHT" for r in rows) else 1


if __name__ == "__main__":
    sys.exit(main())
