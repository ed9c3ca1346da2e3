// Helpers for tests of the panel: a form on simulated cameras and modal dialogs answered by
// a timer.
#pragma once

#include "DataGraphForm.h"
#include "EngineTestSupport.h"
#include "ksSim/CxRecordingAppDelegate.h"

#include <QApplication>
#include <QMap>
#include <QMenu>
#include <QPointer>
#include <QTableWidget>
#include <QTimer>
#include <functional>

namespace paneltest {

inline CxRecordingAppDelegate* recorder()
{
    return dynamic_cast<CxRecordingAppDelegate*>(IxAppDelegate::instance());
}

// Calls `answer` with each modal dialog that opens until it returns true; polls so that it
// also catches dialogs opened from inside nested event loops. Gives up after `timeoutMs`.
inline void answerNextModal(std::function<bool(QWidget*)> answer, int timeoutMs = 20000)
{
    auto* timer = new QTimer;
    auto remaining = std::make_shared<int>(timeoutMs / 10);
    QObject::connect(timer, &QTimer::timeout, [timer, answer, remaining]() {
        QWidget* modal = QApplication::activeModalWidget();
        if (modal && modal->isVisible() && answer(modal)) {
            timer->stop();
            timer->deleteLater();
        } else if (--*remaining <= 0) {
            timer->stop();
            timer->deleteLater();
        }
    });
    timer->start(10);
}

template <typename T = QWidget> T* child(CxDataGraphForm* form, const char* name)
{
    return form->findChild<T*>(QLatin1String(name));
}

inline QTableWidget* table(CxDataGraphForm* form)
{
    return child<QTableWidget>(form, "table");
}

inline QString cellText(CxDataGraphForm* form, int row, int column)
{
    const QTableWidgetItem* item = table(form)->item(row, column);
    return item ? item->text() : QString();
}

// Right-clicks `target` at `pos` and chooses "Run history..." from the menu, if one opens.
inline bool chooseRunHistory(QWidget* target, const QPoint& pos)
{
    bool offered = false;
    QTimer answer;
    QObject::connect(&answer, &QTimer::timeout, [&offered]() {
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        if (!menu || menu->actions().isEmpty())
            return;
        offered = menu->actions().constFirst()->text() == QStringLiteral("Run history...");
        menu->actions().constFirst()->trigger();
        menu->close();
    });
    answer.start(10);
    QContextMenuEvent event(QContextMenuEvent::Mouse, pos, target->mapToGlobal(pos));
    QApplication::sendEvent(target, &event);
    return offered;
}

} // namespace paneltest
