#include "ScreenDriver.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QMouseEvent>
#include <QQuickItem>
#include <QQuickWindow>

namespace ScreenDriver {

QQuickItem *findButton(QQuickItem *root, const QString &text)
{
    if (!root || !root->isVisible())
        return nullptr;
    if (root->inherits("QQuickAbstractButton")) {
        if (root->property("text").toString() == text)
            return root;
        // A button that shows its label in a text item of its own.
        for (const QQuickItem *child : root->childItems()) {
            if (child->inherits("QQuickText") && child->isVisible() &&
                child->property("text").toString() == text)
                return root;
        }
    }
    for (QQuickItem *child : root->childItems()) {
        if (QQuickItem *found = findButton(child, text))
            return found;
    }
    return nullptr;
}

QQuickItem *findByName(QQuickItem *root, const QString &name)
{
    if (!root)
        return nullptr;
    if (root->objectName() == name)
        return root;
    for (QQuickItem *child : root->childItems()) {
        if (QQuickItem *found = findByName(child, name))
            return found;
    }
    return nullptr;
}

QQuickItem *findTextField(QQuickItem *root)
{
    if (!root || !root->isVisible() || !root->isEnabled())
        return nullptr;
    if (root->inherits("QQuickTextInput"))
        return root;
    for (QQuickItem *child : root->childItems()) {
        if (QQuickItem *found = findTextField(child))
            return found;
    }
    return nullptr;
}

void tap(QQuickWindow *window, QQuickItem *item)
{
    const QPointF centre = item->mapToScene(QPointF(item->width() / 2, item->height() / 2));
    QMouseEvent press(QEvent::MouseButtonPress, centre, centre, Qt::LeftButton, Qt::LeftButton,
                      Qt::NoModifier);
    QCoreApplication::sendEvent(window, &press);
    QMouseEvent release(QEvent::MouseButtonRelease, centre, centre, Qt::LeftButton, Qt::NoButton,
                        Qt::NoModifier);
    QCoreApplication::sendEvent(window, &release);
}

void settle(int ms)
{
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < ms)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
}

} // namespace ScreenDriver
