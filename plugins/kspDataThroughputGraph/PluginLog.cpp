#include "PluginLog.h"

#include <QDebug>
#include <QThread>

void logCritical(const char* sourcePath, int line, const char* prefix, const QString& failure)
{
    QMessageLogger(sourcePath, line, nullptr, "default").critical()
        << QThread::currentThreadId() << sourcePath << "L" << line << ":"
        << "" << QString::fromLatin1(prefix).arg(failure);
}
