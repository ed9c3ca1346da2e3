// Running a program in a network namespace of its own, with lo up and 127.0.0.2 beside
// 127.0.0.1, so that GigE Vision cameras served on loopback reach nothing else and every
// run starts from a clean network. Tests and benchmarks of real cameras start themselves so.
#pragma once

#include <QString>
#include <QStringList>

// True in a process that runNamespaced started.
bool isNamespaced();
// Runs `program` with `arguments` namespaced and waits up to `timeoutMs`; its output goes to
// this process's. Returns its exit code, or -1 with the reason in `unavailable` when network
// namespaces are not allowed here.
int runNamespaced(const QString& program, const QStringList& arguments, int timeoutMs, QString* unavailable);
