#pragma once

#include <QEventLoop>
#include <QObject>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTimer>
#include <QUrl>

#include <ctime>

/// Runs an action and the event loop until the window has shown the frames the action leads to.
class FrameClock
{
public:
    explicit FrameClock(QQuickWindow *window)
        : m_window(window)
    {}

    /// Runs @p action, then waits for a new frame, and for further ones while @p pending() says the
    /// action's work is not yet all on screen (each wait at most five seconds).
    template<typename Action, typename Pending>
    void run(Action action, Pending pending)
    {
        action();
        do
            waitForFrame();
        while (pending());
    }

    template<typename Action>
    void run(Action action)
    {
        run(action, [] { return false; });
    }

    void waitForFrame()
    {
        QEventLoop loop;
        const auto connection =
            QObject::connect(m_window, &QQuickWindow::frameSwapped, &loop, &QEventLoop::quit);
        QTimer::singleShot(5000, &loop, &QEventLoop::quit);
        m_window->update();
        loop.exec();
        QObject::disconnect(connection);
    }

private:
    QQuickWindow *m_window;
};

/// The process's CPU time in milliseconds (all threads: the simulated panel's callbacks count too).
inline double cpuMs()
{
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return double(now.tv_sec) * 1e3 + double(now.tv_nsec) / 1e6;
}

/// Whether an image whose source names @p file is shown under @p root, loaded.
inline bool imageShown(QQuickItem *root, const QString &file)
{
    if (!root || !root->isVisible())
        return false;
    if (root->inherits("QQuickImage") && root->property("source").toUrl().toString().endsWith(file))
        return root->property("status").toInt() == 1; // Image.Ready
    for (QQuickItem *child : root->childItems()) {
        if (imageShown(child, file))
            return true;
    }
    return false;
}
